#include "platform/shell/xdg/Lookups.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <sys/socket.h>

#include <deque>
#include <mutex>
#include <system_error>
#include <thread>

namespace kr {

namespace {

/// As many may hang in a dead name server before the others have to wait for them.
constexpr int kMostThreads = 32;

std::optional<in_addr> addressOf(const std::string& host) {
    addrinfo hints{};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    std::optional<in_addr> address;
    if (getaddrinfo(host.c_str(), nullptr, &hints, &found) == 0 && found != nullptr)
        address = reinterpret_cast<sockaddr_in*>(found->ai_addr)->sin_addr;
    if (found != nullptr)
        freeaddrinfo(found);
    return address;
}

} // namespace

struct Lookups::Queue {
    struct Entry {
        std::string host;
        std::weak_ptr<Answer> answer;
    };
    std::mutex mutex;
    std::deque<Entry> waiting;
    int threads = 0;
};

Lookups::Lookups() : m_queue(std::make_shared<Queue>()) {}

std::shared_ptr<Lookups::Answer> Lookups::Begin(const std::string& host) {
    auto answer = std::make_shared<Answer>();
    in_addr digits{};
    if (host.empty()) {
        answer->done = true;
    } else if (inet_pton(AF_INET, host.c_str(), &digits) == 1) {
        answer->address = digits;
        answer->done = true;
    } else {
        const std::lock_guard lock(m_queue->mutex);
        m_queue->waiting.push_back({host, answer});
        if (m_queue->threads < kMostThreads)
            startThread();
    }
    return answer;
}

/// With the queue locked.
void Lookups::startThread() {
    try {
        std::thread([queue = m_queue] { work(queue); }).detach();
        ++m_queue->threads;
    } catch (const std::system_error&) {
        // the threads that there are take the name, or nobody answers in time
    }
}

void Lookups::work(const std::shared_ptr<Queue>& queue) {
    for (;;) {
        Queue::Entry entry;
        {
            const std::lock_guard lock(queue->mutex);
            if (queue->waiting.empty()) {
                --queue->threads;
                return;
            }
            entry = std::move(queue->waiting.front());
            queue->waiting.pop_front();
        }
        if (entry.answer.expired())
            continue;
        const auto address = addressOf(entry.host);
        if (const auto answer = entry.answer.lock()) {
            answer->address = address;
            answer->done = true;
        }
    }
}

} // namespace kr
