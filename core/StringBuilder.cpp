#include "core/StringBuilder.h"

#include "core/PlatformError.h"

namespace kr {

namespace {

constexpr long kBadGrowthRate = 0x800403E8;
constexpr long kBadIndex = 0x800403E9;
constexpr long kBadCapacity = 0x800403EB;

const std::string kEmptySlot;

} // namespace

void StringBuilder::lGrowthRate(long rate) {
    if (rate < 1)
        throw PlatformError(kBadGrowthRate, "The Growth Rate must be greater than zero",
                            "GLStringList->Let_lGrowthRate");
    m_growthRate = rate;
}

void StringBuilder::Add(std::string_view text) {
    if (m_items.empty())
        m_items.resize(static_cast<size_t>(m_capacity));
    if (m_count + 1 > m_capacity) {
        m_capacity += m_growthRate;
        m_items.resize(static_cast<size_t>(m_capacity));
    }
    m_items[static_cast<size_t>(m_count++)] = text;
}

const std::string& StringBuilder::Item(long index) const {
    if (index < 0 || index > m_count)
        throw PlatformError(kBadIndex, "Index out of bounds", "GLStringList->Item");
    const auto at = static_cast<size_t>(index);
    return at < m_items.size() ? m_items[at] : kEmptySlot; // a full list has no slot behind it
}

void StringBuilder::SetInitialCapacity(long capacity) {
    if (!m_items.empty())
        return;
    if (capacity < 1)
        throw PlatformError(kBadCapacity, "The Initial Capacity must greater than zero.",
                            "GLArrayList->SetInitialCapacity");
    m_capacity = capacity;
}

std::string StringBuilder::GetContent() {
    std::string content;
    if (m_items.empty())
        return content;
    m_capacity = m_count;
    m_items.resize(static_cast<size_t>(m_capacity));
    size_t length = 0;
    for (const std::string& item : m_items)
        length += item.size();
    content.reserve(length);
    for (const std::string& item : m_items)
        content += item;
    return content;
}

} // namespace kr
