#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/PlatformError.h"
#include "core/Value.h"

namespace kr {

/// Error numbers in the manner of ADO and OLE DB, as a test of a connection shows them.
constexpr long DB_E_PROVIDER_MISSING = static_cast<long>(0x800A0E7A);
constexpr long DB_E_LOGIN = static_cast<long>(0x80040E4D);
constexpr long DB_E_TIMEOUT = static_cast<long>(0x80040E31);
constexpr long DB_E_NO_TABLE = static_cast<long>(0x80040E37);
constexpr long DB_E_SYNTAX = static_cast<long>(0x80040E14);
constexpr long DB_E_CANCELED = static_cast<long>(0x80040E4E);
constexpr long DB_E_FAIL = static_cast<long>(0x80004005);

/// A query's rows, read to the end; a null is an empty Value.
struct DbRows {
    std::vector<std::string> columns;
    std::vector<std::vector<Value>> rows;
    /// Index of a column, ignoring case; -1 when there is none.
    int Column(std::string_view name) const;
};

struct DbLimits {
    /// Seconds for opening a connection and for one statement.
    int connectSeconds = 15;
    int querySeconds = 30;
    /// 0: all rows.
    int64_t maxRows = 0;
    /// Set by whoever waits; the call ends soon with DB_E_CANCELED.
    const std::atomic<bool>* cancel = nullptr;
};

/// One open database. Calls run on a worker of the seam; the caller's events go on meanwhile.
class Database {
public:
    virtual ~Database() = default;
    /// Runs a SELECT, or a procedure by its name. `onColumns` comes once, `onRow` for each row,
    /// both on the calling thread. Throws PlatformError.
    virtual void Execute(std::string_view query, const DbLimits& limits,
                         const std::function<void(const std::vector<std::string>&)>& onColumns,
                         const std::function<void(std::vector<Value>&)>& onRow) = 0;
    DbRows Query(std::string_view query, const DbLimits& limits = {});
};

class DatabaseProvider {
public:
    virtual ~DatabaseProvider() = default;
    /// Opens what an OLE DB connection string names; throws PlatformError with the reason.
    virtual std::unique_ptr<Database> Open(std::string_view connectionString,
                                           const DbLimits& limits = {}) = 0;
};

} // namespace kr
