#include "platform/database/Worker.h"

#include <chrono>
#include <optional>

#include "platform/database/Database.h"

namespace kr {

namespace {

using SteadyClock = std::chrono::steady_clock;
constexpr auto kTurn = std::chrono::milliseconds(10);
/// How long an interrupted call may still take to come back by itself.
constexpr auto kGrace = std::chrono::milliseconds(500);

struct Job {
    std::atomic<bool> done = false;
    std::exception_ptr error;
};

} // namespace

void Worker::Run(std::function<void()> work, int seconds, const std::atomic<bool>* cancel,
                 const std::function<void()>& interrupt) {
    auto job = std::make_shared<Job>();
    std::thread thread([job, work = std::move(work), wake = Waker()] {
        try {
            work();
        } catch (...) {
            job->error = std::current_exception();
        }
        job->done = true;
        wake();
    });
    // also when a callback throws: the thread then goes on alone
    struct Release {
        std::thread& thread;
        ~Release() {
            if (thread.joinable())
                thread.detach();
        }
    } release{thread};
    const auto start = SteadyClock::now();
    std::optional<SteadyClock::time_point> interrupted;
    bool cancelled = false;
    while (!job->done) {
        m_events.Run(kTurn);
        if (onTurn)
            onTurn();
        const auto now = SteadyClock::now();
        const bool late = seconds > 0 && now - start > std::chrono::seconds(seconds);
        cancelled = cancelled || (cancel && *cancel);
        if (!interrupted && (late || cancelled)) {
            interrupted = now;
            if (interrupt)
                interrupt();
        }
        if (interrupted && now - *interrupted > kGrace)
            break;
    }
    if (job->done)
        thread.join();
    if (onTurn)
        onTurn();
    if (cancelled)
        throw PlatformError(DB_E_CANCELED, "Operation was canceled.", "Database");
    if (interrupted) // also when it came back: what it gave is not whole
        throw PlatformError(DB_E_TIMEOUT, "Timeout expired", "Database");
    if (job->error)
        std::rethrow_exception(job->error);
}

} // namespace kr
