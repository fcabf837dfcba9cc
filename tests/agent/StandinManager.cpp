#include "tests/agent/StandinManager.h"

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

namespace kr {

namespace {

constexpr const char* kRoot = "/org/freedesktop/systemd1";

/// Unit paths of systemd escape the name; here "." alone needs it.
std::string pathOf(std::string_view unit) {
    std::string path = std::string(kRoot) + "/unit/";
    for (const char c : unit)
        path += c == '.' ? std::string("_2e") : std::string(1, c);
    return path;
}

} // namespace

StandinManager::StandinManager(Events& events, BusServer& server, std::vector<StandinUnit> units,
                               Report report)
    : m_events(events), m_report(std::move(report)) {
    for (StandinUnit& unit : units) {
        const std::string name = unit.name;
        m_units[name].what = std::move(unit);
    }
    CheckBus(sd_bus_add_fallback(server.bus(), &m_objects, kRoot, onMessage, this),
             "The manager can't be offered");
    CheckBus(sd_bus_match_signal(server.bus(), &m_owners, "org.freedesktop.DBus",
                                 "/org/freedesktop/DBus", "org.freedesktop.DBus",
                                 "NameOwnerChanged", onNameOwner, this),
             "The owners of names can't be watched");
    server.Own("org.freedesktop.systemd1");
}

StandinManager::~StandinManager() {
    for (auto& [name, unit] : m_units)
        m_events.Cancel(unit.output);
    sd_bus_slot_unref(m_objects);
    sd_bus_slot_unref(m_owners);
}

void StandinManager::StartAll() {
    for (auto& [name, unit] : m_units)
        start(unit);
}

void StandinManager::StopAll() {
    for (auto& [name, unit] : m_units)
        stop(unit);
}

bool StandinManager::Running() const {
    return std::ranges::any_of(m_units, [](const auto& e) { return e.second.process != nullptr; });
}

std::string StandinManager::StateOf(const std::string& name) const {
    const auto found = m_units.find(name);
    return found != m_units.end() ? found->second.active : std::string();
}

StandinManager::Unit* StandinManager::find(std::string_view name) {
    const auto found = m_units.find(std::string(name));
    return found != m_units.end() ? &found->second : nullptr;
}

void StandinManager::start(Unit& unit) {
    if (unit.process != nullptr) {
        unit.restart = unit.active == "deactivating";
        return;
    }
    unit.process = std::make_unique<ChildProcess>(m_events, unit.what.command,
                                                  [this, &unit](int code) { onEnd(unit, code); });
    if (unit.process->error() != 0) {
        unit.process.reset();
        unit.active = unit.sub = "failed";
        m_report(unit.what.name + " can't be started");
        return;
    }
    unit.active = "activating";
    unit.sub = "start";
    unit.output = m_events.AddWatch(unit.process->fd(), Events::Readable,
                                    [this, &unit](unsigned) { readOutput(unit); });
}

void StandinManager::stop(Unit& unit) {
    unit.restart = false;
    if (unit.process == nullptr) {
        unit.active = "inactive";
        unit.sub = "dead";
        return;
    }
    unit.active = "deactivating";
    unit.sub = "stop-sigterm";
    unit.process->Signal(SIGTERM);
}

void StandinManager::readOutput(Unit& unit) {
    char buffer[1024];
    const ssize_t got = read(unit.process->fd(), buffer, sizeof buffer);
    if (got > 0) {
        std::string_view text(buffer, static_cast<size_t>(got));
        if (text.back() == '\n')
            text.remove_suffix(1);
        m_report(text);
    } else if (got == 0) {
        m_events.Cancel(std::exchange(unit.output, 0));
    }
}

void StandinManager::onEnd(Unit& unit, int exitCode) {
    if (unit.output != 0)
        readOutput(unit);
    if (exitCode != 0)
        m_report(unit.what.name + " ended with " + std::to_string(exitCode) + " " +
                 unit.process->LastWords());
    m_events.Cancel(std::exchange(unit.output, 0));
    unit.process.reset();
    unit.active = exitCode == 0 ? "inactive" : "failed";
    unit.sub = exitCode == 0 ? "dead" : "failed";
    if (std::exchange(unit.restart, false))
        start(unit);
}

int StandinManager::onNameOwner(sd_bus_message* message, void* self, sd_bus_error*) {
    const char *name = nullptr, *before = nullptr, *owner = nullptr;
    if (sd_bus_message_read(message, "sss", &name, &before, &owner) <= 0 || *owner == '\0')
        return 0;
    for (auto& [key, unit] : static_cast<StandinManager*>(self)->m_units)
        if (unit.what.busName == name && unit.active == "activating") {
            unit.active = "active";
            unit.sub = "running";
        }
    return 0;
}

int StandinManager::onMessage(sd_bus_message* message, void* self, sd_bus_error* error) {
    if (sd_bus_message_is_method_call(message, nullptr, nullptr) <= 0)
        return 0;
    return static_cast<StandinManager*>(self)->handle(message, error);
}

int StandinManager::handle(sd_bus_message* message, sd_bus_error* error) {
    const std::string_view member = sd_bus_message_get_member(message);
    if (member == "GetAll")
        return sendProperties(message);
    const char* name = nullptr;
    if (std::string_view(sd_bus_message_get_path(message)) != kRoot ||
        sd_bus_message_read(message, "s", &name) <= 0)
        return 0;
    if (member == "LoadUnit")
        return sd_bus_reply_method_return(message, "o", pathOf(name).c_str());
    Unit* unit = find(name);
    if (unit == nullptr)
        return sd_bus_error_setf(error, "org.freedesktop.systemd1.NoSuchUnit", "Unit %s not found.",
                                 name);
    if (member == "KillUnit")
        return killUnit(message, *unit, error);
    return runJob(message, member, *unit);
}

int StandinManager::runJob(sd_bus_message* message, std::string_view member, Unit& unit) {
    if (member == "StartUnit") {
        start(unit);
    } else if (member == "StopUnit") {
        stop(unit);
    } else if (member == "RestartUnit") {
        stop(unit);
        start(unit);
    } else {
        return 0;
    }
    const std::string job = std::string(kRoot) + "/job/" + std::to_string(++m_jobs);
    return sd_bus_reply_method_return(message, "o", job.c_str());
}

int StandinManager::killUnit(sd_bus_message* message, Unit& unit, sd_bus_error* error) {
    const char* who = nullptr;
    int32_t signal = 0;
    if (const int result = sd_bus_message_read(message, "si", &who, &signal); result < 0)
        return result;
    if (unit.process == nullptr || !unit.process->Signal(signal))
        return sd_bus_error_setf(error, "org.freedesktop.systemd1.NoSuchProcess",
                                 "No main process to kill");
    return sd_bus_reply_method_return(message, nullptr);
}

int StandinManager::sendProperties(sd_bus_message* message) const {
    const std::string_view path = sd_bus_message_get_path(message);
    std::string load = "not-found", active = "inactive", sub = "dead";
    for (const auto& [name, unit] : m_units)
        if (pathOf(name) == path) {
            load = "loaded";
            active = unit.active;
            sub = unit.sub;
        }
    return sd_bus_reply_method_return(message, "a{sv}", 4, "LoadState", "s", load.c_str(),
                                      "ActiveState", "s", active.c_str(), "SubState", "s",
                                      sub.c_str(), "FreezerState", "s", "running");
}

} // namespace kr
