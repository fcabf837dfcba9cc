#include "hosts/forms/frmServiceStatus.h"

#include <gmock/gmock.h>

#include <QProgressBar>
#include <QTest>

#include "hosts/forms/MakeHostForms.h"
#include "tests/hosts/HostTest.h"
#include "tests/support/Modal.h"

namespace {

using namespace kr;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Answers that the test gives when it likes.
class HeldServices : public FakeServices {
public:
    bool hold = false;
    std::vector<std::function<void(SvcState, const std::string&)>> held;
    int queries = 0;
    void Query(std::string_view host, std::string_view service,
               std::function<void(SvcState, const std::string&)> done) override {
        ++queries;
        if (hold)
            held.push_back(std::move(done));
        else
            FakeServices::Query(host, service, std::move(done));
    }
};

class frmServiceStatusTest : public ::testing::Test {
protected:
    frmServiceStatusTest()
        : platform{*world.store, *world.registry, world.ui,    *world.events,
                   services,     world.directory, world.shell, world.database,
                   world.http,   world.secrets,   world.clock},
          session(platform, world.logPath()) {}
    void open(SvcState target, const char* caption = "Waiting for service to stop..") {
        form = std::make_unique<frmServiceStatus>(session, "\\\\SRVA", target, caption);
        form->show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(form.get()));
        ASSERT_NE(timer(), nullptr);
        EXPECT_EQ(timer()->interval(), 250);
        timer()->setInterval(1000000); // the test ticks
    }
    QTimer* timer() { return form->findChild<QTimer*>("StatusTimer"); }
    void ticks(int count) {
        for (int i = 0; i < count && timer()->isActive(); ++i) {
            QTimerEvent tick(timer()->timerId());
            QCoreApplication::sendEvent(timer(), &tick);
        }
    }
    void state(SvcState now) { services.states["zandrelAgent"] = now; }

    World world;
    HeldServices services;
    Platform platform;
    AgentSession session;
    std::unique_ptr<frmServiceStatus> form;
};

TEST_F(frmServiceStatusTest, LooksAsItShould) {
    open(SvcState::Running, "Waiting for service to start..");
    EXPECT_EQ(control<QLabel>(form.get(), "Label1")->text(), "Waiting for service to start..");
    EXPECT_EQ(control<QPushButton>(form.get(), "cmdCancel")->text(), "Cancel");
    EXPECT_EQ(control<QProgressBar>(form.get(), "pb1")->maximum(), 100);
}

TEST_F(frmServiceStatusTest, TheBarCountsAndBeginsAnew) {
    state(SvcState::StopPending);
    open(SvcState::Stopped);
    auto* bar = control<QProgressBar>(form.get(), "pb1");
    ticks(7);
    EXPECT_EQ(bar->value(), 7);
    ticks(93);
    EXPECT_EQ(bar->value(), 100);
    ticks(3);
    EXPECT_EQ(bar->value(), 3);
    EXPECT_EQ(services.queries, 5); // every five seconds
}

TEST_F(frmServiceStatusTest, EndsWhenTheServiceHasStopped) {
    state(SvcState::Running);
    open(SvcState::Stopped);
    ticks(25);
    EXPECT_TRUE(form->isVisible());
    state(SvcState::Stopped);
    ticks(14);
    EXPECT_TRUE(form->isVisible()); // not read yet
    ticks(1);
    EXPECT_FALSE(form->isVisible());
    EXPECT_FALSE(timer()->isActive());
    EXPECT_TRUE(world.logHas("frmServiceStatus::Timer: Target=Stopped & CurrentState=Stopped"));
}

TEST_F(frmServiceStatusTest, EndsWhenTheServiceRuns) {
    state(SvcState::StartPending);
    open(SvcState::Running);
    ticks(20);
    EXPECT_TRUE(form->isVisible());
    state(SvcState::Running);
    ticks(20);
    EXPECT_FALSE(form->isVisible());
    EXPECT_TRUE(world.logHas("frmServiceStatus::Timer: Target=Running & CurrentState=Running"));
}

TEST_F(frmServiceStatusTest, KillsInTheThirdCycle) {
    state(SvcState::StopPending);
    services.processes = {"SRVA/zagent.exe"};
    open(SvcState::Stopped);
    ticks(200); // fifty seconds
    EXPECT_THAT(services.killed, IsEmpty());
    ticks(19);
    EXPECT_THAT(services.killed, IsEmpty());
    ticks(1);
    EXPECT_THAT(services.killed, ElementsAre("SRVA/zagent.exe"));
    EXPECT_FALSE(form->isVisible());
    EXPECT_TRUE(world.logHas("frmServiceStatus::Timer:Calling KillAgent after 3 cycles"));
}

TEST_F(frmServiceStatusTest, GoesOnWhenThereIsNothingToKill) {
    state(SvcState::StopPending);
    open(SvcState::Stopped);
    ticks(320);
    EXPECT_TRUE(form->isVisible());
    EXPECT_TRUE(world.logHas("Calling KillAgent after 4 cycles"));
    state(SvcState::Paused);
    ticks(20);
    EXPECT_FALSE(form->isVisible());
}

TEST_F(frmServiceStatusTest, NeverKillsWhatIsToRun) {
    state(SvcState::Stopped);
    services.processes = {"SRVA/zagent.exe"};
    open(SvcState::Running);
    ticks(400);
    EXPECT_THAT(services.killed, IsEmpty());
    EXPECT_TRUE(form->isVisible());
}

TEST_F(frmServiceStatusTest, CancelAndEscapeStopTheWaitAlone) {
    for (const bool escape : {false, true}) {
        state(SvcState::StopPending);
        open(SvcState::Stopped);
        if (escape)
            QTest::keyClick(form.get(), Qt::Key_Escape);
        else
            QTest::mouseClick(control<QPushButton>(form.get(), "cmdCancel"), Qt::LeftButton);
        EXPECT_FALSE(form->isVisible());
        EXPECT_FALSE(timer()->isActive());
    }
    EXPECT_THAT(services.sent, IsEmpty());
    EXPECT_THAT(services.killed, IsEmpty());
}

TEST_F(frmServiceStatusTest, ASlowAnswerIsAskedForOnce) {
    services.hold = true;
    open(SvcState::Stopped);
    ticks(60);
    EXPECT_EQ(services.queries, 1);
    services.held.front()(SvcState::StopPending, "");
    ticks(20);
    EXPECT_EQ(services.queries, 2);
    services.held.back()(SvcState::Stopped, "");
    EXPECT_FALSE(form->isVisible());
}

TEST_F(frmServiceStatusTest, AnAnswerAfterTheEndIsNotHeard) {
    services.hold = true;
    open(SvcState::Stopped);
    ticks(20);
    form->reject();
    services.held.front()(SvcState::Stopped, "");
    EXPECT_FALSE(world.logHas("frmServiceStatus::Timer"));
    open(SvcState::Stopped);
    ticks(20);
    form.reset();
    services.held.back()(SvcState::Stopped, ""); // and of a dialog that has gone
}

TEST_F(frmServiceStatusTest, RunsAsADialogOfTheConsole) {
    state(SvcState::Stopped);
    const HostForms forms = MakeHostForms(session, [] { return nullptr; });
    whenModal("frmServiceStatus",
              [](QWidget* shown) { shown->findChild<QTimer*>("StatusTimer")->setInterval(1); });
    forms.frmServiceStatus("\\\\SRVA", SvcState::Stopped, "Waiting for service to stop..");
    EXPECT_EQ(services.queries, 1);
}

} // namespace
