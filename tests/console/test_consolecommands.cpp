#include "tests/console/ConsoleTest.h"

namespace {

using namespace kr;

class ConsoleCommandsTest : public ConsoleTest {};

TEST_F(ConsoleCommandsTest, MenuFollowsNodeThenRows) {
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

TEST_F(ConsoleCommandsTest, ActivateAndInactivateSwapByTheRow) {
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

TEST_F(ConsoleCommandsTest, RowsOfSeveralKindsShareWhatAllHave) {
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

TEST_F(ConsoleCommandsTest, AKindAdjustsItsMenu) {
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

TEST_F(ConsoleCommandsTest, CommandsGoToTheKindThenToTheTableElseSaySo) {
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

TEST_F(ConsoleCommandsTest, AFailingCommandIsLoggedAndShown) {
    console->RegisterCommand("mnuProxy", [](Console&) { throw PlatformError(7, "broken pipe"); });
    console->RunCommand("mnuProxy");
    EXPECT_NE(view.status.find("broken pipe"), std::string::npos);
    EXPECT_TRUE(world.logHas("mnuProxy: "));
}

TEST_F(ConsoleCommandsTest, DoubleClickRunsTheTable) {
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

TEST_F(ConsoleCommandsTest, DeleteKeyRunsTheKindsCommand) {
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

TEST_F(ConsoleCommandsTest, FindKeyByNode) {
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

TEST_F(ConsoleCommandsTest, ColumnClickSortsTheOtherWayWhicheverColumnWasLast) {
    console->LoadTreeRoot();
    console->LoadList(plan({"b", "a", "c"}));
    console->ColumnClick(0);
    EXPECT_EQ(console->list().At(0).texts[0], "c");
    console->ColumnClick(0);
    EXPECT_EQ(console->list().At(0).texts[0], "a");
    EXPECT_EQ(world.ui.waitCursors(), 0);
}

TEST_F(ConsoleCommandsTest, CheckMarksReachTheKind) {
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

TEST_F(ConsoleCommandsTest, FrameCommands) {
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

TEST_F(ConsoleCommandsTest, ConnectWithUnchangedDataDoesNothing) {
    console->LoadTreeRoot();
    view.forms["frmLogon"] = [] {};
    console->RunCommand("mnuActionmnuConnect");
    EXPECT_NE(console->tree().Find("agent"), nullptr);
    EXPECT_EQ(view.shown, Names{"frmLogon"});
}

TEST_F(ConsoleCommandsTest, ConnectWithOtherDataResetsAndLogsOn) {
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

TEST_F(ConsoleCommandsTest, ResetConnectionEmptiesEverything) {
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

TEST_F(ConsoleCommandsTest, UserStatistics) {
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

TEST_F(ConsoleCommandsTest, GoToRowLooksInTheListThenInThatOfTheNode) {
    kind("mclf").load = [&](Console& c, TreeNode&) { c.LoadList(plan({"a", "b"})); };
    console->LoadTreeRoot();
    EXPECT_TRUE(console->GoToRow("key-b", "mclf"));
    EXPECT_EQ(console->CurrentTag(), "mclf");
    EXPECT_EQ(view.selection, std::vector<size_t>{1});
    EXPECT_EQ(console->ContextTag(), "mcl");
    EXPECT_TRUE(console->GoToRow("key-a", "cclroot")) << "it stands in the list already";
    EXPECT_EQ(console->CurrentTag(), "mclf");
    EXPECT_FALSE(console->GoToRow("key-z", "nowhere"));
}

TEST_F(ConsoleCommandsTest, UserRowsAreDeletedAndDisabled) {
    world.AddUserRecord("alice@example.test", "Alice Adams");
    world.AddUserRecord("bob@example.test", "Bob Baker");
    ASSERT_TRUE(world.session->hooks.loadUsers());
    console->LoadTreeRoot();
    click("epsuserroot");
    select({0});
    world.ui.Expect("", BoxAnswer::Yes);
    console->RunCommand("mnuActionmnuDisable");
    ASSERT_EQ(console->list().Count(), 2U);
    EXPECT_TRUE(console->list().At(0).ghosted);
    world.ui.Expect("", BoxAnswer::Yes);
    console->RunCommand("mnuActionmnuDeleteUser");
    ASSERT_EQ(console->list().Count(), 1U);
    EXPECT_EQ(console->list().At(0).texts[0], "Bob Baker");
    EXPECT_EQ(view.status, "1 user");
    EXPECT_EQ(world.session->userInfo->Items()->Count(), 1);
}

TEST_F(ConsoleCommandsTest, AllUsersListAndItsDeleteKey) {
    world.AddUserRecord("alice@example.test", "Alice Adams");
    console->LoadTreeRoot();
    console->RunCommand("mnuActionmnuLoad");
    ASSERT_EQ(console->list().Count(), 1U);
    EXPECT_EQ(console->list().At(0).tag, "user");
    EXPECT_EQ(view.status, "1 user");
    select({0});
    world.ui.Expect("", BoxAnswer::Yes);
    console->DeleteKey();
    EXPECT_EQ(console->list().Count(), 0U);
    EXPECT_EQ(view.status, "0 users");
}

} // namespace
