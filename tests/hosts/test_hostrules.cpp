#include "hosts/HostRules.h"
#include "tests/hosts/HostTest.h"

namespace {

using namespace kr;

TEST(Intervals, AreANumberAndAUnit) {
    EXPECT_EQ(ParseInterval("24;h"), (Interval{24, "h"}));
    EXPECT_EQ(ParseInterval(" 2 ; ww"), (Interval{2, "ww"}));
    EXPECT_EQ(ParseInterval("x;h"), (Interval{0, "h"}));
    EXPECT_EQ(ParseInterval("-3;d"), (Interval{0, "d"}));
    EXPECT_EQ(ParseInterval("5"), (Interval{5, ""}));
    EXPECT_EQ(ParseInterval(""), (Interval{0, ""}));
    EXPECT_EQ((Interval{24, "h"}).text(), "24;h");
    EXPECT_EQ((Interval{3, "h"}).minutes(), 180);
    EXPECT_EQ((Interval{45, "n"}).minutes(), 45);
}

TEST(Intervals, UnknownUnitsShowAsTheSecond) {
    EXPECT_EQ(UnitPlace(kEPSInterval, "n"), 0U);
    EXPECT_EQ(UnitPlace(kEPSInterval, "h"), 1U);
    EXPECT_EQ(UnitPlace(kEPSInterval, "d"), 1U);
    EXPECT_EQ(UnitPlace(kSSUInterval, "d"), 0U);
    EXPECT_EQ(UnitPlace(kSSUInterval, "ww"), 1U);
    EXPECT_EQ(UnitPlace(kSSUInterval, "h"), 1U);
    EXPECT_EQ(UnitsOf(kSSUInterval)[1].code, "ww");
    EXPECT_EQ(UnitsOf(kMCCLimit)[0].shown, "minutes");
}

TEST(Intervals, LimitsByIndexAndUnit) {
    for (const size_t index : {kPinInterval, kEPSInterval, kEPSLimit}) {
        EXPECT_EQ(IntervalLimits(index, 0), (NumberLimits{30, 1440})) << index;
        EXPECT_EQ(IntervalLimits(index, 1), (NumberLimits{1, 180})) << index;
    }
    EXPECT_EQ(IntervalLimits(kSSUInterval, 0), (NumberLimits{1, 168}));
    EXPECT_EQ(IntervalLimits(kSSUInterval, 1), (NumberLimits{1, 52}));
    for (const size_t index : {kMCCInterval, kMCCLimit})
        EXPECT_EQ(IntervalLimits(index, 0).lowest, 1) << index;
}

TEST(Intervals, CheckOfANumberBox) {
    EXPECT_EQ(LimitNumber("", kPollingLimits), 5);
    EXPECT_EQ(LimitNumber("abc", kPollingLimits), 5);
    EXPECT_EQ(LimitNumber("4", kPollingLimits), 5);
    EXPECT_EQ(LimitNumber("5", kPollingLimits), 5);
    EXPECT_EQ(LimitNumber("3600", kPollingLimits), 3600);
    EXPECT_EQ(LimitNumber("3601", kPollingLimits), 3600);
    EXPECT_EQ(LimitNumber("99999999999999", kPollingLimits), 3600);
    EXPECT_EQ(LimitNumber("0", kWatchdogLimits), 0);
    EXPECT_EQ(LimitNumber("31", kWatchdogLimits), 30);
}

const Time kNow = at(2026, 3, 10, 10, 30);

TEST(NextRuns, AreRolledByWholeIntervals) {
    const Interval daily{24, "h"};
    EXPECT_EQ(RollForward(at(2011, 1, 1, 18), daily, kNow), at(2026, 3, 10, 18));
    EXPECT_EQ(RollForward(at(2011, 1, 1, 9), daily, kNow), at(2026, 3, 11, 9));
    EXPECT_EQ(RollForward(at(2026, 3, 10, 18), daily, kNow), at(2026, 3, 10, 18));
    EXPECT_EQ(RollForward(at(2026, 3, 10, 10), {25, "n"}, kNow), at(2026, 3, 10, 10, 50));
    EXPECT_EQ(RollForward(at(2026, 3, 1, 10), {1, "ww"}, kNow), at(2026, 3, 15, 10));
    EXPECT_EQ(RollForward(at(2026, 3, 1, 10), {2, "d"}, kNow), at(2026, 3, 11, 10));
}

TEST(NextRuns, NowItselfIsNotPast) {
    const Interval hourly{1, "h"};
    EXPECT_EQ(RollForward(kNow, hourly, kNow), kNow);
    EXPECT_EQ(RollForward(kNow, hourly, kNow, true), kNow + std::chrono::hours(1));
    const Time whole = kNow - std::chrono::hours(3);
    EXPECT_EQ(RollForward(whole, hourly, kNow), kNow);
    EXPECT_EQ(RollForward(whole, hourly, kNow, true), kNow + std::chrono::hours(1));
}

TEST(NextRuns, AnIntervalOfNothingDoesNotRollForEver) {
    const Time past = at(2020, 1, 1);
    EXPECT_EQ(RollForward(past, {0, "h"}, kNow), past);
    EXPECT_EQ(RollForward(past, {5, "bad"}, kNow, true), past);
}

TEST(NextRuns, WithoutADateTheDefaultHour) {
    const Interval daily{24, "h"};
    EXPECT_EQ(NextRun(std::nullopt, daily, kNow, 17), at(2026, 3, 10, 17));
    EXPECT_EQ(NextRun(std::nullopt, daily, kNow, 10), at(2026, 3, 11, 10)); // the present hour
    EXPECT_EQ(NextRun(std::nullopt, daily, kNow, 9), at(2026, 3, 11, 9));
    EXPECT_EQ(NextRun(at(1999, 12, 31, 23), daily, kNow, 22), at(2026, 3, 10, 22));
    EXPECT_EQ(NextRun(at(2000, 1, 1), daily, kNow, 22), at(2026, 3, 11, 0));
}

TEST(NextRuns, DefaultHoursOfTheJobs) {
    EXPECT_EQ(JobOf(kPinJob).hour, 17);
    EXPECT_EQ(JobOf(kEPSJob).hour, 18);
    EXPECT_EQ(JobOf(kMCCJob).hour, 22);
    EXPECT_EQ(JobOf(kSSUJob).hour, 10);
    EXPECT_EQ(JobOf(kSSUJob).initial, "1;d");
    EXPECT_EQ(JobOf(kMCCJob).next, "MCC.NextUpdate");
}

TEST(Versions, TheFirstGateComparesText) {
    for (const char* version : {"3.2", "3.2.1", "3.5.5", "4", "4.0.0", "3.9"})
        EXPECT_TRUE(FindsBESData(version)) << version;
    for (const char* version : {"", "3", "3.1.9", "3.10.0", "2.9", "10.0.0"})
        EXPECT_FALSE(FindsBESData(version)) << version;
}

TEST(Versions, TheSecondGateComparesNumbers) {
    for (const char* version : {"3.5.5", "3.5.10", "3.6", "3.10.0", "4.0.0", "10.1"})
        EXPECT_TRUE(KnowsMCC(version)) << version;
    for (const char* version : {"", "3", "3.5", "3.5.4", "3.4.9", "2.9.9"})
        EXPECT_FALSE(KnowsMCC(version)) << version;
}

TEST(LogLevels, SelectOptions) {
    const std::vector<std::pair<int, int>> options = {{0, 0},  {2, 0},  {3, 0}, {4, 1}, {5, -1},
                                                      {6, -1}, {7, -1}, {8, 2}, {12, 2}};
    for (const auto& [level, option] : options)
        EXPECT_EQ(LogOption(level), option) << level;
    EXPECT_EQ(LogLevelOf(0), 2);
    EXPECT_EQ(LogLevelOf(1), 4);
    EXPECT_EQ(LogLevelOf(2), 8);
    EXPECT_FALSE(DefaultReporting(3));
    EXPECT_TRUE(DefaultReporting(4));
}

TEST(ServerLists, AStarCountsAlone) {
    EXPECT_EQ(ServersOf("*"), Names{"*"});
    EXPECT_EQ(ServersOf("*;ab"), Names{"ab"});
    EXPECT_EQ(ServersOf("ab;*;cd*"), (Names{"ab", "cd*"}));
    EXPECT_EQ(ServersOf(""), Names{});
    EXPECT_EQ(ServersOf("a;;b"), (Names{"a", "b"}));
}

TEST(ServerLists, OnlyTheFirstStarIsLookedAt) {
    for (const char* name : {"*", "*ab", "ab*", "*ab*", "*a*b", "ab", "**"})
        EXPECT_FALSE(HasEmbeddedWildcard(name)) << name;
    for (const char* name : {"a*b", "a*b*", "ab*c"})
        EXPECT_TRUE(HasEmbeddedWildcard(name)) << name;
    EXPECT_TRUE(ContainsEntry({"MAIL01"}, "mail01"));
    EXPECT_FALSE(ContainsEntry({"MAIL01"}, "mail0"));
}

} // namespace
