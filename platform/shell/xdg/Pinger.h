#pragma once

#include <netinet/in.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/events/Events.h"
#include "platform/shell/Shell.h"

namespace kr {

/// Asks hosts for an ICMP echo by the best means that this computer grants: an unprivileged ICMP
/// socket, a raw one, the `ping` program, at last a TCP connection to a port of file service,
/// secure shell or RPC, where a refusal is a sign of life too. IPv4 alone.
class Pinger {
public:
    enum class Rung { Datagram, Raw, Program, Tcp };

    Pinger(Events& events, std::function<void()> idle);

    /// Ends within 2000 ms, the name look-up included; events run meanwhile.
    PingReport Ping(std::string_view host);

    Rung rung() const { return m_rung; }
    /// For tests.
    void UseRung(Rung rung) { m_rung = rung; }
    void UseProgram(std::string program) { m_program = std::move(program); }

private:
    using Clock = std::chrono::steady_clock;
    struct Lookups;

    std::optional<in_addr> resolve(const std::string& host, Clock::time_point deadline);
    PingReport echo(in_addr address, bool raw, Clock::time_point deadline);
    PingReport runProgram(in_addr address, Clock::time_point deadline);
    PingReport probePorts(in_addr address, Clock::time_point deadline);
    /// Runs events until `done` or the deadline; gives done.
    bool wait(const bool& done, Clock::time_point deadline);

    Events& m_events;
    std::function<void()> m_idle;
    Rung m_rung;
    std::string m_program = "ping";
    uint16_t m_sequence = 0;
    std::shared_ptr<Lookups> m_lookups; // outlives this object while a look-up hangs
};

} // namespace kr
