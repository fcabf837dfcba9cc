#include <gmock/gmock.h>

#include "console/kinds/FixedKinds.h"
#include "contacts/ContactKinds.h"
#include "contacts/basMCLList.h"
#include "push/PdlKinds.h"
#include "tests/console/FakeView.h"
#include "tests/push/PdlWorld.h"
#include "tests/support/FailingWorld.h"

#include <gtest/gtest.h>

namespace {

using namespace kr;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The recipients, as their own subsystem fills them.
class RecipientsKind : public NodeKind {
public:
    RecipientsKind() : NodeKind("pdlrootX") {}
    void Load(Console& console, TreeNode& node) override {
        console.ShowStatus("recipients below " + node.key, true);
    }
};

/// The console over a mailbox with contact lists; the dialogs are scripted.
class PdlKindTest : public ::testing::Test {
protected:
    PdlKindTest() { start(session()); }
    void start(AgentSession& over) {
        over.agentName = "Agent Mailbox";
        console = std::make_unique<Console>(over, view);
        view.console = console.get();
        RegisterFixedKinds(*console);
        RegisterMclKinds(*console, {});
        PushForms forms;
        forms.frmPDL = [this](const EntryID& list) {
            asked.push_back("frmPDL " + list.text());
            if (edit)
                edit();
            return answer;
        };
        forms.frmPdlProps = [this] { asked.emplace_back("frmPdlProps"); };
        RegisterPdlKinds(*console, forms);
    }
    AgentSession& session() { return *world.session; }
    TreeNode& root() { return *console->tree().Find("pdlroot"); }
    void expand() {
        console->LoadTreeRoot();
        view.ExpandNode(root(), true);
    }
    void click(const RDOMessagePtr& list) {
        expand();
        TreeNode* node = console->tree().Find(list->ID().text());
        ASSERT_NE(node, nullptr);
        console->NodeClick(*node);
    }
    /// The contact lists in the list, the named ones selected.
    void selectLists(const std::vector<std::string>& names) {
        console->NodeClick(*console->tree().Find("mclf"));
        view.selection.clear();
        for (size_t i = 0; i < console->list().Count(); ++i)
            if (std::ranges::find(names, console->list().Text(i, 0)) != names.end())
                view.selection.push_back(i);
        ASSERT_EQ(view.selection.size(), names.size());
        console->SelectionChanged();
    }
    void select(std::vector<size_t> rows) {
        view.selection = std::move(rows);
        console->SelectionChanged();
    }
    std::vector<std::string> nodes() {
        std::vector<std::string> texts;
        for (const auto& child : root().children)
            texts.push_back(child->text);
        return texts;
    }
    std::vector<std::string> rows() {
        std::vector<std::string> all;
        for (size_t i = 0; i < console->list().Count(); ++i)
            all.emplace_back(console->list().Text(i, 0));
        return all;
    }
    bool isPdl(const RDOMessagePtr& list) { return KeyFlag(*world.Again(list), "PDL"); }

    PdlWorld world;
    FakeView view;
    std::unique_ptr<Console> console;
    std::vector<std::string> asked;
    std::function<void()> edit;
    EntryID answer;
};

// --- the tree

TEST_F(PdlKindTest, TheRootShowsTheListsByName) {
    const auto zoo = world.AddPdl("Zoo", "P");
    world.AddPdl("ape", "P");
    world.AddList("Not a PDL");
    world.AddList("No more", {{"PDL", false}});
    SetKey(*zoo, "EPS.Inactive", true);
    zoo->Save();
    console->LoadTreeRoot();
    ASSERT_EQ(root().children.size(), 1U);
    EXPECT_TRUE(root().children[0]->isDummy());
    view.ExpandNode(root(), true);
    EXPECT_THAT(nodes(), ElementsAre("ape", "Zoo"));
    const TreeNode& node = *root().children[1];
    EXPECT_EQ(node.tag, "pdlt");
    EXPECT_EQ(node.image, "imgPDL");
    EXPECT_EQ(node.key, zoo->ID().text());
    EXPECT_TRUE(node.ghosted);
    EXPECT_FALSE(root().children[0]->ghosted);
    // expanded once more, nothing is read again
    world.AddPdl("new", "P");
    view.ExpandNode(root(), true);
    EXPECT_THAT(nodes(), ElementsAre("ape", "Zoo"));
}

TEST_F(PdlKindTest, WithoutListsTheRootIsEmpty) {
    world.Lists();
    expand();
    EXPECT_THAT(nodes(), IsEmpty());
}

TEST_F(PdlKindTest, WithoutTheFolderTheRootStaysCollapsed) {
    world.Lists()->Delete();
    console->LoadTreeRoot();
    world.ui.Expect("Error: unable to locate Mandatory Contacts in specified location.");
    world.ui.Expect("Unable to locate Mandatory Contacts folder");
    EXPECT_FALSE(console->Expand(root()));
    ASSERT_EQ(root().children.size(), 1U);
    EXPECT_EQ(view.status, "Unable to locate Mandatory Contacts folder");
    EXPECT_TRUE(world.logHas("LoadPDLs: Unable to locate Mandatory Contacts folder"));
    // and tries again
    world.SetAgent("MCEntryID", "");
    world.SetAgent("MCPath", "");
    world.AddPdl("A", "P");
    EXPECT_TRUE(console->Expand(root()));
    EXPECT_THAT(nodes(), ElementsAre("A"));
}

TEST_F(PdlKindTest, TheRootListsTheRecipients) {
    world.AddPdl("A", "P");
    console->LoadTreeRoot();
    view.status = "before";
    console->NodeClick(root());
    EXPECT_EQ(view.status, "");
    EXPECT_THAT(rows(), IsEmpty());
    console->RegisterKind(std::make_unique<RecipientsKind>());
    console->NodeClick(*console->tree().Find("mclf"));
    console->NodeClick(root());
    EXPECT_EQ(view.status, "recipients below pdlroot");
}

TEST_F(PdlKindTest, TheRootsPropertiesAreThoseOfAllLists) {
    console->LoadTreeRoot();
    console->NodeClick(root());
    EXPECT_TRUE(view.enabled("mnuActionmnuProps"));
    EXPECT_TRUE(view.enabled("mnuPDLAddUser"));
    console->RunCommand("mnuActionmnuProps");
    EXPECT_THAT(asked, ElementsAre("frmPdlProps"));
}

// --- the members

TEST_F(PdlKindTest, ANodeListsItsMembers) {
    click(world.AddPdl("Team", "PSE"));
    EXPECT_THAT(rows(), ElementsAre("Alice Adams", "Bob Baker", "Dora Dunn"));
    EXPECT_EQ(view.title, "Team ");
    EXPECT_EQ(view.status, "3 members");
    std::vector<std::string> titles;
    for (const ListColumn& column : console->list().Columns())
        titles.push_back(column.title);
    EXPECT_THAT(titles, ElementsAre("Name", "PIN", "Mobile", "E-mail"));
    EXPECT_THAT(console->list().At(0).texts,
                ElementsAre("Alice Adams", "PINALICE", "", "alice@example.test"));
    EXPECT_EQ(console->list().At(0).tag, "pdl");
    EXPECT_EQ(console->list().At(0).icon, "imgUser");
    EXPECT_FALSE(view.frozen);
    EXPECT_TRUE(world.logHas("LoadPDLMembers:loading members of Team"));
}

TEST_F(PdlKindTest, MembersAreCounted) {
    click(world.AddPdl("One", "P"));
    EXPECT_EQ(view.status, "1 member");
}

TEST_F(PdlKindTest, AnEmptyListHasNoMembers) {
    click(world.AddList("Empty", {{"PDL", true}}));
    EXPECT_EQ(view.status, "0 members");
    EXPECT_TRUE(
        world.logHas("LoadPDLMembers:failed to find MCLID for Empty; branching to NoData view\n"));
}

TEST_F(PdlKindTest, WithoutAProtocolTheStatusSaysSo) {
    click(world.AddPdl("Silent", ""));
    EXPECT_EQ(view.status, "No messaging protocol is enabled for this PDL");
    EXPECT_THAT(rows(), IsEmpty());
    EXPECT_EQ(console->list().Columns().size(), 1U);
}

TEST_F(PdlKindTest, ARemoteConsoleSaysSoOfAListForSMS) {
    click(world.AddList(
        "A", {{"PDL", true}, {"PDL.PIN", false}, {"PDL.SMS", true}, {"ACS.Guid", "gone"}}));
    EXPECT_EQ(view.status, "Unable to display members for this SMS-enabled list when remotely "
                           "connected to the service");
}

TEST_F(PdlKindTest, AListThatIsGoneCantBeOpened) {
    const auto list = world.AddPdl("A", "P");
    expand();
    TreeNode* node = console->tree().Find(list->ID().text());
    list->Delete();
    console->NodeClick(*node);
    EXPECT_EQ(view.status, "The list can't be opened.");
    EXPECT_THAT(rows(), IsEmpty());
    select({});
    world.ui.Expect("There is a problem accessing A");
    console->RunCommand("mnuActionmnuProps");
    EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Exclamation);
    EXPECT_THAT(asked, IsEmpty());
    EXPECT_TRUE(world.logHas("ShowPropsPDL:error retrieving message for list A"));
}

TEST_F(PdlKindTest, AClickBringsTheNodeUpToDate) {
    const auto list = world.AddPdl("Old", "P");
    expand();
    TreeNode* node = console->tree().Find(list->ID().text());
    list->SetSubject("New");
    SetKey(*list, "EPS.Inactive", true);
    list->Save();
    console->NodeClick(*node);
    EXPECT_EQ(node->text, "New");
    EXPECT_TRUE(node->ghosted);
    EXPECT_EQ(view.title, "New ");
}

TEST_F(PdlKindTest, AnotherNodeEndsTheLoad) {
    const auto list = world.AddPdl("A", "PSE");
    expand();
    TreeNode* node = console->tree().Find(list->ID().text());
    bool left = false;
    world.ui.onDoEvents = [&] {
        if (left || console->CurrentTag() != "pdlt")
            return;
        left = true;
        console->NodeClick(*console->tree().Find("epsroot"));
    };
    console->NodeClick(*node);
    EXPECT_TRUE(left);
    EXPECT_EQ(console->CurrentTag(), "epsroot");
    EXPECT_THAT(rows(), IsEmpty());
    EXPECT_FALSE(view.frozen);
}

// --- properties

TEST_F(PdlKindTest, NodeAndMembersHaveThePropertiesOfTheList) {
    const auto list = world.AddPdl("Team", "PSE");
    click(list);
    EXPECT_TRUE(view.enabled("mnuActionmnuProps"));
    EXPECT_TRUE(view.enabled("mnuMclClearPDL"));
    EXPECT_FALSE(view.enabled("mnuPDLPush"));
    EXPECT_FALSE(view.enabled("mnuPDLRemoveUser"));
    console->RunCommand("mnuActionmnuProps");
    select({0});
    EXPECT_TRUE(view.enabled("mnuActionmnuProps"));
    EXPECT_TRUE(view.enabled("mnuMclClearPDL"));
    EXPECT_FALSE(view.enabled("mnuMclMakePDL"));
    console->RunCommand("mnuActionmnuProps");
    console->ActivateRow(1);
    const std::string call = "frmPDL " + list->ID().text();
    EXPECT_THAT(asked, ElementsAre(call, call, call));
}

TEST_F(PdlKindTest, SavedPropertiesReloadTheMembers) {
    const auto list = world.AddPdl("Team", "PSE");
    click(list);
    edit = [&] {
        SetKey(*list, "PDL.Email", false);
        list->Save();
    };
    console->RunCommand("mnuActionmnuProps");
    EXPECT_EQ(rows().size(), 3U); // nothing was saved
    answer = list->ID();
    console->RunCommand("mnuActionmnuProps");
    EXPECT_THAT(rows(), ElementsAre("Alice Adams", "Dora Dunn"));
    EXPECT_EQ(view.status, "2 members");
    // and not when another node stands there now
    edit = [&] { console->NodeClick(*console->tree().Find("epsroot")); };
    select({0});
    console->RunCommand("mnuActionmnuProps");
    EXPECT_EQ(console->CurrentTag(), "epsroot");
    EXPECT_THAT(rows(), IsEmpty());
}

// --- making and clearing

TEST_F(PdlKindTest, AContactListIsMadeAPdl) {
    const auto beta = world.AddList("Beta", {{"MCL Source", "x"}, {"EPS.Inactive", true}});
    world.AddPdl("Alpha", "P");
    world.AddPdl("Gamma", "P");
    expand();
    selectLists({"Beta"});
    EXPECT_TRUE(view.enabled("mnuMclMakePDL"));
    console->RunCommand("mnuMclMakePDL");
    EXPECT_TRUE(isPdl(beta));
    EXPECT_THAT(nodes(), ElementsAre("Alpha", "Beta", "Gamma"));
    EXPECT_EQ(root().children[1]->image, "imgPDL");
    EXPECT_EQ(root().children[1]->tag, "pdlt");
    EXPECT_TRUE(root().children[1]->ghosted);
    EXPECT_FALSE(view.enabled("mnuMclMakePDL"));
    EXPECT_TRUE(view.enabled("mnuMclClearPDL"));
    EXPECT_EQ(console->CurrentTag(), "mclf");
}

TEST_F(PdlKindTest, BeforeTheFirstExpansionTheNodeIsAddedAllTheSame) {
    const auto beta = world.AddList("Beta", {{"MCL Source", "x"}});
    world.AddPdl("Alpha", "P");
    console->LoadTreeRoot();
    selectLists({"Beta"});
    console->RunCommand("mnuMclMakePDL");
    EXPECT_THAT(nodes(), ElementsAre("", "Beta")); // behind the dummy
    view.ExpandNode(root(), true);
    EXPECT_THAT(nodes(), ElementsAre("Alpha", "Beta"));
}

TEST_F(PdlKindTest, SeveralListsAreMadeAndCleared) {
    const auto a = world.AddList("A", {{"MCL Source", "x"}});
    const auto b = world.AddPdl("B", "P");
    expand();
    selectLists({"A", "B"});
    console->RunCommand("mnuMclMakePDL");
    EXPECT_THAT(nodes(), ElementsAre("A", "B"));
    console->RunCommand("mnuMclClearPDL");
    EXPECT_THAT(nodes(), IsEmpty());
    EXPECT_FALSE(isPdl(a));
    EXPECT_FALSE(isPdl(b));
    EXPECT_EQ(console->CurrentTag(), "mclf");
}

TEST_F(PdlKindTest, ClearedFromItsNodeTheRootIsSelected) {
    const auto list = world.AddPdl("A", "P");
    world.AddPdl("B", "P");
    click(list);
    console->RunCommand("mnuMclClearPDL");
    EXPECT_FALSE(isPdl(list));
    EXPECT_THAT(nodes(), ElementsAre("B"));
    EXPECT_EQ(view.selectedNode, "pdlroot");
    EXPECT_EQ(console->CurrentTag(), "pdlroot");
    EXPECT_THAT(rows(), IsEmpty());
}

TEST_F(PdlKindTest, AMemberClearsTheListToo) {
    const auto list = world.AddPdl("A", "P");
    click(list);
    select({0});
    console->RunCommand("mnuMclClearPDL");
    EXPECT_FALSE(isPdl(list));
    EXPECT_THAT(nodes(), IsEmpty());
    EXPECT_EQ(console->CurrentTag(), "pdlroot");
}

TEST_F(PdlKindTest, WithoutAListNothingHappens) {
    expand();
    console->RunCommand("mnuMclMakePDL");
    console->RunCommand("mnuMclClearPDL");
    EXPECT_THAT(nodes(), IsEmpty());
}

TEST_F(PdlKindTest, AListThatIsGoneKeepsItsNode) {
    const auto list = world.AddPdl("A", "P");
    click(list);
    list->Delete();
    world.ui.Expect("Unable to save 'A'!\r\nSee the KR-Admin.log for details");
    console->RunCommand("mnuMclClearPDL");
    EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Stop);
    EXPECT_THAT(nodes(), ElementsAre("A"));
    EXPECT_EQ(console->CurrentTag(), "pdlt");
    EXPECT_TRUE(world.logHas("Error saving PDL A: "));
}

TEST_F(PdlKindTest, RefreshFindsTheListAgain) {
    const auto list = world.AddPdl("A", "P");
    click(list);
    console->RefreshView();
    EXPECT_EQ(console->CurrentTag(), "pdlt");
    EXPECT_EQ(console->CurrentKey(), list->ID().text());
    EXPECT_EQ(view.status, "1 member");
}

// --- a failing store

class PdlKindFailureTest : public PdlKindTest {
protected:
    PdlKindFailureTest() {
        console.reset();
        failing.LogOn();
        start(failing.session);
    }
    FailingSession failing{world};
};

TEST_F(PdlKindFailureTest, AFailedExpansionIsNoEmptyRoot) {
    world.AddPdl("A", "P");
    int collapsed = 0, without = 0, whole = 0;
    for (int call = 1; whole == 0 && call < 100; ++call) {
        console->LoadTreeRoot();
        view.status.clear();
        failing.store.plan().FailAt(call);
        const bool expanded = console->Expand(root());
        if (!expanded) {
            ++collapsed;
            EXPECT_TRUE(root().children[0]->isDummy());
            EXPECT_FALSE(view.status.empty());
        } else if (nodes().empty()) {
            ++without; // the one list couldn't be opened
            EXPECT_TRUE(world.logHas("LoadPDLs: err opening "));
        } else if (!failing.store.plan().Failed()) {
            ++whole;
        }
    }
    EXPECT_EQ(whole, 1);
    EXPECT_GT(collapsed, 2);
    EXPECT_GT(without, 2);
    EXPECT_TRUE(world.logHas("LoadPDLs: "));
}

TEST_F(PdlKindFailureTest, AFailedChangeLeavesListAndNode) {
    const auto list = world.AddPdl("A", "P");
    click(list);
    int refused = 0;
    for (int call = 1; isPdl(list) && call < 50; ++call) {
        failing.store.plan().FailAt(call);
        console->RunCommand("mnuMclClearPDL");
        EXPECT_EQ(nodes().size(), isPdl(list) ? 1U : 0U);
        refused += isPdl(list) ? 1 : 0;
    }
    EXPECT_FALSE(isPdl(list));
    ASSERT_GT(refused, 2);
    EXPECT_EQ(failing.ui.shown.size(), static_cast<size_t>(refused));
    EXPECT_TRUE(world.logHas("Error saving PDL A: "));
}

TEST_F(PdlKindFailureTest, MembersThatCantBeReadAreTheStatus) {
    const auto list = world.AddPdl("A", "P");
    expand();
    TreeNode* node = console->tree().Find(list->ID().text());
    failing.store.plan().FailFrom(1);
    console->NodeClick(*node);
    EXPECT_EQ(view.status, "The list can't be opened.");
    EXPECT_EQ(node->text, "A");
    EXPECT_TRUE(world.logHas("Error loading PDL "));
}

} // namespace
