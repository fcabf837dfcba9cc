#include "core/RecordsetIndex.h"

#include <algorithm>
#include <functional>

#include "core/Text.h"

namespace kr {

uint32_t RowIndex::HashText(std::string_view folded) {
    const size_t hash = std::hash<std::string_view>{}(folded);
    return static_cast<uint32_t>(hash ^ (hash >> 32));
}

uint32_t RowIndex::HashNumber(double number) {
    // 0 and -0 are equal, so they hash alike; neighbours in value must not fall into one chain
    const auto mixed = std::hash<double>{}(number == 0 ? 0.0 : number) * 0x9E3779B97F4A7C15U;
    return static_cast<uint32_t>(mixed >> 32);
}

void RowIndex::Drop() {
    m_built = false;
    m_heads = {};
    m_entries = {};
}

void RowIndex::Add(uint32_t hash, RowId row) {
    if (m_entries.size() >= m_heads.size())
        grow();
    uint32_t& head = m_heads[hash & (m_heads.size() - 1)];
    m_entries.push_back({hash, row, head});
    head = static_cast<uint32_t>(m_entries.size() - 1);
}

std::vector<RowId> RowIndex::Find(uint32_t hash) const {
    std::vector<RowId> rows;
    if (m_heads.empty())
        return rows;
    for (uint32_t at = m_heads[hash & (m_heads.size() - 1)]; at != kEnd; at = m_entries[at].next)
        if (m_entries[at].hash == hash)
            rows.push_back(m_entries[at].row);
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    return rows;
}

void RowIndex::grow() {
    m_heads.assign(std::max<size_t>(64, m_heads.size() * 2), kEnd);
    for (uint32_t i = 0; i < m_entries.size(); ++i) {
        uint32_t& head = m_heads[m_entries[i].hash & (m_heads.size() - 1)];
        m_entries[i].next = head;
        head = i;
    }
}

size_t RowIndex::MemoryUse() const {
    return m_heads.capacity() * sizeof(uint32_t) + m_entries.capacity() * sizeof(Entry);
}

std::string_view FoldBuffer::operator()(std::string_view text, bool ascii) {
    if (!ascii || text.size() > sizeof m_small) {
        m_big = Fold(text);
        return m_big;
    }
    std::transform(text.begin(), text.end(), m_small, [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
    });
    return {m_small, text.size()};
}

} // namespace kr
