#include "backup/basBackup.h"

#include <array>
#include <cstdio>
#include <filesystem>
#include <vector>

#include "backup/BackupFile.h"
#include "backup/RecordXml.h"
#include "core/Trap.h"
#include "core/basDate.h"
#include "core/basStore.h"
#include "push/basMBL.h"
#include "push/basMPL.h"

namespace kr {

namespace {

/// One kind of file: its elements, where they come from, and what is said when it fails.
struct BackupKind {
    std::string_view root;
    std::string_view element;
    RecordIcons icons;
    std::string_view logged;
    std::string_view told;
};

constexpr BackupKind kBrowserLists{"lists", "list", RecordIcons::Taken,
                                   "Unable to create Mandatory Browser Channel backup: ",
                                   "Unable to backup Mandatory Browser Channels!"};
constexpr BackupKind kPushLists{
    "lists", "list", RecordIcons::Left,
    "Unable to create Mandatory Push List backup: ", "Unable to backup Mandatory Push Lists!"};

/// A message may go while the walk lets events run, so that their numbers aren't kept.
std::vector<EntryID> idsOf(const RDOItems& items) {
    std::vector<EntryID> ids;
    const MAPITablePtr table = items.Table();
    table->Columns({PR_LONGTERM_ENTRYID_FROM_TABLE});
    for (TableRows rows = table->GetRows(); !rows.empty(); rows = table->GetRows())
        for (size_t i = 0; i < rows.rows; ++i)
            ids.emplace_back(
                CoerceToPropType(rows.at(i, 0).value(), PR_LONGTERM_ENTRYID_FROM_TABLE).text());
    return ids;
}

/// nullptr for one that is gone by now.
RDOMessagePtr openMessage(AgentSession& session, const EntryID& id) {
    try {
        return session.rdo->GetMessageFromID(id, {});
    } catch (const PlatformError& error) {
        if (error.number() == MAPI_E_NOT_FOUND)
            return nullptr;
        throw;
    }
}

void addAll(AgentSession& session, const RDOItems& items, XmlNode root, const BackupKind& kind,
            Progress& progress) {
    const auto ids = idsOf(items);
    int64_t done = 0;
    for (const EntryID& id : ids) {
        if (progress.Cancelled())
            return;
        if (const RDOMessagePtr message = openMessage(session, id))
            AddRecord(root, kind.element, *message, kind.icons);
        progress.SetValue(++done, static_cast<int64_t>(ids.size()));
        session.ui().DoEvents();
    }
}

bool backupItems(AgentSession& session, const std::string& path, const RDOFolderPtr& folder,
                 const BackupKind& kind, Progress& progress) {
    return Trap(
        [&] {
            if (!folder)
                throw PlatformError(MAPI_E_NOT_FOUND, "The folder can't be opened.");
            const XmlDocument document(kind.root);
            addAll(session, *folder->Items(), document.Root(), kind, progress);
            SaveBackupFile(document, path);
            return std::filesystem::exists(path);
        },
        [&](const Trapped& error) {
            session.log(std::string(kind.logged) + error.text());
            session.ui().MsgBox(std::string(kind.told) + "\r\nSee log for details.", BoxIcon::Stop);
        });
}

} // namespace

bool BackupMBL(AgentSession& session, const std::string& path, Progress& progress) {
    return backupItems(session, path, GetMblFolder(session), kBrowserLists, progress);
}

bool BackupMPL(AgentSession& session, const std::string& path, Progress& progress) {
    return backupItems(session, path, GetMplFolder(session), kPushLists, progress);
}

std::string BackupFileName(const AgentSession& session, std::string_view word) {
    SystemTime today;
    DateToSystemTime(UTCToLocal(session.platform.clock.now(), session.platform.clock), today);
    std::array<char, 32> date{};
    std::snprintf(date.data(), date.size(), " %d-%d-%02d.xml", today.month, today.day,
                  today.year % 100);
    return std::string(word) + date.data();
}

} // namespace kr
