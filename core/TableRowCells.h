#pragma once

#include <algorithm>
#include <span>
#include <string>
#include <vector>

#include "core/Clock.h"
#include "core/Recordset.h"
#include "core/Text.h"
#include "core/basDate.h"
#include "platform/store/StoreTable.h"

namespace kr {

/// The cells of a recordset's row, filled from those of a store's table. A cell of an unexpected
/// type counts as empty; dates become local time. Inline, since loads convert millions of cells.
class TableRowCells {
public:
    TableRowCells(const std::vector<Field>& fields, const Clock& clock)
        : m_offset(LocalOffset(clock).count()), m_cells(fields.size()), m_made(fields.size()) {
        for (const Field& field : fields)
            m_types.push_back(field.type);
    }

    std::span<const RecordsetCell> cells() const { return m_cells; }
    /// The field has no text, or an empty one.
    bool Empty(size_t field) const {
        return m_cells[field].kind == Kind::Null || m_cells[field].text.empty();
    }
    void Clear(size_t field) { m_cells[field].kind = Kind::Null; }

    void Fill(size_t field, const TableCell& cell) {
        RecordsetCell& out = m_cells[field];
        out.kind = Kind::Null;
        switch (m_types[field]) {
        case FieldType::Boolean: // null reads as False, and a state as 0: filters rely on it
            setInteger(out, cell.type == PropType::Boolean && cell.integer != 0 ? 1 : 0);
            break;
        case FieldType::SmallInt:
            setInteger(out, isWhole(cell) ? cell.integer : 0);
            break;
        case FieldType::Integer:
            if (isWhole(cell))
                setInteger(out, cell.integer);
            break;
        case FieldType::Date:
            if (cell.type == PropType::Time)
                setInteger(out, cell.integer + m_offset);
            break;
        default:
            FillText(field, cell);
        }
    }

    /// Texts as they are; one may also be stored as a Boolean or a number.
    void FillText(size_t field, const TableCell& cell) {
        if (cell.empty())
            return;
        RecordsetCell& out = m_cells[field];
        out.kind = Kind::Text;
        Made& made = m_made[field];
        if (cell.isText())
            out.text = cell.bytes;
        else if (cell.type == PropType::Binary)
            out.text = hexOf(cell.bytes, made);
        else if (cell.type == PropType::Boolean)
            out.text = cell.integer != 0 ? "True" : "False";
        else if (isWhole(cell))
            out.text = (made = {std::to_string(cell.integer), {}}).text;
        else
            out.kind = Kind::Null;
    }

private:
    using Kind = RecordsetCell::Kind;
    static bool isWhole(const TableCell& cell) {
        return cell.type == PropType::Long || cell.type == PropType::Short;
    }
    static void setInteger(RecordsetCell& out, int64_t number) {
        out.kind = Kind::Integer;
        out.integer = number;
    }

    /// The text of a cell that isn't one in the table.
    struct Made {
        std::string text;
        std::string id; // whose digits the text is, or none
    };

    /// Ids of one folder differ in their last bytes only, so the digits of the one before serve.
    static std::string_view hexOf(std::string_view bytes, Made& made) {
        constexpr size_t kTail = 4;
        const size_t same = bytes.size() > kTail ? bytes.size() - kTail : 0;
        if (made.id.size() != bytes.size() ||
            !bytes.starts_with(std::string_view(made.id).substr(0, same))) {
            made.id = bytes;
            return made.text = HexOf(bytes.data(), bytes.size());
        }
        const std::string_view tail = bytes.substr(same);
        std::ranges::copy(tail, made.id.begin() + static_cast<ptrdiff_t>(same));
        std::ranges::copy(HexOf(tail.data(), tail.size()),
                          made.text.begin() + static_cast<ptrdiff_t>(same * 2));
        return made.text;
    }

    int64_t m_offset; // one offset for all dates, as UTCToLocal has it
    std::vector<FieldType> m_types;
    std::vector<RecordsetCell> m_cells;
    std::vector<Made> m_made;
};

} // namespace kr
