#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>

#include "tests/platform/services/BusFixture.h"
#include "tests/platform/services/Listeners.h"
#include "tests/platform/services/ServicesTest.h"
#include "tests/platform/services/SshFixture.h"

using namespace std::chrono_literals;
using kr::Listener;
using kr::SvcState;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

namespace {

/// 127.0.0.2 and 127.0.0.3 are computers with an sshd and an agent under systemd.
class SshServicesTest : public kr::ServicesTest {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_bus.running()) << "dbus-daemon can't be started";
        ASSERT_TRUE(m_ssh.running()) << "sshd can't be started";
        m_options.sshProgram = "ssh";
        m_options.sshArguments = m_ssh.Arguments();
        set("127.0.0.2", "Transport", "systemd-ssh");
        set("127.0.0.3", "Transport", "systemd-ssh");
        m_bus.SetUnit("zandrelAgent.service", {"loaded", "active", "running", "running"});
    }

    kr::BusFixture m_bus;
    kr::SshFixture m_ssh{m_bus.address()};
};

TEST_F(SshServicesTest, TheServicesOfAnotherComputerAreReachedOverOneKeptConnection) {
    const kr::ServicesTest::State state = query("\\\\127.0.0.2");
    EXPECT_EQ(state.state, SvcState::Running) << state.error;
    EXPECT_EQ(start("127.0.0.2").code, 0);
    control("127.0.0.2", 210);
    EXPECT_EQ(stop("\\\\127.0.0.2").code, 0);
    EXPECT_TRUE(kill("127.0.0.2"));
    control("127.0.0.2", 130, "kRWatchdog");
    EXPECT_THAT(m_bus.calls(),
                ElementsAre("LoadUnit zandrelAgent.service", "StartUnit zandrelAgent.service",
                            "Control 210 /org/zandrel/Agent org.zandrel.Agent1",
                            "StopUnit zandrelAgent.service", "KillUnit zandrelAgent.service main 9",
                            "Control 130 /org/zandrel/Watchdog org.zandrel.Watchdog1"));
    EXPECT_THAT(m_ssh.Commands(), ElementsAre("systemd-stdio-bridge"));
    EXPECT_EQ(query("127.0.0.2", "nothing").error, "no such service");
}

TEST_F(SshServicesTest, TheAddressOfTheRegistryIsUsed) {
    set("AGENT07", "Transport", "SystemD-SSH");
    set("AGENT07", "Address", "127.0.0.3");
    EXPECT_EQ(query("\\\\agent07").state, SvcState::Running);
}

TEST_F(SshServicesTest, AHostWhoseKeyIsNotKnownIsRefusedWithTheReason) {
    m_ssh.ForgetHost();
    const auto begin = Clock::now();
    const kr::ServicesTest::State state = query("127.0.0.2");
    EXPECT_EQ(state.state, SvcState::Failed);
    EXPECT_EQ(state.error, "The service manager of 127.0.0.2 can't be reached: "
                           "Host key verification failed.");
    EXPECT_EQ(start("127.0.0.2").code, 1722);
    EXPECT_LT(since(begin), 2000ms);
    EXPECT_THAT(m_ssh.Commands(), ElementsAre());
}

TEST_F(SshServicesTest, ALostConnectionIsMadeAnew) {
    EXPECT_EQ(query("127.0.0.2").state, SvcState::Running);
    m_ssh.Stop();
    EXPECT_EQ(query("127.0.0.2").state, SvcState::Failed);
    EXPECT_THAT(query("127.0.0.2").error, HasSubstr("Connection refused"));
    ASSERT_TRUE(m_ssh.Start());
    EXPECT_EQ(query("127.0.0.2").state, SvcState::Running);
    EXPECT_EQ(m_ssh.Logons(), 2U);
}

TEST_F(SshServicesTest, AComputerThatVanishesIsGivenTwoSecondsAndThenAFreshConnection) {
    EXPECT_EQ(query("127.0.0.2").state, SvcState::Running);
    m_ssh.Freeze();
    const auto begin = Clock::now();
    const kr::ServicesTest::State state = query("127.0.0.2");
    EXPECT_EQ(state.error, "The service manager did not answer in time");
    EXPECT_GE(since(begin), 1990ms);
    EXPECT_LT(since(begin), 2500ms);
    EXPECT_EQ(query("127.0.0.2").state, SvcState::Running);
    EXPECT_EQ(m_ssh.Logons(), 2U);
}

TEST_F(SshServicesTest, ASilentComputerDelaysNoOther) {
    m_bus.Mute("StartUnit");
    EXPECT_EQ(query("127.0.0.3").state, SvcState::Running);
    const Listener silent("127.0.0.4", m_ssh.port(), Listener::Kind::Accepting);
    ASSERT_TRUE(silent.listening());
    set("127.0.0.4", "Transport", "systemd-ssh");
    std::optional<Code> refused;
    std::optional<Code> late;
    const auto begin = Clock::now();
    services().Start("127.0.0.4", "zandrelAgent", keep(refused));
    services().Start("127.0.0.2", "zandrelAgent", keep(late));
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(query("127.0.0.3").state, SvcState::Running);
    EXPECT_LT(since(begin), 1000ms);
    EXPECT_FALSE(refused);
    EXPECT_FALSE(late);
    EXPECT_TRUE(until([&] { return refused && late; }));
    EXPECT_LT(since(begin), 2500ms);
    EXPECT_EQ(late->code, 1053);
}

TEST_F(SshServicesTest, WhatWasGivenUpBeforeTheLogonIsNeverCarriedOut) {
    // a logon of 3 s: longer than a request may take, shorter than the patience with a logon
    const std::string slow = m_folder + "/slow-ssh";
    std::ofstream(slow) << "#!/bin/sh\nsleep 3\nexec ssh \"$@\"\n";
    chmod(slow.c_str(), 0755);
    m_options.sshProgram = slow;
    std::optional<Code> first;
    std::optional<Code> second;
    services().Start("127.0.0.2", "zandrelAgent", keep(first));
    services().Stop("127.0.0.2", "zandrelAgent", keep(second));
    const auto begin = Clock::now();
    EXPECT_TRUE(until([&] { return first && second; }));
    // nothing was heard of the computer, so the second doesn't wait for as long again
    EXPECT_LT(since(begin), 2500ms);
    EXPECT_EQ(first->code, 1053);
    EXPECT_EQ(second->code, 1053);
    EXPECT_EQ(query("127.0.0.2").state, SvcState::Running) << "the logon was not awaited";
    EXPECT_THAT(m_bus.calls(), ElementsAre("LoadUnit zandrelAgent.service"));
}

TEST_F(SshServicesTest, AProgramThatDoesNotEndOrStartHoldsNobodyUp) {
    const std::string deaf = m_folder + "/deaf-ssh";
    std::ofstream(deaf) << "#!/bin/sh\ntrap '' TERM INT HUP\nwhile :; do sleep 1; done\n";
    chmod(deaf.c_str(), 0755);
    m_options.sshProgram = deaf;
    services().Control("127.0.0.2", "zandrelAgent", 210);
    until([] { return false; }, 100ms);
    const auto begin = Clock::now();
    m_services.reset();
    EXPECT_LT(since(begin), 200ms);
    m_options.sshProgram = m_folder + "/missing";
    EXPECT_THAT(query("127.0.0.2").error, HasSubstr("No such file"));
}

TEST_F(SshServicesTest, RequestsOfOneComputerKeepTheirOrder) {
    for (const int code : {128, 130, 131})
        services().Control("127.0.0.2", "zandrelAgent", code);
    std::optional<Code> stopped;
    services().Stop("127.0.0.2", "zandrelAgent", keep(stopped));
    EXPECT_TRUE(services().Busy());
    EXPECT_TRUE(until([&] { return stopped.has_value(); }));
    EXPECT_FALSE(services().Busy());
    EXPECT_THAT(m_bus.calls(), ElementsAre("Control 128 /org/zandrel/Agent org.zandrel.Agent1",
                                           "Control 130 /org/zandrel/Agent org.zandrel.Agent1",
                                           "Control 131 /org/zandrel/Agent org.zandrel.Agent1",
                                           "StopUnit zandrelAgent.service"));
}

TEST_F(SshServicesTest, TheFirstRequestMayComeFromWithinAnAnswer) {
    SvcState inner = SvcState::Failed;
    bool outer = false;
    services().Query("127.0.0.2", "zandrelAgent", [&](SvcState, const std::string&) {
        inner = query("127.0.0.3").state;
        outer = query("127.0.0.2").state == SvcState::Running;
    });
    EXPECT_TRUE(until([&] { return outer; }));
    EXPECT_EQ(inner, SvcState::Running);
}

} // namespace
