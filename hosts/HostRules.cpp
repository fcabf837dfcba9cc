#include "hosts/HostRules.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "core/Text.h"
#include "core/basText.h"

namespace kr {

namespace {

using namespace std::chrono;

constexpr UnitChoices kShortUnits{{{"minutes", "n"}, {"hours", "h"}}};
constexpr UnitChoices kLongUnits{{{"days", "d"}, {"weeks", "ww"}}};

/// Of the boxes whose limits nobody gives: the lowest is that of the form.
constexpr NumberLimits kOpenLimits{1, 9999};
constexpr NumberLimits kMinutes{30, 1440};
constexpr NumberLimits kHours{1, 180};
constexpr NumberLimits kDays{1, 168};
constexpr NumberLimits kWeeks{1, 52};

constexpr Time kNoDateBefore = sys_days{year{2000} / January / 1};

constexpr Job kJobTable[kJobs] = {
    {"BPE HarvestPins", "NextPinHarvest", "PinHarvestInterval", "24;h", kPinInterval, 17,
     "The selected date for the next PIN refresh is in the past."},
    {"EPS UpdateClients", "NextClientUpdate", "ClientUpdateInterval", "24;h", kEPSInterval, 18,
     "The selected date for the next EPS update is in the past."},
    {"MCC.Enabled", "MCC.NextUpdate", "MCC.Interval", "24;h", kMCCInterval, 22,
     "The selected date for the next MCC run is in the past."},
    {"SSU", "NextSSU", "SSUInterval", "1;d", kSSUInterval, 10,
     "The selected date for the next Self-Service Update check is in the past."},
};

seconds lengthOf(std::string_view unit) {
    if (unit == "n")
        return minutes(1);
    if (unit == "h")
        return hours(1);
    if (unit == "d")
        return days(1);
    if (unit == "ww")
        return weeks(1);
    return seconds(0);
}

std::string partOf(const std::vector<std::string>& parts, size_t index) {
    return index < parts.size() ? parts[index] : std::string();
}

} // namespace

Interval ParseInterval(std::string_view text) {
    const auto parts = Split(text, ";");
    const double number = ParseNumber(partOf(parts, 0)).value_or(0);
    return {static_cast<int>(std::clamp(number, 0.0, 1e6)), Trim(partOf(parts, 1))};
}

const UnitChoices& UnitsOf(size_t index) {
    return index == kSSUInterval ? kLongUnits : kShortUnits;
}

size_t UnitPlace(size_t index, std::string_view unit) {
    return UnitsOf(index)[0].code == unit ? 0 : 1;
}

NumberLimits IntervalLimits(size_t index, size_t unitPlace) {
    if (index == kMCCInterval || index == kMCCLimit)
        return kOpenLimits;
    if (index == kSSUInterval)
        return unitPlace == 0 ? kDays : kWeeks;
    return unitPlace == 0 ? kMinutes : kHours;
}

int LimitNumber(std::string_view text, const NumberLimits& limits) {
    const double lowest = limits.lowest;
    const double number = ParseNumber(text).value_or(lowest);
    return static_cast<int>(std::clamp(std::trunc(number), lowest, double(limits.highest)));
}

const Job& JobOf(size_t index) { return kJobTable[index]; }

Time RollForward(Time date, const Interval& interval, Time now, bool after) {
    const seconds step = interval.number * lengthOf(interval.unit);
    const seconds behind = now - date;
    if (behind < seconds(0) || (behind == seconds(0) && !after) || step <= seconds(0))
        return date;
    const auto whole = behind / step;
    const bool onTheDot = behind % step == seconds(0);
    return date + (whole + (onTheDot && !after ? 0 : 1)) * step;
}

Time NextRun(const std::optional<Time>& stored, const Interval& interval, Time now, int hour) {
    if (stored && *stored >= kNoDateBefore)
        return RollForward(*stored, interval, now);
    const Time today = floor<days>(now);
    const bool later = floor<hours>(now - today) < hours(hour);
    return today + hours(hour) + (later ? days(0) : days(1));
}

bool FindsBESData(std::string_view version) {
    const auto parts = Split(version, ".");
    const std::string first = partOf(parts, 0);
    return first > "3" || (first == "3" && partOf(parts, 1) >= "2");
}

bool KnowsMCC(std::string_view version) {
    const auto parts = Split(version, ".");
    std::array<double, 3> numbers{};
    for (size_t i = 0; i < numbers.size(); ++i)
        numbers[i] = ParseNumber(partOf(parts, i)).value_or(0);
    return numbers >= std::array<double, 3>{3, 5, 5};
}

int LogOption(int level) {
    if (level < 4)
        return 0;
    if (level == 4)
        return 1;
    return level >= kLogMaximum ? 2 : -1;
}

int LogLevelOf(int option) { return 1 << (option + 1); }

bool DefaultReporting(int level) { return level >= 4; }

std::vector<std::string> ServersOf(std::string_view text) {
    auto parts = SplitNonEmpty(text, ";");
    if (Split(text, ";").size() > 1)
        std::erase(parts, "*");
    return parts;
}

bool HasEmbeddedWildcard(std::string_view name) {
    const size_t at = name.find('*');
    return at != name.npos && at > 0 && at + 1 < name.size();
}

bool ContainsEntry(const std::vector<std::string>& entries, std::string_view name) {
    return std::ranges::any_of(entries,
                               [&](const std::string& entry) { return EqualNoCase(entry, name); });
}

} // namespace kr
