#include "core/basDirectory.h"

#include "core/Text.h"
#include "core/Trap.h"

namespace kr {

namespace {

constexpr std::chrono::milliseconds kSlice(10);
constexpr std::string_view kCatalog = "GC://";
constexpr std::string_view kListFilter = "msExchDynamicDLFilter";
constexpr std::string_view kListBase = "msExchDynamicDLBaseDN";

DirectoryQuery::Scope scopeOf(std::string_view text) {
    if (EqualNoCase(text, "base"))
        return DirectoryQuery::Scope::Base;
    return EqualNoCase(text, "onelevel") ? DirectoryQuery::Scope::OneLevel
                                         : DirectoryQuery::Scope::SubTree;
}

/// The forest root's path by an open connection.
std::string rootPath(AgentSession& session, Directory& directory) {
    const auto failed = [&](const std::string& what) {
        return [&session, what](const Trapped& error) {
            session.log("GetRootADsPath:" + what + error.text());
        };
    };
    const std::string root = Trap([&] { return directory.RootDSE("rootDomainNamingContext"); },
                                  failed("error retrieving rootDomainNamingContext "));
    if (root.empty())
        return {};
    const std::string path = std::string(kCatalog) + root;
    DirectoryQuery domain = QueryOf({"<" + path + ">", "(objectClass=*)", "1.1", "base"});
    domain.pageSize = 0;
    return Trap(
        [&] {
            directory.Execute(domain, [](const DirectoryRow&) {});
            return path;
        },
        failed("error retrieving Domain object using " + path + ": "));
}

} // namespace

const std::string_view kMemberAttributes = "name,mail,objectCategory";

void SetQueryBase(QueryParts& query, std::string_view baseDN) {
    if (query.empty())
        return;
    const size_t slash = query.front().rfind('/');
    query.front().resize(slash == std::string::npos ? 0 : slash + 1);
    query.front().append(baseDN).append(">");
}

DirectoryQuery QueryOf(const QueryParts& query) {
    const auto part = [&](size_t n) { return n < query.size() ? query[n] : std::string(); };
    std::string path = part(0);
    if (path.starts_with('<'))
        path.erase(0, 1);
    if (path.ends_with('>'))
        path.pop_back();
    DirectoryQuery result;
    result.port = StartsWithNoCase(path, "LDAP:") ? DirectoryQuery::Port::Ldap
                                                  : DirectoryQuery::Port::GlobalCatalog;
    const size_t scheme = path.find("://");
    result.base = scheme == std::string::npos ? path : path.substr(scheme + 3);
    result.filter = part(1);
    result.attributes = SplitNonEmpty(part(2), ",");
    result.scope = scopeOf(part(3));
    return result;
}

DirectoryKind KindOf(const DirectoryRow& row) {
    const std::string category = row.First("objectCategory");
    if (ContainsNoCase(category, "CN=Person"))
        return DirectoryKind::Person;
    if (ContainsNoCase(category, "CN=Group,"))
        return DirectoryKind::Group;
    return ContainsNoCase(category, "CN=ms-Exch-Dynamic-Distribution-List,")
               ? DirectoryKind::QueryList
               : DirectoryKind::Other;
}

bool ForestCatalog::open() {
    if (m_tried)
        return !m_root.empty();
    m_tried = true;
    Trap(
        [&] {
            m_directory = m_session.platform.directory.CreateConnection();
            m_directory->Open();
        },
        [&](const Trapped& error) {
            m_session.log("GetRootADsPath:unable to create rootDSE object " + error.text());
            m_directory.reset();
        });
    if (m_directory)
        m_root = rootPath(m_session, *m_directory);
    return !m_root.empty();
}

const std::string& ForestCatalog::RootADsPath() {
    open();
    return m_root;
}

bool ForestCatalog::Run(const QueryParts& query, const OnRow& onRow, const Stop& stop) {
    if (!open())
        return false;
    return TrapSilently([&] {
        bool succeeded = false;
        bool stopped = false;
        const auto take = [&](const DirectoryRow& row) {
            if (stopped)
                return;
            // a row that its receiver can't take is no reason to lose the rest
            TrapSilently([&] { onRow(row); });
            m_session.ui().DoEvents();
            stopped = stop && stop();
        };
        const auto search =
            m_directory->Start(QueryOf(query), take,
                               [&](const PlatformError* error) { succeeded = error == nullptr; });
        while (!search->Done() && !stopped) {
            m_session.platform.events.Run(kSlice);
            m_session.ui().DoEvents();
            stopped = stopped || (stop && stop());
        }
        search->Cancel();
        return succeeded || stopped;
    });
}

ForestCatalog::List ForestCatalog::listOf(std::string_view address, std::string_view attributes) {
    List list;
    Run({"<" + RootADsPath() + ">",
         // the pair of redundant parentheses is what the directory's own client takes
         "((proxyAddresses=SMTP:" + EscapeFilterValue(address) + "))", std::string(attributes),
         "subTree"},
        [&](const DirectoryRow& row) {
            if (!list.filter.empty())
                return;
            list.filter = row.First(kListFilter);
            list.base = row.First(kListBase);
        });
    return list;
}

bool ForestCatalog::IsQueryDL(std::string_view address) {
    return !address.empty() && !listOf(address, kListFilter).filter.empty();
}

bool ForestCatalog::RunQueryDL(std::string_view address, std::string_view attributes,
                               const OnRow& onRow, const Stop& stop) {
    if (address.empty())
        return false;
    const List list = listOf(address, std::string(kListFilter) + "," + std::string(kListBase));
    if (list.filter.empty())
        return false;
    QueryParts query{"<" + m_root + ">", list.filter, std::string(attributes), "subTree"};
    if (!list.base.empty())
        SetQueryBase(query, list.base);
    return Run(query, onRow, stop);
}

std::string GetRootADsPath(AgentSession& session) { return ForestCatalog(session).RootADsPath(); }

bool IsQueryDL(AgentSession& session, std::string_view address) {
    return ForestCatalog(session).IsQueryDL(address);
}

void ExpandQueryDLUsers(AgentSession& session, std::string_view address, const PersonSink& add) {
    ForestCatalog(session).RunQueryDL(address, kMemberAttributes, [&](const DirectoryRow& row) {
        if (KindOf(row) == DirectoryKind::Person)
            add(row.First("name"), ToLower(row.First("mail")));
    });
}

} // namespace kr
