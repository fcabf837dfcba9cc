#pragma once

#include <string>
#include <vector>

#include "platform/directory/Directory.h"
#include "platform/registry/Registry.h"

namespace kr {

/// How the directory is reached; see LdapDirectory.h for the registry's values.
struct LdapSettings {
    enum class Tls { None, StartTls, Ldaps };
    enum class Mechanism { Simple, Gssapi, None };

    std::string server; // "": ask the DNS
    int port = 0;
    int catalogPort = 0;
    Tls tls = Tls::None;
    std::string caFile;
    Mechanism mechanism = Mechanism::Gssapi;
    std::string account;
    std::string password;

    /// Throws PlatformError when a value makes no sense.
    static LdapSettings Read(Registry& registry);
};

struct LdapHost {
    std::string name;
    int port = 0;
    bool operator==(const LdapHost&) const = default;
};

/// The hosts to try in turn. Asks the DNS when no server is set, which may block for long.
std::vector<LdapHost> FindHosts(const LdapSettings& settings, DirectoryQuery::Port port);

/// "host:port host:port" as the DNS look-up gives it; ports moved to their TLS twins for ldaps.
std::vector<LdapHost> ParseHostList(std::string_view list, LdapSettings::Tls tls);

/// `default_realm` of a krb5.conf, in lower case; "" when it has none.
std::string DefaultRealm(const std::string& path);

} // namespace kr
