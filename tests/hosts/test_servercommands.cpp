#include <gmock/gmock.h>

#include "core/Trap.h"
#include "core/basRegistry.h"
#include "core/basService.h"
#include "tests/hosts/HostTest.h"
#include "tests/support/FailingWorld.h"

namespace {

using namespace kr;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ServerCommands : public HostConsoleTest {
protected:
    ServerCommands() {
        a = hosts.Add("SRVA");
        b = hosts.Add("SRVB");
    }
    /// The list with SRVA selected.
    void open() {
        registerKinds();
        showServers();
        select(a);
    }
    void run(std::string_view command) { console->RunCommand(command); }
    Names enabledEntries() {
        Names all;
        for (const std::string& name : view.visible())
            if (view.enabled(name))
                all.push_back(name);
        return all;
    }
    std::string caption(std::string_view name) {
        return std::ranges::find(view.menu, name, &MenuEntryState::name)->caption;
    }
    EntryID a, b;
};

// --- the menu

TEST_F(ServerCommands, MenuOfARunningServer) {
    for (const char* key :
         {"EPS UpdateClients", "MCC.Enabled", "BPE HarvestPins", "SSU", "BSR.ReportStats"})
        hosts.Set(a, key, true);
    open();
    EXPECT_THAT(enabledEntries(),
                ::testing::UnorderedElementsAre(
                    "mnuActionmnuProps", "mnuServerTasks", "mnuServerRestart", "mnuServerStop",
                    "mnuServerEPSNow", "mnuServerMCCNow", "mnuServerBPENow", "mnuServerSSUNow",
                    "mnuServerBSRNow", "mnuServerDelete"));
    EXPECT_FALSE(view.enabled("mnuServerStart"));
    EXPECT_FALSE(view.enabled("mnuServerEndTask"));
    EXPECT_EQ(view.visible().size(), 12U);
}

TEST_F(ServerCommands, RunsAreOfferedByTheirKeys) {
    const std::vector<std::pair<std::string, std::string>> runs = {
        {"EPS UpdateClients", "mnuServerEPSNow"},
        {"MCC.Enabled", "mnuServerMCCNow"},
        {"BPE HarvestPins", "mnuServerBPENow"},
        {"SSU", "mnuServerSSUNow"},
        {"BSR.ReportStats", "mnuServerBSRNow"}};
    open();
    for (const auto& [key, entry] : runs) {
        EXPECT_FALSE(view.enabled(entry)) << entry;
        hosts.Set(a, key, true);
        select(a);
        EXPECT_TRUE(view.enabled(entry)) << entry;
    }
}

TEST_F(ServerCommands, AStoppedServerIsOfferedStartAndNoRun) {
    hosts.Set(a, "SSU", true);
    world.services.states["SRVA/zandrelAgent"] = SvcState::Stopped;
    open();
    EXPECT_TRUE(view.enabled("mnuServerStart"));
    for (const char* entry :
         {"mnuServerStop", "mnuServerRestart", "mnuServerEndTask", "mnuServerSSUNow"})
        EXPECT_FALSE(view.enabled(entry)) << entry;
    const Names visible = view.visible();
    EXPECT_TRUE(std::ranges::find(visible, "mnuServerSSUNow") != visible.end());
}

TEST_F(ServerCommands, AServerBetweenStatesIsOfferedNoServiceEntry) {
    world.services.states["SRVA/zandrelAgent"] = SvcState::StopPending;
    open();
    for (const char* entry : {"mnuServerStart", "mnuServerStop", "mnuServerRestart"})
        EXPECT_FALSE(view.enabled(entry)) << entry;
}

TEST_F(ServerCommands, EndTaskFollowsTheTaskOfTheSelectedRow) {
    open();
    hosts.Set(a, "CurrentTask", "EPS");
    tick();
    EXPECT_TRUE(view.enabled("mnuServerEndTask"));
    hosts.Set(a, "CurrentTask", "");
    tick();
    EXPECT_FALSE(view.enabled("mnuServerEndTask"));
    world.services.states["SRVA/zandrelAgent"] = SvcState::Stopped;
    tick();
    EXPECT_TRUE(view.enabled("mnuServerStart"));
}

TEST_F(ServerCommands, TheEPSEntryTellsOfARestore) {
    hosts.Set(a, "EPS UpdateClients", true);
    open();
    EXPECT_EQ(caption("mnuServerEPSNow"), "");
    hosts.Set(world.session->AgentMsgID, "EPS.RestoreEnabled", true);
    select(a);
    EXPECT_EQ(caption("mnuServerEPSNow"), "Run EPS Now with Restore");
}

TEST_F(ServerCommands, ASilentServerHasItsRecordAlone) {
    shell.silent = {"SRVA"};
    open();
    EXPECT_EQ(row(a).tag, "serverNoPing");
    EXPECT_THAT(enabledEntries(), ElementsAre("mnuServerDelete", "mnuActionmnuProps"));
    run("mnuActionmnuProps");
    EXPECT_THAT(shown, ElementsAre("frmHost " + a.text()));
}

// --- runs

TEST_F(ServerCommands, RunsSendTheirCode) {
    open();
    const std::vector<std::pair<std::string, int>> runs = {
        {"BPE", 201}, {"SSU", 202}, {"MCC", 220}};
    for (const auto& [kind, code] : runs) {
        world.services.sent.clear();
        shell.pinged.clear();
        run("mnuServer" + kind + "Now");
        EXPECT_THAT(world.services.sent, ElementsAre(Sent{"SRVA", "zandrelAgent", code}));
        EXPECT_TRUE(world.logHas("Launching " + kind + " Now on SRVA"));
        EXPECT_THAT(shell.pinged, ElementsAre("SRVA")); // the row was renewed
    }
}

TEST_F(ServerCommands, ABusyServerIsSentNothing) {
    open();
    hosts.Set(a, "CurrentTask", " EPS ");
    for (const char* kind : {"BPE", "SSU", "MCC"}) {
        world.ui.Expect("SRVA is currently running EPS. \nPlease try again later.");
        run("mnuServer" + std::string(kind) + "Now");
        EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Information);
    }
    EXPECT_THAT(world.services.sent, IsEmpty());
    EXPECT_FALSE(world.logHas("Launching"));
}

TEST_F(ServerCommands, ABlankTaskIsIdle) {
    open();
    hosts.Set(a, "CurrentTask", "   ");
    run("mnuServerSSUNow");
    EXPECT_EQ(world.services.sent.size(), 1U);
}

TEST_F(ServerCommands, AnUnreadableServerLooksIdle) {
    open();
    hosts.Open(a)->Delete();
    run("mnuServerSSUNow");
    EXPECT_THAT(world.services.sent, ElementsAre(Sent{"SRVA", "zandrelAgent", 202}));
}

TEST_F(ServerCommands, BSRRunsOnTheReportingServer) {
    hosts.Set(b, "BSR.ReportStats", true);
    hosts.Set(a, "CurrentTask", "EPS"); // the selected one doesn't count
    open();
    shell.pinged.clear();
    run("mnuServerBSRNow");
    EXPECT_THAT(world.services.sent, ElementsAre(Sent{"SRVB", "zandrelAgent", 203}));
    EXPECT_TRUE(world.logHas("Launching BSR Now on SRVB"));
    EXPECT_THAT(shell.pinged, IsEmpty());
}

TEST_F(ServerCommands, BSRNeedsAReportingServerThatIsIdle) {
    hosts.Set(a, "BSR.ReportStats", false);
    open();
    world.ui.Expect("There is no designated BSR reporting server!");
    run("mnuServerBSRNow");
    EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Stop);
    hosts.Set(b, "BSR.ReportStats", true);
    hosts.Set(b, "CurrentTask", "BSR");
    world.ui.Expect("SRVB is currently running BSR. \nPlease try again later.");
    run("mnuServerBSRNow");
    EXPECT_THAT(world.services.sent, IsEmpty());
}

/// Servers that can't be read are not servers without the report.
TEST_F(ServerCommands, BSRNeedsTheServersRecords) {
    hosts.Set(b, "BSR.ReportStats", true);
    const int runs = ForEachFailure([&](const Arm& arm) {
        FailingSession failing(world);
        failing.LogOn();
        arm(failing.store.plan());
        const RDOMessagePtr host =
            Trap([&] { return FindReportingServer(failing.session); },
                 [](const Trapped& error) { EXPECT_EQ(error.description, kFailure); });
        EXPECT_EQ(host == nullptr, failing.store.plan().Failed());
        return failing.store.plan().Failed();
    });
    EXPECT_GT(runs, 5);
    open();
    world.session->agentInfo = nullptr;
    world.ui.Expect("The servers can't be read!\nThe agent mailbox can't be read.");
    run("mnuServerBSRNow");
    EXPECT_THAT(world.services.sent, IsEmpty());
}

TEST_F(ServerCommands, BSRRunsFromItsNodeToo) {
    hosts.Set(b, "BSR.ReportStats", true);
    registerKinds();
    console->GoToNode("bsrroot");
    run("mnuServerBSRNow");
    EXPECT_THAT(world.services.sent, ElementsAre(Sent{"SRVB", "zandrelAgent", 203}));
}

TEST_F(ServerCommands, EPSIsNotThereWithoutItsDialog) {
    open();
    run("mnuServerEPSNow");
    EXPECT_EQ(view.status, "This feature is not there yet.");
    EXPECT_THAT(world.services.sent, IsEmpty());
}

TEST_F(ServerCommands, EPSSendsWhatItsDialogSays) {
    int answer = 0;
    forms.frmEPSNow = [&](const EntryID& id) {
        EXPECT_EQ(id, a);
        return answer;
    };
    open();
    run("mnuServerEPSNow");
    EXPECT_THAT(world.services.sent, IsEmpty());
    EXPECT_FALSE(world.logHas("Launching"));
    shell.pinged.clear();
    answer = 200;
    run("mnuServerEPSNow");
    EXPECT_TRUE(world.logHas("Launching EPS Now on SRVA"));
    answer = 199;
    run("mnuServerEPSNow");
    EXPECT_TRUE(world.logHas("Launching EPS Special on SRVA"));
    EXPECT_THAT(world.services.sent,
                ElementsAre(Sent{"SRVA", "zandrelAgent", 200}, Sent{"SRVA", "zandrelAgent", 199}));
    EXPECT_EQ(shell.pinged.size(), 2U);
    hosts.Set(a, "CurrentTask", "SSU");
    world.ui.Expect("SSU is currently running SRVA. \nPlease try again later.");
    run("mnuServerEPSNow");
    EXPECT_EQ(world.services.sent.size(), 2U);
}

TEST_F(ServerCommands, EPSSeesToTheProfilesOfMailboxesBeforeItsCodeGoesOut) {
    RegWrite(*world.registry, Hive::LocalMachine, "Software\\zandrel\\zandrelAgent",
             "EPS.CreateMbxProfiles", int32_t{1});
    world.session->users = std::make_shared<Recordset>(
        std::vector<Field>{{"Email"}, {"EX_Server"}, {"State", FieldType::Integer}});
    const auto addUser = [this](const char* email, int32_t state) {
        world.session->users->AddNew();
        world.session->users->Set("Email", email);
        world.session->users->Set("EX_Server", "MAIL01");
        world.session->users->Set("State", state);
    };
    addUser("alice@example.test", 1);
    addUser("bob@example.test", -1); // deleted
    int answer = 0;
    forms.frmEPSNow = [&](const EntryID&) { return answer; };
    open();
    run("mnuServerEPSNow");
    EXPECT_FALSE(world.logHas("CheckMbxProfiles:"));
    answer = 200;
    run("mnuServerEPSNow");
    const std::string log = world.log();
    const size_t launched = log.find("Launching EPS Now on SRVA");
    const size_t checked = log.find("CheckMbxProfiles:calling CreateExProfile for alice@");
    EXPECT_NE(launched, std::string::npos);
    EXPECT_NE(checked, std::string::npos);
    EXPECT_LT(launched, checked);
    EXPECT_FALSE(world.logHas("CreateExProfile for bob"));
    EXPECT_THAT(world.services.sent, ElementsAre(Sent{"SRVA", "zandrelAgent", 200}));
}

TEST_F(ServerCommands, EndTaskSendsItsCode) {
    open();
    hosts.Set(a, "CurrentTask", "EPS");
    tick();
    shell.pinged.clear();
    run("mnuServerEndTask");
    EXPECT_THAT(world.services.sent, ElementsAre(Sent{"SRVA", "zandrelAgent", 210}));
    EXPECT_THAT(shell.pinged, ElementsAre("SRVA"));
}

TEST_F(ServerCommands, CommandsNeedASelectedServer) {
    registerKinds();
    showServers();
    for (const char* command :
         {"mnuServerSSUNow", "mnuServerEPSNow", "mnuServerEndTask", "mnuServerStart",
          "mnuServerStop", "mnuServerRestart", "mnuServerDelete", "mnuServerTasks"})
        run(command);
    EXPECT_THAT(world.services.sent, IsEmpty());
    EXPECT_THAT(world.services.started, IsEmpty());
    EXPECT_THAT(shown, IsEmpty());
}

TEST_F(ServerCommands, ANamelessRecordReachesNobody) {
    a = hosts.Add("");
    open();
    EXPECT_EQ(row(a).texts[0], "");
    for (const char* command :
         {"mnuServerSSUNow", "mnuServerEndTask", "mnuServerStop", "mnuServerStart"})
        run(command);
    EndAllTasks(*world.session);
    EXPECT_THAT(world.services.sent,
                ElementsAre(Sent{"SRVA", "zandrelAgent", 210}, Sent{"SRVB", "zandrelAgent", 210}));
    run("mnuActionmnuProps");
    EXPECT_THAT(shown, ElementsAre("frmHost " + a.text()));
}

TEST_F(ServerCommands, EndAllTasksReachesEveryServer) {
    EndAllTasks(*world.session);
    EXPECT_THAT(world.services.sent,
                ElementsAre(Sent{"SRVA", "zandrelAgent", 210}, Sent{"SRVB", "zandrelAgent", 210}));
}

// --- dialogs

TEST_F(ServerCommands, PropertiesAndDoubleClickOpenTheServer) {
    open();
    shell.pinged.clear();
    run("mnuActionmnuProps");
    EXPECT_THAT(shell.pinged, ElementsAre("SRVA")); // saved: the row is renewed
    hostSaved = false;
    console->ActivateRow(1);
    EXPECT_THAT(shown, ElementsAre("frmHost " + a.text(), "frmHost " + a.text()));
    EXPECT_EQ(shell.pinged.size(), 1U);
}

TEST_F(ServerCommands, PropertiesOfTheAgentAreItsDialog) {
    registerKinds();
    run("mnuActionmnuProps");
    EXPECT_EQ(view.status, "This feature is not there yet.");
    forms.frmAgentProps = [this] { shown.push_back("frmAgentProps"); };
    registerKinds();
    EXPECT_EQ(view.status, "");
    EXPECT_TRUE(view.enabled("mnuActionmnuProps"));
    run("mnuActionmnuProps");
    EXPECT_THAT(shown, ElementsAre("frmAgentProps"));
}

TEST_F(ServerCommands, TasksAreTold) {
    open();
    shell.pinged.clear();
    run("mnuServerTasks");
    world.services.states["SRVA/zandrelAgent"] = SvcState::Stopped;
    tick();
    run("mnuServerTasks");
    EXPECT_THAT(shown, ElementsAre("frmTasks " + a.text() + " SRVA on",
                                   "frmTasks " + a.text() + " SRVA off"));
    EXPECT_EQ(std::ranges::count(shell.pinged, "SRVA"), 3); // twice for the dialog's refresh
}

TEST_F(ServerCommands, DeleteAsksAndTakesTheRecord) {
    open();
    world.ui.Expect("Are you sure you want to delete SRVA?", BoxAnswer::Cancel);
    run("mnuServerDelete");
    EXPECT_EQ(names(), (Names{"SRVA", "SRVB"}));
    world.ui.Expect("Are you sure you want to delete SRVA?", BoxAnswer::OK);
    console->DeleteKey();
    EXPECT_EQ(names(), Names{"SRVB"});
    EXPECT_EQ(view.status, "1 server");
    EXPECT_EQ(GetMessage(*world.session, a), nullptr);
    EXPECT_NE(GetMessage(*world.session, b), nullptr);
}

TEST_F(ServerCommands, DeleteTakesAllThatAreSelected) {
    open();
    view.selection = {0, 1};
    console->SelectionChanged();
    world.ui.Expect("Are you sure you want to delete these 2 servers?\n  SRVA\n  SRVB");
    run("mnuServerDelete");
    EXPECT_EQ(view.status, "0 servers");
    EXPECT_EQ(GetMessage(*world.session, b), nullptr);
}

TEST_F(ServerCommands, AFailedDeleteIsToldAndKeepsTheRow) {
    open();
    hosts.Open(a)->Delete();
    world.ui.Expect("Are you sure you want to delete SRVA?");
    world.ui.Expect("");
    run("mnuServerDelete");
    EXPECT_TRUE(world.ui.boxes().back().text.starts_with("Error during delete: "));
    EXPECT_EQ(names(), (Names{"SRVA", "SRVB"}));
}

// --- the service

TEST_F(ServerCommands, StartWaitsAndShowsTheState) {
    world.services.states["SRVA/zandrelAgent"] = SvcState::Stopped;
    whileWaiting = [this] { world.services.states["SRVA/zandrelAgent"] = SvcState::Running; };
    open();
    EXPECT_EQ(row(a).icon, "imgServerOff");
    run("mnuServerStart");
    EXPECT_THAT(world.services.started, ElementsAre("SRVA"));
    EXPECT_THAT(shown, ElementsAre("frmServiceStatus \\\\SRVA 4 Waiting for service to start.."));
    EXPECT_EQ(row(a).icon, "imgServerOn");
}

TEST_F(ServerCommands, AFailedStartIsTold) {
    world.services.states["SRVA/zandrelAgent"] = SvcState::Stopped;
    world.services.startCode = 1069;
    open();
    world.ui.Expect("There was an error starting the zandrelAgent on SRVA. Please verify that the "
                    "service password is correct.");
    run("mnuServerStart");
    EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Stop);
    EXPECT_EQ(row(a).icon, "imgServerOff");
    EXPECT_THAT(shown, IsEmpty());
}

TEST_F(ServerCommands, StartOfARunningServiceOnlyWaits) {
    open();
    run("mnuServerStart");
    EXPECT_THAT(world.services.started, IsEmpty());
    EXPECT_EQ(shown.size(), 1U);
}

TEST_F(ServerCommands, AServiceThatCannotBeReachedIsTold) {
    open();
    world.services.states.clear();
    for (const char* command : {"mnuServerStart", "mnuServerStop", "mnuServerRestart"}) {
        world.ui.Expect("Unable to access service at SRVA");
        run(command);
        EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Stop);
    }
    EXPECT_THAT(shown, IsEmpty());
    EXPECT_THAT(world.services.started, IsEmpty());
    EXPECT_THAT(world.services.stopped, IsEmpty());
}

TEST_F(ServerCommands, StopEndsTheTaskFirst) {
    whileWaiting = [this] { world.services.states["SRVA/zandrelAgent"] = SvcState::Stopped; };
    open();
    shell.pinged.clear();
    const auto before = std::chrono::steady_clock::now();
    run("mnuServerStop");
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(500));
    EXPECT_THAT(world.services.sent, ElementsAre(Sent{"SRVA", "zandrelAgent", 210}));
    EXPECT_THAT(world.services.stopped, ElementsAre("SRVA"));
    EXPECT_THAT(shown, ElementsAre("frmServiceStatus \\\\SRVA 1 Waiting for service to stop.."));
    EXPECT_THAT(shell.pinged, ElementsAre("SRVA"));
    EXPECT_EQ(row(a).icon, "imgServerOff");
}

TEST_F(ServerCommands, StopOfAStoppedServiceStillSendsTheCode) {
    world.services.states["SRVA/zandrelAgent"] = SvcState::Stopped;
    open();
    run("mnuServerStop");
    EXPECT_THAT(world.services.sent, ElementsAre(Sent{"SRVA", "zandrelAgent", 210}));
    EXPECT_THAT(world.services.stopped, IsEmpty());
    EXPECT_THAT(shown, IsEmpty());
}

TEST_F(ServerCommands, RestartStopsAndStarts) {
    whileWaiting = [this] {
        auto& state = world.services.states["SRVA/zandrelAgent"];
        state = state == SvcState::Stopped ? SvcState::Running : SvcState::Stopped;
    };
    world.services.states["SRVA/zandrelAgent"] = SvcState::Running;
    open();
    run("mnuServerRestart");
    EXPECT_THAT(world.services.sent, IsEmpty()); // no code 210
    EXPECT_THAT(world.services.stopped, ElementsAre("SRVA"));
    EXPECT_THAT(world.services.started, ElementsAre("SRVA"));
    EXPECT_THAT(shown, ElementsAre("frmServiceStatus \\\\SRVA 1 Waiting for service to stop..",
                                   "frmServiceStatus \\\\SRVA 4 Waiting for service to start.."));
    EXPECT_EQ(row(a).icon, "imgServerOn");
}

TEST_F(ServerCommands, RestartDoesNotStartWhatDidNotStop) {
    whileWaiting = [this] { world.services.states["SRVA/zandrelAgent"] = SvcState::StopPending; };
    open();
    run("mnuServerRestart");
    EXPECT_THAT(world.services.started, IsEmpty());
    EXPECT_EQ(row(a).icon, "imgServerMid");
}

TEST_F(ServerCommands, TheRowMayGoWhileTheServiceIsWaitedFor) {
    whileWaiting = [this] { console->GoToNode("mclf"); };
    world.services.states["SRVA/zandrelAgent"] = SvcState::Stopped;
    open();
    run("mnuServerStart");
    EXPECT_EQ(console->list().Count(), 0U);
    EXPECT_EQ(console->CurrentTag(), "mclf");
}

// --- the small ones

TEST_F(ServerCommands, HostPathsBeginWithTwoBackslashes) {
    EXPECT_EQ(HostPath("SRV"), "\\\\SRV");
    EXPECT_EQ(HostPath("\\SRV"), "\\\\SRV");
    EXPECT_EQ(HostPath("\\\\SRV"), "\\\\SRV");
}

TEST_F(ServerCommands, KillAgentTellsWhetherThereWasOne) {
    world.services.processes = {"SRVA/zagent.exe"};
    EXPECT_TRUE(KillAgent(*world.session, "\\\\SRVA"));
    EXPECT_THAT(world.services.killed, ElementsAre("SRVA/zagent.exe"));
    EXPECT_FALSE(KillAgent(*world.session, "\\\\SRVA"));
}

/// A manager that takes its time, or never answers.
class LateServices : public FakeServices {
public:
    Events* events = nullptr;
    std::chrono::milliseconds wait{30};
    bool never = false;
    void Query(std::string_view, std::string_view,
               std::function<void(SvcState, const std::string&)> done) override {
        if (never)
            return;
        id = events->AddTimer(wait, [this, done] {
            events->Cancel(id);
            done(SvcState::Paused, "");
        });
    }
    Events::Id id = 0;
};

TEST(ServiceAnswers, AreWaitedForWhileEventsRun) {
    World world;
    LateServices late;
    late.events = world.events.get();
    Platform platform{*world.store, *world.registry, world.ui,    *world.events,
                      late,         world.directory, world.shell, world.database,
                      world.http,   world.secrets,   world.clock};
    AgentSession session(platform, world.logPath());
    EXPECT_EQ(QueryService(session, "X", "zandrelAgent"), SvcState::Paused);
    EXPECT_GE(world.ui.doEventsCalls(), 3);
    late.never = true;
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(QueryService(session, "X", "zandrelAgent"), SvcState::Failed);
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(4));
}

} // namespace
