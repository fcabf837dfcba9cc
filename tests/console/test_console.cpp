#include <gtest/gtest.h>

#include "console/Menus.h"
#include "console/kinds/FixedKinds.h"
#include "tests/console/FakeView.h"
#include "tests/support/World.h"

namespace {

using namespace kr;
using Names = std::vector<std::string>;

constexpr std::string_view kMissing = "This feature is not there yet.";

/// A kind whose answers the test sets.
class TestKind : public NodeKind {
public:
    using NodeKind::NodeKind;
    std::function<void(Console&, TreeNode&)> load;
    std::function<bool(Console&, TreeNode&)> expand;
    std::function<bool(Console&, std::string_view)> run;
    std::function<void(std::vector<MenuEntryState>&)> adjust;
    std::string deleteCommand;
    bool report = false;
    bool tasks = false;
    int loads = 0, ticks = 0;
    std::vector<std::pair<size_t, bool>> checks;

    void Load(Console& console, TreeNode& node) override {
        ++loads;
        if (load)
            load(console, node);
    }
    bool Expand(Console& console, TreeNode& node) override {
        return expand ? expand(console, node) : true;
    }
    bool Run(Console& console, std::string_view command) override {
        return run && run(console, command);
    }
    void AdjustMenu(Console&, std::vector<MenuEntryState>& entries) override {
        if (adjust)
            adjust(entries);
    }
    std::string_view DeleteCommand() const override { return deleteCommand; }
    void Checked(Console&, size_t position, bool checked) override {
        checks.emplace_back(position, checked);
    }
    bool ShowsReport() const override { return report; }
    bool WatchesTasks() const override { return tasks; }
    void Tick(Console&) override { ++ticks; }
};

class ConsoleTest : public ::testing::Test {
protected:
    ConsoleTest() {
        world.LogOnConfigured();
        world.session->agentName = "Agent Mailbox";
        console = std::make_unique<Console>(*world.session, view);
        view.console = console.get();
        RegisterFixedKinds(*console);
    }
    TestKind& kind(std::string tag) {
        auto made = std::make_unique<TestKind>(std::move(tag));
        TestKind& answer = *made;
        console->RegisterKind(std::move(made));
        return answer;
    }
    void click(std::string_view key) {
        ASSERT_NE(console->tree().Find(key), nullptr) << key;
        console->NodeClick(*console->tree().Find(key));
    }
    Names children(std::string_view key) {
        Names keys;
        for (const auto& child : console->tree().Find(key)->children)
            keys.push_back(child->key);
        return keys;
    }
    static ListRow row(std::string key, std::string tag, std::string text) {
        ListRow made;
        made.key = std::move(key);
        made.tag = std::move(tag);
        made.texts = {std::move(text)};
        return made;
    }
    Console::LoadPlan plan(std::vector<std::string> texts, std::string tag = "mcl") {
        return {"Loading things, please wait...",
                "loading things",
                {{"Name", ""}, {"S", "sorts"}},
                "1 thing",
                " things",
                [texts, tag](Console& c) {
                    for (const std::string& text : texts)
                        c.AddRow(row("key-" + text, tag, text));
                    return std::string();
                }};
    }
    void select(std::vector<size_t> rows) {
        view.selection = std::move(rows);
        console->SelectionChanged();
    }

    World world;
    FakeView view;
    std::unique_ptr<Console> console;
};

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

TEST_F(ConsoleTest, MenuFollowsNodeThenRows) {
    kind("cclroot").load = [&](Console& c, TreeNode&) { c.LoadList(plan({"a", "b"}, "ccl")); };
    console->LoadTreeRoot();
    click("cclroot");
    EXPECT_EQ(view.visible(), (Names{"mnuCclAdd", "mnuActionmnuProps"}));
    EXPECT_FALSE(view.enabled("mnuActionmnuProps")) << "stays visible; the node has none";
    select({1});
    EXPECT_EQ(view.visible(),
              (Names{"mnuCclAdd", "mnuCclDelete", "mnuActionInactivate", "mnuActionmnuProps"}));
    EXPECT_TRUE(view.enabled("mnuActionmnuProps"));
    EXPECT_EQ(console->ContextTag(), "ccl");
    console->TreeContext();
    EXPECT_EQ(console->ContextTag(), "cclroot");
    EXPECT_TRUE(console->SelectedRows().empty());
}

TEST_F(ConsoleTest, ActivateAndInactivateSwapByTheRow) {
    kind("cclroot").load = [&](Console& c, TreeNode&) {
        auto load = plan({});
        load.fill = [](Console& con) {
            auto ghost = row("1", "ccl", "a");
            ghost.ghosted = true;
            con.AddRow(ghost);
            con.AddRow(row("2", "ccl", "b"));
            return std::string();
        };
        c.LoadList(load);
    };
    console->LoadTreeRoot();
    click("cclroot");
    select({0});
    EXPECT_TRUE(view.enabled("mnuActionActivate"));
    EXPECT_FALSE(view.enabled("mnuActionInactivate"));
    select({1});
    EXPECT_FALSE(view.enabled("mnuActionActivate"));
    EXPECT_TRUE(view.enabled("mnuActionInactivate"));
    select({0, 1});
    EXPECT_TRUE(view.enabled("mnuActionActivate"));
    EXPECT_TRUE(view.enabled("mnuActionInactivate"));
}

TEST_F(ConsoleTest, RowsOfSeveralKindsShareWhatAllHave) {
    kind("mclf").load = [&](Console& c, TreeNode&) {
        auto load = plan({});
        load.fill = [](Console& con) {
            con.AddRow(row("1", "altcntct", "a"));
            con.AddRow(row("2", "mastercntct", "b"));
            return std::string();
        };
        c.LoadList(load);
    };
    console->LoadTreeRoot();
    click("mclf");
    select({0, 1});
    EXPECT_EQ(view.visible(), (Names{"mnuMcDetails", "mnuMcDelete", "mnuActionmnuProps"}));
}

TEST_F(ConsoleTest, AKindAdjustsItsMenu) {
    kind("besconnectorroot").adjust = [](std::vector<MenuEntryState>& entries) {
        for (MenuEntryState& entry : entries)
            if (entry.name == "mnuBesConnectorAdd")
                entry.enabled = false;
    };
    console->LoadTreeRoot();
    click("besconnectorroot");
    EXPECT_FALSE(view.enabled("mnuBesConnectorAdd"));
    EXPECT_EQ(view.visible(), (Names{"mnuBesConnectorAdd", "mnuActionmnuProps"}));
}

TEST_F(ConsoleTest, CommandsGoToTheKindThenToTheTableElseSaySo) {
    TestKind& ccl = kind("cclroot");
    Names heard;
    ccl.run = [&](Console&, std::string_view command) {
        heard.push_back("kind " + std::string(command));
        return command == "mnuCclAdd";
    };
    console->RegisterCommand("mnuProxy", [&](Console&) { heard.push_back("table"); });
    console->LoadTreeRoot();
    click("cclroot");
    console->RunCommand("mnuCclAdd");
    console->RunCommand("mnuProxy");
    EXPECT_EQ(heard, (Names{"kind mnuCclAdd", "kind mnuProxy", "table"}));
    console->RunCommand("mnuMplBackup");
    EXPECT_EQ(view.status, kMissing);
}

TEST_F(ConsoleTest, AFailingCommandIsLoggedAndShown) {
    console->RegisterCommand("mnuProxy", [](Console&) { throw PlatformError(7, "broken pipe"); });
    console->RunCommand("mnuProxy");
    EXPECT_NE(view.status.find("broken pipe"), std::string::npos);
    EXPECT_TRUE(world.logHas("mnuProxy: "));
}

TEST_F(ConsoleTest, DoubleClickRunsTheTable) {
    kind("acfroot").load = [&](Console& c, TreeNode&) { c.LoadList(plan({"a"}, "acf")); };
    TestKind& source = kind("acf");
    Names heard;
    console->RegisterCommand("mnuMcDetails", [&](Console&) { heard.push_back("details"); });
    console->LoadTreeRoot();
    console->tree().Add("acfroot", "key-a", "acf", "Source A", "imgContact");
    click("acfroot");
    console->ActivateRow(0);
    EXPECT_EQ(console->CurrentTag(), "acf");
    EXPECT_EQ(view.selectedNode, "key-a");
    EXPECT_EQ(source.loads, 1);
    console->LoadList(plan({"x"}, "altcntct"));
    console->ActivateRow(0);
    EXPECT_EQ(heard, Names{"details"});
    console->LoadList(plan({"x"}, "pushuser"));
    console->ActivateRow(0);
    console->ActivateRow(99);
    EXPECT_EQ(heard.size(), 1U);
}

TEST_F(ConsoleTest, DeleteKeyRunsTheKindsCommand) {
    kind("cclroot").load = [&](Console& c, TreeNode&) { c.LoadList(plan({"a"}, "ccl")); };
    kind("ccl").deleteCommand = "mnuCclDelete";
    int deletes = 0;
    console->RegisterCommand("mnuCclDelete", [&](Console& c) {
        ++deletes;
        EXPECT_EQ(c.SelectedRows().size(), 1U);
    });
    console->LoadTreeRoot();
    click("cclroot");
    console->DeleteKey();
    EXPECT_EQ(deletes, 0) << "the node itself has none";
    select({0});
    console->DeleteKey();
    EXPECT_EQ(deletes, 1);
    console->TreeContext();
    console->DeleteKey();
    EXPECT_EQ(deletes, 1);
}

TEST_F(ConsoleTest, FindKeyByNode) {
    Names heard;
    for (const char* name : {"mnuRegFindHandheld", "mnuLanguageFind", "mnuActionmnuFind"})
        console->RegisterCommand(name, [&heard, name](Console&) { heard.push_back(name); });
    console->LoadTreeRoot();
    console->tree().Add("langroot", "1033", "language", "English", "imgLang");
    for (const char* key : {"reg", "1033", "epsroot"}) {
        click(key);
        console->FindKey();
    }
    EXPECT_EQ(heard, (Names{"mnuRegFindHandheld", "mnuLanguageFind", "mnuActionmnuFind"}));
}

TEST_F(ConsoleTest, ColumnClickSortsTheOtherWayWhicheverColumnWasLast) {
    console->LoadTreeRoot();
    console->LoadList(plan({"b", "a", "c"}));
    console->ColumnClick(0);
    EXPECT_EQ(console->list().At(0).texts[0], "c");
    console->ColumnClick(0);
    EXPECT_EQ(console->list().At(0).texts[0], "a");
    EXPECT_EQ(world.ui.waitCursors(), 0);
}

TEST_F(ConsoleTest, CheckMarksReachTheKind) {
    TestKind& push = kind("pushuser");
    console->LoadTreeRoot();
    auto load = plan({});
    load.fill = [](Console& c) {
        auto checkable = row("u", "pushuser", "");
        checkable.checkable = true;
        c.AddRow(checkable);
        return std::string();
    };
    console->LoadList(load);
    console->CheckChanged(0, true);
    EXPECT_TRUE(console->list().At(0).checked);
    EXPECT_EQ(push.checks, (std::vector<std::pair<size_t, bool>>{{0, true}}));
}

TEST_F(ConsoleTest, FrameCommands) {
    console->LoadTreeRoot();
    console->RunCommand("mnuListViewMode(1)");
    EXPECT_EQ(view.viewMode, 1);
    console->RunCommand("mnuViewQuick");
    EXPECT_TRUE(world.session->quickLoad);
    console->RunCommand("mnuViewQuick");
    EXPECT_FALSE(world.session->quickLoad);
    console->RunCommand("mnuActionmnuFind");
    EXPECT_EQ(view.status, kMissing) << "no such form";
    view.forms["frmFindUser"] = [] {};
    console->RunCommand("mnuActionmnuFind");
    EXPECT_EQ(view.shown, Names{"frmFindUser"});
    console->RunCommand("mnuActionmnuExit");
    EXPECT_TRUE(view.closed);
}

TEST_F(ConsoleTest, ConnectWithUnchangedDataDoesNothing) {
    console->LoadTreeRoot();
    view.forms["frmLogon"] = [] {};
    console->RunCommand("mnuActionmnuConnect");
    EXPECT_NE(console->tree().Find("agent"), nullptr);
    EXPECT_EQ(view.shown, Names{"frmLogon"});
}

TEST_F(ConsoleTest, ConnectWithOtherDataResetsAndLogsOn) {
    console->LoadTreeRoot();
    click("mclf");
    view.forms["frmLogon"] = [&] {
        world.session->ExServer.clear();
        world.session->ExAlias.clear();
        world.session->Profile = "Agent Profile";
    };
    console->RunCommand("mnuSubmnuConnect");
    EXPECT_TRUE(world.logHas("Logging on with profile Agent Profile"));
    ASSERT_NE(console->tree().Find("agent"), nullptr);
    EXPECT_EQ(console->CurrentTag(), "agent");
    EXPECT_NE(world.session->users, nullptr);
}

TEST_F(ConsoleTest, ResetConnectionEmptiesEverything) {
    console->LoadTreeRoot();
    console->LoadList(plan({"a"}));
    console->ResetConnection();
    EXPECT_EQ(console->tree().Find("agent"), nullptr);
    EXPECT_EQ(console->list().Count(), 0U);
    EXPECT_EQ(console->CurrentTag(), "");
    EXPECT_EQ(world.session->agentInfo, nullptr);
    console->RefreshView();
    EXPECT_EQ(console->tree().Find("agent"), nullptr) << "not connected: nothing to refresh";
}

TEST_F(ConsoleTest, UserStatistics) {
    world.AddUserRecord("alice@example.test", "Alice Adams");
    world.AddUserRecord("bob@example.test", "Bob Baker");
    ASSERT_TRUE(world.session->hooks.loadUsers());
    console->LoadTreeRoot();
    click("epsuserroot");
    EXPECT_EQ(view.status, "2 users");
    ASSERT_EQ(console->list().Count(), 2U);
    EXPECT_EQ(console->list().At(0).tag, "epsuser");
    EXPECT_EQ(console->list().At(0).texts[0], "Alice Adams");
    EXPECT_EQ(console->list().Columns().size(), 13U);
    EXPECT_EQ(view.title.find("User Statistics (2) - current as of "), 0U) << view.title;
}

} // namespace
