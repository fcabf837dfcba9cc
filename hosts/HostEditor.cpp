#include "hosts/HostEditor.h"

#include <algorithm>

#include "console/basPickers.h"
#include "core/Text.h"
#include "core/Trap.h"
#include "core/basDate.h"
#include "core/basStore.h"
#include "core/basText.h"

namespace kr {

namespace {

constexpr std::string_view kOfferedLimit = "3;h";
constexpr std::string_view kAllServers = "*";

// A read that fails must not pass for an unset key: the default would be saved in its place.
std::string textOf(RDOMessage& host, std::string_view key, std::string_view fallback = {}) {
    std::string text = RequireKey(host, key).text();
    return text.empty() ? std::string(fallback) : text;
}
int32_t numberOf(RDOMessage& host, std::string_view key, int32_t fallback) {
    const Value value = RequireKey(host, key);
    return value.empty() ? fallback : value.integerOr(0);
}
bool flagOf(RDOMessage& host, std::string_view key, bool fallback = false) {
    const Value value = RequireKey(host, key);
    return value.empty() ? fallback : value.valueOr(false);
}

int clamped(int number, const NumberLimits& limits) {
    return std::clamp(number, limits.lowest, limits.highest);
}

/// Takes the entries of those places out.
void removePlaces(std::vector<std::string>& entries, const std::vector<size_t>& places) {
    std::vector<std::string> left;
    for (size_t i = 0; i < entries.size(); ++i)
        if (std::ranges::find(places, i) == places.end())
            left.push_back(entries[i]);
    entries = std::move(left);
}

} // namespace

// --- loading

bool HostEditor::Load(const EntryID& host) {
    m_host = GetMessage(m_session, host);
    if (!m_host) {
        m_session.log("frmHost: the host message can't be opened: " + host.text());
        m_session.ui().MsgBox("The server's record can't be opened.", BoxIcon::Stop);
        return false;
    }
    return Trap(
        [&] {
            loadGeneral();
            for (size_t job = 0; job < kJobs; ++job)
                loadJob(job);
            loadLimit(kEPSLimit, "EPS.MaxInterval", epsLimited);
            loadLimit(kMCCLimit, "MCC.MaxInterval", mccLimited);
            m_serverText = textOf(*m_host, "EPS Home Servers", kAllServers);
            servers = ServersOf(m_serverText);
            m_dsnText = textOf(*m_host, "BPE DSN List");
            dsns = SplitNonEmpty(m_dsnText, ";");
            if (reporting)
                m_report = FindReport(m_session, name);
            return true;
        },
        [&](const Trapped& trapped) {
            m_session.log("frmHost: " + trapped.text());
            m_session.ui().MsgBox("The server's record can't be read.\n" + trapped.description,
                                  BoxIcon::Stop);
        });
}

void HostEditor::loadGeneral() {
    RDOMessage& host = *m_host;
    name = host.Subject();
    version = textOf(host, "AgentVersion");
    polling = clamped(numberOf(host, "PollingInterval", 60), kPollingLimits);
    logLevel = numberOf(host, "LogLevel", kLogMaximum);
    reporting = flagOf(host, "Reporting", DefaultReporting(logLevel));
    processMessages = !flagOf(host, "NoMsgProcessing");
    watchdog = clamped(numberOf(host, "ServiceWatchdog.Interval", 5), kWatchdogLimits);
    addFromGAL = flagOf(host, "AddFromGAL");
    processMCL = flagOf(host, "ProcessMCL");
    besAddress = textOf(host, "BPE Agent Address");
    besName = textOf(host, "BPE Agent Name");
}

void HostEditor::loadJob(size_t index) {
    const Job& job = JobOf(index);
    enabled[index] = flagOf(*m_host, job.master);
    m_intervals[job.intervalIndex] = textOf(*m_host, job.interval, job.initial);
    setBox(job.intervalIndex, m_intervals[job.intervalIndex]);
    const Value value = RequireKey(*m_host, job.next);
    std::optional<Time> stored;
    if (const Time* utc = value.get<Time>())
        stored = UTCToLocal(*utc, m_session.platform.clock);
    next[index] = NextRun(stored, boxInterval(job.intervalIndex), now(), job.hour);
}

void HostEditor::loadLimit(size_t index, std::string_view key, bool& limited) {
    m_intervals[index] = textOf(*m_host, key);
    limited = !m_intervals[index].empty();
    setBox(index, limited ? std::string_view(m_intervals[index]) : kOfferedLimit);
}

void HostEditor::setBox(size_t index, std::string_view text) {
    const Interval interval = ParseInterval(text);
    const size_t unit = UnitPlace(index, interval.unit);
    boxes[index] = {clamped(interval.number, IntervalLimits(index, unit)), unit};
}

Interval HostEditor::boxInterval(size_t index) const {
    return {boxes[index].number, std::string(UnitsOf(index)[boxes[index].unit].code)};
}

Time HostEditor::now() const {
    return UTCToLocal(m_session.platform.clock.now(), m_session.platform.clock);
}

void HostEditor::OfferLimit(size_t index) {
    if (m_intervals[index].empty())
        setBox(index, kOfferedLimit);
}

void HostEditor::TakeLimit(size_t index) { m_intervals[index] = boxInterval(index).text(); }

// --- lists

bool HostEditor::AddServer() {
    const auto answer = m_session.ui().InputBox("Enter complete server name or partial name with "
                                                "leading or trailing * wildcard",
                                                "Add Server");
    const std::string entry = Trim(answer.value_or(""));
    if (entry.empty())
        return false;
    if (HasEmbeddedWildcard(entry)) {
        m_session.ui().MsgBox("An embedded wildcard is not allowed.\nA * can be used as the start "
                              "or end of a server name, but not in the middle",
                              BoxIcon::Exclamation);
        return false;
    }
    if (entry == kAllServers && !servers.empty()) {
        if (m_session.ui().MsgBox("Do you want this agent to handle all servers?",
                                  BoxIcon::Question, BoxButtons::YesNo) != BoxAnswer::Yes)
            return false;
        // deliberately neither the text nor the changed flag follow: what gets saved is the old
        // text
        servers = {entry};
        return true;
    }
    if (ContainsEntry(servers, entry)) {
        m_session.ui().MsgBox(entry + " has already been added to the list.", BoxIcon::Exclamation);
        return false;
    }
    servers.push_back(entry);
    m_serverText += (m_serverText.empty() ? "" : ";") + entry;
    dirty = true;
    return true;
}

void HostEditor::RemoveServers(const std::vector<size_t>& places) {
    removePlaces(servers, places);
    m_serverText = Join(servers, ";");
    dirty = true;
}

bool HostEditor::AddDSN() {
    const auto answer =
        m_session.ui().InputBox("Enter the name of the System DSN on the host machine", "Add DSN");
    const std::string entry = Trim(answer.value_or(""));
    if (entry.empty())
        return false;
    if (ContainsEntry(dsns, entry)) {
        m_session.ui().MsgBox(entry + " has already been added to the list.", BoxIcon::Exclamation);
        return false;
    }
    dsns.push_back(entry);
    m_dsnText = Join(dsns, ";");
    dirty = true;
    return true;
}

void HostEditor::RemoveDSNs(const std::vector<size_t>& places) {
    removePlaces(dsns, places);
    m_dsnText = Join(dsns, ";");
    dirty = true;
}

bool HostEditor::PickBESAgent() {
    RecipientList list;
    if (!PickRecipients(m_session, "BES Agent", list, true) || list.addresses.empty())
        return false;
    besAddress = list.addresses;
    besName = list.names;
    dirty = true;
    return true;
}

// --- logging

void HostEditor::ChooseLogOption(int option) {
    if (option != LogOption(kLogMaximum) && reporting) {
        const bool off = m_session.ui().MsgBox(
                             "Diagnostic reporting requires maximum logging. Turn off reporting?",
                             BoxIcon::Question, BoxButtons::OKCancel) == BoxAnswer::OK;
        if (off)
            reporting = false;
        else
            option = LogOption(kLogMaximum);
    }
    logLevel = LogLevelOf(option);
    dirty = true;
}

void HostEditor::SetReporting(bool on) {
    reporting = on;
    if (on && LogOption(logLevel) != LogOption(kLogMaximum))
        logLevel = kLogMaximum;
    dirty = true;
}

void HostEditor::ToggleCompleteLogging() {
    const bool on = logLevel <= kLogMaximum;
    if (m_session.ui().MsgBox(on ? "Do you want to turn on Complete logging for this agent?"
                                 : "Do you want to turn off Complete logging for this agent?",
                              BoxIcon::Question, BoxButtons::YesNo) != BoxAnswer::Yes)
        return;
    if (on)
        reporting = true;
    logLevel = on ? kLogComplete : LogLevelOf(LogOption(logLevel));
    dirty = true;
}

void HostEditor::ShowLogs() {
    const std::string folder = m_report.substr(0, m_report.rfind("KR-Report"));
    const int result = TrapSilently([&] { return m_session.platform.shell.OpenFile(folder); });
    if (result > kShellSuccess)
        return;
    m_session.log("frmHost: unable to open " + folder);
    m_session.ui().MsgBox("Unable to open diagnostics report.\n"
                          "Please verify that it exists in the application directory.",
                          BoxIcon::Exclamation);
}

} // namespace kr
