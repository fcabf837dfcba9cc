#include "tests/platform/services/ScmStandin.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>

#include "core/Text.h"

namespace kr {

namespace {

// packet types and call numbers
constexpr uint8_t kRequest = 0, kResponse = 2, kBind = 11, kBindAck = 12;
constexpr uint16_t kClose = 0, kControl = 1, kQuery = 6, kOpenManager = 15, kOpenService = 16,
                   kStart = 19;
constexpr uint32_t kStopCode = 1, kNoService = 1060, kNotActive = 1062, kAlreadyRunning = 1056;
constexpr size_t kHeader = 16, kRequestHeader = 24, kHandle = 20;

template <class T>
T get(std::string_view data, size_t at) {
    T value{};
    if (at + sizeof value <= data.size())
        std::memcpy(&value, data.data() + at, sizeof value);
    return value;
}

template <class T>
void put(std::string& out, T value) {
    out.append(reinterpret_cast<const char*>(&value), sizeof value);
}

std::string handleOf(uint32_t number) {
    std::string handle(kHandle, '\0');
    handle[4] = 1; // a handle of zeros means none
    std::memcpy(handle.data() + 8, &number, sizeof number);
    return handle;
}

std::string withCode(std::string stub, uint32_t code) {
    put(stub, code);
    return stub;
}

std::string status(uint32_t state) {
    std::string out;
    put<uint32_t>(out, 16); // a process of its own
    put(out, state);
    out.append(20, '\0');
    return out;
}

std::string packetOf(uint8_t type, uint32_t call, const std::string& body) {
    std::string out{5, 0, static_cast<char>(type), 3, 0x10, 0, 0, 0};
    put(out, static_cast<uint16_t>(kHeader + body.size()));
    put<uint16_t>(out, 0);
    put(out, call);
    return out + body;
}

} // namespace

ScmStandin::ScmStandin(const std::string& address)
    : m_listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in own{};
    own.sin_family = AF_INET;
    inet_pton(AF_INET, address.c_str(), &own.sin_addr);
    socklen_t size = sizeof own;
    auto* generic = reinterpret_cast<sockaddr*>(&own);
    if (bind(m_listener, generic, size) == 0 && listen(m_listener, 8) == 0 &&
        getsockname(m_listener, generic, &size) == 0)
        m_port = ntohs(own.sin_port);
    m_thread = std::thread([this] { serve(); });
}

ScmStandin::~ScmStandin() {
    m_quit = true;
    Drop();
    m_thread.join();
    close(m_listener);
}

void ScmStandin::SetService(const std::string& name, uint32_t state) {
    const std::lock_guard lock(m_mutex);
    m_services[name] = state;
}

void ScmStandin::Refuse(uint32_t code) {
    const std::lock_guard lock(m_mutex);
    m_refusal = code;
}

void ScmStandin::Drop() {
    if (m_open >= 0)
        shutdown(m_open, SHUT_RDWR);
}

std::vector<std::string> ScmStandin::calls() const {
    const std::lock_guard lock(m_mutex);
    return m_calls;
}

void ScmStandin::serve() {
    while (!m_quit) {
        pollfd waiting{m_listener, POLLIN, 0};
        if (poll(&waiting, 1, 20) <= 0)
            continue;
        const int fd = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (fd < 0)
            continue;
        ++m_connections;
        m_open = fd;
        converse(fd);
        m_open = -1;
        close(fd);
    }
}

void ScmStandin::converse(int fd) {
    std::string packet;
    while (!m_quit && readPacket(fd, packet) && answer(fd, packet)) {
    }
}

bool ScmStandin::readPacket(int fd, std::string& packet) const {
    packet.assign(kHeader, '\0');
    if (recv(fd, packet.data(), kHeader, MSG_WAITALL) != static_cast<ssize_t>(kHeader))
        return false;
    const size_t size = get<uint16_t>(packet, 8);
    if (size < kHeader)
        return false;
    packet.resize(size);
    const auto rest = static_cast<ssize_t>(size - kHeader);
    return rest == 0 || recv(fd, packet.data() + kHeader, size - kHeader, MSG_WAITALL) == rest;
}

bool ScmStandin::answer(int fd, const std::string& packet) {
    const auto id = get<uint32_t>(packet, 12);
    std::string reply;
    if (packet[2] == kBind) {
        reply = packetOf(kBindAck, id, bindAck(packet));
    } else if (packet[2] == kRequest) {
        const std::string stub =
            call(get<uint16_t>(packet, 22), std::string_view(packet).substr(kRequestHeader));
        std::string body;
        put(body, static_cast<uint32_t>(stub.size()));
        body.append(4, '\0'); // context, cancel count
        reply = packetOf(kResponse, id, body + stub);
    } else {
        return false;
    }
    if (m_mute)
        return true;
    return send(fd, reply.data(), reply.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(reply.size());
}

/// Accepts the first of the offered contexts and its first encoding, and no other.
std::string ScmStandin::bindAck(const std::string& packet) const {
    const std::string port = std::to_string(m_port);
    std::string body;
    put(body, get<uint16_t>(packet, 16));
    put(body, get<uint16_t>(packet, 18));
    put<uint32_t>(body, 1);
    put(body, static_cast<uint16_t>(port.size() + 1));
    body += port + '\0';
    while ((kHeader + body.size()) % 4 != 0)
        body += '\0';
    const auto contexts = static_cast<uint8_t>(packet[24]);
    put<uint32_t>(body, contexts);
    for (int i = 0; i < contexts; ++i) {
        put<uint16_t>(body, i == 0 ? 0 : 2); // acceptance, refusal by the provider
        put<uint16_t>(body, i == 0 ? 0 : 2);
        // number (4), interface (20), then the encoding
        body += i == 0 ? packet.substr(28 + 4 + 20, 20) : std::string(20, '\0');
    }
    return body;
}

std::string ScmStandin::call(uint16_t number, std::string_view stub) {
    const std::lock_guard lock(m_mutex);
    switch (number) {
    case kOpenManager:
        return withCode(handleOf(0), 0);
    case kOpenService:
        return openService(stub);
    case kClose:
        return withCode(std::string(kHandle, '\0'), 0);
    case kQuery:
    case kStart:
    case kControl:
        return change(number, stub);
    default:
        return withCode({}, 87);
    }
}

std::string ScmStandin::openService(std::string_view stub) {
    const auto length = get<uint32_t>(stub, kHandle + 8); // of the name, with its final NUL
    std::string name;
    for (uint32_t i = 0; i + 1 < length; ++i)
        name += static_cast<char>(get<uint16_t>(stub, kHandle + 12 + 2 * size_t{i}));
    for (const auto& [known, state] : m_services)
        if (EqualNoCase(known, name)) {
            m_handles.push_back(known);
            return withCode(handleOf(static_cast<uint32_t>(m_handles.size())), 0);
        }
    return withCode(std::string(kHandle, '\0'), kNoService);
}

std::string ScmStandin::change(uint16_t number, std::string_view stub) {
    const size_t handle = get<uint32_t>(stub, 8);
    if (handle == 0 || handle > m_handles.size())
        return withCode({}, 6);
    const std::string& name = m_handles[handle - 1];
    uint32_t& state = m_services[name];
    if (number == kQuery)
        return withCode(status(state), 0);
    if (number == kStart) {
        m_calls.push_back("start " + name);
        const uint32_t code = m_refusal != 0 ? m_refusal : state == 4 ? kAlreadyRunning : 0;
        state = code == 0 ? 4 : state;
        return withCode({}, code);
    }
    const auto code = get<uint32_t>(stub, kHandle);
    m_calls.push_back(code == kStopCode ? "stop " + name
                                        : "control " + name + " " + std::to_string(code));
    const uint32_t result = m_refusal != 0 ? m_refusal : state == 1 ? kNotActive : 0;
    if (result == 0 && code == kStopCode)
        state = 1;
    return withCode(status(state), result);
}

} // namespace kr
