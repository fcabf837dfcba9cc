#include "contacts/forms/frmMCR.h"

#include "tests/contacts/forms/AcfFormTest.h"

namespace {

using namespace kr;

const std::string kClick = "Click Select to choose the Master Contact Repository folder";

class frmMCRTest : public AcfFormTest {
protected:
    EntryID record() { return GetMCRMessage(own)->ID(); }
    EntryID folderOfRecord() { return EntryID(key(record(), kMcrFolderKey)); }
};

TEST_F(frmMCRTest, ShowsTheFolderAndClosesUnchanged) {
    open<frmMCR>(record());
    EXPECT_EQ(form->windowTitle(), "EPS - Master Contact Repository");
    EXPECT_EQ(path(), "Mailbox - Agent Mailbox\n  Master Contact Repository");
    EXPECT_TRUE(text("txtPath")->isReadOnly());
    const Time before = GetMCRMessage(own)->LastModificationTime();
    press("cmdOK");
    EXPECT_FALSE(form->isVisible());
    EXPECT_TRUE(saved().empty());
    EXPECT_EQ(GetMCRMessage(own)->LastModificationTime(), before);
}

TEST_F(frmMCRTest, ANewFolderIsStored) {
    const EntryID id = record();
    open<frmMCR>(id);
    const RDOFolderPtr folder = publicFolder("Suppliers");
    ui.ExpectFolders({pickOf(folder)});
    press("cmdPath");
    ASSERT_EQ(ui.asked.size(), 1u);
    EXPECT_EQ(ui.asked[0].title, "Select a Contacts folder");
    EXPECT_EQ(ui.asked[0].startPath, "\\\\Mailbox - Agent Mailbox\\Master Contact Repository");
    EXPECT_TRUE(ui.asked[0].allowContacts && ui.asked[0].showMailbox &&
                ui.asked[0].showPublicFolders);
    EXPECT_EQ(path(), "Public Folders\n  All Public Folders\n    Suppliers");
    EXPECT_NE(folderOfRecord(), folder->ID());
    press("cmdOK");
    EXPECT_FALSE(form->isVisible());
    EXPECT_EQ(saved(), id);
    EXPECT_EQ(folderOfRecord(), folder->ID());
    EXPECT_EQ(key(id, kMcrPathKey), "\\\\Public Folders\\All Public Folders\\Suppliers");
    EXPECT_EQ(countOf(kMcrClass), 1u);
}

TEST_F(frmMCRTest, CancelWritesNothing) {
    open<frmMCR>(record());
    const EntryID before = folderOfRecord();
    ui.ExpectFolders({pickOf(publicFolder("Suppliers"))});
    press("cmdPath");
    press("cmdCancel");
    EXPECT_FALSE(form->isVisible());
    EXPECT_TRUE(saved().empty());
    EXPECT_EQ(folderOfRecord(), before);
}

TEST_F(frmMCRTest, TheSameFolderAndNoFolderChangeNothing) {
    open<frmMCR>(record());
    ui.ExpectFolders({pickOf(GetMCRFolder(own))});
    press("cmdPath");
    ui.ExpectFolders({});
    press("cmdPath");
    ui.ExpectFolders({FolderPick{}});
    press("cmdPath");
    press("cmdOK");
    EXPECT_TRUE(saved().empty());
}

TEST_F(frmMCRTest, ASourceIsRefusedAndThePickerComesBack) {
    const RDOFolderPtr folder = publicFolder("Suppliers");
    const RDOFolderPtr other = publicFolder("Partners");
    showNode(addAcf("Suppliers of ours", folder->ID()));
    open<frmMCR>(record());
    ui.ExpectFolders({pickOf(folder)});
    ui.Expect("Suppliers has already been designated as an Alternate Contacts Folder!\n"
              "Please try again.");
    ui.ExpectFolders({pickOf(other)});
    press("cmdPath");
    ASSERT_EQ(ui.asked.size(), 2u);
    EXPECT_EQ(ui.asked[1].startPath, pickOf(folder).path); // where the person was
    press("cmdOK");
    EXPECT_EQ(folderOfRecord(), other->ID());
    EXPECT_EQ(countOf(kAcfClass), 1u);
}

TEST_F(frmMCRTest, AnOrphanRecordIsDropped) {
    const RDOFolderPtr folder = publicFolder("Suppliers");
    addAcf("Suppliers", folder->ID());
    const EntryID other = addAcf("Other", EntryID("00AA"));
    PutTrustRanking(own, "Suppliers, once|Other");
    LoadAcfTree(own, tree);
    open<frmMCR>(record());
    ui.ExpectFolders({pickOf(folder)});
    press("cmdPath");
    EXPECT_EQ(countOf(kAcfClass), 2u);
    press("cmdOK");
    EXPECT_EQ(countOf(kAcfClass), 1u);
    EXPECT_TRUE(GetMessage(own, other));
    EXPECT_EQ(GetTrustRanking(own), "Other");
}

TEST_F(frmMCRTest, WithoutARecordOneIsMade) {
    GetMCRMessage(own)->Delete();
    ui.Expect(kClick);
    open<frmMCR>();
    EXPECT_EQ(path(), "");
    const RDOFolderPtr folder = publicFolder("Suppliers");
    ui.ExpectFolders({pickOf(folder)});
    press("cmdPath");
    press("cmdOK");
    EXPECT_EQ(saved(), record());
    EXPECT_EQ(GetMCRMessage(own)->Subject(), kMcrName);
    EXPECT_EQ(folderOfRecord(), folder->ID());
}

TEST_F(frmMCRTest, WithoutARecordOKAloneMakesOne) {
    GetMCRMessage(own)->Delete();
    ui.Expect(kClick);
    open<frmMCR>();
    press("cmdOK");
    EXPECT_EQ(saved(), record());
    EXPECT_EQ(key(record(), kMcrFolderKey), "");
}

TEST_F(frmMCRTest, ARecordThatCameMeanwhileIsTaken) {
    const EntryID there = record();
    ui.Expect(kClick);
    open<frmMCR>(); // the caller couldn't have it
    ui.ExpectFolders({pickOf(publicFolder("Suppliers"))});
    press("cmdPath");
    press("cmdOK");
    EXPECT_EQ(saved(), there);
    EXPECT_EQ(countOf(kMcrClass), 1u);
}

TEST_F(frmMCRTest, AFolderThatIsGoneAsksForAnother) {
    GetMCRFolder(own)->Delete();
    ui.Expect(kClick);
    open<frmMCR>(record());
    EXPECT_EQ(path(), "");
}

TEST_F(frmMCRTest, AFailingPickerIsTold) {
    open<frmMCR>(record());
    ui.fails = true;
    ui.Expect("There was an error loading the folder list!\nDetails are in the log.");
    press("cmdPath");
    EXPECT_TRUE(world.logHas("frmMCR: " + std::to_string(MAPI_E_NOT_FOUND) + " no folders"));
    EXPECT_TRUE(form->isVisible());
}

TEST_F(frmMCRTest, AFolderThatCannotBeOpenedIsTold) {
    open<frmMCR>(record());
    const RDOFolderPtr folder = publicFolder("Suppliers");
    const FolderPick pick = pickOf(folder);
    folder->Delete();
    ui.ExpectFolders({pick});
    ui.Expect("");
    ui.ExpectFolders({});
    press("cmdPath");
    EXPECT_EQ(ui.boxes().back().text.find("Unable to open the folder!\n"), 0u);
    press("cmdOK");
    EXPECT_TRUE(saved().empty());
}

TEST_F(frmMCRTest, ASaveThatFailsLeavesItOpen) {
    FailingSession failing(world);
    failing.LogOn();
    const EntryID id = record();
    const RDOFolderPtr folder = publicFolder("Suppliers");
    frmMCR broken(failing.session, tree, id);
    broken.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&broken));
    failing.ui.ExpectFolders({pickOf(folder)});
    QTest::mouseClick(control<QPushButton>(&broken, "cmdPath"), Qt::LeftButton);
    failing.store.plan().FailFrom(1);
    QTest::mouseClick(control<QPushButton>(&broken, "cmdOK"), Qt::LeftButton);
    EXPECT_TRUE(broken.isVisible());
    EXPECT_TRUE(broken.saved().empty());
    ASSERT_EQ(failing.ui.shown.size(), 1u);
    EXPECT_EQ(failing.ui.shown[0].find("Unable to save the Master Contact Repository!\n"), 0u);
    EXPECT_NE(folderOfRecord(), folder->ID());
}

TEST_F(frmMCRTest, TheKeyboardReachesEverything) {
    open<frmMCR>(record());
    EXPECT_EQ(tabOrder(), (std::vector<std::string>{"cmdPath", "txtPath", "cmdOK", "cmdCancel"}));
    const RDOFolderPtr folder = publicFolder("Suppliers");
    ui.ExpectFolders({pickOf(folder)});
    altButton('f', [&] { return ui.asked.size() == 1; });
    alt('r');
    EXPECT_EQ(form->focusWidget()->objectName(), "txtPath");
    QTest::keyClick(form.get(), Qt::Key_Return);
    EXPECT_FALSE(form->isVisible());
    EXPECT_EQ(folderOfRecord(), folder->ID());
    open<frmMCR>(record());
    QTest::keyClick(form.get(), Qt::Key_Escape);
    EXPECT_FALSE(form->isVisible());
}

} // namespace
