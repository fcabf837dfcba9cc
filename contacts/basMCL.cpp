#include "contacts/basMCL.h"

#include <algorithm>

#include "contacts/basACF.h"
#include "contacts/basMCLSources.h"
#include "core/Text.h"
#include "core/Trap.h"
#include "core/basFolderPath.h"
#include "core/basStore.h"

namespace kr {

namespace {

constexpr std::string_view kPathKey = "MCPath";
constexpr std::string_view kIdKey = "MCEntryID";
constexpr std::string_view kMovedPathKey =
    "MCL Path"; // a third copy, written when the folder moves

const std::string kNoFolder = "Unable to locate " + std::string(kMclFolderName) + " folder";
const std::string kNoNewFolder =
    "Unable to locate or create " + std::string(kMclFolderName) + " folder";

/// What the agent message says of the list folder.
struct Stored {
    RDOMessagePtr agent;
    std::string path;
    EntryID id;
};

/// Throws when it can't be read: a failure must not pass for a mailbox without lists.
Stored readStored(AgentSession& session) {
    Stored stored;
    stored.agent = GetMessage(session, session.AgentMsgID);
    if (!stored.agent)
        throw PlatformError(MAPI_E_NOT_FOUND, "The agent message can't be opened.");
    stored.path = Trim(RequireKey(*stored.agent, kPathKey).text());
    stored.id = EntryID(Trim(RequireKey(*stored.agent, kIdKey).text()));
    return stored;
}

void write(RDOMessage& agent, const MclFolder& folder) {
    SetKey(agent, kPathKey, folder.path);
    SetKey(agent, kIdKey, folder.id.text());
}

std::string defaultPath(const RDOStore& store) {
    return "\\\\" + store.Name() + "\\" + std::string(kMclFolderName);
}

/// The folder that the console makes lies beside those that are shown, where no path leads.
RDOFolderPtr openDefault(AgentSession& session, std::string_view path) {
    const RDOStorePtr store = session.rdo->Stores().DefaultStore();
    if (!path.empty() && !EqualNoCase(path, defaultPath(*store)))
        return nullptr;
    return store->RootFolder()->Folders()->Item(kMclFolderName);
}

RDOFolderPtr openByPath(AgentSession& session, const std::string& path) {
    if (RDOFolderPtr folder = openDefault(session, path))
        return folder;
    return GetRDOFolder(session, path);
}

/// nullptr when it is gone; throws when that can't be told.
RDOFolderPtr openIfThere(AgentSession& session, const EntryID& id) {
    if (RDOFolderPtr folder = GetFolder(session, id))
        return folder;
    const auto open = [&](const EntryID& store) {
        return OrGone([&] { return session.rdo->GetFolderFromID(id, store); });
    };
    if (RDOFolderPtr folder = open({}))
        return folder;
    const RDOStorePtr shared = OrGone([&] { return session.rdo->Stores().PublicStore(); });
    return shared ? open(shared->ID()) : nullptr;
}

/// By its id, else by its path; the one that is missing or wrong is set right.
MclFolder openStored(AgentSession& session, const Stored& stored) {
    MclFolder found{nullptr, stored.path, stored.id};
    if (!stored.id.empty())
        found.folder = GetFolder(session, stored.id);
    const bool byId = found.folder != nullptr;
    if (!byId && !stored.path.empty())
        found.folder = openByPath(session, stored.path);
    if (!found || (byId && !stored.path.empty()))
        return found;
    Trap(
        [&] {
            found.id = byId ? stored.id : found.folder->ID();
            if (stored.path.empty())
                found.path = FolderPath(*found.folder);
            write(*stored.agent, found);
            stored.agent->Save();
        },
        [&](const Trapped& error) { session.log("GetMCLFolder: " + error.text()); });
    return found;
}

MclFolder makeFolder(AgentSession& session, RDOMessage& agent) {
    const RDOStorePtr store = session.rdo->Stores().DefaultStore();
    const RDOFoldersPtr folders = store->RootFolder()->Folders();
    MclFolder made;
    made.folder = folders->Item(kMclFolderName);
    if (!made)
        made.folder = folders->Add(kMclFolderName);
    made.path = defaultPath(*store);
    made.id = made.folder->ID();
    write(agent, made);
    agent.Save();
    return made;
}

/// What the person chose; nothing when that is the present folder, and after a failure.
RDOFolderPtr pickFolder(AgentSession& session, const MclFolder& current, std::string& path) {
    FolderPickOptions options;
    options.allowMail = true;
    options.startPath = current.path;
    options.title = "Select a Mail folder";
    const auto picks = Trap([&] { return session.ui().PickFolders(*session.rdo, options); },
                            [&](const Trapped& error) {
                                session.log("mnuMclSetPath: " + error.text());
                                session.ui().MsgBox("There was an error loading the folder list!\n"
                                                    "Details are in the log.",
                                                    BoxIcon::Exclamation);
                            });
    if (picks.empty())
        return nullptr;
    RDOFolderPtr folder = GetFolder(session, picks.front().entryID, picks.front().storeID);
    if (!folder) {
        session.ui().MsgBox(kNoFolder, BoxIcon::Stop);
        return nullptr;
    }
    const bool same =
        current && TrapSilently([&] {
            return folder->Store()->CompareEntryIDs(folder->ID(), current.folder->ID());
        });
    path = picks.front().path;
    return same ? nullptr : folder;
}

bool moveWanted(AgentSession& session) {
    return session.ui().MsgBox("The folder location has changed! Do you want to\n"
                               "move the existing Mandatory Contact Lists to the new folder?",
                               BoxIcon::Question, BoxButtons::YesNo) == BoxAnswer::Yes;
}

void moveAll(AgentSession& session, const RDOFolder& from, const RDOFolder& to) {
    const WaitCursor wait(session.ui());
    const RDOItemsPtr items = from.Items();
    while (items->Count() > 0) {
        items->Item(1)->MoveTo(to);
        session.ui().DoEvents();
    }
}

} // namespace

MclFolder GetMCLFolder(AgentSession& session) {
    std::string failure = kNoFolder;
    MclFolder found = Trap(
        [&] {
            const Stored stored = readStored(session);
            if (!stored.id.empty() || !stored.path.empty())
                return openStored(session, stored);
            failure = kNoNewFolder;
            return makeFolder(session, *stored.agent);
        },
        [&](const Trapped& error) { session.log("GetMCLFolder: " + error.text()); });
    if (!found)
        session.ui().MsgBox(failure, BoxIcon::Stop);
    return found;
}

RDOFolderPtr RequireMCLFolder(AgentSession& session) {
    const Stored stored = readStored(session);
    if (!stored.id.empty())
        if (RDOFolderPtr folder = openIfThere(session, stored.id))
            return folder;
    if (RDOFolderPtr folder = openDefault(session, stored.path))
        return folder;
    // a path alone is completed at its first use, so this is rare
    const bool pathAlone = stored.id.empty() && !stored.path.empty();
    return pathAlone ? GetRDOFolder(session, stored.path) : nullptr;
}

bool SetMCLPath(AgentSession& session) {
    const MclFolder current = GetMCLFolder(session);
    MclFolder chosen;
    chosen.folder = pickFolder(session, current, chosen.path);
    if (!chosen)
        return false;
    return Trap(
        [&] {
            // a move that fails ends here: chosen once more, the folder gets the rest
            if (current && current.folder->Items()->Count() > 0 && moveWanted(session))
                moveAll(session, *current.folder, *chosen.folder);
            chosen.id = chosen.folder->ID();
            const Stored stored = readStored(session);
            write(*stored.agent, chosen);
            SetKey(*stored.agent, kMovedPathKey, chosen.path);
            stored.agent->Save();
            return true;
        },
        [&](const Trapped& error) {
            session.log("mnuMclSetPath: " + error.text());
            session.ui().MsgBox("Unable to set the folder of the Mandatory Contact Lists!\n" +
                                    error.description,
                                BoxIcon::Stop);
        });
}

bool MCLNameInUse(AgentSession& session, RDOFolder& folder, const EntryID& own,
                  std::string_view name) {
    bool failed = false;
    const bool used = Trap(
        [&] {
            const RDOStorePtr store = folder.Store();
            return std::ranges::any_of(
                RequireMessageIDs(folder, kMclClass, name),
                [&](const EntryID& id) { return own.empty() || !store->CompareEntryIDs(id, own); });
        },
        [&](const Trapped& error) {
            failed = true;
            session.log("MCLNameInUse: " + error.text());
        });
    return used || failed;
}

} // namespace kr
