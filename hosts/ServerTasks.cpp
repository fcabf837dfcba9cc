#include "hosts/ServerTasks.h"

#include <optional>

#include "core/basDate.h"
#include "core/basStore.h"
#include "hosts/HostRules.h"
#include "hosts/basHosts.h"

namespace kr {

namespace {

struct TaskKeys {
    std::string_view text;
    std::string_view key;
    size_t job;
    std::string_view last;
};
constexpr TaskKeys kTasks[] = {
    {"BPE", "bpe", kPinJob, "LastPinHarvest"},
    {"EPS", "eps", kEPSJob, "LastClientUpdate"},
    {"SSU", "ssu", kSSUJob, "LastSSU"},
};

/// Day 367 of dates that count from 30 December 1899. Deliberately another test than that of the
/// properties, where dates before 2000 count as none.
constexpr Time kNoDateUpTo = std::chrono::sys_days{std::chrono::year{1901} / 1 / 1};

std::optional<Time> localDate(RDOMessage& host, std::string_view key, const Clock& clock) {
    const Value value = GetKey(host, key);
    const Time* utc = value.get<Time>();
    if (!utc || UTCToLocal(*utc, clock) <= kNoDateUpTo)
        return std::nullopt;
    return UTCToLocal(*utc, clock);
}

std::string shown(const std::optional<Time>& date, std::string_view none) {
    return date ? FormatShortDate(*date) + " " + FormatShortTime(*date) : std::string(none);
}

std::string nextRun(RDOMessage& host, const Job& job, const Clock& clock) {
    auto date = localDate(host, job.next, clock);
    if (date) {
        const std::string text = KeyText(host, job.interval);
        const Interval interval = ParseInterval(text.empty() ? job.initial : text);
        date = RollForward(*date, interval, UTCToLocal(clock.now(), clock), true);
    }
    return shown(date, "Not scheduled");
}

} // namespace

std::vector<ListRow> TaskRows(RDOMessage& host, const Clock& clock) {
    std::vector<ListRow> rows;
    for (const TaskKeys& keys : kTasks) {
        const Job& job = JobOf(keys.job);
        if (!KeyFlag(host, job.master))
            continue;
        ListRow row;
        row.key = keys.key;
        row.texts = {std::string(keys.text), shown(localDate(host, keys.last, clock), "Never"),
                     nextRun(host, job, clock)};
        rows.push_back(std::move(row));
    }
    return rows;
}

void ShowTaskRows(ListModel& list, std::vector<ListRow> rows) {
    for (ListRow& row : rows) {
        const size_t at = list.Find(row.key);
        if (at == ListModel::npos)
            list.Add(std::move(row));
        else if (list.At(at).texts != row.texts)
            list.Change(at, std::move(row));
    }
}

TaskState CurrentTaskState(RDOMessage& host) {
    TaskState state;
    state.task = GetCurrentTask(host);
    if (state.task.empty()) {
        state.label = "Current Task: None";
        state.abort = "Abort Task";
        return state;
    }
    std::string detail = " - " + KeyText(host, "CurrentSubTask") + "\n" + std::string(10, ' ') +
                         KeyText(host, "CurrentTarget");
    if (const int32_t percent = KeyNumber(host, "PercentComplete", 0); percent > 0)
        detail += " " + std::to_string(percent) + "% Complete";
    state.label = "Current Task: " + state.task + detail;
    state.abort = "Abort " + state.task;
    return state;
}

} // namespace kr
