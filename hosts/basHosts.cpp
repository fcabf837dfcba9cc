#include "hosts/basHosts.h"

#include "core/Text.h"
#include "core/Trap.h"
#include "core/basAgent.h"
#include "core/basService.h"
#include "core/basStore.h"

namespace kr {

namespace {

constexpr std::string_view kAgentProgram = "zagent.exe";

/// Columns that show "Y" where a switch of the host message is on.
struct Switch {
    ServerColumn column;
    std::string_view key;
    bool shownWhen = true;
};
constexpr Switch kSwitches[] = {
    {kServerRTD, "NoRenderer", false}, {kServerBPE, "BPE HarvestPins"},
    {kServerEPS, "EPS UpdateClients"}, {kServerSSU, "SSU"},
    {kServerMCC, "MCC.Enabled"},
};

std::string polling(RDOMessage& host, std::string_view fallback) {
    if (KeyFlag(host, "NoMsgProcessing"))
        return "Off";
    const Value interval = GetKey(host, "PollingInterval");
    return interval.empty() ? std::string(fallback) : std::to_string(interval.integerOr(0));
}

std::string pingFailure(const PingReport& report, const std::string& name) {
    switch (report.outcome) {
    case PingOutcome::NoSuchName:
        return "unable to resolve host from name using " + name;
    case PingOutcome::NoSocket:
        return "unable to create file handle for " + name;
    case PingOutcome::Failed:
        return "failure for " + name + "; Status = " + std::to_string(report.status);
    default:
        return "timeout waiting for response from " + name;
    }
}

} // namespace

std::string HostPath(std::string_view name) {
    if (name.starts_with("\\\\"))
        return std::string(name);
    return (name.starts_with("\\") ? "\\" : "\\\\") + std::string(name);
}

std::string GetCurrentTask(RDOMessage& host) { return Trim(KeyText(host, "CurrentTask")); }

std::string GetTaskDetail(RDOMessage& host) {
    return Trim(KeyText(host, "CurrentSubTask") + " " + KeyText(host, "CurrentTarget"));
}

void EndAllTasks(AgentSession& session) { NotifyAgents(session, kCodeEndTask); }

RDOMessagePtr FindReportingServer(AgentSession& session) {
    if (!session.agentInfo)
        throw PlatformError(MAPI_E_NOT_FOUND, "The agent mailbox can't be read.");
    for (const EntryID& id : RequireMessageIDs(*session.agentInfo, kHostClass, "")) {
        RDOMessagePtr host = session.rdo->GetMessageFromID(id, {});
        if (RequireKey(*host, "BSR.ReportStats").valueOr(false))
            return host;
    }
    return nullptr;
}

void LogSilence(AgentSession& session, const std::string& name, const PingReport& report) {
    session.log("PingHost:" + pingFailure(report, name));
}

bool PingHost(AgentSession& session, std::string_view host) {
    const std::string name(host);
    Shell& shell = session.platform.shell;
    return Trap(
        [&] {
            if (shell.Ping(name))
                return true;
            LogSilence(session, name, shell.LastPing());
            return false;
        },
        [&](const Trapped& trapped) { session.log("PingHost:" + trapped.text()); });
}

bool KillAgent(AgentSession& session, std::string_view machine) {
    return Trap([&] { return KillService(session, machine, kAgentService, kAgentProgram); },
                [&](const Trapped& trapped) { session.log("KillAgent:" + trapped.text()); });
}

std::vector<ListColumn> ServerColumns() {
    const auto centred = [](std::string title, std::string key) {
        ListColumn column{std::move(title), std::move(key)};
        column.centred = true;
        return column;
    };
    return {{"Name", ""},          {"Version", "version"}, {"Polling", "intpolling"},
            centred("RTD", "rtd"), centred("BPE", "bpe"),  centred("EPS", "eps"),
            centred("SSU", "ssu"), centred("MCC", "mcc"),  {"Active Task", "task"},
            {"", "subtask"}};
}

std::vector<std::string> ServerTexts(RDOMessage& host, std::string_view defaultPolling) {
    std::vector<std::string> texts(kServerColumns);
    texts[kServerName] = host.Subject();
    texts[kServerVersion] = KeyText(host, "AgentVersion");
    texts[kServerPolling] = polling(host, defaultPolling);
    for (const Switch& s : kSwitches)
        if (KeyFlag(host, s.key) == s.shownWhen)
            texts[s.column] = "Y";
    return texts;
}

std::string DefaultPolling(AgentSession& session) {
    auto agent = GetMessage(session, session.AgentMsgID);
    const Value interval = agent ? GetKey(*agent, "PollingInterval") : Value();
    return interval.empty() ? std::string() : std::to_string(interval.integerOr(0));
}

std::string_view ServerIcon(SvcState state) {
    switch (state) {
    case SvcState::Running:
        return kServerOn;
    case SvcState::Stopped:
    case SvcState::Paused:
        return kServerOff;
    default: // also a state that couldn't be told
        return kServerMid;
    }
}

} // namespace kr
