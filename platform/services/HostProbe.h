#pragma once

#include <sys/socket.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/events/Events.h"

namespace kr {

/// Finds out how a computer can be reached: over which of two TCP ports it takes connections. The
/// first port wins where both do.
class HostProbe {
public:
    enum class Found { First, Second, Neither, NoSuchName };
    struct Ports {
        uint16_t first;
        uint16_t second;
    };

    /// `done` comes once, while events run; not when the probe is destroyed before. A computer that
    /// stays silent gives no answer at all.
    HostProbe(Events& events, const std::string& host, Ports ports,
              std::function<void(Found)> done);
    ~HostProbe();
    HostProbe(const HostProbe&) = delete;
    HostProbe& operator=(const HostProbe&) = delete;

    /// Its name is still asked for, which can't be ended; nothing was sent to the computer yet.
    bool LookingUp() const { return m_lookingUp; }

private:
    struct Address {
        sockaddr_storage storage;
        socklen_t size;
    };
    struct Gate;
    struct Attempt {
        int fd = -1;
        bool first = false;
        Events::Id watch = 0;
    };

    void lookUp(const std::string& host);
    void connectTo(const std::vector<Address>& addresses);
    void attempt(Address address, bool first);
    void onWritable(size_t index);
    void close(Attempt& attempt);
    void decide();
    bool anyOpen(bool first) const;
    void finish(Found found);

    Events& m_events;
    Ports m_ports;
    std::function<void(Found)> m_done;
    std::shared_ptr<Gate> m_gate;
    std::vector<Attempt> m_attempts;
    bool m_lookingUp = true;
    bool m_first = false; // that port took a connection
    bool m_second = false;
    Events::Id m_grace = 0;
};

} // namespace kr
