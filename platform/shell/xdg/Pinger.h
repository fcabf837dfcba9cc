#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/events/Events.h"
#include "platform/shell/Shell.h"
#include "platform/shell/xdg/Lookups.h"
#include "platform/shell/xdg/Probes.h"

namespace kr {

/// Asks hosts for an ICMP echo by the best means that this computer grants: an unprivileged ICMP
/// socket, a raw one, the `ping` program, at last a TCP connection to a port of file service,
/// secure shell or RPC, where a refusal is a sign of life too. IPv4 alone.
class Pinger {
public:
    enum class Rung { Datagram, Raw, Program, Tcp };

    Pinger(Events& events, std::function<void()> idle);
    ~Pinger();
    Pinger(const Pinger&) = delete;
    Pinger& operator=(const Pinger&) = delete;

    /// Ends within 2000 ms, the name look-up included; events run meanwhile.
    PingReport Ping(std::string_view host);
    /// As Shell has it. A few are begun and ended in each turn of the event loop, so that none of
    /// its turns is long.
    void PingAll(const std::vector<std::string>& hosts, const PingDone& done);

    Rung rung() const { return m_rung; }
    /// For tests.
    void UseRung(Rung rung) { m_rung = rung; }
    void UseProgram(std::string program) { m_program = std::move(program); }

private:
    using Clock = std::chrono::steady_clock;
    struct Request {
        std::string host;
        size_t place = 0;
        std::shared_ptr<PingDone> done;
    };
    /// A host that is being asked.
    struct Asked {
        Request request;
        Clock::time_point deadline;
        std::shared_ptr<Lookups::Answer> lookup;
        std::unique_ptr<Probe> probe; // once the address is known
    };

    void begin(Request request);
    void tick();
    std::optional<PingReport> progress(Asked& asked);
    std::unique_ptr<Probe> probe(in_addr address);
    void watch();

    Events& m_events;
    std::function<void()> m_idle;
    Rung m_rung;
    std::string m_program = "ping";
    uint16_t m_sequence = 0;
    Lookups m_lookups;
    std::deque<Request> m_waiting;
    std::list<Asked> m_asked;
    Events::Id m_timer = 0;
};

} // namespace kr
