#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "console/Menus.h"
#include "core/basAgent.h"
#include "core/basStore.h"
#include "handhelds/HandheldKinds.h"
#include "handhelds/basHandhelds.h"
#include "tests/console/ConsoleTest.h"
#include "tests/handhelds/BesTest.h"

namespace {

using namespace kr;

class HandheldKinds : public ConsoleTest {
protected:
    HandheldKinds() {
        folder =
            world.session->rdo->Stores().DefaultStore()->RootFolder()->Folders()->Add("Handhelds");
        const RDOMessagePtr agent = GetAgentMessage(*world.session);
        SetKey(*agent, "HHEntryID", folder->ID().text());
        agent->Save();
        HandheldForms forms;
        forms.frmRegDetail = [this](const EntryID& id) { details.push_back(id.text()); };
        forms.frmFindReg = [this](const HandheldForms::GoTo& goTo) { goTo(wanted); };
        RegisterHandheldKinds(*console, forms);
        console->LoadTreeRoot();
    }
    std::string add(const std::string& pin, const std::string& email,
                    std::map<std::string, Value> keys = {}) {
        const RDOMessagePtr made = folder->Items()->Add(kHandheldClass);
        made->SetFields(PR_CONVERSATION_TOPIC, email);
        if (!pin.empty())
            keys["PIN"] = pin;
        for (const auto& [key, value] : keys)
            SetKey(*made, key, value);
        made->Save();
        return made->ID().text();
    }
    /// Handhelds that the recordset has and the folder hasn't.
    void fake(int count) {
        ASSERT_TRUE(DeviceInfo(*world.session));
        for (int i = 0; i < count; ++i) {
            std::vector<Value> row(kHandheldFieldCount);
            row[Index(HandheldField::LastName)] = "Name " + std::to_string(10'000 + i);
            row[Index(HandheldField::EntryID)] = std::to_string(10'000 + i) + "FF";
            world.session->handhelds->Append(row);
        }
    }
    RDOMessagePtr record(const std::string& id) { return GetMessage(*world.session, EntryID(id)); }
    const ListRow& row(size_t at) { return console->list().At(at); }
    std::string file(const std::string& text) {
        const std::string path = world.folder() + "/import.csv";
        std::ofstream(path) << text;
        return path;
    }
    RDOFolderPtr folder;
    Names details;
    std::string wanted;
};

TEST_F(HandheldKinds, TheListOfAllHandhelds) {
    click("reg");
    EXPECT_EQ(view.status, "0 handhelds");
    EXPECT_EQ(view.visible(), (Names{"mnuRegFindHandheld", "mnuRegImportData", "mnuRegImportPIN",
                                     "mnuRegDeleteAll", "mnuActionmnuProps"}));
    const std::string id = add("20AA", "a@x.test",
                               {{"LastName", "Adams"},
                                {"FirstName", "Alice"},
                                {"Model", "8700g"},
                                {"Phone", "+1 5"},
                                {"Home Server", "MAIL01"},
                                {"BB Server", "BES1"},
                                {"Protocol", "x"},
                                {"DCID", "17"}});
    world.session->handhelds.reset();
    console->RefreshView();
    EXPECT_EQ(view.status, "1 handheld");
    Names titles, keys;
    for (const ListColumn& column : console->list().Columns()) {
        titles.push_back(column.title);
        keys.push_back(column.key);
    }
    EXPECT_EQ(titles, (Names{"Last", "First", "Email", "PIN", "Model", "Phone Number",
                             "Exchange Server", "BES Server", "Protocol", "DCID"}));
    EXPECT_EQ(keys[5] + " " + keys[7], "Phone BES");
    EXPECT_EQ(row(0).texts, (Names{"Adams", "Alice", "a@x.test", "20AA", "8700g", "+1 5", "MAIL01",
                                   "BES1", "x", "17"}));
    EXPECT_EQ(row(0).key, id);
    EXPECT_EQ(row(0).tag, "reghh");
    EXPECT_EQ(row(0).icon, "imgUser");
    EXPECT_TRUE(world.logHas("loading handhelds (reg); count = 1"));
}

TEST_F(HandheldKinds, IconsTellWhatIsMissing) {
    add("20AA", "None", {{"LastName", "a"}});
    add("", "b@x.test", {{"LastName", "b"}});
    add("", "None", {{"LastName", "c"}, {"ESN", "7"}, {"Not In Service Date", world.clock.now()}});
    click("reg");
    ASSERT_EQ(console->list().Count(), 3u);
    EXPECT_EQ(row(0).icon, "imgNoUser");
    EXPECT_EQ(row(1).icon, "imgUserOnly");
    EXPECT_EQ(row(2).icon, "imgNoUser");
    EXPECT_EQ(row(2).texts[3], "");
    EXPECT_TRUE(row(2).ghosted);
    EXPECT_FALSE(row(0).ghosted);
}

TEST_F(HandheldKinds, QuickLoadStopsAtFiveThousand) {
    world.session->quickLoad = true;
    fake(5000);
    click("reg");
    EXPECT_EQ(view.status, "5000 handhelds");
    fake(1);
    click("agent");
    click("reg");
    EXPECT_EQ(console->list().Count(), 5000u);
    EXPECT_EQ(view.status, "5000 of 5001 handheld records - disable View > Quick Load to see full "
                           "list");
    world.session->quickLoad = false;
    click("agent");
    click("reg");
    EXPECT_EQ(view.status, "5001 handhelds");
}

TEST_F(HandheldKinds, AnotherNodeStopsTheLoad) {
    fake(3000);
    bool clicked = false;
    world.ui.onDoEvents = [&] {
        if (!std::exchange(clicked, true))
            click("agent");
    };
    click("reg");
    EXPECT_TRUE(clicked);
    EXPECT_EQ(console->CurrentTag(), "agent");
    EXPECT_EQ(console->list().Count(), 0u);
    EXPECT_EQ(view.status.find("handheld"), std::string::npos);
}

TEST_F(HandheldKinds, WithoutTheFolderThereIsAReason) {
    const RDOMessagePtr agent = GetAgentMessage(*world.session);
    SetKey(*agent, "HHEntryID", "ABCD");
    agent->Save();
    click("reg");
    EXPECT_EQ(view.status, "The handheld data can't be read.");
    EXPECT_TRUE(world.logHas("unable to get Handhelds folder using EntryID ABCD"));
}

TEST_F(HandheldKinds, TheHandheldsOfABes) {
    const std::string id = add("20AA", "a@x.test", {{"LastName", "Adams"}, {"BB Server", "O'B"}});
    add("20BB", "b@x.test", {{"LastName", "Baker"}, {"BB Server", "BES2"}});
    addConnector(world, "one", {{"Connector.BES.Servers", Strings{"O'B;m", "BES3;m"}}});
    click("besconnectorroot");
    click("O'Bbes!");
    EXPECT_EQ(view.status, "1 handheld");
    Names titles;
    for (const ListColumn& column : console->list().Columns())
        titles.push_back(column.title);
    EXPECT_EQ(titles, (Names{"Last", "First", "Email", "PIN", "Model", "Phone Number", "Protocol",
                             "Exchange Server", "DCID"}));
    EXPECT_EQ(row(0).tag, "regbes");
    EXPECT_EQ(row(0).key, id);
    select({0});
    EXPECT_EQ(view.visible(), (Names{"mnuRegBesDetails", "mnuActionmnuProps"}));
    EXPECT_EQ(ActivationOf("regbes"), "mnuRegBesDetails");
    console->ActivateRow(0);
    EXPECT_EQ(details, Names{id});
    click("BES3bes!");
    EXPECT_EQ(view.status, "0 handhelds");
    console->tree().Add("agent", "BBServer-BES2", "regbes", "BES2", "");
    click("BBServer-BES2");
    ASSERT_EQ(console->list().Count(), 1u);
    EXPECT_EQ(row(0).texts[3], "20BB");
}

// --- Commands

TEST_F(HandheldKinds, TheMenuFollowsTheRow) {
    add("20AA", "a@x.test", {{"LastName", "a"}});
    add("", "None", {{"LastName", "b"}, {"ESN", "7"}});
    click("reg");
    select({0});
    EXPECT_EQ(view.visible(),
              (Names{"mnuRegFindHandheld", "mnuRegImportData", "mnuRegImportPIN", "mnuRegDetail",
                     "mnuRegMgmt", "mnuUserHistory", "mnuRegHistory", "mnuRegDelete",
                     "mnuRegDeleteAll", "mnuActionmnuProps"}));
    for (const char* entry : {"mnuRegDetail", "mnuUserHistory", "mnuRegHistory", "mnuRegDelete"})
        EXPECT_TRUE(view.enabled(entry)) << entry;
    select({1});
    EXPECT_FALSE(view.enabled("mnuUserHistory")); // has no user
    EXPECT_FALSE(view.enabled("mnuRegHistory"));  // has no PIN
    EXPECT_TRUE(view.enabled("mnuRegDetail"));
    select({0, 1});
    EXPECT_FALSE(view.enabled("mnuRegDetail"));
    EXPECT_FALSE(view.enabled("mnuRegHistory"));
    EXPECT_TRUE(view.enabled("mnuRegDelete"));
}

TEST_F(HandheldKinds, DetailsByCommandAndByActivation) {
    const std::string id = add("20AA", "a@x.test");
    click("reg");
    console->RunCommand("mnuRegDetail"); // nothing is selected
    select({0});
    console->RunCommand("mnuRegDetail");
    console->ActivateRow(0);
    EXPECT_EQ(details, (Names{id, id}));
}

TEST_F(HandheldKinds, DeletingOneAndSeveral) {
    const std::string a = add("20AA", "a@x.test", {{"LastName", "a"}});
    const std::string b = add("20BB", "b@x.test", {{"LastName", "b"}});
    const std::string c = add("20CC", "c@x.test", {{"LastName", "c"}});
    add("20DD", "d@x.test", {{"LastName", "d"}});
    click("reg");
    console->RunCommand("mnuRegDelete"); // nothing is selected
    select({0});
    world.ui.Expect("Are you sure you want to delete this handheld?", BoxAnswer::No);
    console->RunCommand("mnuRegDelete");
    EXPECT_TRUE(record(a));
    world.ui.Expect("Are you sure you want to delete this handheld?", BoxAnswer::Yes);
    console->DeleteKey();
    EXPECT_FALSE(record(a));
    EXPECT_EQ(view.status, "3 handhelds");
    EXPECT_EQ(console->list().Find(a), ListModel::npos);
    select({0, 1});
    world.ui.Expect("Are you sure you want to delete these 2 handhelds?", BoxAnswer::Yes);
    console->RunCommand("mnuRegDelete");
    EXPECT_FALSE(record(b));
    EXPECT_FALSE(record(c));
    EXPECT_EQ(view.status, "1 handheld");
    EXPECT_EQ(world.session->handhelds->RecordCount(), 1);
    EXPECT_EQ(world.ui.waitCursors(), 0);
}

TEST_F(HandheldKinds, ADeleteThatIsCancelledKeepsTheRest) {
    add("20AA", "a@x.test", {{"LastName", "a"}});
    add("20BB", "b@x.test", {{"LastName", "b"}});
    click("reg");
    select({0, 1});
    world.ui.Expect("Are you sure you want to delete these 2 handhelds?", BoxAnswer::Yes);
    world.ui.CancelProgressAfter(1);
    console->RunCommand("mnuRegDelete");
    EXPECT_EQ(view.status, "1 handheld");
    EXPECT_EQ(folder->Items()->Count(), 1);
}

TEST_F(HandheldKinds, DeletingAll) {
    add("20AA", "a@x.test");
    add("20BB", "b@x.test");
    click("reg");
    const std::string question =
        "Are you sure you want to delete all of the records in the Handhelds folder?";
    world.ui.Expect(question, BoxAnswer::No);
    console->RunCommand("mnuRegDeleteAll");
    EXPECT_EQ(folder->Items()->Count(), 2);
    world.ui.Expect(question, BoxAnswer::Yes);
    console->RunCommand("mnuRegDeleteAll");
    EXPECT_EQ(folder->Items()->Count(), 0);
    EXPECT_EQ(view.status, "0 handhelds");
}

TEST_F(HandheldKinds, ImportsShowTheirResult) {
    const std::string id = add("20AA", "a@x.test", {{"ESN", "1"}});
    click("reg");
    world.ui.ExpectOpenFile(std::nullopt);
    console->RunCommand("mnuRegImportData");
    world.ui.ExpectOpenFile(file("PIN,Vendor\n20AA,Acme\n"));
    world.ui.Expect("The following fields wll be imported by PIN: Vendor, \r\nProceed?",
                    BoxAnswer::Yes);
    world.ui.Expect("Imported 1 records.");
    console->RunCommand("mnuRegImportData");
    EXPECT_EQ(KeyText(*record(id), "Vendor"), "Acme");
    world.ui.ExpectOpenFile(file("ESN,PIN\n1,20BB\n2,20CC\n"));
    world.ui.Expect("Successfully imported 2 PINs.");
    console->RunCommand("mnuRegImportPIN");
    ASSERT_EQ(console->list().Count(), 2u); // the new one too
    EXPECT_EQ(row(0).texts[3], "20BB");
    EXPECT_EQ(row(1).texts[3], "20CC");
    EXPECT_EQ(view.status, "2 handhelds");
}

TEST_F(HandheldKinds, HistoriesOfAHandheldAndItsUser) {
    add("20AA", "a@x.test");
    const RDOMessagePtr old =
        folder->Folders()->Add("Registration Archive")->Items()->Add(kHandheldClass);
    old->SetFields(PR_CONVERSATION_TOPIC, "a@x.test");
    old->Save();
    click("reg");
    console->RunCommand("mnuRegHistory"); // nothing is selected
    EXPECT_TRUE(world.shell.files.empty());
    select({0});
    console->RunCommand("mnuRegHistory");
    console->RunCommand("mnuUserHistory");
    EXPECT_EQ(world.shell.files, (Names{world.folder() + "/RegHistory-20AA.csv",
                                        world.folder() + "/RegHistory-a@x.test.csv"}));
}

TEST_F(HandheldKinds, FindingGoesToTheRowOfTheMainList) {
    add("20AA", "a@x.test", {{"LastName", "a"}, {"BB Server", "A"}});
    wanted = add("20BB", "b@x.test", {{"LastName", "b"}, {"BB Server", "A"}});
    addConnector(world, "one", {{"Connector.BES.Servers", Strings{"A;m"}}});
    click("besconnectorroot");
    click("Abes!");
    ASSERT_NE(console->list().Find(wanted), ListModel::npos);
    console->RunCommand("mnuRegFindHandheld");
    EXPECT_EQ(console->CurrentTag(), "reg");
    EXPECT_EQ(view.selectedNode, "reg");
    ASSERT_EQ(view.selection.size(), 1u);
    EXPECT_EQ(row(view.selection[0]).key, wanted);
    console->TreeContext();
    wanted = row(0).key;
    console->FindKey();
    EXPECT_EQ(view.selection, (std::vector<size_t>{0}));
}

TEST_F(HandheldKinds, LaterEntriesAreNotThereYet) {
    add("20AA", "a@x.test");
    click("reg");
    select({0});
    console->RunCommand("mnuRegMgmt");
    EXPECT_EQ(view.status, kMissing);
}

} // namespace
