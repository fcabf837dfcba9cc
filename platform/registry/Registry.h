#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/PlatformError.h"
#include "core/Value.h"

namespace kr {

/// A hierarchical, typed key-value store. Key paths are separated by "\"; names ignore case and
/// keep the case of their first writing. Reading what isn't there gives nothing; a write that the
/// system refuses throws PlatformError.
enum class Hive { ClassesRoot, CurrentUser, LocalMachine };

enum class RegType : uint32_t {
    None = 0,
    Sz = 1,
    ExpandSz = 2,
    Binary = 3,
    Dword = 4,
    MultiSz = 7,
    Qword = 11
};

struct RegValue {
    RegType type = RegType::None;
    std::string text;    // Sz, ExpandSz
    uint64_t number = 0; // Dword, Qword
    Strings lines;       // MultiSz
    Bytes bytes;         // Binary and types that nobody knows
    bool operator==(const RegValue&) const = default;
};

class Registry {
public:
    virtual ~Registry() = default;
    virtual bool KeyExists(Hive hive, std::string_view key) = 0;
    virtual void CreateKey(Hive hive, std::string_view key) = 0;
    virtual std::optional<RegValue> Read(Hive hive, std::string_view key,
                                         std::string_view name) = 0;
    /// Creates the key when missing.
    virtual void Write(Hive hive, std::string_view key, std::string_view name,
                       const RegValue& value) = 0;
    /// False when there was none.
    virtual bool DeleteValue(Hive hive, std::string_view key, std::string_view name) = 0;
    /// Removes the key and all below it; false when there was none.
    virtual bool DeleteKey(Hive hive, std::string_view key) = 0;
    virtual std::vector<std::string> ValueNames(Hive hive, std::string_view key) = 0;
    virtual std::vector<std::string> SubKeys(Hive hive, std::string_view key) = 0;
};

} // namespace kr
