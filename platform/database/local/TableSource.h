#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/Value.h"

namespace kr {

/// What the engine takes.
inline constexpr size_t kMostTableColumns = 2000;

/// Where a table of a file's contents goes: names first, then rows of as many values.
struct TableSink {
    virtual ~TableSink() = default;
    virtual void Columns(const std::vector<std::string>& names) = 0;
    /// False: enough, stop reading. The values may be moved out.
    virtual bool Row(std::vector<Value>& values) = 0;
};

/// A file or folder whose tables can be read one after another.
class TableSource {
public:
    virtual ~TableSource() = default;
    /// Reads a table by the name that stands in the query; false when there is none of that name.
    /// Throws PlatformError for a file that can't be read.
    virtual bool Read(std::string_view table, TableSink& sink) = 0;
};

/// A folder of text files; `format` is "Delimited", "Fixed", "TabDelimited", "Delimited(c)" or "".
/// Schema.ini in the folder overrides both settings for the file that it names.
std::unique_ptr<TableSource> OpenTextFolder(const std::string& folder, bool header,
                                            const std::string& format);
/// A workbook, by its first bytes .xlsx or .xls. Sheets as "Sheet1$", "Sheet1$A1:C10", "'My
/// Sheet$'" or a named range. `cancel` may be nullptr.
std::unique_ptr<TableSource> OpenWorkbook(const std::string& path, bool header,
                                          const std::atomic<bool>* cancel);
/// An Access file, read by the programs of mdbtools as child processes with a time limit, as
/// damaged files can crash or hang their library. `cancel` may be nullptr.
std::unique_ptr<TableSource> OpenAccess(const std::string& path, int seconds,
                                        const std::atomic<bool>* cancel);

/// Column names as the old driver made them: an empty heading is F and its number, a name that is
/// taken gets a digit, "." becomes "#". Throws PlatformError above kMostTableColumns.
std::vector<std::string> HeadingNames(const std::vector<std::string>& cells);

} // namespace kr
