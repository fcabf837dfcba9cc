#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "platform/services/scm/ScmLink.h"
#include "platform/services/scm/WorkerLine.h"
#include "tests/platform/services/BusFixture.h"
#include "tests/platform/services/Listeners.h"
#include "tests/platform/services/ScmStandin.h"
#include "tests/platform/services/ServicesTest.h"
#include "tests/platform/services/SmbFixture.h"
#include "tests/platform/services/SshFixture.h"

using namespace std::chrono_literals;
using kr::Listener;
using kr::SvcState;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

namespace {

using Kind = kr::ServiceRequest::Kind;

/// The tests lie in build/<preset>/tests/platform/services, the worker in build/<preset>/app.
std::string workerPath() {
    const auto self = std::filesystem::read_symlink("/proc/self/exe");
    return (self.parent_path() / "../../../app/kr-scm-worker").lexically_normal().string();
}

TEST(WorkerLineTest, RequestsAreOneLineEach) {
    EXPECT_EQ(kr::WorkerRequest({Kind::Query, "zandrelAgent"}), "query zandrelAgent\n");
    EXPECT_EQ(kr::WorkerRequest({Kind::Start, "zandrelAgent"}), "start zandrelAgent\n");
    EXPECT_EQ(kr::WorkerRequest({Kind::Stop, "zandrelAgent"}), "stop zandrelAgent\n");
    EXPECT_EQ(kr::WorkerRequest({Kind::Control, "kRWatchdog", {}, 130}),
              "control kRWatchdog 130\n");
    for (const char* name : {"", "a b", "a\nstop b", "a\t", "a\x7F"})
        EXPECT_EQ(kr::WorkerRequest({Kind::Query, name}), "") << name;
    EXPECT_EQ(kr::WorkerRequest({Kind::Query, std::string(257, 'a')}), "");
}

TEST(WorkerLineTest, AnswersAreReadOrRefused) {
    EXPECT_EQ(kr::WorkerAnswer("ok").code, 0);
    EXPECT_EQ(kr::WorkerAnswer("ok 7").state, SvcState::Paused);
    EXPECT_EQ(kr::WorkerAnswer("fail 5 Access is denied.").code, 5);
    EXPECT_EQ(kr::WorkerAnswer("fail 5 Access is denied.").error, "Access is denied.");
    EXPECT_EQ(kr::WorkerAnswer("fail 1060 whatever").error, "no such service");
    EXPECT_EQ(kr::WorkerAnswer("fail 5").error, "");
    for (const char* line : {"", "ok 0", "ok 8", "ok x", "ok 4 4", "fail", "fail 0 x", "fail x y",
                             "okay", "ok 99999999999999999999"})
        EXPECT_EQ(kr::WorkerAnswer(line).code, 1722) << line;
}

/// 127.0.0.2 is a Windows computer.
class ScmServicesTest : public kr::ServicesTest {
protected:
    void SetUp() override {
        ASSERT_NE(m_scm.port(), 0);
        ASSERT_EQ(access(workerPath().c_str(), X_OK), 0) << workerPath();
        m_options.scmWorker = workerPath();
        m_options.scmArguments = {"--anonymous", "--tcp", std::to_string(m_scm.port())};
        set("127.0.0.2", "Transport", "scm");
        m_scm.SetService("zandrelAgent", 4);
        m_scm.SetService("kRWatchdog", 4);
    }
    kr::ScmStandin m_scm{"127.0.0.2"};
};

TEST_F(ScmServicesTest, TheManagersNumbersComeBackAsTheyAre) {
    for (const uint32_t state : {1U, 2U, 3U, 4U, 5U, 6U, 7U}) {
        m_scm.SetService("zandrelAgent", state);
        const kr::ServicesTest::State answer = query("\\\\127.0.0.2");
        EXPECT_EQ(static_cast<uint32_t>(answer.state), state) << answer.error;
        EXPECT_EQ(answer.error, "");
    }
    EXPECT_EQ(query("127.0.0.2", "nothing").state, SvcState::Failed);
    EXPECT_EQ(query("127.0.0.2", "nothing").error, "no such service");
    EXPECT_EQ(query("127.0.0.2", "no thing").error, "no such service");
    EXPECT_EQ(m_scm.connections(), 1) << "the connection was not kept";
}

TEST_F(ScmServicesTest, StartStopAndCodesArriveInTheirOrder) {
    services().Control("127.0.0.2", "zandrelAgent", 210);
    services().Control("127.0.0.2", "kRWatchdog", 130);
    EXPECT_EQ(stop("127.0.0.2").code, 0);
    EXPECT_EQ(query("127.0.0.2").state, SvcState::Stopped);
    EXPECT_EQ(start("127.0.0.2").code, 0);
    EXPECT_EQ(query("127.0.0.2").state, SvcState::Running);
    for (const int code : {128, 130, 131, 199, 200, 201, 202, 203, 220})
        control("127.0.0.2", code);
    EXPECT_THAT(m_scm.calls(),
                ElementsAre("control zandrelAgent 210", "control kRWatchdog 130",
                            "stop zandrelAgent", "start zandrelAgent", "control zandrelAgent 128",
                            "control zandrelAgent 130", "control zandrelAgent 131",
                            "control zandrelAgent 199", "control zandrelAgent 200",
                            "control zandrelAgent 201", "control zandrelAgent 202",
                            "control zandrelAgent 203", "control zandrelAgent 220"));
}

TEST_F(ScmServicesTest, RefusalsHaveTheManagersNumberAndText) {
    EXPECT_EQ(start("127.0.0.2").code, 1056);
    m_scm.Refuse(5);
    const kr::ServicesTest::Code denied = stop("127.0.0.2");
    EXPECT_EQ(denied.code, 5);
    EXPECT_EQ(denied.error, "Access is denied.");
    m_scm.Refuse(1069);
    EXPECT_EQ(start("127.0.0.2").code, 1069);
}

TEST_F(ScmServicesTest, AManagerThatFallsSilentIsGivenTwoSecondsAndThenAFreshWorker) {
    EXPECT_EQ(query("127.0.0.2").state, SvcState::Running);
    m_scm.Mute(true);
    const auto begin = Clock::now();
    EXPECT_EQ(start("127.0.0.2").code, 1053);
    EXPECT_GE(since(begin), 1990ms);
    EXPECT_LT(since(begin), 2500ms);
    m_scm.Mute(false);
    EXPECT_EQ(query("127.0.0.2").state, SvcState::Running);
    EXPECT_EQ(m_scm.connections(), 2);
}

TEST_F(ScmServicesTest, AConnectionThatWasClosedIsMadeAnewWithinTheRequest) {
    EXPECT_EQ(query("127.0.0.2").state, SvcState::Running);
    m_scm.Drop();
    EXPECT_EQ(query("127.0.0.2").state, SvcState::Running);
    EXPECT_EQ(m_scm.connections(), 2);
}

TEST_F(ScmServicesTest, NobodyThereIsToldSoon) {
    set("127.0.0.9", "Transport", "scm");
    const auto begin = Clock::now();
    const kr::ServicesTest::State state = query("127.0.0.9");
    EXPECT_EQ(state.state, SvcState::Failed);
    EXPECT_NE(state.error, "");
    EXPECT_EQ(start("127.0.0.9").code, 1722);
    EXPECT_LT(since(begin), 1500ms);
}

TEST_F(ScmServicesTest, ASilentComputerDelaysNoOther) {
    const Listener silent("127.0.0.4", m_scm.port(), Listener::Kind::Accepting);
    ASSERT_TRUE(silent.listening());
    set("127.0.0.4", "Transport", "scm");
    std::optional<Code> late;
    const auto begin = Clock::now();
    services().Start("127.0.0.4", "zandrelAgent", keep(late));
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(query("127.0.0.2").state, SvcState::Running);
    EXPECT_LT(since(begin), 1000ms);
    EXPECT_FALSE(late);
    EXPECT_TRUE(until([&] { return late.has_value(); }));
    EXPECT_LT(since(begin), 2500ms);
    EXPECT_EQ(late->code, 1053);
}

TEST_F(ScmServicesTest, AWorkerThatIsMissingEndsOrRavesIsAFailure) {
    m_options.scmWorker = m_folder + "/missing";
    EXPECT_THAT(query("127.0.0.2").error, HasSubstr("missing can't be started"));
    const auto scripted = [&](const std::string& text) {
        m_services.reset();
        m_options.scmWorker = m_folder + "/worker";
        std::ofstream(m_options.scmWorker) << "#!/bin/sh\n" << text;
        chmod(m_options.scmWorker.c_str(), 0755);
        return query("127.0.0.2");
    };
    EXPECT_EQ(scripted("echo 'there is no ticket' >&2; exit 1\n").error,
              "The service manager of 127.0.0.2 can't be reached: there is no ticket");
    EXPECT_THAT(scripted("read line; exit 0\n").error, HasSubstr("the worker ended"));
    EXPECT_THAT(scripted("read line; echo rubbish; read line\n").error, HasSubstr("no sense"));
    const auto begin = Clock::now();
    EXPECT_EQ(scripted("exec yes -- | tr -d '\\n'\n").state, SvcState::Failed);
    EXPECT_LT(since(begin), 1500ms);
    // one that ends between two requests is replaced
    EXPECT_EQ(scripted("read line; echo ok 4; exit 0\n").state, SvcState::Running);
    until([] { return false; }, 200ms);
    EXPECT_EQ(query("127.0.0.2").state, SvcState::Running);
}

TEST_F(ScmServicesTest, KillRunsTaskkillOverSsh) {
    kr::SshFixture ssh("unix:path=/nowhere");
    ASSERT_TRUE(ssh.running()) << "sshd can't be started";
    m_options.sshProgram = "ssh";
    m_options.sshArguments = ssh.Arguments();
    std::ofstream(ssh.folder() + "/agent-runs") << "yes\n";
    EXPECT_TRUE(kill("127.0.0.2"));
    EXPECT_FALSE(kill("127.0.0.2")) << "there is no such process any more";
    EXPECT_THAT(ssh.Commands(),
                ElementsAre("taskkill /F /IM zagent.exe", "taskkill /F /IM zagent.exe"));
    std::optional<bool> ended;
    services().Kill("127.0.0.2", "zandrelAgent", "a.exe & reboot", [&](bool e) { ended = e; });
    EXPECT_TRUE(until([&] { return ended.has_value(); }));
    EXPECT_FALSE(*ended);
    EXPECT_EQ(ssh.Commands().size(), 2U);
    ssh.Stop();
    EXPECT_FALSE(kill("127.0.0.2"));
}

/// A real server of the protocol below, with logon, signing and sealing.
class SambaServicesTest : public kr::ServicesTest {
protected:
    void SetUp() override {
        if (geteuid() != 0)
            GTEST_SKIP() << "smbd changes its user and runs for root alone";
        ASSERT_TRUE(m_smb.running()) << "smbd can't be started; see " << m_smb.folder();
        m_options.scmWorker = workerPath();
        m_options.scmArguments = {"--smb-port", std::to_string(m_smb.port())};
        set("SERVER", "Transport", "scm");
        set("SERVER", "Address", "127.0.0.1");
        set("SERVER", "AuthFile", m_smb.AuthFile(true));
    }
    kr::SmbFixture m_smb;
};

TEST_F(SambaServicesTest, APipeWithLogonAndSealServes) {
    // the server starts its helpers for the first request, which may take them longer than it has
    if (query("SERVER", "Spooler").state == SvcState::Failed)
        until([] { return false; }, 1000ms);
    EXPECT_EQ(query("SERVER", "Spooler").state, SvcState::Running);
    EXPECT_EQ(start("SERVER", "Spooler").code, 1056);
    EXPECT_EQ(stop("SERVER", "Spooler").code, 0);
    EXPECT_EQ(query("SERVER", "Spooler").state, SvcState::Stopped);
    EXPECT_EQ(query("SERVER", "nothing").error, "no such service");
    control("SERVER", 200, "Spooler");
}

TEST_F(SambaServicesTest, WithoutTheRightPasswordNothingIsServed) {
    set("SERVER", "AuthFile", m_smb.AuthFile(false));
    EXPECT_EQ(start("SERVER", "Spooler").code, 1326);
    const std::string open = m_smb.AuthFile(true);
    chmod(open.c_str(), 0644);
    set("SERVER", "AuthFile", open);
    EXPECT_THAT(query("SERVER", "Spooler").error, HasSubstr("only its owner may read"));
}

} // namespace
