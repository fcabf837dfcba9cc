#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "core/Text.h"
#include "tests/hosts/HostEditorTest.h"

namespace {

using namespace kr;
using ::testing::ElementsAre;

// --- the lists

TEST_F(HostEditorTest, AddsServers) {
    put("EPS Home Servers", "MAIL01");
    HostEditor& e = load();
    for (const char* name : {"  MAIL02 ", "*x*", "y*", "*a*b"}) {
        world.ui.ExpectInput(name);
        EXPECT_TRUE(e.AddServer());
    }
    EXPECT_THAT(e.servers, ElementsAre("MAIL01", "MAIL02", "*x*", "y*", "*a*b"));
    EXPECT_EQ(e.serverText(), "MAIL01;MAIL02;*x*;y*;*a*b");
    EXPECT_TRUE(e.dirty);
}

TEST_F(HostEditorTest, RefusesServers) {
    put("EPS Home Servers", "MAIL01");
    HostEditor& e = load();
    world.ui.ExpectInput(std::nullopt);
    EXPECT_FALSE(e.AddServer());
    world.ui.ExpectInput("   ");
    EXPECT_FALSE(e.AddServer());
    world.ui.ExpectInput("a*b");
    world.ui.Expect("An embedded wildcard is not allowed.\nA * can be used as the start or end of "
                    "a server name, but not in the middle");
    EXPECT_FALSE(e.AddServer());
    world.ui.ExpectInput("mail01");
    world.ui.Expect("mail01 has already been added to the list.");
    EXPECT_FALSE(e.AddServer());
    EXPECT_THAT(e.servers, ElementsAre("MAIL01"));
    EXPECT_FALSE(e.dirty);
}

TEST_F(HostEditorTest, TheStarAloneKeepsTheOldText) {
    put("EPS UpdateClients", true);
    put("EPS Home Servers", "MAIL01;MAIL02");
    HostEditor& e = load();
    world.ui.ExpectInput("*");
    world.ui.Expect("Do you want this agent to handle all servers?", BoxAnswer::No);
    EXPECT_FALSE(e.AddServer());
    EXPECT_EQ(e.servers.size(), 2U);
    world.ui.ExpectInput("*");
    world.ui.Expect("Do you want this agent to handle all servers?", BoxAnswer::Yes);
    EXPECT_TRUE(e.AddServer());
    EXPECT_THAT(e.servers, ElementsAre("*"));
    EXPECT_FALSE(e.dirty);
    e.dirty = true;
    save();
    EXPECT_EQ(key("EPS Home Servers"), Value("MAIL01;MAIL02"));
}

TEST_F(HostEditorTest, TheStarGoesIntoAnEmptyList) {
    HostEditor& e = load();
    e.RemoveServers({0});
    EXPECT_TRUE(e.dirty);
    EXPECT_EQ(e.serverText(), "");
    world.ui.ExpectInput("*");
    EXPECT_TRUE(e.AddServer());
    EXPECT_EQ(e.serverText(), "*");
}

TEST_F(HostEditorTest, RemovesServers) {
    put("EPS Home Servers", "a;b;c;d");
    HostEditor& e = load();
    e.RemoveServers({0, 2});
    EXPECT_EQ(e.serverText(), "b;d");
    EXPECT_THAT(e.servers, ElementsAre("b", "d"));
}

TEST_F(HostEditorTest, AddsAndRemovesDSNs) {
    put("BPE HarvestPins", true);
    HostEditor& e = load();
    world.ui.ExpectInput("");
    EXPECT_FALSE(e.AddDSN());
    for (const char* name : {"BESMgmt", "second"}) {
        world.ui.ExpectInput(name);
        EXPECT_TRUE(e.AddDSN());
    }
    world.ui.ExpectInput("besmgmt");
    world.ui.Expect("besmgmt has already been added to the list.");
    EXPECT_FALSE(e.AddDSN());
    save();
    EXPECT_EQ(key("BPE DSN List"), Value("BESMgmt;second")); // no leading ;
    e.RemoveDSNs({0});
    save();
    EXPECT_EQ(key("BPE DSN List"), Value("second"));
}

TEST_F(HostEditorTest, PicksTheBESAgent) {
    HostEditor& e = load();
    world.ui.ExpectAddressBook(std::nullopt);
    EXPECT_FALSE(e.PickBESAgent());
    EXPECT_FALSE(e.dirty);
    const auto alice = world.Entry("alice");
    world.ui.ExpectAddressBook(std::vector<PickedRecipient>{{alice->ID(), alice->Name()}});
    EXPECT_TRUE(e.PickBESAgent());
    EXPECT_EQ(e.besName, "Alice Adams");
    EXPECT_EQ(e.besAddress, "alice@example.test");
    EXPECT_TRUE(e.dirty);
}

// --- logging

TEST_F(HostEditorTest, OptionsSetTheLevel) {
    put("Reporting", false);
    HostEditor& e = load();
    for (const auto& [option, level] : {std::pair{0, 2}, {1, 4}, {2, 8}}) {
        e.ChooseLogOption(option);
        EXPECT_EQ(e.logLevel, level);
    }
    EXPECT_TRUE(e.dirty);
}

TEST_F(HostEditorTest, ReportingNeedsMaximumLogging) {
    put("Reporting", true);
    HostEditor& e = load();
    const char* question = "Diagnostic reporting requires maximum logging. Turn off reporting?";
    world.ui.Expect(question, BoxAnswer::Cancel);
    e.ChooseLogOption(0);
    EXPECT_EQ(e.logLevel, 8);
    EXPECT_TRUE(e.reporting);
    world.ui.Expect(question, BoxAnswer::OK);
    e.ChooseLogOption(1);
    EXPECT_EQ(e.logLevel, 4);
    EXPECT_FALSE(e.reporting);
    e.SetReporting(true);
    EXPECT_EQ(e.logLevel, 8);
}

TEST_F(HostEditorTest, CompleteLoggingIsASwitch) {
    put("LogLevel", int16_t{2});
    HostEditor& e = load();
    world.ui.Expect("Do you want to turn on Complete logging for this agent?", BoxAnswer::No);
    e.ToggleCompleteLogging();
    EXPECT_EQ(e.logLevel, 2);
    EXPECT_FALSE(e.dirty);
    world.ui.Expect("Do you want to turn on Complete logging for this agent?", BoxAnswer::Yes);
    e.ToggleCompleteLogging();
    EXPECT_EQ(e.logLevel, 12);
    EXPECT_TRUE(e.reporting);
    world.ui.Expect("Do you want to turn off Complete logging for this agent?", BoxAnswer::Yes);
    e.ToggleCompleteLogging();
    EXPECT_EQ(e.logLevel, 8);
    EXPECT_TRUE(e.dirty);
}

// --- the report

class HostReportTest : public HostEditorTest {
protected:
    HostReportTest() { own = hosts.Add("Console1"); }
    void write(const std::string& folder) {
        std::filesystem::create_directories(folder + "/Logs/Tue");
        std::ofstream(folder + "/Logs/Tue/KR-Report-Console1.log") << "report";
    }
    EntryID own;
};

TEST_F(HostReportTest, LiesBelowTheConsolesFolder) {
    EXPECT_EQ(FindReport(*world.session, "Console1"), "");
    write(world.folder());
    EXPECT_EQ(FindReport(*world.session, "Console1"),
              world.folder() + "/Logs/Tue/KR-Report-Console1.log");
    EXPECT_EQ(FindReport(*world.session, "SRVA"), ""); // another computer
    world.clock.Advance(std::chrono::hours(24));
    EXPECT_EQ(FindReport(*world.session, "Console1"), "");
}

TEST_F(HostReportTest, OrBelowTheFolderOfTheAgentsLibrary) {
    write(world.folder() + "/agent");
    RegValue value;
    value.type = RegType::Sz;
    value.text = ReplaceAll(world.folder() + "/agent/ZandrelAgent.dll", "/", "\\");
    world.registry->Write(Hive::ClassesRoot,
                          "CLSID\\{01308FAE-CBF0-4FF9-830E-3901629BE17E}\\InprocServer32", "",
                          value);
    EXPECT_EQ(FindReport(*world.session, "Console1"),
              world.folder() + "/agent/Logs/Tue/KR-Report-Console1.log");
}

TEST_F(HostReportTest, ShowLogsOpensItsFolder) {
    write(world.folder());
    HostEditor e(*world.session);
    ASSERT_TRUE(e.Load(own));
    EXPECT_FALSE(e.report().empty());
    e.ShowLogs();
    EXPECT_THAT(world.shell.files, ElementsAre(world.folder() + "/Logs/Tue/"));
    world.shell.result = 2;
    world.ui.Expect("Unable to open diagnostics report.\nPlease verify that it exists in the "
                    "application directory.");
    e.ShowLogs();
}

TEST_F(HostReportTest, IsNotLookedForWithoutReporting) {
    write(world.folder());
    hosts.Set(own, "Reporting", false);
    HostEditor e(*world.session);
    ASSERT_TRUE(e.Load(own));
    EXPECT_EQ(e.report(), "");
}

} // namespace
