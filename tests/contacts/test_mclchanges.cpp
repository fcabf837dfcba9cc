#include "contacts/basMCLChanges.h"

#include "contacts/basMCLRecord.h"
#include "tests/contacts/MclTest.h"
#include "tests/support/FailingWorld.h"

namespace {

using namespace kr;

class MclChangeTest : public ::testing::Test, protected MclWorld {
protected:
    SelectedMcl list(const std::string& name, const TestKeys& keys = {}) {
        const EntryID id = addList(name, keys);
        const RDOMessagePtr message = open(id);
        const bool linked = !KeyText(*message, "ACS.Guid").empty();
        return {id, name, linked, KeyFlag(*message, "EPS.Inactive")};
    }
    bool inactive(const EntryID& id) { return key(id, "EPS.Inactive") == Value(true); }
    size_t count() { return static_cast<size_t>(lists()->Items()->Count()); }
};

using Ids = std::vector<EntryID>;

// --- Deleting

TEST_F(MclChangeTest, DeletesAfterAQuestion) {
    const SelectedMcl a = list("Sales"), b = list("Partners");
    world.ui.Expect("Are you sure you want to delete this Mandatory Contact List\n  Sales",
                    BoxAnswer::Cancel);
    EXPECT_EQ(DeleteMCLs(session(), {a}), Ids{});
    EXPECT_EQ(count(), 2U);
    world.ui.Expect("Are you sure you want to delete these 2 Mandatory Contact Lists\n"
                    "  Sales\n  Partners");
    EXPECT_EQ(DeleteMCLs(session(), {a, b}), (Ids{a.id, b.id}));
    EXPECT_EQ(count(), 0U);
    EXPECT_EQ(world.ui.statuses().back(), "Deleting mandatory contact lists, please wait...");
    EXPECT_EQ(world.ui.waitCursors(), 0);
    EXPECT_EQ(DeleteMCLs(session(), {}), Ids{});
}

TEST_F(MclChangeTest, AListThatIsGoneIsNamedAndTheOthersGo) {
    const SelectedMcl a = list("A"), b = list("B");
    open(a.id)->Delete();
    world.ui.Expect("");
    world.ui.Expect("Error! Unable to access MCL message to perform delete!");
    EXPECT_EQ(DeleteMCLs(session(), {a, b}), Ids{b.id});
    EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Stop);
    EXPECT_EQ(count(), 0U);
}

TEST(MclChangeFailures, ADeletionThatFailsIsShownAndGoesOn) {
    MclWorld mcl;
    const int runs = ForEachFailure([&](const Arm& arm) {
        const EntryID a = mcl.addList("A"), b = mcl.addList("B");
        FailingSession failing(mcl.world);
        failing.LogOn();
        arm(failing.store.plan());
        const auto gone = DeleteMCLs(failing.session, {{a, "A"}, {b, "B"}});
        EXPECT_EQ(gone.size() + failing.ui.shown.size(), 3U) << "a box for each that stays";
        for (const EntryID& id : {a, b}) {
            const bool told = std::ranges::find(gone, id) != gone.end();
            EXPECT_EQ(mcl.open(id) == nullptr, told);
            if (!told)
                mcl.open(id)->Delete();
        }
        return failing.store.plan().Failed();
    });
    EXPECT_GT(runs, 10);
}

// --- Activation

TEST_F(MclChangeTest, SwitchesOnlyWhatNeedsIt) {
    const SelectedMcl on = list("On"), off = list("Off", {{"EPS.Inactive", true}});
    world.ui.Expect("Inactivate On?", BoxAnswer::Yes);
    const MclActivation done = ChangeActivationMCL(session(), {on, off}, false);
    EXPECT_EQ(done.lists, Ids{on.id});
    EXPECT_TRUE(done.sources.empty());
    EXPECT_TRUE(inactive(on.id));
    EXPECT_TRUE(inactive(off.id));
    world.ui.Expect("Activate Off?", BoxAnswer::No);
    EXPECT_TRUE(ChangeActivationMCL(session(), {off}, true).lists.empty());
    EXPECT_TRUE(inactive(off.id));
    world.ui.Expect("Activate Off?", BoxAnswer::Yes);
    ChangeActivationMCL(session(), {off}, true);
    EXPECT_EQ(key(off.id, "EPS.Inactive"), Value(false));
}

TEST_F(MclChangeTest, SaysWhenNothingNeedsIt) {
    const SelectedMcl on = list("On"), off = list("Off", {{"EPS.Inactive", true}});
    world.ui.Expect("Selected lists are all currrently active");
    ChangeActivationMCL(session(), {on}, true);
    EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Information);
    world.ui.Expect("Selected lists are all currently inactive");
    ChangeActivationMCL(session(), {off}, false);
    EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Information);
}

TEST_F(MclChangeTest, AsksOnceForSeveral) {
    const SelectedMcl a = list("A"), b = list("B");
    world.ui.Expect("Inactivate these 2 Mandatory Contact Lists?", BoxAnswer::Yes);
    EXPECT_EQ(ChangeActivationMCL(session(), {a, b}, false).lists, (Ids{a.id, b.id}));
}

TEST_F(MclChangeTest, TheSourceGoesOnWithItsList) {
    const EntryID source = addFolderSource("S", {{"ACS.Guid", "G1"}, {"EPS.Inactive", true}});
    const SelectedMcl a = list("A", {{"ACS.Guid", "G1"}, {"EPS.Inactive", true}});
    world.ui.Expect("Activate A?\nThe parent Alternate Contact Source will also be activated.",
                    BoxAnswer::Yes);
    const MclActivation done = ChangeActivationMCL(session(), {a}, true);
    EXPECT_EQ(done.lists, Ids{a.id});
    EXPECT_EQ(done.sources, Ids{source});
    EXPECT_EQ(key(source, "EPS.Inactive"), Value(false));
    EXPECT_EQ(key(a.id, "EPS.Inactive"), Value(false));
}

TEST_F(MclChangeTest, SeveralSourcesGoOnWithTheirLists) {
    const EntryID s1 = addFolderSource("S1", {{"ACS.Guid", "G1"}, {"EPS.Inactive", true}});
    const EntryID s2 = addDataSource("S2", {{"ACS.Guid", "G2"}, {"EPS.Inactive", true}});
    addDataSource("S3", {{"ACS.Guid", "G3"}});
    const TestKeys off{{"EPS.Inactive", true}};
    std::vector<SelectedMcl> all;
    for (const char* guid : {"G1", "G2", "G3"})
        all.push_back(list(guid, {{"ACS.Guid", guid}, {"EPS.Inactive", true}}));
    all.push_back(list("Plain", off));
    world.ui.Expect("Activate these 4 Mandatory Contact Lists?\n"
                    "The parent Alternate Contact Sources will also be activated.",
                    BoxAnswer::Yes);
    const MclActivation done = ChangeActivationMCL(session(), all, true);
    EXPECT_EQ(done.lists.size(), 4U);
    EXPECT_EQ(done.sources, (Ids{s1, s2}));
}

TEST_F(MclChangeTest, InactivatingLeavesTheSourceAlone) {
    const EntryID source = addFolderSource("S", {{"ACS.Guid", "G1"}});
    const SelectedMcl a = list("A", {{"ACS.Guid", "G1"}});
    world.ui.Expect("Inactivate A?", BoxAnswer::Yes);
    ChangeActivationMCL(session(), {a}, false);
    EXPECT_TRUE(inactive(a.id));
    EXPECT_FALSE(inactive(source));
}

TEST_F(MclChangeTest, AListWithoutItsSourceCantGoOn) {
    const SelectedMcl lost = list("Lost", {{"ACS.Guid", "G1"}, {"EPS.Inactive", true}});
    const SelectedMcl plain = list("Plain", {{"EPS.Inactive", true}});
    world.ui.Expect("Activate these 2 Mandatory Contact Lists?", BoxAnswer::Yes);
    world.ui.Expect("Errors were encountered activating 1 lists. See the KR-Admin.log for details");
    const MclActivation done = ChangeActivationMCL(session(), {lost, plain}, true);
    EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Exclamation);
    EXPECT_EQ(done.lists, Ids{plain.id});
    EXPECT_TRUE(inactive(lost.id));
    EXPECT_TRUE(world.logHas(":failed to active parent ACF for MCL Lost\n"));
    EXPECT_TRUE(world.logHas(":activating error "));
    EXPECT_TRUE(world.logHas(" MCL Lost:The list has lost its contact source.\n"));
}

TEST_F(MclChangeTest, AListThatIsGoneCountsAsAnError) {
    const SelectedMcl a = list("A");
    open(a.id)->Delete();
    world.ui.Expect("Inactivate A?", BoxAnswer::Yes);
    world.ui.Expect(
        "Errors were encountered inactivating 1 lists. See the KR-Admin.log for details");
    EXPECT_TRUE(ChangeActivationMCL(session(), {a}, false).lists.empty());
    EXPECT_TRUE(world.logHas(":inactivating error "));
}

TEST(MclChangeFailures, WhatIsToldAsSwitchedIsSwitched) {
    MclWorld mcl;
    const EntryID source = mcl.addFolderSource("S", {{"ACS.Guid", "G1"}});
    const EntryID a = mcl.addList("A", {{"ACS.Guid", "G1"}}), b = mcl.addList("B");
    const int runs = ForEachFailure([&](const Arm& arm) {
        for (const EntryID& id : {source, a, b})
            mcl.setKey(id, "EPS.Inactive", true);
        FailingSession failing(mcl.world);
        failing.LogOn();
        arm(failing.store.plan());
        const MclActivation done = ChangeActivationMCL(
            failing.session, {{a, "A", true, true}, {b, "B", false, true}}, true);
        for (const EntryID& id : {a, b})
            EXPECT_EQ(std::ranges::find(done.lists, id) != done.lists.end(),
                      mcl.key(id, "EPS.Inactive") == Value(false));
        EXPECT_EQ(!done.sources.empty(), mcl.key(source, "EPS.Inactive") == Value(false));
        if (mcl.key(a, "EPS.Inactive") == Value(false))
            EXPECT_EQ(mcl.key(source, "EPS.Inactive"), Value(false)) << "never without its source";
        EXPECT_EQ(done.lists.size() == 2, failing.ui.shown.size() == 1);
        return failing.store.plan().Failed();
    });
    EXPECT_GT(runs, 30);
}

// --- Folder and record

TEST(MclChangeFailures, AFailureMakesNoSecondFolderAndKeepsThePath) {
    MclWorld mcl;
    const MclFolder there = GetMCLFolder(mcl.session());
    const int runs = ForEachFailure([&](const Arm& arm) {
        FailingSession failing(mcl.world);
        failing.LogOn();
        arm(failing.store.plan());
        const MclFolder found = GetMCLFolder(failing.session);
        EXPECT_EQ(!found, !failing.ui.shown.empty());
        EXPECT_EQ(mcl.agentKey("MCEntryID"), Value(there.id.text()));
        EXPECT_EQ(mcl.agentKey("MCPath"), Value(there.path));
        return failing.store.plan().Failed();
    });
    EXPECT_GT(runs, 5);
}

TEST(MclChangeFailures, AMoveThatFailsLosesNoListAndCanBeFinished) {
    MclWorld mcl;
    const RDOFolderPtr mail = mcl.session().rdo->Stores().DefaultStore()->IPMRootFolder();
    int turn = 0;
    const int runs = ForEachFailure([&](const Arm& arm) {
        const MclFolder old = GetMCLFolder(mcl.session());
        while (old.folder->Items()->Count() < 2)
            mcl.addList("List");
        const RDOFolderPtr target = mail->Folders()->Add("Lists " + std::to_string(++turn));
        FailingSession failing(mcl.world);
        failing.LogOn();
        failing.ui.ExpectFolders({{target->ID(), target->StoreID(), "\\\\Mailbox\\Lists"}});
        arm(failing.store.plan());
        const bool moved = SetMCLPath(failing.session);
        const bool failed = failing.store.plan().Failed();
        const int left = old.folder->Items()->Count();
        EXPECT_EQ(left + target->Items()->Count(), 2);
        EXPECT_EQ(mcl.agentKey("MCEntryID"), Value((moved ? target->ID() : old.id).text()));
        if (!moved) {
            EXPECT_FALSE(failing.ui.shown.empty());
            // put back for the next turn
            while (target->Items()->Count() > 0)
                target->Items()->Item(1)->MoveTo(*old.folder);
        }
        return failed;
    });
    EXPECT_GT(runs, 20);
}

TEST(MclChangeFailures, ARecordIsSavedWhollyOrNotAtAll) {
    MclWorld mcl;
    const RDOFolderPtr lists = mcl.lists();
    const MclKeys keys{{"MCL Target", "Bob"}, {"MCL PF", true}};
    const int runs = ForEachFailure([&](const Arm& arm) {
        FailingSession failing(mcl.world);
        failing.LogOn();
        arm(failing.store.plan());
        const EntryID saved = SaveMCL(failing.session, {}, "New", "text", keys);
        const bool failed = failing.store.plan().Failed();
        const int count = lists->Items()->Count();
        if (saved.empty())
            EXPECT_FALSE(failing.ui.shown.empty());
        EXPECT_LE(count, 1);
        if (count == 1) {
            const RDOMessagePtr list = lists->Items()->Item(1);
            EXPECT_EQ(KeyText(*list, "MCL Target") + KeyText(*list, "MCL Description"), "Bobtext");
            EXPECT_TRUE(KeyFlag(*list, "MCL PF"));
            list->Delete();
        }
        return failed;
    });
    EXPECT_GT(runs, 15);
}

} // namespace
