#include "contacts/basExpand.h"

#include "core/Text.h"
#include "core/Trap.h"
#include "core/basStore.h"

namespace kr {

namespace {

/// Entries whose address or name may begin with a whole address.
constexpr size_t kMostCandidates = 50;

constexpr std::string_view kContactAttributes =
    "name,mail,mobile,telephoneNumber,facsimileTelephoneNumber,homePhone,pager,otherTelephone,"
    "otherHomePhone,title,company,department,physicalDeliveryOfficeName,streetAddress,l,st,"
    "postalCode,postOfficeBox,co,givenName,sn,initials,objectCategory";

enum class EntryKind { Ignored, Person, List, QueryList };

EntryKind kindOf(int displayType) {
    switch (displayType) {
    case 0:
    case 6:
        return EntryKind::Person;
    case 1:
    case 4:
        return EntryKind::List;
    case 3:
        return EntryKind::QueryList;
    default:
        return EntryKind::Ignored;
    }
}

/// Lowered; the primary one, else what the entry itself tells.
std::string addressOf(AddressEntry& entry) {
    const std::string address = Trim(SmtpOfEntry(entry));
    return ToLower(address.empty() ? Trim(entry.SMTPAddress()) : address);
}

/// A list without an SMTP address is told by its distinguished name.
std::string listKey(AddressEntry& entry) {
    const std::string address = addressOf(entry);
    return address.empty() ? ToLower(entry.Address()) : address;
}

bool hasProxy(AddressEntry& entry, const std::string& address) {
    const Value proxies = TrapSilently([&] { return entry.Fields(PR_EMS_PROXY_ADDRESSES); });
    for (const std::string& proxy : proxies.valueOr<Strings>({}))
        if (EqualNoCase(Trim(proxy), "SMTP:" + address))
            return true;
    return false;
}

/// One walk. What is still to be entered lies in a stack of its own: lists may be nested deeper
/// than the program's stack allows.
class Walk {
public:
    Walk(AgentSession& session, SeenLists& seen, MemberSink add, StopExpansion stop = {})
        : m_session(session), m_catalog(session), m_seen(seen), m_add(std::move(add)),
          m_stop(std::move(stop)) {}

    void Entry(AddressEntry& entry) {
        TrapSilently([&] { dispatch(entry); });
        rest();
    }
    /// The list itself counts as seen from now on.
    void Query(std::string_view address) {
        m_seen.insert(ToLower(address));
        query(std::string(address));
        rest();
    }
    /// Logs each step with the lists of a query, for push targets.
    void LogSteps() { m_logged = true; }

private:
    /// An entry of the address book, or else a list that a query met.
    struct Pending {
        AddressEntryPtr entry;
        DirectoryKind kind = DirectoryKind::Other;
        std::string name;
        std::string address;
    };

    void rest();
    void dispatch(AddressEntry& entry);
    void pushMembers(AddressEntry& list);
    void query(const std::string& address);
    void enter(const Pending& list);
    void person(std::string name, std::string address);
    bool stopped() const { return m_stop && m_stop(); }
    void log(const std::string& text) {
        if (m_logged)
            m_session.log("ExpandQueryDLPush:" + text);
    }

    AgentSession& m_session;
    ForestCatalog m_catalog;
    SeenLists& m_seen;
    MemberSink m_add;
    StopExpansion m_stop;
    bool m_logged = false;
    std::vector<Pending> m_pending; // last first
};

void Walk::rest() {
    while (!m_pending.empty() && !stopped()) {
        const Pending next = std::move(m_pending.back());
        m_pending.pop_back();
        TrapSilently([&] {
            if (next.entry)
                dispatch(*next.entry);
            else
                enter(next);
        });
        m_session.ui().DoEvents();
    }
    m_pending.clear();
}

void Walk::dispatch(AddressEntry& entry) {
    switch (kindOf(entry.DisplayType())) {
    case EntryKind::Person:
        person(entry.Name(), addressOf(entry));
        break;
    case EntryKind::List:
        if (m_seen.insert(listKey(entry)).second)
            pushMembers(entry);
        break;
    case EntryKind::QueryList:
        if (const std::string address = addressOf(entry); m_seen.insert(address).second)
            query(address);
        break;
    case EntryKind::Ignored:
        break;
    }
}

void Walk::pushMembers(AddressEntry& list) {
    auto members = list.Members();
    for (auto member = members.rbegin(); member != members.rend(); ++member)
        if (*member)
            m_pending.push_back({std::move(*member), {}, {}, {}});
}

void Walk::person(std::string name, std::string address) {
    if (!address.empty())
        m_add({std::move(name), std::move(address)});
}

/// People go on as they come. The lists wait for the end of the query, so that no second one has to
/// run beside it.
void Walk::query(const std::string& address) {
    std::vector<Pending> lists;
    m_catalog.RunQueryDL(
        address, kMemberAttributes,
        [&](const DirectoryRow& row) {
            const DirectoryKind kind = KindOf(row);
            std::string name = row.First("name");
            std::string mail = ToLower(row.First("mail"));
            if (kind == DirectoryKind::Person)
                person(std::move(name), std::move(mail));
            else if (kind != DirectoryKind::Other && !mail.empty())
                lists.push_back({nullptr, kind, std::move(name), std::move(mail)});
        },
        m_stop);
    for (auto list = lists.rbegin(); list != lists.rend(); ++list)
        m_pending.push_back(std::move(*list));
}

void Walk::enter(const Pending& list) {
    if (!m_seen.insert(list.address).second) {
        log("skipping repeat expansion of " + list.name);
        return;
    }
    if (list.kind == DirectoryKind::QueryList) {
        log("expanding member query-based DL named '" + list.name + "'");
        query(list.address);
        return;
    }
    const AddressEntryPtr entry = GetAddressEntry(m_session, list.address);
    if (!entry) {
        log("unable to retrieve address entry for DL named '" + list.name + "'");
        return;
    }
    log("expanding member DL named '" + list.name + "'");
    pushMembers(*entry);
}

MemberSink into(FoundPeople& found) {
    // a failed add is the test for a repeat
    return [&found](const Member& member) { found.try_emplace(member.address, member.name); };
}

void walkAddresses(AgentSession& session, std::string_view addresses, Walk& walk,
                   const StopExpansion& stop) {
    for (const std::string& address : SplitNonEmpty(addresses, ";")) {
        if (stop && stop())
            return;
        if (const AddressEntryPtr entry = GetAddressEntry(session, address))
            walk.Entry(*entry);
    }
}

DirectoryContact contactOf(const DirectoryRow& row) {
    static const std::vector<std::string> names = Split(kContactAttributes, ",");
    DirectoryContact contact;
    for (const std::string& name : names)
        if (std::string text = Join(row.Values(name), ";"); !text.empty())
            contact.emplace(name, std::move(text));
    return contact;
}

} // namespace

AddressEntryPtr GetAddressEntry(AgentSession& session, std::string_view address) {
    return TrapSilently([&]() -> AddressEntryPtr {
        const std::string wanted = Trim(address);
        if (!session.rdo || wanted.empty())
            return nullptr;
        const AddressBookPtr book = session.rdo->GetAddressBook();
        const std::vector<AddressRow> rows = book->Search(wanted, kMostCandidates);
        for (const AddressRow& row : rows)
            if (EqualNoCase(row.smtp, wanted))
                return book->GetAddressEntryFromID(row.id);
        for (const AddressRow& row : rows)
            if (const auto entry = book->GetAddressEntryFromID(row.id);
                entry && hasProxy(*entry, wanted))
                return entry;
        return nullptr;
    });
}

int CountRecipients(AgentSession& session, std::string_view addresses) {
    FoundPeople found;
    SeenLists seen;
    Walk walk(session, seen, into(found));
    walkAddresses(session, addresses, walk, {});
    return static_cast<int>(found.size());
}

void ExpandAddressEntry(AgentSession& session, AddressEntry& entry, FoundPeople& found,
                        SeenLists& seen) {
    Walk(session, seen, into(found)).Entry(entry);
}

void ExpandQueryDL(AgentSession& session, std::string_view address, FoundPeople& found,
                   SeenLists& seen) {
    Walk(session, seen, into(found)).Query(address);
}

void ExpandMembers(AgentSession& session, std::string_view addresses, const MemberSink& add,
                   const StopExpansion& stop) {
    std::unordered_set<std::string> met;
    SeenLists seen;
    Walk walk(
        session, seen,
        [&](const Member& member) {
            if (met.insert(member.address).second)
                add(member);
        },
        stop);
    walkAddresses(session, addresses, walk, stop);
}

void ExpandQueryDLMembers(AgentSession& session, std::string_view address, const MemberSink& add,
                          SeenLists& seen) {
    Walk(session, seen, add).Query(address);
}

void ExpandQueryDLSSU(AgentSession& session, std::string_view address,
                      const std::unordered_set<std::string>& known, const MemberSink& add) {
    ExpandQueryDLUsers(session, address, [&](const std::string& name, const std::string& mail) {
        if (!mail.empty() && !known.contains(mail))
            add({name, mail});
    });
}

void ExpandQueryDLContacts(AgentSession& session, std::string_view address,
                           const std::function<bool(const DirectoryContact&)>& write) {
    bool stopped = false;
    ForestCatalog(session).RunQueryDL(
        address, kContactAttributes,
        [&](const DirectoryRow& row) {
            if (!stopped && KindOf(row) == DirectoryKind::Person)
                stopped = !write(contactOf(row));
        },
        [&] { return stopped; });
}

void ExpandQueryDLPush(AgentSession& session, std::string_view address, const MemberSink& add,
                       SeenLists& seen) {
    Walk walk(session, seen, add);
    walk.LogSteps();
    walk.Query(address);
}

} // namespace kr
