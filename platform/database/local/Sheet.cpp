#include "platform/database/local/Sheet.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>

#include "platform/database/Database.h"

namespace kr {

namespace {

std::string headingOf(const Value& value) {
    if (const auto* number = value.get<int32_t>())
        return std::to_string(*number);
    if (const auto* real = value.get<double>()) {
        std::array<char, 32> text{};
        return {text.data(), std::to_chars(text.data(), text.data() + text.size(), *real).ptr};
    }
    return value.text();
}

} // namespace

void SheetCells::Set(uint32_t row, uint32_t column, Value value) {
    if (++m_count > kMostCells)
        throw PlatformError(DB_E_FAIL, "The sheet is too large.", "Excel");
    if (m_rows.empty() || m_rows.back().number != row) {
        m_ordered = m_ordered && (m_rows.empty() || m_rows.back().number < row);
        const size_t width = m_rows.empty() ? 0 : m_rows.back().cells.size();
        m_rows.push_back({row, {}});
        m_rows.back().cells.reserve(width);
    }
    auto& cells = m_rows.back().cells;
    m_ordered = m_ordered && (cells.empty() || cells.back().first < column);
    cells.emplace_back(column, std::move(value));
}

std::vector<SheetCells::Row>& SheetCells::Ordered() {
    if (std::exchange(m_ordered, true))
        return m_rows;
    std::ranges::stable_sort(m_rows, {}, &Row::number);
    std::vector<Row> merged;
    for (Row& row : m_rows) {
        if (merged.empty() || merged.back().number != row.number)
            merged.push_back({row.number, {}});
        std::ranges::move(row.cells, std::back_inserter(merged.back().cells));
    }
    for (Row& row : merged) {
        // the later value of a cell stands first, and stays
        std::ranges::reverse(row.cells);
        std::ranges::stable_sort(row.cells, {}, [](const auto& cell) { return cell.first; });
        const auto same = [](const auto& a, const auto& b) { return a.first == b.first; };
        row.cells.erase(std::unique(row.cells.begin(), row.cells.end(), same), row.cells.end());
    }
    m_rows = std::move(merged);
    return m_rows;
}

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

void GiveCells(SheetCells& cells, const SheetRange& range, bool header, TableSink& sink) {
    auto& rows = cells.Ordered();
    const auto begin = std::ranges::lower_bound(rows, range.firstRow, {}, &SheetCells::Row::number);
    const auto end = std::ranges::upper_bound(rows, range.lastRow, {}, &SheetCells::Row::number);
    uint32_t first = UINT32_MAX, last = 0;
    for (auto row = begin; row != end; ++row) {
        first = std::min(first, row->cells.front().first);
        last = std::max(last, row->cells.back().first);
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
        for (const auto& [column, value] : row->cells)
            if (column >= first && column <= last)
                names[column - first] = headingOf(value);
        ++row;
    }
    sink.Columns(HeadingNames(names));
    std::vector<Value> values;
    for (; row != end; ++row) {
        values.assign(names.size(), {});
        for (auto& [column, value] : row->cells)
            if (column >= first && column <= last)
                values[column - first] = std::move(value);
        if (!sink.Row(values))
            return;
    }
}

} // namespace kr
