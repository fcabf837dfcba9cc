#include "platform/events/epoll/EpollEvents.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <vector>

#include "core/PlatformError.h"

namespace kr {

namespace {

constexpr Events::Id kTimerMark = 1;
constexpr Events::Id kPostMark = 2;

[[noreturn]] void fail(const char* what) {
    const int number = errno;
    throw PlatformError(number, std::string(what) + ": " + std::strerror(number), "Events");
}

void add(int epoll, int fd, uint32_t events, Events::Id id) {
    epoll_event event{};
    event.events = events;
    event.data.u64 = id;
    if (epoll_ctl(epoll, EPOLL_CTL_ADD, fd, &event) != 0)
        fail("The descriptor can't be watched");
}

uint32_t interest(unsigned watch) {
    uint32_t events = 0;
    if (watch & Events::Readable)
        events |= EPOLLIN | EPOLLRDHUP;
    if (watch & Events::Writable)
        events |= EPOLLOUT;
    return events;
}

/// An error or a hang-up counts as whatever is being waited for, so that the next read or write
/// meets it.
unsigned conditions(uint32_t events, unsigned watch) {
    unsigned result = 0;
    if (events & (EPOLLIN | EPOLLRDHUP | EPOLLHUP | EPOLLERR))
        result |= Events::Readable;
    if (events & (EPOLLOUT | EPOLLHUP | EPOLLERR))
        result |= Events::Writable;
    return result & watch;
}

void drain(int fd) {
    uint64_t count = 0;
    // EAGAIN only says that somebody has drained it already
    [[maybe_unused]] const ssize_t got = read(fd, &count, sizeof count);
}

void signalEvent(int fd) {
    const uint64_t one = 1;
    // a full counter is still a signal
    [[maybe_unused]] const ssize_t put = write(fd, &one, sizeof one);
}

timespec spec(std::chrono::nanoseconds time) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(time);
    return {static_cast<time_t>(seconds.count()), static_cast<long>((time - seconds).count())};
}

} // namespace

EpollEvents::EpollEvents()
    : m_epoll(epoll_create1(EPOLL_CLOEXEC)),
      m_timerFd(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)),
      m_eventFd(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (m_epoll < 0 || m_timerFd < 0 || m_eventFd < 0)
        fail("The event loop can't be created");
    add(m_epoll, m_timerFd, EPOLLIN, kTimerMark);
    add(m_epoll, m_eventFd, EPOLLIN, kPostMark);
}

EpollEvents::~EpollEvents() {
    // what waits may hold objects that cancel their own timers and watches when they go
    std::deque<std::function<void()>> posts;
    {
        const std::lock_guard lock(m_mutex);
        posts.swap(m_posts);
    }
    posts.clear();
    while (!m_timers.empty())
        m_timers.extract(m_timers.begin());
    while (!m_watches.empty())
        m_watches.extract(m_watches.begin());
    close(m_eventFd);
    close(m_timerFd);
    close(m_epoll);
}

Events::Id EpollEvents::AddTimer(std::chrono::milliseconds interval, std::function<void()> call) {
    const Id id = ++m_lastId;
    // an interval of 0 would never let Run return to its caller's other work
    interval = std::max(interval, std::chrono::milliseconds(1));
    m_timers.emplace(id, std::make_shared<Timer>(
                             Timer{interval, Clock::now() + interval, std::move(call), false}));
    armTimer();
    return id;
}

Events::Id EpollEvents::AddWatch(int fd, unsigned watch, std::function<void(unsigned)> call) {
    const Id id = ++m_lastId;
    auto watched = std::make_shared<Watched>(Watched{fd, watch, false, std::move(call)});
    registerWatch(id, *watched);
    m_watches.emplace(id, std::move(watched));
    return id;
}

void EpollEvents::SetWatch(Id id, unsigned watch) {
    const auto found = m_watches.find(id);
    if (found == m_watches.end() || found->second->watch == watch)
        return;
    Watched& watched = *found->second;
    watched.watch = watch;
    if (watch == 0 || !watched.registered) {
        unregisterWatch(id, watched);
        registerWatch(id, watched);
        return;
    }
    epoll_event event{};
    event.events = interest(watch);
    event.data.u64 = id;
    if (epoll_ctl(m_epoll, EPOLL_CTL_MOD, watched.fd, &event) != 0)
        fail("The descriptor can't be watched");
}

/// A watch for nothing stays out of epoll, which would report a hang-up on it for ever.
void EpollEvents::registerWatch(Id id, Watched& watched) {
    if (watched.watch == 0)
        return;
    add(m_epoll, watched.fd, interest(watched.watch), id);
    watched.registered = true;
    m_owners[watched.fd] = id;
}

/// The descriptor may have been closed and its number given away since; only its present owner may
/// take it out of epoll.
void EpollEvents::unregisterWatch(Id id, Watched& watched) {
    const auto owner = m_owners.find(watched.fd);
    if (watched.registered && owner != m_owners.end() && owner->second == id) {
        epoll_ctl(m_epoll, EPOLL_CTL_DEL, watched.fd, nullptr);
        m_owners.erase(owner);
    }
    watched.registered = false;
}

void EpollEvents::Cancel(Id id) {
    // the entry goes last: destroying a call may cancel further ids
    if (const auto timer = m_timers.extract(id))
        return;
    if (const auto watch = m_watches.extract(id))
        unregisterWatch(id, *watch.mapped());
}

void EpollEvents::Post(std::function<void()> call) {
    const std::lock_guard lock(m_mutex);
    m_posts.push_back(std::move(call));
    signalEvent(m_eventFd);
}

void EpollEvents::Run(std::chrono::milliseconds wait) {
    std::array<epoll_event, 64> ready{};
    const auto most = std::chrono::milliseconds(60'000'000);
    const int timeout = wait.count() < 0 ? -1 : static_cast<int>(std::min(wait, most).count());
    const int count = epoll_wait(m_epoll, ready.data(), static_cast<int>(ready.size()), timeout);
    if (count < 0 && errno != EINTR)
        fail("The event loop failed");
    const uint64_t turn = ++m_turn;
    for (int i = 0; i < count; ++i) {
        const epoll_event& event = ready[static_cast<size_t>(i)];
        if (event.data.u64 == kTimerMark)
            dispatchTimers();
        else if (event.data.u64 == kPostMark)
            dispatchPosts();
        else
            dispatchWatch(event.data.u64, event.events);
        // a nested Run has seen newer conditions; what still holds is reported again
        if (m_turn != turn)
            return;
    }
}

void EpollEvents::dispatchWatch(Id id, uint32_t events) {
    const auto found = m_watches.find(id);
    if (found == m_watches.end())
        return;
    const std::shared_ptr<Watched> keep = found->second;
    if (const unsigned now = conditions(events, keep->watch))
        keep->call(now);
}

void EpollEvents::dispatchTimers() {
    drain(m_timerFd);
    m_armed = Clock::time_point::max();
    const auto now = Clock::now();
    std::vector<std::pair<Clock::time_point, Id>> due;
    for (const auto& [id, timer] : m_timers)
        if (!timer->running && timer->due <= now)
            due.emplace_back(timer->due, id);
    std::sort(due.begin(), due.end());
    const uint64_t turn = m_turn;
    for (const auto& entry : due) {
        if (m_turn != turn)
            break;
        fire(entry.second);
    }
    armTimer();
}

void EpollEvents::fire(Id id) {
    const auto found = m_timers.find(id);
    if (found == m_timers.end())
        return;
    const std::shared_ptr<Timer> keep = found->second;
    // a loop that was held up skips the ticks it missed
    const auto now = Clock::now();
    keep->due += keep->interval;
    if (keep->due <= now)
        keep->due = now + keep->interval;
    struct Guard {
        EpollEvents& self;
        Timer& timer;
        ~Guard() {
            timer.running = false;
            self.armTimer();
        }
    };
    keep->running = true;
    const Guard guard{*this, *keep};
    armTimer();
    keep->call();
}

/// A timer that has gone leaves its due time behind: one turn with nothing to do is cheaper than a
/// call of the system for each request that ends before its limit.
void EpollEvents::armTimer() {
    Clock::time_point next = Clock::time_point::max();
    for (const auto& [id, timer] : m_timers)
        if (!timer->running)
            next = std::min(next, timer->due);
    if (next >= m_armed)
        return;
    m_armed = next;
    itimerspec when{};
    when.it_value =
        spec(std::max(next.time_since_epoch(), Clock::duration(std::chrono::nanoseconds(1))));
    timerfd_settime(m_timerFd, TFD_TIMER_ABSTIME, &when, nullptr);
}

/// Takes the calls that wait now; calls posted by them come in the next turn.
void EpollEvents::dispatchPosts() {
    drain(m_eventFd);
    struct Guard {
        EpollEvents& self;
        ~Guard() {
            const std::lock_guard lock(self.m_mutex);
            if (!self.m_posts.empty())
                signalEvent(self.m_eventFd);
        }
    };
    const Guard guard{*this};
    size_t count = 0;
    {
        const std::lock_guard lock(m_mutex);
        count = m_posts.size();
    }
    for (; count > 0; --count) {
        std::function<void()> call;
        {
            const std::lock_guard lock(m_mutex);
            if (m_posts.empty())
                return;
            call = std::move(m_posts.front());
            m_posts.pop_front();
            if (!m_posts.empty())
                signalEvent(m_eventFd); // for a nested Run
        }
        call();
    }
}

std::unique_ptr<EpollEvents> MakeEpollEvents() { return std::make_unique<EpollEvents>(); }

} // namespace kr
