#include "tests/eps/EpsNowTest.h"

namespace {

using namespace kr;

class EpsNowSettings : public EpsNowTest {
protected:
    EpsNow load() {
        EpsNow settings;
        EXPECT_TRUE(settings.Load(session(), id));
        return settings;
    }
    EpsNowResult run(bool special, const EpsNow& settings) {
        return RunEpsNow(session(), id, special, settings);
    }
};

TEST_F(EpsNowSettings, AServerWithoutKeysHasNoOverrides) {
    EXPECT_EQ(load(), EpsNow());
    EXPECT_FALSE(load().fullUpdate);
    EXPECT_TRUE(load().sendSummary);
    EXPECT_FALSE(load().removeObsolete.has_value());
}

TEST_F(EpsNowSettings, WhatIsSavedIsReadAgain) {
    EpsNow settings;
    settings.useCachedData = settings.fullUpdate = settings.useTargetList = true;
    settings.removeObsolete = true;
    settings.sendUpdates = false;
    settings.targetList = "alice@example.test;bob@example.test";
    settings.targetNames = "Alice Adams;Bob Baker";
    settings.sendSummary = false;
    settings.mergeEmailDupes = settings.reportOnly = settings.reportToAdmin =
        settings.reportToUser = true;
    const EpsNowResult result = run(true, settings);
    EXPECT_EQ(result.code, 199);
    EXPECT_EQ(load(), settings);
    EXPECT_EQ(key("EPS.OnDemand.UseCachedData"), Value(true));
    EXPECT_EQ(key("EPS.OnDemand.FullUpdate"), Value(true));
    EXPECT_EQ(key("EPS.OnDemand.RemoveObsolete"), Value("1"));
    EXPECT_EQ(key("EPS.OnDemand.SendUpdates"), Value("0"));
    EXPECT_EQ(key("EPS.OnDemand.UseTargetList"), Value(true));
    EXPECT_EQ(key("EPS.OnDemand.TargetList"), Value("alice@example.test;bob@example.test"));
    EXPECT_EQ(key("EPS.OnDemand.TargetNames"), Value("Alice Adams;Bob Baker"));
    EXPECT_EQ(key("EPS.OnDemand.NoSummary"), Value(true));
    EXPECT_EQ(key("EPS.OnDemand.MergeEmailDupes"), Value(true));
    EXPECT_EQ(key("EPS.ReportOnly"), Value(true));
    EXPECT_EQ(key("EPS.ReportOnly.Admin"), Value(true));
    EXPECT_EQ(key("EPS.ReportOnly.User"), Value(true));
}

TEST_F(EpsNowSettings, EachSwitchHasItsOwnKey) {
    const std::vector<std::pair<bool EpsNow::*, const char*>> switches = {
        {&EpsNow::useCachedData, "EPS.OnDemand.UseCachedData"},
        {&EpsNow::fullUpdate, "EPS.OnDemand.FullUpdate"},
        {&EpsNow::mergeEmailDupes, "EPS.OnDemand.MergeEmailDupes"},
        {&EpsNow::reportOnly, "EPS.ReportOnly"},
        {&EpsNow::reportToAdmin, "EPS.ReportOnly.Admin"},
        {&EpsNow::reportToUser, "EPS.ReportOnly.User"}};
    for (const auto& [field, name] : switches) {
        EpsNow settings;
        settings.*field = true;
        EXPECT_EQ(run(true, settings).code, 199);
        for (const auto& [other, otherName] : switches)
            EXPECT_EQ(key(otherName), Value(other == field)) << name << " " << otherName;
        EXPECT_EQ(load(), settings) << name;
    }
}

TEST_F(EpsNowSettings, NoOverrideIsAnEmptyTextAndNotZero) {
    put("EPS.OnDemand.RemoveObsolete", "1");
    put("EPS.OnDemand.SendUpdates", "0");
    EXPECT_EQ(load().removeObsolete, true);
    EXPECT_EQ(load().sendUpdates, false);
    EXPECT_EQ(run(true, EpsNow()).code, 199);
    EXPECT_EQ(key("EPS.OnDemand.RemoveObsolete"), Value(""));
    EXPECT_EQ(key("EPS.OnDemand.SendUpdates"), Value(""));
    EXPECT_FALSE(load().removeObsolete.has_value());
}

TEST_F(EpsNowSettings, OnlyAOneTicksTheChoiceOfAnOverride) {
    put("EPS.OnDemand.RemoveObsolete", "yes");
    EXPECT_EQ(load().removeObsolete, false);
}

TEST_F(EpsNowSettings, ASummaryThatIsSentIsNotSuppressed) {
    EpsNow settings;
    settings.sendSummary = true;
    run(true, settings);
    EXPECT_EQ(key("EPS.OnDemand.NoSummary"), Value(false));
    put("EPS.OnDemand.NoSummary", true);
    EXPECT_FALSE(load().sendSummary);
}

TEST_F(EpsNowSettings, APlainRunWritesNothing) {
    EpsNow settings;
    settings.fullUpdate = settings.useTargetList = true; // nor is it checked
    EXPECT_EQ(run(false, settings).code, 200);
    EXPECT_TRUE(untouched());
    put("EPS.OnDemand.FullUpdate", true);
    put("EPS.OnDemand.RemoveObsolete", "1");
    EXPECT_EQ(run(false, EpsNow()).code, 200);
    EXPECT_EQ(key("EPS.OnDemand.FullUpdate"), Value(true)); // stays from an earlier special run
    EXPECT_EQ(key("EPS.OnDemand.RemoveObsolete"), Value("1"));
}

TEST_F(EpsNowSettings, TargetsAreDemandedWhenTheyAreToLimitTheRun) {
    EpsNow settings;
    settings.useTargetList = true;
    for (const char* none : {"", ";", ";;"}) {
        settings.targetList = none;
        world.ui.Expect("You must select at least on address when choosing \n"
                        "the option to target only specific mailboxes!");
        const EpsNowResult result = run(true, settings);
        EXPECT_EQ(result.code, 0);
        EXPECT_TRUE(result.toTargets);
        EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Exclamation);
    }
    EXPECT_TRUE(untouched());
    settings.useTargetList = false;
    EXPECT_EQ(run(true, settings).code, 199);
    settings.useTargetList = true;
    settings.targetList = "alice@example.test";
    EXPECT_EQ(run(true, settings).code, 199);
}

TEST_F(EpsNowSettings, TargetsStayWhenTheRunIsForAll) {
    EpsNow settings;
    settings.targetList = "alice@example.test";
    settings.targetNames = "Alice Adams";
    EXPECT_EQ(run(true, settings).code, 199);
    EXPECT_EQ(load(), settings);
    EXPECT_EQ(key("EPS.OnDemand.UseTargetList"), Value(false));
}

TEST_F(EpsNowSettings, WhatTheAgentWritesMeanwhileStays) {
    EpsNow settings = load();
    put("CurrentTask", "SSU");
    EXPECT_EQ(run(true, settings).code, 199);
    EXPECT_EQ(key("CurrentTask"), Value("SSU"));
}

TEST_F(EpsNowSettings, ARecordThatHasGoneIsTold) {
    host()->Delete();
    EpsNow settings;
    settings.fullUpdate = true;
    world.ui.Expect("The server's record can't be opened.");
    EXPECT_FALSE(settings.Load(session(), id));
    EXPECT_EQ(settings, EpsNow());
    EXPECT_TRUE(world.logHas("frmEPSNow: the host message can't be opened: " + id.text()));
    world.ui.Expect("");
    EXPECT_EQ(run(true, settings).code, 0);
    EXPECT_TRUE(
        world.ui.boxes().back().text.starts_with("The settings of this run can't be saved.\n"));
    EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Stop);
    EXPECT_TRUE(world.logHas("frmEPSNow: the settings can't be saved: "));
    EXPECT_EQ(run(false, settings).code, 200); // a plain run needs no record
}

TEST_F(EpsNowSettings, ALostSessionIsTold) {
    session().rdo.reset();
    world.ui.Expect("");
    EXPECT_EQ(run(true, EpsNow()).code, 0);
}

} // namespace
