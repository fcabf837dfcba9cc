#include "hosts/HostKinds.h"

#include <algorithm>

#include "console/Console.h"
#include "core/basStore.h"
#include "hosts/ServerCommands.h"
#include "hosts/ServerList.h"
#include "hosts/basHosts.h"

namespace kr {

namespace {

constexpr std::string_view kProperties = "mnuActionmnuProps";

/// "Run ... Now" is offered where the host message has the task switched on.
struct RunEntry {
    std::string_view entry;
    std::string_view key;
};
constexpr RunEntry kRunEntries[] = {
    {"mnuServerEPSNow", "EPS UpdateClients"}, {"mnuServerMCCNow", "MCC.Enabled"},
    {"mnuServerBPENow", "BPE HarvestPins"},   {"mnuServerSSUNow", "SSU"},
    {"mnuServerBSRNow", "BSR.ReportStats"},
};

using Entries = std::vector<MenuEntryState>;

/// Runs `edit` on the entry of that name, which the menu table has.
template <class Edit>
void with(Entries& entries, std::string_view name, Edit edit) {
    if (const auto found = std::ranges::find(entries, name, &MenuEntryState::name);
        found != entries.end())
        edit(*found);
}

void enable(Entries& entries, std::string_view name, bool enabled) {
    with(entries, name, [enabled](MenuEntryState& entry) { entry.enabled = enabled; });
}

/// EPS restores contacts at its next run.
bool restorePending(AgentSession& session) {
    auto agent = GetMessage(session, session.AgentMsgID);
    return agent && KeyFlag(*agent, "EPS.RestoreEnabled");
}

/// The root of the tree: the agent itself, with nothing in its list.
class AgentKind : public NodeKind {
public:
    explicit AgentKind(HostForms forms) : NodeKind("agent"), m_forms(std::move(forms)) {}
    void Load(Console& console, TreeNode&) override {
        console.ClearListView();
        console.ShowStatus("");
    }
    bool Run(Console&, std::string_view command) override {
        if (command != kProperties || !m_forms.frmAgentProps)
            return false;
        m_forms.frmAgentProps();
        return true;
    }

private:
    HostForms m_forms;
};

class ServerRootKind : public NodeKind {
public:
    explicit ServerRootKind(std::shared_ptr<ServerList> list)
        : NodeKind(std::string(kServerRoot)), m_list(std::move(list)) {}
    ~ServerRootKind() override { m_list->Detach(); }
    void Load(Console&, TreeNode&) override { m_list->ListServers(); }
    bool WatchesTasks() const override { return true; }
    void Tick(Console&) override { m_list->RefreshServerTasks(); }

private:
    std::shared_ptr<ServerList> m_list;
};

class ServerRowKind : public NodeKind {
public:
    ServerRowKind(std::string_view tag, std::shared_ptr<ServerList> list, HostForms forms)
        : NodeKind(std::string(tag)), m_list(std::move(list)), m_forms(std::move(forms)) {}
    std::string_view DeleteCommand() const override { return "mnuServerDelete"; }
    bool Run(Console& console, std::string_view command) override {
        if (command != kProperties)
            return false;
        ShowServerProperties(console, *m_list, m_forms);
        return true;
    }
    void Activate(Console& console, const ListRow&) override { console.RunCommand(kProperties); }

protected:
    std::shared_ptr<ServerList> m_list;

private:
    HostForms m_forms;
};

class ServerKind : public ServerRowKind {
public:
    ServerKind(std::shared_ptr<ServerList> list, HostForms forms)
        : ServerRowKind(kServer, std::move(list), std::move(forms)) {}
    void AdjustMenu(Console& console, Entries& entries) override {
        const auto rows = console.SelectedRows();
        if (rows.empty())
            return;
        const ListRow& row = *rows.front();
        const bool runs = row.icon == kServerOn;
        // reaches frmTasks, which the set of this kind leaves out
        with(entries, "mnuServerTasks", [](MenuEntryState& entry) { entry.visible = true; });
        enable(entries, "mnuServerStart", row.icon == kServerOff);
        enable(entries, "mnuServerStop", runs);
        enable(entries, "mnuServerRestart", runs);
        enable(entries, "mnuServerEndTask", runs && !row.texts[kServerTask].empty());
        auto host = GetMessage(console.session(), EntryID(row.key));
        for (const RunEntry& run : kRunEntries)
            with(entries, run.entry, [&](MenuEntryState& entry) {
                entry.visible = host && KeyFlag(*host, run.key);
                entry.enabled = runs;
            });
        if (restorePending(console.session()))
            with(entries, "mnuServerEPSNow",
                 [](MenuEntryState& entry) { entry.caption = "Run EPS Now with Restore"; });
    }
};

/// A server that can't be reached: its record is all that there is.
class SilentServerKind : public ServerRowKind {
public:
    SilentServerKind(std::shared_ptr<ServerList> list, HostForms forms)
        : ServerRowKind(kServerNoPing, std::move(list), std::move(forms)) {}
    void AdjustMenu(Console&, Entries& entries) override {
        enable(entries, kProperties, true);
        with(entries, "mnuServerDelete", [](MenuEntryState& entry) { entry.visible = true; });
    }
};

} // namespace

void RegisterHostKinds(Console& console, const HostForms& forms) {
    const auto list = std::make_shared<ServerList>(console);
    console.RegisterKind(std::make_unique<AgentKind>(forms));
    console.RegisterKind(std::make_unique<ServerRootKind>(list));
    console.RegisterKind(std::make_unique<ServerKind>(list, forms));
    console.RegisterKind(std::make_unique<SilentServerKind>(list, forms));
    RegisterServerCommands(console, list, forms);
}

} // namespace kr
