#include "core/RecordsetConvert.h"

#include <cmath>
#include <cstdio>
#include <limits>
#include <stdexcept>

#include "core/Text.h"
#include "core/basDate.h"
#include "core/basText.h"

namespace kr {

namespace {

constexpr double kSecondsOfDay = 86400;
/// 30 December 1899, the day 0 of dates kept as numbers, in seconds from 1970.
constexpr double kDayZero = -25569 * kSecondsOfDay;

[[noreturn]] void refuse(const Field& field, const char* reason) {
    throw std::invalid_argument("[" + field.name + "] " + reason);
}

double requireNumber(const Field& field, const Value& value) {
    const std::optional<double> number = NumberOf(value);
    if (!number || !std::isfinite(*number))
        refuse(field, "takes a number");
    return *number;
}

template <class Int>
Int wholeNumber(const Field& field, const Value& value, double factor = 1) {
    const double number = std::nearbyint(requireNumber(field, value) * factor);
    // the upper limit of 64 bits is no double; the next one above it is already too large
    if (number < static_cast<double>(std::numeric_limits<Int>::min()) ||
        number >= std::ldexp(1.0, std::numeric_limits<Int>::digits))
        refuse(field, "can't hold so large a number");
    return static_cast<Int>(number);
}

Time dateOf(const Field& field, const Value& value) {
    if (const auto* time = value.get<Time>())
        return *time;
    if (const auto* text = value.get<std::string>())
        if (const std::optional<Time> date = ParseDate(*text))
            return *date;
    const double seconds = requireNumber(field, value) * kSecondsOfDay + kDayZero;
    if (std::fabs(seconds) > 1e15)
        refuse(field, "takes a date");
    return Time(std::chrono::seconds(std::llround(seconds)));
}

bool booleanOf(const Field& field, const Value& value) {
    if (const auto* text = value.get<std::string>()) {
        if (EqualNoCase(*text, "True"))
            return true;
        if (EqualNoCase(*text, "False"))
            return false;
    }
    return requireNumber(field, value) != 0;
}

std::string decimal(double number) {
    char buffer[40];
    std::snprintf(buffer, sizeof buffer, "%.15g", number);
    return buffer;
}

std::string textOf(const Field& field, const Value& value) {
    if (const auto* text = value.get<std::string>())
        return *text;
    if (const auto* flag = value.get<bool>())
        return *flag ? "True" : "False";
    if (const auto* time = value.get<Time>())
        return FormatDate(*time);
    const std::optional<double> number = NumberOf(value);
    if (!number)
        refuse(field, "takes a text");
    return decimal(*number);
}

Value textValue(const Field& field, const Value& value) {
    std::string text = textOf(field, value);
    if (text.size() > static_cast<size_t>(std::max(field.size, 0)) &&
        TextUnits(text) > static_cast<size_t>(std::max(field.size, 0)))
        refuse(field, "can't hold so long a text");
    return text;
}

} // namespace

std::optional<double> NumberOf(const Value& value) {
    if (const auto* number = value.get<int16_t>())
        return *number;
    if (const auto* number = value.get<int32_t>())
        return *number;
    if (const auto* number = value.get<double>())
        return *number;
    if (const auto* flag = value.get<bool>())
        return *flag ? -1 : 0;
    if (const auto* amount = value.get<Currency>())
        return static_cast<double>(amount->scaled) / 10000;
    if (const auto* time = value.get<Time>())
        return (static_cast<double>(time->time_since_epoch().count()) - kDayZero) / kSecondsOfDay;
    if (const auto* text = value.get<std::string>())
        return ParseNumber(*text);
    return std::nullopt;
}

Value ConvertToField(const Field& field, const Value& value) {
    if (value.empty())
        return {};
    if (value.is<Bytes>() || value.is<Strings>())
        refuse(field, "takes no bytes or lists");
    switch (field.type) {
    case FieldType::SmallInt:
        return wholeNumber<int16_t>(field, value);
    case FieldType::Integer:
        return wholeNumber<int32_t>(field, value);
    case FieldType::Double:
        return requireNumber(field, value);
    case FieldType::Currency:
        if (value.is<Currency>())
            return value;
        return Currency{wholeNumber<int64_t>(field, value, 10000)};
    case FieldType::Date:
        return dateOf(field, value);
    case FieldType::Boolean:
        return booleanOf(field, value);
    case FieldType::Variant:
        return value;
    case FieldType::Text:
    case FieldType::LongText:
        return textValue(field, value);
    }
    refuse(field, "has no known type");
}

size_t TextUnits(std::string_view utf8) {
    size_t units = 0;
    for (const char c : utf8)
        units += (c & 0xC0) == 0x80 ? 0U : (c & 0xF8) == 0xF0 ? 2U : 1U;
    return units;
}

std::string_view CutText(std::string_view utf8, size_t units) {
    size_t used = 0;
    for (size_t i = 0; i < utf8.size(); ++i) {
        if ((utf8[i] & 0xC0) == 0x80)
            continue;
        used += (utf8[i] & 0xF8) == 0xF0 ? 2 : 1;
        if (used > units)
            return utf8.substr(0, i);
    }
    return utf8;
}

} // namespace kr
