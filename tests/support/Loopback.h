#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>

/// Sockets of peers that tests play themselves.
namespace kr {

/// A listening socket and its port; fd -1 when there was none to be had.
struct ListeningSocket {
    int fd = -1;
    int port = 0;
};
inline ListeningSocket ListenOnLoopback(const std::string& host = "127.0.0.1", int backlog = 8) {
    ListeningSocket result;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    inet_pton(AF_INET, host.c_str(), &address.sin_addr);
    socklen_t size = sizeof address;
    auto* plain = reinterpret_cast<sockaddr*>(&address);
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (bind(fd, plain, size) != 0 || listen(fd, backlog) != 0 ||
        getsockname(fd, plain, &size) != 0) {
        close(fd);
        return result;
    }
    result.fd = fd;
    result.port = ntohs(address.sin_port);
    return result;
}

/// A port that nobody listens on now.
inline int FreePort(const std::string& host = "127.0.0.1") {
    const ListeningSocket socket = ListenOnLoopback(host);
    close(socket.fd);
    return socket.port;
}

} // namespace kr
