#include "tests/platform/directory/ScriptedPeer.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>

#include "tests/support/Loopback.h"

namespace kr {

namespace {

/// Length of the element at the front, with its head; 0 while it isn't whole.
size_t elementSize(const std::string& bytes) {
    if (bytes.size() < 2)
        return 0;
    const auto first = static_cast<unsigned char>(bytes[1]);
    size_t head = 2;
    size_t length = first;
    if (first & 0x80) {
        const size_t digits = first & 0x7F;
        if (bytes.size() < 2 + digits)
            return 0;
        length = 0;
        for (size_t i = 0; i < digits; ++i)
            length = length << 8 | static_cast<unsigned char>(bytes[2 + i]);
        head += digits;
    }
    return bytes.size() >= head + length ? head + length : 0;
}

PeerRequest parse(const std::string& element) {
    PeerRequest request;
    // what is no LDAP (a TLS handshake) reads as zeros
    const auto byte = [&](size_t at) {
        return at < element.size() ? static_cast<unsigned char>(element[at]) : '\0';
    };
    size_t at = byte(1) & 0x80 ? 2 + (byte(1) & 0x7Fu) : 2;
    const size_t digits = std::min<size_t>(byte(at + 1), 4);
    for (size_t i = 0; i < digits; ++i)
        request.id = request.id << 8 | byte(at + 2 + i);
    request.operation = byte(at + 2 + digits);
    request.bytes = element;
    return request;
}

} // namespace

std::string Ber(unsigned char tag, const std::string& content) {
    std::string head(1, static_cast<char>(tag));
    const size_t size = content.size();
    if (size < 128) {
        head += static_cast<char>(size);
    } else {
        head += static_cast<char>(0x83);
        for (const int shift : {16, 8, 0})
            head += static_cast<char>(size >> shift & 0xFF);
    }
    return head + content;
}

std::string BerNumber(unsigned char tag, int value) {
    std::string digits;
    for (const int shift : {24, 16, 8, 0})
        digits += static_cast<char>(value >> shift & 0xFF);
    return Ber(tag, digits);
}

std::string PeerResult(int id, unsigned char operation, int code) {
    const std::string result =
        Ber(0x0A, std::string(1, static_cast<char>(code))) + Ber(0x04, "") + Ber(0x04, "");
    return Ber(0x30, BerNumber(0x02, id) + Ber(operation, result));
}

std::string
PeerEntry(int id, const std::string& dn,
          const std::vector<std::pair<std::string, std::vector<std::string>>>& attributes) {
    std::string list;
    for (const auto& [name, values] : attributes) {
        std::string set;
        for (const auto& value : values)
            set += Ber(0x04, value);
        list += Ber(0x30, Ber(0x04, name) + Ber(0x31, set));
    }
    return Ber(0x30, BerNumber(0x02, id) + Ber(0x64, Ber(0x04, dn) + Ber(0x30, list)));
}

ScriptedPeer::ScriptedPeer(Script script) : m_script(std::move(script)) {
    const ListeningSocket listening = ListenOnLoopback();
    m_listener = listening.fd;
    m_port = listening.port;
    m_thread = std::thread([this] { serve(); });
}

ScriptedPeer::~ScriptedPeer() {
    m_quit = true;
    m_thread.join();
    for (auto& talk : m_talks)
        talk.join();
    close(m_listener);
}

void ScriptedPeer::serve() {
    while (!m_quit) {
        pollfd wait{m_listener, POLLIN, 0};
        if (poll(&wait, 1, 10) <= 0)
            continue;
        const int fd = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        ++m_connections;
        m_talks.emplace_back([this, fd] { talk(fd); });
    }
}

void ScriptedPeer::talk(int fd) {
    std::string bytes;
    while (!m_quit) {
        pollfd wait{fd, POLLIN, 0};
        if (poll(&wait, 1, 10) <= 0)
            continue;
        char buffer[4096];
        const ssize_t got = recv(fd, buffer, sizeof buffer, 0);
        if (got <= 0)
            break;
        bytes.append(buffer, static_cast<size_t>(got));
        for (size_t size = elementSize(bytes); size > 0; size = elementSize(bytes)) {
            const std::string answer = m_script(parse(bytes.substr(0, size)));
            bytes.erase(0, size);
            if (answer == kHangUp) {
                close(fd);
                return;
            }
            send(fd, answer.data(), answer.size(), MSG_NOSIGNAL);
        }
    }
    close(fd);
}

} // namespace kr
