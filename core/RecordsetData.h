#pragma once

#include <array>
#include <cstring>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "core/Recordset.h"
#include "core/RecordsetIndex.h"

namespace kr {

class RecordsetFilter;

/// A cell in eight bytes: a number, the bits of a double, or the place of a text or variant.
using RawCell = uint64_t;
/// The null of every type: a NaN that no calculation gives, no address, and no date or number.
inline constexpr RawCell kNullCell = 0xFFF8000000000001U;

inline bool IsTextField(FieldType type) {
    return type == FieldType::Text || type == FieldType::LongText;
}

/// A text as it lies in the arena; `ascii` spares most comparisons the folding of characters.
struct StoredText {
    std::string_view text;
    bool ascii = false;
};

/// Texts and variants, one behind the other in blocks. What was stored stays where it is.
class TextArena {
public:
    /// Throws std::invalid_argument for a text of 2 GiB and more.
    RawCell AddText(std::string_view text);
    /// Numbers, dates and texts; the type stands before the content.
    RawCell AddVariant(const Value& value);
    static StoredText Text(RawCell cell);
    static Value Variant(RawCell cell);
    /// The text when the variant is one.
    static bool VariantText(RawCell cell, StoredText& text);
    size_t MemoryUse() const { return m_bytes; }

private:
    char* room(size_t size);
    std::vector<std::unique_ptr<char[]>> m_blocks;
    char* m_next = nullptr;
    size_t m_left = 0;
    size_t m_bytes = 0;
};

/// Hears of every change of the shared rows, after it.
class RecordsetObserver {
public:
    virtual ~RecordsetObserver() = default;
    virtual void RowAdded(RowId row) = 0;
    virtual void RowChanged(RowId row, int field) = 0;
    virtual void RowDeleted(RowId row) = 0;
};

/// The rows that a recordset shares with its clones. Cells lie in groups of 256 rows, column by
/// column within a group. A row's number is never used again.
class RecordsetData {
public:
    static constexpr RowId kGroupRows = 256;
    /// Cells from one column to the next: a row's cells must not all fall into one cache set.
    static constexpr size_t kStride = kGroupRows + 8;

    explicit RecordsetData(std::vector<Field> fields);
    RecordsetData(const RecordsetData&) = delete;
    RecordsetData& operator=(const RecordsetData&) = delete;

    const std::vector<Field>& Fields() const { return m_fields; }
    int FieldIndex(std::string_view name) const;
    /// Like FieldIndex; throws std::invalid_argument for a field that isn't there.
    int RequireField(std::string_view name) const;

    /// Rows ever made; live ones are those not deleted.
    RowId RowCount() const { return m_rowCount; }
    int64_t LiveCount() const { return m_liveCount; }
    bool Live(RowId row) const {
        return row < m_rowCount && m_groups[row / kGroupRows].live[row % kGroupRows] != 0;
    }
    /// Every row before it is deleted.
    RowId FirstLive() const { return m_firstLive; }

    RawCell Cell(RowId row, int field) const {
        return Column(row / kGroupRows, field)[row % kGroupRows];
    }
    const RawCell* Column(RowId group, int field) const {
        return &m_groups[group].cells[static_cast<size_t>(field) * kStride];
    }
    const std::array<uint8_t, kGroupRows>& LiveMarks(RowId group) const {
        return m_groups[group].live;
    }
    RowId GroupCount() const { return static_cast<RowId>(m_groups.size()); }

    Value Get(RowId row, int field) const;
    std::string_view Text(RowId row, int field) const;
    /// Converts; throws std::invalid_argument and changes nothing.
    void Set(RowId row, int field, const Value& value);
    RowId Add();
    RowId Append(std::span<const Value> row);
    RowId AppendCells(std::span<const RecordsetCell> row);
    void Delete(RowId row);

    void AddIndex(int field);
    /// The index of a field, made at its first use; nullptr when none was asked for.
    const RowIndex* Index(int field);
    /// A filter by its text, from the cache when it stood there; nullptr when it doesn't parse.
    std::shared_ptr<const RecordsetFilter> Filter(std::string_view text);

    void Attach(RecordsetObserver* observer) { m_observers.push_back(observer); }
    void Detach(RecordsetObserver* observer) { std::erase(m_observers, observer); }

    size_t MemoryUse() const;

private:
    struct Group {
        std::unique_ptr<RawCell[]> cells;
        std::array<uint8_t, kGroupRows> live{};
    };
    RawCell& cellAt(RowId row, int field) {
        return m_groups[row / kGroupRows]
            .cells[static_cast<size_t>(field) * kStride + row % kGroupRows];
    }
    RowId newRow();
    RawCell encode(int field, const Value& converted);
    RawCell encodeCell(int field, const RecordsetCell& cell);
    RawCell encodeText(int field, std::string_view text);
    RawCell encodeVariant(const RecordsetCell& cell);
    RawCell addText(int field, std::string_view text);
    void indexCell(RowId row, int field);
    void indexRow(RowId row);
    void announceAdded(RowId row);

    std::vector<Field> m_fields;
    std::unordered_map<std::string, int> m_fieldNumbers; // by folded name
    std::vector<Group> m_groups;
    TextArena m_arena;
    std::vector<RawCell> m_lastText; // neighbours often share a text: server, version, status
    RowId m_rowCount = 0;
    RowId m_firstLive = 0;
    int64_t m_liveCount = 0;
    std::vector<std::unique_ptr<RowIndex>> m_indexes; // by field; nullptr: none
    std::unordered_map<std::string, std::shared_ptr<const RecordsetFilter>> m_filters;
    std::vector<RecordsetObserver*> m_observers;
};

/// The number by which a cell of a field that is no text compares: Booleans -1 and 0, dates as
/// seconds, currency in whole units.
double CellNumber(FieldType type, RawCell cell);

} // namespace kr
