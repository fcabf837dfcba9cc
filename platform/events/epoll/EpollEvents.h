#pragma once

#include <chrono>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "platform/events/Events.h"

namespace kr {

/// The reactor: one epoll descriptor over the watched descriptors, one timerfd for all timers and
/// one eventfd for posted calls. An outer loop (Qt, another reactor) watches fd() for reading and
/// calls Run(0).
///
/// A callback may cancel anything, itself included, and may call Run again. A timer is not entered
/// anew while its own call runs; a watch is. A descriptor has at most one watch at a time; a
/// descriptor that can't be watched (a plain file, a closed one) throws PlatformError with errno.
class EpollEvents : public Events {
public:
    EpollEvents();
    ~EpollEvents() override;
    EpollEvents(const EpollEvents&) = delete;
    EpollEvents& operator=(const EpollEvents&) = delete;

    Id AddTimer(std::chrono::milliseconds interval, std::function<void()> call) override;
    Id AddWatch(int fd, unsigned watch, std::function<void(unsigned)> call) override;
    void SetWatch(Id id, unsigned watch) override;
    void Cancel(Id id) override;
    void Post(std::function<void()> call) override;
    /// A negative wait has no end.
    void Run(std::chrono::milliseconds wait) override;

    /// Readable while something is due.
    int fd() const { return m_epoll; }

private:
    using Clock = std::chrono::steady_clock;
    struct Timer {
        std::chrono::milliseconds interval;
        Clock::time_point due;
        std::function<void()> call;
        bool running = false;
    };
    struct Watched {
        int fd;
        unsigned watch;
        bool registered;
        std::function<void(unsigned)> call;
    };

    void registerWatch(Id id, Watched& watched);
    void unregisterWatch(Id id, Watched& watched);
    void dispatchWatch(Id id, uint32_t events);
    void dispatchTimers();
    void fire(Id id);
    void armTimer();
    void dispatchPosts();

    int m_epoll = -1;
    int m_timerFd = -1;
    int m_eventFd = -1;
    Id m_lastId = 2; // 1 and 2 mark the timerfd and the eventfd
    uint64_t m_turn = 0;
    Clock::time_point m_armed = Clock::time_point::max(); // when the timerfd speaks
    std::map<Id, std::shared_ptr<Timer>> m_timers;
    std::unordered_map<Id, std::shared_ptr<Watched>> m_watches;
    std::unordered_map<int, Id> m_owners; // which watch a descriptor belongs to now
    std::mutex m_mutex;                   // guards m_posts alone
    std::deque<std::function<void()>> m_posts;
};

std::unique_ptr<EpollEvents> MakeEpollEvents();

} // namespace kr
