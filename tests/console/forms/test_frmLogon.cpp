#include <gtest/gtest.h>

#include <QTest>

#include "console/forms/frmLogon.h"
#include "core/Settings.h"
#include "tests/support/Modal.h"
#include "tests/support/World.h"

namespace {

using namespace kr;

class frmLogonTest : public ::testing::Test {
protected:
    void open() {
        form = std::make_unique<frmLogon>(*world.session);
        form->show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(form.get()));
    }
    QLineEdit* server() { return control<QLineEdit>(form.get(), "txtServer"); }
    QLineEdit* alias() { return control<QLineEdit>(form.get(), "txtAlias"); }
    QComboBox* profiles() { return control<QComboBox>(form.get(), "cboProfile"); }
    QCheckBox* useProfile() { return control<QCheckBox>(form.get(), "chkProfile"); }
    QPushButton* ok() { return control<QPushButton>(form.get(), "cmdOK"); }
    void setMachine(const char* name, const char* text) {
        RegValue value;
        value.type = RegType::Sz;
        value.text = text;
        world.registry->Write(Hive::LocalMachine, kMachineKey, name, value);
    }
    void click(QWidget* widget) { QTest::mouseClick(widget, Qt::LeftButton, {}, QPoint(8, 8)); }

    World world;
    std::unique_ptr<frmLogon> form;
};

TEST_F(frmLogonTest, ShowsTheSessionsData) {
    world.session->ExServer = "MAIL01";
    world.session->ExAlias = "agentbox";
    open();
    EXPECT_EQ(form->windowTitle(), "Mailbox Logon");
    EXPECT_EQ(server()->text(), "MAIL01");
    EXPECT_EQ(alias()->text(), "agentbox");
    EXPECT_FALSE(useProfile()->isChecked());
    EXPECT_FALSE(profiles()->isEnabled());
    EXPECT_EQ(profiles()->currentIndex(), -1);
    EXPECT_TRUE(ok()->isEnabled());
    EXPECT_EQ(form->focusWidget(), server());
}

TEST_F(frmLogonTest, ProposesTheMachinesMailbox) {
    setMachine("ExServer", " MAIL02 ");
    setMachine("ExAlias", "agent");
    open();
    EXPECT_EQ(server()->text(), "MAIL02");
    EXPECT_EQ(alias()->text(), "agent");
}

TEST_F(frmLogonTest, OkFollowsTheActiveFields) {
    open();
    EXPECT_FALSE(ok()->isEnabled());
    QTest::keyClicks(server(), "MAIL01");
    EXPECT_FALSE(ok()->isEnabled());
    QTest::keyClicks(alias(), "agentbox");
    EXPECT_TRUE(ok()->isEnabled());
    click(useProfile());
    EXPECT_FALSE(ok()->isEnabled());
    EXPECT_TRUE(server()->text().isEmpty());
    EXPECT_TRUE(alias()->text().isEmpty());
    EXPECT_FALSE(server()->isEnabled());
    EXPECT_FALSE(alias()->isEnabled());
    EXPECT_TRUE(profiles()->isEnabled());
    ASSERT_EQ(profiles()->count(), 1);
    profiles()->setFocus();
    QTest::keyClick(profiles(), Qt::Key_Down);
    EXPECT_TRUE(ok()->isEnabled());
    click(useProfile());
    EXPECT_FALSE(profiles()->isEnabled());
    EXPECT_EQ(profiles()->currentIndex(), -1);
    EXPECT_TRUE(server()->isEnabled());
    EXPECT_FALSE(ok()->isEnabled());
}

TEST_F(frmLogonTest, OkTakesServerAndAlias) {
    world.session->Profile = "former";
    open();
    QTest::keyClicks(server(), " MAIL01 ");
    QTest::keyClicks(alias(), "agentbox");
    QTest::keyClick(alias(), Qt::Key_Return);
    EXPECT_EQ(form->result(), QDialog::Accepted);
    EXPECT_EQ(world.session->ExServer, "MAIL01");
    EXPECT_EQ(world.session->ExAlias, "agentbox");
    EXPECT_EQ(world.session->Profile, "");
}

TEST_F(frmLogonTest, OkTakesAProfile) {
    world.session->ExServer = "MAIL01";
    world.session->ExAlias = "agentbox";
    open();
    click(useProfile());
    profiles()->setCurrentIndex(0);
    const std::string profile = profiles()->currentText().toStdString();
    click(ok());
    EXPECT_FALSE(form->isVisible());
    EXPECT_FALSE(profile.empty());
    EXPECT_EQ(world.session->Profile, profile);
    EXPECT_EQ(world.session->ExServer, "");
    EXPECT_EQ(world.session->ExAlias, "");
    open();
    EXPECT_TRUE(useProfile()->isChecked());
    EXPECT_EQ(profiles()->currentText().toStdString(), profile);
    EXPECT_EQ(form->focusWidget(), profiles());
}

TEST_F(frmLogonTest, AProfileThatIsGoneIsNotSelected) {
    world.session->Profile = "no such profile";
    open();
    EXPECT_FALSE(useProfile()->isChecked());
    EXPECT_EQ(profiles()->currentIndex(), -1);
}

TEST_F(frmLogonTest, BlanksAreNoInput) {
    open();
    QTest::keyClicks(server(), "  ");
    QTest::keyClicks(alias(), "agentbox");
    world.ui.Expect("You must enter the server name.");
    click(ok());
    EXPECT_TRUE(form->isVisible());
    EXPECT_EQ(form->focusWidget(), server());
    server()->setText("MAIL01");
    alias()->setText(" ");
    world.ui.Expect("You must enter the mailbox alias.");
    click(ok());
    EXPECT_EQ(form->focusWidget(), alias());
    EXPECT_EQ(world.ui.boxes().back().title, "zandrelAgent Administrator");
    EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Exclamation);
    EXPECT_EQ(world.session->ExServer, "");
}

TEST_F(frmLogonTest, CancelLeavesTheSession) {
    world.session->ExServer = "MAIL01";
    world.session->ExAlias = "agentbox";
    open();
    server()->setText("OTHER");
    QTest::keyClick(form.get(), Qt::Key_Escape);
    EXPECT_EQ(form->result(), QDialog::Rejected);
    EXPECT_EQ(world.session->ExServer, "MAIL01");
}

} // namespace
