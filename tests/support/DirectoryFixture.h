#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "platform/registry/Registry.h"

namespace kr {

/// A real LDAP server (slapd) in a temporary folder, on free ports of the loopback, with a schema
/// and entries as an Active Directory with mailboxes has them; ended with the object.
///
/// Forest DC=example,DC=test. Users u1 .. u<people>, each `uN@example.test`, "EX1" as home server,
/// display name "First N", department "D<N % 40>"; every tenth below OU=People,DC=emea, the others
/// below OU=Staff; every 50th is disabled, every 97th hidden. Besides: "No Mail" (nomail), "O'Hara
/// (old) \ , x" (ohara), the query-based lists q1 (filter with "!" without parentheses, base
/// OU=People,DC=emea) and q2 (holds itself), the group sales, and a referral to a dead server.
class DirectoryFixture {
public:
    struct Options {
        int people = 200;
        /// A bind is needed to read anything but the rootDSE.
        bool usersOnly = false;
        /// A third listener with TLS from the first byte, and StartTLS on the others.
        bool tls = false;
        /// Where it listens; the certificate names 127.0.0.1 in any case.
        std::string address = "127.0.0.1";
        /// Environment of the server, such as "KRB5_KTNAME=FILE:...".
        std::vector<std::string> environment;
        std::string extraConfiguration;
        /// Further entries as LDIF, each with an empty line behind it.
        std::string extraEntries;
    };

    DirectoryFixture() : DirectoryFixture(Options()) {}
    explicit DirectoryFixture(Options options);
    ~DirectoryFixture();
    DirectoryFixture(const DirectoryFixture&) = delete;
    DirectoryFixture& operator=(const DirectoryFixture&) = delete;

    bool running() const { return m_pid > 0; }
    /// Why it does not run.
    const std::string& problem() const { return m_problem; }

    const std::string& folder() const { return m_folder; }
    int port() const { return m_ports[0]; }
    int catalogPort() const { return m_ports[1]; }
    int tlsPort() const { return m_ports[2]; }
    std::string caFile() const { return m_folder + "/ca.pem"; }
    /// The account that may read everything, and its password.
    static constexpr const char* kAccount = "CN=admin,DC=example,DC=test";
    static constexpr const char* kPassword = "secret";

    /// Points the machine's directory settings at this server: no TLS, no bind.
    void Configure(Registry& registry) const;
    /// The server's log: each connection, search and filter.
    std::string log() const;
    /// Ends the server as a crash does; Start brings it back on the same ports.
    void Kill();
    bool Start();
    /// The server stops answering, with its connections open.
    void Freeze();
    void Thaw();

private:
    bool build();
    bool makeCertificates();
    void writeSchema() const;
    void writeConfiguration() const;
    void writeEntries() const;

    Options m_options;
    std::string m_folder;
    std::string m_problem;
    int m_ports[3] = {0, 0, 0};
    pid_t m_pid = 0;
};

/// Writes one text value of the directory's settings.
void SetDirectoryValue(Registry& registry, std::string_view name, std::string_view value);

} // namespace kr
