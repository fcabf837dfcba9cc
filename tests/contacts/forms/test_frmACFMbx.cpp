#include "contacts/forms/frmACFMbx.h"

#include "platform/store/sqlite/Organisation.h"
#include "tests/contacts/forms/AcfFormTest.h"

namespace {

using namespace kr;

constexpr PropTag kHomeMTA = 0x8007001E;
const std::string kBob = "bob@example.test";

class frmACFMbxTest : public AcfFormTest {
protected:
    frmACFMbxTest() { staff = bobs("Staff"); }
    EntryID addSource() {
        return addAcf("Staff", staff->ID(),
                      {{kAcfStoreKey, staff->StoreID().text()},
                       {kAcfMailboxKey, kBob},
                       {kAcfServerKey, "EX7"},
                       {kAcfPathKey, "\\Staff"}});
    }
    std::vector<PickedRecipient> entry(std::string_view name) {
        return {{world.Entry(name)->ID(), world.Entry(name)->Name()}};
    }
    /// Chooses the mailbox; the folder picker that follows gives that.
    void chooseMailbox(std::string_view name, const std::vector<FolderPick>& picks) {
        ui.ExpectAddressBook(entry(name));
        ui.ExpectFolders(picks);
        press("cmdMbx");
    }
    /// Somebody whose mailbox is on a server that the address book names.
    void addDora() {
        Organisation org(world.storePath());
        NewAddressEntry dora;
        dora.dn = "/o=Example/ou=First/cn=Recipients/cn=dora";
        dora.name = "Dora Dorn";
        dora.alias = "dora";
        dora.smtp = "dora@example.test";
        dora.properties = {
            {kHomeMTA, "/o=Example/ou=First/cn=Configuration/cn=Servers/cn=EX7/cn=Microsoft MTA"}};
        org.AddMailbox(dora);
    }
    RDOFolderPtr staff;
};

TEST_F(frmACFMbxTest, ANewSourceIsCheckedAndSaved) {
    addDora();
    open<frmACFMbx>();
    EXPECT_EQ(form->windowTitle(), "EPS - Alternate Contact Mailbox Folder");
    EXPECT_FALSE(button("cmdPath")->isEnabled());
    refused("You must select a mailbox!");
    EXPECT_EQ(form->focusWidget(), button("cmdMbx"));
    chooseMailbox("Dora Dorn", {});
    EXPECT_EQ(ui.toLabels(), std::vector<std::string>{"Owner"});
    EXPECT_EQ(line("txtMbx")->text(), "Mailbox - Dora Dorn");
    EXPECT_TRUE(button("cmdPath")->isEnabled());
    ASSERT_EQ(ui.asked.size(), 1u); // it opened at once
    EXPECT_EQ(ui.asked[0].mailbox, "dora@example.test");
    EXPECT_EQ(ui.asked[0].title, "Select a Contacts folder");
    EXPECT_FALSE(ui.asked[0].showPublicFolders);
    refused("You must select an Alternate Contact Folder!");
    EXPECT_EQ(form->focusWidget(), button("cmdPath"));
    const RDOStorePtr dora = own.rdo->GetSharedMailbox("SMTP:dora@example.test");
    const RDOFolderPtr night = dora->IPMRootFolder()
                                   ->Folders()
                                   ->Add("Shifts", "IPF.Contact")
                                   ->Folders()
                                   ->Add("Night", "IPF.Contact");
    ui.ExpectFolders({pickOf(night)});
    press("cmdPath");
    EXPECT_EQ(path(), "Shifts\n  Night");
    EXPECT_EQ(line("txtName")->text(), "Night");
    line("txtName")->clear();
    refused("You must provide a unique name for this Alternate Contact Folder!");
    EXPECT_EQ(form->focusWidget(), line("txtName"));
    QTest::keyClicks(line("txtName"), "Doras");
    press("cmdOK");
    const EntryID id = saved();
    ASSERT_FALSE(id.empty());
    EXPECT_EQ(GetMessage(own, id)->Subject(), "Doras");
    EXPECT_EQ(key(id, kAcfFolderKey), night->ID().text());
    EXPECT_EQ(key(id, kAcfStoreKey), dora->ID().text());
    EXPECT_EQ(key(id, kAcfMailboxKey), "dora@example.test");
    EXPECT_EQ(key(id, kAcfServerKey), "EX7");
    EXPECT_EQ(key(id, kAcfPathKey), "\\Shifts\\Night");
    EXPECT_EQ(key(id, kAcsGuidKey).size(), 36u);
}

TEST_F(frmACFMbxTest, ASourceIsShownAndClosedUnchanged) {
    const EntryID id = addSource();
    open<frmACFMbx>(id);
    EXPECT_EQ(line("txtName")->text(), "Staff");
    EXPECT_EQ(line("txtMbx")->text(), "Mailbox - Bob Baker");
    EXPECT_EQ(path(), "Staff");
    press("cmdOK");
    EXPECT_TRUE(saved().empty());
    open<frmACFMbx>(id);
    append("txtName", "!");
    press("cmdCancel");
    EXPECT_EQ(GetMessage(own, id)->Subject(), "Staff");
    open<frmACFMbx>(id);
    append("txtName", "!");
    press("cmdOK");
    EXPECT_EQ(GetMessage(own, id)->Subject(), "Staff!");
    EXPECT_EQ(key(id, kAcfServerKey), "EX7");
    EXPECT_EQ(key(id, kAcfMailboxKey), kBob);
    EXPECT_EQ(key(id, kAcfStoreKey), staff->StoreID().text());
}

TEST_F(frmACFMbxTest, TheAgentsOwnMailboxIsRefused) {
    own.agentSMTP = "AgentBox@Example.Test"; // in whatever case
    open<frmACFMbx>();
    ui.ExpectAddressBook(entry("Agent Mailbox"));
    ui.Expect("You cannot select a folder in the zandrel Agent mailbox!");
    press("cmdMbx");
    EXPECT_EQ(line("txtMbx")->text(), "");
    EXPECT_FALSE(button("cmdPath")->isEnabled());
}

TEST_F(frmACFMbxTest, NobodyAndTheSameMailboxChangeNothing) {
    const EntryID id = addSource();
    open<frmACFMbx>(id);
    ui.ExpectAddressBook(std::nullopt);
    press("cmdMbx");
    ui.ExpectAddressBook(entry("Bob Baker"));
    press("cmdMbx");
    EXPECT_TRUE(ui.asked.empty());
    EXPECT_EQ(path(), "Staff");
    press("cmdOK");
    EXPECT_TRUE(saved().empty());
}

TEST_F(frmACFMbxTest, AMailboxThatCannotBeOpenedIsTold) {
    open<frmACFMbx>(addSource());
    ui.ExpectAddressBook(entry("Carol Contact")); // she has none
    ui.Expect("Unable to logon to mailbox for carol@partner.test!\nPlease try another selection.");
    press("cmdMbx");
    EXPECT_EQ(form->focusWidget(), button("cmdPath"));
    EXPECT_EQ(line("txtMbx")->text(), "Mailbox - Bob Baker");
    EXPECT_EQ(path(), "Staff");
}

TEST_F(frmACFMbxTest, AnotherMailboxEmptiesThePath) {
    const EntryID id = addSource();
    open<frmACFMbx>(id);
    chooseMailbox("Alice Adams", {});
    EXPECT_EQ(line("txtMbx")->text(), "Mailbox - Alice Adams");
    EXPECT_EQ(path(), "");
    refused("You must select an Alternate Contact Folder!");
    const RDOStorePtr alice = own.rdo->GetSharedMailbox("SMTP:alice@example.test");
    const RDOFolderPtr team = alice->IPMRootFolder()->Folders()->Add("Team", "IPF.Contact");
    ui.ExpectFolders({pickOf(team)});
    press("cmdPath");
    EXPECT_EQ(line("txtName")->text(), "Staff"); // it wasn't empty
    press("cmdOK");
    EXPECT_EQ(key(id, kAcfMailboxKey), "alice@example.test");
    EXPECT_EQ(key(id, kAcfServerKey), ""); // the address book names no server of hers
    EXPECT_EQ(key(id, kAcfStoreKey), alice->ID().text());
    EXPECT_EQ(key(id, kAcfFolderKey), team->ID().text());
}

TEST_F(frmACFMbxTest, TheOwnersOwnContactsAreRefused) {
    const RDOStorePtr bob = own.rdo->GetSharedMailbox("SMTP:" + kBob);
    const RDOFolderPtr contacts = bob->GetDefaultFolder(static_cast<int>(DefaultFolder::Contacts));
    const RDOFolderPtr lower = staff->Folders()->Add("contacts", "IPF.Contact");
    const RDOFolderPtr mandatory = contacts->Folders()->Add("Mandatory Contacts", "IPF.Contact");
    const RDOFolderPtr below = contacts->Folders()->Add("Staff", "IPF.Contact");
    open<frmACFMbx>();
    ui.ExpectAddressBook(entry("Bob Baker"));
    ui.ExpectFolders({pickOf(contacts)});
    ui.Expect("You cannot select the Contacts folder!");
    ui.ExpectFolders({pickOf(lower)});
    ui.Expect("You cannot select the contacts folder!");
    ui.ExpectFolders({pickOf(mandatory)});
    ui.Expect("You cannot select the Mandatory Contacts folder!");
    ui.ExpectFolders({pickOf(below)});
    press("cmdMbx");
    EXPECT_EQ(path(), "Contacts\n  Staff");
    EXPECT_EQ(line("txtName")->text(), "Staff");
}

TEST_F(frmACFMbxTest, AFolderThatIsASourceIsRefused) {
    showNode(addSource(), "acfmbx");
    const RDOFolderPtr other = bobs("Other");
    open<frmACFMbx>();
    ui.ExpectAddressBook(entry("Bob Baker"));
    ui.ExpectFolders({pickOf(staff)});
    ui.Expect("Staff has already been designated as an Alternate Contacts folder!\n"
              "Please try again.");
    ui.ExpectFolders({pickOf(other)});
    press("cmdMbx");
    EXPECT_EQ(path(), "Other");
    EXPECT_EQ(ui.asked.size(), 2u);
}

TEST_F(frmACFMbxTest, AnOrphanRecordIsTakenUp) {
    const EntryID orphan = addSource();
    open<frmACFMbx>();
    chooseMailbox("Bob Baker", {pickOf(staff)});
    press("cmdOK");
    EXPECT_EQ(saved(), orphan);
    EXPECT_EQ(countOf(kAcfClass), 1u);
}

TEST_F(frmACFMbxTest, ASourceMailboxThatIsGoneIsTold) {
    const EntryID id =
        addAcf("Lost", staff->ID(), {{kAcfMailboxKey, "gone@example.test"}, {kAcfPathKey, "\\X"}});
    ui.Expect("Unable to access source mailbox!");
    open<frmACFMbx>(id);
    EXPECT_EQ(line("txtName")->text(), "Lost");
    EXPECT_EQ(line("txtMbx")->text(), "");
    EXPECT_FALSE(button("cmdPath")->isEnabled());
    EXPECT_EQ(path().find("Unable to open the Source folder!"), 0u);
    append("txtName", "!");
    press("cmdOK");
    EXPECT_EQ(saved(), id);
    EXPECT_EQ(key(id, kAcfPathKey), "\\X");
    EXPECT_EQ(key(id, kAcfMailboxKey), "gone@example.test");
}

TEST_F(frmACFMbxTest, ASaveThatFailsLeavesItOpen) {
    const EntryID id = addSource();
    FailingSession failing(world);
    failing.LogOn();
    frmACFMbx broken(failing.session, tree, id);
    broken.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&broken));
    QTest::keyClicks(control<QLineEdit>(&broken, "txtName"), "!");
    failing.store.plan().FailFrom(1);
    QTest::mouseClick(control<QPushButton>(&broken, "cmdOK"), Qt::LeftButton);
    EXPECT_TRUE(broken.isVisible());
    EXPECT_TRUE(broken.saved().empty());
    EXPECT_EQ(failing.ui.shown.size(), 1u);
    EXPECT_EQ(GetMessage(own, id)->Subject(), "Staff");
    failing.ui.ExpectAddressBook(entry("Alice Adams"));
    failing.store.plan().FailFrom(0);
    failing.ui.ExpectFolders({});
    QTest::mouseClick(control<QPushButton>(&broken, "cmdMbx"), Qt::LeftButton);
    EXPECT_EQ(control<QLineEdit>(&broken, "txtMbx")->text(), "Mailbox - Alice Adams");
}

TEST_F(frmACFMbxTest, TheKeyboardReachesEverything) {
    open<frmACFMbx>(addSource());
    EXPECT_EQ(tabOrder(),
              (std::vector<std::string>{"txtName", "txtDescription", "txtMbx", "cmdMbx", "cmdPath",
                                        "txtPath", "cmdAdmins", "lstAdmins", "cmdOK",
                                        "cmdCancel"})); // nobody to show details of
    const std::pair<char, const char*> fields[] = {
        {'p', "txtPath"}, {'b', "txtMbx"}, {'i', "lstAdmins"}, {'n', "txtName"}};
    for (const auto& [letter, field] : fields) {
        alt(letter);
        EXPECT_EQ(form->focusWidget()->objectName(), field);
    }
    ui.ExpectAddressBook(std::nullopt);
    altButton('m', [&] { return ui.preselected().size() == 1; });
    ui.ExpectFolders({});
    altButton('f', [&] { return ui.asked.size() == 1; });
    append("txtName", "!");
    QTest::keyClick(line("txtName"), Qt::Key_Return);
    EXPECT_FALSE(form->isVisible());
    EXPECT_FALSE(saved().empty());
}

} // namespace
