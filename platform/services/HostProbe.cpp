#include "platform/services/HostProbe.h"

#include <netdb.h>
#include <netinet/in.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <mutex>
#include <thread>
#include <utility>

namespace kr {

namespace {

/// How long the first port may still answer once the second one did: a firewall drops silently.
constexpr std::chrono::milliseconds kGrace(300);
constexpr size_t kMostAddresses = 4;

void setPort(sockaddr_storage& storage, uint16_t port) {
    if (storage.ss_family == AF_INET6)
        reinterpret_cast<sockaddr_in6&>(storage).sin6_port = htons(port);
    else
        reinterpret_cast<sockaddr_in&>(storage).sin_port = htons(port);
}

} // namespace

/// Between the look-up's thread, which may hang in a dead name server for long, and the probe.
struct HostProbe::Gate {
    std::mutex mutex;
    HostProbe* probe = nullptr; // nullptr once the probe has gone
};

HostProbe::HostProbe(Events& events, const std::string& host, Ports ports,
                     std::function<void(Found)> done)
    : m_events(events), m_ports(ports), m_done(std::move(done)), m_gate(std::make_shared<Gate>()) {
    m_gate->probe = this;
    lookUp(host);
}

HostProbe::~HostProbe() {
    {
        const std::lock_guard lock(m_gate->mutex);
        m_gate->probe = nullptr;
    }
    m_events.Cancel(m_grace);
    for (Attempt& one : m_attempts)
        close(one);
}

void HostProbe::lookUp(const std::string& host) {
    std::thread([gate = m_gate, host] {
        addrinfo hints{};
        hints.ai_family = AF_UNSPEC;
        hints.ai_socktype = SOCK_STREAM;
        addrinfo* found = nullptr;
        std::vector<Address> addresses;
        if (getaddrinfo(host.c_str(), nullptr, &hints, &found) == 0)
            for (const addrinfo* one = found; one != nullptr; one = one->ai_next)
                if (addresses.size() < kMostAddresses) {
                    Address address{{}, one->ai_addrlen};
                    std::memcpy(&address.storage, one->ai_addr, one->ai_addrlen);
                    addresses.push_back(address);
                }
        if (found != nullptr)
            freeaddrinfo(found);
        const std::lock_guard lock(gate->mutex);
        if (gate->probe == nullptr)
            return;
        gate->probe->m_events.Post([gate, addresses = std::move(addresses)] {
            // on the thread of the events, as the probe's end is
            if (gate->probe != nullptr)
                gate->probe->connectTo(addresses);
        });
    }).detach();
}

void HostProbe::connectTo(const std::vector<Address>& addresses) {
    m_lookingUp = false;
    if (addresses.empty()) {
        finish(Found::NoSuchName);
        return;
    }
    for (const Address& address : addresses) {
        attempt(address, true);
        attempt(address, false);
    }
    decide();
}

void HostProbe::attempt(Address address, bool first) {
    const int fd = socket(address.storage.ss_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0)
        return;
    setPort(address.storage, first ? m_ports.first : m_ports.second);
    if (connect(fd, reinterpret_cast<const sockaddr*>(&address.storage), address.size) != 0 &&
        errno != EINPROGRESS) {
        ::close(fd);
        return;
    }
    const size_t index = m_attempts.size();
    m_attempts.push_back({fd, first, 0});
    m_attempts.back().watch =
        m_events.AddWatch(fd, Events::Writable, [this, index](unsigned) { onWritable(index); });
}

void HostProbe::onWritable(size_t index) {
    Attempt& one = m_attempts[index];
    if (one.fd < 0)
        return;
    int error = 0;
    socklen_t size = sizeof error;
    getsockopt(one.fd, SOL_SOCKET, SO_ERROR, &error, &size);
    if (error == 0)
        (one.first ? m_first : m_second) = true;
    close(one);
    decide();
}

void HostProbe::close(Attempt& one) {
    m_events.Cancel(std::exchange(one.watch, 0));
    if (one.fd >= 0)
        ::close(std::exchange(one.fd, -1));
}

bool HostProbe::anyOpen(bool first) const {
    for (const Attempt& one : m_attempts)
        if (one.fd >= 0 && one.first == first)
            return true;
    return false;
}

void HostProbe::decide() {
    if (m_first)
        finish(Found::First);
    else if (m_second && !anyOpen(true))
        finish(Found::Second);
    else if (m_second && m_grace == 0)
        m_grace = m_events.AddTimer(kGrace, [this] { finish(Found::Second); });
    else if (!m_second && !anyOpen(true) && !anyOpen(false))
        finish(Found::Neither);
}

/// Whoever hears it may destroy the probe.
void HostProbe::finish(Found found) {
    m_events.Cancel(m_grace);
    for (Attempt& one : m_attempts)
        close(one);
    if (const auto done = std::exchange(m_done, nullptr))
        done(found);
}

} // namespace kr
