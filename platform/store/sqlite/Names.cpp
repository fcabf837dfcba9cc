#include "platform/store/sqlite/Names.h"

#include <algorithm>
#include <charconv>

#include "platform/store/sqlite/Ids.h"

namespace kr::sqlite {

namespace {

constexpr uint16_t kFirstNamedId = 0x8000;
constexpr int64_t kLastNamedId = 0xFFFE;
/// The set in which a number below 0x8000 names the property of that id itself.
constexpr std::string_view PS_MAPI = "{00020328-0000-0000-C000-000000000046}";

/// Properties that the hashed index serves; a change of this list raises kIndexVersion.
struct IndexedName {
    std::string_view guid;
    uint32_t lid;
    std::string_view name;
};
constexpr IndexedName kIndexedNames[] = {
    {PS_PUBLIC_STRINGS, 0, "PIN"},
    {PS_PUBLIC_STRINGS, 0, "DeviceID"},
    {PS_PUBLIC_STRINGS, 0, "ESN"},
    {PS_PUBLIC_STRINGS, 0, "Email"},
    {PS_PUBLIC_STRINGS, 0, "ACS.Guid"},
    {PS_PUBLIC_STRINGS, 0, "ACF EntryID"},
    {PS_PUBLIC_STRINGS, 0, "zandrel.CheckList.ID"},
    {PS_PUBLIC_STRINGS, 0, "zandrel.CheckList.ItemID"},
    {PSETID_Address, 0x8083, ""},
    {PSETID_Address, 0x8093, ""},
    {PSETID_Address, 0x80A3, ""},
};

bool indexedName(const PropName& name) {
    return std::ranges::any_of(kIndexedNames, [&](const IndexedName& indexed) {
        return indexed.guid == name.guid && indexed.lid == name.lid && indexed.name == name.name;
    });
}

std::string keyOf(std::string_view guid, const PropName& name) {
    std::string key(guid);
    return key += name.byNumber ? "#" + std::to_string(name.lid) : "$" + name.name;
}

/// Each store begins at another number, so that a tag taken over from a wrong store fails at once.
int64_t firstId(int64_t store) { return kFirstNamedId + store % 32 * 499; }

} // namespace

PropName NameOfKey(std::string_view guid, std::string_view name) {
    PropName key;
    key.guid = guid.empty() ? PS_PUBLIC_STRINGS : guid;
    if (name.size() > 2 && name.size() <= 10 &&
        (name.starts_with("0x") || name.starts_with("0X"))) {
        const auto [end, error] =
            std::from_chars(name.data() + 2, name.data() + name.size(), key.lid, 16);
        key.byNumber = error == std::errc() && end == name.data() + name.size();
    }
    if (!key.byNumber) {
        key.lid = 0;
        key.name = name;
    }
    return key;
}

Names::Maps& Names::maps(int64_t store) {
    auto& maps = m_stores[store];
    if (!maps) {
        maps = std::make_unique<Maps>();
        read(store, *maps);
    }
    return *maps;
}

void Names::read(int64_t store, Maps& maps) {
    maps = {};
    Use rows = m_file.Query("SELECT id,guid,kind,lid,name FROM named_prop WHERE store=?", store);
    while (rows->Step()) {
        const std::string guid(rows->Text(1));
        PropName name{GuidText(guid), rows->Integer(2) == 0,
                      static_cast<uint32_t>(rows->Integer(3)), std::string(rows->Text(4))};
        const auto id = static_cast<uint16_t>(rows->Integer(0));
        maps.ids[keyOf(guid, name)] = id;
        if (indexedName(name))
            maps.indexed.insert(id);
        maps.names[id] = std::move(name);
    }
}

uint16_t Names::Id(int64_t store, const PropName& name, bool create) {
    const auto guid = GuidBytes(name.guid);
    if (!guid)
        throw PlatformError(MAPI_E_INVALID_PARAMETER, name.guid + " names no property set.",
                            "MessageStore");
    if (name.byNumber && name.lid < kFirstNamedId && *guid == *GuidBytes(PS_MAPI))
        return static_cast<uint16_t>(name.lid);
    if (!name.byNumber && name.name.empty())
        return 0;
    const std::string key = keyOf(*guid, name);
    const auto find = [&]() -> uint16_t {
        const auto& ids = maps(store).ids;
        const auto it = ids.find(key);
        return it == ids.end() ? uint16_t{0} : it->second;
    };
    if (const uint16_t id = find())
        return id;
    read(store, maps(store)); // another program may have made it
    if (const uint16_t id = find(); id != 0 || !create)
        return id;
    try {
        m_file.Write([&] { this->create(store, *guid, name); });
    } catch (const PlatformError& e) {
        if (e.number() == MAPI_E_NO_ACCESS)
            return 0;
        throw;
    }
    read(store, maps(store));
    return find();
}

void Names::create(int64_t store, const std::string& guid, const PropName& name) {
    const int64_t last =
        m_file.Number(-1, "SELECT max(id) FROM named_prop WHERE store=? HAVING max(id)>0", store);
    const int64_t id = last < 0 ? firstId(store) : last + 1;
    if (id > kLastNamedId)
        throw PlatformError(MAPI_E_NO_ACCESS, "The store has no room for another named property.",
                            "MessageStore");
    // one that another program made since the look before keeps its id
    m_file.Run("INSERT OR IGNORE INTO named_prop(store,id,guid,kind,lid,name) VALUES(?,?,?,?,?,?)",
               store, id, Blob{guid}, name.byNumber ? 0 : 1, name.lid, name.name);
}

std::optional<PropName> Names::NameOf(int64_t store, uint16_t id) {
    if (id < kFirstNamedId)
        return std::nullopt;
    if (!maps(store).names.contains(id))
        read(store, maps(store));
    const auto& names = maps(store).names;
    const auto it = names.find(id);
    return it == names.end() ? std::nullopt : std::optional(it->second);
}

bool Names::IsIndexed(int64_t store, uint16_t id) {
    if (id < kFirstNamedId)
        return id == PropId(PR_SUBJECT) || id == PropId(PR_CONVERSATION_TOPIC);
    const Maps& known = maps(store);
    if (known.names.contains(id))
        return known.indexed.contains(id);
    return NameOf(store, id) && maps(store).indexed.contains(id);
}

} // namespace kr::sqlite
