#include "push/PdlMembers.h"

#include <algorithm>

#include "contacts/basACDS.h"
#include "contacts/basACFRecord.h"
#include "contacts/basExpand.h"
#include "contacts/basMCL.h"
#include "contacts/basMCLContacts.h"
#include "contacts/basMCLSources.h"
#include "core/Text.h"
#include "core/Trap.h"
#include "core/basAgent.h"
#include "core/basStore.h"
#include "core/basText.h"
#include "handhelds/basHandhelds.h"

namespace kr {

namespace {

constexpr std::string_view kNoProtocol = "No messaging protocol is enabled for this PDL";
constexpr std::string_view kRemote = "Unable to display members for this SMS-enabled list when "
                                     "remotely connected to the service";
constexpr std::string_view kNoSmtpHost = "@nosmtp";
constexpr std::string_view kOr = "OR ";

std::shared_ptr<Recordset> newContacts() {
    std::vector<Field> fields;
    for (const char* name : {"Category", "MCLID", "DisplayName", "PIN", "MobilePhone", "SMTP"})
        fields.push_back({name, FieldType::LongText, INT32_MAX});
    return std::make_shared<Recordset>(std::move(fields));
}

/// A list's name as a filter finds it: without quotes at its ends and doubled ones within.
std::string categoryOf(std::string_view name) { return ReplaceAll(EscapeQuotes(name), "''", "'"); }

/// Fills a contact table from the source of one list.
class ContactReader {
public:
    ContactReader(AgentSession& session, RDOMessage& mcl, const PdlStop& stop)
        : m_session(session), m_mcl(mcl), m_stop(stop) {}

    /// Throws what can't be read.
    void Read(PdlContacts& contacts) {
        m_category = categoryOf(contacts.name);
        m_mclId = "{" + m_mcl.ID().text() + "}";
        m_table = contacts.table;
        if (const auto handhelds = RequireHandhelds(m_session))
            m_handhelds = handhelds->Clone();
        contacts.pinsKnown = m_handhelds != nullptr;
        if (contacts.source == PdlSource::Recipients)
            readRecipients();
        else
            readLinked(contacts.source);
        m_table->MoveFirst();
    }

private:
    void readRecipients() {
        ExpandMembers(
            m_session, RequireKey(m_mcl, "MCL Source Email").text(),
            [&](const Member& member) { add(member.name, mobileOf(member), member.address); },
            m_stop);
    }
    void readLinked(PdlSource kind) {
        const MclLinks links = ReadMclLinks(m_mcl);
        const RDOMessagePtr source = MclSources(m_session).Find(links, kResolvedOrder);
        const bool all = RequireKey(m_mcl, "MCL Source No SMTP").valueOr(false);
        if (kind == PdlSource::Folder)
            readFolder(source.get(), links, all);
        else
            readData(source.get(), all);
    }
    /// The source's folder; without its record that of the list's old link.
    void readFolder(RDOMessage* source, const MclLinks& links, bool all) {
        const RDOFolderPtr folder =
            source ? OpenAcfFolder(m_session, *source)
                   : GetFolder(m_session, links.folder,
                               EntryID(RequireKey(m_mcl, "MCL Source StoreID").text()));
        if (!folder)
            throw PlatformError(MAPI_E_NOT_FOUND, "Unable to open the Source folder!");
        WalkSourceContacts(m_session, *folder, all, [&](const SourceContact& contact) {
            add(contact.name, contact.mobile, contact.address);
            return !m_stop();
        });
    }
    void readData(RDOMessage* source, bool all) {
        if (!source)
            throw PlatformError(MAPI_E_NOT_FOUND, "Broken link to Alternate Contact Source");
        const AcdsRecords records =
            LoadAcdsRecords(m_session, source->Subject(), RequireKey(*source, kAcfCxnKey).text(),
                            RequireKey(*source, kAcfQueryKey).text());
        if (!records.failure.empty())
            throw PlatformError(MAPI_E_CALL_FAILED, records.failure);
        for (const ListRow& record : records.rows)
            addRecord(record, all);
    }
    void addRecord(const ListRow& record, bool all) {
        static const std::vector<ListColumn> columns = AcdsColumns();
        const auto text = [&](std::string_view title) -> std::string {
            const auto at = std::ranges::find(columns, title, &ListColumn::title);
            return at == columns.end()
                       ? ""
                       : Trim(record.texts[static_cast<size_t>(at - columns.begin())]);
        };
        std::string address;
        for (const std::string_view title : {"E-mail 1", "E-mail 2", "E-mail 3"})
            if (address.empty())
                address = text(title);
        // without an address the agent takes what it can tell by the unique id
        if (!address.empty() || (all && !text(kUniqueID).empty()))
            add(text("Name"), text("Mobile Phone"), address);
    }

    void add(const std::string& name, const std::string& mobile, const std::string& address) {
        m_table->Append({m_category, m_mclId, name, pinOf(address), mobile, address});
    }
    std::string pinOf(const std::string& address) const {
        if (!m_handhelds || address.empty() ||
            !m_handhelds->SetFilter(HandheldFilter("Email", address)) || m_handhelds->EOF_())
            return {};
        std::string pin(m_handhelds->Text(Index(HandheldField::PIN)));
        return EqualNoCase(pin, kNone) ? std::string() : pin;
    }
    std::string mobileOf(const Member& member) const {
        return TrapSilently([&]() -> std::string {
            const AddressEntryPtr entry = GetAddressEntry(m_session, member.address);
            return entry ? Trim(entry->Fields(PR_MOBILE_TELEPHONE_NUMBER).text()) : "";
        });
    }

    AgentSession& m_session;
    RDOMessage& m_mcl;
    const PdlStop& m_stop;
    std::string m_category;
    std::string m_mclId;
    std::shared_ptr<Recordset> m_table;
    std::shared_ptr<Recordset> m_handhelds; // nullptr when they can't be read
};

/// A list of recipients may still carry the link of what it once was.
PdlSource sourceOf(AgentSession& session, RDOMessage& mcl) {
    const MclLinks links = ReadMclLinks(mcl);
    if (!Trim(RequireKey(mcl, "MCL Source").text()).empty() || links.empty())
        return PdlSource::Recipients;
    const RDOMessagePtr source = MclSources(session).Find(links, kResolvedOrder);
    const bool data = source ? KindOfAcf(*source) == AcfKind::Data : !links.acds.empty();
    return data ? PdlSource::Data : PdlSource::Folder;
}

/// The console runs on none of the agent's servers.
bool isRemote(AgentSession& session) {
    const std::string computer = session.platform.shell.ComputerName();
    return std::ranges::none_of(GetHostMessages(session), [&](const EntryID& id) {
        const RDOMessagePtr host = GetMessage(session, id);
        return host && EqualNoCase(TrapSilently([&] { return host->Subject(); }), computer);
    });
}

/// The list's id in the contact table; "" when no contact knows the list.
std::string findMclId(Recordset& contacts, std::string_view name) {
    contacts.SetFilter("[Category]='" + EscapeQuotes(name) + "'");
    const std::string_view id = contacts.Text(Index(PdlField::MCLID));
    return id.size() < 2 ? std::string() : std::string(id.substr(1, id.size() - 2));
}

ListRow rowOf(const Recordset& contacts, const CMsgPDL& pdl) {
    const std::vector<std::string> texts = PdlTexts(contacts);
    ListRow row;
    row.key = "member" + std::to_string(contacts.Bookmark());
    row.tag = kPdlMemberTag;
    row.icon = "imgUser";
    row.texts = {texts[0]};
    const bool shown[] = {pdl.PIN, pdl.SMS, pdl.Email};
    for (size_t i = 0; i < std::size(shown); ++i)
        if (shown[i])
            row.texts.push_back(texts[i + 1]);
    return row;
}

} // namespace

PdlSource PdlSourceOf(AgentSession& session, RDOMessage& mcl) {
    return Trap([&] { return sourceOf(session, mcl); },
                [&](const Trapped& error) { session.log("PdlSourceOf:" + error.text()); });
}

PdlContacts ReadPdlContacts(AgentSession& session, RDOMessage& mcl, const PdlStop& stop) {
    PdlContacts contacts;
    contacts.table = newContacts();
    Trap(
        [&] {
            contacts.name = mcl.Subject();
            contacts.source = sourceOf(session, mcl);
            ContactReader(session, mcl, stop).Read(contacts);
        },
        [&](const Trapped& error) {
            session.log("LoadPDLMembers:" + error.text());
            contacts.failure = error.description;
        });
    return contacts;
}

std::string PdlFailureText(AgentSession& session, const CMsgPDL& pdl, const PdlContacts& contacts) {
    return pdl.SMS && isRemote(session) ? std::string(kRemote) : contacts.failure;
}

std::vector<std::string> PdlTexts(const Recordset& contacts) {
    const auto text = [&](PdlField field) { return std::string(contacts.Text(Index(field))); };
    std::string address = text(PdlField::SMTP);
    if (ContainsNoCase(address, kNoSmtpHost))
        address.clear();
    return {text(PdlField::DisplayName), text(PdlField::PIN), text(PdlField::MobilePhone),
            std::move(address)};
}

std::string BuildPDLFilter(std::string_view mclId, const CMsgPDL& pdl) {
    const std::string list = "([MCLID] Like '*{" + std::string(mclId) + "}*'";
    std::string filter;
    if (pdl.PIN)
        filter += list + " AND [PIN]<>'') OR ";
    if (pdl.SMS)
        filter += list + " AND [MobilePhone]<>'') OR ";
    if (pdl.Email)
        filter += list + " AND [SMTP] <> '') ";
    if (filter.ends_with(kOr))
        filter.resize(filter.size() - kOr.size());
    return filter;
}

std::vector<ListColumn> PdlColumns(const CMsgPDL& pdl) {
    std::vector<ListColumn> columns{{"Name", "txtname"}};
    if (pdl.PIN)
        columns.push_back({"PIN", "txtpin"});
    if (pdl.SMS)
        columns.push_back({"Mobile", "txtmobile"});
    if (pdl.Email)
        columns.push_back({"E-mail", "txtemail"});
    return columns;
}

std::string LoadPdlRows(AgentSession& session, const CMsgPDL& pdl, const PdlSink& sink) {
    if (pdl.silent())
        return std::string(kNoProtocol);
    const PdlContacts contacts = ReadPdlContacts(session, *pdl.Message, sink.stop);
    if (!contacts.failure.empty())
        return PdlFailureText(session, pdl, contacts);
    const std::string id = findMclId(*contacts.table, contacts.name);
    if (id.empty()) {
        session.log("LoadPDLMembers:failed to find MCLID for " + contacts.name +
                    "; branching to NoData view");
        return {};
    }
    contacts.table->SetFilter(BuildPDLFilter(id, pdl));
    for (; !contacts.table->EOF_() && !sink.stop(); contacts.table->MoveNext())
        sink.add(rowOf(*contacts.table, pdl));
    return pdl.PIN && !contacts.pinsKnown ? std::string(kNoPins) : std::string();
}

} // namespace kr
