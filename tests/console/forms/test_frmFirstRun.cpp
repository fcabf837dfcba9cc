#include <gtest/gtest.h>

#include <QCloseEvent>
#include <QProgressBar>
#include <QStackedWidget>
#include <QTest>

#include "console/forms/frmFirstRun.h"
#include "core/Settings.h"
#include "tests/support/Modal.h"
#include "tests/support/World.h"

namespace {

using namespace kr;

class frmFirstRunTest : public ::testing::Test {
protected:
    void open() {
        form = std::make_unique<frmFirstRun>(*world.session);
        form->show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(form.get()));
    }
    QLineEdit* box(const char* name) { return control<QLineEdit>(form.get(), name); }
    QPushButton* button(const char* name) { return control<QPushButton>(form.get(), name); }
    void press(const char* name) {
        ASSERT_TRUE(button(name)->isVisible() && button(name)->isEnabled()) << name;
        QTest::mouseClick(button(name), Qt::LeftButton);
    }
    int page() { return control<QStackedWidget>(form.get(), "fraWizard")->currentIndex(); }
    QString title() { return control<QLabel>(form.get(), "lblPage")->text(); }
    void toContactPage() {
        box("txtAlias")->setText("agentbox");
        box("txtExServer")->setText("MAIL01");
        press("cmdNext");
        ASSERT_EQ(page(), 1);
    }
    void toFinishPage() {
        toContactPage();
        box("txtFirstName")->setText("Alice");
        box("txtLastName")->setText("Adams");
        box("txtPrimaryEmail")->setText("alice@example.test");
        press("cmdNext");
        ASSERT_EQ(page(), 2);
    }
    bool agentFoldersExist() {
        auto session = world.OtherSession();
        return session->Stores().DefaultStore()->RootFolder()->Folders()->Item(
                   "zandrelAgentInfo") != nullptr;
    }

    World world;
    std::unique_ptr<frmFirstRun> form;
};

TEST_F(frmFirstRunTest, TheFirstPageProposesTheMachinesMailbox) {
    RegValue value;
    value.type = RegType::Sz;
    value.text = "agentbox";
    world.registry->Write(Hive::LocalMachine, kMachineKey, "ExAlias", value);
    open();
    EXPECT_EQ(form->windowTitle(), "Initialize zandrelAgent");
    EXPECT_EQ(title(), "Dedicated Mailbox");
    EXPECT_EQ(box("txtAlias")->text(), "agentbox");
    EXPECT_TRUE(button("cmdNext")->isDefault());
    EXPECT_FALSE(button("cmdBack")->isEnabled());
    EXPECT_FALSE(button("cmdFinish")->isVisible());
    EXPECT_EQ(form->focusWidget(), box("txtAlias"));
}

TEST_F(frmFirstRunTest, TheMailboxMustBeNamed) {
    open();
    world.ui.Expect("You must provide the Alias and Exchange server name for the zandrelAgent "
                    "mailbox!");
    box("txtAlias")->setText("agentbox");
    press("cmdNext");
    EXPECT_EQ(page(), 0);
    EXPECT_EQ(form->focusWidget(), button("cmdSelectAlias"));
}

TEST_F(frmFirstRunTest, AFailedLogonStaysOnThePage) {
    open();
    box("txtAlias")->setText("nobody");
    box("txtExServer")->setText("MAIL01");
    world.ui.Expect("");
    press("cmdNext");
    EXPECT_EQ(page(), 0);
    EXPECT_EQ(world.ui.boxes().back().text.find("Unable to logon to MAIL01 as nobody\n"), 0U);
    EXPECT_TRUE(button("cmdNext")->isEnabled());
    EXPECT_EQ(form->focusWidget(), button("cmdNext")) << "the pressed button keeps it";
}

TEST_F(frmFirstRunTest, TheContactMustHaveAnotherAddress) {
    open();
    toContactPage();
    EXPECT_EQ(title(), "Primary Contact");
    EXPECT_EQ(form->focusWidget(), box("txtFirstName"));
    world.ui.Expect("You must provide an email address for the primary contact!");
    press("cmdNext");
    EXPECT_EQ(form->focusWidget(), button("cmdSelectContact"));
    EXPECT_EQ(control<QLabel>(form.get(), "lblSMTP")->text(), "agentbox@example.test");
    box("txtPrimaryEmail")->setText("AgentBox@Example.Test");
    world.ui.Expect("The primary contact cannot use the zandrelAgent mailbox address!");
    press("cmdNext");
    EXPECT_EQ(page(), 1);
}

TEST_F(frmFirstRunTest, BackKeepsWhatWasTyped) {
    open();
    toContactPage();
    box("txtFirstName")->setText("Alice");
    press("cmdBack");
    EXPECT_EQ(page(), 0);
    press("cmdNext");
    EXPECT_EQ(box("txtFirstName")->text(), "Alice");
}

TEST_F(frmFirstRunTest, FinishMakesFoldersAndRecords) {
    world.services.states["zandrelAgent"] = SvcState::Stopped;
    open();
    toFinishPage();
    EXPECT_TRUE(button("cmdFinish")->isVisible());
    EXPECT_FALSE(button("cmdNext")->isVisible());
    EXPECT_TRUE(button("cmdFinish")->isDefault());
    EXPECT_TRUE(control<QCheckBox>(form.get(), "chkStartService")->isChecked());
    EXPECT_FALSE(agentFoldersExist());
    press("cmdFinish");
    EXPECT_EQ(form->result(), QDialog::Accepted);
    EXPECT_TRUE(agentFoldersExist());
    EXPECT_EQ(world.services.started.size(), 1U);
    EXPECT_EQ(control<QProgressBar>(form.get(), "pb1")->value(), FirstRunWizard::kSteps);
}

TEST_F(frmFirstRunTest, ARunningServiceIsNotStartedAgain) {
    world.services.states["zandrelAgent"] = SvcState::Running;
    open();
    toFinishPage();
    EXPECT_EQ(control<QLabel>(form.get(), "lblService")->text(),
              "The zandrelAgent service is running");
    EXPECT_FALSE(control<QCheckBox>(form.get(), "chkStartService")->isChecked());
    press("cmdFinish");
    EXPECT_TRUE(world.services.started.empty());
}

TEST_F(frmFirstRunTest, CancelAsksAndWritesNothing) {
    open();
    world.ui.Expect("Do you want to cancel initialization of the zandrelAgent?", BoxAnswer::No);
    press("cmdCancel");
    EXPECT_TRUE(form->isVisible());
    world.ui.Expect("Do you want to cancel initialization of the zandrelAgent?", BoxAnswer::Yes);
    QTest::keyClick(form.get(), Qt::Key_Escape);
    EXPECT_FALSE(form->isVisible());
    EXPECT_EQ(form->result(), QDialog::Rejected);
    EXPECT_TRUE(world.logHas("FirstRun::user canceled initialization"));
    EXPECT_FALSE(agentFoldersExist());
}

TEST_F(frmFirstRunTest, TheTitleBarAsksAsCancelDoes) {
    open();
    for (const BoxAnswer answer : {BoxAnswer::No, BoxAnswer::Yes}) {
        world.ui.Expect("Do you want to cancel initialization of the zandrelAgent?", answer);
        QCloseEvent event;
        QSpontaneKeyEvent::setSpontaneous(&event); // as the window system sends it
        qApp->notify(form.get(), &event);
        EXPECT_EQ(form->isVisible(), answer == BoxAnswer::No);
    }
}

TEST_F(frmFirstRunTest, TheProgramsEndAsksNothing) {
    open();
    EXPECT_TRUE(form->close());
    EXPECT_FALSE(form->isVisible());
    EXPECT_TRUE(world.ui.boxes().empty());
}

TEST_F(frmFirstRunTest, TheContactComesFromTheAddressBook) {
    open();
    toContactPage();
    world.ui.ExpectAddressBook(
        std::vector<PickedRecipient>{{world.Entry("alice")->ID(), "Alice Adams"}});
    press("cmdSelectContact");
    EXPECT_EQ(box("txtPrimaryEmail")->text(), "alice@example.test");
    EXPECT_EQ(box("txtLastName")->text(), "Adams");
    EXPECT_EQ(form->focusWidget(), button("cmdSelectContact")) << "the focus comes back";
}

} // namespace
