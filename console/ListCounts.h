#pragma once

#include <cstdint>
#include <string>

namespace kr {

/// What a list counts in the status bar.
enum class Counted {
    Agent,
    Connector,
    Contact,
    Handheld,
    Item,
    LanguagePack,
    List,
    Message,
    Note,
    Record,
    Server,
    Source,
    User
};

/// "1 list", else the number and " lists"; 0 takes the plural.
std::string CountText(Counted what, int64_t count);

/// View > Quick Load: folder and handheld loaders stop after this many rows.
inline constexpr int64_t kQuickLoadRows = 1000;
/// The status of a list that Quick Load may have cut: with more than kQuickLoadRows in all and the
/// option on, what is shown and how to see the rest; else the plain count.
std::string QuickLoadText(Counted what, int64_t total, bool quickLoad);

} // namespace kr
