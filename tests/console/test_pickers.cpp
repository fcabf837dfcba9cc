#include <gtest/gtest.h>

#include <fstream>

#include "console/FolderTree.h"
#include "console/Startup.h"
#include "console/basLogon.h"
#include "console/basPickers.h"
#include "core/Settings.h"
#include "core/basEntryID.h"
#include "tests/support/World.h"

namespace {

using namespace kr;

class Pickers : public ::testing::Test {
protected:
    void SetUp() override { world.LogOn(); }
    AgentSession& session() { return *world.session; }
    PickedRecipient picked(std::string_view name) {
        return {world.Entry(name)->ID(), std::string(name)};
    }
    static PickedRecipient oneOff(std::string_view address) {
        return {EntryID(ToHex(MakeOneOffEntryID(address, address))), std::string(address)};
    }
    World world;
};

TEST_F(Pickers, TheThreeStringsStayParallel) {
    world.ui.ExpectAddressBook({{picked("Alice Adams"), picked("Sales"), oneOff("x@y.test")}});
    RecipientList list;
    EXPECT_TRUE(PickRecipients(session(), "Title", list, false));
    EXPECT_EQ("Alice Adams;Sales;x@y.test", list.names);
    EXPECT_EQ("alice@example.test;sales@example.test;x@y.test", list.addresses);
    EXPECT_EQ(3, list.Count());
    EXPECT_FALSE(list.ids.ends_with(';'));
    // and come back as the present selection
    world.ui.ExpectAddressBook({{picked("Bob Baker")}});
    EXPECT_TRUE(PickRecipients(session(), "Title", list, false));
    ASSERT_EQ(3u, world.ui.preselected().back().size());
    EXPECT_EQ("Sales", world.ui.preselected().back()[1].name);
    EXPECT_EQ("bob@example.test", list.addresses);
    // the scratch message is gone
    EXPECT_EQ(0, session().rdo->GetDefaultFolder(4)->Items()->Count());
}

TEST_F(Pickers, CancelLeavesTheListAsItWas) {
    RecipientList list{"AA", "name", "address"};
    const RecipientList before = list;
    world.ui.ExpectAddressBook(std::nullopt);
    EXPECT_FALSE(PickRecipients(session(), "Title", list, true));
    EXPECT_EQ(before, list);
    EXPECT_TRUE(world.ui.boxes().empty());
}

TEST_F(Pickers, AnEmptyAnswerEmptiesTheList) {
    RecipientList list{world.Entry("Alice Adams")->ID().text(), "Alice Adams", "a"};
    world.ui.ExpectAddressBook(std::vector<PickedRecipient>{});
    EXPECT_TRUE(PickRecipients(session(), "Title", list, false));
    EXPECT_EQ(RecipientList(), list);
    EXPECT_EQ(0, list.Count());
}

TEST_F(Pickers, WhoHasNoAddressIsNamedAndLeftOut) {
    world.ui.ExpectAddressBook({{{EntryID("00"), "Ghost"}, picked("Alice Adams")}});
    world.ui.Expect("Unable to get valid address for Ghost; that entry will be excluded");
    RecipientList list;
    EXPECT_TRUE(PickRecipients(session(), "Title", list, false));
    EXPECT_EQ("Alice Adams", list.names);
    EXPECT_EQ(BoxIcon::Exclamation, world.ui.boxes()[0].icon);
}

TEST_F(Pickers, DirectoryEntriesOnly) {
    world.ui.ExpectAddressBook(
        {{oneOff("x@y.test"), picked("Sales"), picked("Alice Adams"), picked("Carol Contact")}});
    world.ui.Expect("'x@y.test' is not part of the Global Address List and will be excluded");
    world.ui.Expect("'Sales' is not a valid selection and will be excluded");
    RecipientList list;
    EXPECT_TRUE(PickGALRecipients(session(), "Title", list, {}));
    EXPECT_EQ("Alice Adams;Carol Contact", list.names);
    world.ui.ExpectAddressBook({{picked("Sales")}});
    GALPickOptions withLists;
    withLists.allowLists = true;
    EXPECT_TRUE(PickGALRecipients(session(), "Title", list, withLists));
    EXPECT_EQ("Sales", list.names);
}

TEST_F(Pickers, AnotherMailAttributeIsTold) {
    const std::string filter = "(legacyExchangeDN=" + world.Entry("Alice Adams")->Address() + ")";
    world.directory.answers[filter] = {{{"mail", {"alice@old.test"}}}};
    world.ui.ExpectAddressBook({{picked("Alice Adams")}});
    RecipientList list;
    EXPECT_TRUE(PickGALRecipients(session(), "Title", list, {})); // a proxy address: nothing said
    world.directory.answers[filter] = {{{"mail", {"wrong@example.test"}}}};
    world.ui.ExpectAddressBook({{picked("Alice Adams")}});
    world.ui.Expect("There is an inconsistency in the directory entry for       Alice Adams\n"
                    "EPS will use the primary SMTP address       alice@example.test\n"
                    "rather than the 'mail' attribute       wrong@example.test\n"
                    "which is not listed as proxy address\n"
                    "and appears to be incorrect.");
    EXPECT_TRUE(PickGALRecipients(session(), "Title", list, {}));
    EXPECT_EQ("alice@example.test", list.addresses);
}

class FolderSelector : public Pickers {
protected:
    FolderTree tree(FolderPickOptions options = {}) {
        return FolderTree(*session().rdo, session().log, options);
    }
};

TEST_F(FolderSelector, RootsAndLazyChildren) {
    auto folders = tree();
    ASSERT_TRUE(folders.LoadRoots());
    ASSERT_EQ(2u, folders.Roots().size());
    auto& mailbox = *folders.Roots()[0];
    EXPECT_EQ("mbxroot", mailbox.key);
    EXPECT_EQ("Mailbox - Agent Mailbox", mailbox.text);
    EXPECT_EQ("imgMailbox", mailbox.image);
    EXPECT_TRUE(mailbox.hasChildren);
    EXPECT_TRUE(mailbox.children.empty());
    folders.Expand(mailbox);
    std::map<std::string, std::string> images;
    for (const auto& child : mailbox.children)
        images[child->text] = child->image;
    EXPECT_EQ("imgInbox", images["Inbox"]);
    EXPECT_EQ("imgOutbox", images["Outbox"]);
    EXPECT_EQ("imgDeletedItems", images["Deleted Items"]);
    EXPECT_EQ("imgSentItems", images["Sent Items"]);
    EXPECT_EQ("imgNotes", images["Notes"]);
    EXPECT_EQ("imgContact", images["Contacts"]);
    EXPECT_EQ("imgJournal", images["Journal"]);
    EXPECT_EQ("imgTasks", images["Tasks"]);
    EXPECT_EQ("imgCalendar", images["Calendar"]);
    EXPECT_EQ("imgMail", images["Drafts"]);
    EXPECT_EQ("pfroot", folders.Roots()[1]->key);
    EXPECT_EQ("imgStore", folders.Roots()[1]->image);
}

TEST_F(FolderSelector, WhatIsValidFollowsTheCaller) {
    FolderPickOptions options;
    options.showPublicFolders = false;
    options.allowContacts = true;
    auto folders = tree(options);
    ASSERT_TRUE(folders.LoadRoots());
    ASSERT_EQ(1u, folders.Roots().size());
    folders.Expand(*folders.Roots()[0]);
    EXPECT_FALSE(folders.IsValid(*folders.Roots()[0]));
    for (const auto& child : folders.Roots()[0]->children)
        EXPECT_EQ(child->text == "Contacts", folders.IsValid(*child)) << child->text;
    options.allowContacts = false;
    options.allowMail = true;
    auto mail = tree(options);
    mail.LoadRoots();
    mail.Expand(*mail.Roots()[0]);
    int valid = 0;
    for (const auto& child : mail.Roots()[0]->children)
        valid += mail.IsValid(*child);
    EXPECT_EQ(5, valid); // four well-known folders and Drafts
}

TEST_F(FolderSelector, AStartingPathIsFoundAndRoundTrips) {
    auto folders = tree();
    folders.LoadRoots();
    FolderNode* node = folders.FindPath("\\\\Public Folders\\All Public Folders\\shared\\R & D");
    ASSERT_NE(nullptr, node);
    EXPECT_EQ("R & D", node->text);
    const FolderPick pick = FolderTree::PickOf(*node);
    EXPECT_EQ("\\\\Public Folders\\All Public Folders\\Shared\\R & D", pick.path);
    EXPECT_EQ("R & D", session().rdo->GetFolderFromID(pick.entryID, pick.storeID)->Name());
    EXPECT_EQ("Shared",
              folders.FindPath("\\\\Public Folders\\All Public Folders\\Shared\\gone")->text);
    EXPECT_EQ(nullptr, folders.FindPath("\\\\Elsewhere\\x"));
    EXPECT_EQ(pick.path + ";" + pick.path, FolderTree::JoinPaths({pick, pick}));
}

TEST_F(FolderSelector, WithoutPublicFoldersTheMailboxStands) {
    Organisation::Create(world.folder() + "/small.kr");
    Organisation small(world.folder() + "/small.kr");
    NewAddressEntry owner;
    owner.dn = "/o=X/cn=Recipients/cn=solo";
    owner.name = "Solo";
    owner.alias = "solo";
    owner.smtp = "solo@example.test";
    small.AddMailbox(owner);
    auto rdo = small.OpenSession("solo");
    FolderTree folders(*rdo, session().log, {});
    EXPECT_TRUE(folders.LoadRoots());
    ASSERT_EQ(1u, folders.Roots().size());
    EXPECT_EQ("Mailbox - Solo", folders.Roots()[0]->text);
    EXPECT_TRUE(world.logHas("frmFolderPicker: unable to retrieve AllPublicFolders "));
    EXPECT_FALSE(world.logHas("unloading"));
    rdo->Logoff();
    FolderTree none(*rdo, session().log, {});
    EXPECT_FALSE(none.LoadRoots());
    EXPECT_TRUE(world.logHas("frmFolderPicker: unable to retrieve DefaultStore "));
    EXPECT_TRUE(world.logHas("frmFolderPicker: unloading due to LoadStores error"));
}

class Startup : public Pickers {};

TEST_F(Startup, ModesByTheCommandLine) {
    EXPECT_EQ(StartMode::Normal, ParseCommandLine("").mode);
    EXPECT_EQ(StartMode::FirstRun, ParseCommandLine("xx initial").mode);
    EXPECT_EQ(StartMode::Normal, ParseCommandLine("INIT").mode);
    EXPECT_EQ(StartMode::Normal, ParseCommandLine("/SERVER MAIL01").mode);
    const CommandLine both = ParseCommandLine("init /server MAIL01 /alias box");
    EXPECT_EQ(StartMode::FirstRun, both.mode);
    EXPECT_EQ("", both.server);
}

TEST_F(Startup, ServerAndAliasInEverySpelling) {
    for (const char* line :
         {"/server MAIL01 /alias agentbox", "/serverMAIL01/aliasagentbox",
          "  /server   MAIL01   /alias agentbox  ", "/alias agentbox/server MAIL01"}) {
        const CommandLine parsed = ParseCommandLine(line);
        EXPECT_EQ(StartMode::CommandLineLogon, parsed.mode);
        EXPECT_EQ("MAIL01", parsed.server) << line;
        EXPECT_EQ("agentbox", parsed.alias) << line;
    }
    // the word is cut out of the name itself, and only in lower case
    EXPECT_EQ("mail.local", ParseCommandLine("/server mailserver.local").server);
    EXPECT_EQ("mailSERVER", ParseCommandLine("/server mailSERVER").server);
    const CommandLine odd = ParseCommandLine("///server//x/y / alias q");
    EXPECT_EQ("", odd.server);
    EXPECT_EQ("", odd.alias);
}

TEST_F(Startup, ServerAndAliasAreStoredAServerAloneIsNot) {
    Registry& registry = *world.registry;
    SaveSetting(registry, "ExServer", "OLD");
    SaveSetting(registry, "ExAlias", "oldbox");
    SaveSetting(registry, "Profile", "old profile");
    TakeLogonData(session(), TakeCommandLine(session(), "/server MAIL01"));
    EXPECT_EQ("OLD", session().ExServer);
    EXPECT_EQ("oldbox", session().ExAlias);
    EXPECT_EQ("old profile", session().Profile);
    EXPECT_EQ("OLD", TextSetting(registry, "ExServer"));
    EXPECT_TRUE(world.logHas("Launched from command line: /server MAIL01"));
    TakeLogonData(session(), TakeCommandLine(session(), "/server MAIL01 /alias agentbox"));
    EXPECT_EQ("MAIL01", TextSetting(registry, "ExServer"));
    EXPECT_EQ("agentbox", TextSetting(registry, "ExAlias"));
    EXPECT_EQ("", session().Profile);
    EXPECT_TRUE(HasLogonData(session()));
    TakeLogonData(session(), TakeCommandLine(session(), "init"));
    EXPECT_TRUE(session().FirstRun);
    EXPECT_FALSE(HasLogonData(session()));
    EXPECT_TRUE(world.logHas("FirstRun"));
    EXPECT_TRUE(session().versionFlag);
}

TEST_F(Startup, TheBannerHasNoTimeStamp) {
    LogBanner(session().log);
    EXPECT_TRUE(world.log().starts_with("==========v.4.0.0=========="));
}

TEST_F(Startup, DiagnosticsTellEachStep) {
    session().ExServer = "MAIL01";
    session().ExAlias = "agentbox";
    const std::string path = world.folder() + "/LogonDiagnostics.txt";
    ASSERT_TRUE(LogonDiagnostics(session(), path));
    std::ifstream in(path);
    const std::string text(std::istreambuf_iterator<char>(in), {});
    size_t at = 0;
    for (const char* line : {"Initializing diagnostics...",
                             "System: test",
                             "Checking rendering objects...",
                             "RDO Version: ",
                             "MAPI32 Version: ",
                             " @%PATH%",
                             "Locating server...",
                             "Pinging server: MAIL01",
                             "Successfully pinged MAIL01",
                             "Logging on to server: MAIL01 using alias: agentbox...",
                             "Retrieving Inbox",
                             "Successfully retrieved Inbox",
                             "Retrieving GAL",
                             "Successfully retrieved GAL",
                             "Successfully retrieved GAL address entries",
                             "Checking folders",
                             "Searching for In Process folder",
                             "Attempting to create In Process folder",
                             "Successfully created In Process folder",
                             "Searching for Review folder",
                             "Successfully created Review folder"}) {
        at = text.find(line, at);
        ASSERT_NE(std::string::npos, at) << line;
    }
    world.shell.pingAnswers = false;
    ASSERT_TRUE(LogonDiagnostics(session(), path));
    std::ifstream second(path);
    const std::string again(std::istreambuf_iterator<char>(second), {});
    EXPECT_NE(std::string::npos, again.find("Unable to locate supplied Exchange server: MAIL01"));
    EXPECT_NE(std::string::npos, again.find("Successfully located Review folder"));
    EXPECT_FALSE(LogonDiagnostics(session(), world.folder() + "/none/x.txt"));
}

TEST_F(Startup, DiagnosticsOfAProfileThatHasGone) {
    session().Profile = "Gone";
    session().ExServer.clear();
    const std::string path = world.folder() + "/d.txt";
    ASSERT_TRUE(LogonDiagnostics(session(), path));
    std::ifstream in(path);
    const std::string text(std::istreambuf_iterator<char>(in), {});
    EXPECT_NE(std::string::npos, text.find("Logging on with profile: Gone...\nLogon error: "
                                           "There is no mail profile named Gone."));
    EXPECT_EQ(std::string::npos, text.find("Pinging"));
    // the later steps are tried all the same
    EXPECT_NE(std::string::npos,
              text.find("Unable to retrieve application Inbox folder; error: The session is not"));
    EXPECT_NE(std::string::npos, text.find("Unable to retrieve GAL; error: "));
}

} // namespace
