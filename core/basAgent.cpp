#include "core/basAgent.h"

#include "core/Trap.h"
#include "core/basDate.h"
#include "core/basStore.h"

namespace kr {

namespace {

constexpr std::string_view kNoFolders =
    "Unable to locate or create zandrelAgent folders - contact support!";

/// A sub-folder by name, added when missing; nothing when neither works.
RDOFolderPtr findOrAdd(AgentSession& session, RDOFolder& parent, std::string_view name,
                       const std::string& addingText) {
    return TrapSilently([&]() -> RDOFolderPtr {
        auto folders = parent.Folders();
        if (auto folder = folders->Item(name))
            return folder;
        session.log(addingText);
        return folders->Add(name);
    });
}

bool noFolders(AgentSession& session) {
    session.log("GetAgentFolders failed - could not get or create UserInfo folder");
    session.ui().MsgBox(kNoFolders, BoxIcon::Stop);
    return false;
}

/// Keeps the oldest of several agent messages and deletes the others, one after another.
class Keeper {
public:
    explicit Keeper(AgentSession& session) : m_session(session) {}
    void Offer(RDOMessagePtr message) {
        if (!message)
            return;
        if (!m_kept) {
            m_kept = std::move(message);
            return;
        }
        // at equal times the keeper stays
        if (message->CreationTime() < m_kept->CreationTime())
            std::swap(message, m_kept);
        remove(*message);
    }
    const RDOMessagePtr& Kept() const { return m_kept; }

private:
    void remove(RDOMessage& message) {
        const Time local = UTCToLocal(message.CreationTime(), m_session.platform.clock);
        m_session.log("GetAgentMessage deleting extra agent message created " + FormatDate(local));
        Trap([&] { message.Delete(); },
             [&](const Trapped& error) { m_session.log("GetAgentMessage " + error.text()); });
    }
    AgentSession& m_session;
    RDOMessagePtr m_kept;
};

void keepByFilter(AgentSession& session, const std::vector<EntryID>& ids, Keeper& keeper) {
    if (ids.size() == 1)
        session.log("GetAgentMessage filter returned agent message ID");
    else
        session.log("GetAgentMessage filter returned " + std::to_string(ids.size()) +
                    " ID(s) for agent message");
    for (const EntryID& id : ids)
        keeper.Offer(GetMessage(session, id));
}

/// The table's filter can miss a message that lies there, so the items are looked through.
void keepByWalk(AgentSession& session, Keeper& keeper) {
    auto items = session.agentInfo->Items();
    const int count = items->Count();
    if (count == 0)
        return session.log("GetAgentMessage no messages in AgentInfo folder");
    session.log("GetAgentMessage nothing returned by filter; iterating through " +
                std::to_string(count));
    std::vector<RDOMessagePtr> found; // deleting moves the indexes, so that comes afterwards
    for (int i = 1; i <= count; ++i)
        if (auto item = TrapSilently([&] { return items->Item(i); });
            item && item->MessageClass() == kAgentClass)
            found.push_back(item);
    for (RDOMessagePtr& message : found)
        keeper.Offer(std::move(message));
}

} // namespace

bool GetAgentFolders(AgentSession& session) {
    session.agentInfo.reset();
    session.userInfo.reset();
    session.AgentMsgID = {};
    auto root = TrapSilently([&]() -> RDOFolderPtr {
        return session.rdo ? session.rdo->Stores().DefaultStore()->RootFolder() : nullptr;
    });
    if (!root)
        return noFolders(session);
    session.agentInfo =
        findOrAdd(session, *root, kAgentInfoFolder, "GetAgentFolders creating AgentInfo folder");
    if (!session.agentInfo)
        return noFolders(session);
    session.userInfo = findOrAdd(session, *session.agentInfo, kUserInfoFolder,
                                 "GetAgentFolders creating UserInfo folder");
    if (!session.userInfo)
        return noFolders(session);
    if (GetAgentMessage(session))
        return true;
    session.FirstRun = true;
    return false;
}

RDOMessagePtr GetAgentMessage(AgentSession& session) {
    return Trap(
        [&]() -> RDOMessagePtr {
            if (!session.agentInfo)
                return nullptr;
            Keeper keeper(session);
            const auto ids = GetMessageIDs(session, *session.agentInfo, kAgentClass, kAgentSubject);
            if (ids.empty())
                keepByWalk(session, keeper);
            else
                keepByFilter(session, ids, keeper);
            if (!keeper.Kept()) {
                session.log("GetAgentMessage found no existing agent message");
                return nullptr;
            }
            session.log("GetAgentMessage found existing agent message");
            session.AgentMsgID = keeper.Kept()->ID();
            return keeper.Kept();
        },
        [&](const Trapped& error) { session.log("GetAgentMessage " + error.text()); });
}

RDOFolderPtr GetZandrelFolder(AgentSession& session, std::string_view name) {
    const std::string text(name);
    if (!session.agentInfo) {
        session.log("GetZandrelFolder failure: no agent info message ");
        return nullptr;
    }
    bool failed = false;
    auto folder = Trap([&] { return session.agentInfo->Folders()->Item(name); },
                       [&](const Trapped& error) {
                           failed = true;
                           session.log("GetZandrelFolder error fetching " + text + " " +
                                       error.description + "; forcing refresh");
                       });
    // a folder of a session that has gone reads as missing, so the mailbox is asked as well
    if (!failed && !folder &&
        !TrapSilently([&] { return session.rdo && session.rdo->StillThere(); })) {
        failed = true;
        session.log("GetZandrelFolder error fetching " + text +
                    " the mailbox has gone; forcing refresh");
    }
    if (failed) {
        session.ui().MsgBox("There's a problem connecting with the agent mailbox.\n"
                            "The session needs to be refreshed",
                            BoxIcon::Exclamation);
        if (session.hooks.refreshView)
            session.hooks.refreshView();
    }
    if (folder || !session.agentInfo)
        return folder;
    return Trap(
        [&] {
            auto folders = session.agentInfo->Folders();
            if (auto existing = folders->Item(name))
                return existing;
            session.log("GetZandrelFolder: adding " + text);
            return folders->Add(name);
        },
        [&](const Trapped& error) {
            session.log("GetZandrelFolder failure: " + error.description);
        });
}

RDOFolderPtr GetHiddenFolder(AgentSession& session, std::string_view name) {
    const std::string text(name);
    std::string error;
    auto folder = Trap(
        [&]() -> RDOFolderPtr {
            if (!session.agentInfo)
                return nullptr;
            auto folders = session.agentInfo->Folders();
            session.log("GetHiddenFolder:checking in " + std::to_string(folders->Count()) +
                        " sub-folders of AgentInfo for " + text);
            return folders->Item(name);
        },
        [&](const Trapped& trapped) { error = trapped.description; });
    if (!folder)
        session.log("GetHiddenFolder:unable to locate hidden " + text + " folder " + error);
    return folder;
}

std::vector<EntryID> GetHostMessages(AgentSession& session) {
    if (!session.agentInfo)
        return {};
    return GetMessageIDs(session, *session.agentInfo, kHostClass, "");
}

void SendServiceControl(AgentSession& session, std::string_view host, int code, bool alsoWatchdog) {
    TrapSilently([&] {
        Services& services = session.platform.services;
        services.Control(host, kAgentService, code);
        if (alsoWatchdog)
            services.Control(host, kWatchdogService, code);
        session.ui().DoEvents();
    });
}

void NotifyAgents(AgentSession& session, int code) {
    for (const EntryID& id : GetHostMessages(session)) {
        auto host = GetMessage(session, id);
        const std::string name =
            TrapSilently([&] { return host ? host->Subject() : std::string(); });
        if (!name.empty()) // an empty name would reach this computer's agent
            SendServiceControl(session, "\\\\" + name, code);
        session.ui().DoEvents();
    }
}

} // namespace kr
