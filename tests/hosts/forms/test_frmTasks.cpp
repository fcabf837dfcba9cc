#include "hosts/forms/frmTasks.h"

#include <gmock/gmock.h>

#include <QHeaderView>
#include <QTest>
#include <QTreeView>

#include "core/basDate.h"
#include "hosts/forms/MakeHostForms.h"
#include "platform/ui/qt/QtUi.h"
#include "tests/hosts/HostTest.h"
#include "tests/support/Modal.h"

namespace {

using namespace kr;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class frmTasksTest : public ::testing::Test {
protected:
    frmTasksTest() {
        world.LogOnConfigured();
        id = hosts.Add("SRVA");
        agent = world.OtherSession(); // another program
        put("EPS UpdateClients", true);
    }
    /// What the agent writes.
    void put(std::string_view name, const Value& value) {
        auto host = agent->GetMessageFromID(id, {});
        SetKey(*host, name, value);
        host->Save();
    }
    void open(bool runs = true) {
        running = runs;
        form = std::make_unique<frmTasks>(
            *world.session, id, "SRVA", [this] { return running; }, [this] { ++refreshed; });
        form->show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(form.get()));
        ASSERT_TRUE(QTest::qWaitFor([this] { return refreshed > 0; }));
    }
    QString label() { return control<QLabel>(form.get(), "lblCurrent")->text(); }
    QPushButton* abort() { return control<QPushButton>(form.get(), "cmdAbort"); }
    QTimer* timer(const char* name) {
        auto* found = form->findChild<QTimer*>(name);
        EXPECT_NE(found, nullptr) << name;
        return found;
    }
    Names cells() {
        Names all;
        auto* model = control<QTreeView>(form.get(), "lvwTasks")->model();
        for (int r = 0; r < model->rowCount(); ++r)
            for (int c = 0; c < model->columnCount(); ++c)
                all.push_back(ToUtf8(model->index(r, c).data().toString()));
        return all;
    }
    bool waitFor(const std::function<bool()>& condition) { return QTest::qWaitFor(condition); }
    using Sent = FakeServices::Sent;

    World world;
    Hosts hosts{world};
    EntryID id;
    RDOSessionPtr agent;
    std::unique_ptr<frmTasks> form;
    int refreshed = 0;
    bool running = true;
};

TEST_F(frmTasksTest, ShowsTheJobsAndNoTask) {
    put("LastClientUpdate", LocalToUTC(at(2026, 3, 9, 18, 5), world.clock));
    open();
    EXPECT_EQ(form->windowTitle(), "Server Tasks");
    EXPECT_THAT(cells(), ElementsAre("EPS", "3/9/2026 6:05 PM", "Not scheduled"));
    EXPECT_EQ(label(), "Current Task: None");
    EXPECT_EQ(abort()->text(), "&Abort Task");
    EXPECT_FALSE(abort()->isEnabled());
    EXPECT_EQ(control<QPushButton>(form.get(), "cmdClose")->text(), "&Close");
    EXPECT_EQ(control<QLabel>(form.get(), "lblServer")->text(), "SRVA");
    EXPECT_FALSE(timer("tmrUnload")->isActive());
    EXPECT_EQ(timer("tmrUnload")->interval(), 20000);
    EXPECT_EQ(timer("tmrRefresh")->interval(), 500);
}

TEST_F(frmTasksTest, HasItsColumns) {
    open(false);
    EXPECT_EQ(control<QLabel>(form.get(), "lblServer")->text(),
              "SRVA (the service is not running)");
    auto* list = control<QTreeView>(form.get(), "lvwTasks");
    Names titles;
    for (int c = 0; c < 3; ++c)
        titles.push_back(ToUtf8(list->model()->headerData(c, Qt::Horizontal).toString()));
    EXPECT_THAT(titles, ElementsAre("Task", "Last Run", "Next Run"));
    const int half = list->viewport()->width() / 2;
    EXPECT_EQ(list->header()->sectionSize(1), list->header()->sectionSize(2));
    EXPECT_LT(list->header()->sectionSize(1), half);
    EXPECT_GT(list->header()->sectionSize(1), half / 2);
    EXPECT_EQ(list->header()->length(), list->viewport()->width());
}

TEST_F(frmTasksTest, HearsWhatTheAgentWrites) {
    open();
    const int before = refreshed;
    put("CurrentTask", "EPS");
    put("CurrentSubTask", "Updating contacts");
    put("CurrentTarget", "alice@example.test");
    put("PercentComplete", int32_t{42});
    ASSERT_TRUE(waitFor([this] { return timer("tmrRefresh")->isActive(); }));
    EXPECT_EQ(label(), "Current Task: None"); // not at once
    ASSERT_TRUE(waitFor([this] { return label() != "Current Task: None"; }));
    EXPECT_EQ(label(), "Current Task: EPS - Updating contacts\n"
                       "          alice@example.test 42% Complete");
    EXPECT_EQ(abort()->text(), "&Abort EPS");
    EXPECT_TRUE(abort()->isEnabled());
    EXPECT_GT(refreshed, before);        // the row in the list
    put("PercentComplete", int32_t{43}); // and the next change
    EXPECT_TRUE(waitFor([this] { return label().contains("43%"); }));
}

TEST_F(frmTasksTest, TellsOfAServiceThatHasDiedDuringItsTask) {
    put("CurrentTask", "EPS");
    open();
    auto* server = control<QLabel>(form.get(), "lblServer");
    EXPECT_EQ(server->text(), "SRVA");
    running = false; // and nobody clears its task
    EXPECT_TRUE(waitFor([&] { return server->text() == "SRVA (the service is not running)"; }));
    EXPECT_TRUE(label().startsWith("Current Task: EPS"));
    running = true;
    EXPECT_TRUE(waitFor([&] { return server->text() == "SRVA"; }));
}

TEST_F(frmTasksTest, OtherRecordsAreNoNews) {
    const EntryID other = hosts.Add("SRVB");
    open();
    auto message = agent->GetMessageFromID(other, {});
    SetKey(*message, "CurrentTask", "EPS");
    message->Save();
    EXPECT_FALSE(QTest::qWaitFor([this] { return timer("tmrRefresh")->isActive(); }, 700));
}

TEST_F(frmTasksTest, ClosesByItselfWhenTheTaskHasEnded) {
    put("CurrentTask", "EPS");
    open();
    EXPECT_FALSE(timer("tmrUnload")->isActive());
    put("CurrentTask", "");
    ASSERT_TRUE(waitFor([this] { return timer("tmrUnload")->isActive(); }));
    EXPECT_EQ(timer("tmrUnload")->interval(), 20000);
    EXPECT_FALSE(abort()->isEnabled());
    put("CurrentTask", "SSU"); // another one begins
    ASSERT_TRUE(waitFor([this] { return !timer("tmrUnload")->isActive(); }));
    put("CurrentTask", "");
    ASSERT_TRUE(waitFor([this] { return timer("tmrUnload")->isActive(); }));
    timer("tmrUnload")->setInterval(1);
    EXPECT_TRUE(waitFor([this] { return !form->isVisible(); }));
}

TEST_F(frmTasksTest, AbortSendsTheCodeAndClosesSoon) {
    put("CurrentTask", "EPS");
    open();
    QTest::mouseClick(abort(), Qt::LeftButton);
    EXPECT_THAT(world.services.sent, ElementsAre(Sent{"SRVA", "zandrelAgent", 210}));
    EXPECT_FALSE(abort()->isEnabled());
    EXPECT_TRUE(timer("tmrUnload")->isActive());
    EXPECT_EQ(timer("tmrUnload")->interval(), 5000);
    // nothing is rebuilt any more
    const int before = refreshed;
    put("CurrentTask", "");
    form->ShowTasks();
    EXPECT_FALSE(QTest::qWaitFor([this] { return timer("tmrRefresh")->isActive(); }, 500));
    EXPECT_EQ(refreshed, before);
    EXPECT_TRUE(label().startsWith("Current Task: EPS"));
    timer("tmrUnload")->setInterval(1);
    EXPECT_TRUE(waitFor([this] { return !form->isVisible(); }));
    EXPECT_FALSE(timer("tmrPoll")->isActive());
    EXPECT_FALSE(timer("tmrRefresh")->isActive());
}

TEST_F(frmTasksTest, AbortReachesAnAgentThatHasJustBecomeIdle) {
    put("CurrentTask", "EPS");
    open();
    put("CurrentTask", ""); // the form doesn't know yet
    QTest::keyClick(form.get(), Qt::Key_A, Qt::AltModifier);
    EXPECT_TRUE(waitFor([this] { return !world.services.sent.empty(); }));
    EXPECT_EQ(timer("tmrUnload")->interval(), 5000);
}

TEST_F(frmTasksTest, AServerThatCannotBeReadLooksIdle) {
    put("CurrentTask", "EPS");
    open();
    EXPECT_TRUE(abort()->isEnabled());
    hosts.Open(id)->Delete();
    form->ShowTasks();
    EXPECT_EQ(label(), "Current Task: None");
    EXPECT_FALSE(abort()->isEnabled());
    EXPECT_TRUE(timer("tmrUnload")->isActive());
}

TEST_F(frmTasksTest, TheRowsRefreshDoesNotRebuildBelowItself) {
    int depth = 0;
    int deepest = 0;
    form = std::make_unique<frmTasks>(
        *world.session, id, "SRVA", [] { return true; },
        [&] {
            deepest = std::max(deepest, ++depth);
            form->ShowTasks();
            --depth;
            ++refreshed;
        });
    form->show();
    ASSERT_TRUE(waitFor([this] { return refreshed > 0; }));
    EXPECT_EQ(deepest, 1);
}

TEST_F(frmTasksTest, ATaskNameWithAnAmpersandIsShownAsItIs) {
    put("CurrentTask", "R & D");
    open();
    EXPECT_EQ(abort()->text(), "&Abort R && D");
    EXPECT_TRUE(label().startsWith("Current Task: R & D - "));
}

TEST_F(frmTasksTest, CloseAndEscapeEndItsTimers) {
    open();
    QTest::mouseClick(control<QPushButton>(form.get(), "cmdClose"), Qt::LeftButton);
    EXPECT_FALSE(form->isVisible());
    EXPECT_FALSE(timer("tmrPoll")->isActive());
    refreshed = 0;
    open();
    QTest::keyClick(form.get(), Qt::Key_Escape);
    EXPECT_FALSE(form->isVisible());
    EXPECT_THAT(world.services.sent, IsEmpty());
}

TEST_F(frmTasksTest, AStoreThatHasGoneEndsThePolling) {
    open();
    world.session->rdo.reset();
    EXPECT_TRUE(QTest::qWaitFor([this] { return form->isVisible(); }, 600));
    form->ShowTasks();
    EXPECT_EQ(label(), "Current Task: None");
}

TEST_F(frmTasksTest, RunsAsADialogOfTheConsole) {
    const HostForms forms = MakeHostForms(*world.session, [] { return nullptr; });
    whenModal("frmTasks", [](QWidget* shown) {
        QTest::mouseClick(control<QPushButton>(shown, "cmdClose"), Qt::LeftButton);
    });
    forms.frmTasks(
        id, "SRVA", [] { return true; }, [this] { ++refreshed; });
}

} // namespace
