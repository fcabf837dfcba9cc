#include "core/basStore.h"

#include "core/Keys.h"
#include "core/Text.h"
#include "core/Trap.h"
#include "core/basEntryID.h"

namespace kr {

namespace {

constexpr uint32_t kIgnoreCase = 0x10000;

/// The frame of GetMessage and GetFolder, which differ in one call only.
template <class Ptr, class Open>
Ptr openById(AgentSession& session, const EntryID& id, const EntryID& storeID, Open open,
             std::string_view procedure) {
    const auto same = [&](const Ptr& object) {
        return object && object->Store()->CompareEntryIDs(object->ID(), id);
    };
    return Trap(
        [&]() -> Ptr {
            if (!session.rdo)
                return nullptr;
            Ptr object = TrapSilently([&] { return open(storeID); });
            if (object && same(object))
                return object;
            if (session.publicStoreID.empty())
                session.publicStoreID =
                    TrapSilently([&] { return session.rdo->Stores().PublicStore()->ID(); });
            if (session.publicStoreID.empty())
                return nullptr;
            object = TrapSilently([&] { return open(session.publicStoreID); });
            return same(object) ? object : nullptr;
        },
        [&](const Trapped& error) {
            session.log(std::string(procedure) + " CompareEntryIDs error:" + error.text());
        });
}

Restriction content(PropTag tag, const Value& value) {
    Restriction restriction = CreateRestriction(Restriction::Content);
    restriction.tag = tag;
    restriction.fuzzyLevel = kIgnoreCase;
    restriction.value = value;
    return restriction;
}

/// One condition stands by itself, several are joined.
Restriction joined(std::vector<Restriction> parts) {
    if (parts.size() == 1)
        return std::move(parts.front());
    Restriction restriction = CreateRestriction(Restriction::And);
    restriction.parts = std::move(parts);
    return restriction;
}

EntryID idOfCell(const TableCell& cell) {
    return EntryID(CoerceToPropType(cell.value(), PR_LONGTERM_ENTRYID_FROM_TABLE).text());
}

/// Calls back for each row of the table until an empty batch.
template <class Row>
void readRows(MAPITable& table, Row row) {
    for (TableRows rows = table.GetRows(); !rows.empty(); rows = table.GetRows())
        for (size_t i = 0; i < rows.rows; ++i)
            row(rows, i);
}

template <class Wanted>
Value asOr(const Value& value, Wanted fallback) {
    return value.is<Wanted>() ? value : Value(fallback);
}

/// Ids of that class and subject, behind those that are there already; throws in the middle.
void collectIDs(RDOFolder& folder, std::string_view messageClass, std::string_view subject,
                std::vector<EntryID>& ids) {
    if (messageClass.empty() && subject.empty())
        return;
    auto table = folder.Items()->Table();
    table->Columns({PR_LONGTERM_ENTRYID_FROM_TABLE, PR_SUBJECT, PR_MESSAGE_CLASS});
    std::vector<Restriction> parts;
    if (!subject.empty())
        parts.push_back(content(PR_SUBJECT, subject));
    if (!messageClass.empty())
        parts.push_back(content(PR_MESSAGE_CLASS, messageClass));
    table->Restrict(joined(std::move(parts)));
    // the store's match can be wider than equality, so each row is compared again
    readRows(*table, [&](const TableRows& rows, size_t i) {
        const bool same = (subject.empty() || EqualNoCase(rows.at(i, 1).bytes, subject)) &&
                          (messageClass.empty() || EqualNoCase(rows.at(i, 2).bytes, messageClass));
        if (same)
            ids.push_back(idOfCell(rows.at(i, 0)));
    });
}

Value bytesAsHex(const Value& value) {
    const auto* bytes = value.get<Bytes>();
    return bytes ? Value(ToHex(*bytes)) : Value("");
}

Value trimmedText(const Value& value) {
    const auto* text = value.get<std::string>();
    return Value(text ? Trim(*text) : std::string());
}

} // namespace

RDOMessagePtr GetMessage(AgentSession& session, const EntryID& id, const EntryID& storeID) {
    return openById<RDOMessagePtr>(
        session, id, storeID,
        [&](const EntryID& store) { return session.rdo->GetMessageFromID(id, store); },
        "GetMessage");
}

RDOFolderPtr GetFolder(AgentSession& session, const EntryID& id, const EntryID& storeID) {
    return openById<RDOFolderPtr>(
        session, id, storeID,
        [&](const EntryID& store) { return session.rdo->GetFolderFromID(id, store); }, "GetFolder");
}

PropTag GetPropTag(RDOProperties& object, std::string_view name, PropType type,
                   std::string_view guid) {
    const PropTag id = TrapSilently(
        [&] { return object.GetIDsFromNames(guid.empty() ? PS_PUBLIC_STRINGS : guid, name); });
    return (id & 0xFFFF0000) | static_cast<PropTag>(type);
}

Value CoerceToPropType(const Value& value, PropTag tag) {
    switch (TypeOf(tag)) {
    case PropType::String:
    case PropType::Unicode:
        return trimmedText(value);
    case PropType::Short:
        return value.is<int32_t>() ? value : asOr<int16_t>(value, 0);
    case PropType::Long:
        return asOr<int32_t>(value, 0);
    case PropType::Boolean:
        return asOr<bool>(value, false);
    case PropType::Time:
        return asOr<Time>(value, Time{});
    case PropType::Binary:
        return bytesAsHex(value);
    default:
        return value;
    }
}

Value CoerceToFieldKind(const Value& value, FieldKind kind) {
    static constexpr PropType kTypes[] = {PropType::String, PropType::Short, PropType::Time,
                                          PropType::Binary, PropType::Long,  PropType::Boolean};
    return CoerceToPropType(value, static_cast<PropTag>(kTypes[static_cast<size_t>(kind)]));
}

Value GetKey(RDOProperties& record, std::string_view key) {
    return TrapSilently([&] { return record.Fields(GetPropTag(record, key, TypeOfKey(key))); });
}

std::string KeyText(RDOProperties& record, std::string_view key) {
    return GetKey(record, key).text();
}

int32_t KeyNumber(RDOProperties& record, std::string_view key, int32_t fallback) {
    const Value value = GetKey(record, key);
    return value.empty() ? fallback : value.integerOr(0);
}

bool KeyFlag(RDOProperties& record, std::string_view key, bool fallback) {
    const Value value = GetKey(record, key);
    return value.empty() ? fallback : value.valueOr(false);
}

Value RequireKey(RDOProperties& record, std::string_view key) {
    const PropTag id = record.GetIDsFromNames(PS_PUBLIC_STRINGS, key) & 0xFFFF0000;
    if (id == 0)
        throw PlatformError(MAPI_E_NOT_FOUND, "The store gives no id for " + std::string(key) + ".",
                            "RequireKey");
    return record.Fields(id | static_cast<PropTag>(TypeOfKey(key)));
}

void SetKey(RDOProperties& record, std::string_view key, const Value& value) {
    record.SetFields(GetPropTag(record, key, TypeOfKey(key)), value);
}

std::vector<EntryID> GetMessageIDs(AgentSession& session, RDOFolder& folder,
                                   std::string_view messageClass, std::string_view subject) {
    std::vector<EntryID> ids;
    Trap([&] { collectIDs(folder, messageClass, subject, ids); },
         [&](const Trapped& error) { session.log("GetMessageIDs: " + error.text()); });
    return ids;
}

std::vector<EntryID> RequireMessageIDs(RDOFolder& folder, std::string_view messageClass,
                                       std::string_view subject) {
    std::vector<EntryID> ids;
    collectIDs(folder, messageClass, subject, ids);
    return ids;
}

std::vector<EntryID> GetFilteredIDs(AgentSession& session, RDOFolder& folder,
                                    const std::vector<FieldFilter>& filters, bool hidden) {
    std::vector<EntryID> ids;
    Trap(
        [&] {
            auto table = (hidden ? folder.HiddenItems() : folder.Items())->Table();
            table->Columns({PR_LONGTERM_ENTRYID_FROM_TABLE});
            std::vector<Restriction> parts;
            for (const FieldFilter& filter : filters) {
                const PropType type =
                    filter.type == PropType::Unspecified ? PropType::String : filter.type;
                const PropTag tag =
                    filter.tag != 0 ? filter.tag : GetPropTag(folder, filter.name, type);
                parts.push_back(content(tag, filter.value));
            }
            if (!parts.empty())
                table->Restrict(joined(std::move(parts)));
            readRows(*table, [&](const TableRows& rows, size_t i) {
                ids.push_back(idOfCell(rows.at(i, 0)));
            });
        },
        [&](const Trapped& error) { session.log("GetFilteredIDs: " + error.text()); });
    return ids;
}

std::string GetPrimarySMTP(RDOProperties& entry) {
    return TrapSilently([&]() -> std::string {
        const Value proxies = entry.Fields(PR_EMS_PROXY_ADDRESSES);
        const auto* list = proxies.get<Strings>();
        for (const std::string& proxy : list ? *list : Strings{})
            if (const std::string address = Trim(proxy); address.starts_with("SMTP:"))
                return address.substr(5);
        return {};
    });
}

std::string SmtpOfEntry(AddressEntry& entry) {
    return TrapSilently([&]() -> std::string {
        if (entry.Type() == "SMTP")
            return entry.Address();
        return entry.Type() == "EX" ? GetPrimarySMTP(entry) : std::string();
    });
}

} // namespace kr
