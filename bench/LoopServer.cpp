#include "bench/LoopServer.h"

#include <netinet/tcp.h>
#include <signal.h>
#include <strings.h>
#include <sys/epoll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include <array>
#include <map>
#include <new>
#include <stdexcept>

#include "tests/support/Loopback.h"

namespace kr::bench {

namespace {

constexpr int kBacklog = 64;
constexpr size_t kBlock = 64 << 10;

/// Length of a request's body; 0 without one.
size_t bodyLength(std::string_view head) {
    constexpr std::string_view kName = "\r\nContent-Length:";
    for (size_t at = head.find("\r\n"); at != std::string_view::npos;
         at = head.find("\r\n", at + 2))
        if (head.size() - at > kName.size() &&
            strncasecmp(head.data() + at, kName.data(), kName.size()) == 0)
            return std::stoul(std::string(head.substr(at + kName.size(), 20)));
    return 0;
}

std::string_view pathOf(std::string_view head) {
    const size_t from = head.find(' ') + 1;
    return head.substr(from, head.find(' ', from) - from);
}

} // namespace

/// What the process does.
class LoopServerProcess {
public:
    LoopServerProcess(int listening, const LoopServer::Answer& answer, LoopServer::Counts& counts)
        : m_listening(listening), m_answer(answer), m_counts(counts), m_epoll(epoll_create1(0)) {
        watch(listening);
    }

    [[noreturn]] void Run() {
        std::array<epoll_event, 16> events{};
        for (;;) {
            const int count = epoll_wait(m_epoll, events.data(), events.size(), -1);
            for (int i = 0; i < count; ++i)
                if (const int fd = events[static_cast<size_t>(i)].data.fd; fd == m_listening)
                    accept();
                else
                    receive(fd);
        }
    }

private:
    struct Connection {
        std::string head;   // until it is whole
        size_t missing = 0; // bytes of the body
        std::string_view response;
    };

    void watch(int fd) {
        epoll_event event{};
        event.events = EPOLLIN;
        event.data.fd = fd;
        epoll_ctl(m_epoll, EPOLL_CTL_ADD, fd, &event);
    }
    void accept() {
        const int fd = ::accept(m_listening, nullptr, nullptr);
        if (fd < 0)
            return;
        const int on = 1;
        setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        ++m_counts.connections;
        m_connections[fd];
        watch(fd);
    }
    void receive(int fd) {
        const ssize_t got = recv(fd, m_block.data(), m_block.size(), 0);
        if (got <= 0) {
            m_connections.erase(fd);
            close(fd);
            return;
        }
        take(fd, m_connections[fd], {m_block.data(), static_cast<size_t>(got)});
    }
    /// One request after another; none comes before the last one's answer has gone.
    void take(int fd, Connection& connection, std::string_view bytes) {
        if (connection.missing == 0) {
            connection.head += bytes;
            const size_t end = connection.head.find("\r\n\r\n");
            if (end == std::string::npos)
                return;
            const std::string_view head = std::string_view(connection.head).substr(0, end + 2);
            connection.response = m_answer(pathOf(head));
            connection.missing = bodyLength(head);
            bytes = std::string_view(connection.head).substr(end + 4);
            if (bytes.size() < connection.missing) {
                connection.missing -= bytes.size();
                connection.head.clear();
                return;
            }
        } else if (bytes.size() < connection.missing) {
            connection.missing -= bytes.size();
            return;
        }
        connection.missing = 0;
        connection.head.clear();
        ++m_counts.requests;
        send(fd, connection.response);
    }
    static void send(int fd, std::string_view text) {
        while (!text.empty()) {
            const ssize_t sent = ::send(fd, text.data(), text.size(), MSG_NOSIGNAL);
            if (sent <= 0)
                return;
            text.remove_prefix(static_cast<size_t>(sent));
        }
    }

    int m_listening;
    const LoopServer::Answer& m_answer;
    LoopServer::Counts& m_counts;
    int m_epoll;
    std::map<int, Connection> m_connections;
    std::string m_block = std::string(kBlock, '\0');
};

LoopServer::LoopServer(const Answer& answer) {
    void* shared =
        mmap(nullptr, sizeof(Counts), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (shared == MAP_FAILED)
        throw std::runtime_error("no shared memory");
    m_counts = new (shared) Counts{};
    const ListeningSocket socket = ListenOnLoopback("127.0.0.1", kBacklog);
    m_port = socket.port;
    m_process = socket.fd < 0 ? -1 : fork();
    if (m_process < 0)
        throw std::runtime_error("no server");
    if (m_process == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        LoopServerProcess(socket.fd, answer, *m_counts).Run();
    }
    close(socket.fd);
}

LoopServer::~LoopServer() {
    kill(m_process, SIGKILL);
    waitpid(m_process, nullptr, 0);
    munmap(m_counts, sizeof(Counts));
}

std::string ResponseOf(std::string_view contentType, std::string_view body) {
    return "HTTP/1.1 200 OK\r\nContent-Type: " + std::string(contentType) +
           "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + std::string(body);
}

} // namespace kr::bench
