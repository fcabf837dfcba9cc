#include <gmock/gmock.h>

#include "console/kinds/FixedKinds.h"
#include "push/PdlKinds.h"
#include "push/PdlUserKinds.h"
#include "push/basPDLUsers.h"
#include "tests/console/FakeView.h"
#include "tests/push/PdlUserWorld.h"

#include <gtest/gtest.h>

namespace {

using namespace kr;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A view whose selection goes with the rows, as that of a real one.
class LiveView : public FakeView {
public:
    void FreezeList(bool freeze) override {
        FakeView::FreezeList(freeze);
        if (freeze)
            selection.clear();
    }
};

/// The console over a mailbox with users; the dialog is scripted.
class PdlUserKindTest : public ::testing::Test {
protected:
    PdlUserKindTest() {
        session().agentName = "Agent Mailbox";
        console = std::make_unique<Console>(session(), view);
        view.console = console.get();
        RegisterFixedKinds(*console);
        PushForms forms;
        forms.frmAddPushUser = [this] {
            if (duringForm)
                duringForm();
            return answer;
        };
        forms.frmPdlProps = [this] { ++properties; };
        RegisterPdlKinds(*console, forms);
        RegisterPdlUserKinds(*console, forms);
        console->LoadTreeRoot();
    }
    AgentSession& session() { return *world.session; }
    void click(const std::string& key = "pdlrootX") {
        TreeNode* node = console->tree().Find(key);
        ASSERT_NE(node, nullptr);
        console->NodeClick(*node);
    }
    void show(const std::vector<EntryID>& users) {
        for (const EntryID& user : users)
            SelectForPush(session(), user, true);
        click();
    }
    void select(std::vector<size_t> rows) {
        view.selection = std::move(rows);
        console->SelectionChanged();
    }
    void selectUser(const EntryID& user) { select({console->list().Find(user.text())}); }
    const ListRow& row(const EntryID& user) {
        return console->list().At(console->list().Find(user.text()));
    }
    void check(const EntryID& user, bool checked) {
        console->CheckChanged(console->list().Find(user.text()), checked);
    }
    std::vector<std::string> names() {
        std::vector<std::string> all;
        for (size_t i = 0; i < console->list().Count(); ++i)
            all.emplace_back(console->list().Text(i, 1));
        return all;
    }
    bool stored(const EntryID& id, const std::string& key = "EPS.PushEnabled") {
        return world.UserKey(id, key).valueOr(false);
    }
    void engine(const std::string& pin) {
        world.Page(PdlUserWorld::TarnUrl(pin), PdlUserWorld::kPacket);
    }
    void expectPush(const std::string& name) {
        world.ui.Expect("The PINDL message has been successfully transmitted to the MDS server.");
        world.ui.Expect("Successful push to " + name + " using PIN");
    }

    PdlUserWorld world;
    LiveView view;
    std::unique_ptr<Console> console;
    std::string answer;
    std::function<void()> duringForm;
    int properties = 0;
};

// --- node and list

TEST_F(PdlUserKindTest, TheNodeStandsBehindThatOfTheLists) {
    const TreeNode* lists = console->tree().Find("pdlroot");
    const TreeNode* node = console->tree().Find("pdlrootX");
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(node->parent, lists->parent);
    EXPECT_EQ(node->row(), lists->row() + 1);
    EXPECT_EQ(node->tag, "pdlrootX");
    EXPECT_EQ(node->text, "PIN Distribution List Recipients");
    EXPECT_TRUE(node->children.empty());
    console->RefreshView();
    EXPECT_EQ(console->tree().Find("pdlrootX")->row(), console->tree().Find("pdlroot")->row() + 1);
}

TEST_F(PdlUserKindTest, TheListShowsTheSelectedUsers) {
    show({world.bob, world.alice});
    EXPECT_THAT(names(), ::testing::UnorderedElementsAre("Alice", "Bob"));
    EXPECT_EQ(view.title, "PIN Distribution List Recipients ");
    EXPECT_EQ(view.status, "2 users");
    EXPECT_EQ(console->list().Columns().size(), 7U);
    EXPECT_EQ(row(world.alice).tag, "pushuser");
    EXPECT_EQ(row(world.alice).icon, "imgPushEnabled");
    EXPECT_TRUE(row(world.alice).checked);
    EXPECT_FALSE(view.frozen);
    EXPECT_TRUE(world.logHas("loading PDL recipients"));
}

TEST_F(PdlUserKindTest, TheStatusShowsWaitingAndTheCount) {
    std::string waiting;
    SelectForPush(session(), world.alice, true);
    world.ui.onDoEvents = [&] {
        if (waiting.empty())
            waiting = view.status;
    };
    click();
    EXPECT_EQ(waiting, "Loading user data, please wait...");
    EXPECT_EQ(view.status, "1 user");
    SelectForPush(session(), world.alice, false);
    click("epsroot");
    click();
    EXPECT_EQ(view.status, "0 users");
}

TEST_F(PdlUserKindTest, TheRootOfTheListsShowsThemToo) {
    SelectForPush(session(), world.alice, true);
    click("pdlroot");
    EXPECT_THAT(names(), ElementsAre("Alice"));
    EXPECT_EQ(view.title, "PIN Distribution List Recipients ");
    EXPECT_EQ(console->CurrentTag(), "pdlroot");
}

TEST_F(PdlUserKindTest, UsersAreLoadedWhenTheyAreMissing) {
    session().users.reset();
    click();
    EXPECT_NE(session().users, nullptr);
    EXPECT_EQ(view.status, "0 users");
    session().users.reset();
    session().userInfo.reset();
    click("epsroot");
    click();
    EXPECT_EQ(view.status, "The user data can't be read.");
    duringForm = [] { ADD_FAILURE() << "it would show nobody to choose"; };
    view.status.clear();
    console->RunCommand("mnuPDLAddUser");
    EXPECT_EQ(view.status, "The user data can't be read.");
}

TEST_F(PdlUserKindTest, AnotherNodeEndsTheLoad) {
    for (const EntryID& user : {world.alice, world.bob})
        SelectForPush(session(), user, true);
    bool left = false;
    world.ui.onDoEvents = [&] {
        if (left || console->CurrentTag() != "pdlrootX")
            return;
        left = true;
        click("epsroot");
    };
    click();
    EXPECT_TRUE(left);
    EXPECT_EQ(console->CurrentTag(), "epsroot");
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(PdlUserKindTest, TheNodeHasAddAndProperties) {
    click();
    EXPECT_TRUE(view.enabled("mnuPDLAddUser"));
    EXPECT_TRUE(view.enabled("mnuActionmnuProps"));
    EXPECT_FALSE(view.enabled("mnuPDLPush"));
    console->RunCommand("mnuActionmnuProps");
    EXPECT_EQ(properties, 1);
}

// --- adding and removing

TEST_F(PdlUserKindTest, ChosenUsersAreAdded) {
    click();
    answer = world.alice.text() + ";" + world.obrien.text();
    console->RunCommand("mnuPDLAddUser");
    EXPECT_THAT(names(), ::testing::UnorderedElementsAre("Alice", "O'Brien"));
    EXPECT_EQ(view.status, "2 users");
    EXPECT_TRUE(stored(world.alice));
    EXPECT_TRUE(stored(world.obrien));
    EXPECT_FALSE(stored(world.bob));
    EXPECT_TRUE(world.UserField(world.alice, UserFieldID::PushSelected).valueOr(false));
    EXPECT_TRUE(world.UserField(world.alice, UserFieldID::PushEnabled).valueOr(false));
}

TEST_F(PdlUserKindTest, NobodyChosenChangesNothing) {
    show({world.alice});
    world.SetUser(world.alice, "EPS.PushEnabled", false); // a reload would not show it either
    console->RunCommand("mnuPDLAddUser");
    EXPECT_THAT(names(), ElementsAre("Alice"));
    EXPECT_TRUE(row(world.alice).checked);
}

TEST_F(PdlUserKindTest, AddingElsewhereLeavesThatList) {
    click();
    answer = world.alice.text();
    duringForm = [&] { click("epsuserroot"); };
    console->RunCommand("mnuPDLAddUser");
    EXPECT_EQ(console->CurrentTag(), "epsuserroot");
    EXPECT_EQ(console->list().Count(), 3U);
    EXPECT_TRUE(stored(world.alice));
}

TEST_F(PdlUserKindTest, SelectedUsersAreRemoved) {
    show({world.alice, world.bob, world.obrien});
    select({0, 1, 2});
    EXPECT_TRUE(view.enabled("mnuPDLRemoveUser"));
    selectUser(world.bob);
    console->RunCommand("mnuPDLRemoveUser");
    EXPECT_THAT(names(), ::testing::UnorderedElementsAre("Alice", "O'Brien"));
    EXPECT_FALSE(stored(world.bob));
    EXPECT_TRUE(stored(world.alice));
    EXPECT_FALSE(world.UserField(world.bob, UserFieldID::PushSelected).valueOr(true));
    EXPECT_FALSE(world.UserField(world.bob, UserFieldID::PushEnabled).valueOr(true));
    EXPECT_EQ(view.status, "2 users");
    select({0, 1});
    console->DeleteKey();
    EXPECT_THAT(names(), IsEmpty());
    EXPECT_EQ(view.status, "0 users");
}

TEST_F(PdlUserKindTest, WithoutASelectionNothingHappens) {
    show({world.alice});
    select({});
    for (const char* command :
         {"mnuPDLRemoveUser", "mnuPDLPush", "mnuPDLView", "mnuPDLTextEnable", "mnuPDLTextDisable"})
        console->RunCommand(command);
    EXPECT_THAT(names(), ElementsAre("Alice"));
    EXPECT_THAT(world.http.sent, IsEmpty());
    EXPECT_THAT(world.shell.urls, IsEmpty());
    EXPECT_FALSE(stored(world.alice, "EPS.TextBlastEnabled"));
}

// --- the check mark

TEST_F(PdlUserKindTest, TheCheckMarkSwitchesTheUser) {
    world.SetHost("EPS.MDS.MDSHost", "hostmds");
    show({world.alice});
    check(world.alice, false);
    EXPECT_FALSE(stored(world.alice));
    EXPECT_EQ(row(world.alice).icon, "imgUser");
    EXPECT_FALSE(row(world.alice).checked);
    EXPECT_THAT(names(), ElementsAre("Alice")); // still a recipient
    check(world.alice, true);
    EXPECT_TRUE(stored(world.alice));
    EXPECT_EQ(row(world.alice).icon, "imgPushEnabled");
    EXPECT_TRUE(world.logHas("VerifyPushEnable = True for Email:alice@example.test"));
    SetTextBlastEnabled(session(), world.alice, true);
    check(world.alice, false);
    EXPECT_EQ(row(world.alice).icon, "imgUser");
    check(world.alice, true);
    EXPECT_EQ(row(world.alice).icon, "imgTextBlastEnabled");
}

TEST_F(PdlUserKindTest, ARefusedCheckMarkGoesAgain) {
    show({world.alice});
    check(world.alice, false);
    const std::string box =
        "There is no BES push server configured for the zandrel Agent on AGENT1.\r\n"
        "No push notifications can be sent until that step is completed.\r\n"
        "Do you want to enable for push anyway?";
    world.ui.Expect(box, BoxAnswer::No);
    check(world.alice, true);
    EXPECT_FALSE(stored(world.alice));
    EXPECT_FALSE(row(world.alice).checked);
    EXPECT_EQ(row(world.alice).icon, "imgUser");
    world.ui.Expect(box, BoxAnswer::Yes);
    check(world.alice, true);
    EXPECT_TRUE(stored(world.alice));
    EXPECT_TRUE(row(world.alice).checked);
}

TEST_F(PdlUserKindTest, ACheckMarkThatCantBeStoredGoesAgain) {
    world.SetHost("EPS.MDS.MDSHost", "hostmds");
    show({world.alice});
    check(world.alice, false);
    GetMessage(session(), world.alice)->Delete();
    check(world.alice, true);
    EXPECT_FALSE(row(world.alice).checked);
    EXPECT_TRUE(world.logHas("SetPushEnabled:"));
}

// --- text blast

TEST_F(PdlUserKindTest, TextBlastIsSwitched) {
    show({world.alice, world.bob});
    selectUser(world.alice);
    EXPECT_TRUE(view.enabled("mnuPDLTextEnable"));
    EXPECT_FALSE(view.enabled("mnuPDLTextDisable"));
    console->RunCommand("mnuPDLTextEnable");
    EXPECT_TRUE(stored(world.alice, "EPS.TextBlastEnabled"));
    EXPECT_TRUE(world.UserField(world.alice, UserFieldID::TextBlastEnabled).valueOr(false));
    EXPECT_EQ(row(world.alice).icon, "imgTextBlastEnabled");
    EXPECT_EQ(row(world.bob).icon, "imgPushEnabled");
    EXPECT_FALSE(view.enabled("mnuPDLTextEnable"));
    EXPECT_TRUE(view.enabled("mnuPDLTextDisable"));
    select({0, 1});
    EXPECT_TRUE(view.enabled("mnuPDLTextEnable"));
    EXPECT_TRUE(view.enabled("mnuPDLTextDisable"));
    console->RunCommand("mnuPDLTextDisable");
    EXPECT_FALSE(stored(world.alice, "EPS.TextBlastEnabled"));
    EXPECT_EQ(row(world.alice).icon, "imgPushEnabled");
    // who isn't told of lists has nothing to switch
    check(world.bob, false);
    selectUser(world.bob);
    EXPECT_FALSE(view.enabled("mnuPDLTextEnable"));
    EXPECT_FALSE(view.enabled("mnuPDLTextDisable"));
    EXPECT_TRUE(view.enabled("mnuPDLRemoveUser"));
}

// --- the push

TEST_F(PdlUserKindTest, ThePushShowsItsDate) {
    engine("PINALICE");
    show({world.alice, world.bob});
    selectUser(world.alice);
    EXPECT_TRUE(view.enabled("mnuPDLPush"));
    EXPECT_EQ(row(world.alice).texts[3], "");
    expectPush("Alice");
    console->RunCommand("mnuPDLPush");
    EXPECT_THAT(world.Destinations(), ElementsAre("PINALICE"));
    EXPECT_NE(world.http.sent.back().body.find("<LaunchZPA>pinblast<"), std::string::npos);
    EXPECT_EQ(row(world.alice).texts[3], "3/10/2026 10:30:00");
    EXPECT_EQ(row(world.bob).texts[3], "");
    // and so it stands in the next load
    click("epsroot");
    click();
    EXPECT_EQ(row(world.alice).texts[3], "3/10/2026 10:30:00");
}

TEST_F(PdlUserKindTest, TheIconDecidesTheKindOfPush) {
    engine("PINALICE");
    SetTextBlastEnabled(session(), world.alice, true);
    show({world.alice});
    selectUser(world.alice);
    expectPush("Alice");
    console->RunCommand("mnuPDLPush");
    EXPECT_NE(world.http.sent.back().body.find("<LaunchZPA>textblast<"), std::string::npos);
}

TEST_F(PdlUserKindTest, AFailedPushLeavesTheDate) {
    show({world.bob});
    selectUser(world.bob);
    world.ui.Expect("Failed to retrieve PIN for Bob!\r\nUnable to send push notification");
    console->RunCommand("mnuPDLPush");
    EXPECT_EQ(row(world.bob).texts[3], "");
}

TEST_F(PdlUserKindTest, APushThatOutlivesTheListIsAllTheSame) {
    engine("PINALICE");
    show({world.alice});
    selectUser(world.alice);
    world.push = [this](const FakeHttp::Request&) {
        click("epsuserroot");
        return FakeHttp::Response();
    };
    expectPush("Alice");
    console->RunCommand("mnuPDLPush");
    EXPECT_EQ(console->CurrentTag(), "epsuserroot");
    const ListRow& shown = row(world.alice);
    EXPECT_EQ(shown.tag, "epsuser");
    EXPECT_EQ(shown.texts[3].find("3/10/2026"), std::string::npos);
    EXPECT_FALSE(world.UserKey(world.alice, "EPS.PushLastDate").empty());
}

TEST_F(PdlUserKindTest, OneUserIsTold) {
    show({world.alice, world.bob});
    select({0, 1});
    EXPECT_FALSE(view.enabled("mnuPDLPush"));
    EXPECT_FALSE(view.enabled("mnuPDLView"));
    EXPECT_TRUE(view.enabled("mnuPDLRemoveUser"));
}

TEST_F(PdlUserKindTest, ThePacketOpensInTheBrowser) {
    show({world.alice});
    selectUser(world.alice);
    console->RunCommand("mnuPDLView");
    EXPECT_THAT(world.shell.urls, ElementsAre(PdlUserWorld::TarnUrl("PINALICE")));
}

} // namespace
