#include "core/CRegOp.h"

#include <cmath>
#include <cstdlib>
#include <limits>

#include "core/Text.h"
#include "core/basRegistry.h"
#include "core/basText.h"

namespace kr {

namespace {

constexpr std::string_view kSource = "Registry Error";

[[noreturn]] void raise(CRegOp::Error number, const char* description) {
    throw PlatformError(number, description, std::string(kSource));
}

[[noreturn]] void raiseMismatch() { raise(CRegOp::TypeMismatch, "Type mismatch"); }

/// Runs a call of the registry; what the system refuses is a key that can't be opened.
template <class Call>
auto guarded(Call call) {
    try {
        return call();
    } catch (const PlatformError&) {
        raise(CRegOp::CouldNotOpen, "Could not open Registry Key!");
    }
}

bool isText(RegType type) { return type == RegType::Sz || type == RegType::ExpandSz; }

std::string asText(const Value& value) {
    if (const auto* text = value.get<std::string>())
        return *text;
    if (const bool* flag = value.get<bool>())
        return *flag ? "True" : "False";
    if (!value.is<int16_t>() && !value.is<int32_t>())
        raiseMismatch();
    return std::to_string(value.integerOr(0));
}

int32_t asLong(const Value& value) {
    if (value.is<int16_t>() || value.is<int32_t>())
        return value.integerOr(0);
    if (const bool* flag = value.get<bool>())
        return *flag ? -1 : 0; // True as a number has all bits set
    const auto number =
        value.is<double>() ? value.valueOr(0.0) : ParseNumber(value.text()).value_or(NAN);
    const double whole = std::nearbyint(number);
    if (!(whole >= std::numeric_limits<int32_t>::min() &&
          whole <= std::numeric_limits<int32_t>::max()))
        raiseMismatch();
    return static_cast<int32_t>(whole);
}

Strings asLines(const Value& value) {
    if (const auto* lines = value.get<Strings>())
        return *lines;
    return Split(ReplaceAll(asText(value), "\r\n", "\n"), "\n");
}

/// The value in the type that the existing one has.
RegValue inTypeOf(const RegValue& existing, const Value& value) {
    RegValue out;
    out.type = existing.type;
    if (isText(existing.type))
        out.text = asText(value);
    else if (existing.type == RegType::Dword)
        out.number = static_cast<uint32_t>(asLong(value));
    else if (existing.type == RegType::MultiSz)
        out.lines = asLines(value);
    else
        raise(CRegOp::UnsupportedExisting,
              "Existing value has unsupported data type and will not be overwritten");
    return out;
}

RegValue ofOwnKind(const Value& value, unsigned options) {
    const bool known = value.is<int16_t>() || value.is<int32_t>() || value.is<std::string>() ||
                       value.is<Strings>();
    if (!known)
        raiseMismatch();
    RegValue out = *RegValueOf(value);
    if (out.type == RegType::Sz && (options & CRegOp::WriteExpandSz) != 0)
        out.type = RegType::ExpandSz;
    return out;
}

Value readable(const RegValue& stored) {
    switch (stored.type) {
    case RegType::ExpandSz:
        return ExpandEnvironment(ValueOfReg(stored).text());
    case RegType::Sz:
    case RegType::Dword:
    case RegType::MultiSz:
        return ValueOfReg(stored);
    case RegType::None:
    case RegType::Binary:
    case RegType::Qword:
        break;
    }
    return "(unsupported data format)";
}

} // namespace

std::string ExpandEnvironment(std::string_view text) {
    std::string out;
    while (!text.empty()) {
        const size_t begin = text.find('%');
        const size_t end = begin == std::string_view::npos ? begin : text.find('%', begin + 1);
        if (end == std::string_view::npos)
            break;
        const std::string name(text.substr(begin + 1, end - begin - 1));
        const char* value = name.empty() ? nullptr : getenv(name.c_str());
        // The second sign of an unknown name may begin the next one.
        out += text.substr(0, value ? begin : end);
        out += value ? value : "";
        text.remove_prefix(value ? end + 1 : end);
    }
    return out += text;
}

void CRegOp::needKey() const {
    if (Key.empty())
        raise(NoKeyName, "No Key name specified!");
}

void CRegOp::openKey() const {
    needKey();
    if (!guarded([&] { return m_registry.KeyExists(Root, Key); }))
        raise(CouldNotOpen, "Could not open Registry Key!");
}

Value CRegOp::GetValue(std::string_view name) {
    openKey();
    const auto stored = guarded([&] { return m_registry.Read(Root, Key, name); });
    return stored ? readable(*stored) : Value();
}

void CRegOp::SetValue(std::string_view name, const Value& value) {
    needKey();
    const auto existing = guarded([&] { return m_registry.Read(Root, Key, name); });
    const RegValue stored = existing ? inTypeOf(*existing, value) : ofOwnKind(value, Options);
    guarded([&] { m_registry.Write(Root, Key, name, stored); });
}

std::vector<std::pair<std::string, Value>> CRegOp::AllValues() {
    openKey();
    std::vector<std::pair<std::string, Value>> values;
    for (const std::string& name : guarded([&] { return m_registry.ValueNames(Root, Key); }))
        values.emplace_back(name, GetValue(name));
    return values;
}

Strings CRegOp::AllKeys() {
    openKey();
    return guarded([&] { return m_registry.SubKeys(Root, Key); });
}

long CRegOp::ValueCount() {
    openKey();
    return static_cast<long>(guarded([&] { return m_registry.ValueNames(Root, Key).size(); }));
}

long CRegOp::KeyCount() { return static_cast<long>(AllKeys().size()); }

bool CRegOp::DeleteValue(std::string_view name) {
    openKey();
    return guarded([&] { return m_registry.DeleteValue(Root, Key, name); });
}

bool CRegOp::DeleteKey() {
    openKey();
    return guarded([&] { return m_registry.DeleteKey(Root, Key); });
}

} // namespace kr
