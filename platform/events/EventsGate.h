#pragma once

#include <functional>
#include <mutex>

#include "platform/events/Events.h"

namespace kr {

/// Lets workers post to events that may be gone before a worker ends.
class EventsGate {
public:
    explicit EventsGate(Events& events) : m_events(&events) {}
    void Close() {
        const std::lock_guard lock(m_mutex);
        m_events = nullptr;
    }
    void Post(std::function<void()> call) {
        const std::lock_guard lock(m_mutex);
        if (m_events != nullptr)
            m_events->Post(std::move(call));
    }

private:
    std::mutex m_mutex;
    Events* m_events;
};

} // namespace kr
