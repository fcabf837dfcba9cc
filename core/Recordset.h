#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/Value.h"

namespace kr {

/// Field types of a recordset, by ADO's numbers.
enum class FieldType {
    SmallInt = 2,
    Integer = 3,
    Double = 5,
    Currency = 6,
    Date = 7,
    Boolean = 11,
    Variant = 12,
    Text = 202,
    LongText = 203
};

struct Field {
    std::string name;
    FieldType type = FieldType::Text;
    int size = 255;
};

/// A cell of a row that a loader hands over without making a Value of it.
struct RecordsetCell {
    enum class Kind : uint8_t { Null, Integer, Real, Text };
    Kind kind = Kind::Null;
    /// Whole numbers, Booleans (0 or not), dates (local, in seconds), currency x 10000.
    union {
        int64_t integer = 0;
        double real;
    };
    std::string_view text;
};

class RecordsetData;
class RecordsetView;

/// A disconnected in-memory recordset in the manner of ADO: fields with types, rows, a position,
/// Filter, Sort, clones that share the rows. A date is local time as the console shows it, held as
/// seconds; null is an empty Value.
///
/// Filter grammar: clauses `field op value` joined by AND and OR (AND first), parentheses; fields
/// `[any name]` or a word; operators = <> < > <= >= LIKE; values 'text' with '' for a quote,
/// #date# (month first), numbers, True, False. LIKE takes 'x', 'x*' and '*x*' with * or %. Text
/// compares ignoring case. A filter that does not parse matches no row and SetFilter gives false.
class Recordset {
public:
    explicit Recordset(std::vector<Field> fields);
    ~Recordset();
    Recordset(const Recordset&) = delete;
    Recordset& operator=(const Recordset&) = delete;

    const std::vector<Field>& Fields() const;
    /// Index of a field, ignoring case; -1 when there is none.
    int FieldIndex(std::string_view name) const;
    /// Keeps a hash index on a field, used by filters with an equality on it.
    void AddIndex(std::string_view field);

    /// Shares rows; starts with no filter, no sort, on the first row.
    std::shared_ptr<Recordset> Clone() const;

    /// Rows that the filter shows.
    int64_t RecordCount() const;
    bool BOF() const;
    bool EOF_() const;
    void MoveFirst();
    void MoveNext();
    void MovePrevious();
    void MoveLast();
    /// A bookmark stays valid for the row's life, also in clones; 0 is none.
    uint64_t Bookmark() const;
    bool SetBookmark(uint64_t bookmark);

    /// Field of the current row; empty on null, past the end and on a deleted row.
    Value Get(std::string_view field) const;
    Value Get(int field) const;
    /// Text field without a copy; "" when null. Valid until the row changes.
    std::string_view Text(int field) const;
    /// Writes a field of the current row; a value of another kind is converted where ADO would,
    /// else throws std::invalid_argument. Text longer than the field's size is refused likewise.
    void Set(std::string_view field, const Value& value);
    void Set(int field, const Value& value);

    /// A new row with nulls, which becomes the current one.
    void AddNew();
    /// Appends a whole row fast, in field order, without moving the position.
    void Append(const std::vector<Value>& row);
    /// The loaders' way: a row in field order; missing cells, and those of a kind or size that the
    /// field doesn't hold, are null; a text that is too long is cut. Copies what it keeps.
    void AppendCells(std::span<const RecordsetCell> row);
    /// The current row is gone; it stays current, unreadable, until a move.
    void Delete();

    /// "" shows all rows. Moves to the first match. False: it does not parse and shows no row.
    bool SetFilter(std::string_view filter);
    const std::string& Filter() const;
    /// "[A] ASC, B DESC"; "" restores the order of insertion. False when it does not parse.
    bool SetSort(std::string_view sort);
    const std::string& Sort() const;

    /// Bytes that the shared rows take, for the memory benchmark.
    size_t MemoryUse() const;

private:
    explicit Recordset(std::shared_ptr<RecordsetData> data);
    std::shared_ptr<RecordsetData> m_data;
    std::unique_ptr<RecordsetView> m_view;
};

} // namespace kr
