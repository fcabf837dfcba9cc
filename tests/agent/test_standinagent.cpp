#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/PlatformError.h"
#include "core/basStore.h"
#include "tests/agent/StandinAgent.h"
#include "tests/support/World.h"

using namespace std::chrono_literals;
using ::testing::Contains;
using ::testing::HasSubstr;

namespace {

class StandinAgentTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_world.LogOnConfigured();
        m_world.AddUserRecord("alice@example.test", "Alice Adams");
        m_world.AddUserRecord("bob@example.test", "Bob Baker");
        m_agent.Start();
    }
    /// The host message as the console would read it now.
    kr::RDOMessagePtr host(std::string_view name = "AGENT09") {
        auto& session = *m_world.session;
        const auto ids = kr::GetMessageIDs(session, *session.agentInfo, "zandrel.Host", name);
        return ids.size() == 1 ? kr::GetMessage(session, ids.front()) : nullptr;
    }
    std::string text(const char* key) { return kr::KeyText(*host(), key); }
    kr::Time date(const char* key) { return kr::GetKey(*host(), key).valueOr(kr::Time{}); }
    int percent() { return kr::KeyNumber(*host(), "PercentComplete", -1); }
    void set(const char* key, const kr::Value& value) {
        auto message = host();
        kr::SetKey(*message, key, value);
        message->Save();
    }
    /// "task|step|target|percent" each time that one of them changes, until the agent is idle.
    std::vector<std::string> progress() {
        std::vector<std::string> seen;
        const auto end = std::chrono::steady_clock::now() + 5s;
        do {
            const std::string now = text("CurrentTask") + "|" + text("CurrentSubTask") + "|" +
                                    text("CurrentTarget") + "|" + std::to_string(percent());
            if (seen.empty() || seen.back() != now)
                seen.push_back(now);
            m_world.events->Run(2ms);
        } while (m_agent.Busy() && std::chrono::steady_clock::now() < end);
        return seen;
    }

    kr::World m_world;
    std::vector<std::string> m_reports;
    kr::StandinAgent m_agent{*m_world.store,
                             *m_world.events,
                             m_world.clock,
                             {"MAIL01", "agentbox", "AGENT09", 25ms, 4},
                             [this](std::string_view text) { m_reports.emplace_back(text); }};
};

TEST_F(StandinAgentTest, ItMakesItsHostMessageOnceAndCleansUpAfterAKill) {
    EXPECT_EQ(text("AgentVersion"), "4.0.112");
    EXPECT_TRUE(kr::KeyFlag(*host(), "EPS UpdateClients"));
    EXPECT_EQ(text("ClientUpdateInterval"), "24;h");
    set("CurrentTask", "EPS");
    set("PercentComplete", int32_t{50});
    kr::StandinAgent again(*m_world.store, *m_world.events, m_world.clock,
                           {"MAIL01", "agentbox", "agent09"}, [](std::string_view) {});
    again.Start();
    ASSERT_NE(host(), nullptr) << "there are two host messages";
    EXPECT_EQ(text("CurrentTask"), "");
    EXPECT_EQ(percent(), 0);
}

TEST_F(StandinAgentTest, ATaskReportsItsStepsAndThenItsDates) {
    EXPECT_TRUE(m_agent.Control(200));
    EXPECT_TRUE(m_agent.Busy());
    EXPECT_THAT(progress(), ::testing::ElementsAre("EPS|Reading contact sources|Alice Adams|0",
                                                   "EPS|Reading contact sources|Bob Baker|25",
                                                   "EPS|Updating contacts|Alice Adams|50",
                                                   "EPS|Updating contacts|Bob Baker|75"));
    EXPECT_EQ(text("CurrentTask"), "");
    EXPECT_EQ(text("CurrentSubTask"), "");
    EXPECT_EQ(text("CurrentTarget"), "");
    EXPECT_EQ(percent(), 0);
    EXPECT_EQ(date("LastClientUpdate"), m_world.clock.now());
    EXPECT_EQ(date("LastPinHarvest"), kr::Time{});
}

struct CodeCase {
    uint32_t code;
    const char *task, *last, *next, *interval;
};
class StandinCodeTest : public StandinAgentTest, public ::testing::WithParamInterface<CodeCase> {};

TEST_P(StandinCodeTest, RunsItsTaskAndMovesItsSchedule) {
    const CodeCase& one = GetParam();
    const kr::Time now = m_world.clock.now();
    if (*one.next != '\0') {
        set(one.next, now - 50h);
        set(one.interval, "1;d");
    }
    EXPECT_TRUE(m_agent.Control(one.code));
    EXPECT_EQ(text("CurrentTask"), one.task);
    progress();
    EXPECT_THAT(m_reports, Contains(std::string(one.task) + " is complete"));
    if (*one.next == '\0')
        return;
    EXPECT_EQ(date(one.last), now);
    // whole days are added, so the time of day is kept
    EXPECT_EQ(date(one.next), now - 50h + 72h);
}

INSTANTIATE_TEST_SUITE_P(
    Codes, StandinCodeTest,
    ::testing::Values(
        CodeCase{199, "EPS Special", "LastClientUpdate", "NextClientUpdate",
                 "ClientUpdateInterval"},
        CodeCase{200, "EPS", "LastClientUpdate", "NextClientUpdate", "ClientUpdateInterval"},
        CodeCase{201, "BPE", "LastPinHarvest", "NextPinHarvest", "PinHarvestInterval"},
        CodeCase{202, "SSU", "LastSSU", "NextSSU", "SSUInterval"}, CodeCase{203, "BSR", "", "", ""},
        CodeCase{220, "MCC", "MCC.LastUpdate", "MCC.NextUpdate", "MCC.Interval"}));

TEST_F(StandinAgentTest, AScheduleThatLiesAheadStays) {
    const kr::Time next = m_world.clock.now() + 90min;
    set("NextSSU", next);
    EXPECT_TRUE(m_agent.Control(202));
    progress();
    EXPECT_EQ(date("NextSSU"), next);
}

TEST_F(StandinAgentTest, Code210EndsTheTaskWithoutARun) {
    EXPECT_TRUE(m_agent.Control(210));
    EXPECT_THAT(m_reports, Contains("code 210: no task runs"));
    EXPECT_TRUE(m_agent.Control(201));
    EXPECT_EQ(text("CurrentTask"), "BPE");
    EXPECT_TRUE(m_agent.Control(210));
    EXPECT_FALSE(m_agent.Busy());
    EXPECT_EQ(text("CurrentTask"), "");
    EXPECT_EQ(date("LastPinHarvest"), kr::Time{});
    // nothing is left of it that would go on
    m_world.events->Run(60ms);
    EXPECT_EQ(text("CurrentTask"), "");
}

TEST_F(StandinAgentTest, OneTaskRunsAtATime) {
    EXPECT_TRUE(m_agent.Control(201));
    EXPECT_TRUE(m_agent.Control(202));
    EXPECT_EQ(text("CurrentTask"), "BPE");
    EXPECT_THAT(m_reports, Contains("code 202: BPE is running already"));
}

TEST_F(StandinAgentTest, CodesThatReloadDoSoAndUnknownOnesAreRefused) {
    set("PollingInterval", int32_t{120});
    for (const uint32_t code : {128U, 130U, 131U})
        EXPECT_TRUE(m_agent.Control(code));
    EXPECT_THAT(m_reports, Contains("code 128: reloaded zandrelAgent, polling every 60 s"));
    EXPECT_THAT(m_reports, Contains("code 130: reloaded AGENT09, polling every 120 s"));
    EXPECT_THAT(m_reports, Contains("code 131: reloaded the language data"));
    for (const uint32_t code : {0U, 1U, 129U, 198U, 204U, 255U})
        EXPECT_FALSE(m_agent.Control(code)) << code;
    EXPECT_FALSE(m_agent.Busy());
}

TEST_F(StandinAgentTest, AHostMessageThatGoesAwayEndsNobody) {
    EXPECT_TRUE(m_agent.Control(200));
    host()->Delete();
    const auto end = std::chrono::steady_clock::now() + 5s;
    while (m_agent.Busy() && std::chrono::steady_clock::now() < end)
        m_world.events->Run(5ms);
    EXPECT_FALSE(m_agent.Busy());
    EXPECT_THAT(m_reports, Contains(HasSubstr("the host message can't be written")));
}

TEST(StandinAgentLogonTest, AMailboxThatIsNoAgentsIsRefused) {
    kr::World world;
    kr::StandinAgent agent(*world.store, *world.events, world.clock, {"MAIL01", "alice", "AGENT09"},
                           [](std::string_view) {});
    EXPECT_THROW(agent.Start(), kr::PlatformError);
    kr::StandinAgent stranger(*world.store, *world.events, world.clock,
                              {"NOWHERE", "agentbox", "AGENT09"}, [](std::string_view) {});
    EXPECT_THROW(stranger.Start(), kr::PlatformError);
}

} // namespace
