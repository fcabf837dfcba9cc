#pragma once

#include <memory>

#include "platform/database/Database.h"
#include "platform/events/Events.h"

namespace kr {

/// The databases of this system: servers through ODBC, data files through the local engine.
/// `events` must outlive what it opens.
std::unique_ptr<DatabaseProvider> MakeDatabaseProvider(Events& events);

} // namespace kr
