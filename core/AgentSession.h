#pragma once

#include <functional>
#include <memory>
#include <string>

#include "core/Clock.h"
#include "core/EntryID.h"
#include "core/Log.h"
#include "core/Recordset.h"
#include "platform/database/Database.h"
#include "platform/directory/Directory.h"
#include "platform/events/Events.h"
#include "platform/http/Http.h"
#include "platform/registry/Registry.h"
#include "platform/secrets/Secrets.h"
#include "platform/services/Services.h"
#include "platform/shell/Shell.h"
#include "platform/store/Store.h"
#include "platform/ui/Ui.h"

namespace kr {

/// The seams that one run of the program works with; app/main.cpp names the real ones.
struct Platform {
    StoreLibrary& store;
    Registry& registry;
    Ui& ui;
    Events& events;
    Services& services;
    DirectoryProvider& directory;
    Shell& shell;
    DatabaseProvider& database;
    HttpProvider& http;
    Secrets& secrets;
    const Clock& clock;
};

/// What the rest of the program plugs into a logon, so that the core knows none of it.
struct LogonHooks {
    /// "LoadLanguages"
    std::function<void()> loadLanguages;
    /// Builds the Users recordset.
    std::function<bool()> loadUsers;
    std::function<void()> clearTree;
    /// "LoadTreeRoot"; gives the root's text for the status bar.
    std::function<std::string()> loadTreeRoot;
    /// Form_Activate: runs the wizard when the FirstRun flag stands.
    std::function<void()> activate;
    /// Pushes the changed list of personality agents to handhelds.
    std::function<void()> publishPersonalities;
    /// The Refresh command, for GetZandrelFolder's offer.
    std::function<void()> refreshView;
};

/// The session-wide values of one console, passed by reference to every procedure.
struct AgentSession {
    AgentSession(Platform& p, std::string logPath)
        : platform(p), log(std::move(logPath), p.clock) {}

    Platform& platform;
    Log log;
    LogonHooks hooks;

    // Logon data: the profile wins when it is not empty, else server plus alias.
    std::string ExServer;
    std::string ExAlias;
    std::string Profile;

    /// No agent message was found, or the command line asks for it: the wizard runs.
    bool FirstRun = false;
    /// The console's own version is 3.2 or later.
    bool versionFlag = true;
    /// The desktop has a mail program of the kind that Outlook is.
    bool outlookPresent = false;
    bool quickLoad = false;

    RDOSessionPtr rdo;
    RDOFolderPtr agentInfo; // zandrelAgentInfo
    RDOFolderPtr userInfo;  // zandrelUserInfo
    EntryID AgentMsgID;
    EntryID publicStoreID;
    AddressEntryPtr agentUser; // GetSafeAgentUser
    std::string agentSMTP;
    std::string agentName;

    /// The Users recordset; nullptr until it is loaded.
    std::shared_ptr<Recordset> users;
    Time usersLoaded{};
    /// The handheld recordset; nullptr until it is loaded.
    std::shared_ptr<Recordset> handhelds;
    /// Language data changed in this run and must be stored and announced (code 131).
    bool languagesChanged = false;
    /// Personality agents changed in this run and the handhelds don't know yet.
    bool personalitiesChanged = false;

    /// ResetConnection's part: closes recordsets, empties ids and per-session strings and the
    /// agent folders; the session object stays until DoLogon replaces it.
    void Reset();

    Ui& ui() { return platform.ui; }
};

} // namespace kr
