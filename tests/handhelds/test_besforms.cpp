#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "handhelds/BesMbxForm.h"
#include "handhelds/BesSqlForm.h"
#include "tests/handhelds/BesTest.h"
#include "tests/support/FailingWorld.h"
#include "tests/support/SilentDatabase.h"

namespace {

using namespace kr;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using Focus = BesSqlForm::Focus;

const std::string kIntegrated =
    "Provider=SQLOLEDB; Data Source=db1; Initial Catalog=BESMgmt; Integrated Security=SSPI;";
const std::string kOwn =
    "Provider=SQLOLEDB; Data Source=db1; Initial Catalog=BESMgmt; User ID=sa; Password=secret;";
const std::string kOwnMasked =
    "Provider=SQLOLEDB; Data Source=db1; Initial Catalog=BESMgmt; User ID=sa; Password=********;";

// --- Connection strings

TEST(BesConnections, AreBuiltInOneOrder) {
    EXPECT_EQ(BuildBesConnection({"db1", "BESMgmt", false, "", ""}), kIntegrated);
    EXPECT_EQ(BuildBesConnection({"db1", "BESMgmt", true, "sa", "secret"}), kOwn);
    EXPECT_EQ(BuildBesConnection({"10.0.0.5", "B", false, "", ""}),
              "Provider=SQLOLEDB; Data Source=10.0.0.5; Network Library=DBMSSOCN; "
              "Initial Catalog=B; Integrated Security=SSPI;");
    for (const char* name : {"10.0.0.x", "10.0.0", "10.0.0.5.6", "10.0.0.", "db1"})
        EXPECT_THAT(BuildBesConnection({name, "B", false, "", ""}), Not(HasSubstr("Network")))
            << name;
}

TEST(BesConnections, AreTakenApartAgain) {
    for (const BesConnection& made : {BesConnection{"db1", "B", false, "", ""},
                                      BesConnection{"db1", "B", true, "sa", "se=cret"},
                                      BesConnection{"10.0.0.5", "B", true, "sa", ""}})
        EXPECT_EQ(ParseBesConnection(BuildBesConnection(made)), made);
    const BesConnection odd =
        ParseBesConnection(" DATA SOURCE = x y ;;INITIAL CATALOG=c;Timeout;PassWord=p");
    EXPECT_EQ(odd.dataSource, "x y");
    EXPECT_EQ(odd.catalog, "c");
    EXPECT_TRUE(odd.ownLogin);
    EXPECT_EQ(odd.password, "p");
    EXPECT_FALSE(ParseBesConnection("Data Source=x").ownLogin);
    EXPECT_EQ(ParseBesConnection(""), BesConnection());
}

// --- SQL connectors

class BesForms : public ::testing::Test {
protected:
    BesForms() {
        world.LogOnConfigured();
        addBesDatabase(world, kIntegrated);
        addBesDatabase(world, kOwn);
    }
    AgentSession& session() { return *world.session; }
    RDOMessagePtr stored(const EntryID& id) { return GetMessage(session(), id); }
    std::string key(const EntryID& id, const char* name) { return KeyText(*stored(id), name); }
    void enter(BesSqlForm& form, bool own = false) {
        ASSERT_TRUE(form.Load(session(), {}));
        form.connection = {"db1", "BESMgmt", own, own ? "sa" : "", own ? "secret" : ""};
        form.changed = true;
    }
    std::string save(BesSqlForm& form) { return form.Save(session(), focus); }
    World world;
    Focus focus = Focus::None;
};

using SqlConnectors = BesForms;

TEST_F(SqlConnectors, ANewOneIsEmpty) {
    BesSqlForm form;
    ASSERT_TRUE(form.Load(session(), {}));
    EXPECT_EQ(form.Title(), "BES Connector - SQL");
    EXPECT_EQ(form.RefreshCaption(), "&Load List...");
    EXPECT_FALSE(form.CanRefresh());
    EXPECT_THAT(form.push.Entries(), ElementsAre("(not configured)"));
    EXPECT_FALSE(form.push.CanChoose());
    EXPECT_FALSE(form.push.useSelected);
}

TEST_F(SqlConnectors, WhatIsMissingIsRefusedInOrder) {
    BesSqlForm form;
    form.Load(session(), {});
    form.connection.ownLogin = true;
    form.initiator = true;
    EXPECT_EQ(save(form), "You must supply the server name or IP address!");
    EXPECT_EQ(focus, Focus::DataSource);
    form.connection.dataSource = "db1";
    EXPECT_EQ(save(form), "You must supply the name of the database!");
    EXPECT_EQ(focus, Focus::Catalog);
    form.connection.catalog = "BESMgmt";
    EXPECT_EQ(save(form), "You must supply the User ID for SQL Server authentication!");
    EXPECT_EQ(focus, Focus::UserID);
    form.connection.userID = "sa";
    EXPECT_EQ(save(form), "You must supply the Password for SQL Server authentication!");
    EXPECT_EQ(focus, Focus::Password);
    form.connection.ownLogin = false;
    EXPECT_EQ(save(form), "You must supply the Principal Name for the Push Initiator identity!");
    EXPECT_EQ(focus, Focus::Principal);
    EXPECT_THAT(world.database.opened, IsEmpty());
    EXPECT_TRUE(form.saved().empty());
}

TEST_F(SqlConnectors, ANewOneIsSavedWithItsServers) {
    BesSqlForm form;
    enter(form);
    EXPECT_EQ(save(form), "");
    EXPECT_EQ(focus, Focus::None);
    const EntryID id = form.saved();
    ASSERT_FALSE(id.empty());
    const auto record = stored(id);
    EXPECT_EQ(record->MessageClass(), "IPM.Post.BesConnector");
    EXPECT_EQ(record->Subject(), "db1[BESMgmt]");
    EXPECT_EQ(key(id, "Connector.Type"), "SQL");
    EXPECT_EQ(key(id, "Connector.CxnString"), kIntegrated);
    EXPECT_EQ(key(id, "Connector.DataSource"), "db1");
    EXPECT_EQ(key(id, "Connector.Catalog"), "BESMgmt");
    EXPECT_EQ(GetKey(*record, "Connector.BES.Servers"),
              Value(Strings{"BES1;m1;S1;4.1", " BES2 ;;S2;5"}));
    EXPECT_EQ(GetKey(*record, "Connector.MDS.Servers"), Value(Strings{"mds1:8080", "mds2:8081"}));
    EXPECT_EQ(GetKey(*record, "Connector.MDS.UseSelected"), Value(false));
    EXPECT_TRUE(GetKey(*record, "Connector.MDS.Host").empty());
    EXPECT_TRUE(GetKey(*record, "Connector.MDS.PushInitiator").empty());
    EXPECT_EQ(world.ui.waitCursors(), 0);
}

TEST_F(SqlConnectors, AnUnreachableDatabaseIsSavedWithoutServers) {
    world.database.sources.clear();
    BesSqlForm form;
    enter(form, true);
    EXPECT_EQ(save(form), "");
    EXPECT_TRUE(GetKey(*stored(form.saved()), "Connector.BES.Servers").empty());
    EXPECT_TRUE(
        world.logHas("Failed to open connection to " + kOwnMasked + " The server was not found."));
    EXPECT_FALSE(world.logHas("secret"));
}

TEST_F(SqlConnectors, TheSameDatabaseIsRefused) {
    const auto other = addConnector(world, "DB1[besmgmt]", {});
    BesSqlForm form;
    enter(form);
    EXPECT_EQ(save(form), "This BES connector has already been configured!");
    EXPECT_EQ(focus, Focus::DataSource);
    EXPECT_TRUE(form.saved().empty());
    form.connection.catalog = "Other";
    EXPECT_EQ(save(form), "");
    EXPECT_FALSE(form.saved().empty());
}

TEST_F(SqlConnectors, AnOldOneIsShownAsItIs) {
    const auto record = addConnector(world, "db1[BESMgmt]",
                                     {{"Connector.CxnString", kOwn},
                                      {"Connector.DataSource", "db1"},
                                      {"Connector.Catalog", "BESMgmt"},
                                      {"Connector.MDS.Servers", Strings{"a:1", "b:2"}},
                                      {"Connector.MDS.Host", "b:2"},
                                      {"Connector.MDS.UseSelected", true},
                                      {"Connector.MDS.PushInitiator", "me:pass:word"}});
    BesSqlForm form;
    ASSERT_TRUE(form.Load(session(), record->ID()));
    EXPECT_EQ(form.Title(), "BES SQL Connector - db1[BESMgmt]");
    EXPECT_EQ(form.RefreshCaption(), "&Refresh List...");
    EXPECT_TRUE(form.CanRefresh());
    EXPECT_EQ(form.connection, (BesConnection{"db1", "BESMgmt", true, "sa", "secret"}));
    EXPECT_THAT(form.push.Entries(), ElementsAre("a:1", "b:2"));
    EXPECT_EQ(form.push.Host(), "b:2");
    EXPECT_TRUE(form.push.useSelected);
    EXPECT_TRUE(form.initiator);
    EXPECT_EQ(form.principal, "me");
    EXPECT_EQ(form.credentials, "pass:word");
    const Time before = record->LastModificationTime();
    world.clock.Advance(std::chrono::seconds(60));
    EXPECT_EQ(save(form), ""); // nothing changed, nothing written
    EXPECT_TRUE(form.saved().empty());
    EXPECT_EQ(stored(record->ID())->LastModificationTime(), before);
}

TEST_F(SqlConnectors, AnOldOneIsChanged) {
    const auto record = addConnector(world, "db1[BESMgmt]",
                                     {{"Connector.CxnString", kOwn},
                                      {"Connector.BES.Servers", Strings{"OLD;m"}},
                                      {"Connector.MDS.Servers", Strings{"a:1", "b:2"}},
                                      {"Connector.MDS.PushInitiator", "me:word"}});
    BesSqlForm form;
    ASSERT_TRUE(form.Load(session(), record->ID()));
    EXPECT_THAT(form.push.Entries(), ElementsAre("(not configured)", "a:1", "b:2"));
    form.push.Select(1);
    form.push.useSelected = true;
    form.connection.catalog = "Other";
    form.initiator = false;
    form.changed = true;
    EXPECT_EQ(save(form), "");
    const EntryID id = form.saved();
    EXPECT_EQ(id, record->ID());
    EXPECT_EQ(stored(id)->Subject(), "db1[Other]");
    EXPECT_EQ(key(id, "Connector.MDS.Host"), "a:1");
    EXPECT_TRUE(KeyFlag(*stored(id), "Connector.MDS.UseSelected"));
    EXPECT_TRUE(GetKey(*stored(id), "Connector.MDS.PushInitiator").empty());
    EXPECT_EQ(GetKey(*stored(id), "Connector.BES.Servers"), Value(Strings{"OLD;m"}));
    EXPECT_THAT(world.database.opened, IsEmpty()); // only a new one asks by itself
}

TEST_F(SqlConnectors, TheIdentityIsTrimmedAndLookedAtInOneCaseOnly) {
    BesSqlForm form;
    enter(form);
    form.initiator = true;
    form.principal = " me ";
    EXPECT_EQ(save(form), "");
    EXPECT_EQ(key(form.saved(), "Connector.MDS.PushInitiator"), "me:");
    BesSqlForm own;
    enter(own, true);
    own.connection.catalog = "Other";
    own.initiator = true;
    own.credentials = " word ";
    EXPECT_EQ(save(own), ""); // kept
    EXPECT_EQ(key(own.saved(), "Connector.MDS.PushInitiator"), ":word");
}

TEST_F(SqlConnectors, AHostThatIsNoMoreOfferedStaysStored) {
    const auto record = addConnector(world, "db1[BESMgmt]",
                                     {{"Connector.CxnString", kIntegrated},
                                      {"Connector.MDS.Servers", Strings{"a:1"}},
                                      {"Connector.MDS.Host", "gone:9"}});
    BesSqlForm form;
    form.Load(session(), record->ID());
    EXPECT_EQ(form.push.Host(), "");
    EXPECT_THAT(form.push.Entries(), ElementsAre("(not configured)", "a:1"));
    form.changed = true;
    EXPECT_EQ(save(form), "");
    EXPECT_EQ(key(record->ID(), "Connector.MDS.Host"), "gone:9");
}

TEST_F(SqlConnectors, ATestSaysWhatCameOfIt) {
    BesSqlForm form;
    enter(form, true);
    world.ui.Expect("Successfully connected using Provider=SQLOLEDB\r\n   Data Source=db1\r\n   "
                    "Initial Catalog=BESMgmt\r\n   User ID=sa\r\n   Password=********\r\n  ");
    EXPECT_TRUE(form.Test(session()));
    EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Information);
    EXPECT_EQ(form.Title(), "BES Connector - db1[BESMgmt]");
    EXPECT_TRUE(form.CanRefresh());
    EXPECT_TRUE(world.logHas("Successfully tested connection string: " + kOwnMasked));
    EXPECT_EQ(world.database.opened.back(), kOwn);
    form.connection.dataSource = "gone";
    world.ui.Expect("Failed to connect using Provider=SQLOLEDB\r\n   Data Source=gone\r\n   "
                    "Initial Catalog=BESMgmt\r\n   User ID=sa\r\n   Password=********\r\n  ");
    EXPECT_FALSE(form.Test(session()));
    EXPECT_EQ(form.Title(), "BES Connector - db1[BESMgmt]");
    EXPECT_TRUE(world.logHas("Failure for connection string: Provider=SQLOLEDB; Data Source=gone; "
                             "Initial Catalog=BESMgmt; User ID=sa; Password=********;; error: "
                             "&H80004005 The server was not found."));
    EXPECT_FALSE(world.logHas("secret"));
    world.database.refusal = PlatformError(DB_E_CANCELED, "Cancelled.", "FakeDatabase");
    EXPECT_FALSE(form.Test(session())); // no box: the person knows
    EXPECT_EQ(world.ui.waitCursors(), 0);
}

TEST_F(SqlConnectors, RefreshReadsTheServers) {
    const auto record = addConnector(world, "db1[BESMgmt]",
                                     {{"Connector.CxnString", kIntegrated},
                                      {"Connector.MDS.Servers", Strings{"old:1", "mds2:8081"}},
                                      {"Connector.MDS.Host", "mds2:8081"}});
    BesSqlForm form;
    form.Load(session(), record->ID());
    form.push.Select(0);
    form.Refresh(session());
    EXPECT_TRUE(form.changed);
    EXPECT_THAT(form.push.Entries(), ElementsAre("mds1:8080", "mds2:8081"));
    EXPECT_EQ(form.push.Host(), "mds2:8081"); // that of the record
    EXPECT_TRUE(form.push.CanChoose());
    EXPECT_EQ(save(form), "");
    EXPECT_EQ(GetKey(*stored(record->ID()), "Connector.MDS.Servers"),
              Value(Strings{"mds1:8080", "mds2:8081"}));
    EXPECT_EQ(GetKey(*stored(record->ID()), "Connector.BES.Servers"),
              Value(Strings{"BES1;m1;S1;4.1", " BES2 ;;S2;5"}));
}

TEST_F(SqlConnectors, RefreshWithoutPushServersKeepsTheOldOnes) {
    world.database.sources[kIntegrated].answers[kMdsQuery].rows.clear();
    const auto record = addConnector(
        world, "db1[BESMgmt]",
        {{"Connector.CxnString", kIntegrated}, {"Connector.MDS.Servers", Strings{"old:1"}}});
    BesSqlForm form;
    form.Load(session(), record->ID());
    form.Refresh(session());
    EXPECT_THAT(form.push.Entries(), ElementsAre("(not configured)", "old:1"));
    EXPECT_TRUE(world.logHas("cmdRefresh: no server list returned for " + kIntegrated));
    EXPECT_EQ(save(form), "");
    EXPECT_EQ(GetKey(*stored(record->ID()), "Connector.MDS.Servers"), Value(Strings{"old:1"}));
}

TEST_F(SqlConnectors, RefreshThatFailsSaysSo) {
    world.database.sources.clear();
    BesSqlForm form;
    enter(form, true);
    form.changed = false;
    world.ui.Expect("Unable to refresh data becase there was an error connecting to the SQL "
                    "database!");
    form.Refresh(session());
    EXPECT_FALSE(form.changed);
    EXPECT_TRUE(
        world.logHas("Connector Refresh error during connection open (" + kOwnMasked + "): "));
    EXPECT_TRUE(world.logHas(" The server was not found."));
    EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Stop);
    EXPECT_EQ(world.ui.waitCursors(), 0);
}

/// Opens nothing and doesn't say why.
class ClosedDatabases : public DatabaseProvider {
public:
    std::unique_ptr<Database> Open(std::string_view, const DbLimits&) override { return nullptr; }
};

TEST_F(SqlConnectors, RefreshOfAClosedConnectionSaysSo) {
    ClosedDatabases closed;
    Platform platform{*world.store,   *world.registry, world.ui,    *world.events,
                      world.services, world.directory, world.shell, closed,
                      world.http,     world.secrets,   world.clock};
    AgentSession other(platform, world.logPath());
    BesSqlForm form;
    enter(form);
    world.ui.Expect("Unable to refresh data because the connection to the SQL database failed to "
                    "open!");
    form.Refresh(other);
    EXPECT_TRUE(
        world.logHas("Connector Refresh failed: unable to open connection(" + kIntegrated + ")"));
    world.ui.Expect(""); // "Failed to connect using ..."
    EXPECT_FALSE(form.Test(other));
}

TEST_F(SqlConnectors, ASilentDatabaseCanBeCancelledWhileTheWindowsLive) {
    SilentDatabase silent(*world.events);
    Platform platform{*world.store,   *world.registry, world.ui,    *world.events,
                      world.services, world.directory, world.shell, silent,
                      world.http,     world.secrets,   world.clock};
    AgentSession other(platform, world.logPath());
    int turns = 0;
    int cursors = 0;
    world.ui.onDoEvents = [&] {
        ++turns;
        cursors = world.ui.waitCursors();
    };
    BesSqlForm form;
    enter(form);
    form.changed = false;
    world.ui.CancelProgressAfter(3);
    EXPECT_FALSE(form.Test(other));
    EXPECT_GE(turns, 3);
    EXPECT_EQ(cursors, 1);
    turns = 0;
    form.Refresh(other);
    EXPECT_GE(turns, 1);
    EXPECT_FALSE(form.changed);
    turns = 0;
    BesServers servers;
    EXPECT_FALSE(ReadBesDatabase(other, kIntegrated, servers));
    EXPECT_GE(turns, 1);
    turns = 0;
    EXPECT_THAT(ReadMbxCxnString(other, kIntegrated, "bob"), IsEmpty());
    EXPECT_GE(turns, 1);
    EXPECT_EQ(world.ui.waitCursors(), 0);
    EXPECT_THAT(world.ui.boxes(), IsEmpty()); // whoever cancelled knows
}

TEST_F(SqlConnectors, OpensThePushServerInTheBrowser) {
    BesSqlForm form;
    enter(form);
    form.push.OpenURL(session());
    EXPECT_THAT(world.shell.urls, IsEmpty()); // nothing is chosen
    form.push.Fill({"mds1:8080", "https://mds2:1", "HTTP://mds3"});
    for (size_t entry = 1; entry <= 3; ++entry) {
        form.push.Select(entry);
        form.push.OpenURL(session());
    }
    EXPECT_THAT(world.shell.urls, ElementsAre("http://mds1:8080", "https://mds2:1", "HTTP://mds3"));
    EXPECT_TRUE(world.logHas("Attempting to open browser with MDS server url http://mds1:8080"));
}

TEST_F(SqlConnectors, ARecordThatIsGoneIsSaid) {
    const auto record = addConnector(world, "x", {});
    const EntryID id = record->ID();
    BesSqlForm form;
    ASSERT_TRUE(form.Load(session(), id));
    record->Delete();
    form.connection = {"db1", "BESMgmt", false, "", ""};
    form.changed = true;
    EXPECT_EQ(save(form), "Unable to save this BES connector");
    EXPECT_TRUE(form.saved().empty());
    world.ui.Expect("Unable to open this BES connector");
    BesSqlForm other;
    EXPECT_FALSE(other.Load(session(), id));
}

TEST_F(SqlConnectors, ASaveThatFailsIsSaid) {
    const int runs = ForEachFailure([&](const Arm& arm) {
        FailingSession failing(world);
        failing.LogOn();
        BesSqlForm form;
        enter(form);
        arm(failing.store.plan());
        const std::string answer = form.Save(failing.session, focus);
        const bool failed = failing.store.plan().Failed();
        if (!answer.empty()) {
            EXPECT_TRUE(failed);
            EXPECT_EQ(answer, "Unable to save this BES connector");
            EXPECT_TRUE(form.saved().empty());
            EXPECT_TRUE(form.changed);
        } else {
            EXPECT_NE(GetMessage(session(), form.saved()), nullptr);
        }
        for (const EntryID& id : RequireMessageIDs(*session().agentInfo, kConnectorClass, ""))
            GetMessage(session(), id)->Delete();
        return failed;
    });
    EXPECT_GT(runs, 5);
    EXPECT_TRUE(world.logHas("ConnectorExists:")); // the search for the name
    EXPECT_TRUE(world.logHas("SaveConnector:"));
}

// --- Mailbox connectors

class MbxConnectors : public BesForms {
protected:
    MbxConnectors() { addBesMailbox(world, kIntegrated); }
    void pick(const char* name) {
        const AddressEntryPtr entry = world.Entry(name);
        world.ui.ExpectAddressBook({{{entry->ID(), entry->Name()}}});
        form.Pick(session());
    }
    BesMbxForm form;
};

TEST_F(MbxConnectors, ANewOneIsReadFromItsMailboxAndSaved) {
    ASSERT_TRUE(form.Load(session(), {}));
    EXPECT_EQ(form.Title(), "BES Connector - Mailbox ");
    EXPECT_FALSE(form.CanRefresh());
    EXPECT_EQ(form.Save(session()), "You must select the BES Agent mailbox!");
    pick("Bob Baker");
    EXPECT_THAT(world.ui.toLabels(), ElementsAre("Agent"));
    EXPECT_EQ(form.Name(), "Bob Baker");
    EXPECT_TRUE(form.CanRefresh());
    EXPECT_THAT(form.Servers(), ElementsAre("BESA"));
    EXPECT_THAT(form.push.Entries(), ElementsAre("(not configured)", "mds1:8080", "mds2:8081"));
    form.push.Select(2);
    form.push.useSelected = true;
    EXPECT_EQ(form.Save(session()), "");
    const EntryID id = form.saved();
    const auto record = stored(id);
    ASSERT_TRUE(record);
    EXPECT_EQ(record->Subject(), "Bob Baker[Mbx]");
    EXPECT_EQ(key(id, "Connector.Type"), "MBX");
    EXPECT_EQ(key(id, "Connector.Mbx.Name"), "Bob Baker");
    EXPECT_EQ(key(id, "Connector.Mbx.Address"), "bob@example.test");
    EXPECT_EQ(key(id, "Connector.CxnString"), kIntegrated);
    EXPECT_EQ(key(id, "Connector.MDS.Host"), "mds2:8081");
    EXPECT_TRUE(KeyFlag(*record, "Connector.MDS.UseSelected"));
    EXPECT_EQ(GetKey(*record, "Connector.BES.Servers"), Value(Strings{"BESA;machine;srp;3.6"}));
    EXPECT_EQ(GetKey(*record, "Connector.MDS.Servers"), Value(Strings{"mds1:8080", "mds2:8081"}));
    EXPECT_EQ(world.ui.waitCursors(), 0);
}

TEST_F(MbxConnectors, WithoutPushServersNothingCanBeChosen) {
    world.database.sources.clear();
    form.Load(session(), {});
    pick("Bob Baker");
    EXPECT_THAT(form.push.Entries(), ElementsAre("(not configured)"));
    EXPECT_FALSE(form.push.CanChoose());
    EXPECT_EQ(form.Save(session()), "");
    EXPECT_TRUE(GetKey(*stored(form.saved()), "Connector.MDS.Servers").empty());
    EXPECT_TRUE(GetKey(*stored(form.saved()), "Connector.MDS.Host").empty());
}

TEST_F(MbxConnectors, AMailboxWithoutDataIsRefused) {
    form.Load(session(), {});
    pick("Bob Baker");
    world.ui.Expect("alice@example.test does not appear to have BES data");
    pick("Alice Adams");
    EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Exclamation);
    EXPECT_EQ(form.Name(), "");
    EXPECT_FALSE(form.CanRefresh());
    EXPECT_THAT(form.Servers(), IsEmpty());
    EXPECT_EQ(form.Save(session()), "You must select the BES Agent mailbox!");
}

TEST_F(MbxConnectors, AMailboxThatCannotBeReadIsRefused) {
    form.Load(session(), {});
    world.ui.Expect("There was a problem retrieving data from carol@partner.test");
    pick("Carol Contact");
    EXPECT_EQ(form.Name(), "");
    EXPECT_FALSE(form.CanRefresh());
}

TEST_F(MbxConnectors, CancelAndTheSameNameChangeNothing) {
    const auto record = addConnector(world, "Bob Baker[Mbx]",
                                     {{"Connector.Type", "MBX"},
                                      {"Connector.Mbx.Name", "Bob Baker"},
                                      {"Connector.Mbx.Address", "bob@example.test"},
                                      {"Connector.BES.Servers", Strings{"OLD;m"}},
                                      {"Connector.MDS.Servers", Strings{"a:1"}},
                                      {"Connector.MDS.Host", "a:1"}});
    ASSERT_TRUE(form.Load(session(), record->ID()));
    EXPECT_EQ(form.Title(), "BES Mailbox Connector - Bob Baker[Mbx]");
    EXPECT_THAT(form.push.Entries(), ElementsAre("a:1"));
    world.ui.ExpectAddressBook(std::nullopt);
    form.Pick(session());
    pick("Bob Baker");
    EXPECT_THAT(form.Servers(), ElementsAre("OLD"));
    EXPECT_FALSE(form.changed);
    EXPECT_EQ(form.Save(session()), "");
    EXPECT_TRUE(form.saved().empty());
    form.Refresh(session());
    EXPECT_THAT(form.Servers(), ElementsAre("BESA"));
    EXPECT_EQ(form.Save(session()), "");
    EXPECT_EQ(form.saved(), record->ID());
    EXPECT_EQ(GetKey(*stored(form.saved()), "Connector.BES.Servers"),
              Value(Strings{"BESA;machine;srp;3.6"}));
}

TEST_F(MbxConnectors, TheSameMailboxIsRefused) {
    addConnector(world, "Bob Baker[Mbx]", {});
    form.Load(session(), {});
    pick("Bob Baker");
    EXPECT_EQ(form.Save(session()), "This BES connector has already been configured!");
    EXPECT_TRUE(form.saved().empty());
}

} // namespace
