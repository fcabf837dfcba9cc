#include "tests/platform/http/KerberosPeer.h"

#include <cstdlib>
#include <filesystem>

#include "tests/support/Loopback.h"

namespace kr {

void KerberosPeer::writeRealm(int port) const {
    m_folder.Write("krb5.conf",
                   "[libdefaults]\ndefault_realm = EXAMPLE.TEST\ndns_lookup_kdc = false\n"
                   "dns_lookup_realm = false\nrdns = false\ndns_canonicalize_hostname = false\n"
                   "udp_preference_limit = 1\n[realms]\nEXAMPLE.TEST = {\n kdc = 127.0.0.1:" +
                       std::to_string(port) + "\n}\n[domain_realm]\nlocalhost = EXAMPLE.TEST\n");
}

bool KerberosPeer::makeRealm() {
    const std::string& folder = m_folder.path();
    const std::string at = "127.0.0.1:" + std::to_string(m_keyPort);
    writeRealm(m_keyPort);
    m_folder.Write("kdc.conf", "[kdcdefaults]\nkdc_listen = " + at + "\nkdc_tcp_listen = " + at +
                                   "\n[realms]\nEXAMPLE.TEST = {\n database_name = " + folder +
                                   "/principal\n key_stash_file = " + folder +
                                   "/stash\n}\n[logging]\nkdc = FILE:" + folder + "/kdc.log\n");
    setenv("KRB5_CONFIG", (folder + "/krb5.conf").c_str(), 1);
    setenv("KRB5_KDC_PROFILE", (folder + "/kdc.conf").c_str(), 1);
    setenv("KRB5CCNAME", ("FILE:" + folder + "/tickets").c_str(), 1);
    setenv("KRB5_KTNAME", ("FILE:" + folder + "/keytab").c_str(), 1);
    const std::string admin = "/usr/sbin/kadmin.local -q ";
    return RunPeer(m_folder, "/usr/sbin/kdb5_util create -s -P master") &&
           RunPeer(m_folder, admin + "'addprinc -pw secret alice'") &&
           RunPeer(m_folder, admin + "'addprinc -randkey HTTP/localhost'") &&
           RunPeer(m_folder, admin + "'ktadd -k keytab HTTP/localhost'");
}

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

bool KerberosPeer::ticket() const { return RunPeer(m_folder, "sh -c 'echo secret | kinit alice'"); }

KerberosPeer::KerberosPeer() : m_keyPort(FreePort()), m_webPort(FreePort()) {
    if (!makeRealm())
        return;
    m_folder.Write("www/page", "only for people of the realm");
    const std::string configuration = m_folder.Write("apache.conf", apache());
    m_keys = std::make_unique<SideProgram>(PeerWords({"krb5kdc", "-n"}));
    m_web = std::make_unique<SideProgram>(
        PeerWords({"apache2", "-DFOREGROUND", "-f", configuration}), SIGTERM);
    m_ready = WaitForPort(m_keyPort) && WaitForPort(m_webPort) && ticket();
}

KerberosPeer::~KerberosPeer() {
    for (const char* name : {"KRB5_CONFIG", "KRB5_KDC_PROFILE", "KRB5CCNAME", "KRB5_KTNAME"})
        unsetenv(name);
}

void KerberosPeer::ForgetTickets() const { std::filesystem::remove(m_folder.path() + "/tickets"); }

bool KerberosPeer::MoveKeyServer(int port) const {
    ForgetTickets();
    const bool fresh = ticket();
    writeRealm(port);
    return fresh;
}

} // namespace kr
