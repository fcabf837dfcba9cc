#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/AgentSession.h"
#include "core/ListModel.h"
#include "platform/shell/Shell.h"

/// Agent servers by their host messages, and what the console asks of their services.
namespace kr {

/// A computer's name as the target of service calls: with the two leading backslashes.
std::string HostPath(std::string_view name);

/// The name of the task that the agent is running, trimmed; "" when it is idle. A message that
/// can't be read counts as idle.
std::string GetCurrentTask(RDOMessage& host);
/// CurrentSubTask and CurrentTarget with a blank between, trimmed.
std::string GetTaskDetail(RDOMessage& host);
/// Stops the running task on every agent server.
void EndAllTasks(AgentSession& session);
/// The first host message that makes the BES statistics report; nullptr when there is none. Throws
/// when that can't be told.
RDOMessagePtr FindReportingServer(AgentSession& session);

/// True when the host answered an ICMP echo within 2000 ms; why it didn't goes into the log. Events
/// run meanwhile.
bool PingHost(AgentSession& session, std::string_view host);
/// Writes into the log how a ping failed.
void LogSilence(AgentSession& session, const std::string& name, const PingReport& report);
/// Ends the agent's process on a machine ("" is this computer); true when there was one.
bool KillAgent(AgentSession& session, std::string_view machine);

/// The columns of the list of servers.
enum ServerColumn {
    kServerName,
    kServerVersion,
    kServerPolling,
    kServerRTD,
    kServerBPE,
    kServerEPS,
    kServerSSU,
    kServerMCC,
    kServerTask,
    kServerSubTask,
    kServerColumns
};
std::vector<ListColumn> ServerColumns();
/// The settings of a host message as the list shows them, the last two columns left empty.
/// `defaultPolling` stands where the server has no interval of its own.
std::vector<std::string> ServerTexts(RDOMessage& host, std::string_view defaultPolling);
/// The agent message's polling interval; "" when there is none.
std::string DefaultPolling(AgentSession& session);

inline constexpr std::string_view kServerOn = "imgServerOn";
inline constexpr std::string_view kServerOff = "imgServerOff";
inline constexpr std::string_view kServerMid = "imgServerMid";
inline constexpr std::string_view kServerUnknown = "imgServerUnknown";
/// The image of a server whose service is in that state.
std::string_view ServerIcon(SvcState state);

} // namespace kr
