#pragma once

#include <systemd/sd-bus.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/events/Events.h"
#include "platform/services/systemd/BusPump.h"

namespace kr {

/// A program's place on a message bus, driven by Events. `address` "" is the system bus. Throws
/// PlatformError when the bus can't be had.
class BusServer {
public:
    BusServer(Events& events, const std::string& address, std::function<void()> onLost);
    ~BusServer();
    BusServer(const BusServer&) = delete;
    BusServer& operator=(const BusServer&) = delete;

    sd_bus* bus() { return m_bus; }
    /// Takes a name; throws PlatformError when the bus refuses or somebody else has it.
    void Own(const std::string& name);
    /// To be called when something was sent from outside of a handler.
    void Flush() { m_pump->Rewatch(); }

private:
    sd_bus* m_bus = nullptr;
    std::unique_ptr<BusPump> m_pump;
};

/// Throws PlatformError for a negative result of the bus library.
void CheckBus(int result, const std::string& what);

/// The bus method Control(u) by which an agent or a watchdog hears control codes. Codes that
/// `onCode` refuses are answered with an error.
class ControlObject {
public:
    using OnCode = std::function<bool(uint32_t)>;
    ControlObject(BusServer& server, const std::string& path, const std::string& interface,
                  OnCode onCode);
    ~ControlObject();
    ControlObject(const ControlObject&) = delete;
    ControlObject& operator=(const ControlObject&) = delete;

private:
    sd_bus_slot* m_slot = nullptr;
    OnCode m_onCode;
};

} // namespace kr
