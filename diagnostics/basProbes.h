#pragma once

#include <string>
#include <string_view>

#include "core/AgentSession.h"

/// What the diagnostics text says about the machines of the agent servers.
namespace kr {

/// "COM+ Package Audit" and, each on a line of its own, what ReadPackage finds for every agent
/// server. A server whose message can't be read is logged and left out.
std::string AuditPackages(AgentSession& session);

/// How the agent's COM+ package is set up on a server. Package catalogs exist on Windows alone and
/// can't be asked from here, so that it is never found.
std::string ReadPackage(AgentSession& session, std::string_view serverName);

} // namespace kr
