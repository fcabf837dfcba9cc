#include "contacts/basADSI.h"

#include <algorithm>
#include <array>

#include "core/Text.h"

namespace kr {

namespace {

constexpr std::string_view kLdap = "LDAP://";
constexpr std::array<std::string_view, 3> kPrefixes = {"CN=", "DC=", "OU="};
/// Containers in which nobody keeps lists.
constexpr std::array<std::string_view, 6> kLeftOut = {"System",
                                                      "Program Data",
                                                      "ForeignSecurityPrincipals",
                                                      "Microsoft Exchange System Objects",
                                                      "Computers",
                                                      "MOMLatencyMonitors"};

int digitOf(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

/// Reads one value of a distinguished name from `at` to its end or the next separator, with the
/// escapes of RFC 4514 resolved.
std::string readPart(std::string_view dn, size_t& at) {
    std::string part;
    for (; at < dn.size() && dn[at] != ','; ++at) {
        if (dn[at] != '\\' || at + 1 >= dn.size()) {
            part += dn[at];
            continue;
        }
        const int high = digitOf(dn[at + 1]);
        const int low = at + 2 < dn.size() ? digitOf(dn[at + 2]) : -1;
        if (high >= 0 && low >= 0) {
            part += static_cast<char>(high * 16 + low);
            at += 2;
        } else {
            part += dn[++at];
        }
    }
    ++at;
    return part;
}

std::string bare(std::string part) {
    for (const std::string_view prefix : kPrefixes)
        if (StartsWithNoCase(part, prefix))
            return part.substr(prefix.size());
    return part;
}

/// The name of the container itself, the first part of its path.
std::string firstName(std::string_view dn) {
    size_t at = 0;
    return bare(readPart(dn, at));
}

bool leftOut(std::string_view name) {
    return std::ranges::any_of(kLeftOut,
                               [&](std::string_view one) { return EqualNoCase(one, name); });
}

} // namespace

std::string ContainerName(std::string_view dn) {
    std::string name;
    for (size_t at = 0; at < dn.size();)
        name.append(name.empty() ? "" : ".").append(bare(readPart(dn, at)));
    return name;
}

std::optional<ADContainer> ContainerBrowser::Root(const DirectoryStop& stop) {
    const WaitCursor wait(m_session.ui());
    OpenedDirectory opened = OpenDirectory(m_session, "defaultNamingContext", stop);
    if (!opened.problem.empty())
        m_session.log("frmADSI:" + opened.problem);
    m_directory = std::move(opened.connection);
    if (opened.root.empty())
        return std::nullopt;
    return ADContainer{std::string(kLdap) + opened.root, ContainerName(opened.root)};
}

std::optional<std::vector<ADContainer>> ContainerBrowser::Children(const std::string& path,
                                                                   const DirectoryStop& stop) {
    if (!m_directory)
        return std::nullopt;
    const WaitCursor wait(m_session.ui());
    std::vector<ADContainer> children;
    const bool read = RunDirectoryQuery(
        m_session, *m_directory,
        {"<" + path + ">", "(|(objectClass=container)(objectClass=organizationalUnit))", "AdsPath",
         "onelevel"},
        [&](const DirectoryRow& row) {
            const std::string dn = row.DN();
            if (std::string name = firstName(dn); !dn.empty() && !leftOut(name))
                children.push_back({std::string(kLdap) + dn, std::move(name)});
        },
        stop);
    if (!read && children.empty())
        return std::nullopt;
    std::ranges::stable_sort(children, [](const ADContainer& a, const ADContainer& b) {
        return CompareNoCase(a.name, b.name) < 0;
    });
    return children;
}

} // namespace kr
