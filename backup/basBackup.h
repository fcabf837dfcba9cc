#pragma once

#include <string>

#include "core/AgentSession.h"

/// Backups of the agent mailbox as XML files. Each walks its messages, lets events run after each,
/// and stops at once when `progress` is cancelled; what it has until then is saved. Each returns
/// true when the file is there afterwards; a failure has been logged and told, and leaves the disk
/// as it was.
namespace kr {

/// The browser lists of folder zandrelMBL, with the pictures of the channels.
bool BackupMBL(AgentSession& session, const std::string& path, Progress& progress);
/// The push lists of folder zandrelMPL.
bool BackupMPL(AgentSession& session, const std::string& path, Progress& progress);

/// "<word> 3-7-09.xml", by today's local date.
std::string BackupFileName(const AgentSession& session, std::string_view word);

} // namespace kr
