#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/Value.h"
#include "platform/store/PropTags.h"

namespace kr {

/// Fuzzy levels of a content restriction ([MS-OXCDATA] 2.12.4.1).
constexpr uint32_t FL_FULLSTRING = 0;
constexpr uint32_t FL_SUBSTRING = 1;
constexpr uint32_t FL_PREFIX = 2;
constexpr uint32_t FL_IGNORECASE = 0x10000;

/// What a table's rows must match. `And` with `parts`, or `Content` with tag, level and value. On a
/// property that is no text the content restriction means equality.
struct Restriction {
    enum Kind { And = 0, Content = 3 };
    Kind kind = Content;
    std::vector<Restriction> parts;
    PropTag tag = 0;
    uint32_t fuzzyLevel = FL_FULLSTRING;
    Value value;
};
/// CreateRestriction(kind): 0 and, 3 content.
inline Restriction CreateRestriction(Restriction::Kind kind) {
    Restriction r;
    r.kind = kind;
    return r;
}

/// One cell of a table row, a view into the batch it came with; decoding to a Value copies.
struct TableCell {
    /// Unspecified: the property has no value in this row.
    PropType type = PropType::Unspecified;
    /// Short, long, Boolean, currency (x 10000), and time as seconds since 1970 UTC.
    union {
        int64_t integer = 0;
        double real;
    };
    /// Text; or bytes of a binary; or for a list of texts its encoded form.
    std::string_view bytes;

    bool empty() const { return type == PropType::Unspecified; }
    bool isText() const { return type == PropType::String || type == PropType::Unicode; }
    Value value() const;
};

/// A batch of rows: `rows` times as many cells as there are columns, row by row.
struct TableRows {
    size_t rows = 0;
    size_t columns = 0;
    const TableCell* cells = nullptr;
    bool empty() const { return rows == 0; }
    const TableCell& at(size_t row, size_t column) const { return cells[row * columns + column]; }
};

/// The raw table of a folder's contents.
class MAPITable {
public:
    virtual ~MAPITable() = default;
    /// Sets the columns and goes to the first row.
    virtual void Columns(std::vector<PropTag> tags) = 0;
    /// Sets the restriction and goes to the first row; nothing removes it.
    virtual void Restrict(std::optional<Restriction> restriction) = 0;
    /// The next rows, at most `count`; no rows at the end. The batch is valid until the next call.
    /// A row that is deleted between two calls is simply missing; no lock is held in between.
    virtual TableRows GetRows(size_t count = 500) = 0;
};
using MAPITablePtr = std::shared_ptr<MAPITable>;

} // namespace kr
