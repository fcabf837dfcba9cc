#pragma once

namespace kr {

struct AgentSession;
class ListModel;

/// The two generic exports of a list, in the order shown and without its hidden columns. Each asks
/// for a file, writes it and offers to show it. False when nothing was chosen or saved; a failure
/// has been told and logged.

/// Titles and cells between commas, a line each; a comma within one is left out.
bool ExportCSV(AgentSession& session, const ListModel& list);
/// `<rows>` with a `<row>` for each item, and in it an element for each column.
bool ExportXML(AgentSession& session, const ListModel& list);

} // namespace kr
