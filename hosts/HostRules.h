#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/Value.h"

/// The rules of a server's settings: intervals, next runs, limits, versions, log levels, lists.
namespace kr {

/// The interval boxes of frmHost.
enum IntervalIndex { kPinInterval, kEPSInterval, kSSUInterval, kEPSLimit, kMCCInterval, kMCCLimit };
inline constexpr size_t kIntervals = 6;

/// "24;h": a number and a date-interval code, n minutes, h hours, d days, ww weeks.
struct Interval {
    int number = 0;
    std::string unit;
    std::string text() const { return std::to_string(number) + ";" + unit; }
    /// For n and h alone, the units of the runs that have a limit.
    int minutes() const { return unit == "h" ? number * 60 : number; }
    bool operator==(const Interval&) const = default;
};
/// A number that isn't one reads as 0.
Interval ParseInterval(std::string_view text);

/// The two units that a box offers, as the list shows them and as the text has them.
struct UnitChoice {
    std::string_view shown;
    std::string_view code;
};
using UnitChoices = std::array<UnitChoice, 2>;
const UnitChoices& UnitsOf(size_t index);
/// The place of a unit among them: whatever isn't the first unit shows as the second.
size_t UnitPlace(size_t index, std::string_view unit);

struct NumberLimits {
    int lowest = 0;
    int highest = 0;
    bool operator==(const NumberLimits&) const = default;
};
inline constexpr NumberLimits kPollingLimits{5, 3600};
inline constexpr NumberLimits kWatchdogLimits{0, 30};
NumberLimits IntervalLimits(size_t index, size_t unitPlace);
/// The check of a number box: what isn't a number or is too small becomes the lowest, what is too
/// large the highest.
int LimitNumber(std::string_view text, const NumberLimits& limits);

/// The jobs that have a next run.
enum JobIndex { kPinJob, kEPSJob, kMCCJob, kSSUJob };
inline constexpr size_t kJobs = 4;
struct Job {
    std::string_view master; // the key that switches it on
    std::string_view next;
    std::string_view interval;
    std::string_view initial; // of the interval
    size_t intervalIndex;
    int hour; // of the first run
    /// The first line of the question when the next run isn't in the future.
    std::string_view past;
};
const Job& JobOf(size_t index);

/// `date` moved on by whole intervals to the first moment that `now` isn't past; with `after` to
/// the first that lies after `now`. All are local times, so the time of day stays. An interval
/// that doesn't move on leaves the date as it is.
Time RollForward(Time date, const Interval& interval, Time now, bool after = false);
/// The next run that the dialog shows: the stored one rolled forward, or when there is none, or one
/// before 2000, today or tomorrow at the default hour. Local times.
Time NextRun(const std::optional<Time>& stored, const Interval& interval, Time now, int hour);

/// The agent finds BES data by itself: version 3.2 or later. Deliberately a comparison of text, so
/// that "3.10" and "10.0" count as earlier.
bool FindsBESData(std::string_view version);
/// The agent knows Custom Contact Lists: version 3.5.5 or later, compared as numbers.
bool KnowsMCC(std::string_view version);

// --- Logging

inline constexpr int kLogMaximum = 8;
inline constexpr int kLogComplete = 12;
/// 0 Minimum, 1 Medium, 2 Maximum; -1 for levels that belong to none.
int LogOption(int level);
/// The level of an option.
int LogLevelOf(int option);
/// Diagnostic reporting where the record says nothing.
bool DefaultReporting(int level);

// --- Lists

/// The entries of a text of servers; among several parts a "*" doesn't count.
std::vector<std::string> ServersOf(std::string_view text);
/// Deliberately looks at the first "*" only: "a*b" is refused, "*a*b" isn't.
bool HasEmbeddedWildcard(std::string_view name);
bool ContainsEntry(const std::vector<std::string>& entries, std::string_view name);

} // namespace kr
