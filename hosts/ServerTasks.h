#pragma once

#include <string>
#include <vector>

#include "core/AgentSession.h"
#include "core/ListModel.h"

/// What frmTasks shows of a server.
namespace kr {

/// The rows of the jobs that are switched on: task, last run, next run in local time.
std::vector<ListRow> TaskRows(RDOMessage& host, const Clock& clock);
/// Brings the rows into the list: new ones are added, cells written where their text differs.
/// Deliberately the row of a job that was switched off meanwhile stays.
void ShowTaskRows(ListModel& list, std::vector<ListRow> rows);

/// The task that runs now, as lblCurrent and cmdAbort show it.
struct TaskState {
    std::string task; // "" when none runs
    std::string label;
    std::string abort;
};
TaskState CurrentTaskState(RDOMessage& host);

} // namespace kr
