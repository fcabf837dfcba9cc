#pragma once

#include <span>
#include <string>
#include <string_view>

#include "core/Value.h"
#include "platform/registry/Registry.h"

namespace kr {

/// Per-user settings of the console, values of this key of HKEY_CURRENT_USER.
inline constexpr std::string_view kSettingsKey = "Software\\zandrel\\Fleet Admin\\Settings";
/// Machine-wide values, in HKEY_LOCAL_MACHINE.
inline constexpr std::string_view kMachineKey = "Software\\zandrel\\zandrelAgent";

/// Booleans are stored as the numbers 0 and 1, singles (twips) as text, longs as numbers.
enum class SettingType { Boolean, Single, Long, Text };

struct Setting {
    std::string_view name;
    SettingType type;
    double number = 0;    // default of the first three types
    double lowest = 0;    // a number outside of lowest to highest is answered by the default
    double highest = 0;   // equal to lowest: any
    bool writable = true; // false: the console only reads it
};

/// All settings with their types and defaults.
std::span<const Setting> SettingTable();

/// The value as text; the default when it can't be read, is empty, or is neither text nor number.
std::string GetSetting(Registry& registry, std::string_view name, std::string_view fallback);

/// The setting by the table: a stored value of a wrong type is answered by the default; a name that
/// the table doesn't know gives False, 0 or "".
bool BooleanSetting(Registry& registry, std::string_view name);
double NumberSetting(Registry& registry, std::string_view name);
std::string TextSetting(Registry& registry, std::string_view name);

/// Booleans and integers as numbers, doubles and texts as text; creates the key. False when the
/// value can't be written, or when the table says that the console never writes it.
bool SaveSetting(Registry& registry, std::string_view name, const Value& value);

/// A machine-wide value as text, a number in decimal; "" when it isn't set. The name may lead
/// through keys below the agent's own: "Directory\\Server".
std::string MachineValue(Registry& registry, std::string_view name);

} // namespace kr
