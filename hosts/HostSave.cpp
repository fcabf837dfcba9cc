// HostEditor: writing the host message.
#include "core/Trap.h"
#include "core/basAgent.h"
#include "core/basDate.h"
#include "core/basStore.h"
#include "hosts/HostEditor.h"
#include "hosts/basHosts.h"

namespace kr {

namespace {

/// Of each job, its page.
constexpr HostTab kJobTabs[kJobs] = {HostTab::BPE, HostTab::EPS, HostTab::MCC, HostTab::SSU};

HostStop stopAt(size_t job) { return {true, kJobTabs[job], HostStop::Field::NextRun, job}; }

} // namespace

HostStop HostEditor::SaveHost(HostTab current) {
    if (!dirty)
        return {};
    HostStop stop;
    Trap([&] { stop = save(current); },
         [&](const Trapped& trapped) {
             stop = {true, std::nullopt, HostStop::Field::None, 0};
             m_session.log("SaveHost: " + trapped.text());
             m_session.ui().MsgBox("The server's settings can't be saved.\n" + trapped.description,
                                   BoxIcon::Stop);
         });
    return stop;
}

HostStop HostEditor::save(HostTab current) {
    if (epsLimited && m_intervals[kEPSLimit].empty() &&
        m_session.ui().MsgBox("The option is checked to only let EPS run for a specific time,\n"
                              "but no limit has been set.\n"
                              "Do you want to enter that now?",
                              BoxIcon::Question, BoxButtons::YesNo) == BoxAnswer::Yes)
        return {true, HostTab::EPS, HostStop::Field::EPSLimit, 0};
    rebuildIntervals();
    put("PollingInterval", int32_t{polling});
    put("LogLevel", static_cast<int16_t>(logLevel));
    put("Reporting", reporting);
    put("NoMsgProcessing", !processMessages);
    put("ServiceWatchdog.Interval", int32_t{watchdog});
    for (const size_t job : {kPinJob, kEPSJob, kSSUJob})
        put(JobOf(job).master, enabled[job]);
    HostStop stop = writeEPS();
    if (!stop.stopped)
        stop = writeMCC();
    if (!stop.stopped)
        stop = writeBPE();
    if (!stop.stopped)
        stop = writeSSU(current);
    if (!stop.stopped)
        finish();
    return stop;
}

/// A limit that isn't ticked has no text, and the next tick offers one anew.
void HostEditor::rebuildIntervals() {
    for (size_t i = 0; i < kIntervals; ++i)
        m_intervals[i] = boxInterval(i).text();
    if (!epsLimited)
        m_intervals[kEPSLimit].clear();
    if (!mccLimited)
        m_intervals[kMCCLimit].clear();
}

/// A next run that isn't in the future is moved or stops the save: false.
bool HostEditor::nextInFuture(size_t job) {
    if (next[job] > now())
        return true;
    if (m_session.ui().MsgBox(std::string(JobOf(job).past) +
                                  "\nDo you want to automatically set it for 1 minute from now?",
                              BoxIcon::Question, BoxButtons::YesNo) != BoxAnswer::Yes)
        return false;
    next[job] = now() + std::chrono::minutes(1);
    return true;
}

void HostEditor::writeJob(size_t job) {
    put(JobOf(job).next, LocalToUTC(next[job], m_session.platform.clock));
    put(JobOf(job).interval, m_intervals[JobOf(job).intervalIndex]);
}

HostStop HostEditor::writeEPS() {
    if (!enabled[kEPSJob])
        return {};
    put("EPS Home Servers", m_serverText);
    if (!nextInFuture(kEPSJob))
        return stopAt(kEPSJob);
    writeJob(kEPSJob);
    put("AddFromGAL", addFromGAL);
    put("ProcessMCL", processMCL);
    writeLimit(kEPSLimit, kEPSInterval, epsLimited, "EPS.MaxInterval",
               "The maximum runtime for EPS has been reduced to match the update interval.");
    return {};
}

/// A run can't be let go on longer than until the next one.
void HostEditor::writeLimit(size_t limit, size_t interval, bool limited, std::string_view key,
                            std::string_view reduced) {
    if (limited && boxInterval(limit).minutes() > boxInterval(interval).minutes()) {
        m_session.ui().MsgBox(reduced, BoxIcon::Information);
        boxes[limit] = boxes[interval];
        m_intervals[limit] = m_intervals[interval];
    }
    put(key, limited ? m_intervals[limit] : std::string());
}

HostStop HostEditor::writeMCC() {
    put(JobOf(kMCCJob).master, enabled[kMCCJob]);
    if (!enabled[kMCCJob])
        return {};
    if (!nextInFuture(kMCCJob))
        return stopAt(kMCCJob);
    writeJob(kMCCJob);
    writeLimit(kMCCLimit, kMCCInterval, mccLimited, "MCC.MaxInterval",
               "The maximum runtime for MCC has been reduced to match the update interval.");
    return {};
}

HostStop HostEditor::writeBPE() {
    if (!enabled[kPinJob])
        return {};
    if (!nextInFuture(kPinJob))
        return stopAt(kPinJob);
    writeJob(kPinJob);
    put("BPE Agent Address", besAddress);
    put("BPE Agent Name", besName);
    put("BPE DSN List", m_dsnText);
    return {};
}

HostStop HostEditor::writeSSU(HostTab current) {
    if (!enabled[kSSUJob])
        return {};
    if (!nextInFuture(kSSUJob)) {
        HostStop stop = stopAt(kSSUJob);
        // deliberately the second page, which isn't that of Self-Service Update
        if (current == HostTab::BPE)
            stop.tab.reset();
        return stop;
    }
    writeJob(kSSUJob);
    return {};
}

void HostEditor::finish() {
    m_host->Save();
    dirty = false;
    saved = true;
    if (!name.empty()) // an empty name would reach this computer's agent
        SendServiceControl(m_session, HostPath(name), kCodeHostChanged, watchdogChanged);
    watchdogChanged = false;
}

void HostEditor::put(std::string_view key, const Value& value) { SetKey(*m_host, key, value); }

} // namespace kr
