#pragma once

#include <string>

#include "core/AgentSession.h"

/// Restores of backup files into the agent mailbox. Each replaces what it restores, so that entry
/// ids change. All of a file is read and judged before anything is deleted: a wrong one changes
/// nothing. From the first delete on there is no way back, and a failure leaves part of the data.
/// Each returns true on success; a failure has been logged and told.
namespace kr {

/// The browser lists into folder zandrelMBL, with the pictures of the channels.
bool RestoreMBL(AgentSession& session, const std::string& path);
/// The push lists into folder zandrelMPL.
bool RestoreMPL(AgentSession& session, const std::string& path);

} // namespace kr
