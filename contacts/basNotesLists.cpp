#include "contacts/RequireTag.h"
#include "contacts/basActivation.h"
#include "contacts/basNotes.h"
#include "core/Keys.h"
#include "core/Trap.h"
#include "core/basFolderPath.h"
#include "core/basStore.h"

/// The two lists: single notes, and Mandatory Notes Folders.
namespace kr {

namespace {

constexpr std::string_view kNoteImage = "imgStickyNote";

PropTag keyTag(RDOProperties& object, std::string_view key) {
    return RequireTag(object, key, TypeOfKey(key));
}

ListRow noteRow(const TableRows& rows, size_t at) {
    const TableCell& inactive = rows.at(at, 4);
    ListRow row;
    row.ghosted = inactive.type == PropType::Boolean && inactive.integer != 0;
    row.key =
        EntryID(CoerceToPropType(rows.at(at, 0).value(), PR_LONGTERM_ENTRYID_FROM_TABLE).text())
            .text();
    row.tag = row.ghosted ? "xepsnote" : "epsnote";
    row.icon = kNoteImage;
    row.texts = {std::string(rows.at(at, 1).bytes), std::to_string(rows.at(at, 2).integer),
                 rows.at(at, 3).isText() ? std::string(rows.at(at, 3).bytes) : std::string()};
    return row;
}

/// What the row says of the public folder itself; one that can't be reached has its record's name.
void describeFolder(AgentSession& session, RDOMessage& record, std::vector<std::string>& texts) {
    texts[0] = record.Subject();
    texts[4] = "Unable to open folder";
    const RDOFolderPtr folder = GetFolder(session, EntryID(KeyText(record, "NotesPF.EntryID")));
    if (!folder)
        return;
    TrapSilently([&] {
        texts[1] = std::to_string(folder->Items()->Count());
        texts[0] = folder->Name();
        texts[4] = FolderPath(*folder);
    });
}

ListRow folderRow(AgentSession& session, RDOMessage& record) {
    ListRow row;
    row.key = record.ID().text();
    row.tag = "epsnotePF";
    row.icon = kNoteImage;
    row.ghosted = KeyFlag(record, kInactiveKey);
    row.texts.resize(5);
    describeFolder(session, record, row.texts);
    row.texts[2] = KeyText(record, "NotesPF.Target");
    row.texts[3] = std::to_string(KeyNumber(record, "NotesPF.TargetCount", 0));
    return row;
}

} // namespace

std::vector<ListColumn> NoteColumns() {
    return {{"Subject", ""}, {"Size", "intsize"}, {"Target", ""}};
}

std::vector<ListColumn> NotesFolderColumns() {
    return {{"Name", ""},
            {"Count", "intcount"},
            {"Target", ""},
            {"Est. Targets", "inttargets"},
            {"Path", ""}};
}

void LoadNoteRows(RDOFolder& folder, const NoteRowSink& add) {
    const MAPITablePtr table = folder.Items()->Table();
    table->Columns({PR_LONGTERM_ENTRYID_FROM_TABLE, PR_SUBJECT, PR_MESSAGE_SIZE,
                    keyTag(folder, "EPS Access List Names"), keyTag(folder, kInactiveKey)});
    for (TableRows rows = table->GetRows(); !rows.empty(); rows = table->GetRows())
        for (size_t i = 0; i < rows.rows; ++i)
            if (!add(noteRow(rows, i)))
                return;
}

void LoadNotesFolderRows(AgentSession& session, const NoteRowSink& add) {
    if (!session.agentInfo)
        return;
    for (const EntryID& id : RequireMessageIDs(*session.agentInfo, kNotesPFClass, "")) {
        ListRow row = Trap(
            [&] {
                const RDOMessagePtr record = GetMessage(session, id);
                if (!record)
                    throw PlatformError(MAPI_E_NOT_FOUND, "The record can't be opened.");
                return folderRow(session, *record);
            },
            [&](const Trapped& error) {
                session.log("LoadNotesFolders err creating item " + error.text());
            });
        if (!row.key.empty() && !add(std::move(row)))
            return;
    }
}

} // namespace kr
