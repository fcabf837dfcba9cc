#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <optional>

#include "platform/services/systemd/UnitState.h"
#include "tests/platform/services/BusFixture.h"
#include "tests/platform/services/ServicesTest.h"

using namespace std::chrono_literals;
using kr::SvcState;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

namespace {

struct StateCase {
    kr::UnitProperties unit;
    int number;
};

class UnitStateTest : public ::testing::TestWithParam<StateCase> {};

TEST_P(UnitStateTest, HasTheServiceManagersNumber) {
    EXPECT_EQ(static_cast<int>(kr::StateOf(GetParam().unit)), GetParam().number);
}

INSTANTIATE_TEST_SUITE_P(
    States, UnitStateTest,
    ::testing::Values(StateCase{{"loaded", "inactive", "dead", "running"}, 1},
                      StateCase{{"loaded", "failed", "failed", "running"}, 1},
                      StateCase{{"loaded", "activating", "start", "running"}, 2},
                      StateCase{{"loaded", "activating", "auto-restart", "running"}, 2},
                      StateCase{{"loaded", "active", "auto-restart", "running"}, 2},
                      StateCase{{"loaded", "deactivating", "stop-sigterm", "running"}, 3},
                      StateCase{{"loaded", "deactivating", "dead", "running"}, 3},
                      StateCase{{"loaded", "active", "running", "running"}, 4},
                      StateCase{{"loaded", "reloading", "reload", "running"}, 4},
                      StateCase{{"loaded", "active", "running", "thawing"}, 5},
                      StateCase{{"loaded", "active", "running", "freezing"}, 6},
                      StateCase{{"loaded", "active", "running", "frozen"}, 7},
                      StateCase{{"loaded", "inactive", "dead", "frozen"}, 1},
                      StateCase{{"loaded", "active", "running", ""}, 4},
                      StateCase{{"not-found", "inactive", "dead", "running"}, -1},
                      StateCase{{"masked", "inactive", "dead", "running"}, -1},
                      StateCase{{"loaded", "maintenance", "", ""}, -1}));

class LocalServicesTest : public kr::ServicesTest {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_bus.running()) << "dbus-daemon can't be started";
        m_options.busAddress = m_bus.address();
    }

    kr::BusFixture m_bus;
};

TEST_F(LocalServicesTest, StatesComeFromTheUnit) {
    m_bus.SetUnit("zandrelAgent.service", {"loaded", "active", "running", "running"});
    const State state = query("", "zandrelAgent");
    EXPECT_EQ(state.state, SvcState::Running);
    EXPECT_EQ(state.error, "");
    EXPECT_FALSE(services().Busy());
    m_bus.SetUnit("zandrelAgent.service", {"loaded", "active", "running", "frozen"});
    EXPECT_EQ(query("", "zandrelAgent").state, SvcState::Paused);
    m_bus.SetUnit("zandrelAgent.service", {"loaded", "inactive", "dead", "running"});
    // service names ignore case, unit names don't
    EXPECT_EQ(query("", "ZANDRELagent").state, SvcState::Stopped);
}

TEST_F(LocalServicesTest, ThisComputerHasManyNames) {
    m_bus.SetUnit("a.service", {"loaded", "active", "running", "running"});
    char name[256] = {};
    ASSERT_EQ(gethostname(name, sizeof name - 1), 0);
    std::string shortName(name);
    shortName = shortName.substr(0, shortName.find('.'));
    for (const std::string& host :
         {std::string(), std::string("\\\\"), std::string("localhost"), "\\\\" + shortName,
          "\\" + shortName, shortName, std::string(name)})
        EXPECT_EQ(query(host, "a").state, SvcState::Running) << host;
}

TEST_F(LocalServicesTest, AnUnknownServiceIsNone) {
    const State state = query("", "nothing");
    EXPECT_EQ(state.state, SvcState::Failed);
    EXPECT_EQ(state.error, "no such service");
    EXPECT_EQ(start("", "nothing").code, 1060);
    EXPECT_EQ(stop("", "nothing").error, "no such service");
}

TEST_F(LocalServicesTest, StartAndStopAreJobs) {
    m_bus.SetUnit("zandrelAgent.service", {"loaded", "inactive", "dead", "running"});
    EXPECT_EQ(start("").code, 0);
    EXPECT_EQ(stop("").code, 0);
    EXPECT_THAT(m_bus.calls(),
                ElementsAre("StartUnit zandrelAgent.service", "StopUnit zandrelAgent.service"));
    m_bus.FailJobs(SD_BUS_ERROR_INTERACTIVE_AUTHORIZATION_REQUIRED);
    EXPECT_EQ(start("").code, 5);
    m_bus.FailJobs(SD_BUS_ERROR_ACCESS_DENIED);
    const Code denied = start("");
    EXPECT_EQ(denied.code, 5);
    EXPECT_EQ(denied.error, "refused");
}

TEST_F(LocalServicesTest, ControlCodesGoToTheServicesOwnNameInOrderWithTheRest) {
    m_bus.SetUnit("zandrelAgent.service", {"loaded", "active", "running", "running"});
    services().Control("", "zandrelAgent", 210);
    services().Stop("", "zandrelAgent", [](long, const std::string&) {});
    services().Control("", "kRWatchdog", 128);
    services().Control("", "unheard of", 200);
    EXPECT_TRUE(services().Busy());
    EXPECT_TRUE(until([&] { return !services().Busy(); }));
    EXPECT_THAT(m_bus.calls(),
                ElementsAre("Control 210 /org/zandrel/Agent org.zandrel.Agent1",
                            "StopUnit zandrelAgent.service",
                            "Control 128 /org/zandrel/Watchdog org.zandrel.Watchdog1"));
}

TEST_F(LocalServicesTest, AnAgentThatIsAbsentIsNoHindrance) {
    m_bus.Stop();
    m_bus.SetAgent(false);
    ASSERT_TRUE(m_bus.Start());
    m_bus.SetUnit("a.service", {"loaded", "active", "running", "running"});
    const auto begin = Clock::now();
    services().Control("", "zandrelAgent", 210);
    EXPECT_EQ(query("", "a").state, SvcState::Running);
    EXPECT_LT(Clock::now() - begin, 1000ms);
}

TEST_F(LocalServicesTest, EachRequestHasTwoSecondsAndTheQueueGoesOn) {
    m_bus.SetUnit("zandrelAgent.service", {"loaded", "active", "running", "running"});
    m_bus.Mute("StartUnit");
    std::optional<Code> result;
    const auto begin = Clock::now();
    services().Start("", "zandrelAgent", [&](long code, const std::string& error) {
        result = Code{code, error};
    });
    std::optional<SvcState> state;
    services().Query("", "zandrelAgent", [&](SvcState s, const std::string&) { state = s; });
    EXPECT_TRUE(until([&] { return result.has_value(); }));
    EXPECT_GE(Clock::now() - begin, 1990ms);
    EXPECT_LT(Clock::now() - begin, 2500ms);
    EXPECT_EQ(result->code, 1053);
    EXPECT_THAT(result->error, HasSubstr("did not answer in time"));
    EXPECT_TRUE(until([&] { return state.has_value(); }, 1000ms));
    EXPECT_EQ(*state, SvcState::Running);
}

TEST_F(LocalServicesTest, AReplyMayRunANestedLoopThatAsksAgain) {
    m_bus.SetUnit("a.service", {"loaded", "active", "running", "running"});
    m_bus.SetUnit("b.service", {"loaded", "inactive", "dead", "running"});
    SvcState inner = SvcState::Failed;
    bool outer = false;
    services().Query("", "a", [&](SvcState, const std::string&) {
        inner = query("", "b").state;
        outer = true;
    });
    EXPECT_TRUE(until([&] { return outer; }));
    EXPECT_EQ(inner, SvcState::Stopped);
}

TEST_F(LocalServicesTest, ABusThatGoesAwayFailsTheRequestAndIsFoundAgain) {
    m_bus.SetUnit("a.service", {"loaded", "active", "running", "running"});
    EXPECT_EQ(query("", "a").state, SvcState::Running);
    m_bus.Stop();
    const State gone = query("", "a");
    EXPECT_EQ(gone.state, SvcState::Failed);
    EXPECT_THAT(gone.error, HasSubstr("can't be reached"));
    EXPECT_THAT(query("", "a").error, HasSubstr("can't be reached"));
    ASSERT_TRUE(m_bus.Start());
    EXPECT_EQ(query("", "a").state, SvcState::Running);
}

TEST_F(LocalServicesTest, NoCallComesAfterTheEnd) {
    m_bus.SetUnit("a.service", {"loaded", "active", "running", "running"});
    services().Query("", "a", [](SvcState, const std::string&) { FAIL(); });
    services().Query("OTHER", "a", [](SvcState, const std::string&) { FAIL(); });
    m_services.reset();
    EXPECT_FALSE(until([] { return false; }, 100ms));
}

TEST_F(LocalServicesTest, KillEndsTheUnitsMainProcess) {
    m_bus.SetUnit("zandrelAgent.service", {"loaded", "deactivating", "stop-sigterm", "running"});
    EXPECT_TRUE(kill(""));
    m_bus.FailJobs("org.freedesktop.systemd1.NoSuchProcess");
    EXPECT_FALSE(kill(""));
    m_bus.FailJobs("");
    EXPECT_FALSE(kill("", "nothing"));
    EXPECT_THAT(m_bus.calls(), ElementsAre("KillUnit zandrelAgent.service main 9",
                                           "KillUnit zandrelAgent.service main 9",
                                           "KillUnit nothing.service main 9"));
}

TEST_F(LocalServicesTest, ABusThatCannotBeReachedFailsEveryRequestSoon) {
    m_bus.Stop();
    const auto begin = Clock::now();
    EXPECT_EQ(query("").state, SvcState::Failed);
    EXPECT_EQ(start("").code, 1722);
    EXPECT_EQ(stop("").code, 1722);
    EXPECT_FALSE(kill(""));
    control("", 210);
    EXPECT_LT(since(begin), 1000ms);
}

} // namespace
