// The main window with a long list of servers, half of them silent.
#include <gmock/gmock.h>

#include <QElapsedTimer>
#include <QTest>
#include <QTreeView>
#include <ctime>

#include "console/forms/frmFleetMain.h"
#include "console/kinds/FixedKinds.h"
#include "hosts/forms/MakeHostForms.h"
#include "platform/events/epoll/EpollEvents.h"
#include "platform/events/qt/QtEventsBridge.h"
#include "platform/ui/qt/QtUi.h"
#include "tests/hosts/HostTest.h"
#include "tests/support/Modal.h"

namespace {

using namespace kr;

/// A network that answers for every second server at once and for the others never, as a real one.
class WaitingShell : public FakeShell {
public:
    explicit WaitingShell(Events& events) : m_events(events) {}
    std::chrono::milliseconds wait{2000};
    int pings = 0;

    bool Ping(std::string_view host) override {
        ++pings;
        return !host.ends_with("odd");
    }
    void PingAll(const std::vector<std::string>& hosts, const PingDone& done) override {
        pings += static_cast<int>(hosts.size());
        for (size_t i = 0; i < hosts.size(); ++i) {
            const bool answers = !hosts[i].ends_with("odd");
            const auto id = std::make_shared<Events::Id>();
            *id = m_events.AddTimer(answers ? std::chrono::milliseconds(2) : wait, [=, this] {
                m_events.Cancel(*id);
                done(i, answers ? PingReport{} : PingReport{PingOutcome::TimedOut, 0});
            });
        }
    }

private:
    Events& m_events;
};

/// How long the window was silent between two beats of its own: by the clock, and by the work that
/// this program did meanwhile, which other programs don't lengthen.
class Heartbeat {
public:
    Heartbeat() {
        m_since.start();
        m_worked = worked();
        QObject::connect(&m_timer, &QTimer::timeout, [this] {
            m_gaps.push_back(m_since.restart());
            const double now = worked();
            m_busiest = std::max(m_busiest, now - std::exchange(m_worked, now));
        });
        m_timer.start(5);
    }
    /// Milliseconds that all but this share of the gaps took.
    qint64 Usual(double share) const {
        auto gaps = m_gaps;
        std::ranges::sort(gaps);
        return gaps.at(static_cast<size_t>(static_cast<double>(gaps.size() - 1) * share));
    }
    qint64 Longest() const { return Usual(1); }
    double Busiest() const { return m_busiest; }
    size_t Beats() const { return m_gaps.size(); }

private:
    static double worked() {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
    }
    QTimer m_timer;
    QElapsedTimer m_since;
    std::vector<qint64> m_gaps;
    double m_worked = 0;
    double m_busiest = 0;
};

class ServerWindow : public ::testing::Test {
protected:
    ServerWindow() {
        world.LogOnConfigured();
        session.rdo = world.session->rdo;
        session.agentInfo = world.session->agentInfo;
        session.userInfo = world.session->userInfo;
        session.AgentMsgID = world.session->AgentMsgID;
        world.services.states["zandrelAgent"] = SvcState::Running;
        RegisterFixedKinds(window.console());
        RegisterHostKinds(window.console(), MakeHostForms(session, [this] { return &window; }));
        ui.SetMainWindow(&window);
    }
    void addServers(int count) {
        for (int i = 0; i < count; ++i) {
            const std::string number = std::to_string(1000 + i);
            ids.push_back(hosts.Add("SRV" + number + (i % 2 ? "odd" : "")));
        }
    }
    template <class Is>
    int rowsThat(Is is) {
        int count = 0;
        for (size_t i = 0; i < console().list().Count(); ++i)
            count += is(console().list().At(i));
        return count;
    }
    int silent() {
        return rowsThat([](const ListRow& row) { return row.tag == kServerNoPing; });
    }
    int running() {
        return rowsThat([](const ListRow& row) { return row.icon == kServerOn; });
    }
    int working() {
        return rowsThat([](const ListRow& row) { return row.texts[kServerTask] == "EPS"; });
    }
    static void report(const char* what, const Heartbeat& beat, qint64 took) {
        std::printf("%s: %lld ms, %zu beats, 99%% within %lld ms, longest %lld ms, busiest %.1f "
                    "ms\n",
                    what, static_cast<long long>(took), beat.Beats(),
                    static_cast<long long>(beat.Usual(0.99)),
                    static_cast<long long>(beat.Longest()), beat.Busiest());
        EXPECT_LE(beat.Usual(0.99), 50) << what;
        EXPECT_LE(beat.Busiest(), 50) << what;
    }
    Console& console() { return window.console(); }

    World world;
    Hosts hosts{world};
    std::vector<EntryID> ids;
    QtUi ui;
    EpollEvents events;
    QtEventsBridge bridge{events};
    WaitingShell shell{events};
    Platform platform{*world.store,   *world.registry, ui,         events,
                      world.services, world.directory, shell,      world.database,
                      world.http,     world.secrets,   world.clock};
    AgentSession session{platform, world.logPath()};
    frmFleetMain window{session};
};

TEST_F(ServerWindow, AnswersWhileTwoHundredServersArePinged) {
    addServers(200);
    console().LoadTreeRoot();
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    console().GoToNode("serverroot");
    EXPECT_EQ(console().list().Count(), 200U);
    QElapsedTimer pass;
    pass.start();
    Heartbeat first;
    ASSERT_TRUE(QTest::qWaitFor([this] { return silent() == 100 && running() == 100; }, 60000));
    const qint64 took = pass.elapsed();
    report("the first pass", first, took);
    EXPECT_LT(took, 5000);
    // the servers work, and the refresh shows it
    for (const auto& id : ids)
        hosts.Set(id, "CurrentTask", "EPS");
    Heartbeat second;
    pass.restart();
    ASSERT_TRUE(QTest::qWaitFor([this] { return working() == 100; }, 60000));
    report("a refresh", second, pass.elapsed());
    EXPECT_LT(pass.elapsed(), 6000); // the timer ticks every 2 seconds
}

class ServerWindowRow : public ServerWindow {
protected:
    void SetUp() override {
        id = hosts.Add("SRVA");
        hosts.Set(id, "EPS UpdateClients", true);
        console().LoadTreeRoot();
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
        console().GoToNode("serverroot");
        ASSERT_TRUE(QTest::qWaitFor([this] { return console().list().At(0).icon == kServerOn; }));
        list = control<QTreeView>(&window, "lvMain");
    }
    QPoint middle() { return list->visualRect(list->model()->index(0, 0)).center(); }
    QAction* entry(const char* name) { return window.findChild<QAction*>(name); }
    EntryID id;
    QTreeView* list = nullptr;
};

TEST_F(ServerWindowRow, ColumnsOfSwitchesStandInTheMiddle) {
    for (int column = 0; column < kServerColumns; ++column) {
        const bool centred = column >= kServerRTD && column <= kServerMCC;
        const auto alignment = [&](const QVariant& value) {
            return Qt::Alignment(value.toInt()) & Qt::AlignHorizontal_Mask;
        };
        const Qt::Alignment wanted = centred                    ? Qt::AlignHCenter
                                     : column == kServerPolling ? Qt::AlignRight
                                                                : Qt::AlignLeft;
        const QAbstractItemModel* model = list->model();
        EXPECT_EQ(alignment(model->index(0, column).data(Qt::TextAlignmentRole)), wanted) << column;
        EXPECT_EQ(alignment(model->headerData(column, Qt::Horizontal, Qt::TextAlignmentRole)),
                  wanted)
            << column;
    }
}

TEST_F(ServerWindowRow, ADoubleClickOpensTheProperties) {
    bool opened = false;
    whenModal("frmHost", [&](QWidget* shown) {
        opened = true;
        EXPECT_EQ(shown->windowTitle(), "SRVA - Server Properties");
        QTest::mouseClick(control<QPushButton>(shown, "cmdCancel"), Qt::LeftButton);
    });
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, middle());
    QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, middle());
    EXPECT_TRUE(QTest::qWaitFor([&] { return opened; }));
}

TEST_F(ServerWindowRow, TheEntryOfEPSIsCaptionedByTheRestore) {
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, middle());
    EXPECT_EQ(entry("mnuServerEPSNow")->text(), "Run EPS Now");
    EXPECT_TRUE(entry("mnuServerEPSNow")->isVisible());
    hosts.Set(session.AgentMsgID, "EPS.RestoreEnabled", true);
    console().UpdateMenu();
    EXPECT_EQ(entry("mnuServerEPSNow")->text(), "Run EPS Now with Restore");
    hosts.Set(session.AgentMsgID, "EPS.RestoreEnabled", false);
    console().UpdateMenu();
    EXPECT_EQ(entry("mnuServerEPSNow")->text(), "Run EPS Now");
}

TEST_F(ServerWindowRow, TheRefreshGoesOnBehindADialog) {
    hosts.Set(id, "CurrentTask", "EPS");
    bool seen = false;
    whenModal("frmTasks", [&](QWidget* shown) {
        hosts.Set(id, "CurrentSubTask", "Updating");
        // by tmrTasks, every two seconds
        seen = QTest::qWaitFor(
            [this] { return console().list().Text(0, kServerSubTask) == "Updating"; }, 6000);
        QTest::mouseClick(control<QPushButton>(shown, "cmdClose"), Qt::LeftButton);
    });
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, middle());
    console().RunCommand("mnuServerTasks");
    EXPECT_TRUE(seen);
}

TEST_F(ServerWindowRow, ClosingTheWindowDuringTheWalkEndsIt) {
    for (int i = 0; i < 20; ++i)
        hosts.Add("X" + std::to_string(i) + "odd");
    console().RefreshView();
    ASSERT_TRUE(QTest::qWaitFor([this] { return silent() > 2; }));
    window.close();
    const int pings = shell.pings;
    QTest::qWait(200);
    EXPECT_LE(shell.pings, pings + 1);
}

} // namespace
