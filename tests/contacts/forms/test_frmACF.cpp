#include "contacts/forms/frmACF.h"

#include "console/forms/Icons.h"
#include "tests/contacts/forms/AcfFormTest.h"

namespace {

using namespace kr;

class frmACFTest : public AcfFormTest {
protected:
    frmACFTest() { folder = publicFolder("Suppliers"); }
    EntryID addSource() {
        return addAcf("Suppliers", folder->ID(),
                      {{kAcfPathKey, "stored path"},
                       {kAcfDescriptionKey, "old text"},
                       {kAcfAdminsKey, "Alice Adams;Bob Baker"},
                       {kAcfAdminsEmailKey, "alice@example.test;bob@example.test"}});
    }
    QStringList admins() {
        QStringList names;
        auto* list = control<QListWidget>(form.get(), "lstAdmins");
        for (int i = 0; i < list->count(); ++i)
            names << list->item(i)->text();
        return names;
    }
    PickedRecipient entry(std::string_view name) {
        return {world.Entry(name)->ID(), world.Entry(name)->Name()};
    }
    RDOFolderPtr folder;
};

TEST_F(frmACFTest, ANewSourceIsCheckedAndSaved) {
    open<frmACF>();
    EXPECT_EQ(form->windowTitle(), "EPS - Alternate Contact Public Folder");
    refused("You must select an Alternate Contact Folder");
    EXPECT_EQ(form->focusWidget(), button("cmdPath"));
    ui.ExpectFolders({pickOf(folder)});
    press("cmdPath");
    EXPECT_EQ(ui.asked[0].title, "Select a Contacts folder");
    EXPECT_TRUE(ui.asked[0].allowContacts && ui.asked[0].showPublicFolders);
    EXPECT_FALSE(ui.asked[0].showMailbox);
    EXPECT_EQ(path(), "Public Folders\n  All Public Folders\n    Suppliers");
    EXPECT_EQ(line("txtName")->text(), "Suppliers");
    line("txtName")->setText("  ");
    refused("You must provide a unique name for this Alternate Contact Folder");
    EXPECT_EQ(form->focusWidget(), line("txtName"));
    line("txtName")->setText(" Partners ");
    press("cmdOK");
    EXPECT_FALSE(form->isVisible());
    const EntryID id = saved();
    ASSERT_FALSE(id.empty());
    EXPECT_EQ(GetMessage(own, id)->Subject(), "Partners");
    EXPECT_EQ(key(id, kAcfFolderKey), folder->ID().text());
    EXPECT_EQ(key(id, kAcfPathKey), "\\\\Public Folders\\All Public Folders\\Suppliers");
    EXPECT_EQ(key(id, kAcsGuidKey).size(), 36u);
    EXPECT_TRUE(GetKey(*GetMessage(own, id), kAcfDescriptionKey).empty());
    EXPECT_TRUE(GetKey(*GetMessage(own, id), kAcfMailboxKey).empty());
}

TEST_F(frmACFTest, ASourceIsShownAndClosedUnchanged) {
    const EntryID id = addSource();
    open<frmACF>(id);
    EXPECT_EQ(line("txtName")->text(), "Suppliers");
    EXPECT_EQ(text("txtDescription")->toPlainText(), "old text");
    EXPECT_EQ(path(), "Public Folders\n  All Public Folders\n    Suppliers");
    EXPECT_EQ(admins(), (QStringList{"Alice Adams", "Bob Baker"}));
    EXPECT_EQ(button("cmdDetails")->toolTip(),
              "Fully expand distribution lists to show all members");
    press("cmdOK");
    EXPECT_FALSE(form->isVisible());
    EXPECT_TRUE(saved().empty());
    EXPECT_EQ(key(id, kAcsGuidKey), "");
    EXPECT_EQ(key(id, kAcfPathKey), "stored path");
}

TEST_F(frmACFTest, CancelWritesNothing) {
    const EntryID id = addSource();
    open<frmACF>(id);
    append("txtName", "!");
    press("cmdCancel");
    EXPECT_TRUE(saved().empty());
    EXPECT_EQ(GetMessage(own, id)->Subject(), "Suppliers");
}

TEST_F(frmACFTest, ChangesAreWrittenAndTheGuidStays) {
    const EntryID id = addSource();
    open<frmACF>(id);
    append("txtName", " 2");
    text("txtDescription")->clear();
    press("cmdOK");
    EXPECT_EQ(saved(), id);
    EXPECT_EQ(GetMessage(own, id)->Subject(), "Suppliers 2");
    EXPECT_FALSE(GetKey(*GetMessage(own, id), kAcfDescriptionKey).empty()); // it had text
    EXPECT_EQ(key(id, kAcfDescriptionKey), "");
    EXPECT_EQ(key(id, kAcfAdminsKey), "Alice Adams;Bob Baker");
    const std::string guid = key(id, kAcsGuidKey); // a record of before has got one
    EXPECT_EQ(guid.size(), 36u);
    open<frmACF>(id);
    QTest::keyClicks(text("txtDescription"), "new");
    press("cmdOK");
    EXPECT_EQ(key(id, kAcsGuidKey), guid);
    EXPECT_EQ(key(id, kAcfDescriptionKey), "new");
    EXPECT_EQ(countOf(kAcfClass), 1u);
}

TEST_F(frmACFTest, ANameThatIsTakenIsRefused) {
    addAcds("Database");
    open<frmACF>(addSource());
    line("txtName")->selectAll();
    QTest::keyClicks(line("txtName"), "database");
    refused("'database' is already in use.\nPlease provide a different name");
    EXPECT_EQ(form->focusWidget(), line("txtName"));
    append("txtName", "2");
    press("cmdOK");
    EXPECT_FALSE(saved().empty());
}

TEST_F(frmACFTest, FoldersThatAreTakenAreRefused) {
    showNode(addAcf("Taken", folder->ID()));
    const RDOFolderPtr free = publicFolder("Free");
    const RDOFolderPtr repository = GetMCRFolder(own);
    open<frmACF>();
    ui.ExpectFolders({pickOf(folder)});
    ui.Expect("Suppliers has already been designated as an Alternate Contacts folder!\n"
              "Please try again.");
    ui.ExpectFolders({pickOf(repository)});
    ui.Expect("Master Contact Repository is the Master Contacts Repository!\nPlease try again.");
    ui.ExpectFolders({pickOf(free)});
    press("cmdPath");
    ASSERT_EQ(ui.asked.size(), 3u);
    EXPECT_EQ(ui.asked[0].startPath, "");
    EXPECT_EQ(ui.asked[1].startPath, pickOf(folder).path); // where the person was
    EXPECT_EQ(ui.asked[2].startPath, pickOf(repository).path);
    EXPECT_EQ(line("txtName")->text(), "Free");
}

TEST_F(frmACFTest, ItsOwnFolderMayComeBack) {
    const EntryID id = addSource();
    showNode(id);
    const RDOFolderPtr other = publicFolder("Other");
    open<frmACF>(id);
    ui.ExpectFolders({pickOf(folder)}); // the same one: no change
    press("cmdPath");
    EXPECT_EQ(ui.asked[0].startPath, "\\\\Public Folders\\All Public Folders\\Suppliers");
    ui.ExpectFolders({pickOf(other)});
    press("cmdPath");
    ui.ExpectFolders({pickOf(folder)});
    press("cmdPath");
    EXPECT_EQ(ui.asked[2].startPath, "\\\\Public Folders\\All Public Folders\\Other");
    press("cmdOK");
    EXPECT_EQ(saved(), id);
    EXPECT_EQ(key(id, kAcfFolderKey), folder->ID().text());
    EXPECT_EQ(line("txtName")->text(), "Suppliers");
}

TEST_F(frmACFTest, AnEmptyChoiceClearsTheFolder) {
    const EntryID id = addSource();
    open<frmACF>(id);
    ui.ExpectFolders({}); // cancelled
    press("cmdPath");
    EXPECT_NE(path(), "");
    ui.ExpectFolders({FolderPick{}});
    press("cmdPath");
    EXPECT_EQ(path(), "");
    refused("You must select an Alternate Contact Folder");
    press("cmdCancel");
    EXPECT_EQ(key(id, kAcfFolderKey), folder->ID().text());
}

TEST_F(frmACFTest, AnOrphanRecordIsTakenUp) {
    const EntryID orphan = addSource();
    {
        const RDOMessagePtr record = GetMessage(own, orphan);
        SetKey(*record, kAcsGuidKey, "G-1");
        record->Save();
    }
    open<frmACF>();
    QTest::keyClicks(line("txtName"), "Typed");
    ui.ExpectFolders({pickOf(folder)});
    press("cmdPath");
    EXPECT_EQ(line("txtName")->text(), "Suppliers");
    EXPECT_EQ(text("txtDescription")->toPlainText(), "old text");
    EXPECT_EQ(admins(), (QStringList{"Alice Adams", "Bob Baker"}));
    press("cmdOK");
    EXPECT_EQ(saved(), orphan);
    EXPECT_EQ(key(orphan, kAcsGuidKey), "G-1");
    EXPECT_EQ(key(orphan, kAcfPathKey), "\\\\Public Folders\\All Public Folders\\Suppliers");
    EXPECT_EQ(countOf(kAcfClass), 1u);
}

TEST_F(frmACFTest, AFolderThatIsGoneIsToldInRed) {
    const EntryID id = addSource();
    folder->Delete();
    open<frmACF>(id);
    EXPECT_EQ(path(), "Unable to open the Source folder!\nVerify that the folder exists and that "
                      "the \nlogged-in account has rights to view and open it");
    EXPECT_EQ(text("txtPath")->palette().color(QPalette::Text), QColor(255, 0, 0));
    append("txtName", " 2"); // it may be renamed all the same
    press("cmdOK");
    EXPECT_EQ(saved(), id);
    EXPECT_EQ(key(id, kAcfPathKey), "stored path");
    open<frmACF>(id);
    ui.ExpectFolders({pickOf(publicFolder("New"))});
    press("cmdPath");
    EXPECT_NE(text("txtPath")->palette().color(QPalette::Text), QColor(255, 0, 0));
}

TEST_F(frmACFTest, AdminsAreChosenAndShown) {
    const EntryID id = addSource();
    open<frmACF>(id);
    ui.ExpectAddressBook(std::nullopt);
    press("cmdAdmins");
    EXPECT_EQ(ui.preselected()[0].size(), 2u);
    EXPECT_EQ(ui.toLabels(), std::vector<std::string>{"List"});
    ui.ExpectAddressBook(std::vector<PickedRecipient>{entry("Sales")});
    press("cmdAdmins");
    EXPECT_EQ(admins(), QStringList{"Sales"});
    QString title;
    whenModal("frmDetails", [&](QWidget* members) {
        title = members->windowTitle();
        members->close();
    });
    press("cmdDetails");
    EXPECT_EQ(title, "Members");
    press("cmdOK");
    EXPECT_EQ(saved(), id);
    EXPECT_EQ(key(id, kAcfAdminsKey), "Sales");
    EXPECT_EQ(key(id, kAcfAdminsEmailKey), "sales@example.test");
}

TEST_F(frmACFTest, FailuresAreTold) {
    open<frmACF>();
    ui.fails = true;
    ui.Expect("There was an error loading the folder list!\nDetails are in the log.");
    press("cmdPath");
    EXPECT_TRUE(world.logHas("frmACF: " + std::to_string(MAPI_E_NOT_FOUND) + " no folders"));
    ui.fails = false;
    const FolderPick pick = pickOf(folder);
    folder->Delete();
    ui.ExpectFolders({pick});
    ui.Expect("Unable to open the folder!\nThe folder can't be opened.");
    ui.ExpectFolders({});
    press("cmdPath");
    EXPECT_EQ(path(), "");
}

TEST_F(frmACFTest, AnUnreadableRecordCannotBeSaved) {
    const EntryID id = addSource();
    GetMessage(own, id)->Delete();
    ui.Expect("Unable to open the contact source!\nSee the KR-Admin.log for details");
    open<frmACF>(id);
    EXPECT_FALSE(button("cmdOK")->isEnabled());
    press("cmdCancel");
    EXPECT_FALSE(form->isVisible());
}

TEST_F(frmACFTest, ASaveThatFailsLeavesItOpen) {
    const EntryID id = addSource();
    FailingSession failing(world);
    failing.LogOn();
    frmACF broken(failing.session, tree, id);
    broken.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&broken));
    control<QLineEdit>(&broken, "txtName")->end(false);
    QTest::keyClicks(control<QLineEdit>(&broken, "txtName"), "!");
    const auto ok = [&](int from) {
        failing.store.plan().FailFrom(from);
        QTest::mouseClick(control<QPushButton>(&broken, "cmdOK"), Qt::LeftButton);
        return failing.store.plan().Calls();
    };
    int from = 1;
    for (; from < 200 && broken.isVisible(); ++from) {
        EXPECT_EQ(GetMessage(own, id)->Subject(), "Suppliers");
        failing.ui.shown.clear();
        ok(from);
        EXPECT_EQ(failing.ui.shown.size(), broken.isVisible() ? 1u : 0u) << from;
    }
    EXPECT_GT(from, 10);
    EXPECT_EQ(broken.saved(), id);
    EXPECT_EQ(GetMessage(own, id)->Subject(), "Suppliers!");
}

TEST_F(frmACFTest, TheImageOfAnInactiveSourceIsPale) {
    const auto image = [](std::string_view name, bool dimmed = false) {
        return IconOf(name, dimmed).pixmap(32).toImage();
    };
    // a picture of its own, which isn't made paler still
    EXPECT_NE(image("imgContactGhost"), image("imgContact"));
    EXPECT_EQ(image("imgContactGhost", true), image("imgContactGhost"));
    // without one, that of an active source
    EXPECT_NE(image("imgExcelGhost"), image("imgExcel"));
    EXPECT_EQ(image("imgExcelGhost"), image("imgExcel", true));
    EXPECT_EQ(image("imgExcelGhost", true), image("imgExcel", true));
    EXPECT_EQ(image("unknown"), image("imgFolder"));
}

TEST_F(frmACFTest, TheKeyboardReachesEverything) {
    open<frmACF>(addSource());
    EXPECT_EQ(tabOrder(), (std::vector<std::string>{"txtName", "txtDescription", "cmdPath",
                                                    "txtPath", "cmdAdmins", "lstAdmins",
                                                    "cmdDetails", "cmdOK", "cmdCancel"}));
    const std::pair<char, const char*> fields[] = {
        {'p', "txtPath"}, {'i', "lstAdmins"}, {'n', "txtName"}};
    for (const auto& [letter, field] : fields) {
        alt(letter);
        EXPECT_EQ(form->focusWidget()->objectName(), field);
    }
    ui.ExpectFolders({});
    altButton('f', [&] { return ui.asked.size() == 1; });
    ui.ExpectAddressBook(std::nullopt);
    altButton('a', [&] { return ui.preselected().size() == 1; });
    line("txtName")->setFocus();
    append("txtName", "!");
    QTest::keyClick(line("txtName"), Qt::Key_Return);
    EXPECT_FALSE(form->isVisible());
    EXPECT_FALSE(saved().empty());
}

} // namespace
