#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "handhelds/HandheldKinds.h"
#include "tests/console/ConsoleTest.h"
#include "tests/handhelds/BesTest.h"

namespace {

using namespace kr;
using ::testing::Contains;
using ::testing::Not;

class BesConnectorKinds : public ConsoleTest {
protected:
    BesConnectorKinds() {
        HandheldForms forms;
        forms.frmBesCxnSQL = [this](const EntryID& id) { return edit("SQL", id); };
        forms.frmBesCxnMbx = [this](const EntryID& id) { return edit("MBX", id); };
        RegisterHandheldKinds(*console, forms);
    }
    EntryID edit(const std::string& form, const EntryID& id) {
        shown.push_back(form + " " + id.text());
        return onEdit ? onEdit(id) : EntryID();
    }
    void loadTree() { console->LoadTreeRoot(); }
    std::string connector(const std::string& name, const std::map<std::string, Value>& keys) {
        return addConnector(world, name, keys)->ID().text();
    }
    RDOMessagePtr record(const std::string& id) { return GetMessage(*world.session, EntryID(id)); }
    TreeNode* node(std::string_view key) { return console->tree().Find(key); }
    /// Selects the row of that first cell.
    void selectRow(const std::string& text) {
        for (size_t i = 0; i < console->list().Count(); ++i)
            if (console->list().Text(i, 0) == text) {
                select({i});
                return;
            }
        ADD_FAILURE() << "no row " << text;
    }
    const ListRow& row(size_t at) { return console->list().At(at); }
    Names titles() {
        Names names;
        for (const ListColumn& column : console->list().Columns())
            names.push_back(column.title);
        return names;
    }
    std::function<EntryID(const EntryID&)> onEdit;
    Names shown;
};

TEST_F(BesConnectorKinds, TheListOfConnectors) {
    loadTree();
    click("besconnectorroot");
    EXPECT_EQ(view.status, "0 connectors");
    EXPECT_EQ(titles(), (Names{"Connector", "Type", "Push Server"}));
    EXPECT_EQ(view.visible(), (Names{"mnuBesConnectorAdd", "mnuActionmnuProps"}));
    const std::string id = connector("b", {{"Connector.Type", "SQL"},
                                           {"Connector.MDS.Host", "chosen:1"},
                                           {"Connector.MDS.Servers", Strings{"first:1"}},
                                           {"Connector.BES.Servers", Strings{"A;m"}}});
    console->RefreshView();
    EXPECT_EQ(view.status, "1 connector");
    connector("a", {{"Connector.Type", "MBX"},
                    {"Connector.MDS.Servers", Strings{"first:1", "x"}},
                    {"Connector.BES.Servers", Strings{"B;m"}}});
    connector("c", {{"Connector.BES.Servers", Strings{"C;m"}}});
    console->RefreshView();
    EXPECT_EQ(view.status, "3 connectors");
    EXPECT_EQ(row(0).texts, (Names{"a", "MBX", "first:1"}));
    EXPECT_EQ(row(0).tag, "connector:mbx");
    EXPECT_EQ(row(1).texts, (Names{"b", "SQL", "chosen:1"}));
    EXPECT_EQ(row(1).tag, "connector:sql");
    EXPECT_EQ(row(1).key, id);
    EXPECT_EQ(row(1).icon, "imgConnectorBES");
    EXPECT_EQ(row(2).texts, (Names{"c", "SQL", ""})); // without a type: SQL
    EXPECT_TRUE(world.logHas("loading connectors"));
    EXPECT_EQ(node("dummybb"), nullptr);
}

TEST_F(BesConnectorKinds, ExpandingLoadsTheConnectorsOnce) {
    const std::string id = connector("one", {{"Connector.BES.Servers", Strings{"A;m"}}});
    loadTree();
    EXPECT_EQ(children("besconnectorroot"), Names{"dummybb"});
    view.ExpandNode(*node("besconnectorroot"), true);
    EXPECT_EQ(children("besconnectorroot"), Names{id});
    EXPECT_EQ(children(id), Names{"Abes!"});
    view.ExpandNode(*node("besconnectorroot"), true);
    EXPECT_EQ(children("besconnectorroot"), Names{id});
}

TEST_F(BesConnectorKinds, TheListOfServers) {
    const std::string id =
        connector("one", {{"Connector.BES.Servers", Strings{"B;m2;S2;5", " A ;m1;S1;4.1", "short"}},
                          {"Connector.Exclude", "A"}});
    loadTree();
    click("besconnectorroot");
    click(id);
    EXPECT_EQ(view.title, "one ");
    EXPECT_EQ(view.status, "3 servers");
    EXPECT_EQ(titles(), (Names{"Service Name", "Machine Name", "Version", "SRPid"}));
    EXPECT_EQ(row(0).texts, (Names{"A", "m1", "4.1", "S1"}));
    EXPECT_EQ(row(0).tag, "bes");
    EXPECT_EQ(row(0).key, "%XAbes!");
    EXPECT_TRUE(row(0).ghosted);
    EXPECT_EQ(row(1).texts, (Names{"B", "m2", "5", "S2"}));
    EXPECT_FALSE(row(1).ghosted);
    EXPECT_EQ(row(2).texts, (Names{"short", "", "", ""}));
    console->ActivateRow(1);
    EXPECT_EQ(view.selectedNode, "Bbes!");
    EXPECT_EQ(console->CurrentTag(), "bes");
}

TEST_F(BesConnectorKinds, AConnectorThatIsGoneHasNoServers) {
    const std::string id = connector("one", {{"Connector.BES.Servers", Strings{"A;m"}}});
    const std::string bare = connector("two", {});
    loadTree();
    click("besconnectorroot");
    record(id)->Delete();
    click(id);
    EXPECT_EQ(view.status, "The connector can't be opened.");
    click(bare);
    EXPECT_EQ(view.status, "0 servers");
}

// --- Add

TEST_F(BesConnectorKinds, ANewConnectorStandsInTreeAndList) {
    connector("first", {{"Connector.BES.Servers", Strings{"A;m"}}});
    loadTree();
    click("besconnectorroot");
    console->RunCommand("mnuBesConnectorSQLAdd"); // cancelled
    EXPECT_EQ(shown, Names{"SQL "});
    EXPECT_EQ(console->list().Count(), 1u);
    std::string id;
    onEdit = [&](const EntryID&) {
        id = connector("second", {{"Connector.Type", "SQL"},
                                  {"Connector.BES.Servers", Strings{"A;m", "B;m"}},
                                  {"Connector.MDS.Servers", Strings{"mds:1"}}});
        return EntryID(id);
    };
    world.ui.Expect("The server named A is being added to the second connector as Excluded "
                    "because\r\nit also appears under the first connector.");
    console->RunCommand("mnuBesConnectorSQLAdd");
    EXPECT_EQ(children(id), (Names{"%XAbes!", "Bbes!"}));
    EXPECT_EQ(KeyText(*record(id), "Connector.Exclude"), "A");
    ASSERT_EQ(console->list().Count(), 2u);
    EXPECT_EQ(row(1).texts, (Names{"second", "SQL", "(not configured)"}));
    EXPECT_EQ(row(1).tag, "connector:sql");
    EXPECT_EQ(view.status, "2 connectors");
}

TEST_F(BesConnectorKinds, ANewMailboxConnectorHasTheMenuOfItsKind) {
    loadTree();
    click("besconnectorroot");
    std::string id;
    onEdit = [&](const EntryID& edited) {
        if (edited.empty())
            id =
                connector("Bob[Mbx]", {{"Connector.Type", "MBX"}, {"Connector.MDS.Host", "mds:1"}});
        return EntryID(id);
    };
    console->RunCommand("mnuBesConnectorMbxAdd");
    ASSERT_EQ(console->list().Count(), 1u);
    EXPECT_EQ(row(0).texts, (Names{"Bob[Mbx]", "MBX", "mds:1"}));
    EXPECT_EQ(row(0).tag, "bescxn-mbx");
    EXPECT_EQ(node(id)->tag, "connector:mbx");
    select({0});
    EXPECT_EQ(view.visible(), (Names{"mnuBesConnectorDelete", "mnuActionmnuProps"}));
    EXPECT_TRUE(view.enabled("mnuActionmnuProps"));
    console->ActivateRow(0);
    EXPECT_EQ(shown.back(), "MBX " + id);
    EXPECT_EQ(row(0).tag, "connector:mbx");
}

TEST_F(BesConnectorKinds, AddingElsewhereLeavesTheListAlone) {
    connector("first", {{"Connector.BES.Servers", Strings{"A;m"}}});
    loadTree();
    std::string id;
    onEdit = [&](const EntryID&) {
        id = connector("second", {{"Connector.BES.Servers", Strings{"B;m"}}});
        return EntryID(id);
    };
    const size_t rows = console->list().Count();
    console->RunCommand("mnuBesConnectorSQLAdd");
    EXPECT_EQ(console->list().Count(), rows);
    EXPECT_EQ(children("besconnectorroot").size(), 2u); // the placeholder has gone
    EXPECT_EQ(children(id), Names{"Bbes!"});
}

// --- Properties

TEST_F(BesConnectorKinds, PropertiesOfARowAndOfANode) {
    const std::string sql = connector("a", {{"Connector.BES.Servers", Strings{"A;m"}}});
    const std::string mbx =
        connector("b", {{"Connector.Type", "MBX"}, {"Connector.BES.Servers", Strings{"B;m"}}});
    loadTree();
    click("besconnectorroot");
    EXPECT_FALSE(view.enabled("mnuActionmnuProps"));
    select({0});
    EXPECT_TRUE(view.enabled("mnuActionmnuProps"));
    console->RunCommand("mnuActionmnuProps");
    select({0, 1});
    EXPECT_FALSE(view.enabled("mnuActionmnuProps"));
    click(mbx);
    console->RunCommand("mnuActionmnuProps");
    EXPECT_EQ(shown, (Names{"SQL " + sql, "MBX " + mbx}));
}

TEST_F(BesConnectorKinds, AChangedConnectorIsShown) {
    const std::string id = connector(
        "a", {{"Connector.BES.Servers", Strings{"A;m", "B;m"}}, {"Connector.Exclude", "B"}});
    loadTree();
    click("besconnectorroot");
    select({0});
    onEdit = [&](const EntryID&) {
        const auto changed = record(id);
        changed->SetSubject("new");
        SetKey(*changed, "Connector.MDS.Host", "mds:1");
        changed->Save();
        return EntryID(id);
    };
    console->RunCommand("mnuActionmnuProps");
    EXPECT_EQ(row(0).texts, (Names{"new", "SQL", "mds:1"}));
    EXPECT_EQ(node(id)->text, "new");
    EXPECT_EQ(children(id), (Names{"Abes!", "%XBbes!"}));
    click(id);
    onEdit = [&](const EntryID&) {
        const auto changed = record(id);
        changed->SetSubject("newer");
        SetKey(*changed, "Connector.BES.Servers", Strings{"B;m", "C;m"});
        changed->Save();
        return EntryID(id);
    };
    console->RunCommand("mnuActionmnuProps");
    EXPECT_EQ(view.title, "newer ");
    EXPECT_EQ(children(id), (Names{"%XBbes!", "Cbes!"}));
    ASSERT_EQ(console->list().Count(), 2u);
    EXPECT_EQ(row(1).texts.front(), "C");
    record(id)->Delete();
    world.ui.Expect("Unable to open this BES connector");
    console->RunCommand("mnuActionmnuProps");
    EXPECT_EQ(shown.size(), 2u);
}

// --- Delete

TEST_F(BesConnectorKinds, DeletingAsksFirst) {
    const std::string a = connector("a", {{"Connector.BES.Servers", Strings{"A;m"}}});
    const std::string b = connector("b", {{"Connector.BES.Servers", Strings{"B;m"}}});
    loadTree();
    click("besconnectorroot");
    select({0});
    world.ui.Expect("Delete a?", BoxAnswer::No);
    console->RunCommand("mnuBesConnectorDelete");
    EXPECT_NE(node(a), nullptr);
    ASSERT_TRUE(record(a));
    world.ui.Expect("Delete a?", BoxAnswer::Yes);
    console->DeleteKey();
    EXPECT_EQ(node(a), nullptr);
    EXPECT_EQ(node("Abes!"), nullptr);
    EXPECT_FALSE(record(a));
    EXPECT_EQ(console->list().Count(), 1u);
    EXPECT_EQ(view.status, "1 connector");
    click(b);
    world.ui.Expect("Delete b?", BoxAnswer::Yes);
    console->RunCommand("mnuBesConnectorDelete");
    EXPECT_EQ(view.selectedNode, "besconnectorroot");
    EXPECT_EQ(view.status, "0 connectors");
}

TEST_F(BesConnectorKinds, DeletingAConnectorThatIsGoneStops) {
    const std::string a = connector("a", {{"Connector.BES.Servers", Strings{"A;m"}}});
    connector("b", {{"Connector.BES.Servers", Strings{"B;m"}}});
    loadTree();
    click("besconnectorroot");
    record(a)->Delete();
    select({0, 1});
    console->RunCommand("mnuBesConnectorDelete");
    EXPECT_TRUE(world.logHas("unable to find message for selected item in BesConnectorDelete"));
    EXPECT_EQ(console->list().Count(), 2u);
}

// --- Exclude and include

TEST_F(BesConnectorKinds, ExcludeAndIncludeARow) {
    const std::string id = connector("one", {{"Connector.BES.Servers", Strings{"A;m", "B;m"}}});
    loadTree();
    click("besconnectorroot");
    click(id);
    selectRow("A");
    EXPECT_THAT(view.visible(), Contains("mnuBesExclude"));
    EXPECT_THAT(view.visible(), Not(Contains("mnuBesInclude")));
    console->RunCommand("mnuBesInclude"); // has nothing to do
    EXPECT_EQ(row(0).key, "Abes!");
    console->RunCommand("mnuBesExclude");
    EXPECT_EQ(KeyText(*record(id), "Connector.Exclude"), "A");
    EXPECT_EQ(row(0).key, "%XAbes!");
    EXPECT_TRUE(row(0).ghosted);
    EXPECT_EQ(children(id), (Names{"%XAbes!", "Bbes!"}));
    EXPECT_EQ(node("%XAbes!")->image, "imgBESGhost");
    EXPECT_THAT(view.visible(), Contains("mnuBesInclude"));
    EXPECT_THAT(view.visible(), Not(Contains("mnuBesExclude")));
    select({0, 1});
    EXPECT_THAT(view.visible(), Contains("mnuBesInclude"));
    EXPECT_THAT(view.visible(), Contains("mnuBesExclude"));
    select({0});
    console->RunCommand("mnuBesInclude");
    EXPECT_EQ(KeyText(*record(id), "Connector.Exclude"), "");
    EXPECT_EQ(row(0).key, "Abes!");
    EXPECT_FALSE(row(0).ghosted);
    EXPECT_EQ(node("Abes!")->image, "imgBES");
}

TEST_F(BesConnectorKinds, ExcludingTheNodeKeepsItSelected) {
    const std::string id = connector("one", {{"Connector.BES.Servers", Strings{"A;m"}}});
    loadTree();
    click("besconnectorroot");
    click("Abes!");
    console->RunCommand("mnuBesExclude");
    EXPECT_EQ(view.selectedNode, "%XAbes!");
    EXPECT_EQ(console->CurrentKey(), "%XAbes!");
    EXPECT_EQ(console->CurrentNode(), node("%XAbes!"));
    EXPECT_EQ(view.visible(), (Names{"mnuBesInclude", "mnuActionmnuProps"}));
    EXPECT_EQ(KeyText(*record(id), "Connector.Exclude"), "A");
}

TEST_F(BesConnectorKinds, ATakenNameStaysExcluded) {
    connector("one", {{"Connector.BES.Servers", Strings{"A;m"}}});
    const std::string id =
        connector("two", {{"Connector.BES.Servers", Strings{"A;m"}}, {"Connector.Exclude", "A"}});
    loadTree();
    click("besconnectorroot");
    click(id);
    selectRow("A");
    world.ui.Expect("A BES server named A exists in another domain.\r\nYou will need to exclude "
                    "that one before this BES can be included.");
    console->RunCommand("mnuBesInclude");
    EXPECT_TRUE(row(0).ghosted);
    EXPECT_EQ(KeyText(*record(id), "Connector.Exclude"), "A");
    record(id)->Delete();
    click("besconnectorroot");
    click("Abes!");
    console->RunCommand("mnuBesExclude"); // of the first connector, which is there
    world.ui.Expect("Unable to save changes for this BES");
    click("%XAbes!");
    console->RunCommand("mnuBesInclude");
    EXPECT_TRUE(world.logHas("BesExclude error: unable to retrieve parent domain message"));
}

} // namespace
