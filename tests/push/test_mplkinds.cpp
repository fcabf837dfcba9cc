#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "console/ListCounts.h"
#include "console/kinds/FixedKinds.h"
#include "core/Settings.h"
#include "push/MplKinds.h"
#include "push/basMPL.h"
#include "tests/console/FakeView.h"
#include "tests/push/PushWorld.h"
#include "tests/support/FailingWorld.h"

namespace {

using namespace kr;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A console over a mailbox with push lists; the dialogs are scripted.
struct MplConsole {
    MplConsole(AgentSession& session, WebProgress& progress) {
        console = std::make_unique<Console>(session, view);
        view.console = console.get();
        RegisterFixedKinds(*console);
        PushForms forms;
        forms.frmMPL = [this](const EntryID& record) {
            asked.push_back("frmMPL " + record.text());
            return answer;
        };
        forms.frmPushResult = [this, &progress](std::string_view icon,
                                                const PushForms::Work& work) {
            asked.push_back("frmPushResult " + std::string(icon));
            pushed = work(progress);
        };
        RegisterMplKinds(*console, forms);
    }
    void Show() {
        console->LoadTreeRoot();
        TreeNode* node = console->tree().Find("mplroot");
        ASSERT_NE(node, nullptr);
        console->NodeClick(*node);
    }
    void Select(std::vector<size_t> rows) {
        view.selection = std::move(rows);
        console->SelectionChanged();
    }
    std::vector<std::string> Texts(int column = 0) const {
        std::vector<std::string> all;
        for (size_t i = 0; i < console->list().Count(); ++i)
            all.emplace_back(console->list().Text(i, column));
        return all;
    }

    FakeView view;
    std::unique_ptr<Console> console;
    std::vector<std::string> asked;
    EntryID answer;
    bool pushed = false;
};

void showPushLists(World& world) {
    RegValue mpl;
    mpl.type = RegType::Sz;
    mpl.text = "1";
    world.registry->Write(Hive::LocalMachine, kMachineKey, "MPL", mpl);
}

RDOMessagePtr addList(AgentSession& session, std::string_view name,
                      const std::map<std::string, Value>& keys = {}) {
    const auto list = GetMplFolder(session)->Items()->Add(kMplClass);
    list->SetSubject(name);
    for (const auto& [key, value] : keys)
        SetKey(*list, key, value);
    list->Save();
    return list;
}

class MplKindTest : public ::testing::Test {
protected:
    MplKindTest() {
        showPushLists(world);
        session().agentName = "Agent Mailbox";
        world.http.sent.clear();
    }
    AgentSession& session() { return *world.session; }
    RDOMessagePtr add(std::string_view name, const std::map<std::string, Value>& keys = {}) {
        return addList(session(), name, keys);
    }
    void run(std::string_view command) { at.console->RunCommand(command); }

    PushWorld world;
    MplConsole at{*world.session, world.progress};
};

TEST_F(MplKindTest, TheListShowsItsColumns) {
    add("Zoo", {{"MPL.Target", "Sales;Bob"}, {"MPL.Target.Count", int32_t{12}}});
    add("Ape", {{"MPL.LastPushDate", world.clock.now()}});
    at.Show();
    EXPECT_THAT(at.Texts(), ElementsAre("Ape", "Zoo"));
    EXPECT_EQ(at.view.title, "Mandatory Push Lists ");
    EXPECT_EQ(at.view.status, "2 lists");
    std::vector<std::string> titles;
    for (const ListColumn& column : at.console->list().Columns())
        titles.push_back(column.title);
    EXPECT_THAT(titles, ElementsAre("List Name", "Targets", "Est. Targets", "Last Push"));
    EXPECT_EQ(at.console->list().Columns()[2].key, "inttargets");
    EXPECT_EQ(at.console->list().Columns()[3].key, "datlastpush");
    const ListRow& row = at.console->list().At(1);
    EXPECT_EQ(row.tag, "mpl");
    EXPECT_EQ(row.icon, "imgExclamation");
    EXPECT_FALSE(row.ghosted);
    EXPECT_THAT(row.texts, ElementsAre("Zoo", "Sales;Bob", "12", "Never"));
    EXPECT_NE(at.Texts(3)[0], "Never");
    EXPECT_THAT(world.ui.statuses(), IsEmpty());
    EXPECT_TRUE(world.logHas("loading mandatory push lists"));
}

TEST_F(MplKindTest, TheStatusCounts) {
    at.Show();
    EXPECT_EQ(at.view.status, "0 lists");
    add("Ape");
    at.console->RefreshView();
    EXPECT_EQ(at.view.status, "1 list");
}

TEST_F(MplKindTest, EstimatesSortAsNumbersAndPushesAsDates) {
    const Time now = world.clock.now();
    add("A", {{"MPL.Target.Count", int32_t{9}}, {"MPL.LastPushDate", now}});
    add("B",
        {{"MPL.Target.Count", int32_t{100}}, {"MPL.LastPushDate", now - std::chrono::days(400)}});
    add("C",
        {{"MPL.Target.Count", int32_t{20}}, {"MPL.LastPushDate", now - std::chrono::days(40)}});
    at.Show();
    at.console->ColumnClick(2);
    EXPECT_THAT(at.Texts(2), ElementsAre("100", "20", "9"));
    at.console->ColumnClick(3);
    EXPECT_THAT(at.Texts(), ElementsAre("B", "C", "A"));
}

TEST_F(MplKindTest, TheMenusAreThoseOfNodeAndRow) {
    add("A");
    at.Show();
    EXPECT_TRUE(at.view.enabled("mnuMplAdd"));
    EXPECT_FALSE(at.view.enabled("mnuMplPush"));
    at.Select({0});
    EXPECT_TRUE(at.view.enabled("mnuMplDelete"));
    EXPECT_TRUE(at.view.enabled("mnuMplPush"));
    EXPECT_TRUE(at.view.enabled("mnuActionmnuProps"));
    EXPECT_FALSE(at.view.enabled("mnuMplAdd"));
}

TEST_F(MplKindTest, PropertiesOpenTheDialog) {
    const std::string key = add("A")->ID().text();
    at.Show();
    at.Select({0});
    at.console->ActivateRow(0);
    run("mnuActionmnuProps");
    EXPECT_THAT(at.asked, ElementsAre("frmMPL " + key, "frmMPL " + key));
}

TEST_F(MplKindTest, ASavedListIsShownAndSelected) {
    add("B");
    at.Show();
    at.answer = add("A")->ID();
    run("mnuMplAdd");
    EXPECT_THAT(at.asked, ElementsAre("frmMPL "));
    EXPECT_THAT(at.Texts(), ElementsAre("A", "B"));
    EXPECT_THAT(at.view.selection, ElementsAre(0U));
    at.answer = EntryID();
    add("C");
    run("mnuMplAdd");
    EXPECT_THAT(at.Texts(), ElementsAre("A", "B")) << "nothing was saved";
}

TEST_F(MplKindTest, DeleteAsksAndTakesTheRow) {
    const auto list = add("A");
    add("B");
    at.Show();
    at.Select({0});
    world.ui.Expect("Delete A?", BoxAnswer::No);
    run("mnuMplDelete");
    EXPECT_THAT(at.Texts(), ElementsAre("A", "B"));
    EXPECT_NE(GetMessage(session(), list->ID()), nullptr);
    world.ui.Expect("Delete A?", BoxAnswer::Yes);
    at.console->DeleteKey();
    EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Question);
    EXPECT_THAT(at.Texts(), ElementsAre("B"));
    EXPECT_EQ(at.view.status, "1 list");
    EXPECT_EQ(GetMessage(session(), list->ID()), nullptr);
}

TEST_F(MplKindTest, EachOfSeveralIsAskedFor) {
    add("A");
    add("B");
    at.Show();
    at.Select({0, 1});
    world.ui.Expect("Delete A?", BoxAnswer::No);
    world.ui.Expect("Delete B?", BoxAnswer::Yes);
    run("mnuMplDelete");
    EXPECT_THAT(at.Texts(), ElementsAre("A"));
}

TEST_F(MplKindTest, PushNowRunsInTheWindowAndRefreshesTheRow) {
    const auto list =
        add("A", {{"MPL.Payload", "payload"}, {"MPL.Target.Email", "alice@example.test"}});
    at.Show();
    at.Select({0});
    run("mnuMplPush");
    EXPECT_THAT(at.asked, ElementsAre("frmPushResult imgExclamation"));
    EXPECT_TRUE(at.pushed);
    EXPECT_THAT(world.Destinations(), ElementsAre("PINALICE"));
    EXPECT_EQ(world.http.sent.at(0).body, "payload");
    EXPECT_THAT(world.progress.steps, ElementsAre("Pushing A", "Pushing A to 1 targets"));
    EXPECT_NE(at.Texts(3)[0], "Never");
    EXPECT_FALSE(GetKey(*GetMessage(session(), list->ID()), "MPL.LastPushDate").empty());
    EXPECT_EQ(at.view.status, "1 list");
    EXPECT_TRUE(world.logHas("PushAlertToList: pushing A"));
}

TEST_F(MplKindTest, AStoppedPushIsReported) {
    add("A", {{"MPL.Payload", "payload"}, {"MPL.Target.Email", "alice@example.test"}});
    at.Show();
    at.Select({0});
    world.progress.cancel = [] { return true; };
    run("mnuMplPush");
    EXPECT_FALSE(at.pushed);
    EXPECT_THAT(world.Destinations(), IsEmpty());
    EXPECT_EQ(at.Texts(3)[0], "Never");
    EXPECT_TRUE(world.logHas("PushAlertToList: user cancelled push for: A; Pushed=0; Failed=0"));
}

TEST_F(MplKindTest, AListThatIsGoneIsTold) {
    const auto list = add("A");
    at.Show();
    list->Delete();
    at.Select({0});
    world.ui.Expect("There is a problem accessing A");
    run("mnuMplPush");
    EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Exclamation);
    EXPECT_THAT(at.asked, IsEmpty());
    EXPECT_TRUE(world.logHas("Error retrieving message for list A"));
    world.ui.Expect("Delete A?", BoxAnswer::Yes);
    world.ui.Expect("There is a problem accessing A");
    run("mnuMplDelete");
    EXPECT_THAT(at.Texts(), ElementsAre("A"));
}

TEST_F(MplKindTest, AListThatGoesWhileTheWindowOpensIsTold) {
    const auto list = add("A", {{"MPL.Payload", "p"}, {"MPL.Target.Email", "alice@example.test"}});
    const Alert alert{list->ID(), "A", "p", "alice@example.test"};
    list->Delete();
    world.ui.Expect("There is a problem accessing A");
    bool pushed = true;
    PushAlertToList(
        session(), world.tree,
        [&](std::string_view, const PushForms::Work& work) { pushed = work(world.progress); },
        alert);
    EXPECT_FALSE(pushed);
    EXPECT_THAT(world.Destinations(), IsEmpty());
}

/// The same console over a store that fails.
class MplKindFailure : public ::testing::Test {
protected:
    MplKindFailure() {
        showPushLists(world);
        failing.LogOn();
        failing.session.agentName = "Agent Mailbox";
        list = addList(*world.session, "A",
                       {{"MPL.Payload", "payload"}, {"MPL.Target.Email", "alice@example.test"}});
        other = addList(*world.session, "B");
        at.Show();
        at.Select({0});
        world.http.sent.clear();
    }
    FailPlan& plan() { return failing.store.plan(); }
    PushWorld world;
    FailingSession failing{world};
    MplConsole at{failing.session, world.progress};
    RDOMessagePtr list, other;
};

TEST_F(MplKindFailure, AListThatCannotBeReadIsLeftOut) {
    ASSERT_THAT(at.Texts(), ElementsAre("A", "B"));
    std::set<std::string> seen;
    for (int call = 1; call <= 60; ++call) {
        plan().FailAt(call);
        at.console->RefreshView();
        const auto names = at.Texts();
        seen.insert(at.view.status);
        EXPECT_TRUE(at.view.status ==
                        CountText(Counted::List, static_cast<int64_t>(names.size())) ||
                    names.empty())
            << at.view.status;
    }
    EXPECT_TRUE(seen.contains("2 lists"));
    EXPECT_TRUE(seen.contains("1 list")) << "one of them could not be opened";
    EXPECT_TRUE(seen.contains("The push lists can't be read: " + std::string(kFailure)));
    EXPECT_FALSE(seen.contains("0 lists")) << "a failure is no empty list";
    EXPECT_TRUE(world.logHas("LvLoadPushLists err creating item "));
    plan().FailAt(0);
}

TEST_F(MplKindFailure, WhatCannotBeReadIsNotPushed) {
    int told = 0;
    for (int call = 1; call <= 12; ++call) {
        failing.ui.shown.clear();
        world.http.sent.clear();
        plan().FailAt(call);
        at.console->RunCommand("mnuMplPush");
        for (const FakeHttp::Request& request : world.http.sent)
            EXPECT_EQ(request.body, "payload");
        if (failing.ui.shown.empty())
            continue;
        ++told;
        EXPECT_EQ(failing.ui.shown.back(), "There is a problem accessing A");
        EXPECT_THAT(world.http.sent, IsEmpty());
    }
    EXPECT_GE(told, 3);
    plan().FailAt(0);
}

TEST_F(MplKindFailure, ADeleteThatFailsIsToldAndKeepsTheRow) {
    std::set<std::string> told;
    for (int call = 1; call <= 20 && !at.Texts().empty() && at.Texts()[0] == "A"; ++call) {
        failing.ui.shown.clear();
        plan().FailAt(call);
        at.console->RunCommand("mnuMplDelete");
        const bool gone = GetMessage(*world.session, list->ID()) == nullptr;
        EXPECT_EQ(at.Texts().size(), gone ? 1U : 2U);
        ASSERT_FALSE(failing.ui.shown.empty());
        EXPECT_EQ(failing.ui.shown[0], "Delete A?");
        if (!gone) {
            ASSERT_EQ(failing.ui.shown.size(), 2U);
            told.insert(failing.ui.shown[1]);
        }
    }
    EXPECT_THAT(told, ElementsAre("Error during delete: " + std::string(kFailure),
                                  "There is a problem accessing A"));
    EXPECT_TRUE(world.logHas("mnuMplDelete: A "));
    plan().FailAt(0);
}

} // namespace
