#include "core/basDate.h"

#include <algorithm>
#include <cstdio>
#include <ctime>

#include "core/Text.h"

namespace kr {

namespace {

using namespace std::chrono;

constexpr Time kFirst = sys_days{year{1} / January / 1};
constexpr Time kLast = sys_days{year{9999} / December / 31} + 86399s;
constexpr Time kTimeOnlyDay = sys_days{year{1899} / December / 30}; // the day of a time alone

Time clamped(Time t) { return std::clamp(t, kFirst, kLast); }

/// Takes numbers and separators off the front of a text.
class Scanner {
public:
    explicit Scanner(std::string_view text) : m_text(text) {}
    bool atEnd() const { return m_text.empty(); }
    bool take(char c) {
        if (m_text.empty() || m_text.front() != c)
            return false;
        m_text.remove_prefix(1);
        return true;
    }
    void blanks() {
        while (take(' ') || take('\t')) {
        }
    }
    bool word(std::string_view word) {
        if (m_text.size() < word.size() || !EqualNoCase(m_text.substr(0, word.size()), word))
            return false;
        m_text.remove_prefix(word.size());
        return true;
    }
    /// A number of one to maxDigits digits; `digits` tells how many there were.
    bool number(unsigned& value, size_t maxDigits, size_t& digits) {
        digits = 0;
        value = 0;
        while (digits < m_text.size() && m_text[digits] >= '0' && m_text[digits] <= '9') {
            if (digits == maxDigits)
                return false;
            value = value * 10 + static_cast<unsigned>(m_text[digits] - '0');
            ++digits;
        }
        m_text.remove_prefix(digits);
        return digits > 0;
    }
    bool number(unsigned& value, size_t maxDigits) {
        size_t digits = 0;
        return number(value, maxDigits, digits);
    }

private:
    std::string_view m_text;
};

std::optional<Time> dayOf(unsigned y, unsigned m, unsigned d) {
    const year_month_day date{year{static_cast<int>(y)}, month{m}, day{d}};
    if (!date.ok() || y < 1 || y > 9999)
        return std::nullopt;
    return sys_days{date};
}

/// "2026-03-09", the year already read.
std::optional<Time> isoDate(Scanner& scan, unsigned y) {
    unsigned m = 0;
    unsigned d = 0;
    if (!scan.number(m, 2) || !scan.take('-') || !scan.number(d, 2))
        return std::nullopt;
    return dayOf(y, m, d);
}

/// "3/9/2026", the month already read.
std::optional<Time> slashDate(Scanner& scan, unsigned m) {
    unsigned d = 0;
    unsigned y = 0;
    size_t digits = 0;
    if (!scan.number(d, 2) || !scan.take('/') || !scan.number(y, 4, digits))
        return std::nullopt;
    if (digits <= 2)
        y += y < 30 ? 2000 : 1900;
    return dayOf(y, m, d);
}

/// Turns an hour with AM or PM into one of 24; false when there is no such hour.
bool halfDay(Scanner& scan, unsigned& hour) {
    scan.blanks();
    const bool pm = scan.word("PM");
    if (!pm && !scan.word("AM"))
        return hour < 24;
    if (hour < 1 || hour > 12)
        return false;
    hour = hour % 12 + (pm ? 12 : 0);
    return true;
}

/// The rest of a time whose hour was read, up to the end of the text.
std::optional<seconds> timeAfterHour(Scanner& scan, unsigned hour) {
    unsigned minute = 0;
    unsigned second = 0;
    if (!scan.take(':') || !scan.number(minute, 2))
        return std::nullopt;
    if (scan.take(':')) {
        unsigned fraction = 0;
        if (!scan.number(second, 2) || (scan.take('.') && !scan.number(fraction, 9)))
            return std::nullopt;
    }
    if (!halfDay(scan, hour) || minute > 59 || second > 59 || !scan.atEnd())
        return std::nullopt;
    return hours{hour} + minutes{minute} + seconds{second};
}

std::string twelveHours(unsigned hour) { return std::to_string(hour % 12 == 0 ? 12 : hour % 12); }

std::string print(const char* format, unsigned a, unsigned b, unsigned c) {
    char buffer[48];
    std::snprintf(buffer, sizeof buffer, format, a, b, c);
    return buffer;
}

SystemTime partsOf(Time date) {
    SystemTime parts;
    DateToSystemTime(date, parts);
    return parts;
}

const char* halfOf(const SystemTime& t) { return t.hour < 12 ? " AM" : " PM"; }

} // namespace

seconds LocalOffset(const Clock& clock) {
    const std::time_t now = system_clock::to_time_t(clock.now());
    std::tm parts{};
    tzset(); // the zone may be another one since the last call
    if (!localtime_r(&now, &parts))
        return 0s;
    return seconds{parts.tm_gmtoff};
}

Time LocalToUTC(Time local, const Clock& clock) { return local - LocalOffset(clock); }
Time UTCToLocal(Time utc, const Clock& clock) { return utc + LocalOffset(clock); }

void DateToSystemTime(Time date, SystemTime& record) {
    const Time t = clamped(date);
    const auto dayPoint = floor<days>(t);
    const year_month_day ymd{dayPoint};
    const hh_mm_ss time{t - dayPoint};
    record.year = static_cast<uint16_t>(static_cast<int>(ymd.year()));
    record.month = static_cast<uint16_t>(static_cast<unsigned>(ymd.month()));
    record.day = static_cast<uint16_t>(static_cast<unsigned>(ymd.day()));
    record.hour = static_cast<uint16_t>(time.hours().count());
    record.minute = static_cast<uint16_t>(time.minutes().count());
    record.second = static_cast<uint16_t>(time.seconds().count());
}

bool SystemTimeToDate(const SystemTime& record, Time& date) {
    const auto day = dayOf(record.year, record.month, record.day);
    if (!day || record.hour > 23 || record.minute > 59 || record.second > 59)
        return false;
    date = *day + hours{record.hour} + minutes{record.minute} + seconds{record.second};
    return true;
}

std::string FormatShortDate(Time local) {
    const SystemTime t = partsOf(local);
    return print("%u/%u/%04u", t.month, t.day, t.year);
}

std::string FormatShortTime(Time local) {
    const SystemTime t = partsOf(local);
    return twelveHours(t.hour) + print(":%02u", t.minute, 0, 0) + halfOf(t);
}

std::string FormatTime24(Time local) {
    const SystemTime t = partsOf(local);
    return print("%02u:%02u:%02u", t.hour, t.minute, t.second);
}

std::string FormatDate(Time local) {
    const SystemTime t = partsOf(local);
    return FormatShortDate(local) + ' ' + twelveHours(t.hour) +
           print(":%02u:%02u", t.minute, t.second, 0) + halfOf(t);
}

std::optional<Time> ParseDate(std::string_view text) {
    const std::string trimmed = Trim(text);
    Scanner scan(trimmed);
    unsigned first = 0;
    size_t digits = 0;
    if (!scan.number(first, 4, digits))
        return std::nullopt;
    std::optional<Time> day;
    if (digits == 4 && scan.take('-'))
        day = isoDate(scan, first);
    else if (digits <= 2 && scan.take('/'))
        day = slashDate(scan, first);
    else if (const auto time = timeAfterHour(scan, first); time && digits <= 2)
        return kTimeOnlyDay + *time;
    if (!day || scan.atEnd())
        return day;
    if (!scan.take(' ') && !scan.take('\t') && !scan.take('T'))
        return std::nullopt;
    scan.blanks();
    unsigned hour = 0;
    const bool hasHour = scan.number(hour, 2);
    const auto time = hasHour ? timeAfterHour(scan, hour) : std::nullopt;
    return time ? std::optional<Time>(*day + *time) : std::nullopt;
}

} // namespace kr
