#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/handhelds/BesTest.h"
#include "tests/support/FailingWorld.h"

namespace {

using namespace kr;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Bes : public ::testing::Test {
protected:
    Bes() {
        world.LogOnConfigured();
        tree.Add("", "agent", "agent", "Agent", "");
        tree.Add("agent", "besconnectorroot", "besconnectorroot", "BES Configuration", "");
        tree.Add("besconnectorroot", "dummybb", "dummybb", "", "");
        addBesDatabase(world, "db");
    }
    AgentSession& session() { return *world.session; }
    RDOMessagePtr connector(const std::string& name, const std::map<std::string, Value>& keys) {
        return addConnector(world, name, keys);
    }
    RDOMessagePtr again(const RDOMessagePtr& message) {
        return GetMessage(session(), message->ID());
    }
    std::string find(const std::string& bes) { return FindPushServer(session(), tree, bes); }
    World world;
    TreeModel tree;
};

TEST_F(Bes, AConnectorIsQueriedOnceAndStored) {
    const auto message = connector("db1[BES]", {{"Connector.CxnString", "db"}});
    LoadBesConnectors(session(), tree);
    EXPECT_EQ(tree.Find("dummybb"), nullptr);
    TreeNode* node = tree.Find(message->ID().text());
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(node->tag, "connector:sql");
    EXPECT_EQ(node->image, "imgConnectorBES");
    ASSERT_EQ(node->children.size(), 2U);
    EXPECT_EQ(node->children[0]->key, "BES1bes!");
    EXPECT_EQ(node->children[1]->text, "BES2");
    EXPECT_EQ(node->children[1]->image, "imgBES");
    const auto stored = again(message);
    EXPECT_EQ(KeyText(*stored, "Connector.Type"), "SQL");
    EXPECT_EQ(GetKey(*stored, "Connector.BES.Servers"),
              Value(Strings{"BES1;m1;S1;4.1", " BES2 ;;S2;5"}));
    EXPECT_EQ(GetKey(*stored, "Connector.MDS.Servers"), Value(Strings{"mds1:8080", "mds2:8081"}));
    EXPECT_TRUE(world.logHas("GetPushServerList 2 records returned on query against db"));
    world.database.opened.clear();
    LoadBesConnectors(session(), tree);
    EXPECT_THAT(world.database.opened, IsEmpty());
}

TEST_F(Bes, AnUnreachableDatabaseLeavesTheConnectorWithoutServers) {
    const auto message = connector("x", {{"Connector.CxnString", "gone"}});
    LoadBesConnectors(session(), tree);
    ASSERT_NE(tree.Find(message->ID().text()), nullptr);
    EXPECT_TRUE(tree.Find(message->ID().text())->children.empty());
    EXPECT_TRUE(world.logHas("Failed to open connection to gone The server was not found."));
    EXPECT_TRUE(GetKey(*again(message), "Connector.BES.Servers").empty());
}

TEST_F(Bes, FailingQueriesAreLogged) {
    world.database.sources["empty"];
    BesServers servers;
    EXPECT_TRUE(ReadBesDatabase(session(), "empty", servers));
    EXPECT_THAT(servers.bes, IsEmpty());
    EXPECT_THAT(servers.mds, IsEmpty());
    EXPECT_TRUE(world.logHas("GetBESServers failed to open recordset for empty"));
    EXPECT_TRUE(world.logHas("GetPushServerList  unable to open recordset at empty There is no "
                             "such table."));
    EXPECT_THAT(GetPushServerList(session(), nullptr, "closed"), IsEmpty());
    EXPECT_TRUE(world.logHas("GetPushServerList  failed: connection is not open (closed)"));
}

TEST_F(Bes, AServerUnderTwoConnectorsIsExcludedFromTheSecond) {
    connector("one", {{"Connector.BES.Servers", Strings{"BES1;a;b;c"}}});
    const auto second = connector("two", {{"Connector.BES.Servers", Strings{"BES1;a;b;c", "B2"}}});
    world.ui.Expect("The server named BES1 is being added to the two connector as Excluded "
                    "because\r\nit also appears under the one connector.");
    LoadBesConnectors(session(), tree);
    TreeNode* excluded = tree.Find("%XBES1bes!");
    ASSERT_NE(excluded, nullptr);
    EXPECT_EQ(excluded->image, "imgBESGhost");
    EXPECT_EQ(excluded->parent->text, "two");
    EXPECT_EQ(KeyText(*again(second), "Connector.Exclude"), "BES1");
    tree.RemoveChildren(*tree.Find("besconnectorroot"));
    tree.Add("besconnectorroot", "dummybb", "dummybb", "", "");
    LoadBesConnectors(session(), tree); // and says so once
    EXPECT_NE(tree.Find("%XBES1bes!"), nullptr);
}

TEST_F(Bes, ExcludedKeysAreCounted) {
    connector("one", {{"Connector.BES.Servers", Strings{"B;x"}}, {"Connector.Exclude", "b"}});
    connector("two", {{"Connector.BES.Servers", Strings{"B;x"}}, {"Connector.Exclude", "a;B"}});
    LoadBesConnectors(session(), tree);
    EXPECT_NE(tree.Find("%XBbes!"), nullptr);
    EXPECT_NE(tree.Find("%X1Bbes!"), nullptr);
    EXPECT_EQ(find("B"), "");
    EXPECT_TRUE(world.logHas("FindPushServer error: unable to find BBServer node for B"));
}

TEST_F(Bes, ExcludingAndIncluding) {
    const auto message = connector("one", {{"Connector.BES.Servers", Strings{"A;x", "B;x"}}});
    LoadBesConnectors(session(), tree);
    ASSERT_TRUE(ExcludeBes(session(), tree, *tree.Find("Abes!")));
    EXPECT_EQ(tree.Find("Abes!"), nullptr);
    EXPECT_EQ(tree.Find("%XAbes!")->image, "imgBESGhost");
    EXPECT_EQ(tree.Find("%XAbes!")->row(), 0U);
    EXPECT_EQ(KeyText(*again(message), "Connector.Exclude"), "A");
    ASSERT_TRUE(ExcludeBes(session(), tree, *tree.Find("Bbes!")));
    EXPECT_EQ(KeyText(*again(message), "Connector.Exclude"), "A;B");
    ASSERT_TRUE(IncludeBes(session(), tree, *tree.Find("%XAbes!")));
    EXPECT_EQ(KeyText(*again(message), "Connector.Exclude"), "B");
    EXPECT_EQ(tree.Find("Abes!")->image, "imgBES");
}

TEST_F(Bes, ANameThatIsTakenCannotBeIncluded) {
    connector("one", {{"Connector.BES.Servers", Strings{"A;x"}}});
    connector("two", {{"Connector.BES.Servers", Strings{"A;x"}}, {"Connector.Exclude", "A"}});
    LoadBesConnectors(session(), tree);
    world.ui.Expect("A BES server named A exists in another domain.\r\nYou will need to exclude "
                    "that one before this BES can be included.");
    EXPECT_FALSE(IncludeBes(session(), tree, *tree.Find("%XAbes!")));
}

TEST_F(Bes, AConnectorThatIsGoneCannotBeChanged) {
    const auto message = connector("one", {{"Connector.BES.Servers", Strings{"A;x"}}});
    LoadBesConnectors(session(), tree);
    message->Delete();
    world.ui.Expect("Unable to save changes for this BES");
    EXPECT_FALSE(ExcludeBes(session(), tree, *tree.Find("Abes!")));
    EXPECT_TRUE(world.logHas("BesExclude error: unable to retrieve parent domain message"));
    EXPECT_EQ(find("A"), "");
    EXPECT_TRUE(world.logHas("FindPushServer error: unable to get parent Connector message for A"));
}

TEST_F(Bes, TheFirstLivePushServerWins) {
    connector("one", {{"Connector.BES.Servers", Strings{"A;x"}},
                      {"Connector.MDS.Servers", Strings{"dead:1", "live:2", "other:3"}}});
    world.http.answer = [](const FakeHttp::Request& request) {
        return request.url == "http://dead:1" ? FakeHttp::Response{503, "Busy"}
                                              : FakeHttp::Response();
    };
    EXPECT_EQ(find("A"), "live:2");
    EXPECT_EQ(world.http.sent.size(), 2U);
    EXPECT_EQ(world.http.sent[0].policy, AutoLogonPolicy::Always);
    EXPECT_TRUE(world.logHas("IsValidPushServer:dead:1 is not valid; received 503:Busy"));
    EXPECT_TRUE(world.logHas("IsValidPushServer:live:2 is valid; received 200:OK"));
    EXPECT_TRUE(world.logHas("FindMdsHost:returning live:2 as MDS Host"));
}

TEST_F(Bes, NoLivePushServerGivesNone) {
    connector("one", {{"Connector.BES.Servers", Strings{"A;x"}},
                      {"Connector.MDS.Servers", Strings{"dead:1"}}});
    world.http.answer = [](const FakeHttp::Request&) { return FakeHttp::Response{-1}; };
    EXPECT_EQ(find("A"), "");
    EXPECT_TRUE(world.logHas("timed out waiting for response from http://dead:1"));
    EXPECT_EQ(FindMdsHost(session(), {}), "");
    EXPECT_TRUE(world.logHas("FindMdsHost: server array is empty; nothing to check"));
    world.http.fails = true;
    EXPECT_FALSE(IsValidPushServer(session(), "x:1"));
    EXPECT_TRUE(world.logHas("unable to proceed: failed to instantiate WinHttpRequest object"));
}

TEST_F(Bes, ASelectedServerIsTakenUntested) {
    connector("one", {{"Connector.BES.Servers", Strings{"A;x"}},
                      {"Connector.MDS.UseSelected", true},
                      {"Connector.MDS.Host", "chosen:8080"},
                      {"Connector.MDS.PushInitiator", "principal:"}});
    EXPECT_EQ(find("A"), "chosen:8080|cHJpbmNpcGFsOg==");
    EXPECT_THAT(world.http.sent, IsEmpty());
}

TEST_F(Bes, ASelectionWithoutHostFallsThrough) {
    connector("one", {{"Connector.BES.Servers", Strings{"A;x"}},
                      {"Connector.MDS.UseSelected", true},
                      {"Connector.MDS.Servers", Strings{"live:2"}}});
    EXPECT_EQ(find("A"), "live:2");
}

TEST_F(Bes, AnInitiatorWithoutHostStillCounts) {
    connector("one",
              {{"Connector.BES.Servers", Strings{"A;x"}}, {"Connector.MDS.PushInitiator", "p:c"}});
    EXPECT_EQ(find("A"), "|cDpj"); // kept
}

TEST_F(Bes, AMailboxNamesItsServers) {
    const RDOStorePtr bob = session().rdo->GetSharedMailbox("SMTP:bob@example.test");
    const auto folders = bob->RootFolder()->Folders();
    const auto server = [&](const std::string& name, bool message) {
        const RDOFolderPtr folder = folders->Add(name);
        folder->Folders()->Add("Handhelds");
        const RDOFolderPtr info = folder->Folders()->Add("SysInfo");
        if (!message)
            return;
        const RDOMessagePtr system = info->Items()->Add("IPM.Note");
        system->SetFields(0x600C001E, "machine");
        system->SetFields(0x6003001E, "srp");
        system->SetFields(0x6013001E, "3.6");
        system->SetFields(0x6020001E, "db");
        system->Save();
    };
    server("BESA", true);
    server("BESB", false);
    folders->Add("NoServer");
    folders->Add("BESC")->Folders()->Add("Handhelds");
    std::string connection;
    const auto found = GetServersForMbxConnector(session(), "bob@example.test", connection);
    ASSERT_TRUE(found);
    EXPECT_THAT(*found, ElementsAre("BESA;machine;srp;3.6"));
    EXPECT_EQ(connection, "db");
    EXPECT_TRUE(world.logHas("found SysInfo subfolder for BESA"));
    EXPECT_TRUE(world.logHas("no server in SysInfo folder for BESB"));
    EXPECT_TRUE(world.logHas("unable to locate SysInfo subfolder for BESC"));
    EXPECT_THAT(ReadMbxCxnString(session(), connection, "bob"),
                ElementsAre("mds1:8080", "mds2:8081"));
    EXPECT_TRUE(world.logHas("ReadMbxCxnString:retrieving push server list for bob using db"));
    EXPECT_THAT(ReadMbxCxnString(session(), "", "bob"), IsEmpty());
    EXPECT_THAT(ReadMbxCxnString(session(), "gone", "bob"), IsEmpty());
    const auto message = connector(
        "Bob[Mbx]", {{"Connector.Type", "MBX"}, {"Connector.Mbx.Address", "bob@example.test"}});
    LoadBesConnectors(session(), tree);
    EXPECT_EQ(tree.Find(message->ID().text())->tag, "connector:mbx");
    EXPECT_NE(tree.Find("BESAbes!"), nullptr);
    EXPECT_FALSE(GetServersForMbxConnector(session(), "nobody@x.test", connection));
    EXPECT_TRUE(world.logHas("error: unable to open mailbox for nobody@x.test "));
}

/// A search that fails is neither a branch without connectors nor a name that is free.
TEST_F(Bes, AFailedSearchIsTriedAgain) {
    const auto message = connector("one", {{"Connector.CxnString", "db"}});
    FailingSession failing(world);
    failing.LogOn();
    failing.store.plan().FailAt(1);
    EXPECT_FALSE(LoadBesConnectors(failing.session, tree));
    ASSERT_TRUE(failing.store.plan().Failed());
    EXPECT_NE(tree.Find("dummybb"), nullptr);
    EXPECT_EQ(tree.Find(message->ID().text()), nullptr);
    EXPECT_TRUE(world.logHas("LoadBesConnectors:"));
    EXPECT_TRUE(LoadBesConnectors(failing.session, tree));
    EXPECT_EQ(tree.Find("dummybb"), nullptr);
    EXPECT_NE(tree.Find(message->ID().text()), nullptr);
    failing.store.plan().FailAt(1);
    EXPECT_EQ(ConnectorExists(failing.session, "two", {}), std::nullopt);
    EXPECT_EQ(ConnectorExists(failing.session, "two", {}), false);
}

TEST_F(Bes, ASubjectIsTakenByOthersOnly) {
    const auto message = connector("one", {});
    EXPECT_EQ(ConnectorExists(session(), "two", {}), false);
    EXPECT_EQ(ConnectorExists(session(), "one", {}), true);
    EXPECT_EQ(ConnectorExists(session(), "one", message->ID()), false);
    connector("one", {});
    EXPECT_EQ(ConnectorExists(session(), "one", message->ID()), true);
}

} // namespace
