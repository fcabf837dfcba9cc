#include <freexl.h>

#include <cctype>
#include <cmath>
#include <cstdio>
#include <fstream>

#include "core/Text.h"
#include "platform/database/Database.h"
#include "platform/database/local/Sheet.h"

namespace kr {

namespace {

/// Old workbooks, by the library for them.
class XlsFile : public Sheets {
public:
    explicit XlsFile(const std::string& path) {
        if (freexl_open(path.c_str(), &m_handle) != FREEXL_OK)
            fail();
        unsigned int count = 0;
        freexl_get_info(m_handle, FREEXL_BIFF_SHEET_COUNT, &count);
        for (unsigned int i = 0; i < count; ++i) {
            const char* name = nullptr;
            freexl_get_worksheet_name(m_handle, static_cast<unsigned short>(i), &name);
            m_names.emplace_back(name ? name : "");
        }
    }
    ~XlsFile() override { freexl_close(m_handle); }
    XlsFile(const XlsFile&) = delete;
    XlsFile& operator=(const XlsFile&) = delete;

    const std::vector<std::string>& Names() const override { return m_names; }
    const std::map<std::string, std::string>& Ranges() const override { return m_ranges; }
    SheetCells Read(size_t sheet) override {
        unsigned int rows = 0;
        unsigned short columns = 0;
        if (freexl_select_active_worksheet(m_handle, static_cast<unsigned short>(sheet)) !=
                FREEXL_OK ||
            freexl_worksheet_dimensions(m_handle, &rows, &columns) != FREEXL_OK)
            fail();
        SheetCells cells;
        for (unsigned int row = 0; row < rows; ++row)
            for (unsigned short column = 0; column < columns; ++column) {
                FreeXL_CellValue cell{};
                if (freexl_get_cell_value(m_handle, row, column, &cell) != FREEXL_OK)
                    fail();
                Value value = valueOf(cell);
                if (!value.empty())
                    cells[row][column] = std::move(value);
            }
        return cells;
    }

private:
    [[noreturn]] static void fail() {
        throw PlatformError(DB_E_FAIL, "External table is not in the expected format.", "Excel");
    }
    static Value valueOf(const FreeXL_CellValue& cell) {
        switch (cell.type) {
        case FREEXL_CELL_INT:
            return static_cast<int32_t>(cell.value.int_value);
        case FREEXL_CELL_DOUBLE:
            return cell.value.double_value;
        case FREEXL_CELL_NULL:
            return {};
        default:
            return cell.value.text_value ? Value(cell.value.text_value) : Value();
        }
    }

    const void* m_handle = nullptr;
    std::vector<std::string> m_names;
    std::map<std::string, std::string> m_ranges;
};

class Workbook : public TableSource {
public:
    Workbook(std::unique_ptr<Sheets> sheets, bool header)
        : m_sheets(std::move(sheets)), m_header(header) {}

    bool Read(std::string_view table, TableSink& sink) override {
        std::string name(table);
        if (name.size() > 1 && name.front() == '\'' && name.back() == '\'')
            name = ReplaceAll(name.substr(1, name.size() - 2), "''", "'");
        SheetRange range;
        size_t sheet = m_sheets->Names().size();
        const size_t dollar = name.rfind('$');
        if (dollar != std::string::npos) {
            sheet = find(name.substr(0, dollar));
            const std::string part = Trim(std::string_view(name).substr(dollar + 1));
            if (!part.empty() && !ParseRange(part, range))
                return false;
        } else {
            for (const auto& [key, target] : m_sheets->Ranges())
                if (EqualNoCase(key, name))
                    sheet = resolve(target, range);
        }
        if (sheet >= m_sheets->Names().size())
            return false;
        GiveCells(m_sheets->Read(sheet), range, m_header, sink);
        return true;
    }

private:
    size_t find(std::string_view name) const {
        const auto& names = m_sheets->Names();
        const auto at = std::find_if(names.begin(), names.end(), [&](const std::string& other) {
            return EqualNoCase(other, name);
        });
        return static_cast<size_t>(at - names.begin());
    }
    size_t resolve(const std::string& target, SheetRange& range) const {
        const size_t mark = target.rfind('!');
        if (mark == std::string::npos || !ParseRange(target.substr(mark + 1), range))
            return m_sheets->Names().size();
        std::string name = target.substr(0, mark);
        if (name.size() > 1 && name.front() == '\'')
            name = ReplaceAll(name.substr(1, name.size() - 2), "''", "'");
        return find(name);
    }

    std::unique_ptr<Sheets> m_sheets;
    bool m_header;
};

std::string headingOf(const Value& value) {
    if (const auto* number = value.get<int32_t>())
        return std::to_string(*number);
    if (const auto* real = value.get<double>()) {
        char text[32];
        std::snprintf(text, sizeof text, "%.15g", *real);
        return text;
    }
    return value.text();
}

} // namespace

bool ParseCell(std::string_view text, uint32_t& row, uint32_t& column) {
    uint32_t letters = 0, digits = 0;
    for (const char c : text) {
        if (c == '$')
            continue;
        if (std::isalpha(static_cast<unsigned char>(c)) && digits == 0)
            letters = letters * 26 + static_cast<uint32_t>(std::toupper(c) - 'A' + 1);
        else if (std::isdigit(static_cast<unsigned char>(c)))
            digits = digits * 10 + static_cast<uint32_t>(c - '0');
        else
            return false;
        if (letters > kMostColumns || digits > kMostRows)
            return false;
    }
    row = digits - 1;
    column = letters - 1;
    return letters > 0 && digits > 0;
}

bool ParseRange(std::string_view text, SheetRange& range) {
    const size_t colon = text.find(':');
    if (!ParseCell(text.substr(0, colon), range.firstRow, range.firstColumn))
        return false;
    const auto last = colon == std::string_view::npos ? text : text.substr(colon + 1);
    return ParseCell(last, range.lastRow, range.lastColumn) && range.lastRow >= range.firstRow &&
           range.lastColumn >= range.firstColumn;
}

std::string ExcelDate(double serial, bool from1904) {
    if (!std::isfinite(serial) || serial < 0 || serial > 2958465.99999)
        return {};
    const auto seconds = static_cast<int64_t>(std::llround(serial * 86400));
    // Excel counts a 29 February 1900 that never was: days before it are one off
    const int64_t shift = from1904 ? 1462 : seconds / 86400 < 60 ? 1 : 0;
    const std::chrono::sys_days start = std::chrono::year(1899) / 12 / 30;
    const std::chrono::year_month_day day(start + std::chrono::days(seconds / 86400 + shift));
    const auto rest = static_cast<int>(seconds % 86400);
    char text[48];
    int used = std::snprintf(text, sizeof text, "%04d-%02u-%02u", static_cast<int>(day.year()),
                             static_cast<unsigned>(day.month()), static_cast<unsigned>(day.day()));
    if (rest != 0)
        std::snprintf(text + used, sizeof text - static_cast<size_t>(used), " %02d:%02d:%02d",
                      rest / 3600, rest / 60 % 60, rest % 60);
    return text;
}

void GiveCells(const SheetCells& cells, const SheetRange& range, bool header, TableSink& sink) {
    uint32_t first = UINT32_MAX, last = 0;
    const auto begin = cells.lower_bound(range.firstRow);
    const auto end = cells.upper_bound(range.lastRow);
    for (auto row = begin; row != end; ++row) {
        first = std::min(first, row->second.begin()->first);
        last = std::max(last, row->second.rbegin()->first);
    }
    if (range.lastColumn != UINT32_MAX) {
        first = range.firstColumn;
        last = range.lastColumn;
    }
    if (first > last)
        first = last = 0;
    std::vector<std::string> names(last - first + 1);
    auto row = begin;
    if (header && row != end) {
        for (const auto& [column, value] : row->second)
            if (column >= first && column <= last)
                names[column - first] = headingOf(value);
        ++row;
    }
    sink.Columns(HeadingNames(names));
    for (; row != end; ++row) {
        std::vector<Value> values(names.size());
        for (const auto& [column, value] : row->second)
            if (column >= first && column <= last)
                values[column - first] = value;
        if (!sink.Row(values))
            return;
    }
}

std::unique_ptr<Sheets> OpenXls(const std::string& path) { return std::make_unique<XlsFile>(path); }

std::unique_ptr<TableSource> OpenWorkbook(const std::string& path, bool header) {
    std::ifstream file(path, std::ios::binary);
    char mark[4] = {};
    if (!file)
        throw PlatformError(DB_E_FAIL, "Could not find file '" + path + "'.", "Excel");
    file.read(mark, sizeof mark);
    const bool zipped = mark[0] == 'P' && mark[1] == 'K';
    return std::make_unique<Workbook>(zipped ? OpenXlsx(path) : OpenXls(path), header);
}

} // namespace kr
