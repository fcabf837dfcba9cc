#include <gmock/gmock.h>

#include "console/kinds/FixedKinds.h"
#include "push/MblKinds.h"
#include "push/basMBL.h"
#include "tests/console/FakeView.h"
#include "tests/push/PushWorld.h"
#include "tests/support/FailingWorld.h"

#include <gtest/gtest.h>
#include <set>

namespace {

using namespace kr;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The console over a mailbox with browser lists; the dialogs are scripted.
class MblKindTest : public ::testing::Test {
protected:
    MblKindTest() {
        session().agentName = "Agent Mailbox";
        console = std::make_unique<Console>(session(), view);
        view.console = console.get();
        RegisterFixedKinds(*console);
        const auto form = [this](const char* name) {
            return [this, name](const EntryID& record) {
                asked.push_back(std::string(name) + " " + record.text());
                return answer;
            };
        };
        PushForms forms;
        forms.frmBrowserChannel = form("frmBrowserChannel");
        forms.frmBrowserMessage = form("frmBrowserMessage");
        forms.frmTarnProps = [this] { asked.emplace_back("frmTarnProps"); };
        forms.frmPushResult = [this](std::string_view icon, const PushForms::Work& work) {
            asked.push_back("frmPushResult " + std::string(icon));
            pushed = work(world.progress);
            statusBehind = view.status;
        };
        RegisterMblKinds(*console, forms);
        world.http.sent.clear();
    }
    AgentSession& session() { return *world.session; }
    RDOMessagePtr add(std::string_view name, std::string_view type,
                      const std::map<std::string, Value>& keys = {}) {
        const auto list = GetMblFolder(session())->Items()->Add(kMblClass);
        list->SetSubject(name);
        SetKey(*list, "MBL.Type", type);
        for (const auto& [key, value] : keys)
            SetKey(*list, key, value);
        list->Save();
        return list;
    }
    void show() {
        console->LoadTreeRoot();
        // the fixed tree shows the lists below the agent's parts only once those are expanded
        TreeNode* node = console->tree().Find("mbl-eps");
        ASSERT_NE(node, nullptr);
        console->NodeClick(*node);
    }
    void select(std::vector<size_t> rows) {
        view.selection = std::move(rows);
        console->SelectionChanged();
    }
    bool offers(std::string_view entry) { return view.enabled(entry); }
    std::vector<std::string> names() {
        std::vector<std::string> all;
        for (size_t i = 0; i < console->list().Count(); ++i)
            all.emplace_back(console->list().Text(i, 0));
        return all;
    }
    RDOMessagePtr again(const RDOMessagePtr& list) { return GetMessage(session(), list->ID()); }

    PushWorld world;
    FakeView view;
    std::unique_ptr<Console> console;
    std::vector<std::string> asked;
    EntryID answer;
    bool pushed = false;
    std::string statusBehind; // the window, once its push has ended
};

TEST_F(MblKindTest, TheListShowsChannelsAndMessages) {
    add("Zoo", "Message",
        {{"MBL.Title", "T"},
         {"MBL.Target", "Sales"},
         {"MBL.URL", "u"},
         {"MBL.Target.Count", int32_t{3}},
         {"EPS.Inactive", true}});
    add("Ape", "Channel", {{"MBL.LastPushDate", world.clock.now()}});
    add("Gone", "Channel", {{"MBL.Deleted", true}});
    show();
    EXPECT_THAT(names(), ElementsAre("Ape", "Zoo"));
    EXPECT_EQ(view.title, "Mandatory Browser Channels ");
    EXPECT_EQ(view.status, "2 lists");
    std::vector<std::string> titles, keys;
    for (const ListColumn& column : console->list().Columns()) {
        titles.push_back(column.title);
        keys.push_back(column.key);
    }
    EXPECT_THAT(titles,
                ElementsAre("List Name", "Title", "Targets", "Est. Targets", "Last Push", "URL"));
    EXPECT_EQ(keys[3], "inttargets");
    EXPECT_EQ(keys[4], "datlastpush");
    const ListRow& channel = console->list().At(0);
    EXPECT_EQ(channel.tag, "mbl:channel");
    EXPECT_FALSE(channel.ghosted);
    const ListRow& message = console->list().At(1);
    EXPECT_EQ(message.tag, "mbl:message");
    EXPECT_EQ(message.icon, "imgBrowserMessage");
    EXPECT_TRUE(message.ghosted);
    EXPECT_THAT(message.texts, ElementsAre("Zoo", "T", "Sales", "3", "Never", "u"));
    EXPECT_TRUE(world.logHas("loading all browser lists, count: 3"));
    EXPECT_TRUE(offers("mnuBrowserChannelAdd"));
    EXPECT_TRUE(offers("mnuBrowserTARN"));
    EXPECT_FALSE(offers("mnuBrowserPush"));
}

TEST_F(MblKindTest, OneListIsCountedAsOne) {
    add("Ape", "Channel");
    show();
    EXPECT_EQ(view.status, "1 list");
    select({0});
    EXPECT_TRUE(offers("mnuBrowserPush"));
    EXPECT_TRUE(offers("mnuBrowserDelete"));
    EXPECT_TRUE(offers("mnuActionInactivate"));
    EXPECT_FALSE(offers("mnuActionActivate"));
}

TEST_F(MblKindTest, OneListIsPushedAtATime) {
    add("A", "Channel");
    add("B", "Message");
    show();
    for (const std::vector<size_t>& rows : {std::vector<size_t>{0}, {1}}) {
        select(rows);
        EXPECT_TRUE(offers("mnuBrowserPush"));
    }
    select({0, 1});
    EXPECT_FALSE(offers("mnuBrowserPush")) << "the second would be left out without a word";
    EXPECT_TRUE(offers("mnuBrowserDelete"));
}

TEST_F(MblKindTest, PropertiesOpenTheDialogOfTheKind) {
    const auto message = add("B", "Message");
    const auto channel = add("A", "Channel");
    show();
    select({0});
    console->ActivateRow(0);
    select({1});
    console->RunCommand("mnuActionmnuProps");
    EXPECT_THAT(asked, ElementsAre("frmBrowserChannel " + channel->ID().text(),
                                   "frmBrowserMessage " + message->ID().text()));
}

TEST_F(MblKindTest, ANewListIsShownAndSelected) {
    add("B", "Message");
    show();
    answer = add("A", "Channel")->ID();
    console->RunCommand("mnuBrowserChannelAdd");
    EXPECT_THAT(asked, ElementsAre("frmBrowserChannel "));
    EXPECT_THAT(names(), ElementsAre("A", "B"));
    EXPECT_THAT(view.selection, ElementsAre(0U));
    answer = EntryID();
    console->RunCommand("mnuBrowserMessageAdd");
    console->RunCommand("mnuBrowserTARN");
    EXPECT_EQ(asked[1], "frmBrowserMessage ");
    EXPECT_EQ(asked[2], "frmTarnProps");
}

TEST_F(MblKindTest, PushNowRunsInTheWindowAndRefreshesTheRow) {
    const auto list = add(
        "A", "Channel",
        {{"MBL.Title", "T"}, {"MBL.URL", "http://h/"}, {"MBL.Target.Email", "alice@example.test"}});
    show();
    select({0});
    std::string statusDuring;
    world.http.answer = [&](const FakeHttp::Request&) {
        statusDuring = view.status;
        return FakeHttp::Response();
    };
    console->RunCommand("mnuBrowserPush");
    EXPECT_THAT(asked, ElementsAre("frmPushResult imgGlobe"));
    EXPECT_TRUE(pushed);
    EXPECT_THAT(world.Destinations(), ElementsAre("PINALICE"));
    EXPECT_NE(console->list().Text(0, 4), "Never");
    EXPECT_EQ(statusDuring, "Preparing to push A...");
    EXPECT_EQ(statusBehind, "1 list") << "the push has ended, whenever the window is closed";
    EXPECT_EQ(view.status, "1 list");
    EXPECT_TRUE(world.logHas("PushToList: pushing A on demand"));
}

TEST_F(MblKindTest, AListThatIsGoneIsNotPushed) {
    const auto list = add("A", "Channel");
    show();
    list->Delete();
    select({0});
    world.ui.Expect("There is a problem accessing A");
    console->RunCommand("mnuBrowserPush");
    EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Exclamation);
    EXPECT_THAT(asked, IsEmpty());
    EXPECT_TRUE(world.logHas("Error retrieving message for list A"));
}

TEST_F(MblKindTest, DeleteAsksAndTakesTheRow) {
    const auto list = add("A", "Channel",
                          {{"MBL.ChannelID", "{ID}"}, {"MBL.Target.Email", "alice@example.test"}});
    show();
    select({0});
    world.ui.Expect("Delete A?", BoxAnswer::No);
    console->RunCommand("mnuBrowserDelete");
    EXPECT_THAT(names(), ElementsAre("A"));
    EXPECT_THAT(world.Destinations(), IsEmpty());
    world.ui.Expect("Delete A?", BoxAnswer::Yes);
    console->DeleteKey();
    EXPECT_THAT(names(), IsEmpty());
    EXPECT_EQ(view.status, "0 lists");
    EXPECT_TRUE(KeyFlag(*again(list), "MBL.Deleted"));
    EXPECT_THAT(world.Destinations(), ElementsAre("PINALICE"));
}

TEST_F(MblKindTest, ActivationChangesTheRow) {
    const auto list = add("A", "Message");
    show();
    select({0});
    world.ui.Expect("Inactivate A?", BoxAnswer::Yes);
    console->RunCommand("mnuActionInactivate");
    EXPECT_TRUE(console->list().At(0).ghosted);
    EXPECT_TRUE(KeyFlag(*again(list), "EPS.Inactive"));
    EXPECT_TRUE(offers("mnuActionActivate"));
    world.ui.Expect("Activate A?", BoxAnswer::Yes);
    console->RunCommand("mnuActionActivate");
    EXPECT_FALSE(console->list().At(0).ghosted);
}

TEST_F(MblKindTest, ClearBelongsToTheNode) {
    show();
    world.ui.Expect("There are no existing or deleted browser channels to clear");
    console->RunCommand("mnuBrowserClear");
    EXPECT_TRUE(world.logHas("Browser Clear  found no ChannelIDs to clear"));
}

/// The same over a store that fails: what can't be searched is no empty list.
TEST_F(MblKindTest, ASearchThatFailsIsTold) {
    add("A", "Channel");
    FailingSession failing(world);
    failing.LogOn();
    failing.session.agentName = "Agent Mailbox";
    FakeView other;
    Console lists(failing.session, other);
    other.console = &lists;
    RegisterFixedKinds(lists);
    RegisterMblKinds(lists, {});
    lists.LoadTreeRoot();
    ASSERT_TRUE(lists.GoToNode("mbl-eps"));
    ASSERT_EQ(other.status, "1 list");
    std::set<std::string> seen;
    for (int call = 1; call <= 60; ++call) {
        failing.store.plan().FailAt(call);
        lists.RefreshView();
        seen.insert(other.status);
        EXPECT_TRUE(other.status != "0 lists" || world.logHas("LvLoadBrowserLists err creating"))
            << call;
    }
    EXPECT_TRUE(seen.contains("1 list"));
    EXPECT_TRUE(seen.contains("The browser lists can't be read: " + std::string(kFailure)));
}

} // namespace
