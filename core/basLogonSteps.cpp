#include "core/Keys.h"
#include "core/Trap.h"
#include "core/basAgent.h"
#include "core/basStore.h"

/// DoLogon, step by step; the texts are those that support reads in the log.
namespace kr {

namespace {

bool createSession(AgentSession& session) {
    if (session.rdo)
        return true;
    session.log("instantiating RDO");
    std::string error;
    session.rdo = Trap([&] { return session.platform.store.CreateSession(); },
                       [&](const Trapped& trapped) { error = trapped.description; });
    if (session.rdo)
        return true;
    session.log("no RDO");
    session.ui().MsgBox("Unable to create MAPI session. Please notify support\n" + error,
                        BoxIcon::Stop);
    return false;
}

/// True when the session is logged on; else `error` holds why not, if the library told.
bool logOn(AgentSession& session, Trapped& error) {
    const bool byProfile = !session.Profile.empty();
    session.log(byProfile ? "Logging on with profile " + session.Profile
                          : "Logging on with " + session.ExAlias + " " + session.ExServer);
    Trap(
        [&] {
            if (byProfile)
                session.rdo->Logon(session.Profile, "", false, true, 0);
            else
                session.rdo->LogonExchangeMailbox(session.ExAlias, session.ExServer);
        },
        [&](const Trapped& trapped) { error = trapped; });
    return Trap([&] { return session.rdo->LoggedOn(); },
                [&](const Trapped& trapped) {
                    if (error.description.empty())
                        error = trapped;
                });
}

void tellRefused(AgentSession& session, const Trapped& error) {
    session.log("RDO.LoggedOn = False " + error.text());
    const std::string how = session.Profile.empty() ? "using dynamic profile " + session.ExAlias +
                                                          " " + session.ExServer
                                                    : "using profile " + session.Profile;
    session.ui().ShowStatus("");
    session.ui().MsgBox("Unable to logon as " + session.platform.shell.UserName() + "\n" + how +
                            "\n" + error.description,
                        BoxIcon::Stop);
}

/// A step logged under its name; its failure is logged and does not end the logon.
void step(AgentSession& session, const std::string& name, const std::function<void()>& work) {
    session.log(name);
    Trap(work, [&](const Trapped& error) { session.log(name + ": " + error.text()); });
}

void readMailbox(AgentSession& session) {
    RDOSession& rdo = *session.rdo;
    step(session, "GetSafeAgentUser", [&] { session.agentUser = rdo.CurrentUser(); });
    step(session, "GetPublicStoreID",
         [&] { session.publicStoreID = rdo.Stores().PublicStore()->ID(); });
    step(session, "GetAgentSMTP", [&] {
        session.agentSMTP = rdo.CurrentUser()->SMTPAddress();
        session.agentName = rdo.CurrentUser()->Name();
    });
}

void loadConsole(AgentSession& session) {
    LogonHooks& hooks = session.hooks;
    step(session, "InitEPS", [&] { InitEPS(session); });
    step(session, "LoadLanguages", [&] {
        if (hooks.loadLanguages)
            hooks.loadLanguages();
    });
    if (hooks.loadUsers)
        hooks.loadUsers();
    if (hooks.clearTree)
        hooks.clearTree();
    std::string root;
    step(session, "LoadTreeRoot", [&] {
        if (hooks.loadTreeRoot)
            root = hooks.loadTreeRoot();
    });
    session.ui().ShowMailbox(root);
}

} // namespace

bool DoLogon(AgentSession& session) {
    Ui& ui = session.ui();
    ui.ShowStatus("Logging on...");
    if (!createSession(session)) {
        ui.ShowStatus("");
        return false;
    }
    ui.ShowStatus("Retrieving Inbox...");
    Trapped error;
    if (!logOn(session, error)) {
        tellRefused(session, error);
        return false;
    }
    session.log("LoggedOn = True");
    ui.ShowStatus("Accessing mailbox data...");
    readMailbox(session);
    session.log("calling GetAgentFolders");
    const bool ready = GetAgentFolders(session);
    if (ready)
        loadConsole(session);
    else if (session.FirstRun && session.hooks.activate)
        session.hooks.activate();
    else
        ui.MsgBox("Unable to initialize mailbox!", BoxIcon::Stop);
    ui.ShowStatus("");
    return ready;
}

} // namespace kr
