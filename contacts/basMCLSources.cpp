#include "contacts/basMCLSources.h"

#include "contacts/RequireTag.h"
#include "contacts/basACF.h"
#include "contacts/basMCL.h"
#include "core/Text.h"
#include "core/Trap.h"
#include "core/basStore.h"

namespace kr {

namespace {

constexpr std::string_view kFolderOfSource = "ACF EntryID";

std::string textOf(const TableCell& cell) {
    return cell.isText() ? Trim(cell.bytes) : std::string();
}
EntryID idOf(const TableCell& cell) {
    return EntryID(CoerceToPropType(cell.value(), PR_LONGTERM_ENTRYID_FROM_TABLE).text());
}

/// A table of the folder's messages of that class.
MAPITablePtr tableOf(const RDOFolder& folder, std::string_view messageClass,
                     std::vector<PropTag> columns) {
    MAPITablePtr table = folder.Items()->Table();
    table->Columns(std::move(columns));
    Restriction restriction = CreateRestriction(Restriction::Content);
    restriction.tag = PR_MESSAGE_CLASS;
    restriction.fuzzyLevel = FL_IGNORECASE;
    restriction.value = messageClass;
    table->Restrict(restriction);
    return table;
}

/// A key of older lists and the id that it has to hold.
struct OldLink {
    std::string_view key;
    EntryID source;
};

/// The first list that has the first of the links, in one pass over all lists; "" without one.
EntryID findByOldLinks(RDOFolder& folder, const std::vector<OldLink>& links) {
    std::vector<PropTag> columns{PR_LONGTERM_ENTRYID_FROM_TABLE};
    for (const OldLink& link : links)
        columns.push_back(RequireTag(folder, link.key));
    const RDOStorePtr store = folder.Store();
    const MAPITablePtr table = tableOf(folder, kMclClass, columns);
    size_t best = links.size();
    EntryID found;
    for (TableRows rows = table->GetRows(); !rows.empty() && best > 0; rows = table->GetRows())
        for (size_t row = 0; row < rows.rows; ++row)
            for (size_t i = 0; i < best; ++i)
                if (SameObject(*store, EntryID(textOf(rows.at(row, i + 1))), links[i].source)) {
                    best = i;
                    found = idOf(rows.at(row, 0));
                }
    return found;
}

RDOMessagePtr openFound(AgentSession& session, const EntryID& id) {
    return id.empty() ? nullptr : GetMessage(session, id);
}

} // namespace

bool SameObject(const RDOStore& store, const EntryID& a, const EntryID& b) {
    if (a.empty() || b.empty())
        return false;
    if (a == b)
        return true;
    try {
        return store.CompareEntryIDs(a, b);
    } catch (const PlatformError& error) {
        if (error.number() == MAPI_E_INVALID_ENTRYID)
            return false;
        throw;
    }
}

MclLinks ReadMclLinks(RDOMessage& mcl) {
    const auto text = [&](std::string_view key) { return Trim(RequireKey(mcl, key).text()); };
    return {text(kMclGuidKey), EntryID(text(kMclAcfMsgKey)), EntryID(text(kMclAcdsKey)),
            EntryID(text(kMclFolderKey))};
}

MclSources::MclSources(AgentSession& session) : m_session(session) {
    if (!session.rdo || !session.agentInfo)
        throw PlatformError(MAPI_E_CALL_FAILED, "The agent mailbox is not open.");
    m_store = session.agentInfo->Store();
    RDOFolder& folder = *session.agentInfo;
    const MAPITablePtr table =
        tableOf(folder, kAcfClass,
                {PR_LONGTERM_ENTRYID_FROM_TABLE, RequireTag(folder, kMclGuidKey),
                 RequireTag(folder, kFolderOfSource)});
    for (TableRows rows = table->GetRows(); !rows.empty(); rows = table->GetRows())
        for (size_t i = 0; i < rows.rows; ++i)
            m_rows.push_back(
                {idOf(rows.at(i, 0)), textOf(rows.at(i, 1)), EntryID(textOf(rows.at(i, 2)))});
}

bool MclSources::leadsTo(const Row& row, const MclLinks& links, MclLink link) const {
    switch (link) {
    case MclLink::Guid:
        return !links.guid.empty() && EqualNoCase(row.guid, links.guid);
    case MclLink::AcfMsg:
        return SameObject(*m_store, row.id, links.acfMsg);
    case MclLink::Acds:
        return SameObject(*m_store, row.id, links.acds);
    case MclLink::Folder:
        return SameObject(*m_store, row.folder, links.folder);
    }
    return false;
}

RDOMessagePtr MclSources::Find(const MclLinks& links, std::span<const MclLink> order) const {
    for (const MclLink link : order)
        for (const Row& row : m_rows)
            if (leadsTo(row, links, link))
                if (RDOMessagePtr source = open(row.id))
                    return source;
    return nullptr;
}

RDOMessagePtr MclSources::open(const EntryID& id) const {
    // it may have been deleted since the table was read
    return OrGone([&] { return m_session.rdo->GetMessageFromID(id, {}); });
}

RDOMessagePtr GetMclSource(AgentSession& session, RDOMessage& mcl) {
    return Trap([&] { return MclSources(session).Find(ReadMclLinks(mcl), kResolvedOrder); },
                [&](const Trapped& error) { session.log("GetMclSource: " + error.text()); });
}

RDOMessagePtr FindMCLByGuid(RDOFolder& folder, std::string_view guid) {
    return guid.empty() ? nullptr
                        : TrapSilently([&] { return FindByGuid(folder, kMclClass, guid); });
}

RDOMessagePtr FindMCLBySource(AgentSession& session, RDOFolder& folder, std::string_view key,
                              const EntryID& source) {
    return Trap(
        [&] {
            return openFound(session, findByOldLinks(folder, {{key, source}}));
        },
        [&](const Trapped& error) { session.log("FindMCLBySource: " + error.text()); });
}

RDOMessagePtr RequireLinkedMCL(AgentSession& session, RDOMessage& acf) {
    const RDOFolderPtr folder = RequireMCLFolder(session);
    if (!folder)
        return nullptr;
    const std::string guid = Trim(RequireKey(acf, kMclGuidKey).text());
    if (RDOMessagePtr linked = FindByGuid(*folder, kMclClass, guid))
        return linked;
    const EntryID own = acf.ID();
    const EntryID source(Trim(RequireKey(acf, kFolderOfSource).text()));
    const EntryID found = findByOldLinks(
        *folder, {{kMclAcfMsgKey, own}, {kMclAcdsKey, own}, {kMclFolderKey, source}});
    RDOMessagePtr linked = openFound(session, found);
    if (!linked && !found.empty())
        throw PlatformError(MAPI_E_NOT_FOUND, "The list can't be opened.");
    return linked;
}

} // namespace kr
