#include "app/App.h"

#include <QApplication>
#include <QDir>
#include <QTimer>
#include <filesystem>

#include "backup/BackupCommands.h"
#include "console/Startup.h"
#include "console/forms/DialogHooks.h"
#include "console/forms/frmAbout.h"
#include "console/forms/frmFindUser.h"
#include "console/forms/frmFirstRun.h"
#include "console/forms/frmFleetMain.h"
#include "console/forms/frmLogon.h"
#include "console/kinds/FixedKinds.h"
#include "contacts/ContactKinds.h"
#include "contacts/forms/MakeContactForms.h"
#include "core/Version.h"
#include "eps/forms/MakeEpsForms.h"
#include "handhelds/HandheldKinds.h"
#include "handhelds/forms/MakeHandheldForms.h"
#include "hosts/HostKinds.h"
#include "hosts/forms/MakeHostForms.h"
#include "net/NetCommands.h"
#include "net/forms/frmProxy.h"
#include "platform/database/Provider.h"
#include "platform/directory/ldap/LdapDirectory.h"
#include "platform/events/epoll/EpollEvents.h"
#include "platform/events/qt/QtEventsBridge.h"
#include "platform/http/curl/CurlHttp.h"
#include "platform/registry/regfile/RegFileRegistry.h"
#include "platform/secrets/sodium/SodiumSecrets.h"
#include "platform/services/MakeServices.h"
#include "platform/shell/xdg/XdgShell.h"
#include "platform/store/sqlite/SqliteStore.h"
#include "platform/ui/qt/QtUi.h"
#include "push/MblKinds.h"
#include "push/MplKinds.h"
#include "push/PdlKinds.h"
#include "push/PdlUserKinds.h"
#include "push/forms/MakePushForms.h"

namespace kr {

namespace {

constexpr int kCloseRetry = 20; // milliseconds between closing a dialog and looking again

QString versionText() {
    return QString("%1.%2.%3").arg(kVersion.major).arg(kVersion.minor).arg(kVersion.revision);
}

/// "" while there is no session.
QString storeVersion(const AgentSession& session) {
    return session.rdo ? FromUtf8(session.rdo->Version()) : QString();
}

std::string stateFolder() {
    const QString state = qEnvironmentVariable("XDG_STATE_HOME");
    // as the base directory rules have it, a relative path counts as unset
    const QString base = state.startsWith('/') ? state : QDir::homePath() + "/.local/state";
    return ToUtf8(base) + "/zandrel";
}

} // namespace

AppOptions DefaultOptions(std::string commandLine) {
    const std::string folder = stateFolder();
    std::error_code noLog; // a folder that can't be made means no log
    if (std::filesystem::create_directories(folder, noLog))
        std::filesystem::permissions(folder, std::filesystem::perms::owner_all, noLog);
    return {UserRegistryFolder(), MachineRegistryFolder(), folder + "/KR-Admin.log",
            std::move(commandLine)};
}

App::App(const AppOptions& options) : m_commandLine(options.commandLine) {
    const auto report = [log = Log(options.logPath, m_clock)](std::string_view text) { log(text); };
    m_registry = MakeRegFileRegistry(options.userRegistry, options.machineRegistry, report);
    m_ui = std::make_unique<QtUi>();
    const auto idle = [this] { m_ui->DoEvents(); };
    m_events = MakeEpollEvents();
    m_bridge = std::make_unique<QtEventsBridge>(*m_events);
    m_store = MakeSqliteStore(*m_registry);
    m_services = MakeServices(*m_events, *m_registry);
    m_directory = MakeLdapDirectory(*m_registry, *m_events, idle);
    m_shell = MakeXdgShell(*m_events, idle);
    m_database = MakeDatabaseProvider(*m_events);
    m_http = MakeCurlHttp(*m_events, idle);
    m_secrets = MakeSodiumSecrets(options.userRegistry + "/value.key");
    m_platform = std::make_unique<Platform>(Platform{*m_store, *m_registry, *m_ui, *m_events,
                                                     *m_services, *m_directory, *m_shell,
                                                     *m_database, *m_http, *m_secrets, m_clock});
    m_session = std::make_unique<AgentSession>(*m_platform, options.logPath);
    m_main = std::make_unique<frmFleetMain>(*m_session);
    m_ui->SetMainWindow(m_main.get());
    m_ui->SetStatus({[this](std::string_view text) { m_main->SetStatus(text); },
                     [this](int64_t done, int64_t total) { m_main->SetProgress(done, total); }});
    RegisterFixedKinds(m_main->console());
    const auto over = [this] { return m_ui->DialogParent(); };
    HostForms hostForms = MakeHostForms(*m_session, over);
    hostForms.frmEPSNow = MakeEPSNow(*m_session, over);
    RegisterHostKinds(m_main->console(), hostForms);
    RegisterNetCommands(m_main->console());
    const PushForms pushForms = MakePushForms(*m_session, m_main->console().tree(), over);
    RegisterMblKinds(m_main->console(), pushForms);
    RegisterMplKinds(m_main->console(), pushForms);
    RegisterPdlKinds(m_main->console(), pushForms);
    RegisterPdlUserKinds(m_main->console(), pushForms);
    RegisterHandheldKinds(m_main->console(), MakeHandheldForms(*m_session, over));
    RegisterContactKinds(m_main->console(),
                         MakeContactForms(*m_session, m_main->console().tree(), over));
    RegisterBackupCommands(m_main->console());
    registerDialogs();
    registerForms();
}

App::~App() {
    m_ui->SetStatus({});
    m_ui->SetDialogs({});
}

void App::Start() {
    LogBanner(m_session->log);
    const CommandLine line = TakeCommandLine(*m_session, m_commandLine);
    m_main->Form_Load(line);
    m_main->show();
    m_main->FirstLogon();
}

void App::registerDialogs() {
    QtDialogs dialogs;
    const auto parent = [this] { return m_ui->DialogParent(); };
    dialogs.warn = [parent](std::string_view text, bool& doNotWarnAgain) {
        return Warn(text, doNotWarnAgain, parent());
    };
    dialogs.popup = [parent](std::string_view title, std::string_view text) {
        Popup(title, text, parent());
    };
    dialogs.progress = [parent](std::string_view caption, ProgressKind kind) {
        return StartProgress(caption, kind, parent());
    };
    dialogs.addressBook = [parent](RDOSession& session, const std::vector<PickedRecipient>& chosen,
                                   std::string_view title, bool oneAddress, bool forceResolution,
                                   std::string_view toLabel) {
        return ShowAddressBook(session, chosen, title, oneAddress, forceResolution, toLabel,
                               parent());
    };
    dialogs.folders = [this, parent](RDOSession& session, const FolderPickOptions& options) {
        return PickFolders(session, options, m_session->log, parent());
    };
    m_ui->SetDialogs(std::move(dialogs));
}

void App::registerForms() {
    m_main->RegisterForm("frmLogon", [this](QWidget* over) { frmLogon(*m_session, over).exec(); });
    m_main->RegisterForm("frmFirstRun",
                         [this](QWidget* over) { frmFirstRun(*m_session, over).exec(); });
    m_main->RegisterForm("frmFindUser", [this](QWidget* over) {
        const auto goTo = [this](const std::string& key) {
            m_main->console().GoToRow(key, "epsuserroot");
        };
        frmFindUser(*m_session, goTo, over).exec();
    });
    m_main->RegisterForm("frmProxy", [this](QWidget* over) { frmProxy(*m_session, over).exec(); });
    m_main->RegisterForm("frmAbout", [this](QWidget* over) {
        frmAbout(versionText(), storeVersion(*m_session), over).exec();
    });
}

void App::Close() {
    // code below a dialog still has its turn before the session goes
    if (QWidget* modal = QApplication::activeModalWidget()) {
        modal->close();
        QTimer::singleShot(kCloseRetry, m_main.get(), [this] { Close(); });
        return;
    }
    m_main->close();
}

} // namespace kr
