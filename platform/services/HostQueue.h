#pragma once

#include <deque>
#include <memory>

#include "platform/events/Events.h"
#include "platform/services/ServiceLink.h"

namespace kr {

/// Requests for one computer, carried out one after the other, each within 2000 ms from its turn.
/// Where nothing was heard of the computer in that time, those behind fail with it: their callers
/// would only wait as long again.
class HostQueue {
public:
    HostQueue(Events& events, std::unique_ptr<ServiceLink> link);
    ~HostQueue();
    HostQueue(const HostQueue&) = delete;
    HostQueue& operator=(const HostQueue&) = delete;

    void Add(ServiceRequest request, ServiceLink::Done done);
    bool Busy() const { return m_running || !m_waiting.empty(); }

private:
    struct Entry {
        ServiceRequest request;
        ServiceLink::Done done;
    };
    void begin();
    void finish(const ServiceAnswer& answer);
    void onDeadline();

    Events& m_events;
    std::unique_ptr<ServiceLink> m_link;
    std::deque<Entry> m_waiting;
    Entry m_current{};
    bool m_running = false;
    Events::Id m_deadline = 0;
};

} // namespace kr
