#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/events/Events.h"
#include "platform/services/ChildProcess.h"
#include "tests/agent/BusServer.h"

namespace kr {

/// A service unit: its program, and the bus name that it owns when it is ready (Type=dbus).
struct StandinUnit {
    std::string name; // "zandrelAgent.service"
    std::string busName;
    std::vector<std::string> command;
};

/// A stand-in of systemd's manager on a bus: it knows a few units, runs their programs as its own
/// children, and answers what the console asks systemd: LoadUnit, StartUnit, StopUnit, RestartUnit,
/// KillUnit, and the properties of a unit. What the programs write to their output is reported.
class StandinManager {
public:
    using Report = std::function<void(std::string_view)>;

    StandinManager(Events& events, BusServer& server, std::vector<StandinUnit> units,
                   Report report);
    ~StandinManager();
    StandinManager(const StandinManager&) = delete;
    StandinManager& operator=(const StandinManager&) = delete;

    void StartAll();
    void StopAll();
    /// A unit's program runs.
    bool Running() const;
    /// ActiveState of a unit, "" when there is none.
    std::string StateOf(const std::string& name) const;

private:
    struct Unit {
        StandinUnit what;
        std::string active = "inactive";
        std::string sub = "dead";
        bool restart = false; // once it has stopped
        std::unique_ptr<ChildProcess> process;
        Events::Id output = 0;
    };

    static int onMessage(sd_bus_message* message, void* self, sd_bus_error* error);
    static int onNameOwner(sd_bus_message* message, void* self, sd_bus_error* error);
    int handle(sd_bus_message* message, sd_bus_error* error);
    int runJob(sd_bus_message* message, std::string_view member, Unit& unit);
    int killUnit(sd_bus_message* message, Unit& unit, sd_bus_error* error);
    int sendProperties(sd_bus_message* message) const;
    void start(Unit& unit);
    void stop(Unit& unit);
    void readOutput(Unit& unit);
    void onEnd(Unit& unit, int exitCode);
    Unit* find(std::string_view name);

    Events& m_events;
    std::map<std::string, Unit> m_units;
    Report m_report;
    sd_bus_slot* m_objects = nullptr;
    sd_bus_slot* m_owners = nullptr;
    uint32_t m_jobs = 0;
};

} // namespace kr
