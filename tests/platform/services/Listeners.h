#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kr {

/// A TCP port of an address of the loopback network.
class Listener {
public:
    enum class Kind {
        Accepting, // takes connections and never says a word
        Silent     // answers nobody: its queue of connections is full
    };
    /// Port 0 gives a free one.
    Listener(const std::string& address, uint16_t port, Kind kind);
    ~Listener();
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    uint16_t port() const { return m_port; }
    /// False where the address can't be had.
    bool listening() const { return m_port != 0; }

private:
    int m_fd = -1;
    uint16_t m_port = 0;
    std::vector<int> m_fillers;
};

/// A port that nobody listens on.
uint16_t FreePort();

} // namespace kr
