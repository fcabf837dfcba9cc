#include "platform/directory/ldap/LdapSettings.h"

#include <ldap.h>
#include <netdb.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include "core/Text.h"
#include "platform/directory/ldap/LdapError.h"

namespace kr {

namespace {

constexpr std::string_view kKey = R"(Software\zandrel\zandrelAgent\Directory)";
constexpr const char* kSystemBundle = "/etc/ssl/certs/ca-certificates.crt";

// by TLS from the first byte or not, controller and catalog
constexpr int kPorts[2][2] = {{389, 3268}, {636, 3269}};

std::string text(Registry& registry, std::string_view name) {
    const auto value = registry.Read(Hive::LocalMachine, kKey, name);
    if (!value)
        return {};
    return value->type == RegType::Dword ? std::to_string(value->number) : Trim(value->text);
}

[[noreturn]] void refuse(const std::string& what) {
    throw PlatformError(LdapError(LDAP_PARAM_ERROR).number(),
                        what + " (registry key HKEY_LOCAL_MACHINE\\" + std::string(kKey) + ")",
                        "Directory");
}

/// Index of the value among the names, `fallback` when it is absent.
template <size_t N>
size_t choice(Registry& registry, std::string_view name, const std::array<const char*, N>& names,
              size_t fallback) {
    const std::string value = text(registry, name);
    if (value.empty())
        return fallback;
    for (size_t i = 0; i < N; ++i)
        if (EqualNoCase(value, names[i]))
            return i;
    refuse("The directory setting " + std::string(name) + " has the unknown value \"" + value +
           "\"");
}

int port(Registry& registry, std::string_view name, int fallback) {
    const std::string value = text(registry, name);
    if (value.empty())
        return fallback;
    const long number = std::strtol(value.c_str(), nullptr, 10);
    if (number < 1 || number > 65535)
        refuse("The directory setting " + std::string(name) + " is no port");
    return static_cast<int>(number);
}

std::string hostDomain() {
    std::array<char, 256> host{};
    gethostname(host.data(), host.size() - 1);
    std::string name = host.data();
    addrinfo hints{};
    hints.ai_flags = AI_CANONNAME;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (name.find('.') == std::string::npos &&
        getaddrinfo(name.c_str(), nullptr, &hints, &found) == 0 && found != nullptr) {
        if (found->ai_canonname != nullptr)
            name = found->ai_canonname;
        freeaddrinfo(found);
    }
    const size_t dot = name.find('.');
    return dot == std::string::npos ? std::string() : ToLower(name.substr(dot + 1));
}

std::string ownDomain() {
    const char* configured = std::getenv("KRB5_CONFIG");
    for (const auto& path :
         SplitNonEmpty(configured != nullptr ? configured : "/etc/krb5.conf", ":"))
        if (std::string realm = DefaultRealm(path); !realm.empty())
            return realm;
    return hostDomain();
}

} // namespace

LdapSettings LdapSettings::Read(Registry& registry) {
    LdapSettings settings;
    settings.server = text(registry, "Server");
    settings.account = text(registry, "Account");
    // a password may begin or end with a blank
    if (const auto value = registry.Read(Hive::LocalMachine, kKey, "Password"))
        settings.password = value->text;
    const auto mechanism = settings.account.empty() ? Mechanism::Gssapi : Mechanism::Simple;
    settings.mechanism = static_cast<Mechanism>(
        choice(registry, "Mechanism", std::array{"simple", "gssapi", "none"}, size_t(mechanism)));
    const auto tls = settings.mechanism == Mechanism::Simple ? Tls::StartTls : Tls::None;
    settings.tls = static_cast<Tls>(
        choice(registry, "TLS", std::array{"none", "starttls", "ldaps"}, size_t(tls)));
    const auto& ports = kPorts[settings.tls == Tls::Ldaps ? 1 : 0];
    settings.port = ::kr::port(registry, "Port", ports[0]);
    settings.catalogPort = ::kr::port(registry, "GCPort", ports[1]);
    settings.caFile = text(registry, "CAFile");
    if (settings.caFile.empty())
        settings.caFile = kSystemBundle;
    return settings;
}

std::vector<LdapHost> ParseHostList(std::string_view list, LdapSettings::Tls tls) {
    std::vector<LdapHost> hosts;
    for (const auto& entry : SplitNonEmpty(list, " ")) {
        const size_t colon = entry.rfind(':');
        LdapHost host{entry.substr(0, colon), kPorts[0][0]};
        if (colon != std::string::npos)
            host.port = std::atoi(entry.c_str() + colon + 1);
        // the DNS announces the ports without TLS alone
        if (tls == LdapSettings::Tls::Ldaps)
            for (size_t i = 0; i < 2; ++i)
                if (host.port == kPorts[0][i]) {
                    host.port = kPorts[1][i];
                    break;
                }
        hosts.push_back(std::move(host));
    }
    return hosts;
}

std::string DefaultRealm(const std::string& path) {
    std::ifstream file(path);
    bool inDefaults = false;
    for (std::string line; std::getline(file, line);) {
        const std::string entry = Trim(line);
        if (!entry.empty() && entry.front() == '[')
            inDefaults = EqualNoCase(entry, "[libdefaults]");
        const size_t equals = entry.find('=');
        if (inDefaults && equals != std::string::npos &&
            Trim(entry.substr(0, equals)) == "default_realm")
            return ToLower(Trim(entry.substr(equals + 1)));
    }
    return {};
}

std::vector<LdapHost> FindHosts(const LdapSettings& settings, DirectoryQuery::Port port) {
    const bool catalog = port == DirectoryQuery::Port::GlobalCatalog;
    if (!settings.server.empty())
        return {{settings.server, catalog ? settings.catalogPort : settings.port}};
    const std::string domain = ownDomain();
    if (domain.empty())
        refuse("No directory server is set, and this computer belongs to no domain");
    const std::string asked = (catalog ? "gc._msdcs." : "dc._msdcs.") + domain;
    char* list = nullptr;
    const int result = ldap_domain2hostlist(asked.c_str(), &list);
    const std::string found = list != nullptr ? list : "";
    ldap_memfree(list);
    if (result != LDAP_SUCCESS || found.empty())
        throw LdapError(LDAP_SERVER_DOWN, "no server of the domain " + domain + " in the DNS");
    return ParseHostList(found, settings.tls);
}

} // namespace kr
