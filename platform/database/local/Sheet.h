#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/database/local/TableSource.h"

namespace kr {

/// Rows and columns that a query's table name asks for, counted from 0, both ends inside.
struct SheetRange {
    uint32_t firstRow = 0, lastRow = UINT32_MAX;
    uint32_t firstColumn = 0, lastColumn = UINT32_MAX;
};

/// Excel's own limits.
constexpr uint32_t kMostRows = 1048576;
constexpr uint32_t kMostColumns = 16384;
/// More than the largest old sheet has; what a damaged or hostile file may take of the memory.
constexpr size_t kMostCells = 20'000'000;

/// The cells of a sheet that hold something, by rows; rows and the cells of a row ascend.
class SheetCells {
public:
    struct Row {
        uint32_t number = 0;
        std::vector<std::pair<uint32_t, Value>> cells; // column and value
    };

    /// The later value of a cell counts. Throws PlatformError above kMostCells.
    void Set(uint32_t row, uint32_t column, Value value);
    /// Brings what was set out of order in order; gives the rows.
    std::vector<Row>& Ordered();

private:
    std::vector<Row> m_rows;
    size_t m_count = 0;
    bool m_ordered = true;
};

/// Reads "B12" (also "$B$12"), counted from 0; false when it is no cell.
bool ParseCell(std::string_view text, uint32_t& row, uint32_t& column);
/// Reads "A1:C10".
bool ParseRange(std::string_view text, SheetRange& range);
/// A day number of Excel as text, with its time when it has one.
std::string ExcelDate(double serial, bool from1904);
/// Hands the range of the used cells over, the first row as heading when there is one. The values
/// are moved out of the cells.
void GiveCells(SheetCells& cells, const SheetRange& range, bool header, TableSink& sink);

/// A workbook of either kind: its sheets by name.
class Sheets {
public:
    virtual ~Sheets() = default;
    virtual const std::vector<std::string>& Names() const = 0;
    /// Named ranges: name and "Sheet!$A$1:$C$10".
    virtual const std::map<std::string, std::string>& Ranges() const = 0;
    virtual SheetCells Read(size_t sheet) = 0;
};

std::unique_ptr<Sheets> OpenXlsx(const std::string& path, const std::atomic<bool>* cancel);
std::unique_ptr<Sheets> OpenXls(const std::string& path, const std::atomic<bool>* cancel);

} // namespace kr
