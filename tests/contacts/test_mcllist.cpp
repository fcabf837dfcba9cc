#include "contacts/basMCLList.h"

#include "contacts/basMCLContacts.h"
#include "core/Text.h"
#include "tests/contacts/MclTest.h"
#include "tests/support/FailingWorld.h"

namespace {

using namespace kr;

class MclListTest : public ::testing::Test, protected MclWorld {
protected:
    std::string load() {
        rows.clear();
        return LoadMclRows(session(), GetMCLFolder(session()),
                           {[this](ListRow row) { rows.push_back(std::move(row)); },
                            [this] { return static_cast<int>(rows.size()) == stopAfter; }});
    }
    /// The one row that there is.
    const ListRow& only() {
        EXPECT_EQ(load(), "");
        EXPECT_EQ(rows.size(), 1U);
        if (rows.empty())
            rows.emplace_back().texts.resize(5);
        return rows.front();
    }
    void answer(std::vector<std::string> columns, size_t count) {
        DbRows result;
        for (const std::string& column : columns)
            result.columns.push_back({column});
        for (size_t i = 0; i < count; ++i)
            result.rows.emplace_back(columns.size(), Value("x"));
        world.database.sources[kCxn].answers[kQuery] = result;
    }
    using Texts = std::vector<std::string>;
    static constexpr const char* kBroken = "Broken link to Alternate Contact Source";

    std::vector<ListRow> rows;
    int stopAfter = -1;
};

// --- Lists of recipients

TEST_F(MclListTest, ShowsAListOfRecipients) {
    const EntryID id = addList("Sales", {{"MCL Source", "Alice Adams;Bob Baker"},
                                         {"MCL Source Count", int32_t{2}},
                                         {"MCL Target", "Everybody"},
                                         {"MCL Target Count", int32_t{40}}});
    const ListRow& row = only();
    EXPECT_EQ(row.key, id.text());
    EXPECT_EQ(row.tag, "mcl");
    EXPECT_EQ(row.icon, "imgDL");
    EXPECT_EQ(row.texts, (Texts{"Sales", "Alice Adams;Bob Baker", "2", "Everybody", "40"}));
    EXPECT_FALSE(row.ghosted);
    EXPECT_FALSE(row.red);
    EXPECT_TRUE(world.logHas(":LvLoadMCL:message count:1\n"));
}

TEST_F(MclListTest, CutsLongTextsAfterCharacters) {
    std::string names;
    for (int i = 0; i < 100; ++i)
        names += "é";
    addList("Long", {{"MCL Source", names}, {"MCL Target", names}});
    EXPECT_EQ(only().texts[1], names.substr(0, 150));
    EXPECT_EQ(rows[0].texts[3], names.substr(0, 150));
    const std::string exact(75, 'x');
    setKey(EntryID(rows[0].key), "MCL Source", exact);
    EXPECT_EQ(only().texts[1], exact);
}

TEST_F(MclListTest, AnInactiveListIsGhosted) {
    addList("Off", {{"MCL Source", "Alice"}, {"EPS.Inactive", true}});
    EXPECT_TRUE(only().ghosted);
    EXPECT_FALSE(only().red);
}

TEST_F(MclListTest, AListWithSourceTextAndALeftOverLinkIsOneOfRecipients) {
    const EntryID id = addList("Both", {{"MCL Source", "Alice"}, {"ACS.Guid", "GONE"}});
    EXPECT_EQ(only().tag, "mcl");
    EXPECT_TRUE(key(id, "EPS.Inactive").empty());
    EXPECT_EQ(key(id, "ACS.Guid"), Value("GONE"));
}

TEST_F(MclListTest, AListWithNothingAtAllStaysActive) {
    const EntryID id = addList("Bare");
    EXPECT_EQ(only().tag, "mcl");
    EXPECT_EQ(rows[0].texts, (Texts{"Bare", "", "0", "", "0"}));
    EXPECT_TRUE(key(id, "EPS.Inactive").empty());
}

TEST_F(MclListTest, ShowsOnlyListsAndStopsWhenLeft) {
    add(*lists(), "IPM.Post", "Other", {});
    for (const char* name : {"One", "Two", "Three"})
        addList(name);
    load();
    EXPECT_EQ(rows.size(), 3U);
    stopAfter = 2;
    load();
    EXPECT_EQ(rows.size(), 2U);
}

// --- Lists on a folder

TEST_F(MclListTest, ShowsAListOnAFolder) {
    const RDOFolderPtr shared = publicFolder("Shared");
    addContact(*shared, "One", "one@example.test");
    addContact(*shared, "Second address", "two@example.test", "0x8093");
    addContact(*shared, "Third address", "three@example.test", "0x80A3");
    addContact(*shared, "Blank", "  ");
    addContact(*shared, "None", "");
    addFolderSource("Source", {{"ACS.Guid", "G1"}});
    const EntryID id = addList("Folder", {{"ACS.Guid", "G1"}, {"MCL Target", "Bob"}});
    EXPECT_EQ(only().tag, "mclacf");
    EXPECT_EQ(rows[0].icon, "imgContact");
    EXPECT_EQ(rows[0].texts,
              (Texts{"Folder", "\\\\Public Folders\\All Public Folders\\Shared", "3", "Bob", "0"}));
    setKey(id, "MCL Source No SMTP", true);
    EXPECT_EQ(only().texts[2], "5");
}

TEST_F(MclListTest, AFolderThatCantBeOpenedIsRed) {
    const RDOFolderPtr gone = publicFolder("Shared")->Folders()->Add("Gone", "IPF.Contact");
    addSource("Source", {{"ACF EntryID", gone->ID().text()}, {"ACS.Guid", "G1"}});
    const EntryID id = addList("Folder", {{"ACS.Guid", "G1"}});
    gone->Delete();
    EXPECT_EQ(only().tag, "mclacf");
    EXPECT_TRUE(rows[0].red);
    EXPECT_FALSE(rows[0].ghosted);
    EXPECT_EQ(rows[0].texts[1], "Unable to open folder");
    EXPECT_EQ(rows[0].texts[2], "?");
    EXPECT_TRUE(key(id, "EPS.Inactive").empty());
}

TEST_F(MclListTest, AnOldFolderListGetsTheGuidOnItsFirstView) {
    const EntryID source = addFolderSource("Source");
    const std::string folder = publicFolder("Shared")->ID().text();
    const EntryID id = addList("Old", {{"MCL Source EntryID", folder}});
    EXPECT_EQ(only().tag, "mclacf");
    const std::string guid = key(source, "ACS.Guid").text();
    EXPECT_EQ(guid.size(), 36U);
    EXPECT_EQ(key(id, "ACS.Guid"), Value(guid));
    EXPECT_EQ(key(id, "MCL Source EntryID"), Value(folder));
    EXPECT_FALSE(rows[0].red);
    EXPECT_TRUE(key(id, "EPS.Inactive").empty());
    only();
    EXPECT_EQ(key(source, "ACS.Guid"), Value(guid));
}

TEST_F(MclListTest, OtherOldLinksGetTheGuidAsWell) {
    const EntryID folder = addFolderSource("Folder", {{"ACS.Guid", "G1"}});
    const EntryID data = addDataSource("Data");
    const EntryID a = addList("A", {{"MCL ACF.MsgID", folder.text()}});
    const EntryID b = addList("B", {{"MCL ACDSID", data.text()}});
    const EntryID c = addList("C", {{"ACS.Guid", "STALE"}, {"MCL ACF.MsgID", folder.text()}});
    answer({"Email1"}, 1);
    load();
    EXPECT_EQ(key(a, "ACS.Guid"), Value("G1"));
    EXPECT_EQ(key(b, "ACS.Guid"), key(data, "ACS.Guid"));
    EXPECT_EQ(key(c, "ACS.Guid"), Value("G1"));
    EXPECT_EQ(rows[1].tag, "mclacds");
}

// --- Lists on a data source

TEST_F(MclListTest, ShowsAListOnADataSource) {
    answer({"Email1", "DisplayName"}, 7);
    addDataSource("Source", {{"ACS.Guid", "G1"}});
    const EntryID id = addList("Data", {{"ACS.Guid", "G1"}});
    EXPECT_EQ(only().tag, "mclacds");
    EXPECT_EQ(rows[0].icon, "imgData");
    EXPECT_EQ(rows[0].texts[1], kQuery);
    EXPECT_EQ(rows[0].texts[2], "7");
    setKey(id, "MCL Source No SMTP", true);
    EXPECT_EQ(only().texts[2], "No UniqueID");
    answer({"Email1", "uniqueid"}, 4);
    EXPECT_EQ(only().texts[2], "4");
}

TEST_F(MclListTest, ADataSourceWithoutAQueryIsNotAsked) {
    const EntryID source = addSource("Source", {{"ACF Cxn String", kCxn}, {"ACS.Guid", "G1"}});
    addList("Data", {{"ACS.Guid", "G1"}});
    EXPECT_EQ(only().tag, "mclacds");
    EXPECT_EQ(rows[0].texts[1], "Missing query");
    EXPECT_EQ(rows[0].texts[2], "");
    EXPECT_TRUE(world.database.opened.empty());
    setKey(source, "ACF Query", std::string(90, 'q'));
    EXPECT_EQ(only().texts[1], std::string(75, 'q'));
    EXPECT_EQ(rows[0].texts[2], "0") << "a database that can't be reached counts none";
}

TEST_F(MclListTest, ASourceWithAFolderIsNoDataSource) {
    addFolderSource("Source", {{"ACS.Guid", "G1"}, {"ACF Cxn String", kCxn}});
    addList("Folder", {{"ACS.Guid", "G1"}, {"MCL ACDSID", "AB"}});
    EXPECT_EQ(only().tag, "mclacf");
}

// --- Lost sources

TEST_F(MclListTest, AListThatLostItsSourceTurnsItselfOff) {
    const EntryID source = addFolderSource("Source", {{"ACS.Guid", "G1"}});
    const EntryID id = addList("Lost", {{"ACS.Guid", "G1"}, {"MCL Target", "Bob"}});
    only();
    EXPECT_FALSE(rows[0].ghosted);
    world.OtherSession()->GetMessageFromID(source, {})->Delete();
    EXPECT_EQ(only().tag, "mclacf");
    EXPECT_TRUE(rows[0].ghosted);
    EXPECT_TRUE(rows[0].red);
    EXPECT_EQ(rows[0].texts, (Texts{"Lost", kBroken, "?", "Bob", "0"}));
    EXPECT_EQ(key(id, "EPS.Inactive"), Value(true));
    const std::string line = "LvLoadMCL: deactivated Lost because source ACF item could not be "
                             "found\n";
    EXPECT_TRUE(world.logHas(line));
    const size_t lines = Split(world.log(), line).size();
    only();
    EXPECT_TRUE(rows[0].red);
    EXPECT_EQ(Split(world.log(), line).size(), lines) << "it is off already";
}

TEST_F(MclListTest, ALostDataSourceIsToldByItsOwnId) {
    const EntryID source = addDataSource("Source", {{"ACS.Guid", "G1"}});
    const EntryID id = addList("Lost", {{"ACS.Guid", "G1"}, {"MCL ACDSID", source.text()}});
    open(source)->Delete();
    EXPECT_EQ(only().tag, "mclacds");
    EXPECT_EQ(rows[0].texts[1], kBroken);
    EXPECT_EQ(rows[0].texts[2], "?");
    EXPECT_EQ(key(id, "EPS.Inactive"), Value(true));
}

// --- Quick Load

TEST_F(MclListTest, UnderQuickLoadTheNamesAloneAreShown) {
    session().quickLoad = true;
    ASSERT_EQ(MclColumns(true).size(), 1U);
    EXPECT_EQ(MclColumns(true)[0].title, "Name");
    addDataSource("Data Source", {{"ACS.Guid", "G1"}});
    addFolderSource("Folder Source", {{"ACS.Guid", "G2"}});
    addList("A", {{"MCL Source", "Alice"}});
    addList("B", {{"ACS.Guid", "G1"}});
    addList("C", {{"ACS.Guid", "G2"}});
    const EntryID lost = addList("D", {{"ACS.Guid", "G3"}});
    EXPECT_EQ(load(), "");
    ASSERT_EQ(rows.size(), 4U);
    for (const ListRow& row : rows)
        EXPECT_EQ(row.texts.size(), 1U);
    EXPECT_EQ(rows[1].tag, "mclacds");
    EXPECT_EQ(rows[2].tag, "mclacf");
    EXPECT_TRUE(world.database.opened.empty());
    EXPECT_TRUE(rows[3].red);
    EXPECT_TRUE(rows[3].ghosted);
    EXPECT_EQ(key(lost, "EPS.Inactive"), Value(true));
}

TEST_F(MclListTest, HasItsColumns) {
    Texts titles, keys;
    for (const ListColumn& column : MclColumns(false)) {
        titles.push_back(column.title);
        keys.push_back(column.key);
    }
    EXPECT_EQ(titles, (Texts{"Name", "Source", "Est. Sources", "Target", "Est. Targets"}));
    EXPECT_EQ(keys[2], "intsource");
    EXPECT_EQ(keys[4], "inttarget");
}

// --- Failures

TEST_F(MclListTest, WithoutAFolderThereIsAReason) {
    std::vector<ListRow> none;
    EXPECT_EQ(
        LoadMclRows(session(), {},
                    {[&](ListRow row) { none.push_back(std::move(row)); }, [] { return false; }}),
        "Unable to locate Mandatory Contacts folder");
    EXPECT_TRUE(none.empty());
    EXPECT_TRUE(world.logHas(":LvLoadMCL:no MCLPath\n"));
    EXPECT_TRUE(world.logHas(":LvLoadMCL:no folMCL\n"));
}

/// What a view of the lists does while the store fails at any of its calls.
TEST(MclListFailures, NoListIsSwitchedOffForAFailure) {
    int rowsOfFailures = 0;
    MclWorld mcl;
    mcl.addFolderSource("Folder", {{"ACS.Guid", "G1"}});
    const EntryID data = mcl.addDataSource("Data", {{"ACS.Guid", "G2"}});
    const EntryID ids[] = {mcl.addList("A", {{"MCL Source", "Alice"}}),
                           mcl.addList("B", {{"ACS.Guid", "G1"}}),
                           mcl.addList("C", {{"MCL ACDSID", data.text()}})};
    const int runs = ForEachFailure([&](const Arm& arm) {
        mcl.setKey(ids[2], "ACS.Guid", Value());
        FailingSession failing(mcl.world);
        failing.LogOn();
        const MclFolder folder = GetMCLFolder(failing.session);
        std::vector<ListRow> rows;
        arm(failing.store.plan());
        const std::string reason = LoadMclRows(
            failing.session, folder,
            {[&](ListRow row) { rows.push_back(std::move(row)); }, [] { return false; }});
        const bool failed = failing.store.plan().Failed();
        EXPECT_EQ(rows.size(), reason.empty() ? 3U : 0U) << reason;
        rowsOfFailures += failed && reason.empty();
        for (const EntryID& id : ids)
            EXPECT_TRUE(mcl.key(id, "EPS.Inactive").empty());
        for (const ListRow& row : rows) {
            EXPECT_FALSE(row.texts[0].empty());
            EXPECT_NE(row.texts[1], "Broken link to Alternate Contact Source");
        }
        return failed;
    });
    EXPECT_GT(runs, 40);
    EXPECT_GT(rowsOfFailures, 20);
}

} // namespace
