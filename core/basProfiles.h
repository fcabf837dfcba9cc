#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/AgentSession.h"

/// Mail profiles of the current user.
namespace kr {

/// Names of the profiles, in lower case.
std::vector<std::string> ListProfiles(Registry& registry);

/// Finds or makes a profile that leads to `mailbox` on `server`, configured without any dialog.
/// What fails is logged; false when there is no profile afterwards.
bool CreateExProfile(AgentSession& session, std::string_view name, std::string_view server,
                     std::string_view mailbox, bool isDefault);

/// Before an on-demand run, when the machine-wide value `EPS.CreateMbxProfiles` is 1: a profile
/// "eps_" + address for each user that has none. `userFilter` is the EPS user filter.
void CheckMbxProfiles(AgentSession& session, std::string_view userFilter);

} // namespace kr
