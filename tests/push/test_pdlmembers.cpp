#include <gmock/gmock.h>

#include "push/PdlForm.h"
#include "push/PdlMembers.h"
#include "tests/push/PdlWorld.h"
#include "tests/support/FailingWorld.h"

#include <gtest/gtest.h>

namespace {

using namespace kr;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr const char* kRemote = "Unable to display members for this SMS-enabled list when remotely "
                                "connected to the service";

class PdlMembersTest : public ::testing::Test {
protected:
    AgentSession& session() { return *world.session; }
    /// The rows of a list, each joined by "|".
    std::vector<std::string> rowsOf(const RDOMessagePtr& list) {
        CMsgPDL pdl(list);
        EXPECT_TRUE(pdl.Load(session()));
        std::vector<std::string> rows;
        reason = LoadPdlRows(session(), pdl,
                             {[&](const ListRow& row) {
                                  EXPECT_EQ(row.tag, "pdl");
                                  EXPECT_EQ(row.icon, "imgUser");
                                  rows.push_back(Join(row.texts, "|"));
                                  keys.push_back(row.key);
                              },
                              [] { return false; }});
        return rows;
    }
    static std::string Join(const std::vector<std::string>& texts, const char* separator) {
        std::string all;
        for (const std::string& text : texts)
            all += (all.empty() ? "" : separator) + text;
        return all;
    }
    std::vector<std::string> titles(std::string_view protocols) {
        CMsgPDL pdl(nullptr);
        pdl.PIN = protocols.find('P') != std::string_view::npos;
        pdl.SMS = protocols.find('S') != std::string_view::npos;
        pdl.Email = protocols.find('E') != std::string_view::npos;
        std::vector<std::string> all;
        for (const ListColumn& column : PdlColumns(pdl))
            all.push_back(column.title);
        filter = BuildPDLFilter("00AB", pdl);
        return all;
    }
    /// People of a table as the data source gives them.
    void answer(std::vector<std::vector<Value>> rows) {
        world.database.sources[PdlWorld::kCxn].answers[PdlWorld::kQuery] = {
            {"DisplayName", "Email1", "Email2", "UniqueID", "MobilePhone"}, std::move(rows)};
    }

    PdlWorld world;
    std::string reason;
    std::string filter;
    std::vector<std::string> keys;
};

TEST_F(PdlMembersTest, TheFilterNamesTheListForEachProtocol) {
    EXPECT_THAT(titles("P"), ElementsAre("Name", "PIN"));
    EXPECT_EQ(filter, "([MCLID] Like '*{00AB}*' AND [PIN]<>'') ");
    EXPECT_THAT(titles("S"), ElementsAre("Name", "Mobile"));
    EXPECT_EQ(filter, "([MCLID] Like '*{00AB}*' AND [MobilePhone]<>'') ");
    EXPECT_THAT(titles("E"), ElementsAre("Name", "E-mail"));
    EXPECT_EQ(filter, "([MCLID] Like '*{00AB}*' AND [SMTP] <> '') ");
    EXPECT_THAT(titles("PSE"), ElementsAre("Name", "PIN", "Mobile", "E-mail"));
    EXPECT_EQ(filter, "([MCLID] Like '*{00AB}*' AND [PIN]<>'') OR "
                      "([MCLID] Like '*{00AB}*' AND [MobilePhone]<>'') OR "
                      "([MCLID] Like '*{00AB}*' AND [SMTP] <> '') ");
    EXPECT_THAT(titles(""), ElementsAre("Name"));
    EXPECT_EQ(filter, "");
}

TEST_F(PdlMembersTest, MembersAreThoseWhomAProtocolReaches) {
    EXPECT_THAT(rowsOf(world.AddPdl("P", "P")), ElementsAre("Alice Adams|PINALICE"));
    EXPECT_EQ(reason, "");
    EXPECT_THAT(rowsOf(world.AddPdl("S", "S")), ElementsAre("Dora Dunn|555-0104"));
    EXPECT_THAT(rowsOf(world.AddPdl("PS", "PS")),
                ElementsAre("Alice Adams|PINALICE|", "Dora Dunn||555-0104"));
    keys.clear();
    EXPECT_THAT(rowsOf(world.AddPdl("PSE", "PSE")),
                ElementsAre("Alice Adams|PINALICE||alice@example.test",
                            "Bob Baker|||bob@example.test",
                            "Dora Dunn||555-0104|dora@example.test"));
    EXPECT_THAT(keys, ElementsAre("member1", "member2", "member3"));
}

TEST_F(PdlMembersTest, ListsAreExpandedToPeople) {
    EXPECT_THAT(rowsOf(world.AddList(
                    "A", {{"MCL Source", "Sales"}, {"MCL Source Email", "sales@example.test"}})),
                ElementsAre("Alice Adams|PINALICE", "Séan O'Brien|PINOBRIEN"));
}

TEST_F(PdlMembersTest, WithoutAProtocolThereIsNothingToShow) {
    EXPECT_THAT(rowsOf(world.AddPdl("A", "")), IsEmpty());
    EXPECT_EQ(reason, "No messaging protocol is enabled for this PDL");
}

TEST_F(PdlMembersTest, AListThatNoContactKnowsHasNoData) {
    EXPECT_THAT(rowsOf(world.AddList("Empty")), IsEmpty());
    EXPECT_EQ(reason, "");
    EXPECT_TRUE(
        world.logHas("LoadPDLMembers:failed to find MCLID for Empty; branching to NoData view\n"));
}

TEST_F(PdlMembersTest, NamesWithQuotesFindTheirList) {
    for (const char* name : {"O'Neill & Company", "'Quoted'", "It''s", "*", "[x]", " "})
        EXPECT_EQ(rowsOf(world.AddPdl(name, "P")).size(), 1U) << name;
    EXPECT_FALSE(world.logHas("NoData"));
    // of a name of quotes alone nothing is left to be found by, and nothing is left of the
    // contact's
    EXPECT_EQ(rowsOf(world.AddPdl("''", "P")).size(), 1U);
}

TEST_F(PdlMembersTest, AHandheldWithoutAPinIsNone) {
    world.AddHandheld("None", "bob@example.test", "Bob", "BES1");
    EXPECT_THAT(rowsOf(world.AddPdl("P", "P")), ElementsAre("Alice Adams|PINALICE"));
}

TEST_F(PdlMembersTest, AnAddressOfTheAgentsIsNoRealOne) {
    world.AddFolderSource("G1");
    world.AddContact("Depot", "42@NoSMTP.local", "");
    world.AddContact("Office", "office@partner.test", "555-1");
    EXPECT_THAT(
        rowsOf(world.AddList(
            "A", {{"ACS.Guid", "G1"}, {"PDL.PIN", false}, {"PDL.SMS", true}, {"PDL.Email", true}})),
        ElementsAre("Depot||", "Office|555-1|office@partner.test"));
}

TEST_F(PdlMembersTest, AFolderGivesItsContacts) {
    world.AddFolderSource("G1");
    world.AddContact("Alice", " alice@example.test ", "555-7");
    world.AddContact("Van", "", "555-8");
    const PdlWorld::Keys keysOfList = {{"ACS.Guid", "G1"}, {"PDL.PIN", true}, {"PDL.SMS", true}};
    EXPECT_THAT(rowsOf(world.AddList("A", keysOfList)), ElementsAre("Alice|PINALICE|555-7"));
    PdlWorld::Keys all = keysOfList;
    all.emplace_back("MCL Source No SMTP", true);
    EXPECT_THAT(rowsOf(world.AddList("B", all)), ElementsAre("Alice|PINALICE|555-7", "Van||555-8"));
    const RDOMessagePtr list = world.AddList("C", keysOfList);
    EXPECT_EQ(PdlSourceOf(session(), *list), PdlSource::Folder);
}

TEST_F(PdlMembersTest, AnOldListNamesItsFolderItself) {
    world.AddContact("Alice", "alice@example.test", "");
    const RDOMessagePtr list =
        world.AddList("A", {{"MCL Source EntryID", world.Shared()->ID().text()}});
    EXPECT_THAT(rowsOf(list), ElementsAre("Alice|PINALICE"));
    EXPECT_EQ(PdlSourceOf(session(), *list), PdlSource::Folder);
}

TEST_F(PdlMembersTest, ADataSourceGivesItsRows) {
    world.AddDataSource("G2");
    answer({{"Alice", "", "alice@example.test", "1", "555-9"},
            {"Nobody", "", "", "2", "555-2"},
            {"Ghost", "", "", "", "555-3"}});
    const PdlWorld::Keys keysOfList = {{"ACS.Guid", "G2"}, {"PDL.PIN", true}, {"PDL.SMS", true}};
    const RDOMessagePtr list = world.AddList("A", keysOfList);
    EXPECT_THAT(rowsOf(list), ElementsAre("Alice|PINALICE|555-9"));
    EXPECT_EQ(PdlSourceOf(session(), *list), PdlSource::Data);
    PdlWorld::Keys all = keysOfList;
    all.emplace_back("MCL Source No SMTP", true);
    EXPECT_THAT(rowsOf(world.AddList("B", all)),
                ElementsAre("Alice|PINALICE|555-9", "Nobody||555-2"));
}

TEST_F(PdlMembersTest, ARecipientListMayCarryAnOldLink) {
    world.AddFolderSource("G1");
    const RDOMessagePtr list = world.AddPdl("A", "P");
    SetKey(*list, "ACS.Guid", "G1");
    list->Save();
    EXPECT_EQ(PdlSourceOf(session(), *list), PdlSource::Recipients);
    EXPECT_THAT(rowsOf(list), ElementsAre("Alice Adams|PINALICE"));
}

TEST_F(PdlMembersTest, ContactsThatCantBeReadAreTheReason) {
    const RDOMessagePtr folder = world.AddList("A", {{"ACS.Guid", "gone"}});
    EXPECT_THAT(rowsOf(folder), IsEmpty());
    EXPECT_EQ(reason, "Unable to open the Source folder!");
    const RDOMessagePtr data = world.AddList("B", {{"MCL ACDSID", "00FF"}});
    EXPECT_EQ(PdlSourceOf(session(), *data), PdlSource::Data);
    EXPECT_THAT(rowsOf(data), IsEmpty());
    EXPECT_EQ(reason, "Broken link to Alternate Contact Source");
    world.AddDataSource("G2");
    EXPECT_THAT(rowsOf(world.AddList("C", {{"ACS.Guid", "G2"}})), IsEmpty());
    EXPECT_EQ(reason, "Unable to open connection for People");
    EXPECT_TRUE(world.logHas("LoadPDLMembers:"));
}

TEST_F(PdlMembersTest, ARemoteConsoleSaysSoOfAListForSMS) {
    world.AddHost("AGENT1");
    const PdlWorld::Keys sms = {{"ACS.Guid", "gone"}, {"PDL.PIN", false}, {"PDL.SMS", true}};
    EXPECT_THAT(rowsOf(world.AddList("A", sms)), IsEmpty());
    EXPECT_EQ(reason, kRemote);
    // beside the agent it is the failure itself
    world.AddHost("console1");
    EXPECT_THAT(rowsOf(world.AddList("B", sms)), IsEmpty());
    EXPECT_EQ(reason, "Unable to open the Source folder!");
}

TEST_F(PdlMembersTest, WithoutHandheldsThereAreNoPins) {
    world.SetAgent("HHEntryID", "");
    EXPECT_THAT(rowsOf(world.AddPdl("A", "PS")), ElementsAre("Dora Dunn||555-0104"));
    EXPECT_EQ(reason, "The handhelds can't be read, so no PIN is known.");
    EXPECT_THAT(rowsOf(world.AddPdl("B", "S")), ElementsAre("Dora Dunn|555-0104"));
    EXPECT_EQ(reason, "") << "nobody looks for a PIN";
    EXPECT_THAT(rowsOf(world.AddPdl("C", "P")), IsEmpty());
    EXPECT_EQ(reason, "The handhelds can't be read, so no PIN is known.") << "no list of nobody";
    const std::string log = world.log();
    const std::string line = "unable to get Handhelds folder using EntryID ";
    EXPECT_NE(log.find(line), std::string::npos);
    size_t looks = 0;
    for (size_t at = log.find(line); at != std::string::npos; at = log.find(line, at + 1))
        ++looks;
    EXPECT_EQ(looks, 3U) << "once for each list, not for each contact";
}

TEST_F(PdlMembersTest, AStopEndsTheRows) {
    CMsgPDL pdl(world.AddPdl("A", "PSE"));
    ASSERT_TRUE(pdl.Load(session()));
    int rows = 0;
    LoadPdlRows(session(), pdl, {[&](const ListRow&) { ++rows; }, [&] { return rows > 0; }});
    EXPECT_EQ(rows, 1);
}

/// What fails while the contacts are read never passes for a list without them.
TEST_F(PdlMembersTest, AFailingStoreGivesNoHalfOfAFolder) {
    world.AddFolderSource("G1");
    world.AddContact("Alice", "alice@example.test", "555-7");
    const EntryID id = world.AddList("A", {{"ACS.Guid", "G1"}, {"PDL.PIN", true}})->ID();
    FailingSession failing(world);
    failing.LogOn();
    rowsOf(GetMessage(session(), id));
    failing.session.handhelds = session().handhelds; // so that what fails is the list's
    int refused = 0, whole = 0;
    for (int call = 1; whole == 0 && call < 200; ++call) {
        CMsgPDL pdl(GetMessage(failing.session, id));
        ASSERT_TRUE(pdl.Load(failing.session));
        std::vector<std::string> rows;
        failing.store.plan().FailAt(call);
        const std::string why = LoadPdlRows(
            failing.session, pdl,
            {[&](const ListRow& row) { rows.push_back(row.texts[0]); }, [] { return false; }});
        if (failing.store.plan().Failed()) {
            EXPECT_TRUE(rows.empty() != why.empty()) << call << why;
            refused += why.empty() ? 0 : 1;
        } else {
            EXPECT_THAT(rows, ElementsAre("Alice"));
            ++whole;
        }
    }
    EXPECT_EQ(whole, 1);
    EXPECT_GT(refused, 5);
}

// --- what frmPDL shows

class PdlFormTest : public PdlMembersTest {
protected:
    void load(const RDOMessagePtr& list) {
        ASSERT_TRUE(form.Load(session(), list->ID()));
        form.LoadLists(session(), [] { return false; });
    }
    static std::vector<std::string> ghosted(const ListModel& list) {
        std::vector<std::string> names;
        for (size_t i = 0; i < list.Count(); ++i)
            if (list.At(i).ghosted)
                names.emplace_back(list.Text(i, 0));
        return names;
    }
    PdlForm form;
};

TEST_F(PdlFormTest, ShowsAllContactsAndGhostsThoseOutOfReach) {
    load(world.AddPdl("Team", "P"));
    EXPECT_EQ(form.name(), "Team");
    EXPECT_EQ(form.SourceText(), "Source: Mandatory Contact List");
    ASSERT_EQ(form.sources.Count(), 3U);
    EXPECT_THAT(form.sources.At(2).texts,
                ElementsAre("Dora Dunn", "", "555-0104", "dora@example.test"));
    EXPECT_EQ(form.sources.At(0).icon, "imgUser");
    EXPECT_THAT(ghosted(form.sources), ElementsAre("Bob Baker", "Dora Dunn"));
    EXPECT_EQ(form.SourceCount(), "DL includes 1 of 3 source contacts");
    form.Enable(PdlProtocol::SMS, true);
    EXPECT_THAT(ghosted(form.sources), ElementsAre("Bob Baker"));
    EXPECT_EQ(form.SourceCount(), "DL includes 2 of 3 source contacts");
    form.Enable(PdlProtocol::Email, true);
    EXPECT_THAT(ghosted(form.sources), IsEmpty());
    for (const PdlProtocol protocol : {PdlProtocol::PIN, PdlProtocol::SMS, PdlProtocol::Email})
        form.Enable(protocol, false);
    EXPECT_EQ(form.SourceCount(), "DL includes 0 of 3 source contacts");
}

TEST_F(PdlFormTest, AnAddressOfTheAgentsReachesNobody) {
    world.AddFolderSource("G1");
    world.AddContact("Depot", "42@nosmtp", "");
    load(world.AddList("A", {{"ACS.Guid", "G1"}, {"PDL.PIN", true}, {"PDL.Email", true}}));
    EXPECT_EQ(form.SourceText(), "Source: Mandatory Contact Folder");
    EXPECT_EQ(form.SourceCount(), "DL includes 0 of 1 source contacts");
}

TEST_F(PdlFormTest, TargetsAreTheExpandedRecipients) {
    load(world.AddPdl("Team", "P"));
    EXPECT_EQ(form.TargetCount(), "DL is available to 3 targets");
    EXPECT_THAT(form.targets.At(0).texts, ElementsAre("Alice Adams", "alice@example.test"));
    EXPECT_EQ(form.targets.At(0).icon, "imgUser");
}

TEST_F(PdlFormTest, APublicFolderIsOneTarget) {
    load(world.AddList("A", {{"MCL PF", true},
                             {"MCL Target", "\\\\Public Folders\\All Public Folders\\Shared"},
                             {"MCL Target Email", world.Shared()->ID().text()}}));
    ASSERT_EQ(form.targets.Count(), 1U);
    EXPECT_EQ(form.targets.Text(0, 0), "\\\\Public Folders\\All Public Folders\\Shared");
    EXPECT_EQ(form.TargetCount(), "DL is available to 1 targets");
}

TEST_F(PdlFormTest, ADataSourceIsNamed) {
    world.AddDataSource("G2");
    load(world.AddList("A", {{"ACS.Guid", "G2"}}));
    EXPECT_EQ(form.SourceText(), "Source: Mandatory Contact Data Source");
    EXPECT_EQ(form.SourceCount(), "Unable to open connection for People");
    EXPECT_EQ(form.TargetCount(), "DL is available to 0 targets");
}

TEST_F(PdlFormTest, SavesOnlyChanges) {
    const RDOMessagePtr list = world.AddList("A", {{"MCL Source", "x"}});
    load(list);
    EXPECT_EQ(form.Save(session()), PdlForm::Outcome::Unchanged);
    form.Enable(PdlProtocol::PIN, true); // as it was
    EXPECT_EQ(form.Save(session()), PdlForm::Outcome::Unchanged);
    EXPECT_TRUE(GetKey(*world.Again(list), "PDL.PIN").empty());
    form.Enable(PdlProtocol::Email, true);
    EXPECT_EQ(form.Save(session()), PdlForm::Outcome::Saved);
    EXPECT_EQ(GetKey(*world.Again(list), "PDL.PIN"), Value(true));
    EXPECT_EQ(GetKey(*world.Again(list), "PDL.SMS"), Value(false));
    EXPECT_EQ(GetKey(*world.Again(list), "PDL.Email"), Value(true));
}

TEST_F(PdlFormTest, AsksBeforeAListIsSilenced) {
    const RDOMessagePtr list = world.AddPdl("A", "P");
    load(list);
    form.Enable(PdlProtocol::PIN, false);
    const char* question =
        "This DL has no communication protocols configured!\r\nIt cannot be used to send "
        "messages!\r\n\r\nAre you sure you want to save these changes?";
    world.ui.Expect(question, BoxAnswer::No);
    EXPECT_EQ(form.Save(session()), PdlForm::Outcome::Refused);
    EXPECT_TRUE(KeyFlag(*world.Again(list), "PDL.PIN"));
    world.ui.Expect(question, BoxAnswer::Yes);
    EXPECT_EQ(form.Save(session()), PdlForm::Outcome::Saved);
    EXPECT_FALSE(KeyFlag(*world.Again(list), "PDL.PIN"));
}

TEST_F(PdlFormTest, AListThatIsGoneDoesntLoad) {
    const RDOMessagePtr list = world.AddPdl("A", "P");
    const EntryID id = list->ID();
    list->Delete();
    EXPECT_FALSE(form.Load(session(), id));
    EXPECT_TRUE(world.logHas("Error loading PDL "));
    form.LoadLists(session(), [] { return false; });
    EXPECT_EQ(form.sources.Count(), 0U);
}

TEST_F(PdlFormTest, AStoppedLoadLeavesTheListsEmpty) {
    ASSERT_TRUE(form.Load(session(), world.AddPdl("A", "P")->ID()));
    form.LoadLists(session(), [] { return true; });
    EXPECT_EQ(form.sources.Count(), 0U);
    EXPECT_EQ(form.targets.Count(), 0U);
}

TEST_F(PdlFormTest, AFailedSaveIsToldAndMayBeRepeated) {
    const RDOMessagePtr list = world.AddPdl("A", "P");
    FailingSession failing(world);
    failing.LogOn();
    ASSERT_TRUE(form.Load(failing.session, list->ID()));
    form.Enable(PdlProtocol::SMS, true);
    failing.store.plan().FailFrom(1);
    EXPECT_EQ(form.Save(failing.session), PdlForm::Outcome::Failed);
    EXPECT_EQ(failing.ui.shown.size(), 1U);
    EXPECT_FALSE(KeyFlag(*world.Again(list), "PDL.SMS"));
    failing.store.plan().FailAt(0);
    EXPECT_EQ(form.Save(failing.session), PdlForm::Outcome::Saved);
    EXPECT_TRUE(KeyFlag(*world.Again(list), "PDL.SMS"));
}

TEST_F(PdlFormTest, TargetsThatCantBeReadAreLogged) {
    const RDOMessagePtr list = world.AddPdl("A", "P");
    FailingSession failing(world);
    failing.LogOn();
    ASSERT_TRUE(form.Load(failing.session, list->ID()));
    failing.store.plan().FailFrom(1);
    form.LoadLists(failing.session, [] { return false; });
    EXPECT_TRUE(world.logHas("frmPDL: "));
    EXPECT_THAT(form.SourceCount(), HasSubstr(kFailure));
    EXPECT_EQ(form.targets.Count(), 0U);
}

} // namespace
