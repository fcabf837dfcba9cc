#include "platform/database/ConnectionString.h"

#include <algorithm>

#include "core/Text.h"

namespace kr {

namespace {

bool isYes(std::string_view value) {
    return EqualNoCase(value, "yes") || EqualNoCase(value, "true") || EqualNoCase(value, "sspi") ||
           value == "1" || value == "-1";
}

/// Reads one value from `at`, which is moved behind its ";".
std::string readValue(std::string_view text, size_t& at) {
    while (at < text.size() && (text[at] == ' ' || text[at] == '\t'))
        ++at;
    std::string value;
    if (at < text.size() && (text[at] == '"' || text[at] == '\'')) {
        const char quote = text[at++];
        while (at < text.size()) {
            if (text[at] == quote) {
                if (at + 1 >= text.size() || text[at + 1] != quote)
                    break;
                ++at;
            }
            value += text[at++];
        }
        at = std::min(text.find(';', at), text.size());
    } else {
        const size_t end = std::min(text.find(';', at), text.size());
        value = Trim(text.substr(at, end - at));
        at = end;
    }
    if (at < text.size())
        ++at;
    return value;
}

/// A value as ODBC takes it: in braces when it holds ";" or begins with "{". FreeTDS doesn't undo a
/// doubled "}", so ";" together with "}" can't be passed.
std::string odbcValue(std::string_view value) {
    if (value.find(';') == std::string_view::npos && !value.starts_with('{'))
        return std::string(value);
    return "{" + std::string(value) + "}";
}

void add(std::string& out, std::string_view key, std::string_view value) {
    if (!value.empty())
        out += std::string(key) + "=" + odbcValue(value) + ";";
}

std::string serverOf(std::string source) {
    if (StartsWithNoCase(source, "tcp:"))
        source = source.substr(4);
    if (source == "." || EqualNoCase(source, "(local)") || EqualNoCase(source, "(localdb)"))
        return "127.0.0.1";
    return source;
}

DbTarget sqlServer(const ConnectionString& s) {
    DbTarget target;
    target.kind = DbTarget::Odbc;
    target.freeTds = true;
    const std::string server = serverOf(s.Get("data source"));
    std::string out = "Driver={FreeTDS};";
    const size_t comma = server.find(',');
    const bool named = server.find('\\') != std::string::npos;
    add(out, "Server", Trim(server.substr(0, comma)));
    if (comma != std::string::npos)
        add(out, "Port", Trim(server.substr(comma + 1)));
    else if (!named)
        add(out, "Port", "1433");
    add(out, "Database", s.Get("initial catalog"));
    if (isYes(s.Get("integrated security")))
        add(out, "Trusted_Connection", "yes");
    else {
        add(out, "UID", s.Get("user id"));
        add(out, "PWD", s.Get("password"));
    }
    // pinned: with "auto" the login time-out isn't obeyed by a server that stays silent
    out += "TDS_Version=7.4;ClientCharset=UTF-8;APP=KR-Admin;";
    target.odbc = out;
    return target;
}

DbTarget file(const ConnectionString& s) {
    DbTarget target;
    target.path = s.Get("data source");
    target.kind = DbTarget::Access;
    const std::string extended = s.Get("extended properties");
    for (const std::string& part : SplitNonEmpty(extended, ";")) {
        if (StartsWithNoCase(part, "excel"))
            target.kind = DbTarget::Excel;
        else if (EqualNoCase(part, "text"))
            target.kind = DbTarget::TextFolder;
        else if (StartsWithNoCase(part, "hdr="))
            target.header = !EqualNoCase(Trim(std::string_view(part).substr(4)), "no");
        else if (StartsWithNoCase(part, "fmt="))
            target.format = Trim(std::string_view(part).substr(4));
    }
    return target;
}

DbTarget oracle(const ConnectionString& s, std::string_view driver) {
    DbTarget target;
    if (driver.empty())
        return target;
    target.kind = DbTarget::Odbc;
    std::string out = "Driver={" + std::string(driver) + "};";
    const std::string source = s.Get("data source");
    const bool bare =
        source.find('/') == std::string::npos && source.find(':') == std::string::npos;
    add(out, "DBQ", bare || source.starts_with("//") ? source : "//" + source);
    add(out, "UID", s.Get("user id"));
    add(out, "PWD", s.Get("password"));
    target.odbc = out;
    return target;
}

/// MSDASQL, or no provider at all: the other keys are ODBC's own.
DbTarget plainOdbc(const ConnectionString& s) {
    DbTarget target;
    target.kind = DbTarget::Odbc;
    for (const auto& [key, value] : s.Parts()) {
        if (EqualNoCase(key, "provider"))
            continue;
        if (EqualNoCase(key, "driver") && !value.starts_with('{'))
            target.odbc += "Driver={" + value + "};";
        else if (EqualNoCase(key, "driver"))
            target.odbc += "Driver=" + value + ";";
        else
            add(target.odbc, EqualNoCase(key, "data source") ? "DSN" : key, value);
    }
    return target;
}

} // namespace

ConnectionString::ConnectionString(std::string_view text) {
    for (size_t at = 0; at < text.size();) {
        const size_t equals = text.find('=', at);
        const size_t semicolon = text.find(';', at);
        if (semicolon < equals) { // an empty part, or a word without a value
            at = semicolon + 1;
            continue;
        }
        if (equals == std::string_view::npos)
            return;
        const std::string key = Trim(text.substr(at, equals - at));
        at = equals + 1;
        std::string value = readValue(text, at);
        std::erase_if(m_parts, [&](const auto& part) { return EqualNoCase(part.first, key); });
        m_parts.emplace_back(key, std::move(value));
    }
}

std::string ConnectionString::Get(std::string_view key) const {
    for (const auto& [name, value] : m_parts)
        if (EqualNoCase(name, key))
            return value;
    return {};
}

bool ConnectionString::Has(std::string_view key) const {
    return std::ranges::any_of(m_parts,
                               [&](const auto& part) { return EqualNoCase(part.first, key); });
}

DbTarget ResolveConnection(std::string_view connectionString, std::string_view oracleDriver) {
    const ConnectionString s(connectionString);
    const std::string provider = ToLower(s.Get("provider"));
    if (provider.empty() || provider.starts_with("msdasql"))
        return plainOdbc(s);
    if (provider.starts_with("sqloledb") || provider.starts_with("sqlncli") ||
        provider.starts_with("msoledbsql"))
        return sqlServer(s);
    if (provider == "microsoft.jet.oledb.4.0" || provider.starts_with("microsoft.ace.oledb."))
        return file(s);
    if (provider.starts_with("msdaora") || provider.starts_with("oraoledb"))
        return oracle(s, oracleDriver);
    return {};
}

} // namespace kr
