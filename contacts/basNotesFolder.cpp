#include "contacts/basNotes.h"
#include "core/Text.h"
#include "core/Trap.h"
#include "core/basFolderPath.h"
#include "core/basStore.h"

/// Where single notes lie, and moving there.
namespace kr {

namespace {

constexpr std::string_view kNotesIDKey = "EPS.NotesID";
constexpr std::string_view kOwnFolder = "Mandatory Notes";
constexpr std::string_view kNotesContainer = "IPF.StickyNote";

RDOMessagePtr agentMessage(AgentSession& session) {
    RDOMessagePtr agent = GetMessage(session, session.AgentMsgID);
    if (!agent)
        throw PlatformError(MAPI_E_NOT_FOUND, "The agent message can't be opened.");
    return agent;
}

void storeNotesID(AgentSession& session, const EntryID& id) {
    const RDOMessagePtr agent = agentMessage(session);
    SetKey(*agent, kNotesIDKey, id.text());
    agent->Save();
}

/// nullptr when the mailbox has none; what else goes wrong is thrown.
RDOFolderPtr defaultFolder(AgentSession& session) {
    Trapped error;
    RDOFolderPtr folder =
        Trap([&] { return session.rdo->GetDefaultFolder(static_cast<int>(DefaultFolder::Notes)); },
             [&](const Trapped& trapped) { error = trapped; });
    if (error.number != 0 && error.number != MAPI_E_NOT_FOUND)
        throw PlatformError(error.number, error.description);
    return folder;
}

RDOFolderPtr defaultOrOwn(AgentSession& session) {
    if (RDOFolderPtr folder = defaultFolder(session))
        return folder;
    session.log("unable to locate default Notes folder in mailbox, attempting to create dedicated "
                "folder");
    return session.rdo->Stores().DefaultStore()->IPMRootFolder()->Folders()->Add(kOwnFolder,
                                                                                 kNotesContainer);
}

/// A name like "0x8B00" stands for the number.
std::string nameText(const PropName& name) {
    if (!name.byNumber)
        return name.name;
    const unsigned char bytes[] = {static_cast<unsigned char>(name.lid >> 8),
                                   static_cast<unsigned char>(name.lid)};
    return "0x" + HexOf(bytes, sizeof bytes);
}

void copyNote(RDOMessage& note, RDOFolder& folder) {
    const RDOMessagePtr copy = folder.Items()->Add(note.MessageClass());
    for (const PropTag tag : note.PropList()) {
        const auto name = note.NameOf(tag);
        if (!name) {
            // the store fills in some by itself and takes none from outside
            TrapSilently([&] { copy->SetFields(tag, note.Fields(tag)); });
            continue;
        }
        const PropTag id = copy->GetIDsFromNames(name->guid, nameText(*name)) & 0xFFFF0000;
        copy->SetFields(id | static_cast<PropTag>(TypeOf(tag)), note.Fields(tag));
    }
    copy->SetSubject(note.Subject());
    copy->SetBody(note.Body());
    copy->Save();
}

/// The old folder deliberately keeps its notes: what the agent reads is the new one.
void copyNotes(AgentSession& session, RDOFolder& from, RDOFolder& to) {
    const WaitCursor wait(session.ui());
    const RDOItemsPtr items = from.Items();
    const int count = items->Count();
    for (int i = 1; i <= count; ++i) {
        Trap([&] { copyNote(*items->Item(i), to); },
             [&](const Trapped& error) {
                 session.log("error copying Mandatory Note from " +
                             TrapSilently([&] { return from.Name(); }) + " to " +
                             TrapSilently([&] { return to.Name(); }) + ":" + error.description);
             });
        session.ui().DoEvents();
    }
}

std::string pathOf(const RDOFolderPtr& folder) {
    return TrapSilently([&] { return folder ? FolderPath(*folder) : std::string(); });
}

bool hasNotes(RDOFolder& folder) { return folder.Items()->Count() > 0; }

} // namespace

RDOFolderPtr GetNotesFolder(AgentSession& session) {
    return Trap(
        [&]() -> RDOFolderPtr {
            // a failed read must not pass for an unset key: the notes would be looked for elsewhere
            const EntryID stored(RequireKey(*agentMessage(session), kNotesIDKey).text());
            if (!stored.empty()) {
                RDOFolderPtr folder = GetFolder(session, stored);
                if (!folder)
                    session.log("Unable to locate Mandatory Notes folder");
                return folder;
            }
            RDOFolderPtr folder = defaultOrOwn(session);
            if (folder)
                storeNotesID(session, folder->ID());
            return folder;
        },
        [&](const Trapped& error) {
            session.log("Unable to locate or create Mandatory Notes folder " + error.text());
        });
}

std::optional<FolderPick> PickNotesFolder(AgentSession& session, bool inPublicFolders,
                                          const std::string& startPath) {
    FolderPickOptions options;
    options.showMailbox = !inPublicFolders;
    options.showPublicFolders = inPublicFolders;
    options.allowNotes = true;
    options.startPath = startPath;
    options.title = kNotesPickerTitle;
    const auto picks = Trap(
        [&] {
            if (!session.rdo)
                throw PlatformError(MAPI_E_NOT_FOUND, "There is no session.");
            return session.ui().PickFolders(*session.rdo, options);
        },
        [&](const Trapped& error) {
            session.log("PickNotesFolder: " + error.text());
            session.ui().MsgBox("There was an error loading the folder list!\n"
                                "Details are in the log.",
                                BoxIcon::Stop);
        });
    if (picks.empty() || picks.front().entryID.empty())
        return {};
    return picks.front();
}

bool SelectNotesFolder(AgentSession& session) {
    const RDOFolderPtr old = GetNotesFolder(session);
    const auto pick = PickNotesFolder(session, false, pathOf(old));
    if (!pick)
        return false;
    return Trap(
        [&] {
            const RDOFolderPtr chosen = GetFolder(session, pick->entryID, pick->storeID);
            if (!chosen)
                throw PlatformError(MAPI_E_NOT_FOUND, "The folder can't be opened.");
            if (old && old->Store()->CompareEntryIDs(old->ID(), chosen->ID()))
                return false;
            if (old && hasNotes(*old) &&
                session.ui().MsgBox("Move existing Mandatory Notes to new folder?",
                                    BoxIcon::Question, BoxButtons::YesNo) == BoxAnswer::Yes)
                copyNotes(session, *old, *chosen);
            storeNotesID(session, chosen->ID());
            return true;
        },
        [&](const Trapped& error) {
            session.log("SelectNotesFolder: " + error.text());
            session.ui().MsgBox("Error saving change: " + error.description, BoxIcon::Stop);
        });
}

} // namespace kr
