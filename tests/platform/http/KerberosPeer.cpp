#include "tests/platform/http/KerberosPeer.h"

#include <cstdlib>

#include "tests/support/Loopback.h"

namespace kr {

std::string KerberosPeer::apache() const {
    const std::string& folder = m_folder.path();
    std::string text = "ServerRoot " + folder +
                       "\nServerName localhost\nListen 127.0.0.1:" + std::to_string(m_webPort) +
                       "\nPidFile " + folder + "/apache.pid\nErrorLog " + folder +
                       "/error.log\nMutex file:" + folder + "\nDefaultRuntimeDir " + folder + "\n";
    for (const char* name : {"mpm_event", "authn_core", "authz_core", "authz_user", "auth_gssapi"})
        text += "LoadModule " + std::string(name) + "_module /usr/lib/apache2/modules/mod_" + name +
                ".so\n";
    return text + "LogFormat \"%>s %u\" who\nCustomLog " + folder +
           "/access.log who\nDocumentRoot " + folder +
           "/www\n<Location />\nAuthType GSSAPI\nAuthName inside\nGssapiAllowedMech krb5\n"
           "Require valid-user\n</Location>\n";
}

KerberosPeer::KerberosPeer() : m_webPort(FreePort()) {
    setenv("KRB5_KTNAME", ("FILE:" + m_realm.keytab()).c_str(), 1);
    m_folder.Write("www/page", "only for people of the realm");
    const std::string configuration = m_folder.Write("apache.conf", apache());
    m_web = std::make_unique<SideProgram>(
        PeerWords({"apache2", "-DFOREGROUND", "-f", configuration}), SIGTERM);
    m_ready = m_realm.ready() && WaitForPort(m_webPort);
}

KerberosPeer::~KerberosPeer() { unsetenv("KRB5_KTNAME"); }

bool KerberosPeer::MoveKeyServer(int port) const {
    ForgetTickets();
    const bool fresh = m_realm.Ticket();
    m_realm.MoveKeyServer(port);
    return fresh;
}

} // namespace kr
