#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kr {

/// Number of a row, counted from 0 in the order of insertion, for all of the row's life.
using RowId = uint32_t;

/// Hash index from a field's folded text, or its number, to row numbers. It only narrows: an entry
/// of a changed or deleted row stays, so whoever asks compares the rows again.
class RowIndex {
public:
    static uint32_t HashText(std::string_view folded);
    static uint32_t HashNumber(double number);

    bool Built() const { return m_built; }
    void SetBuilt() { m_built = true; }
    /// Forgets everything; the next use builds it anew.
    void Drop();

    void Add(uint32_t hash, RowId row);
    /// Rows that may have it, each at most once, ascending.
    std::vector<RowId> Find(uint32_t hash) const;
    size_t Size() const { return m_entries.size(); }
    size_t MemoryUse() const;

private:
    struct Entry {
        uint32_t hash;
        RowId row;
        uint32_t next;
    };
    static constexpr uint32_t kEnd = 0xFFFFFFFF;
    void grow();

    bool m_built = false;
    std::vector<uint32_t> m_heads;
    std::vector<Entry> m_entries;
};

/// Folds texts one after the other without allocating for short ones that are ASCII.
class FoldBuffer {
public:
    /// Valid until the next call.
    std::string_view operator()(std::string_view text, bool ascii);

private:
    char m_small[256];
    std::string m_big;
};

} // namespace kr
