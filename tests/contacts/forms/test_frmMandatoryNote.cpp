#include <gtest/gtest.h>

#include <QListWidget>
#include <QPlainTextEdit>
#include <QTest>
#include <QToolButton>

#include "contacts/basNotes.h"
#include "contacts/forms/frmMandatoryNote.h"
#include "core/basStore.h"
#include "tests/support/FailingWorld.h"
#include "tests/support/Modal.h"
#include "tests/support/World.h"

namespace {

using namespace kr;

class frmMandatoryNoteTest : public ::testing::Test {
protected:
    frmMandatoryNoteTest() {
        world.LogOnConfigured();
        note = SaveNote(*world.session, {},
                        {"One\ntwo", "Alice Adams;Sales", "alice@example.test;sales@example.test"});
    }
    void open(const EntryID& id, AgentSession* session = nullptr) {
        form = std::make_unique<frmMandatoryNote>(session ? *session : *world.session, id);
        form->show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(form.get()));
    }
    QPlainTextEdit* text() { return control<QPlainTextEdit>(form.get(), "txtText"); }
    QListWidget* target() { return control<QListWidget>(form.get(), "lstTarget"); }
    QString label() { return control<QLabel>(form.get(), "lblText")->text(); }
    void press(const char* button) {
        QTest::mouseClick(control<QPushButton>(form.get(), button), Qt::LeftButton);
    }
    PickedRecipient picked(std::string_view name) {
        return {world.Entry(name)->ID(), std::string(name)};
    }
    std::string body(const EntryID& id) { return GetMessage(*world.session, id)->Body(); }
    int count() { return GetNotesFolder(*world.session)->Items()->Count(); }

    World world;
    EntryID note;
    std::unique_ptr<frmMandatoryNote> form;
};

TEST_F(frmMandatoryNoteTest, ShowsANote) {
    open(note);
    EXPECT_EQ(form->windowTitle(), "EPS - Mandatory Note");
    EXPECT_EQ(text()->toPlainText(), "One\ntwo");
    EXPECT_EQ(label(), "&Text (7 characters)");
    ASSERT_EQ(target()->count(), 2);
    EXPECT_EQ(target()->item(1)->text(), "Sales");
    EXPECT_EQ(form->focusWidget(), text());
    EXPECT_EQ(control<QPushButton>(form.get(), "cmdTarget")->text(), "Se&lect...");
    EXPECT_EQ(control<QPushButton>(form.get(), "cmdDelTarget")->text(), "Dele&te");
}

TEST_F(frmMandatoryNoteTest, TheLengthFollowsEachChange) {
    open({});
    EXPECT_EQ(label(), "&Text (0 characters)");
    QTest::keyClicks(text(), "abc");
    EXPECT_EQ(label(), "&Text (3 characters)");
    QTest::keyClick(text(), Qt::Key_Return);
    EXPECT_TRUE(form->isVisible()); // Enter belongs to the text
    EXPECT_EQ(label(), "&Text (4 characters)");
    QTest::keyClick(text(), Qt::Key_Backspace);
    text()->insertPlainText(QString::fromUtf8("é😀"));
    EXPECT_EQ(label(), "&Text (5 characters)");
}

TEST_F(frmMandatoryNoteTest, ABlankNoteCannotBeSaved) {
    open({});
    const char* const refusal = "You can't save a blank Mandatory Note";
    world.ui.Expect(refusal);
    press("cmdOK");
    EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Exclamation);
    QTest::keyClicks(text(), "  ");
    QTest::keyClick(text(), Qt::Key_Return);
    world.ui.Expect(refusal);
    press("cmdOK");
    EXPECT_TRUE(form->isVisible());
    EXPECT_EQ(form->focusWidget(), text());
    open(note);
    text()->clear();
    world.ui.Expect(refusal);
    press("cmdOK");
    EXPECT_TRUE(form->isVisible());
    EXPECT_EQ(body(note), "One\r\ntwo");
    EXPECT_EQ(count(), 1);
}

TEST_F(frmMandatoryNoteTest, SavesANewNote) {
    open({});
    QTest::keyClicks(text(), "Hello");
    world.ui.ExpectAddressBook({{picked("Bob Baker"), picked("Sales")}});
    press("cmdTarget");
    press("cmdOK");
    EXPECT_EQ(form->result(), QDialog::Accepted);
    ASSERT_FALSE(form->saved().empty());
    const auto saved = ReadNote(*world.session, form->saved());
    ASSERT_TRUE(saved);
    EXPECT_EQ(saved->text, "Hello");
    EXPECT_EQ(saved->names, "Bob Baker;Sales");
    EXPECT_EQ(saved->addresses, "bob@example.test;sales@example.test");
    EXPECT_EQ(count(), 2);
}

TEST_F(frmMandatoryNoteTest, OKWithoutAChangeWritesNothing) {
    const Time before = GetMessage(*world.session, note)->LastModificationTime();
    open(note);
    press("cmdOK");
    EXPECT_FALSE(form->isVisible());
    EXPECT_EQ(form->result(), QDialog::Rejected);
    EXPECT_TRUE(form->saved().empty());
    EXPECT_EQ(GetMessage(*world.session, note)->LastModificationTime(), before);
}

TEST_F(frmMandatoryNoteTest, CancelWritesNothing) {
    open(note);
    text()->setPlainText("Other");
    press("cmdCancel");
    EXPECT_TRUE(form->saved().empty());
    EXPECT_EQ(body(note), "One\r\ntwo");
    open({});
    text()->setPlainText("Other");
    QTest::keyClick(form.get(), Qt::Key_Escape);
    EXPECT_FALSE(form->isVisible());
    EXPECT_EQ(count(), 1);
}

TEST_F(frmMandatoryNoteTest, ChangesTextAndTarget) {
    open(note);
    target()->setCurrentRow(0);
    press("cmdDelTarget");
    text()->setPlainText("Three");
    press("cmdOK");
    EXPECT_EQ(form->saved(), note);
    const auto saved = ReadNote(*world.session, note);
    EXPECT_EQ(saved->text, "Three");
    EXPECT_EQ(saved->names, "Sales");
    EXPECT_EQ(saved->addresses, "sales@example.test");
    EXPECT_EQ(GetMessage(*world.session, note)->Subject(), "Three");
}

TEST_F(frmMandatoryNoteTest, ShowsMembersAndHelp) {
    open(note);
    auto* expand = control<QCheckBox>(form.get(), "chkExpand");
    EXPECT_EQ(expand->text(), "Fully expand distribution lists to show all members");
    for (const char* count : {"Count: 3", "Count: 2"}) {
        bool looked = false;
        whenModal("frmDetails", [&](QWidget* window) {
            auto* label = control<QLabel>(window, "lblCount");
            EXPECT_TRUE(QTest::qWaitFor([&] { return label->text() == count; })) << count;
            looked = true;
            window->close();
        });
        press("cmdDetails");
        EXPECT_TRUE(looked);
        expand->setChecked(false);
    }
    QTest::mouseClick(control<QToolButton>(form.get(), "imgPopup"), Qt::LeftButton);
    EXPECT_EQ(world.ui.popups(),
              (std::vector<std::string>{
                  "Select the handheld users who will receive this manadatory note. You can select "
                  "individidual mailboxes and distribution lists."}));
}

TEST_F(frmMandatoryNoteTest, ANoteThatCannotBeReadIsNotWritten) {
    GetMessage(*world.session, note)->Delete();
    world.ui.Expect("Unable to open the Mandatory Note!\nSee the KR-Admin.log for details");
    open(note);
    EXPECT_FALSE(control<QPushButton>(form.get(), "cmdOK")->isEnabled());
    EXPECT_TRUE(world.logHas("frmMandatoryNote_Load: GetMessage failed "));
}

TEST_F(frmMandatoryNoteTest, AFailedSaveIsShownAndTheDialogStays) {
    FailingSession failing(world);
    failing.LogOn();
    open(note, &failing.session);
    text()->setPlainText("Three");
    int refused = 0;
    for (int call = 1; form->isVisible(); ++call) {
        failing.ui.shown.clear();
        failing.store.plan().FailAt(call);
        press("cmdOK");
        if (!form->isVisible())
            break;
        ++refused;
        ASSERT_EQ(failing.ui.shown.size(), 1U);
        EXPECT_TRUE(failing.ui.shown[0].starts_with("Error saving change: "));
        EXPECT_EQ(body(note), "One\r\ntwo");
        ASSERT_LT(call, 100);
    }
    EXPECT_GT(refused, 3);
    EXPECT_TRUE(world.logHas(":Error setting properties for Three: "));
    EXPECT_EQ(body(note), "Three");
}

} // namespace
