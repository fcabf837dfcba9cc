#include "contacts/basNotes.h"

#include "contacts/basExpand.h"
#include "core/Text.h"
#include "core/Trap.h"
#include "core/basStore.h"

namespace kr {

namespace {

constexpr std::string_view kNamesKey = "EPS Access List Names";
constexpr std::string_view kAddressesKey = "EPS Access List Email";
constexpr std::string_view kFolderKey = "NotesPF.EntryID";
constexpr std::string_view kTargetKey = "NotesPF.Target";
constexpr std::string_view kTargetEmailKey = "NotesPF.TargetEmail";
constexpr std::string_view kTargetCountKey = "NotesPF.TargetCount";

/// The item of that id, or a new one of the class; throws when it can't be had.
RDOMessagePtr require(AgentSession& session, const EntryID& id, RDOFolder* folder,
                      std::string_view messageClass) {
    RDOMessagePtr message;
    if (!id.empty())
        message = GetMessage(session, id);
    else if (folder)
        message = folder->Items()->Add(messageClass);
    if (!message)
        throw PlatformError(MAPI_E_NOT_FOUND, "The record can't be opened.");
    return message;
}

auto failedSave(AgentSession& session, std::string_view name) {
    return [&session, who = std::string(name)](const Trapped& error) {
        session.log("Error setting properties for " + who + ": " + error.description);
        session.ui().MsgBox("Error saving change: " + error.description, BoxIcon::Stop);
    };
}

/// A note has no subject of its own: lists show its first line.
std::string subjectOf(std::string_view text) { return Trim(Split(Trim(text), "\n").front()); }

/// As mail programs keep texts.
std::string withReturns(std::string_view text) {
    return ReplaceAll(ReplaceAll(text, "\r\n", "\n"), "\n", "\r\n");
}

bool deleteItem(AgentSession& session, const EntryID& id, const std::string& failure) {
    return Trap(
        [&] {
            require(session, id, nullptr, {})->Delete();
            return true;
        },
        [&](const Trapped&) { session.log(failure); });
}

bool confirmed(AgentSession& session, const std::string& question) {
    return session.ui().MsgBox(question, BoxIcon::Question, BoxButtons::YesNo) == BoxAnswer::Yes;
}

/// A text that is no entry id names no folder; throws when the store can't tell.
bool sameObject(const RDOStore& store, const EntryID& a, const EntryID& b) {
    if (a == b || a.empty() || b.empty())
        return a == b;
    Trapped error;
    const bool same = Trap([&] { return store.CompareEntryIDs(a, b); },
                           [&](const Trapped& trapped) { error = trapped; });
    if (error.number != 0 && error.number != MAPI_E_INVALID_ENTRYID)
        throw PlatformError(error.number, error.description);
    return same;
}

/// Throws when the records can't be searched.
bool heldByAnother(AgentSession& session, const EntryID& folder, const EntryID& own) {
    if (folder.empty())
        return false;
    if (!session.agentInfo)
        throw PlatformError(MAPI_E_NOT_FOUND, "The agent's folders can't be opened.");
    const RDOStorePtr store = session.agentInfo->Store();
    for (const EntryID& id : RequireMessageIDs(*session.agentInfo, kNotesPFClass, "")) {
        if (sameObject(*store, id, own))
            continue;
        const RDOMessagePtr record = require(session, id, nullptr, {});
        if (sameObject(*store, EntryID(RequireKey(*record, kFolderKey).text()), folder))
            return true;
    }
    return false;
}

} // namespace

bool IsNotesFolder(AgentSession& session, const EntryID& folder, const EntryID& own) {
    return Trap([&] { return heldByAnother(session, folder, own); },
                [&](const Trapped& error) { session.log("IsNotesFolder: " + error.text()); });
}

std::optional<MandatoryNote> ReadNote(AgentSession& session, const EntryID& id) {
    return Trap(
        [&]() -> std::optional<MandatoryNote> {
            const RDOMessagePtr note = require(session, id, nullptr, {});
            return MandatoryNote{note->Body(), RequireKey(*note, kNamesKey).text(),
                                 RequireKey(*note, kAddressesKey).text()};
        },
        [&](const Trapped& error) {
            session.log("frmMandatoryNote_Load: GetMessage failed " + error.text());
        });
}

EntryID SaveNote(AgentSession& session, const EntryID& id, const MandatoryNote& note) {
    const std::string subject = subjectOf(note.text);
    return Trap(
        [&] {
            const RDOFolderPtr folder = id.empty() ? GetNotesFolder(session) : nullptr;
            const RDOMessagePtr message = require(session, id, folder.get(), kNoteClass);
            message->SetSubject(subject);
            message->SetBody(withReturns(note.text));
            SetKey(*message, kNamesKey, note.names);
            SetKey(*message, kAddressesKey, note.addresses);
            message->Save();
            return id.empty() ? message->ID() : id;
        },
        failedSave(session, subject));
}

bool DeleteNote(AgentSession& session, const EntryID& id, std::string_view subject) {
    const std::string name(subject);
    return confirmed(session, "Are you sure you want to delete " + name + "?") &&
           deleteItem(session, id, "unable to retrieve Mandatory Note " + name);
}

std::optional<NotesPF> ReadNotesPF(AgentSession& session, const EntryID& id) {
    return Trap(
        [&]() -> std::optional<NotesPF> {
            const RDOMessagePtr record = require(session, id, nullptr, {});
            return NotesPF{EntryID(RequireKey(*record, kFolderKey).text()),
                           RequireKey(*record, kTargetKey).text(),
                           RequireKey(*record, kTargetEmailKey).text()};
        },
        [&](const Trapped& error) {
            session.log("frmMandatoryNotesPF_Load: GetMessage failed " + error.text());
        });
}

EntryID SaveNotesPF(AgentSession& session, const EntryID& id, const NotesPF& record,
                    std::string_view name) {
    return Trap(
        [&] {
            const WaitCursor wait(session.ui());
            // the dialog has asked; a search that failed there must not make a second record
            if (heldByAnother(session, record.folder, id))
                throw PlatformError(MAPI_E_COLLISION, "The folder is already in use.");
            const RDOMessagePtr message =
                require(session, id, session.agentInfo.get(), kNotesPFClass);
            if (!name.empty()) // so that the list can name a folder that has gone
                message->SetSubject(name);
            SetKey(*message, kFolderKey, record.folder.text());
            SetKey(*message, kTargetKey, record.names);
            SetKey(*message, kTargetEmailKey, record.addresses);
            SetKey(*message, kTargetCountKey, int32_t{CountRecipients(session, record.addresses)});
            message->Save();
            return id.empty() ? message->ID() : id;
        },
        failedSave(session, name));
}

bool DeleteNotesPF(AgentSession& session, const EntryID& id, std::string_view name) {
    const std::string who(name);
    return confirmed(session,
                     "Delete " + who + " from the list of Mandatory Notes Public Folders?") &&
           deleteItem(session, id, "unable to delete Mandatory Notes Folder " + who);
}

} // namespace kr
