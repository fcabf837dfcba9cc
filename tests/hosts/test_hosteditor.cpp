#include <gmock/gmock.h>

#include "tests/hosts/HostEditorTest.h"
#include "tests/support/FailingWorld.h"

namespace {

using namespace kr;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kPastQuestion =
    "\nDo you want to automatically set it for 1 minute from now?";

// --- loading

TEST_F(HostEditorTest, DefaultsOfAnEmptyRecord) {
    HostEditor& e = load();
    EXPECT_EQ(e.name, "SRVA");
    EXPECT_EQ(e.polling, 60);
    EXPECT_EQ(e.logLevel, 8);
    EXPECT_TRUE(e.reporting);
    EXPECT_TRUE(e.processMessages);
    EXPECT_EQ(e.watchdog, 5);
    EXPECT_EQ(e.enabled, (std::array<bool, kJobs>{}));
    EXPECT_EQ(e.intervalText(kPinInterval), "24;h");
    EXPECT_EQ(e.intervalText(kSSUInterval), "1;d");
    EXPECT_EQ(e.intervalText(kEPSLimit), "");
    EXPECT_FALSE(e.epsLimited);
    EXPECT_EQ(e.boxes[kEPSLimit].number, 3);
    EXPECT_EQ(e.boxes[kEPSLimit].unit, 1U);
    EXPECT_THAT(e.servers, ElementsAre("*"));
    EXPECT_THAT(e.dsns, IsEmpty());
    // half past ten in Berlin: 10:00 is over, the others are to come
    EXPECT_EQ(local(), at(2026, 3, 10, 10, 30));
    EXPECT_EQ(e.next[kPinJob], at(2026, 3, 10, 17));
    EXPECT_EQ(e.next[kEPSJob], at(2026, 3, 10, 18));
    EXPECT_EQ(e.next[kMCCJob], at(2026, 3, 10, 22));
    EXPECT_EQ(e.next[kSSUJob], at(2026, 3, 11, 10));
    EXPECT_FALSE(e.dirty);
}

TEST_F(HostEditorTest, ReadsWhatTheRecordHas) {
    put("PollingInterval", int32_t{90});
    put("LogLevel", int16_t{12});
    put("Reporting", true);
    put("NoMsgProcessing", true);
    put("ServiceWatchdog.Interval", int32_t{0});
    put("EPS UpdateClients", true);
    put("ClientUpdateInterval", "45;n");
    put("NextClientUpdate", utc(at(2026, 3, 10, 12)));
    put("EPS.MaxInterval", "2;h");
    put("MCC.MaxInterval", "40;n");
    put("SSUInterval", "2;ww");
    put("EPS Home Servers", "*;ab;c*");
    put("BPE DSN List", "one;two");
    put("BPE Agent Name", "BES Agent");
    put("AgentVersion", "3.5.5");
    HostEditor& e = load();
    EXPECT_EQ(e.polling, 90);
    EXPECT_EQ(e.logLevel, 12);
    EXPECT_FALSE(e.processMessages);
    EXPECT_EQ(e.watchdog, 0);
    EXPECT_TRUE(e.enabled[kEPSJob]);
    EXPECT_EQ(e.boxes[kEPSInterval].number, 45);
    EXPECT_EQ(e.boxes[kEPSInterval].unit, 0U);
    EXPECT_EQ(e.next[kEPSJob], at(2026, 3, 10, 12));
    EXPECT_TRUE(e.epsLimited);
    EXPECT_EQ(e.boxes[kEPSLimit].number, 2);
    EXPECT_TRUE(e.mccLimited);
    EXPECT_EQ(e.boxes[kMCCLimit].number, 40);
    EXPECT_EQ(e.boxes[kMCCLimit].unit, 0U);
    EXPECT_EQ(e.boxes[kSSUInterval].unit, 1U);
    EXPECT_THAT(e.servers, ElementsAre("ab", "c*"));
    EXPECT_THAT(e.dsns, ElementsAre("one", "two"));
    EXPECT_EQ(e.besName, "BES Agent");
    EXPECT_EQ(e.version, "3.5.5");
}

TEST_F(HostEditorTest, ValuesOutOfTheirLimitsAreBroughtIn) {
    put("PollingInterval", int32_t{1});
    put("ServiceWatchdog.Interval", int32_t{99});
    put("ClientUpdateInterval", "5;n");
    put("PinHarvestInterval", "abc;h");
    put("SSUInterval", "400;d");
    HostEditor& e = load();
    EXPECT_EQ(e.polling, 5);
    EXPECT_EQ(e.watchdog, 30);
    EXPECT_EQ(e.boxes[kEPSInterval].number, 30);
    EXPECT_EQ(e.boxes[kPinInterval].number, 1);
    EXPECT_EQ(e.boxes[kSSUInterval].number, 168);
    put("PollingInterval", int32_t{9999});
    EXPECT_EQ(load().polling, 3600);
}

TEST_F(HostEditorTest, ReportingFollowsTheLevelWhenNobodySaid) {
    put("LogLevel", int16_t{2});
    EXPECT_FALSE(load().reporting);
    put("LogLevel", int16_t{4});
    EXPECT_TRUE(load().reporting);
    put("Reporting", false);
    EXPECT_FALSE(load().reporting);
}

TEST_F(HostEditorTest, APastDateIsRolledOnByWholeIntervals) {
    put("NextClientUpdate", utc(at(2012, 5, 1, 7, 15)));
    put("NextPinHarvest", utc(at(1999, 6, 1, 7, 15)));
    put("PinHarvestInterval", "2;h");
    HostEditor& e = load();
    EXPECT_EQ(e.next[kEPSJob], at(2026, 3, 11, 7, 15));
    EXPECT_EQ(e.next[kPinJob], at(2026, 3, 10, 17)); // before 2000 counts as none
}

TEST_F(HostEditorTest, ARecordThatHasGoneIsTold) {
    hosts.Open(id)->Delete();
    HostEditor e(*world.session);
    world.ui.Expect("The server's record can't be opened.");
    EXPECT_FALSE(e.Load(id));
    EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Stop);
}

// --- saving

TEST_F(HostEditorTest, NothingIsWrittenUnlessSomethingChanged) {
    const Time modified = hosts.Open(id)->LastModificationTime();
    load();
    EXPECT_FALSE(save().stopped);
    EXPECT_FALSE(editor->saved);
    EXPECT_TRUE(key("PollingInterval").empty());
    EXPECT_EQ(hosts.Open(id)->LastModificationTime(), modified);
    EXPECT_THAT(world.services.sent, IsEmpty());
}

TEST_F(HostEditorTest, SavesTheGeneralKeysAndTellsTheAgent) {
    HostEditor& e = load();
    e.polling = 30;
    e.logLevel = 4;
    e.reporting = false;
    e.processMessages = false;
    e.watchdog = 7;
    e.dirty = true;
    EXPECT_FALSE(save().stopped);
    EXPECT_EQ(key("PollingInterval"), Value(int32_t{30}));
    EXPECT_EQ(key("LogLevel"), Value(int16_t{4}));
    EXPECT_EQ(key("Reporting"), Value(false));
    EXPECT_EQ(key("NoMsgProcessing"), Value(true));
    EXPECT_EQ(key("ServiceWatchdog.Interval"), Value(int32_t{7}));
    for (const char* master : {"BPE HarvestPins", "EPS UpdateClients", "SSU", "MCC.Enabled"})
        EXPECT_EQ(key(master), Value(false)) << master;
    // of a job that is off nothing else is written
    for (const char* name :
         {"NextClientUpdate", "EPS Home Servers", "ClientUpdateInterval", "EPS.MaxInterval",
          "NextPinHarvest", "BPE DSN List", "MCC.Interval", "SSUInterval"})
        EXPECT_TRUE(key(name).empty()) << name;
    EXPECT_FALSE(e.dirty);
    EXPECT_TRUE(e.saved);
    EXPECT_THAT(world.services.sent, ElementsAre(Sent{"SRVA", "zandrelAgent", 130}));
}

TEST_F(HostEditorTest, AChangedWatchdogIntervalGoesToTheWatchdogToo) {
    HostEditor& e = load();
    e.watchdogChanged = e.dirty = true;
    save();
    EXPECT_THAT(world.services.sent,
                ElementsAre(Sent{"SRVA", "zandrelAgent", 130}, Sent{"SRVA", "kRWatchdog", 130}));
    e.dirty = true;
    save(); // once
    EXPECT_EQ(world.services.sent.size(), 3U);
}

TEST_F(HostEditorTest, SavesAllJobs) {
    HostEditor& e = load();
    e.enabled = {true, true, true, true};
    e.boxes[kEPSInterval] = {90, 0};
    e.boxes[kPinInterval] = {12, 1};
    e.boxes[kSSUInterval] = {2, 1};
    e.boxes[kMCCInterval] = {6, 1};
    e.next[kEPSJob] = at(2026, 3, 12, 8);
    e.addFromGAL = e.processMCL = true;
    e.besAddress = "bes@example.test";
    e.besName = "BES";
    e.dirty = true;
    EXPECT_FALSE(save().stopped);
    EXPECT_EQ(key("EPS Home Servers"), Value("*"));
    EXPECT_EQ(key("NextClientUpdate"), Value(utc(at(2026, 3, 12, 8))));
    EXPECT_EQ(key("ClientUpdateInterval"), Value("90;n"));
    EXPECT_EQ(key("AddFromGAL"), Value(true));
    EXPECT_EQ(key("ProcessMCL"), Value(true));
    EXPECT_EQ(key("EPS.MaxInterval"), Value(""));
    EXPECT_EQ(key("MCC.Enabled"), Value(true));
    EXPECT_EQ(key("MCC.NextUpdate"), Value(utc(at(2026, 3, 10, 22))));
    EXPECT_EQ(key("MCC.Interval"), Value("6;h"));
    EXPECT_EQ(key("MCC.MaxInterval"), Value(""));
    EXPECT_EQ(key("PinHarvestInterval"), Value("12;h"));
    EXPECT_EQ(key("BPE Agent Address"), Value("bes@example.test"));
    EXPECT_EQ(key("BPE Agent Name"), Value("BES"));
    EXPECT_EQ(key("BPE DSN List"), Value(""));
    EXPECT_EQ(key("NextSSU"), Value(utc(at(2026, 3, 11, 10))));
    EXPECT_EQ(key("SSUInterval"), Value("2;ww"));
}

struct PastCase {
    JobIndex job;
    HostTab tab;
    const char* question;
    const char* key;
};
const PastCase kPast[] = {
    {kEPSJob, HostTab::EPS, "The selected date for the next EPS update is in the past.",
     "NextClientUpdate"},
    {kMCCJob, HostTab::MCC, "The selected date for the next MCC run is in the past.",
     "MCC.NextUpdate"},
    {kPinJob, HostTab::BPE, "The selected date for the next PIN refresh is in the past.",
     "NextPinHarvest"},
    {kSSUJob, HostTab::SSU,
     "The selected date for the next Self-Service Update check is in the past.", "NextSSU"},
};

TEST_F(HostEditorTest, APastDateIsMovedOnRequest) {
    for (const PastCase& past : kPast) {
        HostEditor& e = load();
        e.enabled = {};
        e.enabled[past.job] = true;
        e.next[past.job] = local(); // now is not after now
        e.dirty = true;
        world.ui.Expect(past.question + std::string(kPastQuestion), BoxAnswer::Yes);
        EXPECT_FALSE(save().stopped) << past.question;
        EXPECT_EQ(key(past.key), Value(world.clock.now() + std::chrono::minutes(1)));
        EXPECT_EQ(e.next[past.job], local() + std::chrono::minutes(1));
    }
}

TEST_F(HostEditorTest, APastDateStopsTheSaveOtherwise) {
    for (const PastCase& past : kPast) {
        HostEditor& e = load();
        e.enabled = {};
        e.enabled[past.job] = true;
        e.next[past.job] = local() - std::chrono::hours(1);
        e.polling = 77;
        e.dirty = true;
        world.ui.Expect(past.question + std::string(kPastQuestion), BoxAnswer::No);
        const HostStop stop = save();
        EXPECT_TRUE(stop.stopped);
        EXPECT_EQ(stop.tab, past.tab);
        EXPECT_EQ(stop.field, HostStop::Field::NextRun);
        EXPECT_EQ(stop.job, static_cast<size_t>(past.job));
        EXPECT_TRUE(e.dirty);
        EXPECT_FALSE(e.saved);
        EXPECT_TRUE(key("PollingInterval").empty()); // in memory alone
    }
    EXPECT_THAT(world.services.sent, IsEmpty());
}

TEST_F(HostEditorTest, TheSSUStopKeepsTheSecondPage) {
    HostEditor& e = load();
    e.enabled[kSSUJob] = true;
    e.next[kSSUJob] = local();
    e.dirty = true;
    world.ui.Expect("", BoxAnswer::No);
    const HostStop stop = save(HostTab::BPE);
    EXPECT_TRUE(stop.stopped);
    EXPECT_FALSE(stop.tab.has_value());
}

TEST_F(HostEditorTest, AStoppedSaveGoesOnWithTheSameMessage) {
    HostEditor& e = load();
    e.enabled[kEPSJob] = true;
    e.next[kEPSJob] = local();
    e.polling = 77;
    e.dirty = true;
    world.ui.Expect("", BoxAnswer::No);
    save();
    e.next[kEPSJob] = local() + std::chrono::hours(1);
    EXPECT_FALSE(save().stopped);
    EXPECT_EQ(key("PollingInterval"), Value(int32_t{77}));
}

TEST_F(HostEditorTest, ALimitThatWasNeverSetIsAskedFor) {
    HostEditor& e = load();
    e.enabled[kEPSJob] = true;
    e.epsLimited = true;
    e.OfferLimit(kEPSLimit);
    e.dirty = true;
    const std::string question = "The option is checked to only let EPS run for a specific time,\n"
                                 "but no limit has been set.\n"
                                 "Do you want to enter that now?";
    world.ui.Expect(question, BoxAnswer::Yes);
    const HostStop stop = save();
    EXPECT_TRUE(stop.stopped);
    EXPECT_EQ(stop.tab, HostTab::EPS);
    EXPECT_EQ(stop.field, HostStop::Field::EPSLimit);
    world.ui.Expect(question, BoxAnswer::No);
    EXPECT_FALSE(save().stopped);
    EXPECT_EQ(key("EPS.MaxInterval"), Value("3;h")); // what was offered
    e.dirty = true;
    EXPECT_FALSE(save().stopped); // now there is one
}

TEST_F(HostEditorTest, ALimitThatWasChosenIsNotAskedFor) {
    HostEditor& e = load();
    e.enabled[kEPSJob] = e.epsLimited = true;
    e.boxes[kEPSLimit] = {45, 0};
    e.TakeLimit(kEPSLimit);
    e.dirty = true;
    EXPECT_FALSE(save().stopped);
    EXPECT_EQ(key("EPS.MaxInterval"), Value("45;n"));
}

TEST_F(HostEditorTest, AClearedLimitIsOfferedAnew) {
    put("EPS UpdateClients", true);
    put("EPS.MaxInterval", "9;h");
    HostEditor& e = load();
    e.OfferLimit(kEPSLimit); // there is one
    EXPECT_EQ(e.boxes[kEPSLimit].number, 9);
    e.epsLimited = false;
    e.dirty = true;
    save();
    EXPECT_EQ(key("EPS.MaxInterval"), Value(""));
    e.OfferLimit(kEPSLimit);
    EXPECT_EQ(e.boxes[kEPSLimit].number, 3);
}

TEST_F(HostEditorTest, LimitsDoNotExceedTheInterval) {
    put("EPS.MaxInterval", "3;h");
    put("MCC.MaxInterval", "3;h");
    HostEditor& e = load();
    e.enabled[kEPSJob] = e.enabled[kMCCJob] = true;
    e.boxes[kEPSInterval] = {90, 0};
    e.boxes[kMCCInterval] = {179, 0};
    e.dirty = true;
    world.ui.Expect("The maximum runtime for EPS has been reduced to match the update interval.");
    world.ui.Expect("The maximum runtime for MCC has been reduced to match the update interval.");
    EXPECT_FALSE(save().stopped);
    EXPECT_EQ(key("EPS.MaxInterval"), Value("90;n"));
    EXPECT_EQ(key("MCC.MaxInterval"), Value("179;n"));
    EXPECT_EQ(e.boxes[kEPSLimit].number, 90);
    EXPECT_EQ(e.boxes[kEPSLimit].unit, 0U);
}

TEST_F(HostEditorTest, ALimitAsLongAsTheIntervalStays) {
    put("EPS.MaxInterval", "3;h");
    HostEditor& e = load();
    e.enabled[kEPSJob] = true;
    e.boxes[kEPSInterval] = {180, 0};
    e.dirty = true;
    EXPECT_FALSE(save().stopped);
    EXPECT_EQ(key("EPS.MaxInterval"), Value("3;h"));
}

TEST_F(HostEditorTest, AFailedSaveIsToldAndStaysOpen) {
    FailingStore failing(*world.store);
    world.session->rdo = failing.CreateSession();
    world.session->rdo->LogonExchangeMailbox("agentbox", "MAIL01");
    HostEditor& e = load();
    e.dirty = true;
    failing.plan().FailFrom(1);
    world.ui.Expect("The server's settings can't be saved.\n" + std::string(kFailure));
    EXPECT_TRUE(save().stopped);
    EXPECT_TRUE(e.dirty);
    EXPECT_FALSE(e.saved);
    EXPECT_THAT(world.services.sent, IsEmpty());
    EXPECT_TRUE(world.logHas("SaveHost: "));
    failing.plan().FailAt(0);
    EXPECT_FALSE(save().stopped);
    EXPECT_EQ(key("PollingInterval"), Value(int32_t{60}));
}

// Whatever call of the store fails: an exception never leaves, and the agent is told of nothing but
// a saved record.
TEST(HostEditorFailures, EachCallOfTheStoreMayFail) {
    World world;
    world.LogOnConfigured();
    Hosts hosts(world);
    const int runs = ForEachFailure([&](const Arm& arm) {
        const EntryID id = hosts.Add("SRVA");
        world.services.sent.clear();
        FailingSession failing(world);
        failing.LogOn();
        HostEditor e(failing.session);
        arm(failing.store.plan());
        const auto edit = [&] {
            if (!e.Load(id))
                return;
            e.enabled.fill(true);
            e.polling = 77;
            e.dirty = true;
            e.SaveHost(HostTab::Configuration);
        };
        EXPECT_NO_THROW(edit());
        EXPECT_EQ(hosts.Get(id, "PollingInterval"), e.saved ? Value(int32_t{77}) : Value());
        if (!e.saved)
            EXPECT_TRUE(world.services.sent.empty());
        EXPECT_EQ(e.saved, failing.ui.shown.empty());
        return failing.store.plan().Failed();
    });
    EXPECT_GT(runs, 10);
}

} // namespace
