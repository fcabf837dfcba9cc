#include <array>
#include <set>

#include "console/basUsers.h"
#include "core/Text.h"
#include "core/Trap.h"
#include "core/basDirectory.h"
#include "core/basStore.h"

namespace kr {

namespace {

struct NewUser {
    std::string name;
    std::string address;
};

// --- The users that a command acts on

std::vector<std::string> namesOf(AgentSession& session, const std::vector<EntryID>& ids) {
    std::vector<std::string> names;
    for (const EntryID& id : ids) {
        const std::shared_ptr<Recordset> row = RowOfUser(session, id);
        names.push_back(row ? UserName(*row) : std::string());
    }
    return names;
}

/// The names, each on a line of its own behind some blanks or a tab.
std::string nameLines(const std::vector<std::string>& names, std::string_view indent) {
    std::string lines;
    for (const std::string& name : names)
        lines.append("\n").append(indent).append(name);
    return lines;
}

bool confirmed(AgentSession& session, const std::string& question) {
    return session.ui().MsgBox(question, BoxIcon::Question, BoxButtons::YesNo) == BoxAnswer::Yes;
}

/// Does the work on each record that opens, under the status text. What fails
/// is logged, and the next one follows. Gives the users for whom it succeeded.
std::vector<EntryID> forEachRecord(AgentSession& session, const std::vector<EntryID>& ids,
                                   std::string_view status, std::string_view procedure,
                                   const std::function<void(RDOMessage&, const EntryID&)>& work) {
    const WaitCursor wait(session.ui());
    session.ui().ShowStatus(status);
    std::vector<EntryID> done;
    const auto failed = [&](const Trapped& error) {
        session.log(std::string(procedure) + ": " + error.text());
    };
    for (const EntryID& id : ids) {
        const bool changed = Trap(
            [&] {
                const RDOMessagePtr record = GetMessage(session, id);
                if (record)
                    work(*record, id);
                return record != nullptr;
            },
            failed);
        if (changed)
            done.push_back(id);
        session.ui().DoEvents();
    }
    session.ui().ShowStatus("");
    return done;
}

/// A key of the record by the field that is read from it.
void setField(RDOMessage& record, UserFieldID field, const Value& value) {
    const UserField& definition = FieldOf(field);
    record.SetFields(GetPropTag(record, definition.key, definition.keyType), value);
}

// --- Adding

constexpr int kQueryList = 3;

enum class PickKind { User, List, Other };

PickKind kindOf(const AddressEntry& entry) {
    switch (entry.DisplayType()) {
    case 0:
    case 6:
        return PickKind::User;
    case 1:
    case 4:
        return PickKind::List;
    default:
        return PickKind::Other;
    }
}

/// The primary address; the one that the entry itself tells when it has no list of addresses.
std::string addressOf(AddressEntry& entry) {
    const std::string address = Trim(SmtpOfEntry(entry));
    return address.empty() ? Trim(entry.SMTPAddress()) : address;
}

/// One entry of the address book, asked for until it is a user or a list;
/// nullptr on cancel.
AddressEntryPtr pickEntry(AgentSession& session, const RecipientPicker& pick) {
    for (;;) {
        std::string ids;
        std::string names;
        std::string addresses;
        if (!pick("Add User", ids, names, addresses, true))
            return nullptr;
        const std::vector<std::string> chosen = SplitNonEmpty(ids, ";");
        if (chosen.size() == 1) {
            const AddressEntryPtr entry =
                session.rdo->GetAddressBook()->GetAddressEntryFromID(EntryID(chosen.front()));
            if (entry && kindOf(*entry) != PickKind::Other)
                return entry;
        }
        if (session.ui().MsgBox("Invalid selection! You must select a single user "
                                "or distribution list."
                                "Try again?",
                                BoxIcon::Exclamation, BoxButtons::YesNo) != BoxAnswer::Yes)
            return nullptr;
    }
}

/// The people of a query-based list; lists among them are left out.
void collectQueried(AgentSession& session, AddressEntry& list, std::set<EntryID>& seen,
                    std::vector<NewUser>& users) {
    if (seen.insert(list.ID()).second)
        ExpandQueryDLUsers(session, addressOf(list),
                           [&](const std::string& name, const std::string& address) {
                               users.push_back({name, address});
                           });
}

/// Members of the list and of the lists in it, each list entered once.
void collectMembers(AgentSession& session, AddressEntry& list, std::set<EntryID>& seen,
                    std::vector<NewUser>& users) {
    if (!seen.insert(list.ID()).second)
        return;
    for (const AddressEntryPtr& member : list.Members()) {
        const PickKind kind = kindOf(*member);
        if (kind == PickKind::List)
            collectMembers(session, *member, seen, users);
        else if (kind == PickKind::User)
            users.push_back({member->Name(), addressOf(*member)});
        else if (member->DisplayType() == kQueryList)
            collectQueried(session, *member, seen, users);
        else
            session.log("AddUsers: " + member->Name() + " is neither a user nor a list");
        session.ui().DoEvents();
    }
}

std::vector<NewUser> pickedUsers(AgentSession& session, const RecipientPicker& pick) {
    const AddressEntryPtr entry = pickEntry(session, pick);
    if (!entry)
        return {};
    if (kindOf(*entry) == PickKind::User)
        return {{entry->Name(), addressOf(*entry)}};
    if (!confirmed(session, entry->Name() + " is a distribution list.\n"
                                            "Its members will be added one by one. Proceed?"))
        return {};
    std::set<EntryID> seen;
    std::vector<NewUser> users;
    collectMembers(session, *entry, seen, users);
    return users;
}

/// The record of that address; a new one when there is none.
RDOMessagePtr recordFor(AgentSession& session, const NewUser& user) {
    const std::vector<EntryID> found =
        GetMessageIDs(session, *session.userInfo, kUserInfoClass, user.address);
    if (!found.empty())
        if (RDOMessagePtr record = GetMessage(session, found.front()))
            return record;
    RDOMessagePtr record = session.userInfo->Items()->Add(kUserInfoClass);
    record->SetSubject(user.address);
    record->SetFields(GetPropTag(*record, "Email", PropType::String), user.address);
    setField(*record, UserFieldID::DisplayName, user.name);
    setField(*record, UserFieldID::TotalRequests, 0);
    record->Save();
    return record;
}

/// The row as a load would make it: flags that filters rely on are not null.
void addRow(Recordset& users, const NewUser& user, const std::string& id, int64_t state) {
    using Kind = RecordsetCell::Kind;
    std::array<RecordsetCell, kUserFieldCount> row;
    const auto cell = [&](UserFieldID field) -> RecordsetCell& { return row[Index(field)]; };
    for (size_t i = 0; i < kUserFieldCount; ++i)
        if (UserFields()[i].type == FieldType::Boolean)
            row[i].kind = Kind::Integer;
    cell(UserFieldID::Email) = {Kind::Text, {0}, user.address};
    cell(UserFieldID::DisplayName) = {Kind::Text, {0}, user.name};
    cell(UserFieldID::EntryID) = {Kind::Text, {0}, id};
    cell(UserFieldID::State) = {Kind::Integer, {state}, {}};
    users.AppendCells(row);
}

/// The id when the user is new in the recordset.
std::optional<EntryID> addUser(AgentSession& session, const NewUser& user) {
    if (user.address.empty()) {
        session.log("AddUsers: no address for " + user.name);
        return std::nullopt;
    }
    const std::shared_ptr<Recordset> present = session.users->Clone();
    if (!ApplyFilter(session, *present, EmailFilter(user.address)) || !present->EOF_())
        return std::nullopt;
    const RDOMessagePtr record = recordFor(session, user);
    const Value state = record->Fields(GetPropTag(*record, "State", PropType::Short));
    const EntryID id = record->ID();
    addRow(*session.users, user, id.text(), state.integerOr(0));
    return id;
}

} // namespace

std::vector<EntryID> AddUsers(AgentSession& session, const RecipientPicker& pick) {
    const auto failed = [&](const Trapped& error) {
        session.log("AddUsers: " + error.text());
        session.ui().MsgBox("Error adding user: " + error.description, BoxIcon::Stop);
    };
    const std::vector<NewUser> users = Trap(
        [&] {
            if (!session.rdo || !session.userInfo || !RequireUsers(session))
                throw PlatformError(MAPI_E_NOT_FOUND, "the folder of user records is not open");
            return pickedUsers(session, pick);
        },
        failed);
    const WaitCursor wait(session.ui());
    std::vector<EntryID> added;
    for (const NewUser& user : users) {
        if (const auto id = Trap([&] { return addUser(session, user); }, failed))
            added.push_back(*id);
        session.ui().DoEvents();
    }
    return added;
}

std::vector<EntryID> DeleteUsers(AgentSession& session, const std::vector<EntryID>& ids) {
    if (ids.empty())
        return {};
    const std::vector<std::string> names = namesOf(session, ids);
    const std::string question =
        ids.size() == 1 ? "Are you sure you want \n" + names.front() + " to be deleted?"
                        : "Are you sure you want these " + std::to_string(ids.size()) +
                              " users to be deleted?" + nameLines(names, "  ");
    if (!confirmed(session, question))
        return {};
    return forEachRecord(session, ids, "Deleting users, please wait...", "DeleteUser",
                         [&](RDOMessage& record, const EntryID& id) {
                             record.Delete();
                             if (const auto row = RowOfUser(session, id))
                                 row->Delete();
                         });
}

std::vector<EntryID> DisableUsers(AgentSession& session, const std::vector<EntryID>& ids) {
    if (ids.empty())
        return {};
    const std::vector<std::string> names = namesOf(session, ids);
    // deliberately no blank between name and question
    const std::string question = ids.size() == 1
                                     ? "You have chosen to disable \n" + names.front() + "Proceed?"
                                     : "You have chosen to disable " + std::to_string(ids.size()) +
                                           " users. Proceed?" + nameLines(names, "\t");
    if (!confirmed(session, question))
        return {};
    return forEachRecord(session, ids, "Disabling users, please wait...", "DisableUser",
                         [&](RDOMessage& record, const EntryID& id) {
                             setField(record, UserFieldID::State, kUserDisabled);
                             record.Save();
                             if (const auto row = RowOfUser(session, id))
                                 row->Set(Index(UserFieldID::State), kUserDisabled);
                         });
}

std::vector<EntryID> SetUserLanguage(AgentSession& session, int32_t lcid, std::string_view language,
                                     const std::vector<EntryID>& ids, UserLanguage which) {
    if (ids.empty())
        return {};
    const std::vector<std::string> names = namesOf(session, ids);
    std::string question =
        "Are you sure you want " + std::string(language) + " as the language for ";
    question +=
        ids.size() == 1 ? names.front() + "?" : "these " + std::to_string(ids.size()) + " users?";
    if (!confirmed(session, question))
        return {};
    return forEachRecord(session, ids, "Setting language, please wait...", "SetUserLanguage",
                         [&](RDOMessage& record, const EntryID& id) {
                             if (which == UserLanguage::SelfService)
                                 record.SetFields(GetPropTag(record, "SSU LCID", PropType::String),
                                                  std::to_string(lcid));
                             else
                                 setField(record, UserFieldID::LCID, lcid);
                             record.Save();
                             if (const auto row = RowOfUser(session, id);
                                 row && which == UserLanguage::Agent)
                                 row->Set(Index(UserFieldID::LCID), lcid);
                         });
}

} // namespace kr
