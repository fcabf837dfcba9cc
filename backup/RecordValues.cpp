#include "backup/RecordValues.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <span>
#include <type_traits>

#include "core/DbText.h"
#include "core/Text.h"
#include "core/XmlValues.h"
#include "core/basDate.h"
#include "core/basText.h"

namespace kr {

namespace {

struct TypePair {
    PropType property;
    int variant;
};
/// What is written. Everything else is written as kNoVariant.
constexpr TypePair kWritten[] = {{PropType::Short, 2},    {PropType::Long, 3},
                                 {PropType::Currency, 6}, {PropType::Boolean, 11},
                                 {PropType::String, 8},   {PropType::Time, 7}};
/// What is read besides: doubles, and the numbers of the property types themselves.
constexpr TypePair kRead[] = {
    {PropType::Unspecified, kNoVariant},
    {PropType::Double, 4},
    {PropType::Double5, 5},
    {PropType::String, 30},
    {PropType::Time, 64},
};

constexpr int kMoneyDigits = 4;
constexpr double kMoneyScale = 10000;

/// Rounded to the nearest, halves to the even one; nothing outside of the type.
template <class Number>
std::optional<Value> whole(std::string_view text, double scale = 1) {
    const auto number = ParseNumber(text);
    if (!number)
        return std::nullopt;
    const double rounded = std::nearbyint(*number * scale);
    // the upper limit of 64 bits is no double: the next one above it is the first that is too large
    constexpr double kLowest = static_cast<double>(std::numeric_limits<Number>::min());
    if (!(rounded >= kLowest && rounded < -kLowest))
        return std::nullopt;
    if constexpr (std::is_same_v<Number, int64_t>)
        return Value(Currency{static_cast<int64_t>(rounded)});
    else
        return Value(static_cast<Number>(rounded));
}

/// An amount in plain digits, whose last places a double would lose.
std::optional<Value> plainMoney(std::string_view text) {
    const size_t sign = text.starts_with('-') ? 1 : 0;
    const size_t point = std::min(text.find('.'), text.size());
    std::string digits(text.substr(0, point));
    std::string fraction(text.substr(std::min(point + 1, text.size())));
    if (fraction.size() > kMoneyDigits || point == sign)
        return std::nullopt;
    fraction.resize(kMoneyDigits, '0');
    digits += fraction;
    int64_t scaled = 0;
    const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), scaled);
    if (read.ec != std::errc() || read.ptr != digits.data() + digits.size())
        return std::nullopt;
    return Value(Currency{scaled});
}

std::optional<Value> booleanOf(std::string_view text) {
    if (EqualNoCase(text, "true"))
        return Value(true);
    if (EqualNoCase(text, "false"))
        return Value(false);
    const auto number = ParseNumber(text);
    return number ? std::optional<Value>(*number != 0) : std::nullopt;
}

std::optional<Value> dateOf(std::string_view text) {
    if (text.ends_with('Z'))
        text.remove_suffix(1);
    const auto date = ParseDate(text);
    return date ? std::optional<Value>(*date) : std::nullopt;
}

std::optional<Value> doubleOf(std::string_view text) {
    const auto number = ParseNumber(text);
    return number ? std::optional<Value>(*number) : std::nullopt;
}

} // namespace

int PropertyToVariantType(PropType type) {
    const auto found = std::ranges::find(kWritten, type, &TypePair::property);
    return found == std::end(kWritten) ? kNoVariant : found->variant;
}

std::optional<PropType> VariantTypeToProperty(int type) {
    for (const std::span<const TypePair> table :
         {std::span<const TypePair>(kWritten), std::span<const TypePair>(kRead)})
        if (const auto found = std::ranges::find(table, type, &TypePair::variant);
            found != table.end())
            return found->property;
    return std::nullopt;
}

std::string RecordText(const Value& value) {
    if (const auto* date = value.get<Time>())
        return XmlDateText(*date);
    if (const auto* amount = value.get<Currency>())
        return XmlAmountText(*amount);
    return DbText(value);
}

std::optional<Value> CoerceValue(std::string_view text, int type) {
    const std::string trimmed = Trim(text);
    switch (VariantTypeToProperty(type).value_or(PropType::Unspecified)) {
    case PropType::String:
        return Value(text);
    case PropType::Boolean:
        return booleanOf(trimmed);
    case PropType::Time:
        return dateOf(trimmed);
    case PropType::Short:
        return whole<int16_t>(trimmed);
    case PropType::Long:
        return whole<int32_t>(trimmed);
    case PropType::Double:
    case PropType::Double5:
        return doubleOf(trimmed);
    case PropType::Currency:
        if (const auto plain = plainMoney(trimmed))
            return plain;
        return whole<int64_t>(trimmed, kMoneyScale);
    default:
        return std::nullopt;
    }
}

} // namespace kr
