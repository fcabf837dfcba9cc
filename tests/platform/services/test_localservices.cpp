#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <optional>

#include "platform/events/epoll/EpollEvents.h"
#include "platform/services/local/LocalServices.h"
#include "tests/platform/services/BusFixture.h"

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

class LocalServicesTest : public ::testing::Test {
protected:
    using Clock = std::chrono::steady_clock;
    struct State {
        SvcState state;
        std::string error;
    };
    struct Code {
        long code;
        std::string error;
    };

    void SetUp() override { ASSERT_TRUE(m_bus.running()) << "dbus-daemon can't be started"; }

    bool until(const std::function<bool()>& done, std::chrono::milliseconds most = 5000ms) {
        const auto end = Clock::now() + most;
        while (!done() && Clock::now() < end)
            m_events->Run(20ms);
        return done();
    }
    State query(std::string_view host, std::string_view service) {
        std::optional<State> result;
        m_services->Query(host, service, [&](SvcState state, const std::string& error) {
            result = State{state, error};
        });
        EXPECT_FALSE(result) << "the answer came before events ran";
        EXPECT_TRUE(m_services->Busy());
        EXPECT_TRUE(until([&] { return result.has_value(); }));
        return result.value_or(State{SvcState::Failed, "no answer"});
    }
    Code start(std::string_view service, bool stop = false) {
        std::optional<Code> result;
        const auto done = [&](long code, const std::string& error) { result = Code{code, error}; };
        if (stop)
            m_services->Stop("", service, done);
        else
            m_services->Start("", service, done);
        EXPECT_TRUE(until([&] { return result.has_value(); }));
        return result.value_or(Code{-99, "no answer"});
    }

    kr::BusFixture m_bus;
    std::unique_ptr<kr::EpollEvents> m_events = kr::MakeEpollEvents();
    std::unique_ptr<kr::Services> m_services = kr::MakeLocalServices(*m_events, m_bus.address());
};

TEST_F(LocalServicesTest, StatesComeFromTheUnit) {
    m_bus.SetUnit("zandrelAgent.service", {"loaded", "active", "running", "running"});
    const State state = query("", "zandrelAgent");
    EXPECT_EQ(state.state, SvcState::Running);
    EXPECT_EQ(state.error, "");
    EXPECT_FALSE(m_services->Busy());
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
    EXPECT_EQ(start("nothing").code, 1060);
    EXPECT_EQ(start("nothing", true).error, "no such service");
}

TEST_F(LocalServicesTest, OtherComputersCannotBeReached) {
    const State state = query("\\\\MAIL01", "zandrelAgent");
    EXPECT_EQ(state.state, SvcState::Failed);
    EXPECT_EQ(state.error, "The services of MAIL01 can't be reached from here yet");
    long code = 0;
    m_services->Start("MAIL01", "zandrelAgent", [&](long c, const std::string&) { code = c; });
    m_services->Control("MAIL01", "zandrelAgent", 128);
    EXPECT_TRUE(until([&] { return !m_services->Busy(); }));
    EXPECT_EQ(code, 1722);
    EXPECT_THAT(m_bus.calls(), ElementsAre());
}

TEST_F(LocalServicesTest, StartAndStopAreJobs) {
    m_bus.SetUnit("zandrelAgent.service", {"loaded", "inactive", "dead", "running"});
    EXPECT_EQ(start("zandrelAgent").code, 0);
    EXPECT_EQ(start("zandrelAgent", true).code, 0);
    EXPECT_THAT(m_bus.calls(),
                ElementsAre("StartUnit zandrelAgent.service", "StopUnit zandrelAgent.service"));
    m_bus.FailJobs(SD_BUS_ERROR_INTERACTIVE_AUTHORIZATION_REQUIRED);
    EXPECT_EQ(start("zandrelAgent").code, 5);
    m_bus.FailJobs(SD_BUS_ERROR_ACCESS_DENIED);
    const Code denied = start("zandrelAgent");
    EXPECT_EQ(denied.code, 5);
    EXPECT_EQ(denied.error, "refused");
}

TEST_F(LocalServicesTest, ControlCodesGoToTheServicesOwnNameInOrderWithTheRest) {
    m_bus.SetUnit("zandrelAgent.service", {"loaded", "active", "running", "running"});
    m_services->Control("", "zandrelAgent", 210);
    m_services->Stop("", "zandrelAgent", [](long, const std::string&) {});
    m_services->Control("", "kRWatchdog", 128);
    m_services->Control("", "unheard of", 200);
    EXPECT_TRUE(m_services->Busy());
    EXPECT_TRUE(until([&] { return !m_services->Busy(); }));
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
    m_services->Control("", "zandrelAgent", 210);
    EXPECT_EQ(query("", "a").state, SvcState::Running);
    EXPECT_LT(Clock::now() - begin, 1000ms);
}

TEST_F(LocalServicesTest, EachRequestHasTwoSecondsAndTheQueueGoesOn) {
    m_bus.SetUnit("zandrelAgent.service", {"loaded", "active", "running", "running"});
    m_bus.Mute("StartUnit");
    std::optional<Code> result;
    const auto begin = Clock::now();
    m_services->Start("", "zandrelAgent", [&](long code, const std::string& error) {
        result = Code{code, error};
    });
    std::optional<SvcState> state;
    m_services->Query("", "zandrelAgent", [&](SvcState s, const std::string&) { state = s; });
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
    m_services->Query("", "a", [&](SvcState, const std::string&) {
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
    m_services->Query("", "a", [](SvcState, const std::string&) { FAIL(); });
    m_services->Query("OTHER", "a", [](SvcState, const std::string&) { FAIL(); });
    m_services.reset();
    EXPECT_FALSE(until([] { return false; }, 100ms));
}

TEST(NoServicesTest, EveryRequestFailsAtOnce) {
    const auto services = kr::MakeNoServices();
    SvcState state = SvcState::Running;
    long code = 0;
    services->Query("", "zandrelAgent", [&](SvcState s, const std::string&) { state = s; });
    services->Start("", "zandrelAgent", [&](long c, const std::string&) { code = c; });
    services->Control("", "zandrelAgent", 128);
    EXPECT_EQ(state, SvcState::Failed);
    EXPECT_NE(code, 0);
    EXPECT_FALSE(services->Busy());
}

} // namespace
