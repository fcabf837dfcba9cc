#include "tests/console/ConsoleTest.h"

namespace {

using namespace kr;

TEST_F(ConsoleTest, TreeHasTheFixedNodesInOrder) {
    EXPECT_EQ(console->LoadTreeRoot(), "zandrelAgent - Agent Mailbox");
    EXPECT_EQ(children("agent"), (Names{"langroot", "serverroot", "mgmt", "epsroot", "ssuroot",
                                        "persroot", "bsrroot", "besconnectorroot", "chklstroot"}));
    EXPECT_EQ(children("epsroot"), (Names{"acfroot", "mbl-eps", "mclf", "epsnotes", "epsnotesPF",
                                          "cclroot", "pdlroot", "epsuserroot"}));
    EXPECT_EQ(children("bsrroot"), (Names{"mbl-bsr", "censusroot"}));
    EXPECT_EQ(children("pdlroot"), Names{"dummypdl"});
    EXPECT_EQ(children("besconnectorroot"), Names{"dummybb"});
    const TreeNode* stats = console->tree().Find("epsuserroot");
    EXPECT_EQ(stats->text, "User Statistics");
    EXPECT_EQ(stats->image, "imgStats");
    EXPECT_EQ(stats->tag, "epsuserroot");
    EXPECT_TRUE(view.expanded.contains("agent"));
    EXPECT_EQ(view.selectedNode, "agent");
}

TEST_F(ConsoleTest, NodesThatDependOnVersionAndOnTheRegistry) {
    world.session->versionFlag = false;
    RegValue mpl;
    mpl.type = RegType::Sz;
    mpl.text = "True";
    world.registry->Write(Hive::LocalMachine, R"(Software\zandrel\zandrelAgent)", "MPL", mpl);
    console->LoadTreeRoot();
    EXPECT_EQ(console->tree().Find("mbl-eps"), nullptr);
    EXPECT_EQ(console->tree().Find("mbl-bsr"), nullptr);
    ASSERT_NE(console->tree().Find("mplroot"), nullptr);
    EXPECT_EQ(console->tree().Find("mplroot")->row(), 4U);

    mpl.text = "0";
    world.registry->Write(Hive::LocalMachine, R"(Software\zandrel\zandrelAgent)", "MPL", mpl);
    console->LoadTreeRoot();
    EXPECT_EQ(console->tree().Find("mplroot"), nullptr);
}

TEST_F(ConsoleTest, ClickSetsTitleAndLoadsOnce) {
    TestKind& mclf = kind("mclf");
    console->LoadTreeRoot();
    click("mclf");
    EXPECT_EQ(mclf.loads, 1);
    EXPECT_EQ(view.title, "Mandatory Contacts ");
    EXPECT_EQ(console->CurrentTag(), "mclf");
    click("mclf");
    EXPECT_EQ(mclf.loads, 1) << "the same node doesn't load again";
    click("cclroot");
    EXPECT_EQ(view.status, kMissing);
    click("mclf");
    EXPECT_EQ(mclf.loads, 2);
}

TEST_F(ConsoleTest, TitleDoublesAmpersandsBetweenBlanks) {
    console->LoadTreeRoot();
    console->tree().Add("acfroot", "e1", "acf", "R & D", "imgContact");
    click("e1");
    EXPECT_EQ(view.title, "R && D ");
    console->tree().SetText(*console->tree().Find("e1"), "R&D & Sales & Co");
    console->SetTitle("R&D & Sales & Co");
    EXPECT_EQ(view.title, "R&D && Sales && Co ");
}

TEST_F(ConsoleTest, NumericKeyLosesItsMark) {
    console->OnTreeBuilt(
        [](Console& c) { c.tree().Add("langroot", "1033", "language", "English", "imgLang"); });
    console->LoadTreeRoot();
    click("1033");
    EXPECT_EQ(console->CurrentKey(), "1033");
    EXPECT_EQ(console->CurrentNode()->key, "!~1033");
}

TEST_F(ConsoleTest, RootLeavesTheListEmpty) {
    kind("mclf").load = [&](Console& c, TreeNode&) { c.LoadList(plan({"a"})); };
    console->LoadTreeRoot();
    click("mclf");
    EXPECT_EQ(console->list().Count(), 1U);
    click("agent");
    EXPECT_EQ(console->list().Count(), 0U);
    EXPECT_TRUE(console->list().Columns().empty());
    EXPECT_EQ(view.status, "");
}

TEST_F(ConsoleTest, ReportStandsInFrontForItsNodeOnly) {
    console->LoadTreeRoot();
    click("bsrroot");
    EXPECT_TRUE(view.reportShown);
    click("mclf");
    EXPECT_FALSE(view.reportShown);
}

TEST_F(ConsoleTest, TaskTimerRunsForServersOnly) {
    TestKind& servers = kind("serverroot");
    servers.tasks = true;
    console->LoadTreeRoot();
    click("serverroot");
    EXPECT_TRUE(view.timer);
    console->TaskTick();
    EXPECT_EQ(servers.ticks, 1);
    click("mclf");
    EXPECT_FALSE(view.timer);
    console->TaskTick();
    EXPECT_EQ(servers.ticks, 1);
}

TEST_F(ConsoleTest, ListLoadsInItsFrame) {
    kind("mclf").load = [&](Console& c, TreeNode&) {
        auto load = plan({"pear", "Apple", "fig"});
        load.fill = [fill = load.fill, this](Console& con) {
            EXPECT_EQ(view.status, "Loading things, please wait...");
            EXPECT_TRUE(view.frozen);
            return fill(con);
        };
        c.LoadList(load);
    };
    console->LoadTreeRoot();
    click("mclf");
    EXPECT_EQ(view.status, "3 things");
    EXPECT_FALSE(view.frozen);
    EXPECT_EQ(view.fits, 1);
    EXPECT_EQ(console->list().At(0).texts[0], "Apple");
    EXPECT_EQ(console->list().At(2).texts[0], "pear");
    EXPECT_TRUE(world.logHas("loading things"));
    EXPECT_GE(world.ui.doEventsCalls(), 3) << "events run at every row";
    EXPECT_EQ(world.ui.waitCursors(), 0);
}

TEST_F(ConsoleTest, CountsByNumber) {
    console->LoadTreeRoot();
    console->LoadList(plan({}));
    EXPECT_EQ(view.status, "0 things");
    console->LoadList(plan({"a"}));
    EXPECT_EQ(view.status, "1 thing");
    console->LoadList(plan({"a", "b"}));
    EXPECT_EQ(view.status, "2 things");
}

TEST_F(ConsoleTest, ReasonAndFailureStandInStatusAndLog) {
    console->LoadTreeRoot();
    auto load = plan({});
    load.fill = [](Console&) { return std::string("no folder today"); };
    console->LoadList(load);
    EXPECT_EQ(view.status, "no folder today");
    EXPECT_TRUE(world.logHas("no folder today"));
    load.fill = [](Console&) -> std::string { throw PlatformError(5, "store is gone"); };
    console->LoadList(load);
    EXPECT_NE(view.status.find("store is gone"), std::string::npos);
    EXPECT_TRUE(world.logHas("store is gone"));
    EXPECT_FALSE(view.frozen);
}

TEST_F(ConsoleTest, AClickDuringALoadWins) {
    TestKind& other = kind("cclroot");
    other.load = [&](Console& c, TreeNode&) { c.LoadList(plan({"new"}, "ccl")); };
    bool overtaken = false;
    kind("mclf").load = [&](Console& c, TreeNode&) {
        auto load = plan({});
        load.fill = [&](Console& con) {
            con.AddRow(row("1", "mcl", "old 1"));
            world.ui.onDoEvents = nullptr;
            click("cclroot");
            overtaken = con.LoadOvertaken();
            con.AddRow(row("2", "mcl", "old 2"));
            return std::string();
        };
        c.LoadList(load);
    };
    console->LoadTreeRoot();
    click("mclf");
    EXPECT_TRUE(overtaken);
    EXPECT_EQ(console->CurrentTag(), "cclroot");
    ASSERT_EQ(console->list().Count(), 1U);
    EXPECT_EQ(console->list().At(0).texts[0], "new");
    EXPECT_EQ(view.status, "1 thing");
    EXPECT_EQ(view.title, "Custom Contact Lists ");
    EXPECT_EQ(view.visible(), (Names{"mnuCclAdd", "mnuActionmnuProps"}));
}

TEST_F(ConsoleTest, ALoadLeftForANodeWithoutListEndsEmpty) {
    kind("mclf").load = [&](Console& c, TreeNode&) {
        auto load = plan({});
        load.fill = [&](Console& con) {
            con.AddRow(row("1", "mcl", "old"));
            click("epsroot");
            return std::string();
        };
        c.LoadList(load);
    };
    console->LoadTreeRoot();
    click("mclf");
    EXPECT_EQ(console->list().Count(), 0U);
    EXPECT_FALSE(view.frozen);
    EXPECT_EQ(view.status, "");
}

TEST_F(ConsoleTest, ManyRowsReachTheModelInBatches) {
    class Batches : public ListModel::Listener {
    public:
        std::vector<size_t> sizes;
        void OnReset() override {}
        void OnAppended(size_t, size_t count) override { sizes.push_back(count); }
        void OnRemoved(size_t) override {}
        void OnChanged(size_t) override {}
        void BeforeReorder() override {}
        void AfterReorder(const std::vector<uint32_t>&) override {}
    } batches;
    console->LoadTreeRoot();
    console->list().SetListener(&batches);
    auto load = plan({});
    load.fill = [](Console& c) {
        for (int i = 0; i < 12000; ++i)
            c.AddRow(row(std::to_string(i), "mcl", std::to_string(i)));
        return std::string();
    };
    console->LoadList(load);
    EXPECT_EQ(batches.sizes, (std::vector<size_t>{5000, 5000, 2000}));
    EXPECT_EQ(view.status, "12000 things");
    console->list().SetListener(nullptr);
}

TEST_F(ConsoleTest, ExpandReplacesTheDummy) {
    kind("pdlroot").expand = [](Console& c, TreeNode& node) {
        c.tree().Add(node.key, "p1", "pdlt", "List 1", "imgPDL");
        return true;
    };
    console->LoadTreeRoot();
    EXPECT_TRUE(console->Expand(*console->tree().Find("pdlroot")));
    EXPECT_EQ(children("pdlroot"), Names{"p1"});
    EXPECT_TRUE(console->Expand(*console->tree().Find("besconnectorroot")));
    EXPECT_TRUE(children("besconnectorroot").empty());
}

TEST_F(ConsoleTest, AFailedExpandKeepsTheDummyAndCollapses) {
    kind("pdlroot").expand = [](Console&, TreeNode&) { return false; };
    console->LoadTreeRoot();
    EXPECT_FALSE(console->Expand(*console->tree().Find("pdlroot")));
    EXPECT_EQ(children("pdlroot"), Names{"dummypdl"});
}

TEST_F(ConsoleTest, RefreshRestoresTheNodeAndItsList) {
    TestKind& mclf = kind("mclf");
    mclf.load = [&](Console& c, TreeNode&) { c.LoadList(plan({"a"})); };
    console->LoadTreeRoot();
    click("mclf");
    console->RunCommand("mnuViewRefresh");
    EXPECT_EQ(mclf.loads, 2);
    EXPECT_EQ(view.selectedNode, "mclf");
    EXPECT_EQ(console->list().Count(), 1U);
    EXPECT_TRUE(world.logHas("RefreshView: saving state; Tag = mclf; Key = mclf"));
    EXPECT_TRUE(world.logHas("RefreshView: restoring"));
    EXPECT_TRUE(world.logHas("expanding to find mclf"));
}

TEST_F(ConsoleTest, RefreshFindsLanguagesAndLists) {
    console->OnTreeBuilt(
        [](Console& c) { c.tree().Add("langroot", "1033", "language", "English", "imgLang"); });
    kind("pdlroot").expand = [](Console& c, TreeNode& node) {
        c.tree().Add(node.key, "p1", "pdlt", "List 1", "imgPDL");
        return true;
    };
    TestKind& member = kind("pdlt");
    console->LoadTreeRoot();
    click("1033");
    console->RefreshView();
    EXPECT_EQ(view.selectedNode, "!~1033");
    EXPECT_TRUE(view.expanded.contains("langroot"));
    EXPECT_TRUE(world.logHas("Tag = language; Key = 1033"));

    console->Expand(*console->tree().Find("pdlroot"));
    click("p1");
    console->RefreshView();
    EXPECT_EQ(view.selectedNode, "p1");
    EXPECT_EQ(member.loads, 2);
}

TEST_F(ConsoleTest, RefreshOnADeletedNodeSelectsTheRoot) {
    console->LoadTreeRoot();
    console->tree().Add("acfroot", "gone", "acf", "Gone", "imgContact");
    click("gone");
    console->RefreshView();
    EXPECT_EQ(view.selectedNode, "agent");
    EXPECT_EQ(console->CurrentTag(), "agent");
    EXPECT_EQ(view.title, "zandrelAgent - Agent Mailbox ");
}

TEST_F(ConsoleTest, ChangedLanguagesAreStoredAndAnnouncedWhenTheKindChanges) {
    auto host = world.session->agentInfo->Items()->Add("zandrel.Host");
    host->SetSubject("AGENT1");
    host->Save();
    int stored = 0;
    console->OnStoreLanguages([&] { ++stored; });
    console->LoadTreeRoot();
    click("langroot");
    world.session->languagesChanged = true;
    click("langroot");
    EXPECT_EQ(stored, 0) << "the same node";
    click("mclf");
    EXPECT_EQ(stored, 1);
    EXPECT_FALSE(world.session->languagesChanged);
    ASSERT_EQ(world.services.sent.size(), 1U);
    EXPECT_EQ(world.services.sent[0].code, 131);
    EXPECT_NE(world.services.sent[0].host.find("AGENT1"), std::string::npos);
}

} // namespace
