// The main window with a long list of servers, half of them silent.
#include <gmock/gmock.h>

#include <QElapsedTimer>
#include <QTest>
#include <QTreeView>

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

/// Waits as a real ping does, and answers for every second server.
class WaitingShell : public FakeShell {
public:
    WaitingShell(Events& events, kr::Ui& ui) : m_events(events), m_ui(ui) {}
    std::chrono::milliseconds wait{60};
    int pings = 0;

    bool Ping(std::string_view host) override {
        ++pings;
        const bool answers = !host.ends_with("odd");
        const auto end = std::chrono::steady_clock::now() + (answers ? wait / 30 : wait);
        while (std::chrono::steady_clock::now() < end) {
            m_events.Run(std::chrono::milliseconds(10));
            m_ui.DoEvents();
        }
        return answers;
    }

private:
    Events& m_events;
    kr::Ui& m_ui;
};

/// How long the window was silent between two beats of its own.
class Heartbeat {
public:
    Heartbeat() {
        m_since.start();
        QObject::connect(&m_timer, &QTimer::timeout,
                         [this] { m_gaps.push_back(m_since.restart()); });
        m_timer.start(5);
    }
    std::vector<qint64> sorted() const {
        auto gaps = m_gaps;
        std::ranges::sort(gaps);
        return gaps;
    }

private:
    QTimer m_timer;
    QElapsedTimer m_since;
    std::vector<qint64> m_gaps;
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
            hosts.Add("SRV" + number + (i % 2 ? "odd" : ""));
        }
    }
    int silent() {
        int count = 0;
        for (size_t i = 0; i < console().list().Count(); ++i)
            count += console().list().At(i).tag == kServerNoPing;
        return count;
    }
    Console& console() { return window.console(); }

    World world;
    Hosts hosts{world};
    QtUi ui;
    EpollEvents events;
    QtEventsBridge bridge{events};
    WaitingShell shell{events, ui};
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
    Heartbeat beat;
    ASSERT_TRUE(QTest::qWaitFor([this] { return silent() == 100; }, 60000));
    const auto gaps = beat.sorted();
    ASSERT_GT(gaps.size(), 100U);
    const qint64 usual = gaps[gaps.size() * 95 / 100];
    RecordProperty("gap_95", static_cast<int>(usual));
    RecordProperty("gap_longest", static_cast<int>(gaps.back()));
    std::printf("gaps: %zu, 95%%: %lld ms, longest %lld ms\n", gaps.size(),
                static_cast<long long>(usual), static_cast<long long>(gaps.back()));
    EXPECT_LE(usual, 50);
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
