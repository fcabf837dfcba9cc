#pragma once

#include <netinet/in.h>

#include <atomic>
#include <memory>
#include <optional>
#include <string>

namespace kr {

/// Looks up IPv4 addresses of names on threads of its own, as the system's look-up can't be ended
/// and may hang in a dead name server long after nobody waits for it.
class Lookups {
public:
    struct Answer {
        std::atomic<bool> done{false};
        std::optional<in_addr> address; // nothing: no such name
    };

    Lookups();
    /// An address in digits is known at once. A name whose Answer was dropped before its turn came
    /// is never asked for.
    std::shared_ptr<Answer> Begin(const std::string& host);

private:
    struct Queue;
    void startThread();
    static void work(const std::shared_ptr<Queue>& queue);
    std::shared_ptr<Queue> m_queue; // outlives this object while a look-up hangs
};

} // namespace kr
