// Connectors against a real database server over ODBC.

#include <gtest/gtest.h>

#include <chrono>

#include "platform/database/Provider.h"
#include "tests/handhelds/BesTest.h"
#include "tests/support/Postgres.h"

namespace {

using namespace kr;

constexpr size_t kMany = 5000;

/// The two tables of a BES database with null columns: BES00001 has no machine, BES00002 no SRP id,
/// BES00003 no version, and so on; one server has no name, one stands there twice. Every fourth
/// server has a push server, of which the first has no port and the second no host.
constexpr const char* kTables =
    "CREATE TABLE ServerConfig (ServiceName varchar(64), MachineName varchar(64), SRPid "
    "varchar(32), BESVersion varchar(16));"
    "CREATE TABLE vMDSConfig (BESServerName varchar(64), MDSHost varchar(64), "
    "WebServerListenPort integer, IsPushServer integer);"
    "INSERT INTO ServerConfig SELECT 'BES' || lpad(n::text, 5, '0'), "
    "CASE n % 4 WHEN 1 THEN NULL ELSE 'HOST' || n END, CASE n % 4 WHEN 2 THEN NULL ELSE 'S' || n "
    "END, CASE n % 4 WHEN 3 THEN NULL ELSE '4.1.' || n % 7 END FROM generate_series(1, 4998) n;"
    "INSERT INTO ServerConfig VALUES (NULL, 'NAMELESS', 'S0', '4.1'), ('BES00001', 'TWICE', 'S1', "
    "'4.1'), ('BES00004', 'HOST4', 'S4', '4.1.4');"
    "INSERT INTO vMDSConfig SELECT 'BES' || lpad(n::text, 5, '0'), CASE n WHEN 8 THEN NULL ELSE "
    "'mds' || n || '.example.test' END, CASE n WHEN 4 THEN NULL ELSE 8080 END, CASE n % 4 WHEN 0 "
    "THEN 1 ELSE 0 END FROM generate_series(1, 4998) n;";

class BesDatabase : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        s_server = std::make_unique<Postgres>("sample");
        ASSERT_TRUE(s_server->running());
        ASSERT_TRUE(s_server->Run(kTables));
    }
    static void TearDownTestSuite() { s_server.reset(); }
    BesDatabase() {
        m_world.LogOnConfigured();
        const Platform& p = *m_world.platform;
        m_platform = std::make_unique<Platform>(Platform{p.store, p.registry, p.ui, p.events,
                                                         p.services, p.directory, p.shell,
                                                         *m_databases, p.http, p.secrets, p.clock});
        m_session = std::make_unique<AgentSession>(*m_platform, m_world.logPath());
        m_session->rdo = m_world.session->rdo;
        m_session->agentInfo = m_world.session->agentInfo;
        m_tree.Add("", "agent", "agent", "Agent", "");
        m_tree.Add("agent", "besconnectorroot", "besconnectorroot", "BES Configuration", "");
        m_tree.Add("besconnectorroot", "dummybb", "dummybb", "", "");
    }
    AgentSession& session() { return *m_session; }
    static std::string connection() {
        return Postgres::ConnectionString(s_server->port(), "sample");
    }
    /// A connector of that connection string, loaded into the tree.
    TreeNode* load(const std::string& text) {
        m_connector = addConnector(m_world, "db1[BESMgmt]", {{"Connector.CxnString", text}});
        LoadBesConnectors(session(), m_tree);
        return m_tree.Find(m_connector->ID().text());
    }
    Strings stored(const std::string& key) {
        const Value value = GetKey(*GetMessage(session(), m_connector->ID()), key);
        const Strings* list = value.get<Strings>();
        return list ? *list : Strings();
    }

    static inline std::unique_ptr<Postgres> s_server;
    World m_world;
    std::unique_ptr<DatabaseProvider> m_databases = MakeDatabaseProvider(*m_world.events);
    std::unique_ptr<Platform> m_platform;
    std::unique_ptr<AgentSession> m_session;
    TreeModel m_tree;
    RDOMessagePtr m_connector;
};

TEST_F(BesDatabase, ManyServersWithNullColumns) {
    // the second BES00001 is told of, as a server of two connectors is
    m_world.ui.Expect("The server named BES00001 is being added to the db1[BESMgmt] connector as "
                      "Excluded because\r\nit also appears under the db1[BESMgmt] connector.");
    const auto start = std::chrono::steady_clock::now();
    const TreeNode* node = load(connection());
    const auto took = std::chrono::steady_clock::now() - start;
    ASSERT_NE(node, nullptr);
    ASSERT_EQ(node->children.size(), kMany);
    EXPECT_EQ(node->children[0]->key, "BES00001bes!");
    EXPECT_EQ(node->children[1]->key, "%XBES00001bes!");
    EXPECT_EQ(node->children.back()->text, "") << "a server without a name comes last";
    const Strings servers = stored("Connector.BES.Servers");
    ASSERT_EQ(servers.size(), kMany);
    EXPECT_EQ(servers[0], "BES00001;TWICE;S1;4.1");
    EXPECT_EQ(servers[1], "BES00001;;S1;4.1.1");
    EXPECT_EQ(servers[2], "BES00002;HOST2;;4.1.2");
    EXPECT_EQ(servers[3], "BES00003;HOST3;S3;");
    EXPECT_EQ(servers.back(), ";NAMELESS;S0;4.1");
    const Strings hosts = stored("Connector.MDS.Servers");
    ASSERT_EQ(hosts.size(), kMany / 4 - 1);
    EXPECT_EQ(hosts[0], "mds4.example.test:");
    EXPECT_EQ(hosts[1], ":8080");
    EXPECT_EQ(hosts[2], "mds12.example.test:8080");
    EXPECT_TRUE(m_world.logHas("GetPushServerList 1249 records returned on query against "));
    EXPECT_LT(took, std::chrono::seconds(10));
}

TEST_F(BesDatabase, AfterTheFirstTimeTheDatabaseIsNotNeeded) {
    m_world.ui.Expect("The server named BES00001 is being added to the db1[BESMgmt] connector as "
                      "Excluded because\r\nit also appears under the db1[BESMgmt] connector.");
    load(connection());
    TreeModel again;
    again.Add("", "besconnectorroot", "besconnectorroot", "BES Configuration", "");
    again.Add("besconnectorroot", "dummybb", "dummybb", "", "");
    SetKey(*m_connector, "Connector.CxnString", "Driver={No Such}");
    m_connector->Save();
    LoadBesConnectors(session(), again);
    const TreeNode* node = again.Find(m_connector->ID().text());
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(node->children.size(), kMany);
    EXPECT_FALSE(m_world.logHas("Failed to open connection"));
}

TEST_F(BesDatabase, WithoutItsTablesItGivesNoServers) {
    ASSERT_TRUE(s_server->Run("CREATE DATABASE bare"));
    std::string text = connection();
    const size_t at = text.find("Database=postgres");
    text.replace(at, 17, "Database=bare");
    const TreeNode* node = load(text);
    ASSERT_NE(node, nullptr);
    EXPECT_TRUE(node->children.empty());
    EXPECT_TRUE(stored("Connector.BES.Servers").empty()) << "the next load asks again";
    EXPECT_TRUE(m_world.logHas("GetBESServers failed to open recordset for "));
    EXPECT_TRUE(m_world.logHas("GetPushServerList  unable to open recordset at "));
    EXPECT_TRUE(m_world.logHas("vmdsconfig"));
}

TEST_F(BesDatabase, ARefusedLogonLeavesTheConnectorWithoutServers) {
    const TreeNode* node = load(Postgres::ConnectionString(s_server->port(), "wrong"));
    ASSERT_NE(node, nullptr);
    EXPECT_TRUE(node->children.empty());
    EXPECT_TRUE(m_world.logHas("Failed to open connection to "));
    EXPECT_TRUE(m_world.logHas("authentication failed"));
}

} // namespace
