#include "platform/services/HostQueue.h"

#include <chrono>
#include <utility>

namespace kr {

namespace {

constexpr std::chrono::milliseconds kDeadline(2000);

void answer(const ServiceLink::Done& done, const ServiceAnswer& with) {
    if (done)
        done(with);
}

} // namespace

HostQueue::HostQueue(Events& events, std::unique_ptr<ServiceLink> link)
    : m_events(events), m_link(std::move(link)) {}

HostQueue::~HostQueue() { m_events.Cancel(m_deadline); }

void HostQueue::Add(ServiceRequest request, ServiceLink::Done done) {
    m_waiting.push_back({std::move(request), std::move(done)});
    begin();
}

void HostQueue::begin() {
    if (m_running || m_waiting.empty())
        return;
    m_running = true;
    m_current = std::move(m_waiting.front());
    m_waiting.pop_front();
    m_deadline = m_events.AddTimer(kDeadline, [this] { onDeadline(); });
    m_link->Begin(m_current.request, [this](const ServiceAnswer& with) { finish(with); });
}

/// The next request begins before the answer goes out, as the answer may run a nested loop.
void HostQueue::finish(const ServiceAnswer& with) {
    m_events.Cancel(m_deadline);
    const Entry done = std::move(m_current);
    m_running = false;
    begin();
    answer(done.done, with);
}

void HostQueue::onDeadline() {
    const ServiceAnswer late{ServiceNoAnswer, "The service manager did not answer in time"};
    std::deque<Entry> lost;
    if (!m_link->Connected())
        lost = std::exchange(m_waiting, {});
    m_link->Abandon();
    finish(late);
    for (const Entry& entry : lost)
        answer(entry.done, late);
}

} // namespace kr
