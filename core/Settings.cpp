#include "core/Settings.h"

#include <charconv>

#include "core/Text.h"
#include "core/basRegistry.h"
#include "core/basText.h"

namespace kr {

namespace {

constexpr Setting kSettings[] = {
    {"Maximized", SettingType::Boolean},
    {"MainLeft", SettingType::Single, 2000},
    {"MainTop", SettingType::Single, 3000},
    {"MainWidth", SettingType::Single, 9500},
    {"MainHeight", SettingType::Single, 9500},
    {"SplitterLeft", SettingType::Single, 2000},
    {"ViewMode", SettingType::Long, 3, 0, 3},
    {"QuickLoad", SettingType::Boolean},
    {"DeleteUsers", SettingType::Boolean, 0, 0, 0, false},
    {"LoadUsers", SettingType::Boolean, 0, 0, 0, false},
    {"ExServer", SettingType::Text},
    {"ExAlias", SettingType::Text},
    {"Profile", SettingType::Text},
};

const Setting* settingOf(std::string_view name) {
    for (const Setting& setting : kSettings)
        if (EqualNoCase(setting.name, name))
            return &setting;
    return nullptr;
}

/// The shortest text that reads back as the same number.
std::string textOfNumber(double number) {
    char buffer[64];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, number).ptr;
    return std::string(buffer, end);
}

/// Text and numbers as text; "" for all else.
std::string textOf(const Value& value) {
    if (value.is<int32_t>())
        return std::to_string(value.integerOr(0));
    return value.text();
}

} // namespace

std::span<const Setting> SettingTable() { return kSettings; }

std::string GetSetting(Registry& registry, std::string_view name, std::string_view fallback) {
    std::string text = textOf(RegRead(registry, Hive::CurrentUser, kSettingsKey, name));
    return text.empty() ? std::string(fallback) : text;
}

double NumberSetting(Registry& registry, std::string_view name) {
    const Setting* setting = settingOf(name);
    if (!setting)
        return 0;
    const auto number = ParseNumber(GetSetting(registry, name, ""));
    const bool bounded = setting->lowest < setting->highest;
    if (!number || (bounded && (*number < setting->lowest || *number > setting->highest)))
        return setting->number;
    return *number;
}

bool BooleanSetting(Registry& registry, std::string_view name) {
    return NumberSetting(registry, name) != 0;
}

std::string TextSetting(Registry& registry, std::string_view name) {
    const Setting* setting = settingOf(name);
    if (!setting || setting->type != SettingType::Text)
        return {};
    return RegRead(registry, Hive::CurrentUser, kSettingsKey, name).text();
}

bool SaveSetting(Registry& registry, std::string_view name, const Value& value) {
    if (const Setting* setting = settingOf(name); setting && !setting->writable)
        return false;
    const auto* number = value.get<double>();
    return RegWrite(registry, Hive::CurrentUser, kSettingsKey, name,
                    number ? Value(textOfNumber(*number)) : value);
}

std::string MachineValue(Registry& registry, std::string_view name) {
    std::string key(kMachineKey);
    if (const size_t end = name.rfind('\\'); end != std::string_view::npos) {
        key += '\\';
        key += name.substr(0, end);
        name.remove_prefix(end + 1);
    }
    return textOf(RegRead(registry, Hive::LocalMachine, key, name));
}

} // namespace kr
