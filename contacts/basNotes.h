#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/AgentSession.h"
#include "core/ListModel.h"

/// Mandatory notes: sticky notes that the agent writes to the Notes folders of chosen users. Single
/// notes lie in one folder of the agent mailbox; Mandatory Notes Folders are public folders, each
/// with a record that names its users.
namespace kr {

inline constexpr std::string_view kNoteClass = "IPM.StickyNote";
inline constexpr std::string_view kNotesPFClass = "zandrel.NotesPF";
inline constexpr std::string_view kNotesPickerTitle = "Select a Notes folder";

/// The folder of single notes; what the agent message lacks is chosen, or made, and stored there.
/// nullptr, with the reason in the log, when it can't be had.
RDOFolderPtr GetNotesFolder(AgentSession& session);
/// Another record than `own` holds this folder already.
bool IsNotesFolder(AgentSession& session, const EntryID& folder, const EntryID& own = {});
/// The folder picker for Notes folders, in the agent mailbox or among the public ones; nothing when
/// it was cancelled, or failed, which the person was told.
std::optional<FolderPick> PickNotesFolder(AgentSession& session, bool inPublicFolders,
                                          const std::string& startPath);

/// One single note.
struct MandatoryNote {
    std::string text;
    std::string names;     // of its target
    std::string addresses; // of its target
};
/// Nothing, with the reason in the log, when it can't be read.
std::optional<MandatoryNote> ReadNote(AgentSession& session, const EntryID& id);
/// Writes the note, a new one for an empty id; gives its id. An empty one, with log and box, when
/// it couldn't be saved.
EntryID SaveNote(AgentSession& session, const EntryID& id, const MandatoryNote& note);
/// Asks first; true when the note is gone.
bool DeleteNote(AgentSession& session, const EntryID& id, std::string_view subject);
/// Lets the person choose another folder for single notes, and offers to take the notes along.
/// True when another folder was stored.
bool SelectNotesFolder(AgentSession& session);

/// One Mandatory Notes Folder.
struct NotesPF {
    EntryID folder;
    std::string names;
    std::string addresses;
};
std::optional<NotesPF> ReadNotesPF(AgentSession& session, const EntryID& id);
/// Like SaveNote; `name` is that of the folder. Counts the target.
EntryID SaveNotesPF(AgentSession& session, const EntryID& id, const NotesPF& record,
                    std::string_view name);
bool DeleteNotesPF(AgentSession& session, const EntryID& id, std::string_view name);

// Rows of the two lists, and of a folder's notes. `add` gives false to stop.
using NoteRowSink = std::function<bool(ListRow)>;
std::vector<ListColumn> NoteColumns();
std::vector<ListColumn> NotesFolderColumns();
void LoadNoteRows(RDOFolder& folder, const NoteRowSink& add);
void LoadNotesFolderRows(AgentSession& session, const NoteRowSink& add);

} // namespace kr
