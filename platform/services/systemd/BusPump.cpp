#include "platform/services/systemd/BusPump.h"

#include <poll.h>

#include <utility>

namespace kr {

namespace {

/// Messages in one turn of the event loop, so that a talkative bus can't hold the window.
constexpr int kMostMessages = 50;

} // namespace

BusPump::BusPump(Events& events, sd_bus* bus, Calls calls)
    : m_events(events), m_bus(bus), m_calls(std::move(calls)),
      m_watch(events.AddWatch(sd_bus_get_fd(bus), 0, [this](unsigned) { process(); })),
      m_self(std::make_shared<BusPump*>(this)) {}

BusPump::~BusPump() { m_events.Cancel(m_watch); }

void BusPump::process() {
    int result = 1;
    for (int i = 0; i < kMostMessages && result > 0; ++i)
        result = sd_bus_process(m_bus, nullptr);
    if (result < 0) {
        lose(-result);
        return;
    }
    const std::weak_ptr alive(m_self);
    if (m_calls.turn)
        m_calls.turn();
    if (!alive.expired())
        Rewatch();
}

void BusPump::lose(int error) {
    m_events.Cancel(std::exchange(m_watch, 0));
    if (const auto lost = m_calls.lost)
        lost(error);
}

void BusPump::Rewatch() {
    if (m_watch == 0)
        return;
    const int wanted = sd_bus_get_events(m_bus);
    if (wanted < 0) {
        lose(-wanted);
        return;
    }
    unsigned watch = 0;
    if (wanted & POLLIN)
        watch |= Events::Readable;
    if (wanted & POLLOUT)
        watch |= Events::Writable;
    m_events.SetWatch(m_watch, watch);
    // messages that were read from the socket already announce themselves by a time of 0
    uint64_t due = UINT64_MAX;
    if (sd_bus_get_timeout(m_bus, &due) >= 0 && due == 0)
        m_events.Post([weak = std::weak_ptr(m_self)] {
            if (const auto self = weak.lock(); self != nullptr && (*self)->m_watch != 0)
                (*self)->process();
        });
}

} // namespace kr
