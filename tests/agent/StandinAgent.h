#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "core/Clock.h"
#include "platform/events/Events.h"
#include "platform/store/Store.h"

namespace kr {

struct AgentOptions {
    std::string server; // of the agent mailbox
    std::string alias;
    std::string host;                     // the subject of its host message
    std::chrono::milliseconds step{1000}; // between two reports of progress
    int steps = 10;                       // of a task
};

/// A stand-in of the agent: it hears control codes and writes on its host message what an agent
/// writes there, without doing any of the work. A task runs through its steps; then the dates of
/// its last and next run are written and CurrentTask is cleared. One task runs at a time.
class StandinAgent {
public:
    using Report = std::function<void(std::string_view)>;

    StandinAgent(StoreLibrary& store, Events& events, const Clock& clock, AgentOptions options,
                 Report report);
    ~StandinAgent();
    StandinAgent(const StandinAgent&) = delete;
    StandinAgent& operator=(const StandinAgent&) = delete;

    /// Logs on, finds the host message, or makes it with everything switched on, writes the version
    /// and clears what an agent that was killed left of its progress. Throws PlatformError.
    void Start();
    /// False for a code that no agent knows.
    bool Control(uint32_t code);
    /// Ends the running task, as a service does that is stopped.
    void Stop();
    bool Busy() const { return m_task != nullptr; }

private:
    struct Task;
    static const Task kTasks[];

    void begin(const Task& task);
    void advance();
    void complete();
    void end(std::string_view how);
    void clearProgress();
    void reload(uint32_t code);
    void change(const std::function<void(RDOMessage&)>& change);
    RDOFolderPtr agentInfo() const;
    EntryID makeHostMessage(RDOFolder& folder) const;
    void readTargets(RDOFolder& folder);

    StoreLibrary& m_store;
    Events& m_events;
    const Clock& m_clock;
    AgentOptions m_options;
    Report m_report;
    RDOSessionPtr m_session;
    EntryID m_host;
    std::vector<std::string> m_targets; // names of users
    const Task* m_task = nullptr;
    int m_step = 0;
    Events::Id m_timer = 0;
};

} // namespace kr
