#pragma once

#include <memory>
#include <string>

#include "tests/platform/http/WebPeers.h"
#include "tests/support/KerberosRealm.h"

namespace kr {

/// A web server that lets in who shows a ticket of a Kerberos realm: Apache with GSSAPI. "alice"
/// has a ticket. The environment of the test names the realm while this lives.
class KerberosPeer {
public:
    KerberosPeer();
    ~KerberosPeer();
    KerberosPeer(const KerberosPeer&) = delete;
    KerberosPeer& operator=(const KerberosPeer&) = delete;
    bool ready() const { return m_ready; }
    std::string output() const { return m_realm.output() + m_folder.Read("error.log"); }
    std::string url() const { return "http://localhost:" + std::to_string(m_webPort) + "/page"; }
    /// A line for each request: its status, and who it was for.
    std::string log() const { return m_folder.Read("access.log"); }
    /// From now on nobody has a ticket.
    void ForgetTickets() const { m_realm.ForgetTickets(); }
    /// A fresh ticket for "alice", and from now on a key server at that port.
    bool MoveKeyServer(int port) const;

private:
    std::string apache() const;

    KerberosRealm m_realm{"HTTP/localhost"};
    PeerFolder m_folder;
    int m_webPort;
    std::unique_ptr<SideProgram> m_web;
    bool m_ready = false;
};

} // namespace kr
