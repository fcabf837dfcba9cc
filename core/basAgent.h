#pragma once

#include <string_view>
#include <vector>

#include "core/AgentSession.h"

/// The agent mailbox: its folders and records, the logon, and how a change reaches a running agent.
namespace kr {

// Message classes and subjects of the records that more than one subsystem opens.
inline constexpr std::string_view kAgentClass = "zandrel.Agent";
inline constexpr std::string_view kAgentSubject = "zandrelAgent";
inline constexpr std::string_view kHostClass = "zandrel.Host";
inline constexpr std::string_view kUserClass = "zandrel.UserInfo";
inline constexpr std::string_view kAgentInfoFolder = "zandrelAgentInfo";
inline constexpr std::string_view kUserInfoFolder = "zandrelUserInfo";

inline constexpr std::string_view kAgentService = "zandrelAgent";
inline constexpr std::string_view kWatchdogService = "kRWatchdog";

/// Codes that a running agent understands.
enum AgentCode {
    kCodeAgentChanged = 128,
    kCodeHostChanged = 130,
    kCodeLanguageChanged = 131,
    kCodeEPSSpecial = 199,
    kCodeEPSNow = 200,
    kCodeBPENow = 201,
    kCodeSSUNow = 202,
    kCodeBSRNow = 203,
    kCodeEndTask = 210,
    kCodeMCCNow = 220
};

/// True when the folders and the agent message are at hand. Without an agent message the FirstRun
/// flag is raised; without folders the person is told.
bool GetAgentFolders(AgentSession& session);
/// The agent message, the oldest when there are several (the others are deleted); sets AgentMsgID.
RDOMessagePtr GetAgentMessage(AgentSession& session);
/// A sub-folder of zandrelAgentInfo, created when missing. When the mailbox can't be reached, a
/// refresh is offered and run.
RDOFolderPtr GetZandrelFolder(AgentSession& session, std::string_view name);
/// The same without creating, for folders that the agent makes.
RDOFolderPtr GetHiddenFolder(AgentSession& session, std::string_view name);
std::vector<EntryID> GetHostMessages(AgentSession& session);

/// Sends a code to the agent's service on a host ("" is this computer, "\\NAME" another), and on
/// request to the watchdog. Fire and forget: nobody learns of a failure.
void SendServiceControl(AgentSession& session, std::string_view host, int code,
                        bool alsoWatchdog = false);
/// Sends a code to every agent server.
void NotifyAgents(AgentSession& session, int code);

/// Logs on with the session's logon data and loads what the tree needs. True when the session, the
/// agent folders and the tree all loaded.
bool DoLogon(AgentSession& session);

} // namespace kr
