#pragma once

#include <string>

#include "platform/services/Services.h"

namespace kr {

/// Properties of a unit (org.freedesktop.systemd1.Unit).
struct UnitProperties {
    std::string load;    // LoadState
    std::string active;  // ActiveState
    std::string sub;     // SubState
    std::string freezer; // FreezerState
};

/// The service manager's number for them; Failed when the unit isn't loaded.
SvcState StateOf(const UnitProperties& unit);

} // namespace kr
