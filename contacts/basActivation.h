#pragma once

#include <string_view>

#include "core/AgentSession.h"

namespace kr {

inline constexpr std::string_view kInactiveKey = "EPS.Inactive";

/// Asks and then switches one record on or off. True when it was written; a failure is logged and
/// shown.
bool ChangeActivation(AgentSession& session, const EntryID& record, std::string_view name,
                      bool activate);

} // namespace kr
