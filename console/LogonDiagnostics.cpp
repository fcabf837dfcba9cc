#include "console/basLogon.h"
#include "core/AtomicFile.h"
#include "core/Trap.h"

namespace kr {

namespace {

/// The folders that the agent works with. The name of the second one is this program's choice.
constexpr std::string_view kCheckedFolders[] = {"In Process", "Processed", "Review"};

/// Walks the steps of a logon with a session of its own and keeps a line of each.
class Diagnosis {
public:
    explicit Diagnosis(AgentSession& session) : m_session(session) {}

    std::string Run() {
        show("Initializing diagnostics...");
        report += m_session.platform.shell.SystemFacts();
        if (createSession()) {
            locateServer();
            logOn(); // the steps behind a refused logon say what they miss
            inbox();
            addressList();
            checkFolders();
        }
        m_session.ui().ShowStatus("");
        return std::move(report);
    }

private:
    void line(const std::string& text) { report += text + "\n"; }
    void show(const std::string& text) {
        line(text);
        m_session.ui().ShowStatus(text);
        m_session.ui().DoEvents();
    }
    /// One line for a good call, another with the failure's text.
    bool attempt(const std::function<void()>& work, const std::string& good,
                 const std::string& bad) {
        bool ok = true;
        Trap(work, [&](const Trapped& error) {
            ok = false;
            line(bad + error.description);
        });
        if (ok)
            line(good);
        return ok;
    }

    bool createSession() {
        show("Checking rendering objects...");
        m_rdo = TrapSilently([&] { return m_session.platform.store.CreateSession(); });
        if (!m_rdo) {
            line("Unable to create RDO object.");
            return false;
        }
        const std::string version = TrapSilently([&] { return m_rdo->Version(); });
        line("RDO Version: " + version);
        // there is no library of that name on this system: the store layer stands in for it
        line("MAPI32 Version: " + version + " @%PATH%");
        return true;
    }

    void locateServer() {
        show("Locating server...");
        const std::string& server = m_session.ExServer;
        if (server.empty())
            return; // a profile names its own
        show("Pinging server: " + server);
        line(m_session.platform.shell.Ping(server)
                 ? "Successfully pinged " + server
                 : "Unable to locate supplied Exchange server: " + server);
    }

    void logOn() {
        const bool byProfile = !m_session.Profile.empty();
        show(byProfile ? "Logging on with profile: " + m_session.Profile + "..."
                       : "Logging on to server: " + m_session.ExServer +
                             " using alias: " + m_session.ExAlias + "...");
        Trap(
            [&] {
                if (byProfile)
                    m_rdo->Logon(m_session.Profile, "", false, true, 0);
                else
                    m_rdo->LogonExchangeMailbox(m_session.ExAlias, m_session.ExServer);
            },
            [&](const Trapped& error) { line("Logon error: " + error.description); });
    }

    void inbox() {
        show("Retrieving Inbox");
        attempt([&] { m_rdo->GetDefaultFolder(static_cast<int>(DefaultFolder::Inbox)); },
                "Successfully retrieved Inbox",
                "Unable to retrieve application Inbox folder; error: ");
    }

    void addressList() {
        show("Retrieving GAL");
        std::shared_ptr<AddressList> list;
        if (!attempt([&] { list = m_rdo->GetAddressBook()->GAL(); }, "Successfully retrieved GAL",
                     "Unable to retrieve GAL; error: "))
            return;
        attempt([&] { list->Entries()->Count(); }, "Successfully retrieved GAL address entries",
                "Unable to retrieve GAL address entries; error: ");
    }

    void checkFolders() {
        show("Checking folders");
        for (const std::string_view folder : kCheckedFolders)
            checkFolder(std::string(folder));
    }

    RDOFoldersPtr topFolders() { return m_rdo->Stores().DefaultStore()->RootFolder()->Folders(); }

    void checkFolder(const std::string& name) {
        show("Searching for " + name + " folder");
        if (TrapSilently([&] { return topFolders()->Item(std::string_view(name)); })) {
            line("Successfully located " + name + " folder");
            return;
        }
        line("Attempting to create " + name + " folder");
        attempt([&] { topFolders()->Add(name); }, "Successfully created " + name + " folder",
                "Unable to create application " + name + " folder; error: ");
    }

    AgentSession& m_session;
    RDOSessionPtr m_rdo;
    std::string report;
};

} // namespace

bool LogonDiagnostics(AgentSession& session, const std::string& path) {
    std::string error;
    if (WriteFileAtomically(path, Diagnosis(session).Run(), error))
        return true;
    session.log("LogonDiagnostics: " + error);
    return false;
}

} // namespace kr
