#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "contacts/ContactForms.h"
#include "core/AgentSession.h"
#include "core/ListModel.h"
#include "core/basCxnString.h"

/// Alternate contact data sources (ACDS): queries of databases whose rows are contacts. The agent
/// runs them; the console tests, counts and previews them.
namespace kr {

inline constexpr std::string_view kUniqueID = "UniqueID";

/// The field that a query's column of that name (in any case) fills: the store's contact property,
/// or the agent's name of the field. "" for a column that isn't imported.
std::string_view MapFieldName(std::string_view column, bool contactForm);

/// Opens the connection and says in a box and in the log what came of it.
bool TestConnection(AgentSession& session, const std::string& cxnString);

/// Number of rows of the query, which gets 10 seconds; 0 on any failure. `hasUniqueID` tells
/// whether the rows have that column.
int64_t GetAcdsCount(AgentSession& session, const std::string& cxnString, const std::string& query,
                     bool& hasUniqueID);

/// What a query gave, ready for a list: the columns under the names of the mapping.
struct QueryGrid {
    std::vector<ListColumn> columns;
    std::vector<ListRow> rows;
    std::string status;
};
/// Runs the query with a wait cursor; nothing when there is nothing to show, which the person has
/// been told unless string or query is missing.
std::optional<QueryGrid> RunQuery(AgentSession& session, const QueryToShow& query);

// The records view of one source

std::vector<ListColumn> AcdsColumns();
/// The rows of the source, ordered by DisplayName; under Quick Load the first of them.
struct AcdsRecords {
    std::vector<ListRow> rows;
    int64_t total = 0;
    /// Why there are none, as the status shows it.
    std::string failure;
};
AcdsRecords LoadAcdsRecords(AgentSession& session, std::string_view name,
                            const std::string& cxnString, const std::string& query);

} // namespace kr
