#include "tests/agent/StandinAgent.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "core/Text.h"
#include "core/basAgent.h"
#include "core/basStore.h"

namespace kr {

namespace {

constexpr std::string_view kVersionText = "4.0.112";
constexpr int kMostTargets = 8; // users whose names are shown in turn

enum Code : uint32_t {
    ReloadAgent = 128,
    ReloadHost = 130,
    ReloadLanguages = 131,
    EndTask = 210,
};

/// "24;h": a number and n minutes, h hours, d days, or ww weeks. What makes no sense is a day.
std::chrono::seconds intervalOf(const std::string& text, const std::string& fallback) {
    const auto parts = Split(text.empty() ? fallback : text, ";");
    int number = 0;
    std::from_chars(parts[0].data(), parts[0].data() + parts[0].size(), number);
    const std::string unit = parts.size() > 1 ? ToLower(parts[1]) : std::string();
    using namespace std::chrono;
    if (number <= 0)
        return hours(24);
    if (unit == "n")
        return minutes(number);
    if (unit == "h")
        return hours(number);
    return unit == "ww" ? hours(24 * 7) * number : hours(24) * number;
}

Time dateOf(RDOProperties& record, std::string_view key) {
    return GetKey(record, key).valueOr(Time{});
}

} // namespace

/// What a code starts, and the keys of its schedule; "" where there is none.
struct StandinAgent::Task {
    uint32_t code;
    std::string_view name;
    std::string_view subTasks[2];
    std::string_view last, next, interval;
    const char* fallback;
};

const StandinAgent::Task StandinAgent::kTasks[] = {
    {199,
     "EPS Special",
     {"Restoring contacts", "Updating contacts"},
     "LastClientUpdate",
     "NextClientUpdate",
     "ClientUpdateInterval",
     "24;h"},
    {200,
     "EPS",
     {"Reading contact sources", "Updating contacts"},
     "LastClientUpdate",
     "NextClientUpdate",
     "ClientUpdateInterval",
     "24;h"},
    {201,
     "BPE",
     {"Reading BES servers", "Harvesting PINs"},
     "LastPinHarvest",
     "NextPinHarvest",
     "PinHarvestInterval",
     "24;h"},
    {202,
     "SSU",
     {"Sending update requests", "Reading responses"},
     "LastSSU",
     "NextSSU",
     "SSUInterval",
     "1;d"},
    {203, "BSR", {"Collecting statistics", "Writing the report"}, "", "", "", ""},
    {220,
     "MCC",
     {"Reading custom lists", "Updating contacts"},
     "MCC.LastUpdate",
     "MCC.NextUpdate",
     "MCC.Interval",
     "24;h"},
};

StandinAgent::StandinAgent(StoreLibrary& store, Events& events, const Clock& clock,
                           AgentOptions options, Report report)
    : m_store(store), m_events(events), m_clock(clock), m_options(std::move(options)),
      m_report(std::move(report)) {}

StandinAgent::~StandinAgent() { m_events.Cancel(m_timer); }

void StandinAgent::Start() {
    m_session = m_store.CreateSession();
    m_session->LogonExchangeMailbox(m_options.alias, m_options.server);
    auto folder = agentInfo();
    const auto found = RequireMessageIDs(*folder, kHostClass, m_options.host);
    m_host = found.empty() ? makeHostMessage(*folder) : found.front();
    readTargets(*folder);
    change([](RDOMessage& host) {
        SetKey(host, "AgentVersion", kVersionText);
        SetKey(host, "NoRenderer", false);
    });
    clearProgress();
    m_report("runs on " + m_options.host);
}

RDOFolderPtr StandinAgent::agentInfo() const {
    auto root = m_session->Stores().DefaultStore()->RootFolder();
    auto folder = root->Folders()->Item(kAgentInfoFolder);
    if (folder == nullptr)
        throw PlatformError(MAPI_E_NOT_FOUND, "The mailbox is not an agent's: it has no folder " +
                                                  std::string(kAgentInfoFolder));
    return folder;
}

EntryID StandinAgent::makeHostMessage(RDOFolder& folder) const {
    auto host = folder.Items()->Add(kHostClass);
    host->SetSubject(m_options.host);
    SetKey(*host, "PollingInterval", int32_t{60});
    SetKey(*host, "LogLevel", int16_t{8});
    SetKey(*host, "ServiceWatchdog.Interval", int32_t{5});
    SetKey(*host, "EPS Home Servers", "*");
    for (const char* master : {"BPE HarvestPins", "EPS UpdateClients", "SSU", "MCC.Enabled"})
        SetKey(*host, master, true);
    for (const Task& task : kTasks)
        if (!task.interval.empty()) {
            SetKey(*host, task.interval, task.fallback);
            SetKey(*host, task.next, m_clock.now() + intervalOf("", task.fallback));
        }
    host->Save();
    return host->ID();
}

void StandinAgent::readTargets(RDOFolder& folder) {
    m_targets.clear();
    if (auto users = folder.Folders()->Item(kUserInfoFolder)) {
        auto items = users->Items();
        const int count = std::min(items->Count(), kMostTargets);
        for (int i = 1; i <= count; ++i)
            if (auto user = items->Item(i))
                m_targets.push_back(KeyText(*user, "DisplayName"));
    }
    if (m_targets.empty())
        m_targets.push_back(m_options.alias);
}

bool StandinAgent::Control(uint32_t code) {
    const std::string number = "code " + std::to_string(code) + ": ";
    if (code == EndTask) {
        m_report(number + (m_task != nullptr ? "ending " + std::string(m_task->name)
                                             : std::string("no task runs")));
        end("was ended");
        return true;
    }
    if (code == ReloadAgent || code == ReloadHost || code == ReloadLanguages) {
        reload(code);
        return true;
    }
    const auto* task = std::ranges::find(kTasks, code, &Task::code);
    if (task == std::end(kTasks)) {
        m_report(number + "unknown");
        return false;
    }
    if (m_task != nullptr) {
        m_report(number + std::string(m_task->name) + " is running already");
        return true;
    }
    m_report(number + "starting " + std::string(task->name));
    begin(*task);
    return true;
}

void StandinAgent::reload(uint32_t code) {
    const std::string number = "code " + std::to_string(code) + ": ";
    if (code == ReloadLanguages) {
        m_report(number + "reloaded the language data");
        return;
    }
    try {
        const bool host = code == ReloadHost;
        const auto ids = host ? std::vector<EntryID>{m_host}
                              : RequireMessageIDs(*agentInfo(), kAgentClass, kAgentSubject);
        auto message = ids.empty() ? nullptr : m_session->GetMessageFromID(ids.front(), EntryID());
        if (message == nullptr)
            m_report(number + "there is no such message");
        else
            m_report(number + "reloaded " + message->Subject() + ", polling every " +
                     std::to_string(KeyNumber(*message, "PollingInterval", 60)) + " s");
    } catch (const PlatformError& error) {
        m_report(number + error.description());
    }
}

void StandinAgent::change(const std::function<void(RDOMessage&)>& how) {
    try {
        auto message = m_session->GetMessageFromID(m_host, EntryID());
        how(*message);
        message->Save();
    } catch (const PlatformError& error) {
        m_report("the host message can't be written: " + error.description());
    }
}

void StandinAgent::begin(const Task& task) {
    m_task = &task;
    m_step = 0;
    m_timer = m_events.AddTimer(m_options.step, [this] { advance(); });
    advance();
}

void StandinAgent::advance() {
    if (m_step >= m_options.steps) {
        complete();
        return;
    }
    const int half = m_step * 2 / m_options.steps;
    const auto target = static_cast<size_t>(m_step) % m_targets.size();
    change([&](RDOMessage& host) {
        SetKey(host, "CurrentTask", m_task->name);
        SetKey(host, "CurrentSubTask", m_task->subTasks[half]);
        SetKey(host, "CurrentTarget", m_targets[target]);
        SetKey(host, "PercentComplete", int32_t{m_step * 100 / m_options.steps});
    });
    ++m_step;
}

/// The next run keeps its time of day: whole intervals are added until it lies ahead.
void StandinAgent::complete() {
    const Task& task = *m_task;
    if (!task.last.empty())
        change([&](RDOMessage& host) {
            const Time now = m_clock.now();
            const auto interval = intervalOf(KeyText(host, task.interval), task.fallback);
            Time next = dateOf(host, task.next);
            if (next == Time{})
                next = now;
            if (next <= now)
                next += interval * ((now - next) / interval + 1);
            SetKey(host, task.last, now);
            SetKey(host, task.next, next);
        });
    end("is complete");
}

void StandinAgent::end(std::string_view how) {
    if (m_task == nullptr)
        return;
    m_events.Cancel(std::exchange(m_timer, 0));
    const Task& task = *std::exchange(m_task, nullptr);
    clearProgress();
    m_report(std::string(task.name) + " " + std::string(how));
}

void StandinAgent::clearProgress() {
    change([](RDOMessage& host) {
        SetKey(host, "CurrentTask", "");
        SetKey(host, "CurrentSubTask", "");
        SetKey(host, "CurrentTarget", "");
        SetKey(host, "PercentComplete", int32_t{0});
    });
}

void StandinAgent::Stop() { end("was ended"); }

} // namespace kr
