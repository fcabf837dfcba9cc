#include "hosts/ServiceCommands.h"

#include "console/Console.h"
#include "core/basAgent.h"
#include "core/basService.h"
#include "hosts/ServerList.h"
#include "hosts/basHosts.h"

namespace kr {

namespace {

/// What a stopping agent gets to end its task.
constexpr auto kEndTaskPause = std::chrono::milliseconds(500);

SvcState stateOf(AgentSession& session, const SelectedServer& server) {
    return QueryService(session, HostPath(server.name), kAgentService);
}

/// The service's state; Failed is told to the person.
SvcState openService(AgentSession& session, const SelectedServer& server) {
    const SvcState state = stateOf(session, server);
    if (state == SvcState::Failed)
        session.ui().MsgBox("Unable to access service at " + server.name, BoxIcon::Stop);
    return state;
}

void waitFor(const HostForms& forms, const SelectedServer& server, SvcState target,
             const std::string& caption) {
    if (forms.frmServiceStatus)
        forms.frmServiceStatus(HostPath(server.name), target, caption);
}

bool start(AgentSession& session, const SelectedServer& server) {
    const ServiceResult result = StartService(session, HostPath(server.name), kAgentService);
    if (result.ok())
        return true;
    session.log("mnuServerStart error for " + server.name + ": " + std::to_string(result.code) +
                " " + result.error);
    session.ui().MsgBox("There was an error starting the zandrelAgent on " + server.name +
                            ". Please verify that the service password is correct.",
                        BoxIcon::Stop);
    return false;
}

/// Stops a service that isn't stopped and waits for it; false when it can't be reached.
bool stop(AgentSession& session, const HostForms& forms, const SelectedServer& server) {
    const SvcState state = openService(session, server);
    if (state == SvcState::Failed)
        return false;
    if (state == SvcState::Stopped)
        return true;
    const ServiceResult result = StopService(session, HostPath(server.name), kAgentService);
    if (!result.ok())
        session.log("mnuServerStop error for " + server.name + ": " + std::to_string(result.code) +
                    " " + result.error);
    waitFor(forms, server, SvcState::Stopped, "Waiting for service to stop..");
    return true;
}

} // namespace

void StartServer(Console& console, ServerList& list, const HostForms& forms,
                 const SelectedServer& server) {
    AgentSession& session = console.session();
    const SvcState state = openService(session, server);
    if (state == SvcState::Failed)
        return;
    if (state == SvcState::Stopped && !start(session, server)) {
        list.ShowState(server.key, SvcState::Stopped);
        return;
    }
    waitFor(forms, server, SvcState::Running, "Waiting for service to start..");
    list.ShowState(server.key, stateOf(session, server));
}

void StopServer(Console& console, ServerList& list, const HostForms& forms,
                const SelectedServer& server) {
    AgentSession& session = console.session();
    SendServiceControl(session, HostPath(server.name), kCodeEndTask);
    RunEventsFor(session, kEndTaskPause);
    if (stop(session, forms, server))
        list.RefreshServerRow(server.key);
}

void RestartServer(Console& console, ServerList& list, const HostForms& forms,
                   const SelectedServer& server) {
    AgentSession& session = console.session();
    if (!stop(session, forms, server))
        return;
    list.RefreshServerRow(server.key);
    const SvcState state = stateOf(session, server);
    list.ShowState(server.key, state);
    if (state == SvcState::Stopped)
        StartServer(console, list, forms, server);
}

} // namespace kr
