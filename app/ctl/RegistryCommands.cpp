#include <array>
#include <charconv>

#include "app/ctl/Commands.h"
#include "core/Text.h"

namespace kr {

namespace {

struct HiveName {
    std::string_view name;
    Hive hive;
};
constexpr HiveName kHives[] = {
    {"HKCU", Hive::CurrentUser},  {"HKEY_CURRENT_USER", Hive::CurrentUser},
    {"HKLM", Hive::LocalMachine}, {"HKEY_LOCAL_MACHINE", Hive::LocalMachine},
    {"HKCR", Hive::ClassesRoot},  {"HKEY_CLASSES_ROOT", Hive::ClassesRoot}};

Hive hiveOf(const std::string& text) {
    for (const HiveName& entry : kHives)
        if (EqualNoCase(entry.name, text))
            return entry.hive;
    throw UsageError("HIVE is HKCU, HKLM or HKCR, not \"" + text + "\"");
}

std::string shown(const RegValue& value) {
    switch (value.type) {
    case RegType::Dword:
    case RegType::Qword:
        return std::to_string(value.number);
    case RegType::MultiSz:
        return Join(value.lines, "\n");
    case RegType::Sz:
    case RegType::ExpandSz:
        return value.text;
    default:
        return HexOf(value.bytes.data(), value.bytes.size());
    }
}

RegValue dword(const std::string& text) {
    RegValue value;
    value.type = RegType::Dword;
    uint32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{} || end != text.data() + text.size())
        throw UsageError("a dword is a number from 0 to 4294967295, not \"" + text + "\"");
    value.number = number;
    return value;
}

} // namespace

int RegistryGet(const Args& args, CtlContext& context) {
    args.atMost(3);
    const Hive hive = hiveOf(args.at(0, "HIVE"));
    const std::string& key = args.at(1, "KEY");
    Registry& registry = context.registry;
    if (args.count() == 3) {
        const auto value = registry.Read(hive, key, args.at(2, "NAME"));
        if (!value)
            throw std::runtime_error("there is no value \"" + args.at(2, "NAME") + "\" in " + key);
        context.out << shown(*value) << '\n';
        return 0;
    }
    if (!registry.KeyExists(hive, key))
        throw std::runtime_error("there is no key " + key);
    for (const std::string& name : registry.ValueNames(hive, key))
        if (const auto value = registry.Read(hive, key, name))
            context.out << name << '=' << shown(*value) << '\n';
    for (const std::string& name : registry.SubKeys(hive, key))
        context.out << '[' << name << "]\n";
    return 0;
}

int RegistrySet(const Args& args, CtlContext& context) {
    args.atMost(4);
    const Hive hive = hiveOf(args.at(0, "HIVE"));
    const std::string& key = args.at(1, "KEY");
    const std::string& name = args.at(2, "NAME");
    // an empty text is a value like any other
    if (args.count() < 4)
        throw UsageError("VALUE is missing");
    const std::string type = args.option("type").value_or("sz");
    const std::string& text = args.valueAt(3);
    RegValue value;
    value.type = RegType::Sz;
    value.text = text;
    if (type == "dword")
        value = dword(text);
    else if (type != "sz")
        throw UsageError("option --type takes sz or dword");
    context.registry.Write(hive, key, name, value);
    return 0;
}

int RegistryDelete(const Args& args, CtlContext& context) {
    args.atMost(3);
    const Hive hive = hiveOf(args.at(0, "HIVE"));
    const std::string& key = args.at(1, "KEY");
    const bool gone = args.count() == 3
                          ? context.registry.DeleteValue(hive, key, args.at(2, "NAME"))
                          : context.registry.DeleteKey(hive, key);
    if (!gone)
        throw std::runtime_error("there is nothing to delete at " + key);
    return 0;
}

} // namespace kr
