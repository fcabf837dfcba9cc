#include "contacts/ContactKinds.h"
#include "tests/console/ConsoleTest.h"
#include "tests/contacts/MclTest.h"

namespace {

using namespace kr;

/// The console over a mailbox with lists; the dialogs are scripted.
class MclKindTest : public ::testing::Test, protected MclWorld {
protected:
    MclKindTest() {
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
        ContactForms forms;
        forms.frmRegMCL = form("frmRegMCL");
        forms.frmRegMCLPf = form("frmRegMCLPf");
        forms.frmRegMclACF = form("frmRegMclACF");
        forms.frmRegMclACDS = form("frmRegMclACDS");
        RegisterMclKinds(*console, forms);
    }
    void show() {
        console->LoadTreeRoot();
        console->NodeClick(*console->tree().Find("mclf"));
    }
    ListModel& list() { return console->list(); }
    void select(const std::vector<std::string>& names) {
        view.selection.clear();
        for (size_t i = 0; i < list().Count(); ++i)
            if (std::ranges::find(names, list().Text(i, 0)) != names.end())
                view.selection.push_back(i);
        ASSERT_EQ(view.selection.size(), names.size());
        console->SelectionChanged();
    }
    bool offers(std::string_view entry) {
        const auto shown = view.visible();
        return std::ranges::find(shown, entry) != shown.end();
    }
    std::string names() {
        std::string all;
        for (size_t i = 0; i < list().Count(); ++i)
            all += std::string(list().Text(i, 0)) + " ";
        return all;
    }

    FakeView view;
    std::unique_ptr<Console> console;
    std::vector<std::string> asked;
    EntryID answer;
};

TEST_F(MclKindTest, TheNodeShowsTheLists) {
    addList("Beta", {{"MCL Source", "Bob"}});
    addList("Alpha", {{"MCL Source", "Alice"}, {"EPS.Inactive", true}});
    show();
    EXPECT_EQ(names(), "Alpha Beta ");
    EXPECT_EQ(view.title, std::string(kDefaultPath) + " - Mandatory Contacts ");
    EXPECT_EQ(view.status, "2 lists");
    EXPECT_TRUE(list().At(0).ghosted);
    EXPECT_EQ(list().Columns().size(), 5U);
    EXPECT_FALSE(view.frozen);
    EXPECT_TRUE(offers("mnuMclSetPath"));
    EXPECT_TRUE(offers("mnuMclAdd"));
    EXPECT_TRUE(offers("mnuMclAddPF"));
    EXPECT_FALSE(offers("mnuMclDelete"));
}

TEST_F(MclKindTest, CountsInTheStatusBar) {
    show();
    EXPECT_EQ(view.status, "0 lists");
    addList("One");
    console->RefreshView();
    EXPECT_EQ(view.status, "1 list");
}

TEST_F(MclKindTest, QuickLoadTakesOneColumn) {
    addList("One", {{"MCL Source", "Bob"}});
    session().quickLoad = true;
    show();
    EXPECT_EQ(list().Columns().size(), 1U);
    EXPECT_EQ(names(), "One ");
    session().quickLoad = false;
    console->RefreshView();
    EXPECT_EQ(list().Columns().size(), 5U);
}

TEST_F(MclKindTest, AMissingFolderIsTheStatus) {
    const RDOFolderPtr gone = root()->Folders()->Add("Gone");
    setKey(session().AgentMsgID, "MCEntryID", gone->ID().text());
    gone->Delete();
    world.ui.Expect("Unable to locate Mandatory Contacts folder");
    show();
    EXPECT_EQ(view.status, "Unable to locate Mandatory Contacts folder");
    EXPECT_EQ(list().Count(), 0U);
    EXPECT_TRUE(world.logHas(":LvLoadMCL:no folMCL\n"));
}

TEST_F(MclKindTest, AddsThroughTheDialogs) {
    show();
    console->RunCommand("mnuMclAdd");
    EXPECT_EQ(view.status, "0 lists");
    answer = addList("New", {{"MCL Source", "Alice"}});
    console->RunCommand("mnuMclAddPF");
    EXPECT_EQ(asked, (std::vector<std::string>{"frmRegMCL ", "frmRegMCLPf "}));
    EXPECT_EQ(names(), "New ");
    ASSERT_EQ(view.selection.size(), 1U);
}

TEST_F(MclKindTest, EachKindHasItsDialog) {
    addFolderSource("F", {{"ACS.Guid", "G1"}});
    addSource("D", {{"ACF Cxn String", kCxn}, {"ACS.Guid", "G2"}});
    const EntryID ids[] = {addList("A", {{"MCL Source", "x"}}),
                           addList("B", {{"MCL Source", "x"}, {"MCL PF", true}}),
                           addList("C", {{"ACS.Guid", "G1"}}), addList("D", {{"ACS.Guid", "G2"}})};
    show();
    view.selection = {2};
    console->ActivateRow(2);
    EXPECT_EQ(asked, std::vector<std::string>{"frmRegMclACF " + ids[2].text()});
    asked.clear();
    for (const char* name : {"A", "B", "C", "D"}) {
        select({name});
        EXPECT_TRUE(view.enabled("mnuActionmnuProps"));
        console->RunCommand("mnuActionmnuProps");
    }
    EXPECT_EQ(asked, (std::vector<std::string>{
                         "frmRegMCL " + ids[0].text(), "frmRegMCLPf " + ids[1].text(),
                         "frmRegMclACF " + ids[2].text(), "frmRegMclACDS " + ids[3].text()}));
}

TEST_F(MclKindTest, AChangedListIsShownAnew) {
    answer = addList("A", {{"MCL Source", "x"}});
    show();
    select({"A"});
    const RDOMessagePtr record = open(answer);
    record->SetSubject("Z");
    record->Save();
    console->RunCommand("mnuActionmnuProps");
    EXPECT_EQ(names(), "Z ");
    EXPECT_EQ(view.selection, std::vector<size_t>{0});
}

TEST_F(MclKindTest, OffersPinListsByKindAndFlag) {
    addSource("D", {{"ACF Cxn String", kCxn}, {"ACS.Guid", "G2"}});
    addList("Data", {{"ACS.Guid", "G2"}});
    addList("Plain", {{"MCL Source", "x"}});
    addList("Pin", {{"MCL Source", "x"}, {"PDL", true}});
    show();
    select({"Data"});
    EXPECT_FALSE(offers("mnuMclMakePDL"));
    EXPECT_FALSE(offers("mnuMclClearPDL"));
    EXPECT_TRUE(offers("mnuMclDelete"));
    select({"Plain"});
    EXPECT_TRUE(offers("mnuMclMakePDL"));
    EXPECT_FALSE(offers("mnuMclClearPDL"));
    select({"Pin"});
    EXPECT_FALSE(offers("mnuMclMakePDL"));
    EXPECT_TRUE(offers("mnuMclClearPDL"));
    select({"Data", "Plain"});
    EXPECT_FALSE(offers("mnuMclMakePDL"));
}

TEST_F(MclKindTest, DeletesTheSelectedRows) {
    for (const char* name : {"A", "B", "C"})
        addList(name, {{"MCL Source", "x"}});
    show();
    select({"A", "C"});
    world.ui.Expect("Are you sure you want to delete these 2 Mandatory Contact Lists\n  A\n  C");
    console->DeleteKey();
    EXPECT_EQ(names(), "B ");
    EXPECT_EQ(view.status, "1 list");
    EXPECT_EQ(lists()->Items()->Count(), 1);
}

TEST_F(MclKindTest, ActivationShowsInListAndTree) {
    const EntryID source = addFolderSource("S", {{"ACS.Guid", "G1"}, {"EPS.Inactive", true}});
    addList("A", {{"ACS.Guid", "G1"}, {"EPS.Inactive", true}});
    show();
    TreeNode* node = console->tree().Add("acfroot", source.text(), "acf", "S", "imgContactGhost");
    ASSERT_NE(node, nullptr);
    select({"A"});
    EXPECT_TRUE(offers("mnuActionActivate"));
    EXPECT_FALSE(offers("mnuActionInactivate"));
    world.ui.Expect("Activate A?\nThe parent Alternate Contact Source will also be activated.",
                    BoxAnswer::Yes);
    console->RunCommand("mnuActionActivate");
    EXPECT_FALSE(list().At(0).ghosted);
    EXPECT_EQ(node->image, "imgContact");
    EXPECT_FALSE(offers("mnuActionActivate"));
    EXPECT_TRUE(offers("mnuActionInactivate"));
    world.ui.Expect("Inactivate A?", BoxAnswer::Yes);
    console->RunCommand("mnuActionInactivate");
    EXPECT_TRUE(list().At(0).ghosted);
    EXPECT_EQ(node->image, "imgContact");
}

TEST_F(MclKindTest, ALostListReportsAFailure) {
    addList("Lost", {{"ACS.Guid", "G1"}});
    show();
    ASSERT_EQ(list().Count(), 1U);
    EXPECT_TRUE(list().At(0).ghosted);
    EXPECT_TRUE(list().At(0).red);
    select({"Lost"});
    world.ui.Expect("Activate Lost?", BoxAnswer::Yes);
    world.ui.Expect("Errors were encountered activating 1 lists. See the KR-Admin.log for details");
    console->RunCommand("mnuActionActivate");
    EXPECT_TRUE(list().At(0).ghosted);
}

TEST_F(MclKindTest, AnotherFolderIsShownAtOnce) {
    addList("Old", {{"MCL Source", "x"}});
    show();
    const RDOFolderPtr target =
        session().rdo->Stores().DefaultStore()->IPMRootFolder()->Folders()->Add("Lists");
    world.ui.ExpectFolders(
        {{target->ID(), target->StoreID(), "\\\\Mailbox - Agent Mailbox\\Lists"}});
    world.ui.Expect("", BoxAnswer::No);
    console->RunCommand("mnuMclSetPath");
    EXPECT_EQ(names(), "");
    EXPECT_EQ(view.title, "\\\\Mailbox - Agent Mailbox\\Lists - Mandatory Contacts ");
}

// --- Lists that are PIN distribution lists: their nodes follow

class PdlNodeTest : public MclKindTest {
protected:
    /// The branch as it is once it was expanded.
    void expandBranch(const std::vector<std::pair<EntryID, std::string>>& lists) {
        TreeModel& tree = console->tree();
        tree.RemoveChildren(*tree.Find("pdlroot"));
        for (const auto& [id, name] : lists)
            ASSERT_NE(tree.Add("pdlroot", id.text(), "pdlt", name, "imgPDL"), nullptr);
    }
    std::string branch() {
        std::string texts;
        for (const auto& child : console->tree().Find("pdlroot")->children)
            texts += child->text + " ";
        return texts;
    }
    void rename(const EntryID& id, std::string_view name) {
        const RDOMessagePtr record = open(id);
        record->SetSubject(name);
        record->Save();
    }
};

TEST_F(PdlNodeTest, ADeletedListLosesItsNode) {
    const EntryID a = addList("A", {{"MCL Source", "x"}}), b = addList("B", {{"MCL Source", "x"}});
    show();
    expandBranch({{a, "A"}, {b, "B"}});
    select({"A"});
    world.ui.Expect("Are you sure you want to delete this Mandatory Contact List\n  A",
                    BoxAnswer::Cancel);
    console->DeleteKey();
    EXPECT_EQ(branch(), "A B ");
    world.ui.Expect("Are you sure you want to delete this Mandatory Contact List\n  A");
    console->DeleteKey();
    EXPECT_EQ(branch(), "B ");
    EXPECT_EQ(console->CurrentTag(), "mclf");
}

TEST_F(PdlNodeTest, ARenamedListKeepsTheOrderOfTheNodes) {
    answer = addList("A", {{"MCL Source", "x"}});
    const EntryID b = addList("B", {{"MCL Source", "x"}}), c = addList("C", {{"MCL Source", "x"}});
    show();
    expandBranch({{answer, "A"}, {b, "B"}, {c, "C"}});
    select({"A"});
    rename(answer, "bb");
    console->RunCommand("mnuActionmnuProps");
    EXPECT_EQ(branch(), "B bb C ");
    EXPECT_EQ(console->tree().Find(answer.text())->tag, "pdlt");
    select({"bb"});
    rename(answer, "D");
    console->RunCommand("mnuActionmnuProps");
    EXPECT_EQ(branch(), "B C D ");
}

TEST_F(PdlNodeTest, ANodeIsGhostedWithItsList) {
    const EntryID a = addList("A", {{"MCL Source", "x"}});
    const EntryID lost = addList("Lost", {{"ACS.Guid", "G1"}});
    console->LoadTreeRoot();
    expandBranch({{a, "A"}, {lost, "Lost"}});
    console->NodeClick(*console->tree().Find("mclf"));
    EXPECT_TRUE(console->tree().Find(lost.text())->ghosted); // the view has switched it off
    EXPECT_FALSE(console->tree().Find(a.text())->ghosted);
    select({"A"});
    world.ui.Expect("Inactivate A?", BoxAnswer::Yes);
    console->RunCommand("mnuActionInactivate");
    EXPECT_TRUE(console->tree().Find(a.text())->ghosted);
    world.ui.Expect("Activate A?", BoxAnswer::Yes);
    console->RunCommand("mnuActionActivate");
    EXPECT_FALSE(console->tree().Find(a.text())->ghosted);
}

TEST_F(PdlNodeTest, OnlyNodesOfPinListsAreTouched) {
    const EntryID a = addList("A", {{"MCL Source", "x"}});
    console->LoadTreeRoot();
    ASSERT_NE(console->tree().Add("acfroot", a.text(), "acf", "Source", "imgContact"), nullptr);
    console->NodeClick(*console->tree().Find("mclf"));
    EXPECT_EQ(console->tree().Find(a.text())->text, "Source");
    select({"A"});
    world.ui.Expect("");
    console->DeleteKey();
    EXPECT_NE(console->tree().Find(a.text()), nullptr);
}

TEST_F(PdlNodeTest, AnotherFolderHasOtherPinLists) {
    const EntryID old = addList("Old", {{"MCL Source", "x"}, {"PDL", true}});
    show();
    expandBranch({{old, "Old"}});
    const RDOFolderPtr target =
        session().rdo->Stores().DefaultStore()->IPMRootFolder()->Folders()->Add("Lists");
    world.ui.ExpectFolders(
        {{target->ID(), target->StoreID(), "\\\\Mailbox - Agent Mailbox\\Lists"}});
    world.ui.Expect("", BoxAnswer::No);
    console->RunCommand("mnuMclSetPath");
    EXPECT_EQ(console->tree().Find(old.text()), nullptr);
    EXPECT_NE(console->tree().Find("dummypdl"), nullptr); // to be read at the next expansion
    EXPECT_EQ(console->CurrentTag(), "mclf");
    EXPECT_EQ(names(), "");
}

TEST_F(MclKindTest, AListThatIsLeftWhileItLoadsStaysAway) {
    for (int i = 0; i < 20; ++i)
        addList("L" + std::to_string(i), {{"MCL Source", "x"}});
    bool once = true;
    console->LoadTreeRoot();
    world.ui.onDoEvents = [&] {
        if (std::exchange(once, false))
            console->NodeClick(*console->tree().Find("epsroot"));
    };
    console->NodeClick(*console->tree().Find("mclf"));
    EXPECT_EQ(list().Count(), 0U);
    EXPECT_EQ(console->CurrentTag(), "epsroot");
}

} // namespace
