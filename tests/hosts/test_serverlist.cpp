#include <gmock/gmock.h>

#include <thread>

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

TEST_F(ServerListTest, AllAreAskedAtOnceAndShownAsTheyAnswer) {
    shell.hold = true;
    showServers();
    EXPECT_THAT(shell.pinged, ElementsAre("SRVA", "SRVB"));
    release("SRVB");
    EXPECT_EQ(row(b).icon, "imgServerOn"); // whoever is still silent holds up nobody
    EXPECT_EQ(row(a).icon, "imgServerUnknown");
    EXPECT_EQ(row(a).tag, "server");
    shell.silent = {"SRVA"};
    release();
    EXPECT_EQ(row(a).tag, "serverNoPing");
}

TEST_F(ServerListTest, ThePassEndsWhenTheListIsLeft) {
    shell.hold = true;
    showServers();
    console->GoToNode("mclf");
    shell.silent = {"SRVB"};
    release();
    EXPECT_EQ(console->list().Count(), 0U);
    EXPECT_FALSE(world.logHas("PingHost:"));
}

TEST_F(ServerListTest, ThePassEndsWhenTheListIsBuiltAnew) {
    shell.hold = true;
    showServers();
    console->RefreshView();
    shell.silent = {"SRVA"};
    release();
    EXPECT_EQ(row(a).tag, "server"); // what the old pass hears is nothing to the new list
    EXPECT_EQ(row(b).icon, "imgServerUnknown");
    shell.silent.clear();
    runEvents();
    EXPECT_THAT(shell.pinged, ElementsAre("SRVA", "SRVB", "SRVA", "SRVB"));
    release();
    EXPECT_EQ(row(a).icon, "imgServerOn");
    EXPECT_EQ(row(b).icon, "imgServerOn");
}

TEST_F(ServerListTest, ARowThatIsDeletedDuringThePassIsSkipped) {
    showServers();
    shell.pinged.clear();
    shell.hold = true;
    tick();
    console->list().Remove(console->list().Find(b.text()));
    hosts.Set(a, "CurrentTask", "EPS");
    release();
    EXPECT_EQ(row(a).texts[kServerTask], "EPS");
    EXPECT_EQ(console->list().Count(), 1U);
    tick(); // the pass has come to its end
    EXPECT_THAT(shell.pinged, ElementsAre("SRVA", "SRVB", "SRVA"));
}

TEST_F(ServerListTest, ThePassDoesNotEnterItself) {
    showServers();
    shell.pinged.clear();
    shell.hold = true;
    tick();
    tick();
    EXPECT_EQ(shell.pinged.size(), 2U);
    release("SRVA");
    tick(); // one is still awaited
    EXPECT_EQ(shell.pinged.size(), 2U);
    release();
    tick(); // and the next one comes
    EXPECT_EQ(shell.pinged.size(), 4U);
}

TEST_F(ServerListTest, ThePassTakesOverFromOneThatHasLostAnAnswer) {
    showServers();
    shell.pinged.clear();
    shell.hold = true;
    tick();
    world.clock.Advance(std::chrono::seconds(5)); // a ping and a query may take so long
    tick();
    EXPECT_EQ(shell.pinged.size(), 2U);
    world.clock.Advance(std::chrono::seconds(2));
    tick();
    EXPECT_EQ(shell.pinged.size(), 4U);
    release(); // those of the old one, too, which change nothing
    EXPECT_EQ(row(a).icon, "imgServerOn");
    tick();
    EXPECT_EQ(shell.pinged.size(), 6U);
}

TEST_F(ServerListTest, ASetBackClockDoesNotStopTheRefresh) {
    showServers();
    shell.pinged.clear();
    shell.hold = true;
    tick();
    world.clock.Advance(std::chrono::hours(-1));
    tick();
    EXPECT_EQ(shell.pinged.size(), 4U);
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

// --- many servers

/// Service managers that answer when they are told to.
class SlowServices : public FakeServices {
public:
    static constexpr auto kAnswer = std::chrono::microseconds(300);
    std::vector<std::function<void()>> asked;
    bool atOnce = false;
    size_t queries = 0;
    void Query(std::string_view, std::string_view,
               std::function<void(SvcState, const std::string&)> done) override {
        ++queries;
        if (atOnce) {
            std::this_thread::sleep_for(kAnswer); // a hundred are too many for one turn
            done(SvcState::Running, {});
            return;
        }
        asked.push_back([done = std::move(done)] { done(SvcState::Running, {}); });
    }
};

class ManyServers : public ::testing::Test {
protected:
    ManyServers() {
        world.session = std::make_unique<AgentSession>(platform, world.logPath());
        world.LogOnConfigured();
        for (int i = 0; i < 200; ++i) {
            const std::string name = "SRV" + std::to_string(i) + (i % 2 ? "odd" : "");
            hosts.Add(name);
            if (i % 2)
                shell.silent.insert(name);
        }
        console = std::make_unique<Console>(*world.session, view);
        view.console = console.get();
        RegisterHostKinds(*console, {});
        console->LoadTreeRoot();
        shell.hold = true;
        console->GoToNode("serverroot");
        RunTurns(*world.events);
    }
    size_t tagged(std::string_view tag) {
        size_t found = 0;
        for (size_t i = 0; i < console->list().Count(); ++i)
            found += console->list().At(i).tag == tag;
        return found;
    }
    size_t imaged(std::string_view icon) {
        size_t found = 0;
        for (size_t i = 0; i < console->list().Count(); ++i)
            found += console->list().At(i).icon == icon;
        return found;
    }

    World world;
    PingShell shell;
    SlowServices services;
    Platform platform{*world.store, *world.registry, world.ui,   *world.events,
                      services,     world.directory, shell,      world.database,
                      world.http,   world.secrets,   world.clock};
    Hosts hosts{world};
    FakeView view;
    std::unique_ptr<Console> console;
};

TEST_F(ManyServers, AreAllPingedBeforeOneHasAnswered) {
    EXPECT_EQ(shell.pinged.size(), 200U);
    shell.Release();
    RunTurns(*world.events);
    EXPECT_EQ(tagged(kServerNoPing), 100U);
}

TEST_F(ManyServers, HaveTheirServicesAskedAFewAtOnce) {
    shell.Release();
    RunTurns(*world.events);
    EXPECT_EQ(services.asked.size(), 32U);
    for (size_t i = 0; i < services.asked.size(); ++i) {
        EXPECT_LE(services.asked.size(), i + 32U);
        std::exchange(services.asked[i], {})();
        RunTurns(*world.events);
    }
    EXPECT_EQ(services.asked.size(), 100U);
    EXPECT_EQ(imaged(kServerOn), 100U);
    shell.pinged.clear();
    console->TaskTick();
    RunTurns(*world.events);
    EXPECT_EQ(shell.pinged.size(), 100U); // the silent ones no more
}

TEST_F(ManyServers, AnswersThatComeAtOnceAreWorkedOffInTurns) {
    shell.Release();
    RunTurns(*world.events);
    for (size_t i = 0; i < services.asked.size(); ++i)
        if (auto answer = std::exchange(services.asked[i], {})) {
            answer();
            RunTurns(*world.events);
        }
    ASSERT_EQ(imaged(kServerOn), 100U);
    services.asked.clear();
    services.atOnce = true;
    console->TaskTick();
    world.events->Run(std::chrono::milliseconds(0)); // the pass begins
    shell.Release();
    int turns = 0;
    auto longest = std::chrono::steady_clock::duration::zero();
    for (const auto before = services.queries; services.queries - before < 100; ++turns) {
        ASSERT_LT(turns, 1000);
        const auto start = std::chrono::steady_clock::now();
        world.events->Run(std::chrono::milliseconds(0));
        longest = std::max(longest, std::chrono::steady_clock::now() - start);
    }
    std::printf("%d turns, longest %.1f ms\n", turns,
                std::chrono::duration<double, std::milli>(longest).count());
    EXPECT_GT(turns, 2);
}

TEST_F(ManyServers, AServiceThatNeverAnswersEndsNoPassForEver) {
    shell.Release();
    RunTurns(*world.events);
    shell.pinged.clear();
    console->TaskTick();
    RunTurns(*world.events);
    EXPECT_EQ(shell.pinged.size(), 0U);
    world.clock.Advance(std::chrono::seconds(6));
    services.asked.clear();
    console->TaskTick();
    RunTurns(*world.events);
    // their images are still unknown: they are asked for their services without a ping
    EXPECT_EQ(shell.pinged.size(), 0U);
    EXPECT_EQ(services.asked.size(), 32U);
}

} // namespace
