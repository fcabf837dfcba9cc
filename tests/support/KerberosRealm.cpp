#include "tests/support/KerberosRealm.h"

#include <sys/stat.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>
#include <utility>

#include "tests/support/Loopback.h"

namespace kr {

namespace {

constexpr int kTurns = 100;
constexpr auto kTurn = std::chrono::milliseconds(50);
constexpr const char* kVariables[] = {"KRB5_CONFIG", "KRB5_KDC_PROFILE", "KRB5CCNAME"};

std::string newFolder() {
    std::string path = (std::filesystem::temp_directory_path() / "kr-realm-XXXXXX").string();
    if (!mkdtemp(path.data()))
        return {};
    chmod(path.c_str(), 0755); // servers of the realm run as users of their own
    return path;
}

} // namespace

bool KerberosRealm::run(const std::string& command) const {
    // the administrator's programs are not on everybody's path
    const std::string line = "cd '" + m_folder + "' && PATH=/usr/sbin:$PATH && " + command;
    return std::system(("(" + line + ") >>'" + m_folder + "/output' 2>&1").c_str()) == 0;
}

void KerberosRealm::writeRealm(int port) const {
    std::ofstream(m_folder + "/krb5.conf")
        << "[libdefaults]\ndefault_realm = EXAMPLE.TEST\ndns_lookup_kdc = false\n"
        << "dns_lookup_realm = false\nrdns = false\ndns_canonicalize_hostname = false\n"
        << "udp_preference_limit = 1\n[realms]\nEXAMPLE.TEST = {\n kdc = 127.0.0.1:" << port
        << "\n}\n[domain_realm]\n127.0.0.1 = EXAMPLE.TEST\nlocalhost = EXAMPLE.TEST\n";
}

bool KerberosRealm::makeKeys(const std::string& service) const {
    const std::string admin = "kadmin.local -q ";
    return run("kdb5_util create -s -P master") && run(admin + "'addprinc -pw secret alice'") &&
           run(admin + "'addprinc -randkey " + service + "'") &&
           run(admin + "'ktadd -k keytab " + service + "' && chmod 644 keytab");
}

KerberosRealm::KerberosRealm(const std::string& service)
    : m_folder(newFolder()), m_port(FreePort()) {
    const std::string at = "127.0.0.1:" + std::to_string(m_port);
    writeRealm(m_port);
    std::ofstream(m_folder + "/kdc.conf")
        << "[kdcdefaults]\nkdc_listen = " << at << "\nkdc_tcp_listen = " << at
        << "\n[realms]\nEXAMPLE.TEST = {\n database_name = " << m_folder
        << "/principal\n key_stash_file = " << m_folder << "/stash\n acl_file = " << m_folder
        << "/acl\n}\n[logging]\nkdc = FILE:" << m_folder << "/kdc.log\n";
    const std::string values[] = {m_folder + "/krb5.conf", m_folder + "/kdc.conf",
                                  "FILE:" + m_folder + "/tickets"};
    for (size_t i = 0; i < std::size(kVariables); ++i)
        setenv(kVariables[i], values[i].c_str(), 1);
    if (!makeKeys(service))
        return;
    m_server = std::make_unique<SideProgram>(
        std::vector<std::string>{"env", "PATH=/usr/sbin:/usr/bin", "krb5kdc", "-n"}, SIGTERM);
    for (int turn = 0; turn < kTurns && !m_ready; ++turn) {
        std::this_thread::sleep_for(kTurn); // until it listens
        m_ready = Ticket();
    }
}

KerberosRealm::~KerberosRealm() {
    m_server.reset();
    for (const char* name : kVariables)
        unsetenv(name);
    std::error_code ignored;
    std::filesystem::remove_all(m_folder, ignored);
}

std::string KerberosRealm::output() const {
    std::ifstream file(m_folder + "/output");
    return {std::istreambuf_iterator<char>(file), {}};
}

bool KerberosRealm::Ticket() const { return run("echo secret | kinit alice"); }

void KerberosRealm::ForgetTickets() const { std::filesystem::remove(m_folder + "/tickets"); }

void KerberosRealm::MoveKeyServer(int port) const { writeRealm(port); }

} // namespace kr
