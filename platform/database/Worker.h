#pragma once

#include <atomic>
#include <condition_variable>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

#include "platform/events/Events.h"
#include "platform/events/EventsGate.h"

namespace kr {

/// Runs calls that can only block on a thread of the seam's own, while the caller's events go on.
/// A call that doesn't come back after a cancel is left behind: its thread keeps its own references
/// and ends whenever the driver lets it.
class Worker {
public:
    explicit Worker(Events& events)
        : m_events(events), m_gate(std::make_shared<EventsGate>(events)) {}
    ~Worker() { m_gate->Close(); }
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    /// What a job calls when it has something for the caller, who takes it in `onTurn`.
    std::function<void()> Waker() const {
        return [gate = m_gate] { gate->Post([] {}); };
    }

    /// Runs `job` to its end, or until `cancel` is set or `seconds` are over (0: no end); then
    /// calls `interrupt` once, waits a little more, and throws PlatformError. Exceptions of the job
    /// come out here. `job` must own all it touches.
    void Run(std::function<void()> job, int seconds, const std::atomic<bool>* cancel,
             const std::function<void()>& interrupt);

    /// Rows on their way from the worker to the caller: the producer waits while it is full.
    template <class T>
    class Channel {
    public:
        /// False when the consumer has gone.
        bool Push(T item) {
            std::unique_lock lock(m_mutex);
            m_space.wait(lock, [&] { return m_items.size() < kMost || m_closed; });
            if (m_closed)
                return false;
            m_items.push_back(std::move(item));
            return true;
        }
        bool Pop(T& item) {
            std::lock_guard lock(m_mutex);
            if (m_items.empty())
                return false;
            item = std::move(m_items.front());
            m_items.pop_front();
            m_space.notify_one();
            return true;
        }
        void Close() {
            std::lock_guard lock(m_mutex);
            m_closed = true;
            m_space.notify_all();
        }

    private:
        static constexpr size_t kMost = 64;
        std::mutex m_mutex;
        std::condition_variable m_space;
        std::deque<T> m_items;
        bool m_closed = false;
    };

    /// Called between two turns of the waiting loop, to take what has come.
    std::function<void()> onTurn;

private:
    Events& m_events;
    std::shared_ptr<EventsGate> m_gate; // closed to a job that was left behind
};

} // namespace kr
