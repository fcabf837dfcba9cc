#include "contacts/forms/frmRegMCLPf.h"

#include "tests/contacts/forms/RegMclFormTest.h"

namespace {

using namespace kr;

constexpr const char* kPath = "\\\\Public Folders\\All Public Folders\\Shared\\R & D";

class frmRegMCLPfTest : public RegMclFormTest<frmRegMCLPf> {
protected:
    RDOFolderPtr target() { return publicFolder("Shared")->Folders()->Item("R & D"); }
    void pickFolder(const RDOFolder& folder, std::string path) {
        world.ui.ExpectFolders({{folder.ID(), folder.StoreID(), std::move(path)}});
        press("cmdTarget");
    }
    EntryID addFull() {
        return addList("Partners", {{"MCL Source", "Alice Adams"},
                                    {"MCL Source Email", "alice@example.test"},
                                    {"MCL Target", kPath},
                                    {"MCL Target Email", target()->ID().text()},
                                    {"MCL PF", true},
                                    {"MCL.IncludeDLs", true}});
    }
};

TEST_F(frmRegMCLPfTest, SavesANewListWithItsKeys) {
    openForm(EntryID());
    EXPECT_EQ(form->windowTitle(), "EPS - Public Folder Contact List");
    EXPECT_FALSE(get<QPushButton>("cmdDelete")->isEnabled());
    typeName("Partners");
    pick("cmdSource", {"Sales"});
    pickFolder(*target(), kPath);
    EXPECT_EQ(text("txtPath"), "Public Folders\n  All Public Folders\n    Shared\n      R & D");
    QTest::mouseClick(get<QCheckBox>("chkIncludeDLs"), Qt::LeftButton, {}, {5, 5});
    const RDOMessagePtr list = save();
    EXPECT_EQ(list->Subject(), "Partners");
    EXPECT_EQ(GetKey(*list, "MCL PF"), Value(true));
    EXPECT_EQ(keyText(*list, "MCL Target"), kPath);
    EXPECT_EQ(keyText(*list, "MCL Target Email"), target()->ID().text());
    EXPECT_EQ(GetKey(*list, "MCL Target Count"), Value(int32_t{1}));
    EXPECT_EQ(keyText(*list, "MCL Source"), "Sales");
    EXPECT_EQ(keyText(*list, "MCL Source Email"), "sales@example.test");
    EXPECT_EQ(GetKey(*list, "MCL Source Count"), Value(int32_t{3}));
    EXPECT_EQ(GetKey(*list, "MCL.IncludeDLs"), Value(false));
    EXPECT_TRUE(GetKey(*list, "MCL Description").empty());
}

TEST_F(frmRegMCLPfTest, ShowsAndKeepsTheRawPath) {
    const EntryID id = addFull();
    openForm(id);
    EXPECT_EQ(text("txtPath"), "Public Folders\n  All Public Folders\n    Shared\n      R & D");
    typeName("Renamed");
    const RDOMessagePtr list = save();
    EXPECT_EQ(list->Subject(), "Renamed");
    EXPECT_EQ(keyText(*list, "MCL Target"), kPath);
    EXPECT_EQ(keyText(*list, "MCL Target Email"), target()->ID().text());
}

TEST_F(frmRegMCLPfTest, RefusesInOrder) {
    addList("Taken");
    openForm(EntryID());
    expectRefusal("You must provide a unique name for this Public Folder Contact List", "txtName");
    typeName("Taken");
    expectRefusal("'Taken' is already in use.\nPlease provide a different name", "txtName");
    typeName("Free");
    expectRefusal("You must select at least one name or distribution list as the Source",
                  "cmdSource");
    pick("cmdSource", {"Sales"});
    expectRefusal("You must select a Public Folder as the Target", "cmdTarget");
    pickFolder(*target(), kPath);
    press("cmdDelete");
    EXPECT_EQ(text("txtPath"), "");
    EXPECT_FALSE(get<QPushButton>("cmdDelete")->isEnabled());
    expectRefusal("You must select a Public Folder as the Target", "cmdTarget");
}

TEST_F(frmRegMCLPfTest, TheRepositoryCantBeTheTarget) {
    const RDOFolderPtr shared = publicFolder("Shared");
    add(*session().agentInfo, kMcrClass, kMcrName, {{"MCR EntryID", shared->ID().text()}});
    openForm(addFull());
    world.ui.Expect("This folder is the current Master Contact Repository.\n"
                    "It can't be used as Public Folder MCL!");
    pickFolder(*shared, "\\\\Public Folders\\All Public Folders\\Shared");
    EXPECT_TRUE(text("txtPath").endsWith("R & D"));
    press("cmdOK");
    EXPECT_TRUE(form->saved().empty()) << "nothing was changed";
}

TEST_F(frmRegMCLPfTest, CancelledAndUnchangedPicksAreNoChange) {
    openForm(addFull());
    world.ui.ExpectFolders({});
    press("cmdTarget");
    pickFolder(*target(), kPath);
    press("cmdOK");
    EXPECT_FALSE(form->isVisible());
    EXPECT_TRUE(form->saved().empty());
}

TEST_F(frmRegMCLPfTest, Helps) {
    expectHelp(
        {{"Public Folder Contact List: Source",
          "Select the contacts you want replicated to a Public Folder. An example of a "
          "contact would be 'Campus Security', or 'XYZ County Fire Department.' Choose any "
          "combination of individual mailboxes, custom recipients or distribution lists. "
          "Distribution lists will be expanded in order to create one contact for each list "
          "member. One additional contact will be created for the distribution list itself."},
         {"Public Folder Contact List: Target",
          "Select the Public Folder that will receive a copy of the source contacts."},
         {"Public Folder Contact List: Description (optional)",
          "Text entered here will appear in the Notes field of contacts that are directly "
          "created by this process. A contact that belongs to more than one list will include "
          "descriptions from each of its parent lists."}},
        EntryID());
}

TEST_F(frmRegMCLPfTest, CancelWritesNothing) {
    const EntryID id = addFull();
    openForm(id);
    typeName("Other");
    press("cmdCancel");
    EXPECT_TRUE(form->saved().empty());
    EXPECT_EQ(open(id)->Subject(), "Partners");
}

/// A picker that can't read any folder.
class BrokenPicker : public ScriptedUi {
public:
    std::vector<FolderPick> PickFolders(RDOSession&, const FolderPickOptions& options) override {
        asked = options;
        throw PlatformError(MAPI_E_CALL_FAILED, "No folder can be read.");
    }
    FolderPickOptions asked;
};

TEST(frmRegMCLPfFailures, APickerFailureIsShown) {
    MclWorld mcl;
    PersonSession<BrokenPicker> broken(mcl.world);
    BrokenPicker& ui = broken.ui;
    frmRegMCLPf form(broken.session, EntryID(), nullptr);
    form.show();
    ui.Expect("There was an error loading the folder list!\nDetails are in the log.");
    QTest::mouseClick(control<QPushButton>(&form, "cmdTarget"), Qt::LeftButton);
    EXPECT_EQ(ui.asked.title, "Select a Contacts folder");
    EXPECT_TRUE(ui.asked.allowContacts);
    EXPECT_FALSE(ui.asked.showMailbox);
    EXPECT_TRUE(mcl.world.logHas("No folder can be read."));
}

} // namespace
