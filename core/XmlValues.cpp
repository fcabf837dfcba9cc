#include "core/XmlValues.h"

#include "core/basDate.h"

namespace kr {

std::string XmlAmountText(Currency amount) {
    const bool negative = amount.scaled < 0;
    const auto scaled =
        negative ? 0 - static_cast<uint64_t>(amount.scaled) : static_cast<uint64_t>(amount.scaled);
    std::string fraction = std::to_string(10000 + scaled % 10000).substr(1);
    fraction.erase(fraction.find_last_not_of('0') + 1);
    return (negative ? "-" : "") + std::to_string(scaled / 10000) +
           (fraction.empty() ? "" : "." + fraction);
}

std::string XmlDateText(Time date) {
    SystemTime t;
    DateToSystemTime(date, t);
    std::string text = "0000-00-00T00:00:00";
    const auto put = [&text](size_t end, unsigned number) {
        for (; number > 0; number /= 10)
            text[--end] = static_cast<char>('0' + number % 10);
    };
    put(4, t.year);
    put(7, t.month);
    put(10, t.day);
    put(13, t.hour);
    put(16, t.minute);
    put(19, t.second);
    return text;
}

} // namespace kr
