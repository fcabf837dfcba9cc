#pragma once

#include <string_view>

namespace kr {

/// Name of the sub-folder of a person's contacts that the agent keeps for mandatory ones: text 1291
/// of the language packs, here in the default language.
inline std::string_view MandatorySubFolder() { return "Mandatory Contacts"; }

} // namespace kr
