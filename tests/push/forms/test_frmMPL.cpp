#include <gtest/gtest.h>

#include <QListWidget>
#include <QPlainTextEdit>
#include <QTest>
#include <QToolButton>

#include "push/forms/MakePushForms.h"
#include "push/forms/frmMPL.h"
#include "push/forms/frmPushResult.h"
#include "tests/push/PushWorld.h"
#include "tests/support/Modal.h"

namespace {

using namespace kr;

constexpr const char* kTyped = "<LaunchZPA>x</LaunchZPA>";
const QString kWhole =
    QStringLiteral(R"(<?xml version="1.0" encoding="utf-8" ?>)"
                   R"(<string xmlns="http://zandrel.org/IPL"><LaunchZPA>x</LaunchZPA></string>)");

class frmMPLTest : public ::testing::Test {
protected:
    void open(const EntryID& list = {}) {
        form = std::make_unique<frmMPL>(*world.session, world.tree, list);
        form->show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(form.get()));
    }
    template <class T>
    T* at(const char* name) {
        return control<T>(form.get(), name);
    }
    void name(const char* text) {
        at<QLineEdit>("txtName")->clear();
        QTest::keyClicks(at<QLineEdit>("txtName"), text);
    }
    void payload(const char* text) {
        at<QPlainTextEdit>("txtPayload")->clear();
        QTest::keyClicks(at<QPlainTextEdit>("txtPayload"), text);
    }
    QString shown() { return at<QPlainTextEdit>("txtPayload")->toPlainText(); }
    void press(const char* button) { QTest::mouseClick(at<QPushButton>(button), Qt::LeftButton); }
    void chooseAlice() {
        world.ui.ExpectAddressBook({{{world.Entry("Alice Adams")->ID(), "Alice Adams"}}});
        press("cmdTarget");
    }
    RDOMessagePtr stored() { return GetMessage(*world.session, form->saved()); }
    EntryID saveOne() {
        open();
        name("Alarm");
        payload(kTyped);
        chooseAlice();
        press("cmdOK");
        return form->saved();
    }
    /// Presses the push button and reads the window of the push when it has ended.
    QString push() {
        QString results;
        whenModal("frmPushResult", [&](QWidget* window) {
            auto* close = control<QPushButton>(window, "cmdCancel");
            EXPECT_TRUE(QTest::qWaitFor([&] { return close->text() == "Close"; }));
            results = control<QPlainTextEdit>(window, "txtResult")->toPlainText();
            QTest::mouseClick(close, Qt::LeftButton);
        });
        press("cmdPush");
        return results;
    }
    PushWorld world;
    std::unique_ptr<frmMPL> form;
};

TEST_F(frmMPLTest, SavesANewList) {
    open();
    EXPECT_EQ(form->windowTitle(), "EPS - Mandatory Push List");
    EXPECT_TRUE(at<QLineEdit>("txtName")->hasFocus());
    name("Alarm");
    payload(kTyped);
    chooseAlice();
    EXPECT_EQ(world.ui.toLabels().back(), "List");
    ASSERT_EQ(at<QListWidget>("lstTarget")->count(), 1);
    EXPECT_EQ(at<QListWidget>("lstTarget")->item(0)->text(), "Alice Adams");
    press("cmdOK");
    EXPECT_FALSE(form->isVisible());
    ASSERT_FALSE(form->saved().empty());
    EXPECT_EQ(stored()->Subject(), "Alarm");
    EXPECT_EQ(QString::fromStdString(KeyText(*stored(), "MPL.Payload")), kWhole);
    EXPECT_EQ(KeyText(*stored(), "MPL.Target"), "Alice Adams");
    EXPECT_EQ(KeyText(*stored(), "MPL.Target.Email"), "alice@example.test");
    EXPECT_EQ(KeyNumber(*stored(), "MPL.Target.Count", 0), 1);
}

TEST_F(frmMPLTest, OnlyAChangeIsSaved) {
    const EntryID id = saveOne();
    open(id);
    EXPECT_EQ(at<QLineEdit>("txtName")->text(), "Alarm");
    EXPECT_EQ(shown(), kWhole);
    press("cmdOK");
    EXPECT_FALSE(form->isVisible());
    EXPECT_TRUE(form->saved().empty()) << "nothing has changed";
    open(id);
    name("Other");
    press("cmdCancel");
    EXPECT_TRUE(form->saved().empty());
    EXPECT_EQ(GetMessage(*world.session, id)->Subject(), "Alarm");
    open(id);
    name("Other");
    press("cmdOK");
    EXPECT_EQ(form->saved(), id);
    EXPECT_EQ(stored()->Subject(), "Other");
}

TEST_F(frmMPLTest, RefusalsGoToTheirField) {
    open();
    world.ui.Expect("You must provide a unique name for this Mandatory Push List");
    press("cmdOK");
    EXPECT_TRUE(at<QLineEdit>("txtName")->hasFocus());
    name("Alarm");
    payload("plain");
    world.ui.Expect("");
    world.ui.Expect("You must supply a valid Payload for this list");
    press("cmdOK");
    EXPECT_TRUE(at<QPlainTextEdit>("txtPayload")->hasFocus());
    EXPECT_EQ(shown(), "plain");
    payload(kTyped);
    world.ui.Expect("You must select at least one name or distribution list as the Target");
    press("cmdOK");
    EXPECT_TRUE(at<QPushButton>("cmdTarget")->hasFocus());
    EXPECT_TRUE(form->isVisible());
    press("cmdCancel");
    EXPECT_TRUE(form->saved().empty());
}

TEST_F(frmMPLTest, ATakenNameIsRefused) {
    saveOne();
    open();
    name("alarm");
    world.ui.Expect("'alarm' is already in use.\r\nPlease provide a different name");
    press("cmdOK");
    EXPECT_TRUE(at<QLineEdit>("txtName")->hasFocus());
}

TEST_F(frmMPLTest, ValidateShowsTheWholePayload) {
    open();
    world.ui.Expect("No payload to validate!");
    press("cmdValidate");
    payload("<LaunchZPA>");
    world.ui.Expect("");
    press("cmdValidate");
    EXPECT_EQ(shown(), "<LaunchZPA>");
    payload(kTyped);
    world.ui.Expect("Payload is valid!");
    press("cmdValidate");
    EXPECT_EQ(shown(), kWhole);
    world.ui.Expect("Payload is valid!");
    press("cmdValidate");
    EXPECT_EQ(shown(), kWhole) << "it is complete already";
}

TEST_F(frmMPLTest, TargetsAreTakenOutAndExpanded) {
    open();
    EXPECT_FALSE(at<QPushButton>("cmdDelTarget")->isEnabled());
    EXPECT_FALSE(at<QPushButton>("cmdDetails")->isEnabled());
    EXPECT_EQ(at<QPushButton>("cmdDetails")->toolTip(),
              "Fully expand distribution lists to show all members");
    world.ui.ExpectAddressBook({{{world.Entry("Sales")->ID(), "Sales"},
                                 {world.Entry("Alice Adams")->ID(), "Alice Adams"}}});
    press("cmdTarget");
    QString title, count;
    whenModal("frmDetails", [&](QWidget* window) {
        EXPECT_TRUE(QTest::qWaitFor(
            [&] { return control<QLabel>(window, "lblCount")->text() != "Count: 0"; }));
        title = window->windowTitle();
        count = control<QLabel>(window, "lblCount")->text();
        window->close();
    });
    press("cmdDetails");
    EXPECT_EQ(title, "Members");
    EXPECT_EQ(count, "Count: 3");
    at<QListWidget>("lstTarget")->setCurrentRow(0);
    press("cmdDelTarget");
    ASSERT_EQ(at<QListWidget>("lstTarget")->count(), 1);
    EXPECT_EQ(at<QListWidget>("lstTarget")->item(0)->text(), "Alice Adams");
}

TEST_F(frmMPLTest, PushNowSavesAndPushes) {
    open();
    world.ui.Expect("You must give the list a name before it can be pushed!");
    press("cmdPush");
    EXPECT_TRUE(at<QLineEdit>("txtName")->hasFocus());
    name("Alarm");
    payload(kTyped);
    chooseAlice();
    world.http.sent.clear();
    EXPECT_EQ(push(), "Alice: message was sent to push server\n"
                      "Successfully pushed Alarm to 1 targets");
    ASSERT_EQ(world.http.sent.size(), 1U);
    EXPECT_EQ(QString::fromStdString(world.http.sent[0].body), kWhole);
    EXPECT_EQ(shown(), kWhole);
    EXPECT_TRUE(form->isVisible());
    const EntryID id = form->saved();
    ASSERT_FALSE(id.empty());
    EXPECT_EQ(stored()->Subject(), "Alarm");
    EXPECT_FALSE(GetKey(*stored(), "MPL.LastPushDate").empty());
    press("cmdOK");
    EXPECT_FALSE(form->isVisible()) << "nothing has changed since";
    EXPECT_EQ(form->saved(), id) << "the list shows its push";
}

TEST_F(frmMPLTest, ARefusedListIsNotPushed) {
    open();
    name("Alarm");
    payload(kTyped);
    world.http.sent.clear();
    world.ui.Expect("You must select at least one name or distribution list as the Target");
    press("cmdPush");
    EXPECT_TRUE(world.http.sent.empty());
    EXPECT_TRUE(form->saved().empty());
}

TEST_F(frmMPLTest, AnUnchangedListIsPushedAsItIs) {
    const EntryID id = saveOne();
    open(id);
    world.http.sent.clear();
    push();
    EXPECT_EQ(world.http.sent.size(), 1U);
    EXPECT_EQ(form->saved(), id);
    press("cmdCancel");
    EXPECT_EQ(form->saved(), id);
}

TEST_F(frmMPLTest, HelpTells) {
    open();
    QTest::mouseClick(at<QToolButton>("imgPopup0"), Qt::LeftButton);
    QTest::mouseClick(at<QToolButton>("imgPopup1"), Qt::LeftButton);
    const auto& texts = world.ui.popups();
    ASSERT_EQ(texts.size(), 2U);
    EXPECT_EQ(texts[0], "Enter the XML payload that will be pushed to the target handhelds");
    EXPECT_EQ(texts[1],
              "Select the handheld users who will receive the push notification. You can select "
              "individidual mailboxes and distribution lists, but only those users with a handheld "
              "on a push-enabled server will get the payload.");
}

TEST_F(frmMPLTest, AListThatIsGoneOpensNoDialog) {
    const EntryID id = saveOne();
    stored()->Delete();
    world.ui.Expect("There is a problem accessing the list");
    world.ui.Expect("There is a problem accessing the list");
    open(id);
    EXPECT_FALSE(at<QPushButton>("cmdOK")->isEnabled());
    EXPECT_FALSE(at<QPushButton>("cmdPush")->isEnabled());
    form->close();
    const PushForms forms =
        MakePushForms(*world.session, world.tree, [] { return static_cast<QWidget*>(nullptr); });
    EXPECT_TRUE(forms.frmMPL(id).empty());
}

} // namespace
