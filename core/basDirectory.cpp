#include "core/basDirectory.h"

#include <utility>

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

/// The redundant pair of parentheses is the directory client's own form.
std::string listFilterOf(std::string_view address) {
    return "((proxyAddresses=SMTP:" + EscapeFilterValue(address) + "))";
}

/// Binds to the forest's domain: the path is worth nothing when that fails.
std::string boundPath(AgentSession& session, Directory& directory, const std::string& root) {
    const std::string path = std::string(kCatalog) + root;
    DirectoryQuery domain = QueryOf({"<" + path + ">", "(objectClass=*)", "1.1", "base"});
    domain.pageSize = 0;
    return Trap(
        [&] {
            directory.Execute(domain, [](const DirectoryRow&) {});
            return path;
        },
        [&](const Trapped& error) {
            session.log("GetRootADsPath:error retrieving Domain object using " + path + ": " +
                        error.text());
        });
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

OpenedDirectory OpenDirectory(AgentSession& session, std::string_view rootAttribute,
                              const std::function<bool()>& stop) {
    OpenedDirectory result;
    bool done = false;
    const auto take = [&](const std::string& value, const PlatformError* error) {
        done = true;
        result.root = value;
        if (error != nullptr)
            result.problem = Trapped{error->number(), error->description()}.text();
    };
    Trap(
        [&] {
            result.connection = session.platform.directory.CreateConnection();
            result.connection->StartOpen(rootAttribute, take);
            while (!done && !(stop && stop())) {
                session.platform.events.Run(kSlice);
                session.ui().DoEvents();
            }
        },
        [&](const Trapped& error) { result.problem = error.text(); });
    // one that still opens would call back later
    if (!done || (result.connection && !result.connection->IsOpen()))
        result.connection.reset();
    if (!result.connection)
        result.root.clear();
    return result;
}

bool RunDirectoryQuery(AgentSession& session, Directory& directory, const QueryParts& query,
                       const DirectoryRowSink& onRow, const DirectoryStop& stop) {
    return TrapSilently([&] {
        bool succeeded = false;
        bool stopped = false;
        const auto take = [&](const DirectoryRow& row) {
            if (stopped)
                return;
            // a row that its receiver can't take is no reason to lose the rest
            TrapSilently([&] { onRow(row); });
            session.ui().DoEvents();
            stopped = stop && stop();
        };
        const auto search = directory.Start(QueryOf(query), take, [&](const PlatformError* error) {
            succeeded = error == nullptr;
        });
        if (!search)
            return false;
        struct Guard {
            DirectorySearch& search;
            ~Guard() { search.Cancel(); }
        };
        const Guard guard{*search};
        while (!search->Done() && !stopped) {
            session.platform.events.Run(kSlice);
            session.ui().DoEvents();
            stopped = stopped || (stop && stop());
        }
        return succeeded || stopped;
    });
}

bool ForestCatalog::open(const Stop& stop) {
    if (std::exchange(m_tried, true))
        return !m_root.empty();
    OpenedDirectory opened = OpenDirectory(m_session, "rootDomainNamingContext", stop);
    m_directory = std::move(opened.connection);
    if (!opened.root.empty())
        m_root = boundPath(m_session, *m_directory, opened.root);
    else if (!opened.problem.empty())
        m_session.log((m_directory ? "GetRootADsPath:error retrieving rootDomainNamingContext "
                                   : "GetRootADsPath:unable to create rootDSE object ") +
                      opened.problem);
    return !m_root.empty();
}

const std::string& ForestCatalog::RootADsPath() {
    open({});
    return m_root;
}

bool ForestCatalog::Run(const QueryParts& query, const OnRow& onRow, const Stop& stop) {
    return open(stop) && RunDirectoryQuery(m_session, *m_directory, query, onRow, stop);
}

bool ForestCatalog::readList(const std::string& listFilter, std::string_view attributes,
                             List& list) {
    return Run({"<" + RootADsPath() + ">", listFilter, std::string(attributes), "subTree"},
               [&](const DirectoryRow& row) {
                   if (!list.filter.empty())
                       return;
                   list.filter = row.First(kListFilter);
                   list.base = row.First(kListBase);
               });
}

bool ForestCatalog::IsQueryDL(std::string_view address) {
    List list;
    if (!address.empty())
        readList(listFilterOf(address), kListFilter, list);
    return !list.filter.empty();
}

bool ForestCatalog::RunQueryDL(std::string_view address, std::string_view attributes,
                               const OnRow& onRow, const Stop& stop) {
    return address.empty() || RunListOf(listFilterOf(address), attributes, onRow, stop);
}

bool ForestCatalog::RunListOf(const std::string& listFilter, std::string_view attributes,
                              const OnRow& onRow, const Stop& stop) {
    List list;
    if (!readList(listFilter, std::string(kListFilter) + "," + std::string(kListBase), list))
        return false;
    if (list.filter.empty())
        return true;
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
