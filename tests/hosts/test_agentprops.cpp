#include "tests/hosts/AgentPropsTest.h"

#include "core/Text.h"
#include "core/basDate.h"
#include "tests/support/FailingWorld.h"

namespace {

using namespace kr;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::string_view kExtensions =
    "ade;adp;asx;bas;chm;cmd;com;cpl;crt;exe;hlp;hta;inf;ins;isp;js;jse;lnk;mda;mdb;mde;mdz;msc;"
    "msi;msp;mst;pcd;pif;scf;scr;sct;shb;shs;vb;vbe;vbs;wsc;wsf;wsh";

// --- reading

TEST_F(AgentPropsTest, DefaultsOfAnEmptyMessage) {
    const AgentFields& f = reload();
    EXPECT_EQ(f.deleteDelay, 60);
    EXPECT_FALSE(f.cleanSender);
    EXPECT_EQ(f.maxAttach, 5);
    EXPECT_EQ(f.maxList, 25);
    EXPECT_EQ(f.browserWait, 6);
    EXPECT_EQ(f.staleDate, 2);
    EXPECT_FALSE(f.reporting);
    EXPECT_EQ(f.admins, RecipientList());
    EXPECT_EQ(f.reporters, RecipientList());
    EXPECT_THAT(f.senderDomains, IsEmpty());
    EXPECT_THAT(f.refuseDomains, IsEmpty());
    EXPECT_THAT(f.trustedDomains, IsEmpty());
    EXPECT_EQ(Join(f.excludeExt, ";"), kExtensions);
    EXPECT_EQ(f.fax, 0);
    EXPECT_EQ(f.faxSyntax.syntax, "[FAX:recipient_name@phone_number]");
    EXPECT_EQ(f.faxSyntax.relay, "");
    EXPECT_FALSE(f.faxSendAs);
    EXPECT_FALSE(f.backupDisabled);
    EXPECT_EQ(f.backupTime, at(2026, 3, 10)); // today, local
    EXPECT_THAT(f.custom, ElementsAre("", "", "", "", ""));
    EXPECT_FALSE(props->dirty);
    EXPECT_TRUE(world.logHas("frmAgentProps: GetParameters from zandrelAgent"));
}

TEST_F(AgentPropsTest, ReadsWhatTheMessageHas) {
    put("DeleteDelay", int32_t{90});
    put("CleanSender", true);
    put("MaxAttach", int32_t{7});
    put("MaxList", int32_t{8});
    put("BrowserWait", int32_t{120});
    put("StaleDate", int32_t{48});
    put("Reporting", true);
    put("AdminNames", "Alice;Bob");
    put("AdminEmail", "alice@example.test;bob@example.test");
    put("ReportNames", "Bob");
    put("ReportEmail", "bob@example.test");
    put("SenderDomains", "a.test; b.test;");
    put("RefuseDomains", "c.test");
    put("ExcludeExt", "exe;zip");
    put("BPE.TrustedDomains", "d.test;e.test");
    put("Fax", int32_t{2});
    put("FaxSyntax", "[FAX:phone_number];relay@fax.test");
    put("FaxSendAs", true);
    put("DailyBackup.Disable", true);
    put("DailyBackup.Time", at(2026, 3, 1, 22, 15)); // UTC
    put("CustomAttribute.PIN", "extensionAttribute3");
    put("CustomAttribute.User4", "pager");
    const AgentFields& f = reload();
    EXPECT_EQ(f.deleteDelay, 90);
    EXPECT_TRUE(f.cleanSender);
    EXPECT_EQ(f.maxAttach, 7);
    EXPECT_EQ(f.maxList, 8);
    EXPECT_EQ(f.browserWait, 120);
    EXPECT_EQ(f.staleDate, 48);
    EXPECT_TRUE(f.reporting);
    EXPECT_EQ(f.admins.names, "Alice;Bob");
    EXPECT_EQ(f.admins.addresses, "alice@example.test;bob@example.test");
    EXPECT_EQ(f.reporters.names, "Bob");
    EXPECT_EQ(f.reporters.addresses, "bob@example.test");
    EXPECT_THAT(f.senderDomains, ElementsAre("a.test", "b.test"));
    EXPECT_THAT(f.refuseDomains, ElementsAre("c.test"));
    EXPECT_THAT(f.excludeExt, ElementsAre("exe", "zip"));
    EXPECT_THAT(f.trustedDomains, ElementsAre("d.test", "e.test"));
    EXPECT_EQ(f.fax, 2);
    EXPECT_EQ(f.faxSyntax.syntax, "[FAX:phone_number]");
    EXPECT_EQ(f.faxSyntax.relay, "relay@fax.test");
    EXPECT_TRUE(f.faxSendAs);
    EXPECT_TRUE(f.backupDisabled);
    EXPECT_EQ(f.backupTime, at(2026, 3, 1, 23, 15));
    EXPECT_THAT(f.custom, ElementsAre("extensionAttribute3", "", "", "", "pager"));
}

struct LimitCase {
    const char* key;
    int AgentFields::*field;
    int stored;
    int shown;
};
const LimitCase kLimits[] = {
    {"DeleteDelay", &AgentFields::deleteDelay, 3, 5},
    {"DeleteDelay", &AgentFields::deleteDelay, 5, 5},
    {"DeleteDelay", &AgentFields::deleteDelay, 10080, 10080},
    {"DeleteDelay", &AgentFields::deleteDelay, 20000, 10080},
    {"DeleteDelay", &AgentFields::deleteDelay, -1, 5},
    {"MaxAttach", &AgentFields::maxAttach, 0, 5}, // not 1
    {"MaxAttach", &AgentFields::maxAttach, -7, 5},
    {"MaxAttach", &AgentFields::maxAttach, 1, 1},
    {"MaxAttach", &AgentFields::maxAttach, 9, 9},
    {"MaxAttach", &AgentFields::maxAttach, 10, 9},
    {"MaxList", &AgentFields::maxList, 5, 6},
    {"MaxList", &AgentFields::maxList, 6, 6},
    {"MaxList", &AgentFields::maxList, 99, 99},
    {"MaxList", &AgentFields::maxList, 100, 99},
    {"BrowserWait", &AgentFields::browserWait, 6, 6},
    {"BrowserWait", &AgentFields::browserWait, 0, 6},
    {"BrowserWait", &AgentFields::browserWait, 7, 7},
    {"BrowserWait", &AgentFields::browserWait, 9001, 9000},
    {"StaleDate", &AgentFields::staleDate, 0, 0},
    {"StaleDate", &AgentFields::staleDate, 5000, 5000},
    {"Fax", &AgentFields::fax, 3, 3},
    {"Fax", &AgentFields::fax, 4, 0},
    {"Fax", &AgentFields::fax, -1, 0},
};

TEST_F(AgentPropsTest, NumbersAreBroughtIntoTheirLimits) {
    for (const LimitCase& c : kLimits) {
        put("MaxAttach", int32_t{5}); // MaxList depends on it
        put(c.key, int32_t{c.stored});
        EXPECT_EQ(reload().*c.field, c.shown) << c.key << " " << c.stored;
        EXPECT_FALSE(props->dirty);
        EXPECT_EQ(key(c.key), Value(int32_t{c.stored})); // nothing is written
    }
}

TEST_F(AgentPropsTest, TheListHoldsMoreThanTheAttachments) {
    put("MaxAttach", int32_t{9});
    put("MaxList", int32_t{5});
    EXPECT_EQ(reload().maxList, 10);
    put("MaxAttach", int32_t{50}); // becomes 9 first
    put("MaxList", int32_t{20});
    EXPECT_EQ(reload().maxList, 20);
}

TEST_F(AgentPropsTest, ValuesOfAnotherTypeReadAsZero) {
    auto message = hosts.Open(id());
    const auto text = [&](std::string_view name, const char* value) {
        message->SetFields(GetPropTag(*message, name, PropType::String), Value(value));
    };
    text("DeleteDelay", "90");
    text("CleanSender", "True");
    text("StaleDate", "72");
    text("Fax", "2");
    message->Save();
    EXPECT_EQ(reload().deleteDelay, 5);
    EXPECT_FALSE(props->fields.cleanSender);
    EXPECT_EQ(props->fields.fax, 0);
    EXPECT_EQ(props->fields.staleDate, 72); // a number is enough
}

TEST_F(AgentPropsTest, AnAgeThatIsNoNumberIsTheDefault) {
    auto message = hosts.Open(id());
    message->SetFields(GetPropTag(*message, "StaleDate", PropType::String), Value("soon"));
    message->Save();
    EXPECT_EQ(reload().staleDate, 2);
}

TEST_F(AgentPropsTest, TheFaxSyntaxIsSplit) {
    setRelay(" relay@provider.test ");
    struct Case {
        const char* stored;
        const char* syntax;
        const char* relay;
    };
    const Case cases[] = {
        {"", "[FAX:recipient_name@phone_number]", "relay@provider.test"},
        {"[FAXINAT:phone_number]", "[FAXINAT:phone_number]", "relay@provider.test"},
        {"[FAX:phone_number];", "[FAX:phone_number]", "relay@provider.test"},
        {";own@relay.test", "[FAX:recipient_name@phone_number]", "own@relay.test"},
        {"[FAX:x];own@relay.test", "[FAX:x]", "own@relay.test"},
    };
    for (const Case& c : cases) {
        put("FaxSyntax", c.stored);
        EXPECT_EQ(reload().faxSyntax.syntax, c.syntax) << c.stored;
        EXPECT_EQ(props->fields.faxSyntax.relay, c.relay) << c.stored;
    }
}

TEST_F(AgentPropsTest, AMissingMessageIsLoggedAndLeavesTheDefaults) {
    put("DeleteDelay", int32_t{90});
    world.session->AgentMsgID = {};
    EXPECT_EQ(reload().deleteDelay, 60);
    EXPECT_EQ(Join(props->fields.excludeExt, ";"), kExtensions);
    EXPECT_TRUE(world.logHas("frmAgentProps: missing agent message"));
    EXPECT_FALSE(world.logHas("frmAgentProps: GetParameters from"));
}

// --- writing

TEST_F(AgentPropsTest, NothingIsWrittenUnlessSomethingChanged) {
    put("DeleteDelay", int32_t{3});
    const Time modified = hosts.Open(id())->LastModificationTime();
    world.clock.Advance(std::chrono::hours(1));
    load();
    EXPECT_TRUE(props->Apply());
    EXPECT_EQ(key("DeleteDelay"), Value(int32_t{3}));
    EXPECT_TRUE(key("MaxAttach").empty());
    EXPECT_EQ(hosts.Open(id())->LastModificationTime(), modified);
    EXPECT_THAT(world.services.sent, IsEmpty());
}

TEST_F(AgentPropsTest, WritesAllKeysAndTellsTheAgentOfThisComputer) {
    AgentFields& f = reload();
    f.deleteDelay = 30;
    f.cleanSender = true;
    f.maxAttach = 4;
    f.maxList = 50;
    f.browserWait = 60;
    f.staleDate = 12;
    f.reporting = true;
    f.admins = {"id", "Alice", "alice@example.test"};
    f.reporters = {"id", "Bob", "bob@example.test"};
    f.senderDomains = {"a.test", "b.test"};
    f.refuseDomains = {"c.test"};
    f.excludeExt = {"exe"};
    f.trustedDomains = {"d.test"};
    f.fax = kFaxSecure;
    f.faxSyntax = {"[FAXINAT:phone_number]", "relay@fax.test"};
    f.faxSendAs = true;
    f.backupDisabled = true;
    f.backupTime = at(2026, 3, 10, 1, 30);
    f.custom = {"pager", "info", "", "division", ""};
    props->dirty = true;
    EXPECT_TRUE(props->Apply());
    EXPECT_EQ(key("DeleteDelay"), Value(int32_t{30}));
    EXPECT_EQ(key("CleanSender"), Value(true));
    EXPECT_EQ(key("MaxAttach"), Value(int32_t{4}));
    EXPECT_EQ(key("MaxList"), Value(int32_t{50}));
    EXPECT_EQ(key("BrowserWait"), Value(int32_t{60}));
    EXPECT_EQ(key("StaleDate"), Value(int32_t{12}));
    EXPECT_EQ(key("Reporting"), Value(true));
    EXPECT_EQ(key("AdminNames"), Value("Alice"));
    EXPECT_EQ(key("AdminEmail"), Value("alice@example.test"));
    EXPECT_EQ(key("ReportNames"), Value("Bob"));
    EXPECT_EQ(key("ReportEmail"), Value("bob@example.test"));
    EXPECT_EQ(key("SenderDomains"), Value("a.test;b.test"));
    EXPECT_EQ(key("RefuseDomains"), Value("c.test"));
    EXPECT_EQ(key("ExcludeExt"), Value("exe"));
    EXPECT_EQ(key("BPE.TrustedDomains"), Value("d.test"));
    EXPECT_EQ(key("Fax"), Value(int32_t{2}));
    EXPECT_EQ(key("FaxSyntax"), Value("[FAXINAT:phone_number];relay@fax.test"));
    EXPECT_EQ(key("FaxSendAs"), Value(true));
    EXPECT_EQ(key("DailyBackup.Disable"), Value(true));
    EXPECT_EQ(key("DailyBackup.Time"), Value(at(2026, 3, 10, 0, 30)));
    EXPECT_EQ(key("CustomAttribute.PIN"), Value("pager"));
    EXPECT_EQ(key("CustomAttribute.User1"), Value("info"));
    EXPECT_EQ(key("CustomAttribute.User2"), Value(""));
    EXPECT_EQ(key("CustomAttribute.User3"), Value("division"));
    EXPECT_FALSE(props->dirty);
    EXPECT_THAT(world.services.sent, ElementsAre(Sent{"", "zandrelAgent", 128}));
    EXPECT_TRUE(props->Apply()); // nothing has changed since
    EXPECT_EQ(world.services.sent.size(), 1U);
}

TEST_F(AgentPropsTest, DefaultsAreWrittenWithTheRest) {
    load().dirty = true;
    EXPECT_TRUE(props->Apply());
    EXPECT_EQ(key("DeleteDelay"), Value(int32_t{60}));
    EXPECT_EQ(key("ExcludeExt"), Value(kExtensions));
    EXPECT_EQ(key("FaxSyntax"), Value("[FAX:recipient_name@phone_number];"));
    EXPECT_EQ(key("DailyBackup.Time"), Value(at(2026, 3, 9, 23)));
    EXPECT_TRUE(key("Reporting").empty()); // nobody said anything about it
}

TEST_F(AgentPropsTest, ReportingIsWrittenOnceSomebodyChangedIt) {
    load().fields.reporting = true;
    props->dirty = true;
    props->Apply();
    EXPECT_EQ(key("Reporting"), Value(true));
    load().fields.reporting = false;
    props->dirty = true;
    props->Apply();
    EXPECT_EQ(key("Reporting"), Value(false));
}

TEST_F(AgentPropsTest, ValuesAreBroughtIntoTheirLimitsBeforeTheyAreWritten) {
    AgentFields& f = reload();
    f.deleteDelay = 1;
    f.maxAttach = 0;
    f.maxList = 2;
    f.browserWait = 99999;
    props->dirty = true;
    EXPECT_TRUE(props->Apply());
    EXPECT_EQ(key("DeleteDelay"), Value(int32_t{5}));
    EXPECT_EQ(key("MaxAttach"), Value(int32_t{5}));
    EXPECT_EQ(key("MaxList"), Value(int32_t{6}));
    EXPECT_EQ(key("BrowserWait"), Value(int32_t{9000}));
}

TEST_F(AgentPropsTest, AnEmptiedListOfFileTypesComesBack) {
    load().fields.excludeExt.clear();
    props->dirty = true;
    props->Apply();
    EXPECT_EQ(key("ExcludeExt"), Value(""));
    EXPECT_EQ(Join(reload().excludeExt, ";"), kExtensions);
}

TEST_F(AgentPropsTest, AWinterBackupTimeSavedInSummerKeepsItsHour) {
    world.clock.Set(at(2026, 7, 1, 12));
    load().fields.backupTime = at(2026, 1, 10, 2);
    props->dirty = true;
    props->Apply();
    EXPECT_EQ(key("DailyBackup.Time"), Value(at(2026, 1, 10))); // today's offset for every date
    EXPECT_EQ(reload().backupTime, at(2026, 1, 10, 2));
}

TEST_F(AgentPropsTest, WhatOthersWroteMeanwhileStays) {
    load().fields.deleteDelay = 77;
    props->dirty = true;
    put("EPS.HHMobile", int32_t{4});
    EXPECT_TRUE(props->Apply());
    EXPECT_EQ(key("EPS.HHMobile"), Value(int32_t{4}));
    EXPECT_EQ(key("DeleteDelay"), Value(int32_t{77}));
}

TEST_F(AgentPropsTest, WithoutAMessageNothingIsSentAndTheDialogStays) {
    const EntryID there = id();
    world.session->AgentMsgID = {};
    load().fields.deleteDelay = 77;
    props->dirty = true;
    world.ui.Expect("The agent's settings can't be saved.\nThe agent message can't be opened.");
    EXPECT_FALSE(props->Apply());
    EXPECT_TRUE(props->dirty);
    EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Stop);
    EXPECT_THAT(world.services.sent, IsEmpty());
    // back again: what was never read is written only where it was changed
    world.session->AgentMsgID = there;
    put("MaxAttach", int32_t{3});
    EXPECT_TRUE(props->Apply());
    EXPECT_EQ(key("DeleteDelay"), Value(int32_t{77}));
    EXPECT_EQ(key("MaxAttach"), Value(int32_t{3}));
}

// Whatever call of the store fails: nothing leaves, the agent hears only of a saved message, and a
// key that could not be read isn't overwritten by its default.
TEST(AgentPropsFailures, EachCallOfTheStoreMayFail) {
    World world;
    world.LogOnConfigured();
    Hosts hosts(world);
    const EntryID id = world.session->AgentMsgID;
    int unsaved = 0;
    const int runs = ForEachFailure([&](const Arm& arm) {
        hosts.Set(id, "DeleteDelay", int32_t{60});
        hosts.Set(id, "MaxAttach", int32_t{3});
        hosts.Set(id, "ExcludeExt", "exe");
        world.services.sent.clear();
        FailingSession failing(world);
        failing.LogOn();
        AgentProps props(failing.session);
        arm(failing.store.plan());
        bool saved = false;
        const auto edit = [&] {
            props.GetParameters();
            props.fields.deleteDelay = 77;
            props.dirty = true;
            saved = props.Apply();
        };
        EXPECT_NO_THROW(edit());
        EXPECT_EQ(hosts.Get(id, "DeleteDelay"), Value(int32_t{saved ? 77 : 60}));
        EXPECT_EQ(hosts.Get(id, "MaxAttach"), Value(int32_t{3}));
        EXPECT_EQ(hosts.Get(id, "ExcludeExt"), Value("exe"));
        EXPECT_EQ(world.services.sent.size(), saved ? 1U : 0U);
        EXPECT_EQ(props.dirty, !saved);
        EXPECT_EQ(saved, failing.ui.shown.empty());
        unsaved += !saved;
        return failing.store.plan().Failed();
    });
    EXPECT_GT(runs, 60); // each key is read by itself
    EXPECT_GT(unsaved, 10);
}

} // namespace
