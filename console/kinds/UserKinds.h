#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace kr {

class Console;

/// Registers the node of the user statistics, the rows of users, and the commands on users.
void RegisterUserKinds(Console& console);

/// The languages that "Set Language" offers: LCID and name. They replace the former ones.
void OfferUserLanguages(Console& console,
                        const std::vector<std::pair<int32_t, std::string>>& languages);

} // namespace kr
