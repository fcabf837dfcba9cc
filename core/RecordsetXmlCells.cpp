#include "core/RecordsetXmlCells.h"

#include <charconv>
#include <chrono>
#include <optional>
#include <stdexcept>

#include "core/RecordsetConvert.h"
#include "core/RecordsetData.h"
#include "core/Text.h"
#include "core/basDate.h"
#include "core/basText.h"

namespace kr {

namespace {

/// Digits alone from `at` on; -1 when they aren't.
int digitsAt(std::string_view text, size_t at, size_t count) {
    int number = 0;
    const char* end = text.data() + at + count;
    const auto read = std::from_chars(text.data() + at, end, number);
    return read.ec == std::errc() && read.ptr == end && text[at] != '-' ? number : -1;
}

/// The form that is written, 2009-03-07T10:11:12, or what else is a date. "Z" behind a time says
/// nothing: recordsets keep local times.
std::optional<Time> dateOf(std::string_view text) {
    if (text.ends_with('Z'))
        text.remove_suffix(1);
    const bool usual = text.size() == 19 && text[4] == '-' && text[7] == '-' && text[10] == 'T' &&
                       text[13] == ':' && text[16] == ':';
    if (!usual)
        return ParseDate(text);
    const std::chrono::year_month_day day(
        std::chrono::year(digitsAt(text, 0, 4)),
        std::chrono::month(static_cast<unsigned>(digitsAt(text, 5, 2))),
        std::chrono::day(static_cast<unsigned>(digitsAt(text, 8, 2))));
    const int hour = digitsAt(text, 11, 2), minute = digitsAt(text, 14, 2);
    const int second = digitsAt(text, 17, 2);
    if (!day.ok() || day.year() < std::chrono::year(1) || hour < 0 || hour > 23 || minute < 0 ||
        minute > 59 || second < 0 || second > 59)
        return {};
    return Time(std::chrono::sys_days(day)) +
           std::chrono::seconds(hour * 3600 + minute * 60 + second);
}

/// Plain digits, spared the closer look at what else can be a number.
bool plainWhole(std::string_view text, int32_t& number) {
    const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
    return !text.empty() && read.ec == std::errc() && read.ptr == text.data() + text.size();
}

} // namespace

bool ReadBooleanText(std::string_view text) {
    return EqualNoCase(text, "true") || text == "1" || text == "-1";
}

RecordsetCell CellOfText(const Field& field, const std::string& text) {
    RecordsetCell cell;
    const auto whole = [&](int64_t value) {
        cell.kind = RecordsetCell::Kind::Integer;
        cell.integer = value;
    };
    if (IsTextField(field.type) || field.type == FieldType::Variant) {
        cell.kind = RecordsetCell::Kind::Text;
        cell.text = text;
    } else if (field.type == FieldType::Boolean) {
        whole(ReadBooleanText(Trim(text)));
    } else if (field.type == FieldType::Date) {
        if (const auto date = dateOf(Trim(text)))
            whole(date->time_since_epoch().count());
    } else if (int32_t plain = 0; field.type == FieldType::Integer && plainWhole(text, plain)) {
        whole(plain);
    } else if (const auto number = ParseNumber(text); number && field.type == FieldType::Double) {
        cell.kind = RecordsetCell::Kind::Real;
        cell.real = *number;
    } else if (number) {
        try {
            const Value value = ConvertToField(field, Value(*number));
            if (const auto* money = value.get<Currency>())
                whole(money->scaled);
            else
                whole(value.integerOr(0));
        } catch (const std::invalid_argument&) {
            // doesn't fit: stays null
        }
    }
    return cell;
}

} // namespace kr
