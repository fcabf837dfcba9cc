#include "console/DirectoryLookup.h"

#include <functional>
#include <utility>

#include "core/Text.h"

namespace kr {

namespace {

constexpr std::string_view kExchange = "EX:";
constexpr std::string_view kSmtp = "SMTP:";

/// What "/cn=EX1" names at the end of "/o=Ex/ou=AG/cn=Configuration/cn=Servers/cn=EX1".
std::string lastCommonName(std::string_view path) {
    constexpr std::string_view mark = "/cn=";
    std::string_view rest = path;
    for (size_t at = FindNoCase(rest, mark); at != std::string_view::npos;
         at = FindNoCase(rest, mark))
        rest = rest.substr(at + mark.size());
    return rest.size() == path.size() ? std::string() : std::string(rest);
}

/// The primary address is told by its prefix in capitals.
std::string primaryAddress(const DirectoryRow& row) {
    for (const auto& address : row.Values("proxyAddresses"))
        if (address.starts_with(kSmtp))
            return address.substr(kSmtp.size());
    return row.First("mail");
}

std::string adminFilter(std::string_view address) {
    if (StartsWithNoCase(address, kExchange))
        return "(legacyExchangeDN=" + EscapeFilterValue(address.substr(kExchange.size())) + ")";
    if (StartsWithNoCase(address, kSmtp))
        address.remove_prefix(kSmtp.size());
    if (address.find('@') != std::string_view::npos)
        return "(proxyAddresses=SMTP:" + EscapeFilterValue(address) + ")";
    return "(mailNickname=" + EscapeFilterValue(address) + ")";
}

/// A look-up in the whole forest by the steps that both share; `tag` is the procedure's name for
/// the log.
class Lookup {
public:
    Lookup(AgentSession& session, const char* tag)
        : m_session(session), m_tag("FirstRun::" + std::string(tag) + ":") {}

    /// Hands the first row to `take`. False after a failure, which is in the log; an answer without
    /// rows is a success.
    bool Run(const std::string& filter, const std::string& attributes,
             const std::function<void(const DirectoryRow&)>& take);

    bool found() const { return m_found; }
    /// The query in the form of the log.
    const std::string& text() const { return m_text; }

private:
    bool open();
    bool readRoot();
    void logError(const std::exception& error);

    AgentSession& m_session;
    std::string m_tag;
    std::unique_ptr<Directory> m_directory;
    std::string m_root;
    std::string m_text;
    bool m_found = false;
};

bool Lookup::open() {
    try {
        m_directory = m_session.platform.directory.CreateConnection();
        m_directory->Open();
        return true;
    } catch (const std::exception&) {
        m_session.log(m_tag + "failed to open AD connection");
        m_session.ui().MsgBox("Unable to open Active Directory connection!", BoxIcon::Stop);
        return false;
    }
}

bool Lookup::readRoot() {
    try {
        m_root = m_directory->RootDSE("rootDomainNamingContext");
        return true;
    } catch (const std::exception&) {
        m_session.log(m_tag + " failed to rootDSE ");
        return false;
    }
}

void Lookup::logError(const std::exception& error) {
    const auto* platform = dynamic_cast<const PlatformError*>(&error);
    const std::string number = platform != nullptr ? std::to_string(platform->number()) + " " : "";
    m_session.log(m_tag + " " + number + error.what());
}

bool Lookup::Run(const std::string& filter, const std::string& attributes,
                 const std::function<void(const DirectoryRow&)>& take) {
    const WaitCursor cursor(m_session.ui());
    if (!open() || !readRoot())
        return false;
    DirectoryQuery query;
    query.base = m_root;
    query.filter = filter;
    query.attributes = Split(attributes, ",");
    m_text = "<GC://" + m_root + ">;" + filter + ";" + attributes + ";subTree";
    try {
        m_directory->Execute(query, [&](const DirectoryRow& row) {
            if (!std::exchange(m_found, true))
                take(row);
        });
        return true;
    } catch (const std::exception& error) {
        logError(error);
        return m_found;
    }
}

} // namespace

std::optional<FoundUser> LookupUser(AgentSession& session, std::string_view name) {
    const std::string value = EscapeFilterValue(name);
    Lookup lookup(session, "LookupUser");
    FoundUser user;
    if (!lookup.Run("(|(sAMAccountName=" + value + ")(mailNickname=" + value + "))",
                    "name,mail,msExchHomeServerName,displayName,mailNickname,proxyAddresses",
                    [&](const DirectoryRow& row) {
                        user.alias = row.First("mailNickname");
                        user.server = lastCommonName(row.First("msExchHomeServerName"));
                        user.smtp = primaryAddress(row);
                    }))
        return std::nullopt;
    if (lookup.found())
        return user;
    session.log("FirstRun::LookupUser: EOF = True on query " + lookup.text());
    return std::nullopt;
}

std::optional<FoundAdmin> LookupAdmin(AgentSession& session, std::string_view address) {
    Lookup lookup(session, "LookupAdmin");
    FoundAdmin admin;
    if (!lookup.Run(adminFilter(address), "mail,givenName,sn,company,telephoneNumber",
                    [&](const DirectoryRow& row) {
                        admin = {row.First("mail"), row.First("givenName"), row.First("sn"),
                                 row.First("company"), row.First("telephoneNumber")};
                    }))
        return std::nullopt;
    if (lookup.found())
        return admin;
    session.log("LookupAdminAD: " + std::string(address) + " not found in Active Directory");
    return std::nullopt;
}

} // namespace kr
