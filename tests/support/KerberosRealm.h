#pragma once

#include <memory>
#include <string>

#include "tests/support/SideProgram.h"

namespace kr {

/// A Kerberos realm of our own (MIT krb5), EXAMPLE.TEST on the loopback, with its files in a
/// temporary folder; both end with the object. "alice" has a ticket. The environment of the test
/// names the realm while this lives.
class KerberosRealm {
public:
    /// `service` is one that the realm knows, such as "HTTP/localhost".
    explicit KerberosRealm(const std::string& service);
    ~KerberosRealm();
    KerberosRealm(const KerberosRealm&) = delete;
    KerberosRealm& operator=(const KerberosRealm&) = delete;
    bool ready() const { return m_ready; }
    /// What the programs wrote.
    std::string output() const;
    /// The key of the service; every user of the machine can read it, as servers run as their own.
    std::string keytab() const { return m_folder + "/keytab"; }

    /// A fresh ticket for "alice".
    bool Ticket() const;
    /// From now on nobody has a ticket.
    void ForgetTickets() const;
    /// From now on the realm's key server is said to be at that port.
    void MoveKeyServer(int port) const;

private:
    bool run(const std::string& command) const;
    void writeRealm(int port) const;
    bool makeKeys(const std::string& service) const;

    std::string m_folder;
    int m_port;
    std::unique_ptr<SideProgram> m_server;
    bool m_ready = false;
};

} // namespace kr
