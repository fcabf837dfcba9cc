#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <optional>

#include "core/basStore.h"
#include "platform/services/MakeServices.h"
#include "tests/agent/BusServer.h"
#include "tests/agent/PrivateBus.h"
#include "tests/agent/StandinManager.h"
#include "tests/support/World.h"

using namespace std::chrono_literals;
using kr::SvcState;
using ::testing::HasSubstr;

namespace {

std::string programPath(const char* name) {
    const auto self = std::filesystem::read_symlink("/proc/self/exe");
    return (self.parent_path() / name).string();
}

/// The real service seam, a bus with the manager's stand-in on it, and the agent as its own process
/// on the store: all that the console has of an agent server.
class AgentWorldTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_bus.running());
        m_world.LogOnConfigured();
        m_world.AddUserRecord("alice@example.test", "Alice Adams");
        char name[256] = {};
        ASSERT_EQ(gethostname(name, sizeof name - 1), 0);
        m_own = std::string(name).substr(0, std::string(name).find('.'));
        // the agent finds the store as the console does: by the machine's registry
        setenv("KR_MACHINE_REGISTRY", (m_world.folder() + "/machine").c_str(), 1);
        m_server = std::make_unique<kr::BusServer>(*m_world.events, m_bus.address(), nullptr);
    }
    void startManager(std::vector<std::string> extra = {}) {
        std::vector<std::string> agent{programPath("zandrelAgent-standin"),
                                       "--server",
                                       "MAIL01",
                                       "--alias",
                                       "agentbox",
                                       "--bus",
                                       m_bus.address(),
                                       "--step",
                                       "40"};
        agent.insert(agent.end(), extra.begin(), extra.end());
        const std::vector<std::string> watchdog{programPath("zandrelAgent-standin"), "--watchdog",
                                                "--bus", m_bus.address()};
        m_manager = std::make_unique<kr::StandinManager>(
            *m_world.events, *m_server,
            std::vector<kr::StandinUnit>{{"zandrelAgent.service", "org.zandrel.Agent", agent},
                                         {"kRWatchdog.service", "org.zandrel.Watchdog", watchdog}},
            [this](std::string_view text) { m_reports += std::string(text) + "\n"; });
        m_services = kr::MakeServices(*m_world.events, *m_world.registry, {m_bus.address()});
    }
    bool until(const std::function<bool()>& done) {
        const auto end = std::chrono::steady_clock::now() + 10s;
        while (!done() && std::chrono::steady_clock::now() < end)
            m_world.events->Run(10ms);
        return done();
    }
    SvcState state(std::string_view service = "zandrelAgent") {
        std::optional<SvcState> result;
        m_services->Query("\\\\" + m_own, service,
                          [&](SvcState now, const std::string&) { result = now; });
        EXPECT_TRUE(until([&] { return result.has_value(); }));
        return result.value_or(SvcState::Failed);
    }
    bool reaches(SvcState wanted) {
        return until([&] { return state() == wanted; });
    }
    std::string task() {
        auto& session = *m_world.session;
        const auto ids = kr::GetMessageIDs(session, *session.agentInfo, "zandrel.Host", m_own);
        auto host = ids.empty() ? nullptr : kr::GetMessage(session, ids.front());
        return host != nullptr ? kr::KeyText(*host, "CurrentTask") : "no host message";
    }
    bool reported(const std::string& text) {
        return until([&] { return m_reports.find(text) != std::string::npos; });
    }

    kr::World m_world;
    kr::PrivateBus m_bus;
    std::string m_own;
    std::string m_reports;
    std::unique_ptr<kr::BusServer> m_server;
    std::unique_ptr<kr::StandinManager> m_manager;
    std::unique_ptr<kr::Services> m_services;
};

TEST_F(AgentWorldTest, TheServiceIsStartedRunsItsTasksAndIsStopped) {
    startManager();
    EXPECT_EQ(state(), SvcState::Stopped);
    long code = -1;
    m_services->Start(m_own, "zandrelAgent", [&](long c, const std::string&) { code = c; });
    EXPECT_TRUE(reaches(SvcState::Running)) << m_reports;
    EXPECT_EQ(code, 0);
    EXPECT_EQ(task(), "");
    m_services->Control("\\\\" + m_own, "zandrelAgent", 200);
    EXPECT_TRUE(until([&] { return task() == "EPS"; })) << m_reports;
    EXPECT_TRUE(until([&] { return task().empty(); }));
    EXPECT_TRUE(reported("EPS is complete"));
    m_services->Control(m_own, "zandrelAgent", 220);
    m_services->Control(m_own, "zandrelAgent", 210);
    EXPECT_TRUE(reported("MCC was ended"));
    EXPECT_EQ(task(), "");
    m_services->Stop(m_own, "zandrelAgent", [&](long c, const std::string&) { code = c; });
    EXPECT_TRUE(reaches(SvcState::Stopped));
    EXPECT_EQ(m_manager->StateOf("zandrelAgent.service"), "inactive");
}

TEST_F(AgentWorldTest, TheWatchdogHearsItsOwnCodes) {
    startManager();
    m_manager->StartAll();
    EXPECT_TRUE(until([&] { return state("kRWatchdog") == SvcState::Running; })) << m_reports;
    m_services->Control("", "kRWatchdog", 130);
    EXPECT_TRUE(reported("kRWatchdog: code 130"));
}

TEST_F(AgentWorldTest, AnAgentThatHangsIsEndedByKillAlone) {
    startManager({"--deaf"});
    m_manager->StartAll();
    EXPECT_TRUE(reaches(SvcState::Running)) << m_reports;
    m_services->Control("", "zandrelAgent", 201);
    EXPECT_TRUE(until([&] { return task() == "BPE"; }));
    m_services->Stop("", "zandrelAgent", [](long, const std::string&) {});
    EXPECT_TRUE(reaches(SvcState::StopPending));
    std::optional<bool> ended;
    m_services->Kill("", "zandrelAgent", "zagent.exe", [&](bool e) { ended = e; });
    EXPECT_TRUE(until([&] { return ended.has_value(); }));
    EXPECT_TRUE(*ended);
    EXPECT_TRUE(reaches(SvcState::Stopped));
    // it had no time to tidy up; the next one does
    EXPECT_EQ(task(), "BPE");
    m_services->Start("", "zandrelAgent", [](long, const std::string&) {});
    EXPECT_TRUE(reaches(SvcState::Running));
    EXPECT_EQ(task(), "");
    ended.reset();
    m_services->Kill("", "kRWatchdog", "", [&](bool e) { ended = e; });
    EXPECT_TRUE(until([&] { return ended.has_value(); }));
    EXPECT_TRUE(*ended);
    EXPECT_TRUE(until([&] { return m_manager->StateOf("kRWatchdog.service") == "failed"; }));
    ended.reset();
    m_services->Kill("", "kRWatchdog", "", [&](bool e) { ended = e; });
    EXPECT_TRUE(until([&] { return ended.has_value(); }));
    EXPECT_FALSE(*ended);
}

TEST_F(AgentWorldTest, AnAgentThatCannotLogOnFails) {
    startManager({"--alias", "alice"});
    m_manager->StartAll();
    EXPECT_TRUE(until([&] { return m_manager->StateOf("zandrelAgent.service") == "failed"; }));
    EXPECT_TRUE(reported("The mailbox is not an agent's"));
    EXPECT_EQ(state(), SvcState::Stopped);
}

TEST_F(AgentWorldTest, TheProgramRunsACommandInSuchAWorld) {
    const std::string out = m_world.folder() + "/out";
    const std::string bus = "busctl --address=\\\"\\$DBUS_SYSTEM_BUS_ADDRESS\\\"";
    const std::string ask = "for i in 1 2 3 4 5 6 7 8 9; do " + bus +
                            " call org.zandrel.Agent /org/zandrel/Agent org.zandrel.Agent1 Control "
                            "u 128 && break; sleep 0.3; done; exit 7";
    const std::string command = programPath("agent-world") +
                                " --server MAIL01 --alias agentbox -- sh -c \"" + ask + "\" >" +
                                out + " 2>&1";
    const int status = std::system(command.c_str());
    std::ifstream file(out);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    EXPECT_EQ(WEXITSTATUS(status), 7) << text;
    EXPECT_THAT(text, HasSubstr("code 128: reloaded zandrelAgent"));
    EXPECT_NE(std::system((programPath("agent-world") + " -- no-such-command 2>/dev/null").c_str()),
              0);
}

} // namespace
