#pragma once

#include <systemd/sd-bus.h>

#include <functional>
#include <memory>

#include "platform/events/Events.h"

namespace kr {

/// Lets Events drive a bus connection: reads and writes when the socket is ready for it.
class BusPump {
public:
    struct Calls {
        std::function<void()> turn;          // messages were dealt with
        std::function<void(int error)> lost; // errno; the pump rests and may be destroyed
    };
    /// The connection stays the caller's and has to outlive the pump.
    BusPump(Events& events, sd_bus* bus, Calls calls);
    ~BusPump();
    BusPump(const BusPump&) = delete;
    BusPump& operator=(const BusPump&) = delete;

    /// To be called when something was sent from outside of the pump's own turns.
    void Rewatch();

private:
    void process();
    void lose(int error);

    Events& m_events;
    sd_bus* m_bus;
    Calls m_calls;
    Events::Id m_watch;
    std::shared_ptr<BusPump*> m_self; // posted calls find out whether we still are
};

} // namespace kr
