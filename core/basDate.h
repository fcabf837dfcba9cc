#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "core/Clock.h"

namespace kr {

/// Date helpers. Stores hold UTC, the console shows local time. A local time is a Time too: its
/// count is the seconds that the wall clock shows, so that it formats and compares by itself.

/// Seconds to add to UTC for the local time in force now, by the C library's time zone (TZ).
std::chrono::seconds LocalOffset(const Clock& clock);

/// Deliberately the daylight rule in force now for every date, also for past ones: a date that was
/// shown and written back in the same season keeps its value.
Time LocalToUTC(Time local, const Clock& clock);
Time UTCToLocal(Time utc, const Clock& clock);

/// The parts of a date, each 16 bits wide.
struct SystemTime {
    uint16_t year = 0;
    uint16_t month = 0;
    uint16_t day = 0;
    uint16_t hour = 0;
    uint16_t minute = 0;
    uint16_t second = 0;
    bool operator==(const SystemTime&) const = default;
};

/// Dates outside the years 1 to 9999 take the nearest one within.
void DateToSystemTime(Time date, SystemTime& record);
/// False, and `date` stays, when the record is no date.
bool SystemTimeToDate(const SystemTime& record, Time& date);

/// The form of dates in lists, boxes and the log, the same on every desktop: month first, no
/// leading zeros but in minutes and seconds, twelve hours: "3/9/2026 4:05:06 PM".
std::string FormatDate(Time local);
/// "3/9/2026"
std::string FormatShortDate(Time local);
/// "4:05 PM"
std::string FormatShortTime(Time local);
/// "16:05:06"
std::string FormatTime24(Time local);

/// Reads what the formats above write, dates alone, times of 24 hours, two-digit years (00 to 29
/// are 2000 to 2029), and "2026-03-09" with or without a time behind "T" or a blank; fractions of
/// a second go. A time alone is one of 30 December 1899. Nothing when it is no date.
std::optional<Time> ParseDate(std::string_view text);

} // namespace kr
