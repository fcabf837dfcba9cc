#pragma once

#include <string>
#include <string_view>

#include "platform/registry/Registry.h"

namespace kr {

/// The key and all below it as a file that other systems import (UTF-16 with byte order mark,
/// CRLF); "" when there is no such key.
std::string ExportReg(Registry& registry, Hive hive, std::string_view key);

/// Takes over what a registry file says: keys, values, and the removals "[-key]" and "name=-". Keys
/// of hives that this registry doesn't have are left out; the result tells how many. Throws
/// PlatformError on the first line that does not parse, before anything is changed.
size_t ImportReg(Registry& registry, std::string_view content);

} // namespace kr
