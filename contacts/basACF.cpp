#include "contacts/basACF.h"

#include <algorithm>

#include "contacts/RequireTag.h"
#include "contacts/basACFRecord.h"
#include "contacts/basMCLSources.h"
#include "core/Text.h"
#include "core/Trap.h"
#include "core/basStore.h"
#include "core/modGUID.h"

namespace kr {

namespace {

constexpr std::string_view kServers = "/cn=Configuration/cn=Servers/cn=";

AcfKind kindOf(bool folder, bool mailbox, bool cxnString) {
    if (folder)
        return mailbox ? AcfKind::Mailbox : AcfKind::PublicFolder;
    return cxnString ? AcfKind::Data : AcfKind::None;
}

bool isOwn(AgentSession& session, const EntryID& own, const EntryID& id) {
    return SameObject(*session.agentInfo->Store(), own, id);
}

/// Another record meets the condition; also when that can't be told, because the person must not
/// get two of what has to be unique.
template <class Test>
bool usedElsewhere(AgentSession& session, const EntryID& own, std::string_view procedure,
                   Test test) {
    bool failed = false;
    const bool used = Trap(
        [&] {
            return std::ranges::any_of(ReadAcfRows(session), [&](const AcfRow& row) {
                return test(row) && !isOwn(session, own, row.id);
            });
        },
        [&](const Trapped& error) {
            failed = true;
            session.log(std::string(procedure) + ": " + error.text());
        });
    return used || failed;
}

RDOMessagePtr checked(const RDOMessagePtr& message, std::string_view messageClass,
                      std::string_view guid) {
    const bool found = message && EqualNoCase(message->MessageClass(), messageClass) &&
                       EqualNoCase(Trim(RequireKey(*message, kAcsGuidKey).text()), guid);
    return found ? message : nullptr;
}

/// Places of the items that the table shows with that class and GUID, counted from 1. A table
/// without a restriction has its rows in the order of the items.
std::vector<int> placesOf(RDOFolder& folder, std::string_view messageClass, std::string_view guid) {
    const MAPITablePtr table = folder.Items()->Table();
    table->Columns({PR_MESSAGE_CLASS, RequireTag(folder, kAcsGuidKey)});
    std::vector<int> places;
    int place = 0;
    for (TableRows rows = table->GetRows(); !rows.empty(); rows = table->GetRows())
        for (size_t i = 0; i < rows.rows; ++i) {
            ++place;
            if (EqualNoCase(rows.at(i, 0).bytes, messageClass) &&
                EqualNoCase(Trim(rows.at(i, 1).bytes), guid))
                places.push_back(place);
        }
    return places;
}

} // namespace

AcfKind KindOfAcf(RDOMessage& acf) {
    return kindOf(!KeyText(acf, kAcfFolderKey).empty(), !KeyText(acf, kAcfMailboxKey).empty(),
                  !KeyText(acf, kAcfCxnKey).empty());
}

AcfKind AcfRow::kind() const {
    return kindOf(!folder.empty(), !mailbox.empty(), !cxnString.empty());
}

std::string_view AcfTag(AcfKind kind) {
    static constexpr std::string_view kTags[] = {"", "acf", "acfmbx", "acds"};
    return kTags[static_cast<size_t>(kind)];
}

std::string_view GetAcdsIcon(std::string_view cxnString) {
    const auto has = [&](std::string_view part) { return ContainsNoCase(cxnString, part); };
    if (has("Excel"))
        return "imgExcel";
    if ((has("Microsoft.ACE.OLEDB.12.0") || has("Microsoft.Jet.OLEDB.4.0")) &&
        (has(".mdb;") || has("accdb;")))
        return "imgAccess";
    return has("Extended Properties=\"text;") ? "imgText" : "imgData";
}

std::string GhostImage(std::string_view image, bool inactive) {
    if (image.ends_with(kGhostSuffix))
        image.remove_suffix(kGhostSuffix.size());
    return std::string(image) + std::string(inactive ? kGhostSuffix : "");
}

std::string AcfRow::image() const {
    return GhostImage(kind() == AcfKind::Data ? GetAcdsIcon(cxnString) : "imgContact", inactive);
}

std::string AcfImage(RDOMessage& acf) {
    AcfRow row;
    row.folder = EntryID(KeyText(acf, kAcfFolderKey));
    row.cxnString = KeyText(acf, kAcfCxnKey);
    row.inactive = KeyFlag(acf, "EPS.Inactive");
    return row.image();
}

std::vector<AcfRow> RequireAcfByFolder(AgentSession& session, const EntryID& folder,
                                       std::string_view mailbox, std::string_view server) {
    std::vector<AcfRow> rows = ReadAcfRows(session);
    // one folder can have several ids, so that a restriction by text would miss some
    const RDOStorePtr store = session.agentInfo->Store();
    std::erase_if(rows, [&](const AcfRow& row) {
        return !SameObject(*store, row.folder, folder) ||
               (!mailbox.empty() && !EqualNoCase(row.mailbox, mailbox)) ||
               (!mailbox.empty() && !server.empty() && !EqualNoCase(row.server, server));
    });
    return rows;
}

bool IsAcfFolder(AgentSession& session, const EntryID& folder, std::string_view mailbox) {
    return Trap([&] { return !RequireAcfByFolder(session, folder, mailbox).empty(); },
                [&](const Trapped& error) { session.log("IsAcfFolder: " + error.text()); });
}

RDOMessagePtr FindAcfByFolder(AgentSession& session, const EntryID& folder,
                              std::string_view mailbox, std::string_view server) {
    return Trap(
        [&]() -> RDOMessagePtr {
            for (const AcfRow& row : RequireAcfByFolder(session, folder, mailbox, server))
                if (RDOMessagePtr acf = GetMessage(session, row.id))
                    return acf;
            return nullptr;
        },
        [&](const Trapped& error) { session.log("FindAcfByFolder: " + error.text()); });
}

bool AcfNameInUse(AgentSession& session, const EntryID& own, std::string_view name) {
    return usedElsewhere(session, own, "AcfNameInUse",
                         [&](const AcfRow& row) { return EqualNoCase(row.name, name); });
}

bool AcdsQueryInUse(AgentSession& session, const EntryID& own, std::string_view cxnString,
                    std::string_view query) {
    return usedElsewhere(session, own, "AcdsQueryInUse", [&](const AcfRow& row) {
        return row.cxnString == cxnString && row.query == query;
    });
}

RDOMessagePtr FindByGuid(RDOFolder& folder, std::string_view messageClass, std::string_view guid) {
    if (guid.empty())
        return nullptr;
    const std::vector<int> places = placesOf(folder, messageClass, guid);
    const RDOItemsPtr items = folder.Items();
    for (const int place : places)
        if (RDOMessagePtr found = checked(items->Item(place), messageClass, guid))
            return found;
    // the places don't hold when something was deleted meanwhile
    const int count = places.empty() ? 0 : items->Count();
    for (int place = 1; place <= count; ++place)
        if (RDOMessagePtr found = checked(items->Item(place), messageClass, guid))
            return found;
    return nullptr;
}

std::string EnsureAcsGuid(AgentSession& session, RDOMessage& acf, bool save) {
    std::string guid = Trim(RequireKey(acf, kAcsGuidKey).text());
    if (!guid.empty())
        return guid;
    guid = GetGUID(session.log);
    if (guid.empty())
        throw PlatformError(MAPI_E_CALL_FAILED, "There is no GUID to be had.", "EnsureAcsGuid");
    SetKey(acf, kAcsGuidKey, guid);
    if (save)
        acf.Save();
    return guid;
}

RDOFolderPtr OpenAcfFolder(AgentSession& session, RDOMessage& acf) {
    return Trap(
        [&]() -> RDOFolderPtr {
            const EntryID id(KeyText(acf, kAcfFolderKey));
            const std::string mailbox = KeyText(acf, kAcfMailboxKey);
            if (mailbox.empty())
                return GetFolder(session, id);
            const RDOStorePtr store =
                TrapSilently([&] { return session.rdo->GetSharedMailbox("SMTP:" + mailbox); });
            if (!store) {
                session.log("unable to open shared mailbox '" + mailbox + "' for ACF '" +
                            acf.Subject() + "'");
                return nullptr;
            }
            return session.rdo->GetFolderFromID(id, store->ID());
        },
        [&](const Trapped& error) { session.log("OpenAcfFolder: " + error.text()); });
}

std::string FormatFolderPath(std::string_view path) {
    std::string text;
    std::string indent;
    for (const std::string& name : Split(ReplaceAll(path, "\\\\", ""), "\\")) {
        text += indent + name + "\r\n";
        indent += "  ";
    }
    text.resize(text.size() - 2);
    return text;
}

std::string ServerOfHomeMTA(std::string_view distinguishedName) {
    const size_t at = FindNoCase(distinguishedName, kServers);
    if (at == std::string_view::npos)
        return {};
    const std::string_view server = distinguishedName.substr(at + kServers.size());
    return std::string(server.substr(0, server.find('/')));
}

} // namespace kr
