#pragma once

#include <optional>
#include <string>

#include "console/TreeModel.h"
#include "core/AgentSession.h"

/// Telling a handheld that a fresh PIN distribution list packet waits for it.
namespace kr {

/// A user as the list of recipients shows one.
struct PDLRecipient {
    EntryID id;
    std::string name;
    std::string email;
    std::string server; // of the agent
    bool textBlast = false;
};
/// Pushes the notice, by PIN and, when that fails, once by address; the person hears of the
/// outcome. The local time of the push, which is kept; nothing when it failed. `tree` has the BES
/// connectors.
std::optional<Time> PDLPush(AgentSession& session, TreeModel& tree, const PDLRecipient& user);
/// Opens the engine's packet of that user in the browser.
void ViewPDL(AgentSession& session, const PDLRecipient& user);

} // namespace kr
