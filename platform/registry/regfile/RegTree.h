#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "platform/registry/regfile/RegText.h"

namespace kr {

/// One key with its values and the keys below it, found by folded name.
struct RegNode {
    struct Entry {
        std::string name;
        RegValue value;
    };
    std::string name;
    std::map<std::string, Entry> values;
    std::map<std::string, std::unique_ptr<RegNode>> children;

    /// nullptr when there is none.
    const Entry* Value(std::string_view name) const;
};

/// A file's keys in memory. The first level of a path is the hive's long name, so that a file that
/// holds keys of another hive keeps them. Names that differ by case only are one name, written as
/// it was first.
class RegTree {
public:
    const RegNode* Find(std::string_view path) const;
    RegNode& Make(std::string_view path);
    /// The key and all below it; false when there was none.
    bool Remove(std::string_view path);

    /// True when the value was not there in the same form before.
    static bool SetValue(RegNode& node, std::string_view name, RegValue value);
    static bool RemoveValue(RegNode& node, std::string_view name);

    /// The whole file, UTF-8 and LF.
    std::string Text() const;
    /// Throws PlatformError when the text does not parse.
    static RegTree FromText(std::string_view content);

private:
    RegNode m_root;
};

} // namespace kr
