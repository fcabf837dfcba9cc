#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "core/Text.h"
#include "core/basAgent.h"
#include "core/basDate.h"
#include "core/basStore.h"
#include "handhelds/basHandhelds.h"
#include "tests/support/World.h"

namespace {

using namespace kr;
using ::testing::ElementsAre;

class Handhelds : public ::testing::Test {
protected:
    Handhelds() {
        world.LogOnConfigured();
        world.shell.tempFolder = world.folder();
        folder = session().rdo->Stores().DefaultStore()->RootFolder()->Folders()->Add("Handhelds");
        const RDOMessagePtr agent = GetAgentMessage(session());
        SetKey(*agent, "HHEntryID", folder->ID().text());
        agent->Save();
    }
    AgentSession& session() { return *world.session; }
    EntryID add(const std::string& pin, const std::string& email,
                std::map<std::string, Value> keys = {}) {
        const RDOMessagePtr record = folder->Items()->Add(kHandheldClass);
        record->SetFields(PR_CONVERSATION_TOPIC, email);
        keys["PIN"] = pin;
        for (const auto& [key, value] : keys)
            if (!(value == Value(std::string())))
                SetKey(*record, key, value);
        record->Save();
        return record->ID();
    }
    Recordset& table() { return *session().handhelds; }
    std::string at(HandheldField field) { return std::string(table().Text(Index(field))); }
    std::string file(const std::string& name, const std::string& text) {
        const std::string path = world.folder() + "/" + name;
        std::ofstream(path) << text;
        return path;
    }
    std::string key(const EntryID& id, const std::string& name) {
        return KeyText(*GetMessage(session(), id), name);
    }
    static std::string content(const std::string& path) {
        std::ostringstream text;
        text << std::ifstream(path).rdbuf();
        return text.str();
    }
    World world;
    RDOFolderPtr folder;
};

TEST_F(Handhelds, TheRecordsetHoldsEveryRecordOfTheClass) {
    const Time utc = world.clock.now();
    add("20AA", "a@x.test",
        {{"Model", "8700g"}, {"Activation Date", utc}, {"EPS Required", true}, {"OS", "4.2"}});
    add("20BB", "None", {});
    const auto other = folder->Items()->Add("IPM.Note");
    other->Save();
    ASSERT_TRUE(DeviceInfo(session()));
    ASSERT_EQ(table().RecordCount(), 2);
    EXPECT_EQ(at(HandheldField::PIN), "20AA");
    EXPECT_EQ(at(HandheldField::Email), "a@x.test");
    EXPECT_EQ(at(HandheldField::Model), "8700g");
    EXPECT_EQ(table().Get("Activation Date"), Value(UTCToLocal(utc, world.clock)));
    EXPECT_EQ(table().Get("EPS Required"), Value(true));
    EXPECT_EQ(table().Get("EPS Privacy"), Value(false));
    EXPECT_TRUE(world.logHas("DeviceInfo:2"));
}

TEST_F(Handhelds, AnOldNameServesForThePin) {
    add("", "a@x.test", {{"DeviceID", "20CC"}});
    add("None", "b@x.test", {{"DeviceID", "20DD"}});
    add("", "c@x.test", {{"DeviceID", "None"}, {"ESN", "123"}});
    ASSERT_TRUE(DeviceInfo(session()));
    EXPECT_EQ(at(HandheldField::PIN), "20CC");
    table().MoveNext();
    EXPECT_EQ(at(HandheldField::PIN), "20DD");
    table().MoveNext();
    EXPECT_EQ(at(HandheldField::PIN), "");
    EXPECT_EQ(at(HandheldField::ESN), "123");
}

TEST_F(Handhelds, ItIsLoadedOnceUnlessForced) {
    add("20AA", "a@x.test");
    ASSERT_TRUE(RequireHandhelds(session()));
    add("20BB", "b@x.test");
    EXPECT_EQ(RequireHandhelds(session())->RecordCount(), 1);
    ASSERT_TRUE(DeviceInfo(session(), true));
    EXPECT_EQ(table().RecordCount(), 2);
}

TEST_F(Handhelds, AMissingFolderIsLogged) {
    const RDOMessagePtr agent = GetAgentMessage(session());
    SetKey(*agent, "HHEntryID", std::string("00FF"));
    agent->Save();
    EXPECT_FALSE(GetHandheldsFolder(session()));
    EXPECT_TRUE(world.logHas("unable to get Handhelds folder using EntryID 00FF"));
    EXPECT_FALSE(DeviceInfo(session()));
    EXPECT_FALSE(RequireHandhelds(session()));
}

TEST_F(Handhelds, CancelKeepsWhatWasRead) {
    for (int i = 0; i < 3; ++i)
        add("2" + std::to_string(i), "a@x.test");
    world.ui.CancelProgressAfter(2);
    world.ui.Expect("All handheld data has not been loaded!");
    EXPECT_TRUE(DeviceInfo(session()));
    EXPECT_LT(table().RecordCount(), 3);
}

TEST_F(Handhelds, RowsHaveTheirIcons) {
    add("20AA", "a@x.test", {{"LastName", "Adams"}, {"BB Server", "BES1"}});
    add("20BB", "None", {{"Not In Service Date", world.clock.now()}});
    add("", "c@x.test", {});
    ASSERT_TRUE(DeviceInfo(session()));
    ListRow row = HandheldRow(table(), HandheldColumns(), "reghh");
    EXPECT_EQ(row.icon, "imgUser");
    EXPECT_EQ(row.tag, "reghh");
    EXPECT_FALSE(row.ghosted);
    EXPECT_THAT(row.texts,
                ElementsAre("Adams", "", "a@x.test", "20AA", "", "", "", "BES1", "", ""));
    table().MoveNext();
    row = HandheldRow(table(), HandheldColumns(), "reghh");
    EXPECT_EQ(row.icon, "imgNoUser");
    EXPECT_TRUE(row.ghosted);
    table().MoveNext();
    EXPECT_EQ(HandheldRow(table(), BesHandheldColumns(), "regbes").icon, "imgUserOnly");
    EXPECT_EQ(HandheldRow(table(), BesHandheldColumns(), "regbes").texts.size(), 9U);
}

TEST_F(Handhelds, FindingByPinAndAddress) {
    EXPECT_EQ(FindHandheldFilter({FindOperator::Exactly, "20AA"}, {FindOperator::Any, "x"}),
              "[PIN] like '20AA'");
    EXPECT_EQ(FindHandheldFilter({FindOperator::Contains, "2"}, {FindOperator::StartsWith, "a'"}),
              "[PIN] like '*2*' and [Email] like 'a*'");
    ListModel list;
    world.ui.Expect("You must supply an PIN or Email Address on which to search.");
    EXPECT_EQ(FindHandhelds(session(), list, {}, {FindOperator::Contains, " "}), 0);
    world.ui.Expect("No handhelds found matching supplied parameters.");
    EXPECT_EQ(FindHandhelds(session(), list, {FindOperator::Exactly, "9"}, {}), 0);
    const EntryID id = add("20AA", "a@x.test", {{"DisplayName", "Ann"}});
    session().handhelds.reset();
    EXPECT_EQ(FindHandhelds(session(), list, {FindOperator::StartsWith, "20"}, {}), 1);
    EXPECT_EQ(list.At(0).key, id.text());
    EXPECT_THAT(list.At(0).texts, ElementsAre("20AA", "a@x.test", "Ann"));
}

TEST_F(Handhelds, DetailsShowEveryPropertyUnderItsName) {
    const EntryID id = add("", "a@x.test",
                           {{"DeviceID", "20CC"},
                            {"EPS Radio Phone", "DC1"},
                            {"EPS Pager", "55"},
                            {"EPS Required", true}});
    ListModel list;
    LoadHandheldDetails(session(), list, id);
    ASSERT_EQ(list.Count(), 30U);
    EXPECT_THAT(list.At(0).texts, ElementsAre("DeviceID (PIN)", "20CC"));
    EXPECT_THAT(list.At(1).texts, ElementsAre("Email", "a@x.test"));
    EXPECT_THAT(list.At(2).texts, ElementsAre("BES Server", ""));
    EXPECT_THAT(list.At(7).texts, ElementsAre("Is Required", "True"));
    EXPECT_THAT(list.At(8).texts, ElementsAre("Nextel DCID", "DC1"));
    EXPECT_THAT(list.At(13).texts, ElementsAre("Pager", "55"));
}

TEST_F(Handhelds, DataIsImportedByPin) {
    const EntryID first = add("20AA", "a@x.test");
    const EntryID second = add("", "b@x.test", {{"DeviceID", "20BB"}});
    ASSERT_TRUE(DeviceInfo(session()));
    const std::string csv = file("data.csv", "The PIN,Airtime Renewal Date,vendor name\r\n"
                                             "20AA,3/9/2026,North\r\n20BB,no date,South,extra\r\n"
                                             "unknown,3/9/2026,x\r\n\r\n20AA");
    world.ui.Expect("The following fields wll be imported by PIN: Renewal Date, Vendor, "
                    "\r\nProceed?",
                    BoxAnswer::Yes);
    world.ui.Expect("Imported 3 records.");
    EXPECT_TRUE(ImportHandheldData(session(), csv));
    EXPECT_EQ(GetKey(*GetMessage(session(), first), "Airtime Renewal Date"),
              Value(LocalToUTC(*ParseDate("3/9/2026"), world.clock)));
    EXPECT_EQ(key(second, "Vendor"), "South");
    EXPECT_TRUE(GetKey(*GetMessage(session(), second), "Airtime Renewal Date").empty());
    EXPECT_EQ(key(first, "Vendor"), "") << "the last line has no such column";
    table().MoveFirst();
    EXPECT_EQ(table().Get("Airtime Renewal Date"), Value(*ParseDate("3/9/2026")));
}

TEST_F(Handhelds, TheFirstWordThatFitsAHeadingWins) {
    const EntryID id = add("20AA", "a@x.test");
    world.ui.Expect("The following fields wll be imported by PIN: Not In Service, \r\nProceed?",
                    BoxAnswer::Yes);
    world.ui.Expect("Imported 1 records.");
    ImportHandheldData(session(), file("x.csv", "PIN,Not In Service Date\n20AA,3/9/2026\n"));
    EXPECT_EQ(key(id, "Not In Service"), "3/9/2026");
}

TEST_F(Handhelds, FilesThatCannotBeImportedAreRefused) {
    const std::string missing = world.folder() + "/none.csv";
    world.ui.Expect("Unable to open " + missing + " for import!");
    EXPECT_FALSE(ImportHandheldData(session(), missing));
    world.ui.Expect("Unable to open " + missing + " for import!");
    EXPECT_FALSE(ImportHandheldPINs(session(), missing));
    const std::string bare = file("bare.csv", "Vendor,ESN\n");
    world.ui.Expect("Unable to identify PIN column in " + bare + "; unable to import!");
    EXPECT_FALSE(ImportHandheldData(session(), bare));
    world.ui.Expect("Unable to identify PIN column in " + bare + " for import!");
    EXPECT_FALSE(ImportHandheldPINs(session(), bare));
    const std::string pins = file("pins.csv", "PIN,Name\n");
    world.ui.Expect("Unable to identify valid data column in " + pins + "; unable to import!");
    EXPECT_FALSE(ImportHandheldData(session(), pins));
    world.ui.Expect("Unable to identify ESN column in " + pins + " for import!");
    EXPECT_FALSE(ImportHandheldPINs(session(), pins));
    const std::string empty = file("empty.csv", "");
    world.ui.Expect("Unable to identify PIN column in " + empty + "; unable to import!");
    EXPECT_FALSE(ImportHandheldData(session(), empty));
}

TEST_F(Handhelds, AnImportMayBeDeclined) {
    const EntryID id = add("20AA", "a@x.test");
    world.ui.Expect("The following fields wll be imported by PIN: Vendor, \r\nProceed?",
                    BoxAnswer::No);
    EXPECT_FALSE(ImportHandheldData(session(), file("x.csv", "PIN,Vendor\n20AA,North\n")));
    EXPECT_EQ(key(id, "Vendor"), "");
}

TEST_F(Handhelds, PinsAreImportedByEsn) {
    const EntryID id = add("", "a@x.test", {{"ESN", "111"}});
    ASSERT_TRUE(DeviceInfo(session()));
    world.ui.Expect("Successfully imported 2 PINs.");
    EXPECT_TRUE(ImportHandheldPINs(session(), file("p.csv", "esn,pin\n111,20AA\n222,20BB\n,x\n")));
    EXPECT_EQ(key(id, "PIN"), "20AA");
    EXPECT_EQ(at(HandheldField::PIN), "20AA");
    ASSERT_TRUE(DeviceInfo(session(), true));
    EXPECT_EQ(table().RecordCount(), 2);
}

TEST_F(Handhelds, TheHistoryIsAFile) {
    const EntryID now = add("20AA", "None", {{"DisplayName", "A, B"}, {"Vendor", "North"}});
    const RDOFolderPtr handhelds = folder;
    folder = handhelds->Folders()->Add("Registration Archive");
    add("20AA", "old@x.test", {{"Model", "7100"}});
    add("20BB", "old@x.test");
    folder = handhelds;
    EXPECT_TRUE(ExportHandheldHistory(session(), "20AA", now));
    const std::string path = world.folder() + "/RegHistory-20AA.csv";
    EXPECT_THAT(world.shell.files, ElementsAre(path));
    const auto lines = Split(content(path), "\r\n");
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_EQ(lines[0],
              "Registration Date,PIN,ESN,Model,RAM,OS,Applet,Vendor,Activation Date,Airtime "
              "Renewal Date,RMA Date,Not In Service,Not In Service Date,Transfer Date,Email,"
              "Display Name,First Name,Last Name,Phone");
    EXPECT_TRUE(lines[1].ends_with(",20AA,,,,,,North,,,,,,,,A B,,,")) << lines[1];
    EXPECT_TRUE(lines[2].ends_with(",20AA,,7100,,,,,,,,,,,old@x.test,,,,")) << lines[2];
    EXPECT_TRUE(ExportUserHistory(session(), "old@x.test", now));
    EXPECT_EQ(Split(content(world.folder() + "/RegHistory-old@x.test.csv"), "\r\n").size(), 5U);
}

TEST_F(Handhelds, AUserWithoutHistoryIsSaid) {
    const EntryID now = add("20AA", "a@x.test");
    world.ui.Expect("No previous registrations for this user.");
    EXPECT_FALSE(ExportUserHistory(session(), "a@x.test", now));
    EXPECT_TRUE(world.shell.files.empty());
}

TEST_F(Handhelds, NamesMakeNoPaths) {
    const EntryID now = add("../x", "a@x.test");
    EXPECT_TRUE(ExportHandheldHistory(session(), "../x", now));
    EXPECT_TRUE(std::filesystem::exists(world.folder() + "/RegHistory-.._x.csv"));
}

TEST_F(Handhelds, DeletingTakesRecordAndRow) {
    const EntryID first = add("20AA", "a@x.test");
    add("20BB", "b@x.test");
    ASSERT_TRUE(DeviceInfo(session()));
    EXPECT_TRUE(DeleteHandheld(session(), first));
    EXPECT_EQ(folder->Items()->Count(), 1);
    EXPECT_EQ(table().RecordCount(), 1);
    EXPECT_FALSE(DeleteHandheld(session(), first));
    EXPECT_TRUE(DeleteAllHandhelds(session()));
    EXPECT_EQ(folder->Items()->Count(), 0);
    EXPECT_EQ(session().handhelds, nullptr);
}

} // namespace
