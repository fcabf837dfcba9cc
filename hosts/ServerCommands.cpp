#include "hosts/ServerCommands.h"

#include <optional>
#include <utility>
#include <vector>

#include "console/Console.h"
#include "console/ListCounts.h"
#include "core/Text.h"
#include "core/Trap.h"
#include "core/basAgent.h"
#include "core/basProfiles.h"
#include "core/basStore.h"
#include "hosts/HostKinds.h"
#include "hosts/ServerList.h"
#include "hosts/ServiceCommands.h"
#include "hosts/basHosts.h"
#include "push/basTargets.h"

namespace kr {

namespace {

/// "Run ... Now" of tasks that need nothing but their code.
struct RunNow {
    std::string_view command;
    AgentCode code;
    std::string_view log;
};
constexpr RunNow kRuns[] = {
    {"mnuServerBPENow", kCodeBPENow, "Launching BPE Now on "},
    {"mnuServerMCCNow", kCodeMCCNow, "Launching MCC Now on "},
    {"mnuServerSSUNow", kCodeSSUNow, "Launching SSU Now on "},
};

std::vector<SelectedServer> selectedServers(const Console& console) {
    std::vector<SelectedServer> servers;
    for (const ListRow* row : console.SelectedRows())
        if (row->tag == kServer || row->tag == kServerNoPing)
            servers.push_back({row->key, row->texts[kServerName], row->icon == kServerOn});
    return servers;
}

/// The server that an order goes to. A record without a name has none: an empty name would reach
/// this computer's agent.
std::optional<SelectedServer> selectedServer(const Console& console) {
    const auto servers = selectedServers(console);
    if (servers.empty() || servers.front().name.empty())
        return std::nullopt;
    return servers.front();
}

std::string taskOf(AgentSession& session, const SelectedServer& server) {
    auto host = GetMessage(session, EntryID(server.key));
    return host ? GetCurrentTask(*host) : std::string(); // what can't be read looks idle
}

void sayBusy(AgentSession& session, const std::string& who, const std::string& what) {
    session.ui().MsgBox(who + " is currently running " + what + ". \nPlease try again later.",
                        BoxIcon::Information);
}

void launch(AgentSession& session, std::string_view log, const std::string& name, int code) {
    session.log(std::string(log) + name);
    SendServiceControl(session, HostPath(name), code);
}

void runNow(Console& console, ServerList& list, const RunNow& run) {
    const auto server = selectedServer(console);
    if (!server)
        return;
    AgentSession& session = console.session();
    if (const std::string task = taskOf(session, *server); !task.empty())
        return sayBusy(session, server->name, task);
    launch(session, run.log, server->name, run.code);
    list.RefreshServerRow(server->key);
}

/// Runs on the server that makes the report, whichever one is selected, and renews no row.
void runBSR(Console& console) {
    AgentSession& session = console.session();
    bool failed = false;
    const RDOMessagePtr host = Trap(
        [&] { return FindReportingServer(session); },
        [&](const Trapped& error) {
            failed = true;
            session.log("FindReportingServer: " + error.text());
            session.ui().MsgBox("The servers can't be read!\n" + error.description, BoxIcon::Stop);
        });
    if (failed)
        return;
    const std::string name = TrapSilently([&] { return host ? host->Subject() : std::string(); });
    if (name.empty()) {
        session.ui().MsgBox("There is no designated BSR reporting server!", BoxIcon::Stop);
        return;
    }
    if (const std::string task = GetCurrentTask(*host); !task.empty())
        return sayBusy(session, name, task);
    launch(session, "Launching BSR Now on ", name, kCodeBSRNow);
}

void runEPS(Console& console, ServerList& list, const HostForms& forms) {
    const auto server = selectedServer(console);
    if (!server)
        return;
    AgentSession& session = console.session();
    // deliberately the task before the server, other than with the other runs
    if (const std::string task = taskOf(session, *server); !task.empty())
        return sayBusy(session, task, server->name);
    if (!forms.frmEPSNow)
        return console.ShowStatus(Console::kMissingFeature);
    const int code = forms.frmEPSNow(EntryID(server->key));
    if (code != kCodeEPSNow && code != kCodeEPSSpecial)
        return;
    session.log((code == kCodeEPSNow ? "Launching EPS Now on " : "Launching EPS Special on ") +
                server->name);
    TrapSilently([&] { CheckMbxProfiles(session, BuildUserFilterEPS(session)); });
    SendServiceControl(session, HostPath(server->name), code);
    list.RefreshServerRow(server->key);
}

void endTask(Console& console, ServerList& list) {
    const auto server = selectedServer(console);
    if (!server)
        return;
    SendServiceControl(console.session(), HostPath(server->name), kCodeEndTask);
    console.session().ui().DoEvents();
    list.RefreshServerRow(server->key);
}

void showTasks(Console& console, const std::shared_ptr<ServerList>& list, const HostForms& forms) {
    const auto server = selectedServer(console);
    if (server && forms.frmTasks)
        forms.frmTasks(
            EntryID(server->key), server->name,
            [list, key = server->key] { return list->Running(key); },
            [list, key = server->key] { list->RefreshServerRow(key); });
}

std::string question(const std::vector<SelectedServer>& servers) {
    if (servers.size() == 1)
        return "Are you sure you want to delete " + servers.front().name + "?";
    std::string text =
        "Are you sure you want to delete these " + std::to_string(servers.size()) + " servers?";
    for (const SelectedServer& server : servers)
        text += "\n  " + server.name;
    return text;
}

bool deleteServer(AgentSession& session, const SelectedServer& server) {
    return Trap(
        [&] {
            session.rdo->GetMessageFromID(EntryID(server.key), {})->Delete();
            session.log("deleted server " + server.name);
            return true;
        },
        [&](const Trapped& trapped) {
            session.log("error deleting " + server.name + ": " + trapped.text());
            session.ui().MsgBox("Error during delete: " + trapped.description, BoxIcon::Stop);
        });
}

/// Takes the host message away. An agent that still runs there makes a new one at its next start.
void deleteServers(Console& console) {
    AgentSession& session = console.session();
    const auto servers = selectedServers(console);
    if (servers.empty() || session.ui().MsgBox(question(servers), BoxIcon::Question,
                                               BoxButtons::OKCancel) != BoxAnswer::OK)
        return;
    for (const SelectedServer& server : servers) {
        if (!deleteServer(session, server))
            continue;
        if (const size_t at = console.list().Find(server.key); at != ListModel::npos)
            console.list().Remove(at);
    }
    if (console.CurrentTag() == kServerRoot)
        console.ShowStatus(
            CountText(Counted::Server, static_cast<int64_t>(console.list().Count())));
}

} // namespace

void ShowServerProperties(Console& console, ServerList& list, const HostForms& forms) {
    const auto servers = selectedServers(console);
    if (servers.empty() || !forms.frmHost)
        return;
    const std::string key = servers.front().key;
    if (forms.frmHost(EntryID(key)))
        list.RefreshServerRow(key);
}

void RegisterServerCommands(Console& console, const std::shared_ptr<ServerList>& list,
                            const HostForms& forms) {
    for (const RunNow& run : kRuns)
        console.RegisterCommand(run.command, [list, run](Console& c) { runNow(c, *list, run); });
    console.RegisterCommand("mnuServerBSRNow", runBSR);
    console.RegisterCommand("mnuServerEPSNow",
                            [list, forms](Console& c) { runEPS(c, *list, forms); });
    console.RegisterCommand("mnuServerEndTask", [list](Console& c) { endTask(c, *list); });
    console.RegisterCommand("mnuServerTasks",
                            [list, forms](Console& c) { showTasks(c, list, forms); });
    console.RegisterCommand("mnuServerDelete", deleteServers);
    using Order = void (*)(Console&, ServerList&, const HostForms&, const SelectedServer&);
    constexpr std::pair<std::string_view, Order> kService[] = {
        {"mnuServerStart", StartServer},
        {"mnuServerStop", StopServer},
        {"mnuServerRestart", RestartServer},
    };
    for (const auto& [command, order] : kService)
        console.RegisterCommand(command, [list, forms, order = order](Console& c) {
            if (const auto server = selectedServer(c))
                order(c, *list, forms, *server);
        });
}

} // namespace kr
