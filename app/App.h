#pragma once

#include <memory>
#include <string>

#include "core/AgentSession.h"

namespace kr {

class EpollEvents;
class QtEventsBridge;
class QtUi;
class frmFleetMain;

struct AppOptions {
    std::string userRegistry;    // folder of the user's registry file
    std::string machineRegistry; // folder of the machine's
    std::string logPath;
    std::string commandLine;
};
/// The folders of this person, and the log under $XDG_STATE_HOME/zandrel, whose folder is made. The
/// program's own folder is not writable on this system.
AppOptions DefaultOptions(std::string commandLine);

/// The console with its real implementations: the one place that names them. Needs a QApplication
/// and lives in its event loop.
class App {
public:
    explicit App(const AppOptions& options);
    ~App();
    App(const App&) = delete;
    App& operator=(const App&) = delete;

    /// The rest of `Main` for a first copy: banner, mode, main form, first logon.
    void Start();
    /// Closes the main form as the Exit command does; open dialogs are closed before it.
    void Close();

    frmFleetMain& main() { return *m_main; }
    AgentSession& session() { return *m_session; }
    QtUi& ui() { return *m_ui; }

private:
    void registerDialogs();
    void registerForms();

    std::string m_commandLine;
    SystemClock m_clock;
    std::unique_ptr<Registry> m_registry;
    std::unique_ptr<QtUi> m_ui;
    std::unique_ptr<EpollEvents> m_events;
    std::unique_ptr<QtEventsBridge> m_bridge;
    std::unique_ptr<StoreLibrary> m_store;
    std::unique_ptr<Services> m_services;
    std::unique_ptr<DirectoryProvider> m_directory;
    std::unique_ptr<Shell> m_shell;
    std::unique_ptr<DatabaseProvider> m_database;
    std::unique_ptr<HttpProvider> m_http;
    std::unique_ptr<Secrets> m_secrets;
    std::unique_ptr<Platform> m_platform;
    std::unique_ptr<AgentSession> m_session;
    std::unique_ptr<frmFleetMain> m_main;
};

} // namespace kr
