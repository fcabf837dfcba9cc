#include "tests/contacts/MclTest.h"

#include "contacts/basMCLRecord.h"
#include "core/Text.h"

namespace {

using namespace kr;

class MclFolderTest : public ::testing::Test, protected MclWorld {
protected:
    void store(std::string_view path, std::string_view id) {
        setKey(session().AgentMsgID, "MCPath", Value(path));
        setKey(session().AgentMsgID, "MCEntryID", Value(id));
    }
    RDOFolderPtr mailFolder(std::string_view name) {
        return session().rdo->Stores().DefaultStore()->IPMRootFolder()->Folders()->Add(name);
    }
    static FolderPick pickOf(const RDOFolder& folder, std::string path) {
        return {folder.ID(), folder.StoreID(), std::move(path)};
    }
    static constexpr const char* kMoveQuestion =
        "The folder location has changed! Do you want to\n"
        "move the existing Mandatory Contact Lists to the new folder?";
};

// --- The folder

TEST_F(MclFolderTest, IsMadeWhereNothingIsStored) {
    const MclFolder made = GetMCLFolder(session());
    ASSERT_TRUE(made);
    EXPECT_EQ(made.folder->Name(), "Mandatory Contacts");
    EXPECT_EQ(made.path, kDefaultPath);
    EXPECT_EQ(made.id, made.folder->ID());
    EXPECT_EQ(made.folder->Parent()->ID(), root()->ID());
    EXPECT_EQ(agentKey("MCPath"), Value(kDefaultPath));
    EXPECT_EQ(agentKey("MCEntryID"), Value(made.id.text()));
    EXPECT_TRUE(agentKey("MCL Path").empty());
    EXPECT_EQ(GetMCLFolder(session()).id, made.id);
}

TEST_F(MclFolderTest, OneThatIsThereIsTaken) {
    const EntryID there = root()->Folders()->Add("Mandatory Contacts")->ID();
    EXPECT_EQ(GetMCLFolder(session()).id, there);
    EXPECT_EQ(agentKey("MCEntryID"), Value(there.text()));
}

TEST_F(MclFolderTest, IsOpenedByIdAloneAndGetsItsPath) {
    const RDOFolderPtr folder = mailFolder("Lists");
    store("", folder->ID().text());
    EXPECT_EQ(GetMCLFolder(session()).path, "\\\\Mailbox - Agent Mailbox\\Lists");
    EXPECT_EQ(agentKey("MCPath"), Value("\\\\Mailbox - Agent Mailbox\\Lists"));
}

TEST_F(MclFolderTest, IsOpenedByPathAloneAndGetsItsId) {
    const RDOFolderPtr folder = mailFolder("Lists");
    store("\\\\Mailbox - Agent Mailbox\\Lists", "");
    EXPECT_EQ(GetMCLFolder(session()).id, folder->ID());
    EXPECT_EQ(agentKey("MCEntryID"), Value(folder->ID().text()));
    store("\\\\Public Folders\\All Public Folders\\Shared", "");
    EXPECT_EQ(GetMCLFolder(session()).folder->Name(), "Shared");
}

TEST_F(MclFolderTest, TheDefaultPathLeadsBackToTheDefaultFolder) {
    const EntryID made = GetMCLFolder(session()).id;
    store(kDefaultPath, "");
    EXPECT_EQ(GetMCLFolder(session()).id, made);
}

TEST_F(MclFolderTest, AWrongIdIsPutRightByThePath) {
    const RDOFolderPtr folder = mailFolder("Lists");
    const RDOFolderPtr gone = mailFolder("Gone");
    store("\\\\Mailbox - Agent Mailbox\\Lists", gone->ID().text());
    gone->Delete();
    EXPECT_EQ(GetMCLFolder(session()).id, folder->ID());
    EXPECT_EQ(agentKey("MCEntryID"), Value(folder->ID().text()));
    store("\\\\Mailbox - Agent Mailbox\\Lists", "no id");
    EXPECT_EQ(GetMCLFolder(session()).id, folder->ID());
}

TEST_F(MclFolderTest, SaysWhenNeitherLeadsAnywhereAndMakesNothing) {
    const RDOFolderPtr gone = mailFolder("Gone");
    store("\\\\Mailbox - Agent Mailbox\\Gone", gone->ID().text());
    gone->Delete();
    world.ui.Expect("Error: unable to locate Gone in specified location.");
    world.ui.Expect("Unable to locate Mandatory Contacts folder");
    EXPECT_FALSE(GetMCLFolder(session()));
    EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Stop);
    EXPECT_EQ(root()->Folders()->Item("Mandatory Contacts"), nullptr);
    store("", gone->ID().text());
    world.ui.Expect("Unable to locate Mandatory Contacts folder");
    EXPECT_FALSE(GetMCLFolder(session()));
}

TEST_F(MclFolderTest, SaysWhenTheAgentMessageIsGone) {
    open(session().AgentMsgID)->Delete();
    world.ui.Expect("Unable to locate Mandatory Contacts folder");
    EXPECT_FALSE(GetMCLFolder(session()));
}

TEST_F(MclFolderTest, ALookInPassingMakesAndSaysNothing) {
    EXPECT_EQ(RequireMCLFolder(session()), nullptr);
    EXPECT_EQ(root()->Folders()->Item("Mandatory Contacts"), nullptr);
    const EntryID made = GetMCLFolder(session()).id;
    EXPECT_EQ(RequireMCLFolder(session())->ID(), made);
    const RDOFolderPtr gone = mailFolder("Gone");
    store("\\\\Mailbox - Agent Mailbox\\Gone", gone->ID().text());
    gone->Delete();
    EXPECT_EQ(RequireMCLFolder(session()), nullptr);
    const RDOFolderPtr folder = mailFolder("Lists");
    store("\\\\Mailbox - Agent Mailbox\\Lists", "");
    EXPECT_EQ(RequireMCLFolder(session())->ID(), folder->ID());
    EXPECT_EQ(agentKey("MCEntryID"), Value(""));
}

// --- Another folder

TEST_F(MclFolderTest, AnEmptyFolderMovesWithoutAQuestion) {
    GetMCLFolder(session());
    const RDOFolderPtr folder = mailFolder("Lists");
    world.ui.ExpectFolders({pickOf(*folder, "\\\\Mailbox - Agent Mailbox\\Lists")});
    EXPECT_TRUE(SetMCLPath(session()));
    EXPECT_EQ(agentKey("MCPath"), Value("\\\\Mailbox - Agent Mailbox\\Lists"));
    EXPECT_EQ(agentKey("MCL Path"), Value("\\\\Mailbox - Agent Mailbox\\Lists"));
    EXPECT_EQ(agentKey("MCEntryID"), Value(folder->ID().text()));
    EXPECT_EQ(GetMCLFolder(session()).id, folder->ID());
}

TEST_F(MclFolderTest, MovesTheListsOnYes) {
    addList("One", {{"MCL Source", "Alice Adams"}, {"EPS.Inactive", true}});
    addList("Two");
    addList("Three");
    const RDOFolderPtr old = lists();
    const RDOFolderPtr target = publicFolder("Shared")->Folders()->Add("Lists");
    const std::string path = "\\\\Public Folders\\All Public Folders\\Shared\\Lists";
    world.ui.ExpectFolders({pickOf(*target, path)});
    world.ui.Expect(kMoveQuestion, BoxAnswer::Yes);
    EXPECT_TRUE(SetMCLPath(session()));
    EXPECT_EQ(old->Items()->Count(), 0);
    ASSERT_EQ(target->Items()->Count(), 3);
    const RDOMessagePtr one = target->Items()->Item(1);
    EXPECT_EQ(one->Subject(), "One");
    EXPECT_EQ(one->MessageClass(), "IPM.Post.MCL");
    EXPECT_EQ(KeyText(*one, "MCL Source"), "Alice Adams");
    EXPECT_TRUE(KeyFlag(*one, "EPS.Inactive"));
    EXPECT_EQ(agentKey("MCPath"), Value(path));
    EXPECT_EQ(world.ui.waitCursors(), 0);
}

TEST_F(MclFolderTest, LeavesTheListsOnNo) {
    addList("One");
    const RDOFolderPtr old = lists();
    const RDOFolderPtr target = mailFolder("Lists");
    world.ui.ExpectFolders({pickOf(*target, "\\\\Mailbox - Agent Mailbox\\Lists")});
    world.ui.Expect(kMoveQuestion, BoxAnswer::No);
    EXPECT_TRUE(SetMCLPath(session()));
    EXPECT_EQ(old->Items()->Count(), 1);
    EXPECT_EQ(target->Items()->Count(), 0);
    EXPECT_EQ(GetMCLFolder(session()).id, target->ID());
}

TEST_F(MclFolderTest, CancelAndTheSameFolderChangeNothing) {
    const RDOFolderPtr old = lists();
    world.ui.ExpectFolders({});
    EXPECT_FALSE(SetMCLPath(session()));
    world.ui.ExpectFolders({pickOf(*old, kDefaultPath)});
    EXPECT_FALSE(SetMCLPath(session()));
    EXPECT_TRUE(agentKey("MCL Path").empty());
}

TEST_F(MclFolderTest, ALostFolderCanBeReplaced) {
    const RDOFolderPtr gone = mailFolder("Gone");
    store("", gone->ID().text());
    gone->Delete();
    const RDOFolderPtr target = mailFolder("Lists");
    world.ui.Expect("Unable to locate Mandatory Contacts folder");
    world.ui.ExpectFolders({pickOf(*target, "\\\\Mailbox - Agent Mailbox\\Lists")});
    EXPECT_TRUE(SetMCLPath(session()));
    EXPECT_EQ(GetMCLFolder(session()).id, target->ID());
}

// --- Names and links

class MclLinkTest : public ::testing::Test, protected MclWorld {
protected:
    std::string sourceOf(const EntryID& list) {
        const RDOMessagePtr source = GetMclSource(session(), *open(list));
        return source ? source->Subject() : "";
    }
    std::string listOf(const EntryID& source) {
        const RDOMessagePtr list = RequireLinkedMCL(session(), *open(source));
        return list ? list->Subject() : "";
    }
};

TEST_F(MclLinkTest, ANameIsInUseByAnotherList) {
    const EntryID own = addList("Sales Contacts");
    add(*lists(), "IPM.Post", "Only a Post", {});
    EXPECT_TRUE(MCLNameInUse(session(), *lists(), {}, "sales contacts"));
    EXPECT_FALSE(MCLNameInUse(session(), *lists(), own, "Sales Contacts"));
    EXPECT_FALSE(MCLNameInUse(session(), *lists(), {}, "Sales"));
    EXPECT_FALSE(MCLNameInUse(session(), *lists(), {}, "Only a Post"));
    addList("Sales Contacts");
    EXPECT_TRUE(MCLNameInUse(session(), *lists(), own, "Sales Contacts"));
}

TEST_F(MclLinkTest, FindsTheSourceByEachLink) {
    const EntryID shared = addFolderSource("Shared", {{"ACS.Guid", "GUID-1"}});
    const EntryID data = addDataSource("Data", {{"ACS.Guid", "GUID-2"}});
    EXPECT_EQ(sourceOf(addList("a", {{"ACS.Guid", "guid-1"}})), "Shared");
    EXPECT_EQ(sourceOf(addList("b", {{"MCL ACDSID", data.text()}})), "Data");
    EXPECT_EQ(sourceOf(addList("c", {{"MCL ACF.MsgID", shared.text()}})), "Shared");
    const std::string folder = publicFolder("Shared")->ID().text();
    EXPECT_EQ(sourceOf(addList("d", {{"MCL Source EntryID", folder}})), "Shared");
    EXPECT_EQ(sourceOf(addList("e", {{"ACS.Guid", "GUID-3"}, {"MCL ACDSID", data.text()}})),
              "Data");
    EXPECT_EQ(sourceOf(addList("f", {{"ACS.Guid", "GUID-3"}})), "");
    EXPECT_EQ(sourceOf(addList("g", {{"MCL ACDSID", "no id"}})), "");
    EXPECT_EQ(sourceOf(addList("h")), "");
    // the id of a data source list goes before that of an older one
    EXPECT_EQ(
        sourceOf(addList("i", {{"MCL ACF.MsgID", shared.text()}, {"MCL ACDSID", data.text()}})),
        "Data");
}

TEST_F(MclLinkTest, FindsTheListByEachLink) {
    const EntryID byGuid = addFolderSource("A", {{"ACS.Guid", "GUID-A"}});
    const EntryID byMsg = addFolderSource("B", {{"ACS.Guid", "GUID-B"}});
    const EntryID byAcds = addDataSource("C");
    const std::string deep = publicFolder("Shared")->Folders()->Item("R & D")->ID().text();
    const EntryID byFolder = addSource("D", {{"ACF EntryID", deep}});
    addList("of nobody", {{"ACS.Guid", "GUID-X"}, {"MCL Source", "Alice"}});
    addList("of C", {{"MCL ACDSID", byAcds.text()}});
    addList("of B", {{"MCL ACF.MsgID", byMsg.text()}});
    addList("of A", {{"ACS.Guid", "GUID-A"}});
    addList("of D", {{"MCL Source EntryID", deep}});
    EXPECT_EQ(listOf(byGuid), "of A");
    EXPECT_EQ(listOf(byMsg), "of B");
    EXPECT_EQ(listOf(byAcds), "of C");
    EXPECT_EQ(listOf(byFolder), "of D");
    EXPECT_EQ(listOf(addDataSource("E")), "");
    const RDOMessagePtr old = FindMCLBySource(session(), *lists(), kMclFolderKey, EntryID(deep));
    ASSERT_NE(old, nullptr);
    EXPECT_EQ(old->Subject(), "of D");
    EXPECT_EQ(FindMCLBySource(session(), *lists(), kMclAcdsKey, EntryID(deep)), nullptr);
    EXPECT_EQ(FindMCLBySource(session(), *lists(), kMclAcdsKey, EntryID()), nullptr);
    EXPECT_EQ(FindMCLByGuid(*lists(), ""), nullptr);
}

TEST_F(MclLinkTest, AnOlderLinkYieldsToThePresentOne) {
    const EntryID source = addFolderSource("A", {{"ACS.Guid", "GUID-A"}});
    addList("old", {{"MCL ACF.MsgID", source.text()}});
    EXPECT_EQ(listOf(source), "old");
    addList("new", {{"ACS.Guid", "GUID-A"}});
    EXPECT_EQ(listOf(source), "new");
}

TEST_F(MclLinkTest, WithoutAFolderThereIsNoList) {
    const EntryID source = addFolderSource("A", {{"ACS.Guid", "GUID-A"}});
    EXPECT_EQ(listOf(source), "");
    EXPECT_EQ(root()->Folders()->Item("Mandatory Contacts"), nullptr);
}

// --- The record

TEST(MclTextTest, TakesTheCatalogOutOfAConnectionString) {
    EXPECT_EQ(CatalogOf(MclWorld::kCxn), "People");
    EXPECT_EQ(CatalogOf("Provider=x;CATALOG = HR ;Initial Catalog=People"), "HR");
    EXPECT_EQ(CatalogOf("Provider=x;Data Source=y"), "");
    EXPECT_EQ(CatalogOf("Catalog"), "");
    EXPECT_EQ(CatalogOf(""), "");
}

class MclRecordTest : public ::testing::Test, protected MclWorld {};

TEST_F(MclRecordTest, WritesSubjectAndKeysOfANewList) {
    const EntryID id = SaveMCL(session(), {}, "New", "", {{"MCL PF", true}});
    ASSERT_FALSE(id.empty());
    const RDOMessagePtr list = open(id);
    EXPECT_EQ(list->Subject(), "New");
    EXPECT_EQ(list->MessageClass(), "IPM.Post.MCL");
    EXPECT_EQ(list->Parent()->ID(), lists()->ID());
    EXPECT_TRUE(KeyFlag(*list, "MCL PF"));
    EXPECT_TRUE(GetKey(*list, "MCL Description").empty());
    EXPECT_TRUE(GetKey(*list, "EPS.Inactive").empty());
}

TEST_F(MclRecordTest, EmptiesADescriptionOnlyWhereThereWasOne) {
    const EntryID id = SaveMCL(session(), {}, "New", "text", {});
    EXPECT_EQ(key(id, "MCL Description"), Value("text"));
    EXPECT_EQ(SaveMCL(session(), id, "New", "", {}), id);
    EXPECT_EQ(key(id, "MCL Description"), Value(""));
    EXPECT_EQ(lists()->Items()->Count(), 1);
}

TEST_F(MclRecordTest, ReadsWhatWasWritten) {
    const EntryID id = addList("All", {{"MCL Source", "A;B"},
                                       {"MCL Source Email", "a@x;b@x"},
                                       {"MCL Target", "C"},
                                       {"MCL Target Email", "c@x"},
                                       {"MCL Description", "text"},
                                       {"MCL.IncludeDLs", false},
                                       {"MCL Source No SMTP", true},
                                       {"MCL PF", true},
                                       {"MCL Source EntryID", "AB"},
                                       {"MCL Source StoreID", "CD"}});
    const auto record = ReadMCL(session(), id);
    ASSERT_TRUE(record);
    EXPECT_EQ(record->name, "All");
    EXPECT_EQ(record->source, "A;B");
    EXPECT_EQ(record->sourceEmail, "a@x;b@x");
    EXPECT_EQ(record->target, "C");
    EXPECT_EQ(record->targetEmail, "c@x");
    EXPECT_EQ(record->description, "text");
    EXPECT_EQ(record->includeDLs, false);
    EXPECT_TRUE(record->noSmtp);
    EXPECT_TRUE(record->publicFolder);
    EXPECT_EQ(record->sourceFolder.text(), "AB");
    EXPECT_EQ(record->sourceStore.text(), "CD");
    EXPECT_EQ(ReadMCL(session(), addList("Bare"))->includeDLs, std::nullopt);
}

TEST_F(MclRecordTest, SaysWhenTheListIsGone) {
    const EntryID id = addList("Gone");
    open(id)->Delete();
    world.ui.Expect("Unable to read the Mandatory Contact List! The list can't be opened.");
    EXPECT_FALSE(ReadMCL(session(), id));
    world.ui.Expect("Unable to save the Mandatory Contact List! The list can't be opened.");
    EXPECT_TRUE(SaveMCL(session(), id, "Gone", "", {}).empty());
    EXPECT_EQ(lists()->Items()->Count(), 0);
}

TEST_F(MclRecordTest, CountsThePeopleBehindAList) {
    MclKeys keys;
    AddSourceKeys(session(), keys, "Alice Adams;Sales", "alice@example.test;sales@example.test");
    AddTargetKeys(session(), keys, "Bob Baker", "bob@example.test");
    ASSERT_EQ(keys.size(), 6U);
    EXPECT_EQ(keys[0], (MclKeys::value_type{"MCL Source", "Alice Adams;Sales"}));
    EXPECT_EQ(keys[2], (MclKeys::value_type{"MCL Source Count", int32_t{3}}));
    EXPECT_EQ(keys[4], (MclKeys::value_type{"MCL Target Email", "bob@example.test"}));
    EXPECT_EQ(keys[5], (MclKeys::value_type{"MCL Target Count", int32_t{1}}));
    EXPECT_EQ(world.ui.waitCursors(), 0);
}

} // namespace
