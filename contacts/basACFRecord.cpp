#include "contacts/basACFRecord.h"

#include "contacts/RequireTag.h"
#include "core/Text.h"
#include "core/Trap.h"
#include "core/basStore.h"

namespace kr {

namespace {

/// No folder lies deeper; a folder that the store calls its own ancestor must not hang the caller.
constexpr int kDeepest = 1000;

RDOFolder& requireFolder(AgentSession& session) {
    if (!session.rdo || !session.agentInfo)
        throw PlatformError(MAPI_E_CALL_FAILED, "The agent mailbox is not open.");
    return *session.agentInfo;
}

std::string textOf(const TableCell& cell) {
    return cell.isText() ? std::string(cell.bytes) : std::string();
}

/// The columns of a source's table, in the order in which rowOf reads them.
std::vector<PropTag> columnsOf(RDOFolder& folder) {
    std::vector<PropTag> columns{PR_LONGTERM_ENTRYID_FROM_TABLE, PR_SUBJECT};
    for (const std::string_view key :
         {kAcfFolderKey, kAcfMailboxKey, kAcfServerKey, kAcfCxnKey, kAcfQueryKey})
        columns.push_back(RequireTag(folder, key));
    columns.push_back(RequireTag(folder, "EPS.Inactive", PropType::Boolean));
    return columns;
}

AcfRow rowOf(const TableRows& rows, size_t i) {
    size_t column = 0;
    const auto next = [&]() -> const TableCell& { return rows.at(i, column++); };
    AcfRow row;
    row.id = EntryID(CoerceToPropType(next().value(), PR_LONGTERM_ENTRYID_FROM_TABLE).text());
    row.name = textOf(next());
    row.folder = EntryID(Trim(textOf(next())));
    row.mailbox = Trim(textOf(next()));
    row.server = Trim(textOf(next()));
    row.cxnString = textOf(next());
    row.query = textOf(next());
    const TableCell& inactive = next();
    row.inactive = inactive.type == PropType::Boolean && inactive.integer != 0;
    return row;
}

RDOMessagePtr requireMessage(AgentSession& session, const EntryID& id) {
    RDOMessagePtr message = GetMessage(session, id);
    if (!message)
        throw PlatformError(MAPI_E_NOT_FOUND, "The record can't be opened.");
    return message;
}

void writeAcf(RDOMessage& acf, const AcfSource& source) {
    acf.SetSubject(Trim(source.name));
    SetKey(acf, kAcfFolderKey, source.folder.text());
    SetKey(acf, kAcfPathKey, source.path);
    // an empty description is written only over one that isn't
    if (!source.description.empty() || !RequireKey(acf, kAcfDescriptionKey).text().empty())
        SetKey(acf, kAcfDescriptionKey, source.description);
    SetKey(acf, kAcfAdminsKey, source.admins);
    SetKey(acf, kAcfAdminsEmailKey, source.adminsEmail);
    if (source.mailbox.empty())
        return;
    SetKey(acf, kAcfStoreKey, source.store.text());
    SetKey(acf, kAcfMailboxKey, source.mailbox);
    SetKey(acf, kAcfServerKey, source.server);
}

/// Runs `save`; without an id of it the person is told why.
template <class Save>
EntryID savedOr(AgentSession& session, const std::string& what, Save save) {
    return Trap(save, [&](const Trapped& error) {
        session.log("saving " + what + " failed: " + error.text());
        session.ui().MsgBox("Unable to save " + what + "!\n" + error.description, BoxIcon::Stop);
    });
}

/// The record that the id names; without an id the one that there is, else a new one.
RDOMessagePtr mcrToWrite(AgentSession& session, const EntryID& id) {
    if (!id.empty())
        return requireMessage(session, id);
    if (RDOMessagePtr mcr = RequireMCRMessage(session))
        return mcr;
    return session.agentInfo->Items()->Add(kMcrClass);
}

} // namespace

std::vector<AcfRow> ReadAcfRows(AgentSession& session) {
    RDOFolder& folder = requireFolder(session);
    const MAPITablePtr table = folder.Items()->Table();
    table->Columns(columnsOf(folder));
    Restriction restriction = CreateRestriction(Restriction::Content);
    restriction.tag = PR_MESSAGE_CLASS;
    restriction.fuzzyLevel = FL_IGNORECASE;
    restriction.value = kAcfClass;
    table->Restrict(restriction);
    std::vector<AcfRow> sources;
    for (TableRows rows = table->GetRows(); !rows.empty(); rows = table->GetRows())
        for (size_t i = 0; i < rows.rows; ++i)
            sources.push_back(rowOf(rows, i));
    return sources;
}

RDOMessagePtr RequireMCRMessage(AgentSession& session) {
    RDOMessagePtr first;
    for (const EntryID& id : RequireMessageIDs(requireFolder(session), kMcrClass, "")) {
        const RDOMessagePtr message = requireMessage(session, id);
        if (!first) {
            first = message;
            continue;
        }
        Trap([&] { message->Delete(); },
             [&](const Trapped& error) {
                 session.log("GetMCRMessage: deleting a second record failed: " + error.text());
             });
    }
    return first;
}

AcfSource ReadAcf(AgentSession& session, const EntryID& id) {
    const RDOMessagePtr acf = requireMessage(session, id);
    const auto text = [&](std::string_view key) { return RequireKey(*acf, key).text(); };
    AcfSource source;
    source.name = acf->Subject();
    source.description = text(kAcfDescriptionKey);
    source.folder = EntryID(Trim(text(kAcfFolderKey)));
    source.path = text(kAcfPathKey);
    source.admins = text(kAcfAdminsKey);
    source.adminsEmail = text(kAcfAdminsEmailKey);
    source.store = EntryID(Trim(text(kAcfStoreKey)));
    source.mailbox = Trim(text(kAcfMailboxKey));
    source.server = text(kAcfServerKey);
    return source;
}

EntryID SaveAcf(AgentSession& session, const EntryID& id, const AcfSource& source) {
    return savedOr(session, "the contact source " + Trim(source.name), [&]() -> EntryID {
        const RDOMessagePtr acf = id.empty() ? requireFolder(session).Items()->Add(kAcfClass)
                                             : requireMessage(session, id);
        EnsureAcsGuid(session, *acf, false);
        writeAcf(*acf, source);
        acf->Save();
        return id.empty() ? acf->ID() : id;
    });
}

std::string PathInMailbox(const RDOFolder& folder) {
    const RDOStorePtr store = folder.Store();
    const EntryID root = store->IPMRootFolder()->ID();
    std::string path = "\\" + folder.Name();
    RDOFolderPtr parent = folder.Parent();
    for (int depth = 0; depth < kDeepest && parent; ++depth) {
        if (store->CompareEntryIDs(parent->ID(), root))
            break;
        path.insert(0, "\\" + parent->Name());
        parent = parent->Parent();
    }
    return path;
}

EntryID SaveMCR(AgentSession& session, const EntryID& id, const EntryID& folder,
                std::string_view path) {
    return savedOr(session, "the Master Contact Repository", [&]() -> EntryID {
        const RDOMessagePtr mcr = mcrToWrite(session, id);
        mcr->SetMessageClass(kMcrClass);
        mcr->SetSubject(kMcrName);
        if (!folder.empty()) {
            SetKey(*mcr, kMcrFolderKey, folder.text());
            SetKey(*mcr, kMcrPathKey, path);
        }
        mcr->Save();
        return id.empty() ? mcr->ID() : id;
    });
}

} // namespace kr
