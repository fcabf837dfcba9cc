#include "core/basListView.h"

#include <algorithm>
#include <limits>
#include <numeric>

#include "core/Text.h"
#include "core/basDate.h"
#include "core/basText.h"
#include "platform/ui/Ui.h"

namespace kr {

namespace {

constexpr double kEmptyKey = -std::numeric_limits<double>::infinity();
constexpr std::chrono::sys_days kNever =
    std::chrono::year{2888} / std::chrono::December / std::chrono::day{31};
constexpr double kUnlimited = 32767;

double secondsOf(Time date) { return static_cast<double>(date.time_since_epoch().count()); }

/// The first eight bytes of a collation key as a number that compares as they do.
uint64_t headOf(std::string_view key) {
    uint64_t head = 0;
    for (size_t i = 0; i < 8; ++i)
        head = head << 8 | (i < key.size() ? static_cast<uint8_t>(key[i]) : 0U);
    return head;
}

/// Collation keys of many texts in one block of memory.
class KeyBlock {
public:
    explicit KeyBlock(std::span<const std::string_view> texts) : m_ends(texts.size() + 1) {
        const Collator collator;
        m_heads.resize(texts.size());
        for (size_t i = 0; i < texts.size(); ++i) {
            const std::string key = collator.sortKey(texts[i]);
            m_heads[i] = headOf(key);
            m_bytes += key;
            m_ends[i + 1] = m_bytes.size();
        }
    }
    std::string_view key(uint32_t i) const {
        return std::string_view(m_bytes).substr(m_ends[i], m_ends[i + 1] - m_ends[i]);
    }
    bool less(uint32_t a, uint32_t b) const {
        return m_heads[a] != m_heads[b] ? m_heads[a] < m_heads[b] : key(a) < key(b);
    }
    bool equal(uint32_t a, uint32_t b) const {
        return m_heads[a] == m_heads[b] && key(a) == key(b);
    }

private:
    std::string m_bytes;
    std::vector<size_t> m_ends;
    std::vector<uint64_t> m_heads;
};

uint32_t displayLength(std::string_view text) {
    uint32_t length = 0;
    for (const char c : text) {
        const auto byte = static_cast<uint8_t>(c);
        // Each character once, and those from U+3000 on (lead byte 0xE3) twice.
        length += ((byte & 0xC0) != 0x80 ? 1U : 0U) + (byte >= 0xE3 ? 1U : 0U);
    }
    return length;
}

} // namespace

double DateSortKey(std::string_view text) {
    if (text == "Never")
        return secondsOf(kNever);
    const auto date = ParseDate(text);
    return date ? secondsOf(*date) : kEmptyKey;
}

double NumberSortKey(std::string_view text) {
    if (text == "Unlimited")
        return kUnlimited;
    return ParseNumber(text).value_or(kEmptyKey);
}

std::vector<uint32_t> TextRanks(std::span<const std::string_view> texts) {
    const KeyBlock keys(texts);
    std::vector<uint32_t> sorted(texts.size());
    std::iota(sorted.begin(), sorted.end(), 0U);
    std::sort(sorted.begin(), sorted.end(),
              [&](uint32_t a, uint32_t b) { return keys.less(a, b); });
    std::vector<uint32_t> ranks(texts.size());
    uint32_t rank = 0;
    for (size_t i = 0; i < sorted.size(); ++i) {
        if (i > 0 && !keys.equal(sorted[i - 1], sorted[i]))
            ++rank;
        ranks[sorted[i]] = rank;
    }
    return ranks;
}

void SortListView(ListModel& list, int column, SortOrder order) { list.Sort(column, order); }

void ListColumnClick(Ui& ui, ListModel& list, int column) {
    const WaitCursor wait(ui);
    list.ColumnClick(column);
}

std::vector<std::string_view> ColumnFitTexts(const ListModel& list, int column, size_t count) {
    using Candidate = std::pair<uint32_t, uint32_t>; // display length, position
    const auto longer = [](const Candidate& a, const Candidate& b) {
        return a.first != b.first ? a.first > b.first : a.second < b.second;
    };
    std::vector<Candidate> best; // a heap with the shortest in front
    for (uint32_t i = 0; count > 0 && i < list.Count(); ++i) {
        const std::string_view text = list.Text(i, column);
        const bool full = best.size() == count;
        // No text is longer than its bytes, so most are never looked at.
        if (text.size() <= (full ? best.front().first : 0U))
            continue;
        const Candidate candidate{displayLength(text), i};
        if (full && !longer(candidate, best.front()))
            continue;
        if (full) {
            std::pop_heap(best.begin(), best.end(), longer);
            best.pop_back();
        }
        best.push_back(candidate);
        std::push_heap(best.begin(), best.end(), longer);
    }
    std::sort_heap(best.begin(), best.end(), longer);
    std::vector<std::string_view> texts;
    for (const Candidate& candidate : best)
        texts.push_back(list.Text(candidate.second, column));
    return texts;
}

} // namespace kr
