#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <thread>

#include "tests/support/Loopback.h"
#include "tests/support/SideProgram.h"

namespace kr {

/// A PostgreSQL of its own on this computer, run by a user who isn't root. Programs log on as
/// "postgres" with the password, over TCP.
class Postgres {
public:
    explicit Postgres(const std::string& password) {
        namespace fs = std::filesystem;
        for (const auto& entry : fs::directory_iterator("/usr/lib/postgresql"))
            m_programs = (entry.path() / "bin").string();
        char pattern[] = "/tmp/kr-pg-XXXXXX";
        m_folder = mkdtemp(pattern);
        std::ofstream(m_folder + "/password") << password << "\n";
        if (geteuid() == 0)
            system("chown -R nobody " + m_folder);
        // the socket in the folder is for Run alone
        m_running = system(asUser() + m_programs + "/initdb -D " + m_folder +
                           "/db --auth-local=trust --auth-host=scram-sha-256 -U postgres -E UTF8 "
                           "--locale=C.UTF-8 --no-sync --pwfile=" +
                           m_folder + "/password") &&
                    start();
    }
    ~Postgres() {
        m_server.reset();
        std::error_code ignored;
        std::filesystem::remove_all(m_folder, ignored);
    }
    Postgres(const Postgres&) = delete;
    Postgres& operator=(const Postgres&) = delete;

    bool running() const { return m_running; }
    int port() const { return m_port; }
    /// Runs statements; false when one fails.
    bool Run(const std::string& statements, const std::string& database = "postgres") const {
        std::ofstream(m_folder + "/statements.sql") << statements;
        return system(m_programs + "/psql -v ON_ERROR_STOP=1 -q -h " + m_folder + " -p " +
                      std::to_string(m_port) + " -U postgres -d " + database + " -f " + m_folder +
                      "/statements.sql");
    }
    /// Opens its database; the password in the form that connection strings have it.
    static std::string ConnectionString(int port, const std::string& password) {
        return "Provider=MSDASQL;Driver={PostgreSQL Unicode};Server=127.0.0.1;Port=" +
               std::to_string(port) + ";Database=postgres;UID=postgres;PWD=" + password;
    }

private:
    static bool system(const std::string& command) {
        return std::system(("cd /tmp && " + command + " >/dev/null 2>&1").c_str()) == 0;
    }
    static std::string asUser() {
        return geteuid() == 0 ? "setpriv --reuid=nobody --clear-groups " : "";
    }
    bool start() {
        m_port = FreePort();
        const std::string port = std::to_string(m_port);
        std::vector<std::string> words;
        if (geteuid() == 0) // the one in front has lost its signal when the user changes
            words = {"setpriv", "--reuid=nobody", "--clear-groups", "--pdeathsig", "QUIT"};
        words.insert(words.end(), {m_programs + "/postgres", "-D", m_folder + "/db", "-p", port,
                                   "-k", m_folder, "-c", "listen_addresses=127.0.0.1", "-c",
                                   "fsync=off", "-c", "log_min_messages=panic"});
        m_server = std::make_unique<SideProgram>(words, SIGQUIT);
        for (int tries = 0; tries < 200; ++tries) {
            if (system(m_programs + "/pg_isready -q -h " + m_folder + " -p " + port))
                return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        return false;
    }

    std::string m_folder, m_programs;
    int m_port = 0;
    std::unique_ptr<SideProgram> m_server;
    bool m_running = false;
};

} // namespace kr
