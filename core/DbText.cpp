#include "core/DbText.h"

#include <array>
#include <charconv>

#include "core/Text.h"
#include "core/basDate.h"
#include "core/basText.h"

namespace kr {

namespace {

std::string decimalText(double number) {
    std::array<char, 40> text{};
    return {text.data(), std::to_chars(text.data(), text.data() + text.size(), number).ptr};
}

std::string currencyText(Currency amount) {
    const double number = static_cast<double>(amount.scaled) / 10000;
    return decimalText(number);
}

} // namespace

std::string DbText(const Value& value) {
    if (const auto* text = value.get<std::string>())
        return *text;
    if (const auto* flag = value.get<bool>())
        return *flag ? "True" : "False";
    if (const auto* date = value.get<Time>())
        return FormatDate(*date);
    if (const auto* number = value.get<double>())
        return decimalText(*number);
    if (const auto* amount = value.get<Currency>())
        return currencyText(*amount);
    if (const auto* bytes = value.get<Bytes>())
        return HexOf(bytes->data(), bytes->size());
    if (const auto* texts = value.get<Strings>())
        return Join(*texts, "; ");
    return value.empty() ? "" : std::to_string(value.integerOr(0));
}

} // namespace kr
