#include "platform/shell/xdg/Pinger.h"

#include <algorithm>
#include <utility>

#include "core/PlatformError.h"

namespace kr {

using namespace std::chrono_literals;

namespace {

constexpr auto kDeadline = 2000ms;
constexpr auto kTick = 5ms;
constexpr auto kSlice = 10ms;
// A host takes three descriptors at most, of the 1024 that a program may have.
constexpr size_t kMostAtOnce = 128;
// What a turn of the event loop may do: a program takes about a millisecond to start.
constexpr int kBegunInATick = 8;
constexpr int kEndedInATick = 8;

} // namespace

Pinger::Pinger(Events& events, std::function<void()> idle)
    : m_events(events), m_idle(std::move(idle)), m_rung(CanEcho(false)     ? Rung::Datagram
                                                        : CanEcho(true)    ? Rung::Raw
                                                        : HasPingProgram() ? Rung::Program
                                                                           : Rung::Tcp) {}

Pinger::~Pinger() { m_events.Cancel(m_timer); }

PingReport Pinger::Ping(std::string_view host) {
    const auto answer = std::make_shared<std::optional<PingReport>>();
    begin({std::string(host), 0,
           std::make_shared<PingDone>(
               [answer](size_t, const PingReport& report) { *answer = report; })});
    while (!*answer) {
        m_events.Run(kSlice);
        if (m_idle)
            m_idle();
    }
    return **answer;
}

void Pinger::PingAll(const std::vector<std::string>& hosts, const PingDone& done) {
    const auto shared = std::make_shared<PingDone>(done);
    for (size_t i = 0; i < hosts.size(); ++i)
        m_waiting.push_back({hosts[i], i, shared});
    watch();
}

void Pinger::watch() {
    if (m_timer == 0 && !(m_waiting.empty() && m_asked.empty()))
        m_timer = m_events.AddTimer(kTick, [this] { tick(); });
}

void Pinger::begin(Request request) {
    request.host.erase(0, request.host.find_first_not_of('\\'));
    Asked asked{std::move(request), Clock::now() + kDeadline, {}, {}};
    asked.lookup = m_lookups.Begin(asked.request.host);
    m_asked.push_back(std::move(asked));
    watch();
}

void Pinger::tick() {
    for (int i = 0; i < kBegunInATick && !m_waiting.empty() && m_asked.size() < kMostAtOnce; ++i) {
        begin(std::move(m_waiting.front()));
        m_waiting.pop_front();
    }
    int ended = 0;
    for (auto asked = m_asked.begin(); asked != m_asked.end() && ended < kEndedInATick;) {
        const auto report = progress(*asked);
        if (!report) {
            ++asked;
            continue;
        }
        // behind this call: who hears of it may run events
        m_events.Post([request = std::move(asked->request), report] {
            (*request.done)(request.place, *report);
        });
        asked = m_asked.erase(asked);
        ++ended;
    }
    if (m_waiting.empty() && m_asked.empty())
        m_events.Cancel(std::exchange(m_timer, 0));
}

std::optional<PingReport> Pinger::progress(Asked& asked) {
    const bool late = Clock::now() >= asked.deadline;
    if (!asked.probe) {
        const bool known = asked.lookup->done;
        if (!known && !late)
            return std::nullopt;
        if (!known || !asked.lookup->address)
            return PingReport{PingOutcome::NoSuchName, 0};
        try {
            asked.probe = probe(*asked.lookup->address);
        } catch (const PlatformError& error) {
            return PingReport{PingOutcome::Failed, error.number()};
        }
    }
    if (const auto result = asked.probe->Result())
        return result;
    return late ? std::optional(PingReport{PingOutcome::TimedOut, 0}) : std::nullopt;
}

std::unique_ptr<Probe> Pinger::probe(in_addr address) {
    switch (m_rung) {
    case Rung::Datagram:
    case Rung::Raw:
        return MakeEchoProbe(m_events, address, m_rung == Rung::Raw, ++m_sequence);
    case Rung::Program:
        return MakeProgramProbe(m_program, address);
    case Rung::Tcp:
        break;
    }
    return MakePortsProbe(m_events, address);
}

} // namespace kr
