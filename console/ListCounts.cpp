#include "console/ListCounts.h"

#include <string_view>

namespace kr {

namespace {

struct Words {
    std::string_view one;
    std::string_view many;
};
// In the order of Counted.
constexpr Words kWords[] = {
    {"1 agent", " agents"},     {"1 connector", " connectors"},
    {"1 contact", " contacts"}, {"1 handheld", " handhelds"},
    {"1 item", " items"},       {"1 language pack", " language packs"},
    {"1 list", " lists"},       {"1 message", " messages"},
    {"1 note", " notes"},       {"1 record", " records"},
    {"1 server", " servers"},   {"1 source", " sources"},
    {"1 user", " users"},
};

} // namespace

std::string CountText(Counted what, int64_t count) {
    const Words& words = kWords[static_cast<size_t>(what)];
    return count == 1 ? std::string(words.one) : std::to_string(count) + std::string(words.many);
}

std::string QuickLoadText(Counted what, int64_t total, bool quickLoad) {
    if (!quickLoad || total <= kQuickLoadRows)
        return CountText(what, total);
    const std::string number = std::to_string(total);
    if (what == Counted::Handheld)
        return "1000 of " + number +
               " handheld records - disable View > Quick Load to see full list";
    // deliberately without "shown" for the records of a data source
    const std::string_view many = what == Counted::Record ? " records" : " contacts shown";
    return "First 1000 of " + number + std::string(many) +
           " - disable View > Quick Load to see full list";
}

} // namespace kr
