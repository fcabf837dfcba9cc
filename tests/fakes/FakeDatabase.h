#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/database/Database.h"

namespace kr {

/// Databases that answer each query from a table, or fail as told.
class FakeDatabase : public DatabaseProvider {
public:
    struct Source {
        std::map<std::string, DbRows> answers; // by query
        /// Thrown for a query that isn't there.
        PlatformError unknown{DB_E_NO_TABLE, "There is no such table.", "FakeDatabase"};
    };
    std::map<std::string, Source> sources; // by connection string
    /// Thrown for a connection string that isn't there.
    PlatformError refusal{DB_E_FAIL, "The server was not found.", "FakeDatabase"};
    std::vector<std::string> opened;
    std::vector<std::string> queries;
    std::vector<DbLimits> limits; // of each query

    std::unique_ptr<Database> Open(std::string_view connectionString,
                                   const DbLimits& limits = {}) override;
};

} // namespace kr
