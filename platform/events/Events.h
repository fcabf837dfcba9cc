#pragma once

#include <chrono>
#include <cstdint>
#include <functional>

namespace kr {

/// Timers, descriptors and posted calls, all delivered on the one user-interface thread.
class Events {
public:
    using Id = uint64_t;
    enum Watch : unsigned { Readable = 1, Writable = 2 };

    virtual ~Events() = default;
    /// Repeats until it is cancelled. Ids are never reused.
    virtual Id AddTimer(std::chrono::milliseconds interval, std::function<void()> call) = 0;
    /// Calls back with the conditions that hold (a closed peer counts as Readable).
    virtual Id AddWatch(int fd, unsigned watch, std::function<void(unsigned)> call) = 0;
    virtual void SetWatch(Id id, unsigned watch) = 0;
    /// Safe at any time, also from the callback itself.
    virtual void Cancel(Id id) = 0;
    /// Runs the call on the user-interface thread; may be called from any thread.
    virtual void Post(std::function<void()> call) = 0;
    /// Waits for and runs what is due, at most `wait`. Tests and Qt-free programs drive the world
    /// with it; waiting loops of the console use it between two DoEvents.
    virtual void Run(std::chrono::milliseconds wait) = 0;
};

} // namespace kr
