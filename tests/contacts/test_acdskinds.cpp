#include "contacts/AcdsKinds.h"
#include "contacts/ContactKinds.h"
#include "contacts/basACDSSource.h"
#include "core/basStore.h"
#include "tests/console/ConsoleTest.h"

namespace {

using namespace kr;

class AcdsKindsTest : public ConsoleTest {
protected:
    AcdsKindsTest() {
        RegisterAcdsKinds(*console, {});
        console->LoadTreeRoot();
    }
    void addNode(const std::string& name, const std::string& cxn, const std::string& query) {
        const EntryID id = SaveAcds(*world.session, {}, {name, cxn, query, ""});
        ASSERT_FALSE(id.empty());
        ASSERT_NE(console->tree().Add("acfroot", id.text(), "acds", name, "imgData"), nullptr);
        key = id.text();
    }
    DbRows people(int count) {
        DbRows rows{{"DisplayName", "Email1"}, {}};
        for (int i = 0; i < count; ++i)
            rows.rows.push_back({"Name " + std::to_string(10'000 + i), "a@x"});
        return rows;
    }
    std::string key;
};

TEST_F(AcdsKindsTest, ANodeShowsItsRecords) {
    world.database.sources["cxn"].answers["people"] = {{"Email1", "DisplayName", "BusFax"},
                                                       {{"z@x", "Zoe", "5"}, {"a@x", "Adam", "6"}}};
    addNode("Partners", "cxn", "people");
    click(key);
    ASSERT_EQ(console->list().Count(), 2u);
    EXPECT_EQ(console->list().At(0).texts, (Names{"Adam", "a@x", "", "", "", "", "", "", "", "6"}));
    EXPECT_EQ(console->list().At(1).tag, "adscntct");
    Names titles;
    for (const ListColumn& column : console->list().Columns())
        titles.push_back(column.title);
    EXPECT_EQ(titles, (Names{"Name", "E-mail 1", "E-mail 2", "E-mail 3", "UniqueID", "Last Name",
                             "First Name", "Mobile Phone", "Office Phone", "Fax"}));
    EXPECT_EQ(view.status, "2 records");
}

TEST_F(AcdsKindsTest, QuickLoadSaysHowToSeeAll) {
    world.database.sources["cxn"].answers["many"] = people(1234);
    addNode("Partners", "cxn", "many");
    world.session->quickLoad = true;
    click(key);
    EXPECT_EQ(console->list().Count(), 1000u);
    EXPECT_EQ(view.status,
              "First 1000 of 1234 records - disable View > Quick Load to see full list");
    world.session->quickLoad = false;
    click("acfroot");
    click(key);
    EXPECT_EQ(console->list().Count(), 1234u);
    EXPECT_EQ(view.status, "1234 records");
}

TEST_F(AcdsKindsTest, SaysWhatCannotBeOpened) {
    addNode("Partners", "elsewhere", "people");
    click(key);
    EXPECT_EQ(view.status, "Unable to open connection for Partners");
    EXPECT_EQ(console->list().Count(), 0u);
    world.database.sources["cxn"];
    addNode("Friends", "cxn", "people");
    click(key);
    EXPECT_EQ(view.status, "Unable to open query for Friends");
    EXPECT_TRUE(world.logHas("Unable to open query for Friends"));
}

TEST_F(AcdsKindsTest, ARecordThatHasGoneSaysSo) {
    addNode("Partners", "cxn", "people");
    GetMessage(*world.session, EntryID(key))->Delete();
    click(key);
    EXPECT_EQ(view.status, "Unable to open connection for Partners");
}

TEST_F(AcdsKindsTest, LoadingStopsWhenAnotherNodeIsClicked) {
    world.database.sources["cxn"].answers["many"] = people(5000);
    addNode("Partners", "cxn", "many");
    world.session->quickLoad = true;
    bool clicked = false;
    world.ui.onDoEvents = [&] {
        if (!std::exchange(clicked, true))
            click("acfroot");
    };
    click(key);
    EXPECT_TRUE(clicked);
    EXPECT_EQ(console->CurrentTag(), "acfroot");
    EXPECT_EQ(console->list().Find("record999"), ListModel::npos);
    EXPECT_EQ(view.status.find("First 1000"), std::string::npos);
}

} // namespace
