#include "contacts/basPrivacy.h"

#include <set>

#include "core/Text.h"
#include "core/Trap.h"
#include "core/basStore.h"

namespace kr {

namespace {

/// Label and key of each field.
constexpr std::string_view kFields =
    "PIN,PIN;Mobile Phone,MobilePhone;Home Phone,EPS Home Phone;Home Phone2,HomePhone2;"
    "Home Fax,HomeFax;Business Phone,BusinessPhone;Business Phone2,BusinessPhone2;"
    "Business Fax,BusinessFax;Other Phone,OtherPhone;Other Fax,OtherFax;Radio Phone,RadioPhone;"
    "Pager,EPS Pager;Home Address,HomeAddress;Notes,Notes;Spouse,Spouse";
constexpr std::string_view kGlobal = " (EPS global restriction)";

std::set<std::string> keysIn(std::string_view list) {
    std::set<std::string> keys;
    for (const std::string& key : SplitNonEmpty(list, ";"))
        keys.insert(Fold(key));
    return keys;
}

std::string nameOf(RDOMessage& contact) {
    const std::string name =
        TrapSilently([&] { return Trim(contact.Fields(PR_DISPLAY_NAME).text()); });
    return name.empty() ? TrapSilently([&] { return contact.Subject(); }) : name;
}

/// GetMessage says no number; the call behind it does.
long numberOfFailure(AgentSession& session, const EntryID& id) {
    long number = MAPI_E_NOT_FOUND;
    Trap(
        [&] {
            if (session.rdo)
                session.rdo->GetMessageFromID(id, {});
        },
        [&](const Trapped& error) { number = error.number; });
    return number;
}

void loadOne(AgentSession& session, PrivacyContacts& contacts, std::string_view procedure) {
    const auto failed = [&](long number) {
        session.log(std::string(procedure) + "_Load: GetMessage failed " + std::to_string(number));
    };
    contacts.readable = false;
    const RDOMessagePtr contact = GetMessage(session, contacts.ids.front());
    if (!contact) {
        failed(numberOfFailure(session, contacts.ids.front()));
        return;
    }
    Trap(
        [&] {
            // a failed read must not pass for a contact without restrictions
            const auto text = [&](std::string_view key) {
                return RequireKey(*contact, key).text();
            };
            contacts.fields = text(kPrivateFieldsKey);
            contacts.accessNames = text(kAccessNamesKey);
            contacts.accessAddresses = text(kAccessListKey);
            contacts.readable = true;
        },
        [&](const Trapped& error) { failed(error.number); });
}

RDOMessagePtr openOneOf(AgentSession& session, const EntryID& id) {
    RDOMessagePtr contact = GetMessage(session, id);
    if (!contact)
        session.log("GetMessageFromID failed " + std::to_string(numberOfFailure(session, id)));
    return contact;
}

void write(RDOMessage& contact, const PrivacyChange& change) {
    if (change.fields)
        SetKey(contact, kPrivateFieldsKey, *change.fields);
    if (change.access) {
        SetKey(contact, kAccessListKey, change.access->addresses);
        SetKey(contact, kAccessNamesKey, change.access->names);
        // where there is a third list, it must not go on granting what was taken away
        if (!RequireKey(contact, kAccessEmailKey).text().empty())
            SetKey(contact, kAccessEmailKey, change.access->addresses);
    }
    contact.Save();
}

} // namespace

std::vector<PrivateField> PrivateFields(std::string_view byDefault, std::string_view ofContact) {
    const auto global = keysIn(byDefault);
    const auto own = keysIn(ofContact);
    std::vector<PrivateField> fields;
    for (const std::string& pair : Split(kFields, ";")) {
        const size_t comma = pair.find(',');
        PrivateField field{pair.substr(0, comma), pair.substr(comma + 1)};
        field.byDefault = global.contains(Fold(field.key));
        field.checked = field.byDefault || own.contains(Fold(field.key));
        if (field.byDefault)
            field.label += kGlobal;
        fields.push_back(std::move(field));
    }
    return fields;
}

std::string CheckedFields(const std::vector<PrivateField>& fields) {
    std::vector<std::string> keys;
    for (const PrivateField& field : fields)
        if (field.checked && !field.byDefault)
            keys.push_back(field.key);
    return Join(keys, ";");
}

std::string PrivacyContacts::Title() const {
    return Several() ? std::to_string(ids.size()) + " Contacts" : name;
}

PrivacyContacts LoadPrivacyContacts(AgentSession& session, std::string_view contacts,
                                    std::string_view name, std::string_view procedure) {
    PrivacyContacts loaded;
    for (const std::string& id : SplitNonEmpty(contacts, ";"))
        loaded.ids.emplace_back(id);
    loaded.name = name;
    if (loaded.Several())
        for (const EntryID& id : loaded.ids) {
            if (const RDOMessagePtr contact = openOneOf(session, id))
                loaded.names += nameOf(*contact) + "\n";
        }
    else if (!loaded.ids.empty())
        loadOne(session, loaded, procedure);
    return loaded;
}

int SavePrivacy(AgentSession& session, const std::vector<EntryID>& contacts,
                const PrivacyChange& change) {
    const WaitCursor wait(session.ui());
    int written = 0;
    std::set<std::string> told; // a server that has gone is told of once, not for each contact
    for (const EntryID& id : contacts) {
        const RDOMessagePtr contact = openOneOf(session, id);
        if (!contact)
            continue;
        Trap(
            [&] {
                write(*contact, change);
                ++written;
            },
            [&](const Trapped& error) {
                const char* const what = change.access ? "access list" : "private fields";
                session.log("Error setting " + std::string(what) + " for " + nameOf(*contact) +
                            ": " + error.description);
                if (told.insert(error.description).second)
                    session.ui().MsgBox("Error saving change: " + error.description, BoxIcon::Stop);
            });
        session.ui().DoEvents();
    }
    return written;
}

std::string AccessListOf(AgentSession& session, const EntryID& contact) {
    const RDOMessagePtr message = GetMessage(session, contact);
    return message ? KeyText(*message, kAccessListKey) : std::string();
}

} // namespace kr
