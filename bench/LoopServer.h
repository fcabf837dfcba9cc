#pragma once

#include <sys/types.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace kr::bench {

/// A small HTTP server in a process of its own, so that its work and memory are not the measured
/// program's: connections stay open, a request's body is read and dropped.
class LoopServer {
public:
    /// Gives the whole response to a path (with its query); the text must outlive the server.
    using Answer = std::function<std::string_view(std::string_view path)>;

    explicit LoopServer(const Answer& answer);
    ~LoopServer();
    LoopServer(const LoopServer&) = delete;
    LoopServer& operator=(const LoopServer&) = delete;

    std::string host() const { return "127.0.0.1:" + std::to_string(m_port); }
    /// Requests that were answered so far.
    int64_t requests() const { return m_counts->requests; }
    /// Connections that came so far.
    int64_t connections() const { return m_counts->connections; }

private:
    struct Counts {
        std::atomic<int64_t> requests;
        std::atomic<int64_t> connections;
    };
    friend class LoopServerProcess;
    Counts* m_counts; // shared with the process
    int m_port = 0;
    pid_t m_process = 0;
};

/// A response with its head.
std::string ResponseOf(std::string_view contentType, std::string_view body);

} // namespace kr::bench
