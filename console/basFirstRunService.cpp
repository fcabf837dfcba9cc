#include "console/basFirstRun.h"
#include "core/basAgent.h"
#include "core/basService.h"

namespace kr {

namespace {

struct StateText {
    SvcState state;
    std::string_view log;
    std::string_view label;
};
constexpr StateText kStates[] = {
    {SvcState::Running, "Service running on ", "The zandrelAgent service is running"},
    {SvcState::Stopped, "Service stopped on ", ""},
    {SvcState::Paused, "Service paused on ", ""},
};

std::string nameOf(AgentSession& session, std::string_view host) {
    return host.empty() ? session.platform.shell.ComputerName() : std::string(host);
}

} // namespace

ServiceReport GetServiceState(AgentSession& session, std::string_view host) {
    ServiceReport report;
    report.state = QueryService(session, host, kAgentService);
    const std::string name = nameOf(session, host);
    if (report.state == SvcState::Failed) {
        session.log("OpenService returned nothing for " + name + "; no service found");
        return report;
    }
    for (const StateText& text : kStates)
        if (text.state == report.state) {
            session.log(std::string(text.log) + name);
            report.label = text.label;
            return report;
        }
    session.log("Service state unknown on " + name);
    report.label = "The running status of the zandrelAgent service can't be determined";
    return report;
}

bool StartAgentService(AgentSession& session, std::string_view host) {
    const ServiceReport before = GetServiceState(session, host);
    if (before.state == SvcState::Failed) {
        session.ui().MsgBox("Unable to access service at " + nameOf(session, host), BoxIcon::Stop);
        return false;
    }
    if (before.state == SvcState::Running)
        return true;
    const ServiceResult started = StartService(session, host, kAgentService);
    if (started.ok())
        return true;
    session.log("StartService error:" + std::to_string(started.code));
    return false;
}

} // namespace kr
