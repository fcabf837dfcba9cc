#pragma once

#include <memory>
#include <string>

#include "platform/database/Database.h"
#include "platform/events/Events.h"

namespace kr {

/// Databases behind unixODBC: whatever driver is registered (FreeTDS, PostgreSQL ...).
/// `odbcString` is a complete string for SQLDriverConnect; `freeTds` tells whose errors to expect.
std::unique_ptr<Database> OpenOdbc(Events& events, const std::string& odbcString, bool freeTds,
                                   const DbLimits& limits);
/// The registered driver whose name holds "Oracle"; "" when there is none.
std::string FindOracleDriver();

} // namespace kr
