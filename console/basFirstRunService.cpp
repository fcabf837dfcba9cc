#include <chrono>

#include "console/basFirstRun.h"
#include "core/Trap.h"
#include "core/basAgent.h"

namespace kr {

namespace {

constexpr auto kTurn = std::chrono::milliseconds(20);
constexpr auto kPatience = std::chrono::seconds(3);

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

/// Lets events run until the answer is there; the seam has its own deadline, this is the last one.
void waitFor(AgentSession& session, const bool& answered) {
    const auto end = std::chrono::steady_clock::now() + kPatience;
    while (!answered && std::chrono::steady_clock::now() < end) {
        session.platform.events.Run(kTurn);
        session.ui().DoEvents();
    }
}

} // namespace

ServiceReport GetServiceState(AgentSession& session, std::string_view host) {
    auto report = std::make_shared<ServiceReport>();
    auto answered = std::make_shared<bool>(false);
    session.platform.services.Query(host, kAgentService,
                                    [report, answered](SvcState state, const std::string&) {
                                        report->state = state;
                                        *answered = true;
                                    });
    waitFor(session, *answered);
    const std::string name = nameOf(session, host);
    if (report->state == SvcState::Failed) {
        session.log("OpenService returned nothing for " + name + "; no service found");
        return *report;
    }
    for (const StateText& text : kStates)
        if (text.state == report->state) {
            session.log(std::string(text.log) + name);
            report->label = text.label;
            return *report;
        }
    session.log("Service state unknown on " + name);
    report->label = "The running status of the zandrelAgent service can't be determined";
    return *report;
}

bool StartAgentService(AgentSession& session, std::string_view host) {
    const ServiceReport before = GetServiceState(session, host);
    if (before.state == SvcState::Failed) {
        session.ui().MsgBox("Unable to access service at " + nameOf(session, host), BoxIcon::Stop);
        return false;
    }
    if (before.state == SvcState::Running)
        return true;
    auto code = std::make_shared<long>(0);
    auto answered = std::make_shared<bool>(false);
    session.platform.services.Start(host, kAgentService,
                                    [code, answered](long result, const std::string&) {
                                        *code = result;
                                        *answered = true;
                                    });
    waitFor(session, *answered);
    if (*answered && *code == 0)
        return true;
    session.log("StartService error:" + std::to_string(*code));
    return false;
}

} // namespace kr
