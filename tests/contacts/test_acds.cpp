#include <gtest/gtest.h>

#include "contacts/basACDS.h"
#include "contacts/basACDSSource.h"
#include "core/DatabaseWait.h"
#include "tests/support/FailingWorld.h"
#include "tests/support/SilentDatabase.h"
#include "tests/support/World.h"

namespace {

using namespace kr;

constexpr const char* kCxn = "Provider=SQLOLEDB; Data Source=SQL01; Password=secret; Catalog=x;";
constexpr const char* kMasked =
    "Provider=SQLOLEDB; Data Source=SQL01; Password=********; Catalog=x;";

TEST(AcdsTextTest, MapsColumnsToFields) {
    struct Case {
        const char* column;
        const char* contact;
        const char* agent;
    };
    const Case cases[] = {
        {"FirstName", "FirstName", "FirstName"},
        {"EMAIL1", "Email1", "SMTP"},
        {"Email2", "Email2", "Email2"},
        {"busphone", "BusinessPhone", "EPS Business Phone"},
        {"BusinessPhone", "BusinessPhone", "EPS Business Phone"},
        {"BusPhone2", "BusinessPhone2", "BusinessPhone2"},
        {"businessfax", "BusinessFax", "EPS Business Fax"},
        {"HomePhone", "HomePhone", "EPS Home Phone"},
        {"MobileTelephone", "MobilePhone", "MobilePhone"},
        {"Pager", "Pager", "EPS Pager"},
        {"jobtitle", "Title", "Title"},
        {"BusStreet", "BusinessStreet", "StreetAddress"},
        {"buscity", "BusinessCity", "City"},
        {"BusStateOrProvince", "BusinessState", "State"},
        {"busstate", "BusinessState", "State"},
        {"buspostalcode", "BusinessZip", "Zip"},
        {"buszip", "BusinessZip", "Zip"},
        {"businesscountry", "BusinessCountry", "Country"},
        {"homestateorprovince", "HomeState", "HomeState"},
        {"homepostalcode", "HomeZip", "HomeZip"},
        {"body", "Notes", "Notes"},
        {"Pin", "UserField1", "PIN"},
        {"UserField4", "UserField4", "UserField4"},
        {"private", "Private", ""},
        {"Categories", "Categories", ""},
        {"spouse", "Spouse", "Spouse"},
        {"UniqueID", "", ""},
        {"Email4", "", ""},
        {" email1", "", ""},
        {"busphone businessphone", "", ""},
        {"", "", ""},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(MapFieldName(c.column, true), c.contact) << c.column;
        EXPECT_EQ(MapFieldName(c.column, false), c.agent) << c.column;
    }
}

TEST(AcdsTextTest, MasksThePassword) {
    EXPECT_EQ(MaskPassword("a=1;Password=secret;b=2"), "a=1;Password=********;b=2");
    EXPECT_EQ(MaskPassword("a=1;PASSWORD = se cret ;b=2;"), "a=1;PASSWORD =********;b=2;");
    EXPECT_EQ(MaskPassword("Jet OLEDB:Database Password=x;"),
              "Jet OLEDB:Database Password=********;");
    EXPECT_EQ(MaskPassword("Data Source=x;User ID=y;"), "Data Source=x;User ID=y;");
    EXPECT_EQ(MaskPassword(""), "");
    EXPECT_EQ(MaskPassword("a=1;Password="), "");
    EXPECT_EQ(MaskPassword("a=1;Password=secret"), "");
    EXPECT_EQ(MaskPassword("Password;Password=secret;b"), "Password;Password=********;b");
    EXPECT_EQ(MaskPassword("Persist Password;x"), "********;x");
}

class AcdsTest : public ::testing::Test {
protected:
    AcdsTest() {
        world.LogOnConfigured();
        auto& answers = world.database.sources[kCxn].answers;
        answers["people"] = {{"DisplayName", "Email1", "UniqueID", "BusPhone", "Shoe", "Since"},
                             {{"Zoe", "zoe@x", 7, "1", Value(), Value()},
                              {Value(), "nobody@x", 8, "2", 44, Value()},
                              {"adam", "adam@x", 10, "3", 9, Value()}}};
        answers["nothing"] = {{"email1"}, {}};
        answers["no rowset"] = {};
    }
    QueryToShow query(const std::string& text) { return {kCxn, text, "Caption", false, "", ""}; }

    World world;
};

TEST_F(AcdsTest, TestsAConnection) {
    world.ui.Expect("Successfully connected using \n   Provider=SQLOLEDB\n   Data Source=SQL01\n"
                    "   Password=********\n   Catalog=x\n  ");
    EXPECT_TRUE(TestConnection(*world.session, kCxn));
    EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Exclamation);
    EXPECT_TRUE(world.logHas("Successfully tested connection string: " + std::string(kMasked)));
    world.ui.Expect("Failed to connect using \n   Provider=x\n  \n&H80004005 The server was not "
                    "found.");
    EXPECT_FALSE(TestConnection(*world.session, "Provider=x;"));
    EXPECT_TRUE(world.logHas("Failure for connection string: Provider=x;; error: &H80004005 The "
                             "server was not found."));
    EXPECT_FALSE(world.logHas("secret"));
    EXPECT_EQ(world.ui.waitCursors(), 0);
}

TEST_F(AcdsTest, CountsTheRowsOfASource) {
    bool unique = false;
    EXPECT_EQ(GetAcdsCount(*world.session, kCxn, "people", unique), 3);
    EXPECT_TRUE(unique);
    EXPECT_EQ(world.database.limits.back().querySeconds, 10);
    EXPECT_EQ(GetAcdsCount(*world.session, kCxn, "nothing", unique), 0);
    EXPECT_FALSE(unique);
    unique = true;
    EXPECT_EQ(GetAcdsCount(*world.session, kCxn, "no such query", unique), 0);
    EXPECT_FALSE(unique);
    EXPECT_EQ(GetAcdsCount(*world.session, "elsewhere", "people", unique), 0);
}

TEST_F(AcdsTest, ShowsAResultUnderTheMappedNames) {
    const auto grid = RunQuery(*world.session, query("people"));
    ASSERT_TRUE(grid);
    std::string titles, keys;
    for (const ListColumn& column : grid->columns) {
        titles += column.title + "|";
        keys += column.key.substr(0, 3) + "|";
    }
    EXPECT_EQ(titles, "DisplayName|SMTP|UniqueID|EPS Business Phone|Shoe|Since|");
    EXPECT_EQ(keys, "txt|txt|int|txt|int|txt|");
    EXPECT_EQ(grid->rows.at(1).texts, (Strings{"", "nobody@x", "8", "2", "44", ""}));
    EXPECT_EQ(grid->status, "Query returned 3 records");
    QueryToShow contact = query("people");
    contact.contactForm = true;
    contact.parameter = "@TargetSMTP";
    contact.value = "a@x";
    const auto other = RunQuery(*world.session, contact);
    ASSERT_TRUE(other);
    EXPECT_EQ(other->columns.at(1).title, "Email1");
    EXPECT_EQ(other->columns.at(3).title, "BusinessPhone");
    EXPECT_EQ(other->status, "Query returned 3 records using @TargetSMTP = a@x");
    EXPECT_EQ(RunQuery(*world.session, query("nothing"))->status, "Query returned 0 records");
}

TEST_F(AcdsTest, SaysWhyThereIsNoResult) {
    world.ui.Expect("Unable to open connection \nThe server was not found.");
    EXPECT_FALSE(RunQuery(*world.session, {"elsewhere", "people", "", false, "", ""}));
    EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Stop);
    world.ui.Expect("No results were returned from \nwrong\nThere is no such table.");
    EXPECT_FALSE(RunQuery(*world.session, query("wrong")));
    // a statement that gives no rows at all
    world.ui.Expect("No results were returned from \nno rowset\n");
    EXPECT_FALSE(RunQuery(*world.session, query("no rowset")));
    // nothing to do is no failure
    EXPECT_FALSE(RunQuery(*world.session, query("")));
    EXPECT_FALSE(RunQuery(*world.session, {"", "people", "", false, "", ""}));
    EXPECT_EQ(world.database.opened.size(), 3u);
}

TEST_F(AcdsTest, RecordsAreOrderedByName) {
    const AcdsRecords records = LoadAcdsRecords(*world.session, "Partners", kCxn, "people");
    ASSERT_EQ(records.rows.size(), 3u);
    EXPECT_EQ(records.total, 3);
    // a null comes first, and has no name to show
    EXPECT_EQ(records.rows[0].texts,
              (Strings{"Record #1", "nobody@x", "", "", "8", "", "", "", "2", ""}));
    EXPECT_EQ(records.rows[1].texts[0], "adam");
    EXPECT_EQ(records.rows[2].texts[0], "Zoe");
    EXPECT_EQ(records.rows[2].key, "record3");
    EXPECT_EQ(records.rows[2].tag, "adscntct");
    EXPECT_EQ(AcdsColumns().size(), records.rows[2].texts.size());
}

TEST_F(AcdsTest, RecordsWithoutANameKeepTheirOrder) {
    auto& answers = world.database.sources[kCxn].answers;
    answers["bare"] = {{"email1", "BusinessPhone"}, {{"b@x", "1"}, {"a@x", "2"}}};
    const AcdsRecords records = LoadAcdsRecords(*world.session, "Partners", kCxn, "bare");
    ASSERT_EQ(records.rows.size(), 2u);
    EXPECT_EQ(records.rows[0].texts[0], "Record #1");
    EXPECT_EQ(records.rows[0].texts[1], "b@x");
    EXPECT_EQ(records.rows[1].texts[8], ""); // this view takes BusPhone alone
    EXPECT_EQ(LoadAcdsRecords(*world.session, "P", kCxn, "nothing").rows.size(), 0u);
}

TEST_F(AcdsTest, QuickLoadStopsAtAThousand) {
    DbRows many{{"DisplayName"}, {}};
    for (int i = 0; i < 1001; ++i)
        many.rows.push_back({"Name " + std::to_string(1000 + i)});
    world.database.sources[kCxn].answers["many"] = many;
    world.session->quickLoad = true;
    const AcdsRecords first = LoadAcdsRecords(*world.session, "P", kCxn, "many");
    EXPECT_EQ(first.rows.size(), 1000u);
    EXPECT_EQ(first.total, 1001);
    EXPECT_EQ(first.rows.back().texts[0], "Name 1999");
    world.session->quickLoad = false;
    EXPECT_EQ(LoadAcdsRecords(*world.session, "P", kCxn, "many").rows.size(), 1001u);
}

TEST_F(AcdsTest, RecordsThatCannotBeReadSayWhy) {
    EXPECT_EQ(LoadAcdsRecords(*world.session, "P", "elsewhere", "people").failure,
              "Unable to open connection for P");
    EXPECT_EQ(LoadAcdsRecords(*world.session, "P", kCxn, "wrong").failure,
              "Unable to open query for P");
    EXPECT_TRUE(world.logHas("Unable to open query for P: &H80040E37 There is no such table."));
}

TEST_F(AcdsTest, AWaitCanBeCancelledWhileTheWindowsLive) {
    SilentDatabase silent(*world.events);
    Platform platform{*world.store,   *world.registry, world.ui,    *world.events,
                      world.services, world.directory, world.shell, silent,
                      world.http,     world.secrets,   world.clock};
    AgentSession session(platform, world.logPath());
    world.ui.CancelProgressAfter(5);
    int turns = 0;
    world.ui.onDoEvents = [&] { ++turns; };
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(TestConnection(session, kCxn)); // no box: whoever cancels knows
    EXPECT_GE(turns, 3);
    EXPECT_FALSE(RunQuery(session, query("people")));
    bool unique = true;
    EXPECT_EQ(GetAcdsCount(session, kCxn, "people", unique), 0);
    EXPECT_EQ(LoadAcdsRecords(session, "P", kCxn, "people").failure,
              "Unable to open connection for P");
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    EXPECT_TRUE(world.logHas("Operation was canceled."));
    EXPECT_TRUE(world.ui.boxes().empty());
}

TEST_F(AcdsTest, ASourceIsSavedWholeOrNotAtAll) {
    const AcdsSource before{"Before", kCxn, "people", "text"}, after{"After", "x=1;", "other", ""};
    const int runs = ForEachFailure([&](const Arm& arm) {
        World other;
        other.LogOnConfigured();
        const EntryID id = SaveAcds(*other.session, {}, before);
        FailingSession failing(other);
        failing.LogOn();
        arm(failing.store.plan());
        const EntryID saved = SaveAcds(failing.session, id, after);
        const bool failed = failing.store.plan().Failed();
        const auto now = ReadAcds(*other.session, id);
        if (!now)
            return failed;
        EXPECT_EQ(saved.empty(), now->name == "Before");
        EXPECT_EQ(now->name == "Before", now->query == "people");
        EXPECT_EQ(saved.empty(), failing.ui.shown.size() == 1);
        const std::string box = failing.ui.shown.empty() ? "" : failing.ui.shown[0];
        EXPECT_EQ(saved.empty(), box.starts_with("Unable to save this data source!\n"));
        return failed;
    });
    EXPECT_GT(runs, 5);
}

} // namespace
