#include "contacts/forms/frmRegMclACF.h"

#include "tests/contacts/forms/RegMclFormTest.h"

namespace {

using namespace kr;

constexpr const char* kUnopened = "Unable to open the Source folder!\n"
                                  "Verify that the folder exists and that the \n"
                                  "logged-in account has rights to view and open it";
constexpr const char* kShownPath = "Public Folders\n  All Public Folders\n    Shared";

class frmRegMclACFTest : public RegMclFormTest<frmRegMclACF> {
protected:
    frmRegMclACFTest() {
        source.acf = addFolderSource("Shared People", {{"ACS.Guid", "G1"}});
        source.guid = "G1";
        source.folder = publicFolder("Shared")->ID();
    }
    void openNew() { openForm(EntryID(), static_cast<const MclSource*>(&source)); }
    void openOld(const EntryID& id) { openForm(id, static_cast<const MclSource*>(nullptr)); }
    EntryID addFull(const TestKeys& links) {
        TestKeys keys{{"MCL Target", "Bob Baker"}, {"MCL Target Email", "bob@example.test"}};
        keys.insert(keys.end(), links.begin(), links.end());
        return addList("Folder List", keys);
    }

    MclSource source;
};

TEST_F(frmRegMclACFTest, SavesANewListOnItsSource) {
    openNew();
    EXPECT_EQ(form->windowTitle(), "EPS - Mandatory Contact Folder");
    EXPECT_EQ(get<QLineEdit>("txtName")->text(), "Shared People");
    EXPECT_EQ(text("txtPath"), kShownPath);
    EXPECT_TRUE(get<QPlainTextEdit>("txtPath")->isReadOnly());
    EXPECT_FALSE(get<QCheckBox>("chkNoSMTP")->isChecked());
    EXPECT_TRUE(world.logHas(":frmRegMclACF: using data from ACF message Shared People\n"));
    pick("cmdTarget", {"Sales"});
    QTest::mouseClick(get<QCheckBox>("chkNoSMTP"), Qt::LeftButton, {}, {5, 5});
    const RDOMessagePtr list = save();
    EXPECT_EQ(list->Subject(), "Shared People");
    EXPECT_EQ(keyText(*list, "ACS.Guid"), "G1");
    EXPECT_EQ(keyText(*list, "MCL Target"), "Sales");
    EXPECT_EQ(keyText(*list, "MCL Target Email"), "sales@example.test");
    EXPECT_EQ(GetKey(*list, "MCL Target Count"), Value(int32_t{3}));
    EXPECT_EQ(GetKey(*list, "MCL Source No SMTP"), Value(true));
    for (const char* absent : {"MCL Source", "MCL ACDSID", "MCL.IncludeDLs", "MCL PF",
                               "MCL Source EntryID", "MCL Description"})
        EXPECT_TRUE(GetKey(*list, absent).empty()) << absent;
}

TEST_F(frmRegMclACFTest, RefusesInOrder) {
    addList("Shared People");
    openNew();
    typeName("");
    expectRefusal("You must provide a unique name for this Mandatory Contact List", "txtName");
    typeName("Shared People");
    expectRefusal("'Shared People' is already in use.\nPlease provide a different name", "txtName");
    typeName("Free");
    expectRefusal("You must select at least one name or distribution list as the Target",
                  "cmdTarget");
}

TEST_F(frmRegMclACFTest, ShowsAListByItsGuid) {
    const EntryID id =
        addFull({{"ACS.Guid", "G1"}, {"MCL Source No SMTP", true}, {"MCL Description", "text"}});
    openOld(id);
    EXPECT_EQ(get<QLineEdit>("txtName")->text(), "Folder List");
    EXPECT_EQ(text("txtPath"), kShownPath);
    EXPECT_EQ(text("txtDescription"), "text");
    EXPECT_TRUE(get<QCheckBox>("chkNoSMTP")->isChecked());
    press("cmdOK");
    EXPECT_TRUE(form->saved().empty());
    EXPECT_FALSE(form->isVisible());
    openOld(id);
    typeName("Renamed");
    EXPECT_EQ(keyText(*save(), "ACS.Guid"), "G1");
}

TEST_F(frmRegMclACFTest, AnOldListIsLinkedWhenItIsSaved) {
    const EntryID id = addFull({{"MCL ACF.MsgID", source.acf.text()}});
    openOld(id);
    EXPECT_EQ(text("txtPath"), kShownPath);
    typeName("Renamed");
    EXPECT_EQ(keyText(*save(), "ACS.Guid"), "G1");
}

TEST_F(frmRegMclACFTest, WithoutASourceRecordTheOldFolderIsShown) {
    const RDOFolderPtr deep = publicFolder("Shared")->Folders()->Item("R & D");
    const EntryID id = addFull({{"ACS.Guid", "GONE"},
                                {"MCL Source EntryID", deep->ID().text()},
                                {"MCL Source StoreID", deep->StoreID().text()}});
    openOld(id);
    EXPECT_EQ(text("txtPath"), QString(kShownPath) + "\n      R & D");
    EXPECT_TRUE(world.logHas(":frmRegMclACF: failed to retrieve ACF message using AcsGuid GONE\n"));
    typeName("Renamed");
    EXPECT_EQ(keyText(*save(), "ACS.Guid"), "GONE") << "a link is never emptied";
}

TEST_F(frmRegMclACFTest, AFolderThatCantBeOpenedIsSaidInRed) {
    const RDOFolderPtr gone = publicFolder("Shared")->Folders()->Add("Gone", "IPF.Contact");
    setKey(source.acf, "ACF EntryID", gone->ID().text());
    gone->Delete();
    openNew();
    EXPECT_EQ(text("txtPath"), kUnopened);
    EXPECT_EQ(get<QPlainTextEdit>("txtPath")->palette().color(QPalette::Text), QColor(255, 0, 0));
    EXPECT_FALSE(get<QPushButton>("cmdDetails0")->isEnabled());
}

TEST_F(frmRegMclACFTest, ShowsContactsAndMembers) {
    const RDOFolderPtr shared = publicFolder("Shared");
    addContact(*shared, "Zoe", "zoe@partner.test", "0x8093");
    addContact(*shared, "Yves", "");
    openOld(addFull({{"ACS.Guid", "G1"}}));
    EXPECT_EQ(get<QPushButton>("cmdDetails0")->toolTip(),
              "Show all contacts in this folder with at least on e e-mail address");
    EXPECT_EQ(get<QPushButton>("cmdDetails0")->text(), "M&embers...");
    EXPECT_EQ(get<QPushButton>("cmdDetails1")->text(), "Mem&bers...");
    EXPECT_EQ(members("cmdDetails0"), (QStringList{"Members", "Zoe zoe@partner.test"}));
    get<QCheckBox>("chkNoSMTP")->setChecked(true);
    EXPECT_EQ(members("cmdDetails0"), (QStringList{"Members", "Yves ", "Zoe zoe@partner.test"}));
    EXPECT_EQ(members("cmdDetails1"), (QStringList{"Members", "Bob Baker bob@example.test"}));
    EXPECT_EQ(get<QPushButton>("cmdDetails1")->toolTip(),
              "Fully expand distribution lists to show all members");
}

TEST_F(frmRegMclACFTest, Helps) {
    expectHelp({{"Mandatory Contacts: Source",
                 "Each valid contact in the specified folder will be written to the target user "
                 "folders. To be valid a contact must have at least one e-mail address."},
                kTargetHelp,
                kDescriptionHelp},
               EntryID(), static_cast<const MclSource*>(&source));
}

TEST_F(frmRegMclACFTest, CancelWritesNothing) {
    openNew();
    press("cmdCancel");
    EXPECT_TRUE(form->saved().empty());
    EXPECT_EQ(lists()->Items()->Count(), 0);
}

} // namespace
