#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "platform/services/HostSettings.h"
#include "tests/platform/services/BusFixture.h"
#include "tests/platform/services/Listeners.h"
#include "tests/platform/services/ServicesTest.h"

using namespace std::chrono_literals;
using kr::Listener;
using kr::SvcState;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

namespace {

std::vector<std::string> linesOf(const std::string& path) {
    std::vector<std::string> lines;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);)
        lines.push_back(line);
    return lines;
}

/// How a computer is reached. The programs that would speak to it only write down that they were
/// started, and end.
class HostServicesTest : public kr::ServicesTest {
protected:
    void SetUp() override {
        m_options.sshProgram = program("ssh");
        m_options.scmWorker = program("worker");
        m_options.smbPort = kr::FreePort();
        m_options.sshPort = kr::FreePort();
    }
    std::string program(const std::string& name) const {
        const std::string path = m_folder + "/" + name;
        std::ofstream(path) << "#!/bin/sh\necho \"" << name << " $*\" >>" << m_folder
                            << "/started\necho gone >&2\nexit 1\n";
        chmod(path.c_str(), 0755);
        return path;
    }
    /// The first word of each line that the programs wrote.
    std::vector<std::string> started() const {
        std::vector<std::string> names;
        for (const std::string& line : linesOf(m_folder + "/started"))
            names.push_back(line.substr(0, line.find(' ')));
        return names;
    }
};

TEST_F(HostServicesTest, ThePortThatAnswersTellsTheWay) {
    const Listener smb("127.0.0.2", m_options.smbPort, Listener::Kind::Accepting);
    const Listener ssh("127.0.0.3", m_options.sshPort, Listener::Kind::Accepting);
    const Listener both1("127.0.0.4", m_options.smbPort, Listener::Kind::Accepting);
    const Listener both2("127.0.0.4", m_options.sshPort, Listener::Kind::Accepting);
    query("127.0.0.2");
    query("127.0.0.3");
    query("127.0.0.4");
    EXPECT_THAT(started(), ElementsAre("worker", "ssh", "worker"));
    const kr::ServicesTest::State neither = query("127.0.0.5");
    EXPECT_EQ(neither.state, SvcState::Failed);
    EXPECT_EQ(neither.error,
              "127.0.0.5 takes connections neither for Windows services nor for ssh");
}

TEST_F(HostServicesTest, ASilentPortIsNotWaitedForOnceTheOtherAnswers) {
    const Listener smb("127.0.0.2", m_options.smbPort, Listener::Kind::Silent);
    const Listener ssh("127.0.0.2", m_options.sshPort, Listener::Kind::Accepting);
    const auto begin = Clock::now();
    query("127.0.0.2");
    EXPECT_LT(since(begin), 1000ms);
    EXPECT_THAT(started(), ElementsAre("ssh"));
}

TEST_F(HostServicesTest, WhatWasFoundHoldsForTheRun) {
    auto ssh =
        std::make_unique<Listener>("127.0.0.2", m_options.sshPort, Listener::Kind::Accepting);
    query("127.0.0.2");
    ssh.reset();
    query("127.0.0.2");
    EXPECT_THAT(started(), ElementsAre("ssh", "ssh"));
}

TEST_F(HostServicesTest, AComputerThatWasOffIsProbedAgain) {
    EXPECT_THAT(query("127.0.0.2").error, HasSubstr("neither"));
    const Listener ssh("127.0.0.2", m_options.sshPort, Listener::Kind::Accepting);
    query("127.0.0.2");
    EXPECT_THAT(started(), ElementsAre("ssh"));
}

TEST_F(HostServicesTest, TheRegistryDecidesAndIsFollowed) {
    set("127.0.0.2", "Transport", "scm");
    set("127.0.0.2", "AuthFile", "/etc/zandrel/auth");
    query("\\\\127.0.0.2");
    set("127.0.0.2", "Transport", "systemd-ssh");
    query("127.0.0.2");
    EXPECT_THAT(
        linesOf(m_folder + "/started"),
        ElementsAre("worker --auth-file /etc/zandrel/auth 127.0.0.2",
                    AllOf(HasSubstr("BatchMode=yes"), HasSubstr("StrictHostKeyChecking=yes"),
                          HasSubstr("-- 127.0.0.2 systemd-stdio-bridge"))));
    set("127.0.0.2", "Transport", "none");
    EXPECT_EQ(query("127.0.0.2").error, "The services of 127.0.0.2 are set not to be reached");
    EXPECT_FALSE(kill("127.0.0.2"));
    set("127.0.0.2", "Transport", "carrier pigeon");
    EXPECT_THAT(query("127.0.0.2").error,
                HasSubstr("\"carrier pigeon\" is no way to reach the services of 127.0.0.2"));
    EXPECT_EQ(started().size(), 2U);
}

TEST_F(HostServicesTest, NamesThatACommandWouldTakeForSomethingElseAreRefused) {
    for (const char* name :
         {"-oProxyCommand=reboot", "a b", "a;reboot", "a$(reboot)", "ä", "a/b"}) {
        EXPECT_FALSE(kr::IsHostName(name)) << name;
        set(name, "Transport", "systemd-ssh");
        EXPECT_THAT(query(name).error, HasSubstr("is not a computer's name")) << name;
    }
    EXPECT_THAT(started(), ElementsAre());
    for (const char* name : {"MAIL01", "mail-01.example.test", "lab_agent", "fe80::1"})
        EXPECT_TRUE(kr::IsHostName(name)) << name;
    EXPECT_FALSE(kr::IsHostName(""));
    EXPECT_FALSE(kr::IsHostName(std::string(254, 'a')));
}

TEST_F(HostServicesTest, AnUnknownNameFails) {
    const kr::ServicesTest::State state = query("no-such-host.invalid");
    EXPECT_EQ(state.state, SvcState::Failed);
    EXPECT_THAT(state.error,
                ::testing::AnyOf(HasSubstr("No computer is known by the name no-such-host.invalid"),
                                 HasSubstr("did not answer in time")));
}

TEST_F(HostServicesTest, ASilentComputerHasTwoSecondsForAllThatWaits) {
    const Listener smb("127.0.0.2", m_options.smbPort, Listener::Kind::Silent);
    const Listener ssh("127.0.0.2", m_options.sshPort, Listener::Kind::Silent);
    std::vector<long> codes;
    const auto begin = Clock::now();
    for (int i = 0; i < 4; ++i)
        services().Start("127.0.0.2", "zandrelAgent",
                         [&](long code, const std::string&) { codes.push_back(code); });
    EXPECT_TRUE(services().Busy());
    EXPECT_THAT(query("127.0.0.3").error, HasSubstr("neither"));
    EXPECT_LT(since(begin), 500ms) << "one computer waited for another";
    EXPECT_TRUE(until([&] { return !services().Busy() && codes.size() == 4; }));
    EXPECT_GE(since(begin), 1990ms);
    EXPECT_LT(since(begin), 2500ms);
    EXPECT_THAT(codes, ElementsAre(1053, 1053, 1053, 1053));
    EXPECT_THAT(started(), ElementsAre());
}

TEST_F(HostServicesTest, FiftySilentComputersCostTwoSecondsTogether) {
    int answers = 0;
    std::vector<std::unique_ptr<Listener>> silent;
    const auto begin = Clock::now();
    for (int i = 2; i < 52; ++i) {
        const std::string address = "127.0.1." + std::to_string(i);
        silent.push_back(
            std::make_unique<Listener>(address, m_options.smbPort, Listener::Kind::Accepting));
        set(address, "Transport", "scm");
    }
    // a worker that says nothing
    m_options.scmWorker = m_folder + "/mute";
    std::ofstream(m_options.scmWorker) << "#!/bin/sh\nexec sleep 60\n";
    chmod(m_options.scmWorker.c_str(), 0755);
    const auto asked = Clock::now();
    for (int i = 2; i < 52; ++i)
        services().Query("127.0.1." + std::to_string(i), "zandrelAgent",
                         [&](SvcState state, const std::string&) {
                             answers += state == SvcState::Failed ? 1 : 100;
                         });
    // what the window's thread was held up by starting fifty programs
    EXPECT_LT(since(asked), 500ms);
    EXPECT_TRUE(until([&] { return answers == 50; }));
    EXPECT_LT(since(begin), 3500ms);
}

TEST_F(HostServicesTest, ThisComputerIsAsEverWhileAnotherIsSilent) {
    kr::BusFixture bus;
    ASSERT_TRUE(bus.running());
    m_options.busAddress = bus.address();
    bus.SetUnit("zandrelAgent.service", {"loaded", "active", "running", "running"});
    const Listener silent("127.0.0.2", m_options.smbPort, Listener::Kind::Silent);
    std::optional<Code> late;
    services().Start("127.0.0.2", "zandrelAgent", keep(late));
    char own[256] = {};
    ASSERT_EQ(gethostname(own, sizeof own - 1), 0);
    const auto begin = Clock::now();
    EXPECT_EQ(query("").state, SvcState::Running);
    EXPECT_EQ(query(std::string("\\\\") + own).state, SvcState::Running);
    EXPECT_LT(since(begin), 500ms);
    EXPECT_FALSE(late);
}

TEST_F(HostServicesTest, NoCallComesAfterTheEnd) {
    const Listener silent("127.0.0.2", m_options.smbPort, Listener::Kind::Silent);
    for (const char* host : {"127.0.0.2", "127.0.0.3", "no-such-host.invalid", "a b"})
        services().Query(host, "zandrelAgent", [](SvcState, const std::string&) { FAIL(); });
    m_services.reset();
    EXPECT_FALSE(until([] { return false; }, 200ms));
}

} // namespace
