#include <gtest/gtest.h>

#include <QListWidget>
#include <QTest>
#include <QToolButton>

#include "contacts/forms/frmAccessListMC.h"
#include "core/basStore.h"
#include "tests/support/FailingWorld.h"
#include "tests/support/Modal.h"
#include "tests/support/World.h"

namespace {

using namespace kr;

class frmAccessListMCTest : public ::testing::Test {
protected:
    frmAccessListMCTest() {
        world.LogOnConfigured();
        carol = contact("Carol");
        dave = contact("Dave");
        auto message = GetMessage(*world.session, carol);
        SetKey(*message, kAccessNamesKey, "Alice Adams;Sales");
        SetKey(*message, kAccessListKey, "alice@example.test;sales@example.test");
        SetKey(*message, kPrivateFieldsKey, "Notes");
        message->Save();
    }
    EntryID contact(std::string_view name) {
        auto message = world.session->rdo->GetDefaultFolder(10)->Items()->Add("IPM.Contact");
        message->SetSubject(name);
        message->Save();
        return message->ID();
    }
    void open(const std::vector<EntryID>& ids, AgentSession* session = nullptr) {
        std::string contacts;
        for (const EntryID& id : ids)
            contacts += (contacts.empty() ? "" : ";") + id.text();
        form = std::make_unique<frmAccessListMC>(session ? *session : *world.session, contacts,
                                                 "Carol");
        form->show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(form.get()));
    }
    std::string key(const EntryID& id, std::string_view name) {
        return KeyText(*GetMessage(*world.session, id), name);
    }
    QListWidget* access() { return control<QListWidget>(form.get(), "lstACL"); }
    QStringList shown() {
        QStringList names;
        for (int i = 0; i < access()->count(); ++i)
            names << access()->item(i)->text();
        return names;
    }
    void press(const char* button) {
        QTest::mouseClick(control<QPushButton>(form.get(), button), Qt::LeftButton);
    }
    PickedRecipient picked(std::string_view name) {
        return {world.Entry(name)->ID(), std::string(name)};
    }

    World world;
    EntryID carol, dave;
    std::unique_ptr<frmAccessListMC> form;
};

TEST_F(frmAccessListMCTest, ShowsOneContact) {
    open({carol});
    EXPECT_EQ(form->windowTitle(), "Grant Access to Carol");
    EXPECT_EQ(control<QLabel>(form.get(), "lblMain")->text(),
              "Choose the users or groups who will have access to restricted fields for Carol");
    EXPECT_EQ(shown(), (QStringList{"Alice Adams", "Sales"}));
    EXPECT_EQ(control<QPushButton>(form.get(), "cmdDetails")->text(), "&Members...");
}

TEST_F(frmAccessListMCTest, OKWithoutAChangeAndCancelWriteNothing) {
    open({carol});
    press("cmdOK");
    EXPECT_EQ(form->result(), QDialog::Rejected);
    open({carol, dave});
    press("cmdOK");
    EXPECT_EQ(form->result(), QDialog::Rejected);
    open({carol});
    access()->setCurrentRow(0);
    press("cmdDelete");
    press("cmdCancel");
    EXPECT_EQ(key(carol, "EPS Access List Names"), "Alice Adams;Sales");
    open({carol});
    world.ui.ExpectAddressBook(std::nullopt); // the picker cancelled is no change either
    press("cmdACL");
    EXPECT_EQ(world.ui.preselected().back().size(), 2U);
    press("cmdOK");
    EXPECT_EQ(form->result(), QDialog::Rejected);
    EXPECT_EQ(key(carol, "EPS Access List"), "alice@example.test;sales@example.test");
}

TEST_F(frmAccessListMCTest, WritesWhoWasChosen) {
    open({carol});
    world.ui.ExpectAddressBook({{picked("Bob Baker"), picked("Everybody")}});
    press("cmdACL");
    EXPECT_EQ(shown(), (QStringList{"Bob Baker", "Everybody"}));
    press("cmdOK");
    EXPECT_EQ(form->result(), QDialog::Accepted);
    EXPECT_EQ(key(carol, "EPS Access List Names"), "Bob Baker;Everybody");
    EXPECT_EQ(key(carol, "EPS Access List"), "bob@example.test;everybody@example.test");
    EXPECT_EQ(key(carol, "EPS Private Fields"), "Notes");
}

TEST_F(frmAccessListMCTest, AnEmptyListTakesAllGrantsAway) {
    open({carol});
    for (int i = 0; i < 2; ++i) {
        access()->setCurrentRow(0);
        press("cmdDelete");
    }
    EXPECT_EQ(access()->count(), 0);
    EXPECT_FALSE(control<QPushButton>(form.get(), "cmdDetails")->isEnabled());
    press("cmdOK");
    EXPECT_EQ(form->result(), QDialog::Accepted);
    EXPECT_EQ(key(carol, "EPS Access List Names"), "");
    EXPECT_EQ(key(carol, "EPS Access List"), "");
}

TEST_F(frmAccessListMCTest, SeveralContactsOfWhichOneCannotBeOpened) {
    const EntryID gone = contact("Gone");
    GetMessage(*world.session, gone)->Delete();
    open({carol, gone, dave});
    EXPECT_EQ(form->windowTitle(), "Grant Access to 3 Contacts");
    EXPECT_EQ(control<QLabel>(form.get(), "lblMain")->text(),
              "Choose the users or groups who will have access to restricted fields for the "
              "selected contacts");
    EXPECT_TRUE(shown().isEmpty());
    world.ui.ExpectAddressBook({{picked("Bob Baker")}});
    press("cmdACL");
    press("cmdOK");
    EXPECT_EQ(form->result(), QDialog::Accepted);
    EXPECT_EQ(key(carol, "EPS Access List"), "bob@example.test");
    EXPECT_EQ(key(dave, "EPS Access List"), "bob@example.test");
    EXPECT_TRUE(world.logHas("GetMessageFromID failed " + std::to_string(MAPI_E_NOT_FOUND)));
}

TEST_F(frmAccessListMCTest, ShowsTheMembersAndTheHelp) {
    open({carol});
    bool looked = false;
    whenModal("frmDetails", [&](QWidget* window) {
        EXPECT_EQ(window->windowTitle(), "Members");
        looked = true;
        window->close();
    });
    press("cmdDetails");
    EXPECT_TRUE(looked);
    QTest::mouseClick(control<QToolButton>(form.get(), "imgPopup"), Qt::LeftButton);
    EXPECT_EQ(world.ui.popups().size(), 1U);
}

TEST_F(frmAccessListMCTest, AContactThatCannotBeReadIsNotWritten) {
    GetMessage(*world.session, carol)->Delete();
    world.ui.Expect("Unable to open the contact!\nSee the KR-Admin.log for details");
    open({carol});
    EXPECT_TRUE(world.logHas(":frmAccessListMC_Load: GetMessage failed "));
    EXPECT_FALSE(control<QPushButton>(form.get(), "cmdOK")->isEnabled());
}

TEST_F(frmAccessListMCTest, AFailedSaveIsShownAndTheDialogStays) {
    FailingSession failing(world);
    failing.LogOn();
    open({carol}, &failing.session);
    access()->setCurrentRow(0);
    press("cmdDelete");
    int shownBoxes = 0;
    for (int call = 1; form->isVisible(); ++call) {
        failing.ui.shown.clear();
        failing.store.plan().FailAt(call);
        press("cmdOK");
        if (form->isVisible())
            EXPECT_EQ(key(carol, "EPS Access List Names"), "Alice Adams;Sales");
        shownBoxes += !failing.ui.shown.empty();
        ASSERT_LT(call, 100);
    }
    EXPECT_GT(shownBoxes, 2);
    EXPECT_TRUE(world.logHas(":Error setting access list for Carol: "));
    EXPECT_EQ(key(carol, "EPS Access List Names"), "Sales");
}

} // namespace
