#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

#include "core/Text.h"
#include "platform/events/epoll/EpollEvents.h"
#include "platform/shell/xdg/MimeApps.h"
#include "platform/shell/xdg/Pinger.h"
#include "platform/shell/xdg/XdgShell.h"

using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace {

/// A folder that comes first in PATH, for stand-ins of the desktop's programs.
class XdgShellTest : public ::testing::Test {
protected:
    using Clock = std::chrono::steady_clock;

    void SetUp() override {
        std::string pattern = "/tmp/kr-shell-XXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        m_folder = pattern;
        m_path = std::getenv("PATH");
        setenv("PATH", (m_folder.string() + ":" + m_path).c_str(), 1);
    }
    void TearDown() override {
        setenv("PATH", m_path.c_str(), 1);
        fs::remove_all(m_folder);
    }
    void program(const std::string& name, const std::string& body) {
        std::ofstream(m_folder / name) << "#!/bin/sh\n" << body << "\n";
        fs::permissions(m_folder / name, fs::perms::owner_all);
    }
    void write(const fs::path& path, const std::string& text) {
        fs::create_directories(path.parent_path());
        std::ofstream(path) << text;
    }
    std::string content(const std::string& name) const {
        std::ifstream file(m_folder / name);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    /// An opener that writes its arguments, one a line, and ends with a code.
    void opener(int code) {
        program("xdg-open", "printf '%s\\n' \"$@\" > " + (m_folder / "opened").string() +
                                "\nexit " + std::to_string(code));
    }

    std::unique_ptr<kr::EpollEvents> m_events = kr::MakeEpollEvents();
    int m_idles = 0;
    std::unique_ptr<kr::Shell> m_shell = kr::MakeXdgShell(*m_events, [this] { ++m_idles; });
    fs::path m_folder;
    std::string m_path;
};

TEST_F(XdgShellTest, AnAddressGoesToTheOpenerAsOneArgument) {
    opener(0);
    EXPECT_GT(m_shell->OpenURL("https://example.test/a?b=c&d=$(touch%20x);'e"), 32);
    EXPECT_EQ(content("opened"), "https://example.test/a?b=c&d=$(touch%20x);'e\n");
}

TEST_F(XdgShellTest, OtherSchemesNeverReachTheOpener) {
    opener(0);
    for (const char* url : {"file:///etc/passwd", "javascript:alert(1)", "/etc/passwd", "",
                            "http://", "-x", "https://a b", "http://a\nb", "smb://h/s",
                            "mailto:a@b.test?attach=/etc/passwd", " http://a"})
        EXPECT_EQ(m_shell->OpenURL(url), 5) << url;
    EXPECT_FALSE(fs::exists(m_folder / "opened"));
    EXPECT_TRUE(kr::IsSafeURL("MAILTO:a@example.test?subject=x"));
    EXPECT_TRUE(kr::IsSafeURL("HTTP://h:81/x"));
}

TEST_F(XdgShellTest, TheOpenersFailureIsANumberOf32OrLess) {
    opener(3);
    EXPECT_EQ(m_shell->OpenURL("http://a.test"), 31);
    opener(2);
    EXPECT_EQ(m_shell->OpenURL("http://a.test"), 2);
    opener(4);
    EXPECT_EQ(m_shell->OpenURL("http://a.test"), 31);
    setenv("PATH", (m_folder / "none").c_str(), 1);
    EXPECT_EQ(m_shell->OpenURL("http://a.test"), 31);
}

TEST_F(XdgShellTest, AnOpenerThatStaysCountsAsOpenedWhileEventsRun) {
    program("xdg-open", "exec sleep 3");
    int ticks = 0;
    m_events->AddTimer(20ms, [&] { ++ticks; });
    const auto start = Clock::now();
    EXPECT_GT(m_shell->OpenURL("http://a.test"), 32);
    EXPECT_LT(Clock::now() - start, 2500ms);
    EXPECT_GT(ticks, 30);
    EXPECT_GT(m_idles, 30);
}

TEST_F(XdgShellTest, AFileIsOpenedByItsWholePath) {
    opener(0);
    write(m_folder / "-r.txt", "x");
    const fs::path before = fs::current_path();
    fs::current_path(m_folder);
    EXPECT_GT(m_shell->OpenFile("-r.txt"), 32);
    fs::current_path(before);
    EXPECT_EQ(content("opened"), (m_folder / "-r.txt").string() + "\n");
    EXPECT_EQ(m_shell->OpenFile((m_folder / "absent").string()), 2);
    EXPECT_EQ(m_shell->OpenFile(""), 2);
}

TEST_F(XdgShellTest, TheTempFolderIsOursAloneAndGoesWithTheShell) {
    const fs::path temp = m_shell->TempFolder();
    struct stat info {};
    ASSERT_EQ(stat(temp.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0700u);
    EXPECT_EQ(m_shell->TempFolder(), temp.string());
    write(temp / "a/b.txt", "x");
    m_shell.reset();
    EXPECT_FALSE(fs::exists(temp));
}

TEST_F(XdgShellTest, NamesAndFacts) {
    const std::string name = m_shell->ComputerName();
    EXPECT_FALSE(name.empty());
    EXPECT_EQ(name, kr::ToUpper(name));
    EXPECT_EQ(name.find('.'), std::string::npos);
    EXPECT_FALSE(m_shell->UserName().empty());
    const std::string facts = m_shell->SystemFacts();
    for (const char* part : {"System: ", "\nRelease: ", "\nProcessor: ", "\nMemory: "})
        EXPECT_THAT(facts, ::testing::HasSubstr(part));
    EXPECT_EQ(facts.find("Memory: 0 MB"), std::string::npos);
}

TEST_F(XdgShellTest, DefaultApplicationsFollowTheLists) {
    const fs::path user = m_folder / "config";
    const fs::path home = m_folder / "home";
    const fs::path system = m_folder / "system";
    const kr::MimeFolders folders{{user.string()}, {home.string(), system.string()}, {"kde"}};
    const auto found = [&] { return kr::DefaultApplication(folders, "text/csv"); };
    EXPECT_EQ(found(), "");
    write(system / "applications/calc.desktop", "[Desktop Entry]");
    write(system / "applications/kde/sheets.desktop", "[Desktop Entry]");
    EXPECT_EQ(found(), "");
    write(system / "applications/mimeinfo.cache",
          "[MIME Cache]\ntext/csv=gone.desktop;calc.desktop;\n");
    EXPECT_EQ(found(), "calc.desktop");
    write(home / "applications/mimeapps.list",
          "[Added Associations]\ntext/csv=kde-sheets.desktop;\n[Default "
          "Applications]\ntext/plain=calc.desktop\n");
    EXPECT_EQ(found(), "kde-sheets.desktop");
    write(user / "mimeapps.list", "[Default Applications]\ntext/csv = gone.desktop;calc.desktop\n");
    EXPECT_EQ(found(), "calc.desktop");
    write(user / "kde-mimeapps.list", "[Default Applications]\ntext/csv=kde-sheets.desktop\n");
    EXPECT_EQ(found(), "kde-sheets.desktop");
    EXPECT_EQ(kr::DefaultApplication(folders, "text/html"), "");
}

TEST_F(XdgShellTest, ARemovedAssociationIsNoViewer) {
    const fs::path data = m_folder / "data";
    const kr::MimeFolders folders{{(m_folder / "config").string()}, {data.string()}, {}};
    write(data / "applications/calc.desktop", "[Desktop Entry]");
    write(data / "applications/mimeinfo.cache", "[MIME Cache]\ntext/csv=calc.desktop\n");
    write(m_folder / "config/mimeapps.list", "[Removed Associations]\ntext/csv=calc.desktop;\n");
    EXPECT_EQ(kr::DefaultApplication(folders, "text/csv"), "");
}

TEST_F(XdgShellTest, HasViewerReadsThisPersonsFolders) {
    setenv("XDG_DATA_HOME", (m_folder / "data").c_str(), 1);
    EXPECT_FALSE(m_shell->HasViewer("text/x-kr-none"));
    write(m_folder / "data/applications/a.desktop", "[Desktop Entry]");
    write(m_folder / "data/applications/mimeapps.list",
          "[Default Applications]\ntext/x-kr-none=a.desktop\n");
    EXPECT_TRUE(m_shell->HasViewer("text/x-kr-none"));
    unsetenv("XDG_DATA_HOME");
}

TEST_F(XdgShellTest, ThisComputerAnswersAPing) {
    EXPECT_TRUE(m_shell->Ping("localhost"));
    EXPECT_EQ(m_shell->LastPing().outcome, kr::PingOutcome::Answered);
    EXPECT_TRUE(m_shell->Ping("\\\\127.0.0.1"));
}

TEST_F(XdgShellTest, ANameThatNobodyKnowsIsNoHost) {
    EXPECT_FALSE(m_shell->Ping("no-such-host.invalid"));
    EXPECT_EQ(m_shell->LastPing().outcome, kr::PingOutcome::NoSuchName);
    EXPECT_FALSE(m_shell->Ping(""));
}

class PingerTest : public XdgShellTest {
protected:
    kr::Pinger m_pinger{*m_events, {}};
};

TEST_F(PingerTest, EachRungFindsThisComputer) {
    using Rung = kr::Pinger::Rung;
    program("good-ping", "exit 0");
    m_pinger.UseProgram("good-ping");
    for (const Rung rung : {Rung::Program, Rung::Tcp, m_pinger.rung()}) {
        m_pinger.UseRung(rung);
        EXPECT_EQ(m_pinger.Ping("127.0.0.1").outcome, kr::PingOutcome::Answered)
            << static_cast<int>(rung);
    }
}

TEST_F(PingerTest, TheRawRungAnswersOrIsRefused) {
    // a raw socket needs a right that a plain user lacks; where it is held the echo works
    m_pinger.UseRung(kr::Pinger::Rung::Raw);
    const auto report = m_pinger.Ping("127.0.0.1");
    if (geteuid() != 0)
        EXPECT_EQ(report.outcome, kr::PingOutcome::NoSocket);
    else
        EXPECT_THAT(report.outcome,
                    ::testing::AnyOf(kr::PingOutcome::Answered, kr::PingOutcome::NoSocket));
}

TEST_F(PingerTest, TheProgramIsAskedForOneEchoOf32Bytes) {
    program("ping-args", "printf '%s ' \"$@\" > " + (m_folder / "args").string() + "; exit 1");
    m_pinger.UseRung(kr::Pinger::Rung::Program);
    m_pinger.UseProgram("ping-args");
    EXPECT_EQ(m_pinger.Ping("127.0.0.1").outcome, kr::PingOutcome::TimedOut);
    EXPECT_EQ(content("args"), "-n -q -c 1 -W 2 -s 32 127.0.0.1 ");
    m_pinger.UseProgram("no-such-program-here");
    EXPECT_EQ(m_pinger.Ping("127.0.0.1").outcome, kr::PingOutcome::NoSocket);
}

TEST_F(PingerTest, ASilentHostEndsAfterTwoSecondsWhileEventsRun) {
    program("silent-ping", "exec sleep 30");
    m_pinger.UseRung(kr::Pinger::Rung::Program);
    m_pinger.UseProgram("silent-ping");
    int ticks = 0;
    m_events->AddTimer(20ms, [&] { ++ticks; });
    const auto start = Clock::now();
    EXPECT_EQ(m_pinger.Ping("127.0.0.1").outcome, kr::PingOutcome::TimedOut);
    EXPECT_GE(Clock::now() - start, 1900ms);
    EXPECT_LT(Clock::now() - start, 2600ms);
    EXPECT_GT(ticks, 60);
}

TEST_F(PingerTest, AnAddressWithoutARouteOrAnswerIsDeadWithinTheDeadline) {
    using Rung = kr::Pinger::Rung;
    for (const Rung rung : {Rung::Tcp, m_pinger.rung()}) {
        m_pinger.UseRung(rung);
        const auto start = Clock::now();
        // a network for documentation, which no host has
        EXPECT_NE(m_pinger.Ping("192.0.2.77").outcome, kr::PingOutcome::Answered);
        EXPECT_LT(Clock::now() - start, 2600ms);
    }
}

// --- many at once

class ManyPings : public PingerTest {
protected:
    /// By turns addresses of this computer and addresses for documentation, which no host has.
    static std::vector<std::string> addresses(int count) {
        std::vector<std::string> all;
        for (int i = 0; i < count; i += 2) {
            const std::string last = std::to_string(1 + i / 2 % 200);
            all.push_back("127.1." + std::to_string(i / 400) + "." + last);
            all.push_back("198.51.100." + last);
        }
        return all;
    }
    void run(const std::vector<std::string>& hosts) {
        m_reports.assign(hosts.size(), std::nullopt);
        m_heard = 0;
        auto last = Clock::now();
        m_events->AddTimer(1ms, [&, this] {
            m_longest = std::max(m_longest, Clock::now() - std::exchange(last, Clock::now()));
        });
        const auto start = Clock::now();
        m_pinger.PingAll(hosts, [this](size_t place, const kr::PingReport& report) {
            EXPECT_FALSE(m_reports.at(place)) << place; // each is told of once
            m_reports[place] = report;
            ++m_heard;
        });
        EXPECT_EQ(m_heard, 0U); // not before the loop runs
        while (m_heard < hosts.size() && Clock::now() - start < 20s)
            m_events->Run(10ms);
        m_took = Clock::now() - start;
        std::printf("%zu pings: %lld ms, longest turn %lld ms\n", hosts.size(), ms(m_took),
                    ms(m_longest));
    }
    static long long ms(Clock::duration time) {
        return std::chrono::duration_cast<std::chrono::milliseconds>(time).count();
    }
    /// Every second one answered and no other.
    void expectHalf() {
        for (size_t i = 0; i < m_reports.size(); ++i) {
            ASSERT_TRUE(m_reports[i]) << i;
            EXPECT_EQ(m_reports[i]->outcome == kr::PingOutcome::Answered, i % 2 == 0)
                << i << ": " << static_cast<int>(m_reports[i]->outcome) << " "
                << m_reports[i]->status;
        }
    }

    std::vector<std::optional<kr::PingReport>> m_reports;
    size_t m_heard = 0;
    Clock::duration m_took{};
    Clock::duration m_longest{};
};

TEST_F(ManyPings, AHundredSilentHostsTakeNoLongerThanOne) {
    run(addresses(200));
    expectHalf();
    EXPECT_LT(m_took, 3s);
}

TEST_F(ManyPings, ConnectionsAreMadeBesideEachOther) {
    m_pinger.UseRung(kr::Pinger::Rung::Tcp);
    std::vector<std::string> all;
    for (int i = 1; i <= 200; ++i)
        all.push_back("127.1.0." + std::to_string(i)); // which refuse at least
    run(all);
    for (const auto& report : m_reports)
        EXPECT_EQ(report.value().outcome, kr::PingOutcome::Answered);
    EXPECT_LT(m_took, 2s);
}

TEST_F(ManyPings, ProgramsDoTheSameAndAreGoneAfterwards) {
    program("some-ping", "echo $$ >> " + (m_folder / "pids").string() +
                             "\ncase $* in *127.1.*) exit 0;; esac\nexec sleep 30");
    m_pinger.UseRung(kr::Pinger::Rung::Program);
    m_pinger.UseProgram("some-ping");
    run(addresses(60));
    expectHalf();
    EXPECT_LT(m_took, 4s);
    std::ifstream pids(m_folder / "pids");
    int count = 0;
    for (pid_t pid = 0; pids >> pid; ++count)
        EXPECT_NE(kill(pid, 0), 0) << pid;
    EXPECT_EQ(count, 60);
}

TEST_F(ManyPings, MoreThanCanBeAskedAtOnceWaitForTheirTurn) {
    run(addresses(600));
    expectHalf();
    EXPECT_LT(m_took, 8s);
}

TEST_F(ManyPings, NamesAreLookedUpBesideEachOther) {
    run({"localhost", "", "127.0.0.1", "\\\\localhost", "no-such-host.invalid", "\\\\"});
    std::vector<kr::PingOutcome> outcomes;
    for (const auto& report : m_reports)
        outcomes.push_back(report.value().outcome);
    using enum kr::PingOutcome;
    EXPECT_THAT(outcomes, ::testing::ElementsAre(Answered, NoSuchName, Answered, Answered,
                                                 NoSuchName, NoSuchName));
}

TEST_F(ManyPings, OneMoreIsAskedAtOnceBesideThem) {
    const auto hosts = addresses(600);
    size_t heard = 0;
    m_pinger.PingAll(hosts, [&](size_t, const kr::PingReport&) { ++heard; });
    m_events->Run(10ms);
    const auto start = Clock::now();
    EXPECT_EQ(m_pinger.Ping("127.0.0.1").outcome, kr::PingOutcome::Answered);
    EXPECT_LT(Clock::now() - start, 1s);
    EXPECT_LT(heard, hosts.size());
}

TEST_F(ManyPings, WhoHearsMayPingAgain) {
    int answered = 0;
    m_pinger.PingAll({"127.0.0.1", "127.0.0.2"}, [&](size_t, const kr::PingReport&) {
        answered += m_pinger.Ping("127.0.0.3").outcome == kr::PingOutcome::Answered;
    });
    const auto start = Clock::now();
    while (answered < 2 && Clock::now() - start < 5s)
        m_events->Run(10ms);
    EXPECT_EQ(answered, 2);
}

TEST_F(ManyPings, ThePingerMayGoMeanwhile) {
    auto pinger = std::make_unique<kr::Pinger>(*m_events, nullptr);
    bool heard = false;
    pinger->PingAll(addresses(20), [&](size_t, const kr::PingReport&) { heard = true; });
    m_events->Run(10ms);
    pinger.reset();
    heard = false;
    const auto start = Clock::now();
    while (Clock::now() - start < 100ms)
        m_events->Run(10ms);
    SUCCEED();
}

} // namespace
