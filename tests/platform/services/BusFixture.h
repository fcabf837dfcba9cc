#pragma once

#include <systemd/sd-bus.h>

#include <atomic>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "platform/services/systemd/UnitState.h"
#include "tests/agent/PrivateBus.h"

namespace kr {

/// A private bus, and on it a stand-in of systemd and of the agent that answer from tables, on a
/// thread.
class BusFixture {
public:
    BusFixture();
    ~BusFixture();
    BusFixture(const BusFixture&) = delete;
    BusFixture& operator=(const BusFixture&) = delete;

    const std::string& address() const { return m_bus.address(); }
    bool running() const { return m_ready; }
    /// Ends the bus and what is on it; Start brings them back at the same address.
    void Stop();
    bool Start();

    void SetUnit(const std::string& unit, const UnitProperties& properties);
    /// StartUnit, StopUnit and KillUnit answer with this D-Bus error; "" is success.
    void FailJobs(const std::string& errorName);
    /// The stand-ins stop answering calls of this member; "" ends that.
    void Mute(const std::string& member);
    void SetAgent(bool present) { m_agentWanted = present; }
    /// Calls as they came: "StartUnit zandrelAgent.service", "Control 210 org.zandrel.Agent".
    std::vector<std::string> calls() const;

private:
    void serve();
    void own(sd_bus* bus);
    static int onMessage(sd_bus_message* message, void* self, sd_bus_error* error);
    int handle(sd_bus_message* message);
    int sendProperties(sd_bus_message* message);
    int runJob(sd_bus_message* message, const std::string& member);

    PrivateBus m_bus;
    std::thread m_thread;
    std::atomic<bool> m_quit{false};
    std::atomic<bool> m_ready{false};
    std::atomic<bool> m_agentWanted{true};
    mutable std::mutex m_mutex; // guards all below
    std::map<std::string, UnitProperties> m_units;
    std::string m_jobError;
    std::string m_mute;
    std::vector<std::string> m_calls;
};

} // namespace kr
