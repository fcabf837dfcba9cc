#include "console/Console.h"
#include "console/basLogon.h"
#include "console/basUsers.h"
#include "core/Trap.h"
#include "core/basAgent.h"

namespace kr {

Console::~Console() { m_session.hooks = {}; }

void Console::setHooks() {
    LogonHooks& hooks = m_session.hooks;
    hooks.loadUsers = [this] { return LoadUsers(m_session); };
    hooks.clearTree = [this] { ClearTreeView(); };
    hooks.loadTreeRoot = [this] { return LoadTreeRoot(); };
    hooks.activate = [this] { m_view.Activate(); };
    hooks.refreshView = [this] { RefreshView(); };
}

void Console::StoreLanguages(bool notify) {
    if (!m_session.languagesChanged)
        return;
    m_session.languagesChanged = false;
    if (m_storeLanguages)
        m_storeLanguages();
    if (notify)
        NotifyAgents(m_session, kCodeLanguageChanged);
}

bool Console::Logon() { return DoLogon(m_session); }

void Console::ResetConnection() {
    ClearTreeView();
    ClearListView();
    m_session.Reset();
}

void Console::LogOff() {
    Trap(
        [&] {
            if (m_session.rdo)
                m_session.rdo->Logoff();
        },
        [&](const Trapped& trapped) { m_session.log("Logoff: " + trapped.text()); });
    ResetConnection();
    m_session.rdo.reset();
}

void Console::Connect() {
    const std::string server = m_session.ExServer;
    const std::string alias = m_session.ExAlias;
    const std::string profile = m_session.Profile;
    if (!m_view.ShowForm("frmLogon")) {
        missingFeature();
        return;
    }
    const auto same = [](const std::string& now, const std::string& before) {
        return now.empty() || now == before;
    };
    if (same(m_session.ExServer, server) && same(m_session.ExAlias, alias) &&
        same(m_session.Profile, profile))
        return;
    ResetConnection();
    Logon();
}

void Console::RunWizard() {
    if (m_wizard)
        return;
    m_session.FirstRun = false;
    m_wizard = true;
    const bool shown = m_view.ShowForm("frmFirstRun");
    if (shown) {
        Logon();
        GoToNode("serverroot");
    } else {
        missingFeature();
    }
    m_wizard = false;
}

void Console::LogonDiagnosticsKey() {
    if (m_session.ui().MsgBox("Do you want to run logon diagnostics?", BoxIcon::Question,
                              BoxButtons::YesNo) != BoxAnswer::Yes)
        return;
    Shell& shell = m_session.platform.shell;
    const std::string path = shell.TempFolder() + "/LogonDiagnostics.txt";
    const bool written = LogonDiagnostics(m_session, path);
    Logon();
    if (written)
        shell.OpenFile(path);
}

} // namespace kr
