#include "platform/store/sqlite/PropertyBag.h"

#include <algorithm>

#include "platform/store/sqlite/Sqlite.h"

namespace kr::sqlite {

namespace {

RawProperty rawOf(const PropertyChange& change, bool keepOutside) {
    RawProperty property;
    property.tag = change.tag;
    property.payload = change.payload;
    property.isLong = keepOutside && change.payload.size() > kLongSize;
    property.length = change.payload.size();
    return property;
}

} // namespace

void RequireBlob(std::string_view blob) {
    BlobReader reader(blob);
    for (RawProperty property; reader.Next(property);) {
    }
    if (reader.Bad())
        throw PlatformError(MAPI_E_CORRUPT_STORE,
                            "A record of the store file is damaged: its properties can't be read.",
                            "MessageStore");
}

bool FindProperty(std::string_view blob, uint16_t id, RawProperty& property) {
    BlobReader reader(blob);
    return reader.NextFrom(id, property) && PropId(property.tag) == id;
}

std::string MergeChanges(std::string_view blob, const std::vector<PropertyChange>& changes,
                         bool keepOutside) {
    BlobWriter writer;
    BlobReader reader(blob);
    auto change = changes.begin();
    const auto addChangesBelow = [&](int id) {
        for (; change != changes.end() && PropId(change->tag) < id; ++change)
            if (!change->removed)
                writer.Add(rawOf(*change, keepOutside));
    };
    for (RawProperty property; reader.Next(property);) {
        addChangesBelow(PropId(property.tag));
        if (change == changes.end() || PropId(change->tag) != PropId(property.tag))
            writer.Add(property);
    }
    addChangesBelow(0x10000);
    return writer.Take();
}

void PropertyBag::Load(std::string blob, std::map<uint16_t, std::string> longValues) {
    RequireBlob(blob);
    m_blob = std::move(blob);
    m_long = std::move(longValues);
    m_changes.clear();
}

Value PropertyBag::Get(PropTag tag) const {
    const uint16_t id = PropId(tag);
    const auto change =
        std::ranges::find(m_changes, id, [](const auto& c) { return PropId(c.tag); });
    if (change != m_changes.end())
        return change->removed ? Value() : DecodePayload(TypeOf(change->tag), change->payload);
    RawProperty property;
    if (!FindProperty(m_blob, id, property))
        return {};
    if (!property.isLong)
        return DecodePayload(TypeOf(property.tag), property.payload);
    const auto found = m_long.find(id);
    return found == m_long.end() ? Value() : DecodePayload(TypeOf(property.tag), found->second);
}

void PropertyBag::Set(PropTag tag, const Value& value) {
    PropertyChange change;
    change.tag = tag;
    change.removed = value.empty();
    if (!change.removed) {
        const auto fitting = ToType(value, TypeOf(tag));
        if (!fitting)
            throw PlatformError(MAPI_E_INVALID_TYPE,
                                "The value is not of the type that the property's tag names.",
                                "MessageStore");
        const PropType type =
            TypeOf(tag) == PropType::Unspecified ? TypeOfValue(*fitting) : TypeOf(tag);
        change.tag = MakeTag(PropId(tag), StoredType(type));
        change.payload = EncodePayload(*fitting);
    }
    const auto place = std::ranges::lower_bound(m_changes, PropId(tag), {},
                                                [](const auto& c) { return PropId(c.tag); });
    if (place != m_changes.end() && PropId(place->tag) == PropId(tag))
        *place = std::move(change);
    else
        m_changes.insert(place, std::move(change));
}

std::vector<PropTag> PropertyBag::Tags() const {
    const std::string merged = m_changes.empty() ? m_blob : MergeChanges(m_blob, m_changes, true);
    std::vector<PropTag> tags;
    BlobReader reader(merged);
    for (RawProperty property; reader.Next(property);)
        tags.push_back(property.tag);
    return tags;
}

} // namespace kr::sqlite
