#include <gtest/gtest.h>

#include <QListWidget>
#include <QTest>
#include <QToolButton>

#include "contacts/basACF.h"
#include "contacts/forms/frmPrivateFieldsMC.h"
#include "core/basStore.h"
#include "tests/support/FailingWorld.h"
#include "tests/support/Modal.h"
#include "tests/support/World.h"

namespace {

using namespace kr;

class frmPrivateFieldsMCTest : public ::testing::Test {
protected:
    frmPrivateFieldsMCTest() {
        world.LogOnConfigured();
        auto mcr = world.session->agentInfo->Items()->Add(kMcrClass);
        mcr->SetSubject(kMcrName);
        SetKey(*mcr, "Default Private Fields", "MobilePhone;EPS Home Phone");
        mcr->Save();
        carol = contact("Carol");
        dave = contact("Dave");
        auto message = GetMessage(*world.session, carol);
        SetKey(*message, kPrivateFieldsKey, "Notes;MobilePhone");
        SetKey(*message, kAccessNamesKey, "Alice Adams;Sales");
        SetKey(*message, kAccessListKey, "alice@example.test;sales@example.test");
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
        form = std::make_unique<frmPrivateFieldsMC>(session ? *session : *world.session, contacts,
                                                    "Carol");
        form->show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(form.get()));
    }
    std::string key(const EntryID& id, std::string_view name) {
        return KeyText(*GetMessage(*world.session, id), name);
    }
    QListWidget* fields() { return control<QListWidget>(form.get(), "lvPrivate"); }
    QListWidget* access() { return control<QListWidget>(form.get(), "lstACL"); }
    QListWidgetItem* field(const QString& label) {
        return fields()->findItems(label, Qt::MatchExactly).value(0);
    }
    QStringList checked() {
        QStringList labels;
        for (int i = 0; i < fields()->count(); ++i)
            if (fields()->item(i)->checkState() == Qt::Checked)
                labels << fields()->item(i)->text();
        return labels;
    }
    /// A click on the row's box.
    void tick(const QString& label) {
        QListWidgetItem* item = field(label);
        ASSERT_NE(item, nullptr) << label.toStdString();
        fields()->setCurrentItem(item);
        QTest::keyClick(fields(), Qt::Key_Space);
    }
    void press(const char* button) {
        QTest::mouseClick(control<QPushButton>(form.get(), button), Qt::LeftButton);
    }
    PickedRecipient picked(std::string_view name) {
        return {world.Entry(name)->ID(), std::string(name)};
    }

    World world;
    EntryID carol, dave;
    std::unique_ptr<frmPrivateFieldsMC> form;
};

const QString kMobile = "Mobile Phone (EPS global restriction)";
const QString kHome = "Home Phone (EPS global restriction)";

TEST_F(frmPrivateFieldsMCTest, ShowsOneContact) {
    open({carol});
    EXPECT_EQ(form->windowTitle(), "Restrict Access - Carol");
    EXPECT_EQ(control<QLabel>(form.get(), "lblMain")->text(),
              "Create additional restrictions to protect private contact information for Carol");
    EXPECT_EQ(fields()->count(), 15);
    EXPECT_EQ(checked(), (QStringList{kMobile, kHome, "Notes"}));
    ASSERT_EQ(access()->count(), 2);
    EXPECT_EQ(access()->item(1)->text(), "Sales");
    EXPECT_EQ(form->focusWidget(), fields());
}

TEST_F(frmPrivateFieldsMCTest, OKWithoutAChangeClosesAndWritesNothing) {
    open({carol});
    press("cmdOK");
    EXPECT_FALSE(form->isVisible());
    EXPECT_EQ(form->result(), QDialog::Rejected);
    EXPECT_EQ(key(carol, "EPS Private Fields"), "Notes;MobilePhone");
}

TEST_F(frmPrivateFieldsMCTest, AGlobalRestrictionCannotBeUnchecked) {
    open({carol});
    tick(kMobile);
    EXPECT_EQ(field(kMobile)->checkState(), Qt::Checked);
    tick(kMobile);
    tick(kHome);
    EXPECT_EQ(checked(), (QStringList{kMobile, kHome, "Notes"}));
    press("cmdOK"); // that was no change
    EXPECT_EQ(form->result(), QDialog::Rejected);
    open({carol});
    tick("PIN");
    world.ui.Expect("Do you want to assign the selected private fields to Carol?", BoxAnswer::OK);
    press("cmdOK");
    EXPECT_EQ(form->result(), QDialog::Accepted);
    EXPECT_EQ(key(carol, "EPS Private Fields"), "PIN;Notes");
    EXPECT_EQ(key(carol, "EPS Access List"), "alice@example.test;sales@example.test");
}

TEST_F(frmPrivateFieldsMCTest, CancelInTheQuestionClosesAndWritesNothing) {
    open({carol});
    tick("Notes");
    world.ui.Expect("Do you want to assign the selected private fields to Carol?",
                    BoxAnswer::Cancel);
    press("cmdOK");
    EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Question);
    EXPECT_FALSE(form->isVisible());
    EXPECT_EQ(form->result(), QDialog::Rejected);
    EXPECT_EQ(key(carol, "EPS Private Fields"), "Notes;MobilePhone");
}

TEST_F(frmPrivateFieldsMCTest, CancelAndEscapeWriteNothing) {
    open({carol});
    tick("Notes");
    press("cmdCancel");
    EXPECT_FALSE(form->isVisible());
    open({carol});
    tick("Notes");
    QTest::keyClick(form.get(), Qt::Key_Escape);
    EXPECT_FALSE(form->isVisible());
    EXPECT_EQ(key(carol, "EPS Private Fields"), "Notes;MobilePhone");
}

TEST_F(frmPrivateFieldsMCTest, UncheckingAllEmptiesTheKey) {
    open({carol});
    tick("Notes");
    world.ui.Expect("", BoxAnswer::OK);
    press("cmdOK");
    EXPECT_EQ(key(carol, "EPS Private Fields"), "");
}

TEST_F(frmPrivateFieldsMCTest, SeveralContactsGetTheSameFields) {
    const EntryID gone = contact("Gone");
    GetMessage(*world.session, gone)->Delete();
    open({carol, gone, dave});
    EXPECT_EQ(form->windowTitle(), "Restrict Access - 3 Contacts");
    EXPECT_EQ(control<QLabel>(form.get(), "lblMain")->text(),
              "Create additional restrictions to protect private contact information for the "
              "selected contacts");
    EXPECT_EQ(checked(), (QStringList{kMobile, kHome}));
    EXPECT_EQ(access()->count(), 0);
    tick("Spouse");
    world.ui.Expect("Do you want to assign the selected private fields to \nCarol\nDave\n",
                    BoxAnswer::OK);
    press("cmdOK");
    EXPECT_EQ(form->result(), QDialog::Accepted);
    EXPECT_EQ(key(carol, "EPS Private Fields"), "Spouse");
    EXPECT_EQ(key(dave, "EPS Private Fields"), "Spouse");
    EXPECT_EQ(key(carol, "EPS Access List Names"), "Alice Adams;Sales");
    EXPECT_TRUE(world.logHas("GetMessageFromID failed " + std::to_string(MAPI_E_NOT_FOUND)));
}

TEST_F(frmPrivateFieldsMCTest, TheAccessListIsStoredWhenItChanged) {
    open({carol, dave});
    world.ui.ExpectAddressBook({{picked("Bob Baker")}});
    press("cmdACL");
    press("cmdOK"); // the fields stay as each contact has them, so nothing is asked
    EXPECT_EQ(form->result(), QDialog::Accepted);
    for (const EntryID& id : {carol, dave}) {
        EXPECT_EQ(key(id, "EPS Access List Names"), "Bob Baker");
        EXPECT_EQ(key(id, "EPS Access List"), "bob@example.test");
    }
    EXPECT_EQ(key(carol, "EPS Private Fields"), "Notes;MobilePhone");
    open({carol});
    access()->setCurrentRow(0);
    press("cmdDelete");
    press("cmdOK");
    EXPECT_EQ(key(carol, "EPS Access List"), "");
    EXPECT_EQ(key(carol, "EPS Access List Names"), "");
}

TEST_F(frmPrivateFieldsMCTest, MembersAreExpandedOnlyOnRequest) {
    open({carol});
    auto* expand = control<QCheckBox>(form.get(), "chkExpand");
    EXPECT_EQ(expand->text(), "Fully expand distribution lists to show all members");
    EXPECT_TRUE(expand->isChecked());
    const auto look = [&](const QString& count) {
        bool shown = false;
        whenModal("frmDetails", [&, count](QWidget* window) {
            EXPECT_EQ(window->windowTitle(), "Members");
            auto* label = control<QLabel>(window, "lblCount");
            EXPECT_TRUE(QTest::qWaitFor([&] { return label->text() == count; }))
                << label->text().toStdString();
            shown = true;
            window->close();
        });
        press("cmdDetails");
        EXPECT_TRUE(shown);
    };
    look("Count: 3"); // alice, bob, obrien
    expand->click();
    look("Count: 2"); // alice, Sales
}

TEST_F(frmPrivateFieldsMCTest, ShowsTwoHelpTexts) {
    open({carol});
    for (const char* help : {"imgPopup0", "imgPopup1"})
        QTest::mouseClick(control<QToolButton>(form.get(), help), Qt::LeftButton);
    ASSERT_EQ(world.ui.popups().size(), 2U);
    EXPECT_NE(world.ui.popups()[0].find("distribution list"), std::string::npos);
    EXPECT_NE(world.ui.popups()[1].find("private"), std::string::npos);
}

TEST_F(frmPrivateFieldsMCTest, AContactThatCannotBeReadIsNotWritten) {
    GetMessage(*world.session, carol)->Delete();
    world.ui.Expect("Unable to open the contact!\nSee the KR-Admin.log for details");
    open({carol});
    EXPECT_TRUE(world.logHas(":frmPrivateFieldsMC_Load: GetMessage failed " +
                             std::to_string(MAPI_E_NOT_FOUND)));
    EXPECT_FALSE(control<QPushButton>(form.get(), "cmdOK")->isEnabled());
    EXPECT_EQ(checked(), (QStringList{kMobile, kHome}));
}

TEST_F(frmPrivateFieldsMCTest, StaysOpenWhenNothingCouldBeSaved) {
    FailingSession failing(world);
    failing.LogOn();
    open({carol}, &failing.session);
    tick("PIN");
    failing.store.plan().FailFrom(1);
    press("cmdOK");
    EXPECT_TRUE(form->isVisible());
    EXPECT_TRUE(form->isEnabled());
    EXPECT_EQ(key(carol, "EPS Private Fields"), "Notes;MobilePhone");
    failing.store.plan().FailAt(0);
    press("cmdOK"); // the second attempt
    EXPECT_FALSE(form->isVisible());
    EXPECT_EQ(key(carol, "EPS Private Fields"), "PIN;Notes");
}

} // namespace
