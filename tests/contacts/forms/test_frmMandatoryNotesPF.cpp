#include <gtest/gtest.h>

#include <QListWidget>
#include <QPlainTextEdit>
#include <QTest>
#include <QToolButton>
#include <QTreeView>

#include "contacts/basNotes.h"
#include "contacts/forms/frmMandatoryNotesPF.h"
#include "core/basStore.h"
#include "tests/support/FailingWorld.h"
#include "tests/support/Modal.h"
#include "tests/support/World.h"

namespace {

using namespace kr;

class frmMandatoryNotesPFTest : public ::testing::Test {
protected:
    frmMandatoryNotesPFTest() {
        world.LogOnConfigured();
        news = folder("News");
        events = folder("Events");
        record = SaveNotesPF(*world.session, {}, {news->ID(), "Alice Adams", "alice@example.test"},
                             "News");
    }
    RDOFolderPtr folder(std::string_view name) {
        return world.session->rdo->Stores().AllPublicFolders()->Folders()->Add(name,
                                                                               "IPF.StickyNote");
    }
    void open(const EntryID& id, AgentSession* session = nullptr) {
        form = std::make_unique<frmMandatoryNotesPF>(session ? *session : *world.session, id);
        form->show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(form.get()));
    }
    QString path() { return control<QPlainTextEdit>(form.get(), "txtPath")->toPlainText(); }
    QListWidget* target() { return control<QListWidget>(form.get(), "lstTarget"); }
    void press(const char* button) {
        QTest::mouseClick(control<QPushButton>(form.get(), button), Qt::LeftButton);
    }
    void pickFolder(RDOFolder& chosen) {
        world.ui.ExpectFolders({{chosen.ID(), chosen.StoreID(), "path"}});
    }
    void pickTarget(std::string_view name) {
        world.ui.ExpectAddressBook({{PickedRecipient{world.Entry(name)->ID(), std::string(name)}}});
        press("cmdTarget");
    }
    std::string key(const EntryID& id, std::string_view name) {
        return KeyText(*GetMessage(*world.session, id), name);
    }
    size_t records() {
        return GetMessageIDs(*world.session, *world.session->agentInfo, kNotesPFClass, "").size();
    }

    World world;
    RDOFolderPtr news, events;
    EntryID record;
    std::unique_ptr<frmMandatoryNotesPF> form;
};

TEST_F(frmMandatoryNotesPFTest, ShowsARecord) {
    open(record);
    EXPECT_EQ(form->windowTitle(), "EPS - Mandatory Notes Public Folder");
    EXPECT_EQ(path(), "Public Folders\n  All Public Folders\n    News");
    ASSERT_EQ(target()->count(), 1);
    EXPECT_EQ(target()->item(0)->text(), "Alice Adams");
    EXPECT_EQ(control<QLabel>(form.get(), "lblPath")->text(), "Sour&ce: Notes Public Folder");
    EXPECT_EQ(control<QLabel>(form.get(), "lblTarget")->text(), "&Target: Authorized Recipients");
    EXPECT_EQ(control<QPushButton>(form.get(), "cmdPath")->text(), "&Select...");
    EXPECT_EQ(control<QPushButton>(form.get(), "cmdDetails1")->text(), "&Notes...");
}

TEST_F(frmMandatoryNotesPFTest, OKRefusesInItsOrder) {
    open({});
    EXPECT_EQ(path(), "");
    EXPECT_FALSE(control<QPushButton>(form.get(), "cmdDetails1")->isEnabled());
    world.ui.Expect("You must select a Notes Public Folder as the source for this list!");
    press("cmdOK");
    EXPECT_EQ(form->focusWidget()->objectName(), "cmdPath");
    pickFolder(*events);
    press("cmdPath");
    // another console was quicker
    const EntryID other =
        SaveNotesPF(*world.session, {}, {events->ID(), "Bob", "bob@example.test"}, "Events");
    world.ui.Expect("'Events' has already been designated as a Mandatory Notes folder!\n"
                    "Please select a different folder.");
    press("cmdOK");
    GetMessage(*world.session, other)->Delete();
    world.ui.Expect("You must select at least one name or distribution list as the Target!");
    press("cmdOK");
    EXPECT_EQ(form->focusWidget()->objectName(), "cmdTarget");
    EXPECT_TRUE(form->isVisible());
    EXPECT_EQ(records(), 1U);
    for (const auto& box : world.ui.boxes())
        EXPECT_EQ(box.icon, BoxIcon::Exclamation);
}

TEST_F(frmMandatoryNotesPFTest, SavesANewFolder) {
    open({});
    pickFolder(*events);
    press("cmdPath");
    EXPECT_EQ(path(), "Public Folders\n  All Public Folders\n    Events");
    pickTarget("Sales");
    press("cmdOK");
    EXPECT_EQ(form->result(), QDialog::Accepted);
    const EntryID id = form->saved();
    ASSERT_FALSE(id.empty());
    EXPECT_EQ(GetMessage(*world.session, id)->MessageClass(), "zandrel.NotesPF");
    EXPECT_EQ(key(id, "NotesPF.EntryID"), events->ID().text());
    EXPECT_EQ(key(id, "NotesPF.Target"), "Sales");
    EXPECT_EQ(key(id, "NotesPF.TargetEmail"), "sales@example.test");
    EXPECT_EQ(KeyNumber(*GetMessage(*world.session, id), "NotesPF.TargetCount", 0), 3);
    EXPECT_EQ(records(), 2U);
}

TEST_F(frmMandatoryNotesPFTest, AFolderInUseIsRefusedAndThePickerComesBack) {
    open({});
    pickFolder(*news);
    world.ui.Expect("News is already a Mandatory Notes folder!\nPlease select a different folder.");
    pickFolder(*events);
    press("cmdPath");
    EXPECT_EQ(path(), "Public Folders\n  All Public Folders\n    Events");
    pickFolder(*news);
    world.ui.Expect("News is already a Mandatory Notes folder!\nPlease select a different folder.");
    world.ui.ExpectFolders({}); // cancelled
    press("cmdPath");
    EXPECT_EQ(path(), "Public Folders\n  All Public Folders\n    Events");
}

TEST_F(frmMandatoryNotesPFTest, AnotherRecordCannotTakeAFolderInUse) {
    const EntryID other =
        SaveNotesPF(*world.session, {}, {events->ID(), "Bob", "bob@example.test"}, "Events");
    open(other);
    pickFolder(*news);
    world.ui.Expect("News is already a Mandatory Notes folder!\nPlease select a different folder.");
    world.ui.ExpectFolders({});
    press("cmdPath");
    press("cmdOK");
    EXPECT_EQ(key(other, "NotesPF.EntryID"), events->ID().text());
}

TEST_F(frmMandatoryNotesPFTest, OKWithoutAChangeAndCancelWriteNothing) {
    open(record);
    pickFolder(*news); // its own folder again
    press("cmdPath");
    press("cmdOK");
    EXPECT_EQ(form->result(), QDialog::Rejected);
    EXPECT_TRUE(form->saved().empty());
    open(record);
    pickFolder(*events);
    press("cmdPath");
    press("cmdCancel");
    EXPECT_TRUE(form->saved().empty());
    EXPECT_EQ(key(record, "NotesPF.EntryID"), news->ID().text());
}

TEST_F(frmMandatoryNotesPFTest, ChangesARecord) {
    open(record);
    pickFolder(*events);
    press("cmdPath");
    target()->setCurrentRow(0);
    press("cmdDelete");
    EXPECT_EQ(target()->count(), 0);
    pickTarget("Bob Baker");
    press("cmdOK");
    EXPECT_EQ(form->saved(), record);
    EXPECT_EQ(key(record, "NotesPF.EntryID"), events->ID().text());
    EXPECT_EQ(key(record, "NotesPF.TargetEmail"), "bob@example.test");
    EXPECT_EQ(GetMessage(*world.session, record)->Subject(), "Events");
    EXPECT_EQ(records(), 1U);
}

TEST_F(frmMandatoryNotesPFTest, AFolderThatHasGoneIsSaidAndKept) {
    news->Delete();
    world.ui.Expect("Unable to open the Source folder!\nVerify that the folder exists and that the "
                    "logged-in account has rights to view and open it");
    open(record);
    EXPECT_EQ(path(), "");
    EXPECT_FALSE(control<QPushButton>(form.get(), "cmdDetails1")->isEnabled());
    pickTarget("Bob Baker");
    press("cmdOK"); // the target may change while the folder is away
    EXPECT_EQ(form->saved(), record);
    EXPECT_EQ(key(record, "NotesPF.EntryID"), news->ID().text());
    EXPECT_EQ(key(record, "NotesPF.Target"), "Bob Baker");
    EXPECT_EQ(GetMessage(*world.session, record)->Subject(), "News");
}

TEST_F(frmMandatoryNotesPFTest, ShowsTheNotesTheMembersAndTheHelp) {
    for (const char* subject : {"Two", "One"}) {
        auto item = news->Items()->Add(kNoteClass);
        item->SetSubject(subject);
        item->Save();
    }
    open(record);
    int looked = 0;
    whenModal("frmDetails", [&](QWidget* window) {
        EXPECT_EQ(window->windowTitle(), "Notes - News");
        EXPECT_EQ(control<QLabel>(window, "lblCount")->text(), "Count: 2");
        auto* list = control<QTreeView>(window, "lvDetail");
        EXPECT_EQ(list->model()->index(0, 0).data().toString(), "One");
        ++looked;
        window->close();
    });
    press("cmdDetails1");
    whenModal("frmDetails", [&](QWidget* window) {
        EXPECT_EQ(window->windowTitle(), "Members");
        ++looked;
        window->close();
    });
    press("cmdDetails0");
    EXPECT_EQ(looked, 2);
    for (const char* help : {"imgPopup0", "imgPopup1"})
        QTest::mouseClick(control<QToolButton>(form.get(), help), Qt::LeftButton);
    EXPECT_EQ(world.ui.popups(),
              (std::vector<std::string>{
                  "Each note in the specified folder will be written to the default Notes folder "
                  "of each target user.",
                  "Select the handheld users who will receive the manadatory notes. You can select "
                  "individidual mailboxes and distribution lists."}));
}

TEST_F(frmMandatoryNotesPFTest, ARecordThatCannotBeReadIsNotWritten) {
    GetMessage(*world.session, record)->Delete();
    world.ui.Expect("Unable to open the Mandatory Notes folder's record!\n"
                    "See the KR-Admin.log for details");
    open(record);
    EXPECT_FALSE(control<QPushButton>(form.get(), "cmdOK")->isEnabled());
}

TEST_F(frmMandatoryNotesPFTest, AFailedSaveIsShownAndTheDialogStays) {
    FailingSession failing(world);
    failing.LogOn();
    open(record, &failing.session);
    target()->setCurrentRow(0);
    failing.ui.ExpectAddressBook({{PickedRecipient{world.Entry("Bob Baker")->ID(), "Bob Baker"}}});
    press("cmdTarget");
    failing.store.plan().FailFrom(1);
    press("cmdOK");
    EXPECT_TRUE(form->isVisible());
    EXPECT_TRUE(form->isEnabled());
    ASSERT_FALSE(failing.ui.shown.empty());
    EXPECT_TRUE(failing.ui.shown.back().starts_with("Error saving change: "));
    EXPECT_TRUE(world.logHas(":Error setting properties for News: "));
    EXPECT_EQ(key(record, "NotesPF.Target"), "Alice Adams");
    failing.store.plan().FailAt(0);
    press("cmdOK");
    EXPECT_EQ(form->saved(), record);
    EXPECT_EQ(key(record, "NotesPF.Target"), "Bob Baker");
}

} // namespace
