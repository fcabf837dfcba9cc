#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace kr {

/// A web server that answers each request as a function of the test says, byte for byte, and keeps
/// what came. One connection at a time, kept alive while both sides want it.
class ScriptedServer {
public:
    struct Answer {
        std::string bytes;
        bool close = false;        // end the connection behind it
        int pauseMilliseconds = 0; // before it
        int dripMilliseconds = 0;  // between its bytes
        bool never = false;        // no answer; the connection stays open
        std::string endless;       // again and again behind the bytes, until the peer goes
    };
    using Script = std::function<Answer(const std::string& request)>;

    explicit ScriptedServer(Script script);
    ~ScriptedServer();
    ScriptedServer(const ScriptedServer&) = delete;
    ScriptedServer& operator=(const ScriptedServer&) = delete;

    std::string url(const std::string& path = "/") const;
    int port() const { return m_port; }
    /// Whole requests in their order: head and body.
    std::vector<std::string> requests() const;
    int connections() const { return m_connections; }

private:
    void serve();
    void talk(int fd);
    bool send(int fd, const Answer& answer);
    bool put(int fd, const std::string& bytes, int dripMilliseconds) const;
    bool waitFor(int fd, int milliseconds) const;

    Script m_script;
    int m_listener = -1;
    int m_port = 0;
    std::atomic<bool> m_stop = false;
    std::atomic<int> m_connections = 0;
    mutable std::mutex m_mutex;
    std::vector<std::string> m_requests;
    std::vector<std::thread> m_talks;
    std::thread m_thread;
};

/// "HTTP/1.1 200 OK" with a body of that type and its length.
std::string Ok(const std::string& body, const std::string& type = "text/html",
               const std::string& more = {});

} // namespace kr
