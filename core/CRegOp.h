#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/Value.h"
#include "platform/registry/Registry.h"

namespace kr {

/// Access to one key of the registry. Failures are raised as PlatformError with the source
/// "Registry Error" and one of the numbers below; callers run with errors trapped, so that a
/// missing key reads as empty.
class CRegOp {
public:
    enum Error : long {
        TypeMismatch = 13,               // the value can't take the existing value's type
        NoKeyName = 0x80040001,          // "No Key name specified!"
        CouldNotOpen = 0x80040002,       // "Could not open Registry Key!"
        UnsupportedExisting = 0x80040003 // the existing value has a type that isn't overwritten
    };
    /// Bits of `Options`.
    enum Option : unsigned { WriteExpandSz = 1 };

    explicit CRegOp(Registry& registry) : m_registry(registry) {}

    Hive Root = Hive::CurrentUser;
    std::string Key;
    unsigned Options = 0;

    /// Text (REG_EXPAND_SZ with the environment's variables expanded), a long, or a list of texts;
    /// empty when there is no such value; "(unsupported data format)" for any other type.
    Value GetValue(std::string_view name);
    /// An existing value keeps its type, which must be one of the four above; a new one takes the
    /// kind of `value`: integer, text, list of texts. Creates the key when missing.
    void SetValue(std::string_view name, const Value& value);

    /// Names with their values, in the order of the names, ignoring case.
    std::vector<std::pair<std::string, Value>> AllValues();
    Strings AllKeys();
    long ValueCount();
    long KeyCount();
    /// False when there was no such value.
    bool DeleteValue(std::string_view name);
    /// Deletes `Key` and all below it.
    bool DeleteKey();

private:
    void needKey() const;
    void openKey() const;

    Registry& m_registry;
};

/// The text with each %NAME% replaced by the environment variable; an unknown one stays.
std::string ExpandEnvironment(std::string_view text);

} // namespace kr
