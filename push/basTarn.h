#pragma once

#include <string>
#include <string_view>

#include "core/AgentSession.h"

/// The link to the Tarn Mobile Engine, the web application beside the agent that serves icons and
/// packets to handhelds.
namespace kr {

/// Behind the address: where handhelds tell what they received.
inline constexpr std::string_view kNotifyQuery = "?cmd=notify";

/// `TARN.URL` of the agent message; "" when unset.
std::string GetTarnURL(AgentSession& session);
/// Writes it; false, with the reason in the log, when it can't be.
bool SaveTarnURL(AgentSession& session, const std::string& url);

// Tests of an engine by its address; each logs what it found.
bool IsRunningTarn(AgentSession& session, std::string_view url);
bool TestPdlTarn(AgentSession& session, std::string_view url);
bool TestIconTarn(AgentSession& session, std::string_view url);

/// A query behind an address: "/" between them unless it ends in "/" or "default.aspx".
std::string TarnQuery(std::string_view url, std::string_view query);
/// With "http://" in front where no protocol stands.
std::string WithProtocol(std::string_view url);
/// An address as it is stored: with protocol, and closed by "/" or "default.aspx".
std::string CanonTarnURL(std::string_view url);
/// "localhost" means another computer to each handheld: the text with this computer's name in its
/// place. Nothing has to be changed where it doesn't stand.
bool ReplaceLocalhost(std::string& url, std::string_view computer);

} // namespace kr
