#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/database/ConnectionString.h"
#include "platform/database/Database.h"
#include "platform/events/Events.h"

namespace kr {

/// Opens a data file or a folder of them. A SELECT runs in memory on copies of the tables that it
/// names; the files are never written.
std::unique_ptr<Database> OpenLocal(Events& events, const DbTarget& target, const DbLimits& limits);

/// A SELECT of the desktop databases as the engine takes it: TOP, #dates#, &, bare file names and
/// functions that are called otherwise. Quoted text and bracketed names stay as they are.
std::string TranslateDialect(std::string_view query);

/// A query that only picks columns of one table, which needs no engine.
struct PlainSelect {
    std::string table;
    std::vector<std::string> columns; // none: all of them
    int64_t most = 0;                 // TOP n; 0: all rows
};
/// Nothing for all other queries.
std::optional<PlainSelect> ReadPlainSelect(std::string_view query);

} // namespace kr
