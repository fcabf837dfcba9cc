#pragma once

#include <string>
#include <vector>

#include "core/AgentSession.h"

/// What commands do to selected lists.
namespace kr {

struct SelectedMcl {
    EntryID id;
    std::string name;
    bool linked = false; // it hangs on a contact source
    bool inactive = false;
};

/// Asks and deletes; gives the lists that are gone.
std::vector<EntryID> DeleteMCLs(AgentSession& session, const std::vector<SelectedMcl>& lists);

struct MclActivation {
    std::vector<EntryID> lists;   // switched on or off
    std::vector<EntryID> sources; // switched on with them
};
/// Asks and switches those lists on or off that aren't so already. A list goes on together with its
/// source; one without its source stays off.
MclActivation ChangeActivationMCL(AgentSession& session, const std::vector<SelectedMcl>& lists,
                                  bool activate);

} // namespace kr
