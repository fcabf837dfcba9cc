#include "push/basTargets.h"

#include <set>
#include <unordered_map>

#include "contacts/basExpand.h"
#include "core/Text.h"
#include "core/Trap.h"
#include "core/basAgent.h"
#include "core/basStore.h"
#include "core/basText.h"
#include "handhelds/basBES.h"
#include "handhelds/basHandhelds.h"

namespace kr {

namespace {

constexpr int kTextSize = 255;
constexpr int kOutbox = 4;
constexpr std::string_view kMdsPort = "8080";

/// The table being built and what its look-ups need.
class TargetBuilder {
public:
    TargetBuilder(AgentSession& session, TreeModel& tree, const Recordset& handhelds)
        : m_session(session), m_tree(tree), m_targets(CreateTargetRecordset()),
          m_seenTargets(m_targets->Clone()), m_handhelds(handhelds.Clone()) {}

    std::shared_ptr<Recordset> targets() const { return m_targets; }

    void AddTarget(std::string_view email, std::string_view pin) {
        if (email.empty() && pin.empty())
            return;
        m_handhelds->SetFilter(email.empty() ? LikeFilter("PIN", pin) : LikeFilter("Email", email));
        if (!m_handhelds->EOF_())
            addHandheld();
        else if (!email.empty() && !contains("Name", email))
            append(email, email, {}, {}, {});
    }

    void AddAddressEntry(AddressEntry& entry) {
        switch (entry.DisplayType()) {
        case 0:
        case 6:
            AddTarget(SmtpOfEntry(entry), {});
            break;
        case 1:
        case 4:
            if (m_visited.insert(entry.ID()).second)
                for (const AddressEntryPtr& member : entry.Members())
                    AddAddressEntry(*member);
            break;
        case 3:
            if (m_visited.insert(entry.ID()).second)
                ExpandQueryDLPush(
                    m_session, SmtpOfEntry(entry),
                    [&](const Member& member) { AddTarget(member.address, {}); }, m_seenLists);
            break;
        default:
            break;
        }
        m_session.ui().DoEvents();
    }

private:
    bool contains(std::string_view field, std::string_view value) {
        return m_seenTargets->SetFilter(LikeFilter(field, value)) && !m_seenTargets->EOF_();
    }
    /// The first row where several match.
    void addHandheld() {
        const auto text = [&](HandheldField field) { return m_handhelds->Text(Index(field)); };
        if (contains("Email", text(HandheldField::Email)))
            return;
        const std::string bes(text(HandheldField::BBServer));
        append(text(HandheldField::DisplayName), text(HandheldField::Email),
               text(HandheldField::PIN), bes, pushServer(bes));
    }
    void append(std::string_view name, std::string_view email, std::string_view pin,
                std::string_view bes, std::string_view server) {
        m_targets->Append({std::string(name), std::string(email), std::string(pin),
                           std::string(bes), std::string(server)});
    }
    /// Finding one may ask servers over the network: once for each BES is enough.
    const std::string& pushServer(const std::string& bes) {
        const auto known = m_pushServers.find(bes);
        if (known != m_pushServers.end())
            return known->second;
        return m_pushServers[bes] = FindPushServer(m_session, m_tree, bes);
    }

    AgentSession& m_session;
    TreeModel& m_tree;
    std::shared_ptr<Recordset> m_targets, m_seenTargets;
    std::shared_ptr<Recordset> m_handhelds;
    std::set<EntryID> m_visited;
    SeenLists m_seenLists;
    std::unordered_map<std::string, std::string> m_pushServers;
};

/// The records of a value in the Handhelds folder; nothing, with the reason logged under that tag,
/// when there is no folder.
RDOMessagePtr findRecord(AgentSession& session, const std::string& tag, const FieldFilter& filter,
                         size_t& count) {
    const RDOFolderPtr folder = GetHandheldsFolder(session);
    count = 0;
    if (!folder) {
        session.log(tag + " failed: unable to get reference to Handhelds folder");
        return nullptr;
    }
    const auto ids = GetFilteredIDs(session, *folder, {filter}, false);
    count = ids.size();
    return ids.empty() ? nullptr : GetMessage(session, ids.front());
}

} // namespace

std::string LikeFilter(std::string_view field, std::string_view value) {
    const bool pattern = value.find_first_of("*%") != std::string_view::npos;
    return "[" + std::string(field) + "]" + (pattern ? " LIKE '" : "='") + EscapeQuotes(value) +
           "'";
}

std::shared_ptr<Recordset> CreateTargetRecordset() {
    std::vector<Field> fields;
    for (const char* name : {"Name", "Email", "PIN", "BESServer", "PushServer"})
        fields.push_back({name, FieldType::Text, kTextSize});
    auto targets = std::make_shared<Recordset>(std::move(fields));
    for (const char* field : {"Name", "Email", "PIN"})
        targets->AddIndex(field);
    return targets;
}

PushTarget TargetOf(const Recordset& targets) {
    const auto text = [&](TargetField field) { return std::string(targets.Text(Index(field))); };
    return {text(TargetField::Name), text(TargetField::Email), text(TargetField::PIN),
            text(TargetField::PushServer)};
}

std::shared_ptr<Recordset> GetPushTargets(AgentSession& session, TreeModel& tree,
                                          std::string_view names) {
    const auto handhelds = RequireHandhelds(session);
    if (!handhelds)
        return nullptr;
    TargetBuilder builder(session, tree, *handhelds);
    TrapSilently([&] {
        // never sent, never saved: it only resolves names as a mail's address line does
        const RDOMessagePtr message = session.rdo->GetDefaultFolder(kOutbox)->Items()->Add("");
        const auto recipients = message->Recipients();
        for (const std::string& name : Split(names, ";"))
            if (!Trim(name).empty())
                TrapSilently([&] { recipients->Add(Trim(name)); });
        for (int i = 1; i <= recipients->Count(); ++i)
            TrapSilently([&] {
                if (const AddressEntryPtr entry = recipients->Item(i)->Entry())
                    builder.AddAddressEntry(*entry);
            });
    });
    builder.targets()->MoveFirst();
    return builder.targets();
}

std::shared_ptr<Recordset> GetTargetsFromPins(AgentSession& session, TreeModel& tree,
                                              std::string_view pins) {
    const auto handhelds = RequireHandhelds(session);
    if (!handhelds)
        return nullptr;
    TargetBuilder builder(session, tree, *handhelds);
    for (const std::string& pin : Split(pins, ";"))
        builder.AddTarget({}, pin);
    builder.targets()->MoveFirst();
    return builder.targets();
}

std::shared_ptr<Recordset> GetTargetsOfEntries(AgentSession& session, TreeModel& tree,
                                               const std::vector<PickedRecipient>& entries) {
    const auto handhelds = RequireHandhelds(session);
    if (!handhelds)
        return nullptr;
    TargetBuilder builder(session, tree, *handhelds);
    for (const PickedRecipient& entry : entries)
        TrapSilently([&] {
            builder.AddAddressEntry(
                *session.rdo->GetAddressBook()->GetAddressEntryFromID(entry.id));
        });
    builder.targets()->MoveFirst();
    return builder.targets();
}

std::string FindPIN(AgentSession& session, std::string_view email) {
    return TrapSilently([&]() -> std::string {
        if (email.empty())
            return {};
        size_t count = 0;
        const std::string address(email);
        const RDOMessagePtr record = findRecord(
            session, "FindPIN", {"", PropType::String, PR_CONVERSATION_TOPIC, address}, count);
        if (count == 0)
            return {};
        session.log("FindPIN for " + address + ": intcount = " + std::to_string(count));
        const std::string pin = record ? KeyText(*record, "PIN") : "";
        session.log("FindPIN for " + address + ":" + pin);
        return pin;
    });
}

std::string FindPINInRecordset(AgentSession& session, std::string_view email) {
    const auto handhelds = RequireHandhelds(session);
    if (!handhelds)
        return {};
    const auto found = handhelds->Clone();
    found->SetFilter("[Email]='" + EscapeQuotes(email) + "'");
    return std::string(found->Text(Index(HandheldField::PIN)));
}

std::string FindBES(AgentSession& session, std::string_view pin) {
    return TrapSilently([&]() -> std::string {
        size_t count = 0;
        const std::string text(pin);
        const RDOMessagePtr record =
            findRecord(session, "FindBES", {"PIN", PropType::String, 0, text}, count);
        if (!record) {
            if (count == 0)
                session.log("FindBES for " + text + " found no match");
            return {};
        }
        const std::string server = KeyText(*record, "BB Server");
        session.log("FindBES for " + text + ":" + server);
        return server;
    });
}

std::string BuildUserFilterEPS(AgentSession& session) {
    const std::string filter = "([PushSelected]=True AND [State] <>-1)";
    session.log("BuildUserFilterEPS:" + filter);
    return filter;
}

std::string GetHostMdsAddress(AgentSession& session, std::string_view hostName) {
    if (!session.agentInfo)
        return {};
    const auto ids = GetMessageIDs(session, *session.agentInfo, "zandrel.Host", hostName);
    const RDOMessagePtr host = ids.empty() ? nullptr : GetMessage(session, ids.front());
    std::string address = host ? KeyText(*host, "EPS.MDS.MDSHost") : "";
    if (address.empty())
        return address;
    if (address.find(':') == std::string::npos)
        address += ":";
    return address.ends_with(':') ? address + std::string(kMdsPort) : address;
}

} // namespace kr
