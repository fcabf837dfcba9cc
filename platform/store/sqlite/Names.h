#pragma once

#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include "platform/store/Store.h"
#include "platform/store/sqlite/Connection.h"

namespace kr::sqlite {

/// The named properties of all stores of a file. A mapping never changes once it is there, so it is
/// kept in memory and read again only for what is missing.
class Names {
public:
    explicit Names(Connection& file) : m_file(file) {}

    /// The id of a named property; 0 when it isn't there and is not to be made, and when the store
    /// can't be written.
    uint16_t Id(int64_t store, const PropName& name, bool create);
    std::optional<PropName> NameOf(int64_t store, uint16_t id);
    /// True for a property that the hashed index serves.
    bool IsIndexed(int64_t store, uint16_t id);
    void Forget() { m_stores.clear(); }

private:
    struct Maps {
        std::unordered_map<std::string, uint16_t> ids;
        std::unordered_map<uint16_t, PropName> names;
        std::unordered_set<uint16_t> indexed;
    };
    Maps& maps(int64_t store);
    void read(int64_t store, Maps& maps);
    void create(int64_t store, const std::string& guid, const PropName& name);

    Connection& m_file;
    std::unordered_map<int64_t, std::unique_ptr<Maps>> m_stores;
};

/// The name behind the text of a key: "0x8051" is that number within the set. An empty set is
/// PS_PUBLIC_STRINGS.
PropName NameOfKey(std::string_view guid, std::string_view name);

} // namespace kr::sqlite
