#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "core/Value.h"
#include "platform/registry/Registry.h"

namespace kr {

/// The plain pair of functions on the registry. They never raise: what can't be read is empty,
/// what can't be written is False.

/// Text for REG_SZ and REG_EXPAND_SZ (without expansion), a long for REG_DWORD, a list of texts for
/// REG_MULTI_SZ, bytes for the rest. A text that ends with a NUL character loses it.
Value RegRead(Registry& registry, Hive root, std::string_view key, std::string_view name);

/// Creates the key when missing. One backslash at the start of the key goes; an empty key gives
/// False, and so does a kind of value that the registry has no type for (double, date, currency).
bool RegWrite(Registry& registry, Hive root, std::string_view key, std::string_view name,
              const Value& value);

/// The registry's form of a value by its own kind: integers and Booleans (as 0 and 1) as
/// REG_DWORD, text as REG_SZ, a list as REG_MULTI_SZ, bytes as REG_BINARY; nothing for other kinds.
std::optional<RegValue> RegValueOf(const Value& value);
/// Back again, as RegRead gives it.
Value ValueOfReg(const RegValue& value);

} // namespace kr
