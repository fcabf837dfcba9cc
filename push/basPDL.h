#pragma once

#include <string>
#include <string_view>

#include "core/AgentSession.h"

/// The packets of PIN distribution lists (PDL): one XML document for each PIN, which the engine or
/// an agent server gives out. The console reads no more of it than its date.
namespace kr {

/// Where the engine gives out the packet of that PIN; "" when no engine is configured. Asked this
/// way it does not count as a fetch of the handheld.
std::string TarnPDLAddress(AgentSession& session, std::string_view pin);
/// Asks the engine for the packet. The URL that the handheld is to fetch it from; "", with the
/// reason in the log, when there is none. `content` becomes the packet where the engine answers
/// with the packet itself, and "" where it names a URL.
std::string GetTarnPDL(AgentSession& session, std::string_view pin, std::string& content);

/// The directory of the packets on an agent server, proven by a request; "" with a box about that
/// user when it can't be reached.
std::string GetPDLUrl(AgentSession& session, std::string_view hostName, std::string_view userName);
/// The packet at that URL; "" with a box about that user.
std::string GetPDL(AgentSession& session, const std::string& url, std::string_view userName);
/// When the packet was made. The zero date, 30 December 1899, when it doesn't say.
Time GetPDLDate(AgentSession& session, std::string_view packet, std::string_view fileName);

/// A text key of an agent server's record; "" when there is no such server.
std::string HostText(AgentSession& session, std::string_view hostName, std::string_view key);

} // namespace kr
