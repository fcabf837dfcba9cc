#include "core/Text.h"
#include "tests/contacts/AcfTest.h"
#include "tests/support/FailingWorld.h"

namespace {

using namespace kr;
using Names = std::vector<std::string>;
const std::string kMcr(kMcrName);

class AcfRanking : public AcfTest {
protected:
    void load() { LoadAcfTree(session(), tree); }
    std::string ranking() { return GetTrustRanking(session()); }
    void addSources(const std::string& names) {
        for (const std::string& name : Split(names, "|"))
            addAcf(name, EntryID("00AA"));
    }
    EntryID idOf(std::string_view name) {
        return RequireMessageIDs(*session().agentInfo, kAcfClass, name).front();
    }
    RDOFolderPtr repository() {
        return session().rdo->Stores().DefaultStore()->IPMRootFolder()->Folders()->Item(kMcrName);
    }
};

TEST_F(AcfRanking, TheFirstOfSeveralRecordsStays) {
    EXPECT_EQ(GetMCRMessage(session()), nullptr);
    const EntryID first = addMcr("A");
    addMcr("B");
    addMcr("C");
    const RDOMessagePtr found = GetMCRMessage(session());
    ASSERT_TRUE(found);
    EXPECT_EQ(found->ID(), first);
    EXPECT_EQ(countOf(kMcrClass), 1u);
    EXPECT_EQ(ranking(), "A");
}

TEST_F(AcfRanking, TheDefaultIsMadeOnce) {
    EXPECT_EQ(GetMCRFolder(session()), nullptr);
    EXPECT_EQ(GetDefaultPrivateFields(session()), "");
    EXPECT_EQ(GetTrustRanking(session()), "");
    const RDOMessagePtr made = CreateDefaultMCR(session());
    ASSERT_TRUE(made);
    EXPECT_EQ(made->Subject(), kMcrName);
    EXPECT_EQ(made->MessageClass(), kMcrClass);
    ASSERT_TRUE(GetMCRFolder(session()));
    EXPECT_EQ(GetMCRFolder(session())->Name(), kMcrName);
    EXPECT_EQ(GetMCRFolder(session())->DefaultItemClass(), "IPF.Contact");
    EXPECT_EQ(GetDefaultPrivateFields(session()), "MobilePhone;EPS Home Phone");
    EXPECT_TRUE(IsMCRFolder(session(), repository()->ID()));
    EXPECT_FALSE(IsMCRFolder(session(), session().agentInfo->ID()));
    EXPECT_EQ(CreateDefaultMCR(session())->ID(), made->ID());
    EXPECT_EQ(countOf(kMcrClass), 1u);
}

TEST_F(AcfRanking, TheDefaultKeepsWhatIsThere) {
    const EntryID record = addMcr("A|B", EntryID());
    SetKey(*GetMessage(session(), record), "Default Private Fields", "Pager");
    const RDOMessagePtr message = GetMessage(session(), record);
    SetKey(*message, "Default Private Fields", "Pager");
    message->Save();
    EXPECT_EQ(CreateDefaultMCR(session())->ID(), record);
    EXPECT_EQ(GetDefaultPrivateFields(session()), "Pager");
    EXPECT_EQ(ranking(), "A|B");
}

TEST_F(AcfRanking, TheBranchFollowsTheRanking) {
    addSources("A|B");
    const EntryID data = addAcds("Data", "Provider=Microsoft.ACE.OLEDB.12.0;Excel");
    const EntryID mailbox =
        addAcf("Mailbox", EntryID("00AA"), {{kAcfMailboxKey, "x@y"}, {"EPS.Inactive", true}});
    const EntryID mcr = addMcr("Data|Gone|b|Mailbox|A");
    load();
    EXPECT_EQ(branch(), (Names{kMcr, "Data", "B", "Mailbox", "A"}));
    EXPECT_EQ(node(mcr).tag, "mcr");
    EXPECT_EQ(node(mcr).image, "imgContact");
    EXPECT_EQ(node(data).tag, "acds");
    EXPECT_EQ(node(data).image, "imgExcel");
    EXPECT_EQ(node(mailbox).tag, "acfmbx");
    EXPECT_EQ(node(mailbox).image, "imgContactGhost");
    EXPECT_TRUE(node(mailbox).ghosted);
    EXPECT_EQ(node(idOf("A")).tag, "acf");
    EXPECT_FALSE(node(idOf("A")).ghosted);
    EXPECT_TRUE(AcfNodeExists(tree, data));
    EXPECT_FALSE(AcfNodeExists(tree, session().AgentMsgID));
    // the name without a record goes with the next save
    EXPECT_TRUE(SaveTrustRanking(session(), tree));
    EXPECT_EQ(ranking(), "Data|B|Mailbox|A");
}

TEST_F(AcfRanking, WithoutARankingTheBranchIsTheRepository) {
    addSources("A|B");
    const EntryID mcr = addMcr("");
    load();
    EXPECT_EQ(branch(), Names{kMcr});
    EXPECT_EQ(tree.Find(kAcfRootKey)->children.front()->key, mcr.text());
    EXPECT_TRUE(SaveTrustRanking(session(), tree));
    EXPECT_EQ(ranking(), "");
}

TEST_F(AcfRanking, LoadingMakesAMissingRecord) {
    load();
    EXPECT_EQ(branch(), Names{kMcr});
    EXPECT_EQ(countOf(kMcrClass), 1u);
    ASSERT_TRUE(repository());
    const EntryID record = GetMCRMessage(session())->ID();
    const RDOMessagePtr message = GetMessage(session(), record);
    SetKey(*message, kMcrFolderKey, "");
    message->Save();
    load();
    EXPECT_EQ(GetMCRMessage(session())->ID(), record);
    EXPECT_TRUE(IsMCRFolder(session(), repository()->ID()));
}

TEST_F(AcfRanking, LoadingAgainKeepsTheNodesThatStay) {
    addSources("A|B|C");
    addMcr("A|B|C");
    load();
    TreeNode* a = &node(idOf("A"));
    TreeNode* c = &node(idOf("C"));
    GetMessage(session(), idOf("B"))->Delete();
    const RDOMessagePtr renamed = GetMessage(session(), idOf("C"));
    renamed->SetSubject("Z");
    renamed->Save();
    PutTrustRanking(session(), "Z|A");
    load();
    EXPECT_EQ(branch(), (Names{kMcr, "Z", "A"}));
    EXPECT_EQ(&node(idOf("A")), a);
    EXPECT_EQ(&node(idOf("Z")), c);
    const RDOMessagePtr data = GetMessage(session(), idOf("Z"));
    SetKey(*data, kAcfFolderKey, "");
    SetKey(*data, kAcfCxnKey, "x");
    data->Save();
    load();
    EXPECT_EQ(node(idOf("Z")).tag, "acds");
    EXPECT_EQ(branch(), (Names{kMcr, "Z", "A"}));
}

TEST_F(AcfRanking, ANameMayHoldTheSeparator) {
    addSources("West");
    addAcf("East|West", EntryID("00AA"));
    addAcf("East", EntryID("00AA"));
    addMcr("East|West|East|Gone|West");
    load();
    EXPECT_EQ(branch(), (Names{kMcr, "East|West", "East", "West"}));
}

TEST_F(AcfRanking, ANameThatStandsTwiceIsOneNode) {
    addSources("A|B|A");
    addMcr("B|A|B|A");
    load();
    EXPECT_EQ(branch(), (Names{kMcr, "B", "A"}));
    EXPECT_EQ(tree.Find(kAcfRootKey)->children[2]->key, idOf("A").text());
}

TEST_F(AcfRanking, ARecordWithoutAKindCanBeMended) {
    const EntryID id = addRecord(kAcfClass, "Odd", {});
    addMcr("Odd");
    load();
    EXPECT_EQ(node(id).tag, "acf");
}

TEST_F(AcfRanking, EveryTwentiethNameGivesATurn) {
    Names names;
    for (int i = 0; i < 45; ++i)
        names.push_back("S" + std::to_string(i));
    addSources(Join(names, "|"));
    addMcr(Join(names, "|"));
    const int before = world.ui.doEventsCalls();
    load();
    EXPECT_EQ(world.ui.doEventsCalls() - before, 3);
    EXPECT_EQ(branch().size(), 46u);
}

TEST_F(AcfRanking, AChangeMeanwhileIsNotUndone) {
    addSources("A|B");
    addMcr("A|B");
    world.ui.onDoEvents = [&] {
        world.ui.onDoEvents = nullptr;
        GetMessage(session(), idOf("A"))->Delete();
        PutTrustRanking(session(), "B");
        load();
    };
    load();
    EXPECT_EQ(branch(), (Names{kMcr, "B"}));
    // a tree that was taken away meanwhile stays so
    world.ui.onDoEvents = [&] { tree.Clear(); };
    load();
    EXPECT_EQ(tree.Find(kAcfRootKey), nullptr);
    EXPECT_FALSE(SaveTrustRanking(session(), tree));
}

TEST_F(AcfRanking, MovesAreStoredAtOnce) {
    addSources("A|B|C");
    addMcr("A|B|C");
    load();
    TreeNode& c = node(idOf("C"));
    MoveAcfNode(session(), tree, c, true);
    EXPECT_EQ(branch(), (Names{kMcr, "A", "C", "B"}));
    EXPECT_EQ(ranking(), "A|C|B");
    MoveAcfNode(session(), tree, c, true);
    MoveAcfNode(session(), tree, c, true); // nobody passes the repository
    EXPECT_EQ(branch(), (Names{kMcr, "C", "A", "B"}));
    EXPECT_EQ(ranking(), "C|A|B");
    EXPECT_EQ(&node(idOf("C")), &c);
    for (int i = 0; i < 3; ++i)
        MoveAcfNode(session(), tree, c, false);
    EXPECT_EQ(ranking(), "A|B|C");
    MoveAcfNode(session(), tree, *tree.Find(kAcfRootKey)->children.front(), false);
    EXPECT_EQ(branch(), (Names{kMcr, "A", "B", "C"}));
}

TEST_F(AcfRanking, RemovingByFolderTakesRecordAndNode) {
    const EntryID folder = publicFolder("Suppliers")->ID();
    const EntryID acf = addAcf("Suppliers", folder);
    addSources("Other");
    addMcr("Suppliers|Other");
    load();
    RemoveAcfForFolder(session(), tree, publicFolder("Else")->ID());
    EXPECT_EQ(branch().size(), 3u);
    RemoveAcfForFolder(session(), tree, folder);
    EXPECT_EQ(GetMessage(session(), acf), nullptr);
    EXPECT_EQ(branch(), (Names{kMcr, "Other"}));
    EXPECT_EQ(ranking(), "Other");
}

TEST_F(AcfRanking, AnOrphanRecordOfAFolderGoesToo) {
    const EntryID folder = publicFolder("Suppliers")->ID();
    const EntryID orphan = addAcf("Suppliers", folder);
    addSources("Other");
    addMcr("Suppliers, gone|Other");
    load();
    RemoveAcfForFolder(session(), tree, folder);
    EXPECT_EQ(GetMessage(session(), orphan), nullptr);
    EXPECT_EQ(ranking(), "Other"); // stored anew
}

TEST_F(AcfRanking, WithoutARecordNothingIsStored) {
    EXPECT_FALSE(SaveTrustRanking(session(), tree)); // no branch yet
    world.ui.Expect("Unable to save the trust ranking!\nThere is no Master Contact Repository.");
    EXPECT_FALSE(PutTrustRanking(session(), "A"));
    EXPECT_EQ(countOf(kMcrClass), 0u);
}

/// A branch loaded and stored through a store that fails at some call.
struct Attempt {
    World world;
    TreeModel tree;
    EntryID a, b;
    explicit Attempt() {
        world.LogOnConfigured();
        tree.Add("", kAcfRootKey, kAcfRootKey, "Sources", "");
        const auto add = [&](std::string_view messageClass, std::string_view name,
                             std::string_view key, std::string_view value) {
            const RDOMessagePtr record = world.session->agentInfo->Items()->Add(messageClass);
            record->SetSubject(name);
            SetKey(*record, kAcfFolderKey, "00AA");
            SetKey(*record, kMcrFolderKey, "00AA");
            SetKey(*record, key, value);
            record->Save();
            return record->ID();
        };
        a = add(kAcfClass, "A", kAcfPathKey, "p");
        b = add(kAcfClass, "B", kAcfPathKey, "p");
        add(kMcrClass, kMcrName, "ACF Trust Ranking", "A|B");
    }
};

TEST(AcfRankingFailures, NoFailureLosesASource) {
    const int runs = ForEachFailure([](const Arm& arm) {
        Attempt at;
        FailingSession failing(at.world);
        failing.LogOn();
        arm(failing.store.plan());
        LoadAcfTree(failing.session, at.tree);
        EXPECT_GE(at.tree.Find(kAcfRootKey)->children.size(), 1u);
        SaveTrustRanking(failing.session, at.tree);
        if (TreeNode* b = at.tree.Find(at.b.text()))
            MoveAcfNode(failing.session, at.tree, *b, true);
        const std::string ranking = GetTrustRanking(*at.world.session);
        EXPECT_TRUE(ranking == "A|B" || ranking == "B|A") << ranking;
        EXPECT_EQ(RequireMessageIDs(*at.world.session->agentInfo, kMcrClass, "").size(), 1u);
        return failing.store.plan().Failed();
    });
    EXPECT_GT(runs, 20);
}

TEST(AcfRankingFailures, NoFailureMakesASecondRecord) {
    const int runs = ForEachFailure([](const Arm& arm) {
        World world;
        world.LogOnConfigured();
        FailingSession failing(world);
        failing.LogOn();
        TreeModel tree;
        tree.Add("", kAcfRootKey, kAcfRootKey, "Sources", "");
        arm(failing.store.plan());
        LoadAcfTree(failing.session, tree);
        LoadAcfTree(failing.session, tree);
        const bool failed = failing.store.plan().Failed();
        EXPECT_EQ(tree.Find(kAcfRootKey)->children.size(), 1u);
        EXPECT_LE(RequireMessageIDs(*world.session->agentInfo, kMcrClass, "").size(), 1u);
        return failed;
    });
    EXPECT_GT(runs, 10);
}

TEST(AcfRankingFailures, AnUnreadBranchIsKeyedSo) {
    Attempt at;
    FailingSession failing(at.world);
    failing.LogOn();
    failing.store.plan().FailFrom(1);
    LoadAcfTree(failing.session, at.tree);
    ASSERT_EQ(at.tree.Find(kAcfRootKey)->children.size(), 1u);
    EXPECT_EQ(at.tree.Find(kAcfRootKey)->children.front()->key, "mcr");
    failing.store.plan().FailFrom(0);
    EXPECT_FALSE(SaveTrustRanking(failing.session, at.tree));
    EXPECT_EQ(GetTrustRanking(*at.world.session), "A|B");
    LoadAcfTree(failing.session, at.tree);
    EXPECT_EQ(at.tree.Find(kAcfRootKey)->children.size(), 3u);
    // a branch that stands isn't touched when reading fails
    failing.store.plan().FailFrom(1);
    LoadAcfTree(failing.session, at.tree);
    EXPECT_EQ(at.tree.Find(kAcfRootKey)->children.size(), 3u);
}

} // namespace
