#pragma once

#include <ldap.h>

#include <chrono>
#include <memory>
#include <string>

#include "platform/directory/ldap/LdapSettings.h"
#include "platform/events/EventsGate.h"

namespace kr {

/// A connected and bound handle.
class LdapConnection {
public:
    using Clock = std::chrono::steady_clock;

    LdapConnection(LDAP* handle, LdapHost host) : m_handle(handle), m_host(std::move(host)) {}
    ~LdapConnection();
    LdapConnection(const LdapConnection&) = delete;
    LdapConnection& operator=(const LdapConnection&) = delete;

    LDAP* handle() const { return m_handle; }
    int fd() const;
    std::string where() const { return m_host.name + ":" + std::to_string(m_host.port); }
    /// A result code with the server's or library's own words.
    PlatformError error(int code) const;

    DirectoryQuery::Port port = DirectoryQuery::Port::GlobalCatalog;
    Clock::time_point lastUsed = Clock::now();
    bool reused = false;

private:
    LDAP* m_handle;
    LdapHost m_host;
};

using LdapConnectionPtr = std::shared_ptr<LdapConnection>;

/// Connects to the first host that answers and binds. It blocks, at most for some seconds a host
/// and as long as the DNS and the Kerberos server take. Throws PlatformError.
LdapConnectionPtr OpenLdap(const LdapSettings& settings, DirectoryQuery::Port port);

} // namespace kr
