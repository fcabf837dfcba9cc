#include "tests/platform/http/ScriptedServer.h"

#include <poll.h>

#include <algorithm>

#include "tests/support/Loopback.h"

namespace kr {

namespace {

constexpr int kTurn = 20; // milliseconds

/// Length of the first whole request in the bytes; 0 while there is none.
size_t requestSize(const std::string& bytes) {
    const size_t end = bytes.find("\r\n\r\n");
    if (end == std::string::npos)
        return 0;
    const std::string head = bytes.substr(0, end + 2);
    const size_t length = head.find("Content-Length: ");
    const size_t body = length == std::string::npos ? 0 : std::stoul(head.substr(length + 16));
    return bytes.size() >= end + 4 + body ? end + 4 + body : 0;
}

} // namespace

ScriptedServer::ScriptedServer(Script script) : m_script(std::move(script)) {
    const ListeningSocket listening = ListenOnLoopback();
    m_listener = listening.fd;
    m_port = listening.port;
    m_thread = std::thread([this] { serve(); });
}

ScriptedServer::~ScriptedServer() {
    m_stop = true;
    m_thread.join();
    for (std::thread& talking : m_talks)
        talking.join();
    close(m_listener);
}

std::string ScriptedServer::url(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(m_port) + path;
}

std::vector<std::string> ScriptedServer::requests() const {
    const std::lock_guard lock(m_mutex);
    return m_requests;
}

bool ScriptedServer::waitFor(int fd, int milliseconds) const {
    for (int waited = 0; !m_stop && waited <= milliseconds; waited += kTurn) {
        pollfd poller{fd, POLLIN, 0};
        if (poll(&poller, 1, kTurn) > 0)
            return true;
    }
    return false;
}

void ScriptedServer::serve() {
    while (!m_stop) {
        if (!waitFor(m_listener, kTurn))
            continue;
        const int fd = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (fd < 0)
            continue;
        ++m_connections;
        m_talks.emplace_back([this, fd] {
            talk(fd);
            close(fd);
        });
    }
}

void ScriptedServer::talk(int fd) {
    std::string bytes;
    while (!m_stop) {
        if (!waitFor(fd, kTurn))
            continue;
        char buffer[65536];
        const ssize_t got = recv(fd, buffer, sizeof buffer, 0);
        if (got <= 0)
            return;
        bytes.append(buffer, static_cast<size_t>(got));
        for (size_t size = requestSize(bytes); size > 0; size = requestSize(bytes)) {
            const std::string request = bytes.substr(0, size);
            bytes.erase(0, size);
            {
                const std::lock_guard lock(m_mutex);
                m_requests.push_back(request);
            }
            if (!send(fd, m_script(request)))
                return;
        }
    }
}

bool ScriptedServer::send(int fd, const Answer& answer) {
    for (int waited = 0; waited < answer.pauseMilliseconds && !m_stop; waited += kTurn)
        poll(nullptr, 0, kTurn);
    if (answer.never) {
        while (!m_stop)
            poll(nullptr, 0, kTurn);
        return false;
    }
    bool going = put(fd, answer.bytes, answer.dripMilliseconds);
    while (going && !answer.endless.empty() && !m_stop)
        going = put(fd, answer.endless, answer.dripMilliseconds);
    return going && !answer.close;
}

/// False when the peer has gone.
bool ScriptedServer::put(int fd, const std::string& bytes, int dripMilliseconds) const {
    const size_t step = dripMilliseconds > 0 ? 1 : bytes.size();
    for (size_t at = 0; at < bytes.size() && !m_stop;) {
        pollfd poller{fd, POLLOUT, 0}; // a peer that no longer reads must not hold the test
        if (poll(&poller, 1, kTurn) == 0)
            continue;
        const ssize_t put = ::send(fd, bytes.data() + at, std::min(step, bytes.size() - at),
                                   MSG_NOSIGNAL | MSG_DONTWAIT);
        if (put <= 0)
            return false;
        at += static_cast<size_t>(put);
        if (dripMilliseconds > 0)
            poll(nullptr, 0, dripMilliseconds);
    }
    return true;
}

std::string Ok(const std::string& body, const std::string& type, const std::string& more) {
    return "HTTP/1.1 200 OK\r\nContent-Type: " + type +
           "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n" + more + "\r\n" + body;
}

} // namespace kr
