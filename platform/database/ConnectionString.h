#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kr {

/// An OLE DB connection string read by OLE DB's own rules: parts `key=value;`, keys trimmed and
/// without regard to case, a value optionally in " or ' with the quote doubled inside, so that
/// `Extended Properties="Excel 8.0;HDR=Yes"` is one value. A later key wins.
class ConnectionString {
public:
    explicit ConnectionString(std::string_view text);
    /// "" when absent.
    std::string Get(std::string_view key) const;
    bool Has(std::string_view key) const;
    const std::vector<std::pair<std::string, std::string>>& Parts() const { return m_parts; }

private:
    std::vector<std::pair<std::string, std::string>> m_parts;
};

/// Where a connection string leads on this system.
struct DbTarget {
    enum Kind { Odbc, Excel, TextFolder, Access, UnknownProvider };
    Kind kind = UnknownProvider;
    /// Odbc: the string for the driver. Contains the password: never log it.
    std::string odbc;
    /// Odbc through FreeTDS, whose errors are worded otherwise.
    bool freeTds = false;
    /// Files: the workbook, the folder, or the Access file.
    std::string path;
    /// First row holds the names (HDR).
    bool header = true;
    /// Text folders without a section of their own: FMT.
    std::string format;
};

/// `oracleDriver` is the registered name of an Oracle driver, "" when there is none.
DbTarget ResolveConnection(std::string_view connectionString, std::string_view oracleDriver = {});

} // namespace kr
