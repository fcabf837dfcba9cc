#include "tests/platform/services/Listeners.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace kr {

namespace {

sockaddr_in addressOf(const std::string& text, uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    inet_pton(AF_INET, text.c_str(), &address.sin_addr);
    return address;
}

} // namespace

Listener::Listener(const std::string& address, uint16_t port, Kind kind)
    : m_fd(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    const int on = 1;
    setsockopt(m_fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in own = addressOf(address, port);
    auto* generic = reinterpret_cast<sockaddr*>(&own);
    socklen_t size = sizeof own;
    if (bind(m_fd, generic, size) != 0 || listen(m_fd, kind == Kind::Silent ? 0 : 64) != 0 ||
        getsockname(m_fd, generic, &size) != 0)
        return;
    m_port = ntohs(own.sin_port);
    // one connection fits into a queue of length 0; the next ones are never answered
    for (int i = 0; kind == Kind::Silent && i < 3; ++i) {
        m_fillers.push_back(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        (void)connect(m_fillers.back(), generic, size);
        usleep(10'000);
    }
}

Listener::~Listener() {
    for (const int fd : m_fillers)
        close(fd);
    close(m_fd);
}

uint16_t FreePort() {
    const Listener once("127.0.0.1", 0, Listener::Kind::Accepting);
    return once.port();
}

} // namespace kr
