#include "contacts/forms/frmRegMCL.h"

#include "tests/contacts/forms/RegMclFormTest.h"
#include "tests/support/FailingWorld.h"

namespace {

using namespace kr;

constexpr const char* kNoName = "You must provide a unique name for this Mandatory Contact List";

class frmRegMCLTest : public RegMclFormTest<frmRegMCL> {
protected:
    EntryID addFull(const TestKeys& more = {}) {
        TestKeys keys{{"MCL Source", "Alice Adams;Sales"},
                      {"MCL Source Email", "alice@example.test;sales@example.test"},
                      {"MCL Source Count", int32_t{3}},
                      {"MCL Target", "Bob Baker"},
                      {"MCL Target Email", "bob@example.test"},
                      {"MCL Target Count", int32_t{1}},
                      {"MCL.IncludeDLs", false}};
        keys.insert(keys.end(), more.begin(), more.end());
        return addList("Sales", keys);
    }
};

TEST_F(frmRegMCLTest, SavesANewListWithItsKeys) {
    openForm(EntryID());
    EXPECT_EQ(form->windowTitle(), "EPS - Mandatory Contact List");
    EXPECT_TRUE(get<QCheckBox>("chkIncludeDLs")->isChecked());
    EXPECT_EQ(form->focusWidget(), get<QLineEdit>("txtName"));
    typeName("  Emergency  ");
    pick("cmdSource", {"Alice Adams", "Sales"});
    pick("cmdTarget", {"Bob Baker"});
    EXPECT_EQ(items("lstSource"), (QStringList{"Alice Adams", "Sales"}));
    get<QPlainTextEdit>("txtDescription")->setPlainText("Call them");
    const RDOMessagePtr list = save();
    EXPECT_EQ(list->Subject(), "Emergency");
    EXPECT_EQ(list->MessageClass(), "IPM.Post.MCL");
    EXPECT_EQ(keyText(*list, "MCL Source"), "Alice Adams;Sales");
    EXPECT_EQ(keyText(*list, "MCL Source Email"), "alice@example.test;sales@example.test");
    EXPECT_EQ(GetKey(*list, "MCL Source Count"), Value(int32_t{3}));
    EXPECT_EQ(keyText(*list, "MCL Target"), "Bob Baker");
    EXPECT_EQ(keyText(*list, "MCL Target Email"), "bob@example.test");
    EXPECT_EQ(GetKey(*list, "MCL Target Count"), Value(int32_t{1}));
    EXPECT_EQ(keyText(*list, "MCL Description"), "Call them");
    EXPECT_EQ(GetKey(*list, "MCL.IncludeDLs"), Value(true));
    for (const char* absent : {"EPS.Inactive", "MCL PF", "ACS.Guid", "MCL Source No SMTP"})
        EXPECT_TRUE(GetKey(*list, absent).empty()) << absent;
}

TEST_F(frmRegMCLTest, ShowsAndChangesAList) {
    const EntryID id = addFull({{"MCL Description", "text"}});
    openForm(id);
    EXPECT_EQ(get<QLineEdit>("txtName")->text(), "Sales");
    EXPECT_EQ(items("lstSource"), (QStringList{"Alice Adams", "Sales"}));
    EXPECT_EQ(items("lstTarget"), QStringList{"Bob Baker"});
    EXPECT_EQ(text("txtDescription"), "text");
    EXPECT_FALSE(get<QCheckBox>("chkIncludeDLs")->isChecked());
    get<QListWidget>("lstSource")->setCurrentRow(1);
    press("cmdDelSource");
    get<QPlainTextEdit>("txtDescription")->clear();
    const RDOMessagePtr list = save();
    EXPECT_EQ(list->ID(), id);
    EXPECT_EQ(keyText(*list, "MCL Source"), "Alice Adams");
    EXPECT_EQ(keyText(*list, "MCL Source Email"), "alice@example.test");
    EXPECT_EQ(GetKey(*list, "MCL Source Count"), Value(int32_t{1}));
    EXPECT_EQ(GetKey(*list, "MCL Description"), Value(""));
    EXPECT_EQ(GetKey(*list, "MCL.IncludeDLs"), Value(false));
    EXPECT_EQ(lists()->Items()->Count(), 1);
}

TEST_F(frmRegMCLTest, DeleteTakesOutTheSelectedEntryAlone) {
    openForm(addList("L", {{"MCL Source", "A;B;C"},
                           {"MCL Source Email", "a@x.test;b@x.test;c@x.test"},
                           {"MCL Target", "Bob Baker"},
                           {"MCL Target Email", "bob@example.test"}}));
    get<QListWidget>("lstSource")->setCurrentRow(1);
    press("cmdDelSource");
    EXPECT_EQ(items("lstSource"), (QStringList{"A", "C"}));
    get<QListWidget>("lstSource")->setCurrentRow(0);
    press("cmdDelSource");
    const RDOMessagePtr list = save();
    EXPECT_EQ(keyText(*list, "MCL Source"), "C");
    EXPECT_EQ(keyText(*list, "MCL Source Email"), "c@x.test");
}

TEST_F(frmRegMCLTest, RefusesInOrder) {
    addList("Taken");
    openForm(EntryID());
    typeName("   ");
    expectRefusal(kNoName, "txtName");
    typeName("taken");
    expectRefusal("'taken' is already in use.\nPlease provide a different name", "txtName");
    typeName("Free");
    expectRefusal("You must select at least one name or distribution list as the Source",
                  "cmdSource");
    pick("cmdSource", {"Alice Adams"});
    expectRefusal("You must select at least one name or distribution list as the Target",
                  "cmdTarget");
    pick("cmdTarget", {"Bob Baker"});
    EXPECT_EQ(save()->Subject(), "Free");
}

TEST_F(frmRegMCLTest, OkWithoutAChangeWritesNothing) {
    const EntryID id = addFull();
    const Time before = open(id)->LastModificationTime();
    openForm(id);
    press("cmdOK");
    EXPECT_FALSE(form->isVisible());
    EXPECT_TRUE(form->saved().empty());
    EXPECT_EQ(open(id)->LastModificationTime(), before);
}

TEST_F(frmRegMCLTest, AKeyThatWasNeverWrittenIsTickedAndWritten) {
    const EntryID id = addFull();
    setKey(id, "MCL.IncludeDLs", Value());
    openForm(id);
    EXPECT_TRUE(get<QCheckBox>("chkIncludeDLs")->isChecked());
    EXPECT_EQ(GetKey(*save(), "MCL.IncludeDLs"), Value(true));
}

TEST_F(frmRegMCLTest, CancelAndEscapeWriteNothing) {
    openForm(EntryID());
    typeName("New");
    press("cmdCancel");
    EXPECT_FALSE(form->isVisible());
    openForm(EntryID());
    typeName("New");
    QTest::keyClick(form.get(), Qt::Key_Escape);
    EXPECT_FALSE(form->isVisible());
    EXPECT_TRUE(form->saved().empty());
    EXPECT_EQ(lists()->Items()->Count(), 0);
}

TEST_F(frmRegMCLTest, AChoiceThatIsTheSameIsNoChange) {
    openForm(addFull());
    pick("cmdTarget", {"Bob Baker"});
    press("cmdOK");
    EXPECT_FALSE(form->isVisible());
    EXPECT_TRUE(form->saved().empty());
}

TEST_F(frmRegMCLTest, ShowsTheMembers) {
    openForm(addFull());
    EXPECT_EQ(get<QPushButton>("cmdDetails0")->toolTip(),
              "Fully expand distribution lists to show all members");
    EXPECT_EQ(members("cmdDetails0"),
              (QStringList{"Members", "Alice Adams alice@example.test",
                           "Bob Baker bob@example.test", "Séan O'Brien obrien@example.test"}));
    EXPECT_EQ(members("cmdDetails1"), (QStringList{"Members", "Bob Baker bob@example.test"}));
}

TEST_F(frmRegMCLTest, Helps) {
    expectHelp(
        {{"Mandatory Contacts: Source",
          "Select the manadatory contacts you want written to user folders. An example of a "
          "mandatory contact would be 'Campus Security', or 'XYZ County Fire Department.' "
          "Choose any combination of individual mailboxes, custom recipients or distribution "
          "lists. Distribution lists will be expanded in order to create one contact for each "
          "list member. One additional mandatory contact will be created for the distribution "
          "list itself."},
         kTargetHelp,
         kDescriptionHelp},
        EntryID());
}

TEST_F(frmRegMCLTest, AListThatCantBeReadCantBeSaved) {
    const EntryID id = addFull();
    open(id)->Delete();
    world.ui.Expect("Unable to read the Mandatory Contact List! The list can't be opened.");
    openForm(id);
    EXPECT_FALSE(get<QPushButton>("cmdOK")->isEnabled());
}

TEST_F(frmRegMCLTest, StaysOpenWhenTheSaveFails) {
    const EntryID id = addFull();
    openForm(id);
    typeName("Other");
    open(id)->Delete();
    world.ui.Expect("Unable to save the Mandatory Contact List! The list can't be opened.");
    press("cmdOK");
    EXPECT_TRUE(form->isVisible());
    EXPECT_TRUE(form->saved().empty());
}

TEST_F(frmRegMCLTest, HasMnemonics) {
    openForm(EntryID());
    QTest::keyClick(form.get(), Qt::Key_R, Qt::AltModifier);
    EXPECT_EQ(form->focusWidget(), get<QListWidget>("lstTarget"));
    QTest::keyClick(form.get(), Qt::Key_P, Qt::AltModifier);
    EXPECT_EQ(form->focusWidget(), get<QPlainTextEdit>("txtDescription"));
    QTest::keyClick(form.get(), Qt::Key_M, Qt::AltModifier);
    EXPECT_EQ(form->focusWidget(), get<QListWidget>("lstSource"));
    QTest::keyClick(form.get(), Qt::Key_U, Qt::AltModifier);
    auto* box = get<QCheckBox>("chkIncludeDLs");
    EXPECT_TRUE(QTest::qWaitFor([&] { return !box->isChecked(); })); // it clicks with animation
}

/// The store fails at any call of opening and saving: no list is lost or emptied.
TEST(frmRegMCLFailures, AFailureNeverEmptiesAList) {
    MclWorld mcl;
    const EntryID id = mcl.addList("Sales", {{"MCL Source", "Alice Adams"},
                                             {"MCL Source Email", "alice@example.test"},
                                             {"MCL Target", "Bob Baker"},
                                             {"MCL Target Email", "bob@example.test"},
                                             {"MCL Description", "text"}});
    const int runs = ForEachFailure([&](const Arm& arm) {
        FailingSession failing(mcl.world);
        failing.LogOn();
        arm(failing.store.plan());
        frmRegMCL form(failing.session, id, nullptr);
        form.show();
        QTest::mouseClick(control<QPushButton>(&form, "cmdOK"), Qt::LeftButton);
        const bool failed = failing.store.plan().Failed();
        const RDOMessagePtr list = mcl.open(id);
        EXPECT_NE(list, nullptr);
        EXPECT_EQ(list->Subject(), "Sales");
        EXPECT_EQ(KeyText(*list, "MCL Source Email"), "alice@example.test");
        EXPECT_EQ(KeyText(*list, "MCL Target"), "Bob Baker");
        EXPECT_EQ(KeyText(*list, "MCL Description"), "text");
        EXPECT_EQ(form.saved().empty(), form.isVisible());
        mcl.setKey(id, "MCL.IncludeDLs", Value());
        return failed;
    });
    EXPECT_GT(runs, 40);
}

} // namespace
