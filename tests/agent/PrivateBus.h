#pragma once

#include <sys/types.h>

#include <string>

namespace kr {

/// A message bus of our own: a dbus-daemon in a temporary folder, where everybody may do anything.
class PrivateBus {
public:
    PrivateBus();
    ~PrivateBus();
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    const std::string& address() const { return m_address; }
    const std::string& folder() const { return m_folder; }
    bool running() const { return m_daemon > 0; }
    /// Start brings it back at the same address.
    bool Start();
    void Stop();

private:
    std::string m_folder;
    std::string m_address;
    pid_t m_daemon = 0;
};

} // namespace kr
