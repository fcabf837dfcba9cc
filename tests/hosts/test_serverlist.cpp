#include <gmock/gmock.h>

#include <chrono>

#include "core/basDate.h"
#include "hosts/ServerList.h"
#include "tests/hosts/HostTest.h"

namespace {

using namespace kr;
using ::testing::ElementsAre;

class ServerListTest : public HostConsoleTest {
protected:
    ServerListTest() {
        b = hosts.Add("SRVB");
        a = hosts.Add("SRVA");
        registerKinds();
    }
    EntryID a, b;
};

TEST_F(ServerListTest, HasItsColumns) {
    showServers();
    const auto& columns = console->list().Columns();
    Names texts;
    for (const ListColumn& column : columns)
        texts.push_back(column.title + "/" + column.key + (column.centred ? "/c" : ""));
    EXPECT_THAT(texts, ElementsAre("Name/", "Version/version", "Polling/intpolling", "RTD/rtd/c",
                                   "BPE/bpe/c", "EPS/eps/c", "SSU/ssu/c", "MCC/mcc/c",
                                   "Active Task/task", "/subtask"));
    EXPECT_EQ(columns[2].kind(), SortKind::Number); // which stands on the right
    EXPECT_TRUE(columns[9].visible());
}

TEST_F(ServerListTest, CountsAndSorts) {
    showServers();
    EXPECT_EQ(view.status, "2 servers");
    EXPECT_EQ(names(), (Names{"SRVA", "SRVB"}));
    EXPECT_TRUE(world.logHas("loading servers"));
    EXPECT_TRUE(view.timer);
    hosts.Open(a)->Delete();
    console->RefreshView();
    EXPECT_EQ(view.status, "1 server");
}

TEST_F(ServerListTest, RowsHaveTheSettings) {
    hosts.Set(a, "AgentVersion", "3.5.6");
    hosts.Set(a, "PollingInterval", int32_t{90});
    for (const char* key : {"BPE HarvestPins", "EPS UpdateClients", "SSU", "MCC.Enabled"})
        hosts.Set(a, key, true);
    hosts.Set(b, "NoRenderer", true);
    hosts.Set(b, "SSU", false);
    auto agent = GetMessage(*world.session, world.session->AgentMsgID);
    SetKey(*agent, "PollingInterval", int32_t{45});
    agent->Save();
    showServers();
    EXPECT_THAT(row(a).texts, ElementsAre("SRVA", "3.5.6", "90", "Y", "Y", "Y", "Y", "Y", "", ""));
    EXPECT_THAT(row(b).texts, ElementsAre("SRVB", "", "45", "", "", "", "", "", "", ""));
    EXPECT_EQ(row(a).key, a.text());
    EXPECT_EQ(row(a).tag, "server");
}

TEST_F(ServerListTest, PollingIsOffWithoutMessages) {
    hosts.Set(a, "PollingInterval", int32_t{90});
    hosts.Set(a, "NoMsgProcessing", true);
    showServers();
    EXPECT_EQ(row(a).texts[kServerPolling], "Off");
    EXPECT_EQ(row(b).texts[kServerPolling], ""); // nor has the agent one
}

TEST_F(ServerListTest, StandsWithUnknownImagesBeforeTheWalk) {
    console->GoToNode("serverroot");
    EXPECT_TRUE(shell.pinged.empty());
    EXPECT_EQ(row(a).icon, "imgServerUnknown");
    runEvents();
    EXPECT_THAT(shell.pinged, ElementsAre("SRVA", "SRVB")); // as they are sorted
    EXPECT_EQ(row(a).icon, "imgServerOn");
}

TEST_F(ServerListTest, ImagesFollowTheService) {
    const std::vector<std::pair<SvcState, std::string>> images = {
        {SvcState::Stopped, "imgServerOff"},         {SvcState::StartPending, "imgServerMid"},
        {SvcState::StopPending, "imgServerMid"},     {SvcState::Running, "imgServerOn"},
        {SvcState::ContinuePending, "imgServerMid"}, {SvcState::PausePending, "imgServerMid"},
        {SvcState::Paused, "imgServerOff"},          {SvcState::Failed, "imgServerMid"}};
    showServers();
    for (const auto& [state, image] : images) {
        world.services.states["SRVA/zandrelAgent"] = state;
        tick();
        EXPECT_EQ(row(a).icon, image) << static_cast<int>(state);
    }
}

TEST_F(ServerListTest, ASilentServerIsNotPingedAgain) {
    shell.silent = {"SRVA"};
    showServers();
    EXPECT_EQ(row(a).tag, "serverNoPing");
    EXPECT_EQ(row(a).icon, "imgServerUnknown");
    EXPECT_TRUE(world.logHas("PingHost:timeout waiting for response from SRVA"));
    shell.pinged.clear();
    shell.silent.clear();
    tick();
    EXPECT_THAT(shell.pinged, ElementsAre("SRVB"));
    EXPECT_EQ(row(a).tag, "serverNoPing"); // stays until the list is rebuilt
    console->RefreshView();
    runEvents();
    EXPECT_EQ(row(a).tag, "server");
    EXPECT_EQ(row(a).icon, "imgServerOn");
}

TEST_F(ServerListTest, AServerThatFallsSilentLosesItsTask) {
    hosts.Set(a, "CurrentTask", "EPS");
    showServers();
    tick();
    EXPECT_EQ(row(a).texts[kServerTask], "EPS");
    shell.silent = {"SRVA"};
    tick();
    EXPECT_EQ(row(a).tag, "serverNoPing");
    EXPECT_EQ(row(a).icon, "imgServerUnknown");
    EXPECT_EQ(row(a).texts[kServerTask], "");
}

TEST_F(ServerListTest, PingFailuresAreLoggedByTheirKind) {
    const std::vector<std::pair<PingReport, std::string>> ends = {
        {{PingOutcome::NoSuchName, 0}, "PingHost:unable to resolve host from name using X"},
        {{PingOutcome::NoSocket, 0}, "PingHost:unable to create file handle for X"},
        {{PingOutcome::TimedOut, 0}, "PingHost:timeout waiting for response from X"},
        {{PingOutcome::Failed, 113}, "PingHost:failure for X; Status = 113"}};
    for (const auto& [report, text] : ends) {
        class Shell : public FakeShell {
        public:
            PingReport report;
            bool Ping(std::string_view) override { return false; }
            PingReport LastPing() const override { return report; }
        } other;
        other.report = report;
        Platform p{*world.store,   *world.registry, world.ui,   *world.events,
                   world.services, world.directory, other,      world.database,
                   world.http,     world.secrets,   world.clock};
        AgentSession session(p, world.logPath());
        EXPECT_FALSE(PingHost(session, "X"));
        EXPECT_TRUE(world.logHas(text)) << text;
    }
    EXPECT_TRUE(PingHost(*world.session, "Y"));
    EXPECT_FALSE(world.logHas("PingHost:timeout waiting for response from Y"));
}

TEST_F(ServerListTest, TheRefreshShowsTasks) {
    showServers();
    EXPECT_EQ(row(a).texts[kServerTask], "");
    hosts.Set(a, "CurrentTask", "  EPS ");
    hosts.Set(a, "CurrentSubTask", "Updating");
    hosts.Set(a, "CurrentTarget", "alice");
    hosts.Set(a, "AgentVersion", "4.0.0");
    const int fits = view.fits;
    tick();
    EXPECT_EQ(row(a).texts[kServerTask], "EPS");
    EXPECT_EQ(row(a).texts[kServerSubTask], "Updating alice");
    EXPECT_EQ(row(a).texts[kServerVersion], "4.0.0");
    EXPECT_GT(view.fits, fits); // the columns had no room for it
    const int fitted = view.fits;
    tick();
    EXPECT_EQ(view.fits, fitted);
    hosts.Set(a, "CurrentTask", "");
    hosts.Set(a, "CurrentSubTask", "");
    hosts.Set(a, "CurrentTarget", "");
    tick();
    EXPECT_EQ(row(a).texts[kServerTask], "");
    EXPECT_EQ(row(a).texts[kServerSubTask], "");
}

TEST_F(ServerListTest, AStoppedServerShowsNoTask) {
    hosts.Set(a, "CurrentTask", "EPS");
    showServers();
    tick();
    EXPECT_EQ(row(a).texts[kServerTask], "EPS");
    world.services.states["SRVA/zandrelAgent"] = SvcState::Stopped;
    tick();
    EXPECT_EQ(row(a).texts[kServerTask], "");
}

TEST_F(ServerListTest, AMessageThatHasGoneLooksIdle) {
    hosts.Set(a, "CurrentTask", "EPS");
    showServers();
    tick();
    hosts.Open(a)->Delete();
    tick();
    EXPECT_EQ(row(a).texts[kServerTask], "");
    EXPECT_EQ(row(a).icon, "imgServerOn");
}

TEST_F(ServerListTest, AForeignRowEndsThePass) {
    showServers();
    ListRow other;
    other.key = "other";
    other.tag = "mcl";
    other.texts = {"A first"};
    console->list().Add(other);
    console->list().Sort(0, SortOrder::Ascending);
    shell.pinged.clear();
    tick();
    EXPECT_TRUE(shell.pinged.empty());
}

TEST_F(ServerListTest, NothingIsRefreshedElsewhere) {
    showServers();
    console->GoToNode("mclf");
    shell.pinged.clear();
    EXPECT_FALSE(view.timer);
    tick();
    EXPECT_TRUE(shell.pinged.empty());
}

TEST_F(ServerListTest, TheWalkEndsWhenTheListIsLeft) {
    console->GoToNode("serverroot");
    shell.onPing = [this](std::string_view) { console->GoToNode("mclf"); };
    runEvents();
    EXPECT_EQ(shell.pinged.size(), 1U);
    EXPECT_EQ(console->list().Count(), 0U);
}

TEST_F(ServerListTest, TheWalkEndsWhenTheListIsBuiltAnew) {
    console->GoToNode("serverroot");
    bool once = false;
    shell.onPing = [&](std::string_view) {
        if (!std::exchange(once, true))
            console->RefreshView();
    };
    runEvents(); // the first row of the old list, then all of the new one
    runEvents();
    EXPECT_THAT(shell.pinged, ElementsAre("SRVA", "SRVA", "SRVB"));
    EXPECT_EQ(row(b).icon, "imgServerOn");
}

TEST_F(ServerListTest, ARowThatIsDeletedDuringThePassIsSkipped) {
    showServers();
    shell.pinged.clear();
    shell.onPing = [this](std::string_view host) {
        if (host == "SRVA")
            console->list().Remove(console->list().Find(b.text()));
    };
    tick();
    EXPECT_THAT(shell.pinged, ElementsAre("SRVA"));
}

TEST_F(ServerListTest, ThePassDoesNotEnterItself) {
    showServers();
    int depth = 0;
    int deepest = 0;
    shell.pinged.clear();
    shell.onPing = [&](std::string_view) {
        deepest = std::max(deepest, ++depth);
        tick(); // the timer and the events of the waiting loop
        --depth;
    };
    tick();
    EXPECT_EQ(deepest, 1);
    EXPECT_EQ(shell.pinged.size(), 2U);
    shell.onPing = nullptr;
    tick(); // and the next one comes
    EXPECT_EQ(shell.pinged.size(), 4U);
}

TEST_F(ServerListTest, ThePassTakesOverFromOneBelowADialog) {
    showServers();
    shell.pinged.clear();
    shell.onPing = [&](std::string_view) {
        if (shell.pinged.size() > 1)
            return;
        world.clock.Advance(std::chrono::seconds(5)); // a ping and a query may take so long
        tick();
        EXPECT_EQ(shell.pinged.size(), 1U);
        world.clock.Advance(std::chrono::seconds(2));
        tick();
        EXPECT_EQ(shell.pinged.size(), 3U);
    };
    tick();
    // the one below has ended with its row
    EXPECT_THAT(shell.pinged, ElementsAre("SRVA", "SRVA", "SRVB"));
    tick();
    EXPECT_EQ(shell.pinged.size(), 5U);
}

TEST_F(ServerListTest, ASetBackClockDoesNotStopTheRefresh) {
    showServers();
    shell.pinged.clear();
    shell.onPing = [&](std::string_view) {
        if (shell.pinged.size() > 1)
            return;
        world.clock.Advance(std::chrono::hours(-1));
        tick();
    };
    tick();
    EXPECT_EQ(shell.pinged.size(), 3U);
}

TEST_F(ServerListTest, ARowErrorIsLoggedAndTheListGoesOn) {
    class Lost : public FakeServices {
    } unused;
    const RDOMessagePtr message = hosts.Open(a);
    console->RegisterCommand("x", [](Console&) {});
    // the folder names a message that can't be opened any more
    world.ui.onDoEvents = [&, done = false]() mutable {
        if (std::exchange(done, true))
            return;
        hosts.Open(a)->Delete();
    };
    console->GoToNode("serverroot");
    EXPECT_EQ(names(), Names{"SRVB"});
    EXPECT_EQ(view.status, "1 server");
    EXPECT_TRUE(world.logHas("error for : "));
}

TEST_F(ServerListTest, AnUnreachableMailboxSaysSo) {
    world.session->agentInfo.reset();
    console->NodeClick(*console->tree().Find("serverroot"));
    EXPECT_EQ(view.status, "The agent mailbox can't be read.");
    EXPECT_EQ(console->list().Count(), 0U);
}

TEST_F(ServerListTest, NothingHappensAfterTheConsoleHasGone) {
    console->GoToNode("serverroot");
    console.reset();
    runEvents();
    EXPECT_TRUE(shell.pinged.empty());
}

// --- the window while many servers are silent

/// Pings that take their time, running events as the real ones do.
class SlowShell : public PingShell {
public:
    Events* events = nullptr;
    Ui* ui = nullptr;
    std::chrono::milliseconds wait{20};
    bool Ping(std::string_view host) override {
        const bool answers = !host.ends_with("odd");
        const auto end = std::chrono::steady_clock::now() + (answers ? wait / 10 : wait);
        while (std::chrono::steady_clock::now() < end) {
            events->Run(std::chrono::milliseconds(5));
            ui->DoEvents();
        }
        return answers;
    }
};

TEST(ServerListLoad, TwoHundredServersHalfOfThemSilentLeaveTheWindowAnswering) {
    using Clock = std::chrono::steady_clock;
    World world;
    SlowShell shell;
    shell.events = world.events.get();
    shell.ui = &world.ui;
    Platform platform{*world.store,   *world.registry, world.ui,   *world.events,
                      world.services, world.directory, shell,      world.database,
                      world.http,     world.secrets,   world.clock};
    world.session = std::make_unique<AgentSession>(platform, world.logPath());
    world.LogOnConfigured();
    world.services.states["zandrelAgent"] = SvcState::Running;
    Hosts hosts(world);
    for (int i = 0; i < 200; ++i)
        hosts.Add("SRV" + std::to_string(i) + (i % 2 ? "odd" : ""));
    FakeView view;
    Console console(*world.session, view);
    view.console = &console;
    RegisterHostKinds(console, {});
    console.LoadTreeRoot();
    // from one turn of the window to the next
    Clock::duration longest{};
    Clock::time_point last = Clock::now();
    world.ui.onDoEvents = [&] {
        longest = std::max(longest, Clock::now() - last);
        last = Clock::now();
    };
    console.GoToNode("serverroot");
    last = Clock::now();
    for (int i = 0; i < 3; ++i) {
        world.events->Run(std::chrono::milliseconds(0));
        console.TaskTick();
    }
    int silent = 0;
    for (size_t i = 0; i < console.list().Count(); ++i)
        silent += console.list().At(i).tag == kServerNoPing;
    EXPECT_EQ(silent, 100);
    const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(longest).count();
    RecordProperty("longest_ms", static_cast<int>(ms));
    EXPECT_LT(ms, 50);
}

} // namespace
