#include "core/basRegistry.h"

#include <cstring>

namespace kr {

namespace {

RegValue dword(int32_t number) {
    RegValue value;
    value.type = RegType::Dword;
    value.number = static_cast<uint32_t>(number);
    return value;
}

Bytes bytesOf(uint64_t number) {
    Bytes bytes(sizeof number);
    std::memcpy(bytes.data(), &number, sizeof number);
    return bytes;
}

} // namespace

std::optional<RegValue> RegValueOf(const Value& value) {
    RegValue out;
    if (value.is<int16_t>() || value.is<int32_t>())
        return dword(value.integerOr(0));
    if (const bool* flag = value.get<bool>())
        return dword(*flag ? 1 : 0);
    if (const auto* text = value.get<std::string>()) {
        out.type = RegType::Sz;
        out.text = *text;
    } else if (const auto* lines = value.get<Strings>()) {
        out.type = RegType::MultiSz;
        out.lines = *lines;
    } else if (const auto* bytes = value.get<Bytes>()) {
        out.type = RegType::Binary;
        out.bytes = *bytes;
    } else {
        return std::nullopt;
    }
    return out;
}

Value ValueOfReg(const RegValue& value) {
    switch (value.type) {
    case RegType::Sz:
    case RegType::ExpandSz: {
        std::string text = value.text;
        if (text.ends_with('\0'))
            text.pop_back();
        return text;
    }
    case RegType::Dword:
        return static_cast<int32_t>(static_cast<uint32_t>(value.number));
    case RegType::MultiSz:
        return value.lines;
    case RegType::Qword:
        return bytesOf(value.number);
    case RegType::None:
    case RegType::Binary:
        break;
    }
    return value.bytes;
}

Value RegRead(Registry& registry, Hive root, std::string_view key, std::string_view name) {
    try {
        const auto value = registry.Read(root, key, name);
        return value ? ValueOfReg(*value) : Value();
    } catch (const PlatformError&) {
        return {}; // by design silent: an unreadable value is an unset one
    }
}

bool RegWrite(Registry& registry, Hive root, std::string_view key, std::string_view name,
              const Value& value) {
    if (key.starts_with('\\'))
        key.remove_prefix(1);
    const auto stored = RegValueOf(value);
    if (key.empty() || !stored)
        return false;
    try {
        registry.Write(root, key, name, *stored);
        return true;
    } catch (const PlatformError&) {
        return false;
    }
}

} // namespace kr
