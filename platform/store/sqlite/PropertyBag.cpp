#include "core/Text.h"
#include "platform/store/sqlite/Objects.h"

namespace kr::sqlite {

PropName NameOfKey(std::string_view guid, std::string_view name) {
    PropName key;
    key.guid = guid.empty() ? std::string(PS_PUBLIC_STRINGS) : ToUpper(guid);
    const bool number = name.size() > 2 && name.starts_with("0x") &&
                        name.find_first_not_of("0123456789abcdefABCDEF", 2) == std::string::npos;
    key.byNumber = number;
    if (number)
        key.lid = static_cast<uint32_t>(std::stoul(std::string(name), nullptr, 16));
    else
        key.name = name;
    return key;
}

void PropertyBag::Load(std::string_view blob) {
    m_properties.clear();
    m_changed.clear();
    BlobReader reader(blob);
    for (RawProperty p; reader.Next(p);)
        m_properties[PropId(p.tag)] = {p.tag, std::string(p.payload), p.big, p.bigLength};
}

const PropertyBag::Stored* PropertyBag::Find(uint16_t id) const {
    const auto it = m_properties.find(id);
    return it == m_properties.end() ? nullptr : &it->second;
}

void PropertyBag::Set(PropTag tag, const Value& value) {
    const uint16_t id = PropId(tag);
    if (value.empty())
        return Remove(id);
    // what is stored is the value's own type; only the two text types count as one
    PropType type = TypeOfValue(value);
    if (type == PropType::Double && TypeOf(tag) == PropType::Double5)
        type = PropType::Double5;
    m_properties[id] = {MakeTag(id, type), EncodePayload(type, value), false, 0};
    m_changed.insert(id);
}

void PropertyBag::Remove(uint16_t id) {
    if (m_properties.erase(id) > 0)
        m_changed.insert(id);
}

std::vector<PropTag> PropertyBag::Tags() const {
    std::vector<PropTag> tags;
    for (const auto& [id, stored] : m_properties)
        tags.push_back(stored.tag);
    return tags;
}

void PropertyBag::ApplyTo(PropertyBag& other) const {
    for (const uint16_t id : m_changed) {
        const Stored* stored = Find(id);
        if (stored)
            other.m_properties[id] = *stored;
        else
            other.m_properties.erase(id);
        other.m_changed.insert(id);
    }
}

std::string PropertyBag::Write(StoreFile& file, int64_t owner) {
    for (const uint16_t id : m_changed) {
        const auto it = m_properties.find(id);
        file.Sql("DELETE FROM big WHERE owner=? AND tag=?").Bind(1, owner).Bind(2, id).Run();
        if (it == m_properties.end() || it->second.payload.size() <= kBigSize)
            continue;
        Stored& stored = it->second;
        file.Sql("INSERT INTO big VALUES(?,?,?)")
            .Bind(1, owner)
            .Bind(2, id)
            .BindBlob(3, stored.payload)
            .Run();
        stored.big = true;
        stored.bigLength = stored.payload.size();
    }
    std::vector<RawProperty> raw;
    raw.reserve(m_properties.size());
    for (const auto& [id, stored] : m_properties)
        raw.push_back({stored.tag, stored.payload, stored.big, stored.bigLength});
    return WriteBlob(raw);
}

} // namespace kr::sqlite
