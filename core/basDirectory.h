#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/AgentSession.h"

/// The forest's global catalog, and the query-based distribution lists that it holds. Nothing here
/// raises, and no failure is shown: what can't be read counts as empty.
namespace kr {

/// The ADs path of the forest root, such as "GC://DC=example,DC=test"; "" with the reason logged.
std::string GetRootADsPath(AgentSession& session);

/// The parts of a query's text: "<path>", filter, attributes joined by ",", scope ("base",
/// "onelevel", else "subTree").
using QueryParts = std::vector<std::string>;
/// The first part with all that stands behind its last "/" replaced by another base.
void SetQueryBase(QueryParts& query, std::string_view baseDN);
/// The query of the directory seam: pages of 100, 30 seconds. Parts that are missing are empty.
DirectoryQuery QueryOf(const QueryParts& query);

/// What a row's objectCategory says, ignoring case.
enum class DirectoryKind { Other, Person, Group, QueryList };
DirectoryKind KindOf(const DirectoryRow& row);

struct OpenedDirectory {
    std::unique_ptr<Directory> connection; // nullptr when it can't be opened
    std::string root;                      // "" when the attribute can't be read
    std::string problem;                   // number and words of what failed
};
/// Opens a connection and reads that attribute of its rootDSE, while events run. `stop` ends the
/// waiting, which leaves all empty.
OpenedDirectory OpenDirectory(AgentSession& session, std::string_view rootAttribute,
                              const std::function<bool()>& stop = {});

using DirectoryRowSink = std::function<void(const DirectoryRow&)>;
/// Asked between rows; true ends the query, which counts as a success.
using DirectoryStop = std::function<bool()>;
/// Runs a query on an open connection to its end, with events between the rows. False when it
/// fails; the rows that came before count.
bool RunDirectoryQuery(AgentSession& session, Directory& directory, const QueryParts& query,
                       const DirectoryRowSink& onRow, const DirectoryStop& stop = {});

/// A connection that serves all queries of one walk. It opens at the first one; a directory that
/// fails to open isn't asked again, which could take its time-out every time.
class ForestCatalog {
public:
    using OnRow = DirectoryRowSink;
    using Stop = DirectoryStop;

    explicit ForestCatalog(AgentSession& session) : m_session(session) {}
    ForestCatalog(const ForestCatalog&) = delete;
    ForestCatalog& operator=(const ForestCatalog&) = delete;

    /// As GetRootADsPath.
    const std::string& RootADsPath();
    /// As RunDirectoryQuery.
    bool Run(const QueryParts& query, const OnRow& onRow, const Stop& stop = {});

    /// The filter of the query-based list of that address has text.
    bool IsQueryDL(std::string_view address);
    /// The rows that match the filter of the query-based list of that address, below its base.
    bool RunQueryDL(std::string_view address, std::string_view attributes, const OnRow& onRow,
                    const Stop& stop = {});
    /// The same of the list that a filter finds; one that isn't there has no rows.
    bool RunListOf(const std::string& listFilter, std::string_view attributes, const OnRow& onRow,
                   const Stop& stop = {});

private:
    struct List {
        std::string filter;
        std::string base;
    };
    bool readList(const std::string& listFilter, std::string_view attributes, List& list);
    bool open(const Stop& stop);

    AgentSession& m_session;
    std::unique_ptr<Directory> m_directory;
    std::string m_root;
    bool m_tried = false;
};

/// "name,mail,objectCategory"
extern const std::string_view kMemberAttributes;

bool IsQueryDL(AgentSession& session, std::string_view address);

/// Name and lowered address of the people of a query-based list. Lists in it are ignored; a person
/// without an address comes with "".
using PersonSink = std::function<void(const std::string& name, const std::string& address)>;
void ExpandQueryDLUsers(AgentSession& session, std::string_view address, const PersonSink& add);

} // namespace kr
