#include "platform/directory/ldap/LdapConnection.h"

#include <optional>

#include "core/Text.h"
#include "platform/directory/ldap/LdapError.h"

namespace kr {

namespace {

// for one connect or TLS handshake, and for one answer while binding
constexpr timeval kNetworkTimeout{5, 0};
constexpr timeval kAnswerTimeout{5, 0};
constexpr size_t kMostHosts = 5;

std::string diagnostic(LDAP* handle) {
    char* text = nullptr;
    ldap_get_option(handle, LDAP_OPT_DIAGNOSTIC_MESSAGE, &text);
    std::string result = text != nullptr ? text : "";
    ldap_memfree(text);
    return result;
}

PlatformError failure(LDAP* handle, const LdapHost& host, int code) {
    const std::string words = diagnostic(handle);
    return LdapError(code, host.name + ":" + std::to_string(host.port) +
                               (words.empty() ? "" : ": " + words));
}

void setNumber(LDAP* handle, int option, int value) { ldap_set_option(handle, option, &value); }

void setTls(LDAP* handle, const LdapSettings& settings) {
    ldap_set_option(handle, LDAP_OPT_X_TLS_CACERTFILE, settings.caFile.c_str());
    setNumber(handle, LDAP_OPT_X_TLS_REQUIRE_CERT, LDAP_OPT_X_TLS_DEMAND);
    setNumber(handle, LDAP_OPT_X_TLS_PROTOCOL_MIN, LDAP_OPT_X_TLS_PROTOCOL_TLS1_2);
    // the settings above count for contexts made after them
    setNumber(handle, LDAP_OPT_X_TLS_NEWCTX, 0);
}

void setOptions(LDAP* handle) {
    setNumber(handle, LDAP_OPT_PROTOCOL_VERSION, LDAP_VERSION3);
    ldap_set_option(handle, LDAP_OPT_REFERRALS, LDAP_OPT_OFF);
    ldap_set_option(handle, LDAP_OPT_NETWORK_TIMEOUT, &kNetworkTimeout);
    ldap_set_option(handle, LDAP_OPT_TIMEOUT, &kAnswerTimeout);
    // without it a peer that falls silent in the midst of a message or handshake holds its reader
    ldap_set_option(handle, LDAP_OPT_CONNECT_ASYNC, LDAP_OPT_ON);
    // the ticket must be for the name that we were given, not for what the DNS makes of it
    ldap_set_option(handle, LDAP_OPT_X_SASL_NOCANON, LDAP_OPT_ON);
}

bool isLoopback(const std::string& host) {
    return host == "localhost" || host == "::1" || host.starts_with("127.");
}

int bindSimple(LDAP* handle, const LdapSettings& settings, const LdapHost& host) {
    // a name with an empty password would count as anonymous
    if (settings.account.empty() || settings.password.empty())
        throw LdapError(LDAP_INVALID_CREDENTIALS, "account or password is not set");
    if (settings.tls == LdapSettings::Tls::None && !isLoopback(host.name))
        throw LdapError(LDAP_STRONG_AUTH_REQUIRED, "a password is sent over TLS only");
    berval password{};
    password.bv_val = const_cast<char*>(settings.password.data());
    password.bv_len = settings.password.size();
    return ldap_sasl_bind_s(handle, settings.account.c_str(), LDAP_SASL_SIMPLE, &password, nullptr,
                            nullptr, nullptr);
}

/// Mechanisms may ask for an identity to act as; Kerberos knows all it needs from the ticket.
int leavePrompts(LDAP*, unsigned, void*, void*) { return LDAP_SUCCESS; }

int bindKerberos(LDAP* handle, const LdapSettings& settings) {
    // Active Directory refuses a second layer of sealing below TLS; without TLS there must be one
    const bool plain = settings.tls == LdapSettings::Tls::None;
    ldap_set_option(handle, LDAP_OPT_X_SASL_SECPROPS, plain ? "minssf=1" : "maxssf=0");
    return ldap_sasl_interactive_bind_s(handle, nullptr, "GSS-SPNEGO GSSAPI", nullptr, nullptr,
                                        LDAP_SASL_QUIET, leavePrompts, nullptr);
}

int bind(LDAP* handle, const LdapSettings& settings, const LdapHost& host) {
    switch (settings.mechanism) {
    case LdapSettings::Mechanism::Simple:
        return bindSimple(handle, settings, host);
    case LdapSettings::Mechanism::Gssapi:
        return bindKerberos(handle, settings);
    case LdapSettings::Mechanism::None:
        break;
    }
    berval nobody{};
    return ldap_sasl_bind_s(handle, "", LDAP_SASL_SIMPLE, &nobody, nullptr, nullptr, nullptr);
}

LdapConnectionPtr openHost(const LdapSettings& settings, const LdapHost& host) {
    const std::string name =
        host.name.find(':') == std::string::npos ? host.name : "[" + host.name + "]";
    const std::string uri = (settings.tls == LdapSettings::Tls::Ldaps ? "ldaps://" : "ldap://") +
                            name + ":" + std::to_string(host.port);
    LDAP* handle = nullptr;
    const int made = ldap_initialize(&handle, uri.c_str());
    if (made != LDAP_SUCCESS)
        throw LdapError(made, uri);
    auto connection = std::make_shared<LdapConnection>(handle, host);
    setOptions(handle);
    int result = LDAP_SUCCESS;
    if (settings.tls != LdapSettings::Tls::None)
        setTls(handle, settings);
    if (settings.tls == LdapSettings::Tls::StartTls)
        result = ldap_start_tls_s(handle, nullptr, nullptr);
    if (result == LDAP_SUCCESS)
        result = bind(handle, settings, host);
    if (result != LDAP_SUCCESS)
        throw failure(handle, host, result);
    return connection;
}

} // namespace

LdapConnection::~LdapConnection() { ldap_unbind_ext_s(m_handle, nullptr, nullptr); }

int LdapConnection::fd() const {
    int fd = -1;
    ldap_get_option(m_handle, LDAP_OPT_DESC, &fd);
    return fd;
}

PlatformError LdapConnection::error(int code) const { return failure(m_handle, m_host, code); }

LdapConnectionPtr OpenLdap(const LdapSettings& settings, DirectoryQuery::Port port) {
    auto hosts = FindHosts(settings, port);
    if (hosts.size() > kMostHosts)
        hosts.resize(kMostHosts);
    std::optional<PlatformError> last;
    for (const LdapHost& host : hosts) {
        try {
            auto connection = openHost(settings, host);
            connection->port = port;
            return connection;
        } catch (const PlatformError& error) {
            last = error;
        }
    }
    throw last.value_or(LdapError(LDAP_SERVER_DOWN));
}

} // namespace kr
