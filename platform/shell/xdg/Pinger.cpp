#include "platform/shell/xdg/Pinger.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/ip_icmp.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <thread>
#include <vector>

#include "platform/shell/xdg/Process.h"

namespace kr {

using namespace std::chrono_literals;

namespace {

constexpr auto kDeadline = 2000ms;
constexpr auto kSlice = 10ms;
constexpr size_t kPayload = 32; // characters in the request
constexpr int kMostLookups = 4;
constexpr std::array<uint16_t, 3> kPorts = {445, 22, 135};

class Descriptor {
public:
    explicit Descriptor(int fd) : m_fd(fd) {}
    ~Descriptor() {
        if (m_fd >= 0)
            close(m_fd);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return m_fd; }

private:
    int m_fd;
};

/// Cancelled before the descriptor that it watches is closed.
class WatchGuard {
public:
    WatchGuard(Events& events, Events::Id id) : m_events(events), m_id(id) {}
    ~WatchGuard() { m_events.Cancel(m_id); }
    WatchGuard(const WatchGuard&) = delete;
    WatchGuard& operator=(const WatchGuard&) = delete;

private:
    Events& m_events;
    Events::Id m_id;
};

int icmpSocket(int type) {
    return socket(AF_INET, type | SOCK_NONBLOCK | SOCK_CLOEXEC, IPPROTO_ICMP);
}

Pinger::Rung findRung() {
    for (const auto& [type, rung] :
         {std::pair{SOCK_DGRAM, Pinger::Rung::Datagram}, std::pair{SOCK_RAW, Pinger::Rung::Raw}}) {
        const Descriptor probe(icmpSocket(type));
        if (probe.get() >= 0)
            return rung;
    }
    for (const char* path : {"/usr/bin/ping", "/bin/ping", "/sbin/ping"})
        if (access(path, X_OK) == 0)
            return Pinger::Rung::Program;
    return Pinger::Rung::Tcp;
}

/// The Internet checksum (RFC 1071).
uint16_t checksum(const std::vector<uint8_t>& bytes) {
    uint32_t sum = 0;
    for (size_t i = 0; i + 1 < bytes.size(); i += 2)
        sum += static_cast<uint32_t>(bytes[i] << 8 | bytes[i + 1]);
    while (sum >> 16)
        sum = (sum & 0xFFFF) + (sum >> 16);
    return htons(static_cast<uint16_t>(~sum));
}

std::vector<uint8_t> echoRequest(uint16_t id, uint16_t sequence) {
    icmphdr header{};
    header.type = ICMP_ECHO;
    header.un.echo.id = htons(id);
    header.un.echo.sequence = htons(sequence);
    std::vector<uint8_t> packet(sizeof header + kPayload, ' ');
    std::memcpy(packet.data(), &header, sizeof header);
    header.checksum = checksum(packet);
    std::memcpy(packet.data(), &header, sizeof header);
    return packet;
}

/// What one received packet says about our request: nothing, or how it ended.
std::optional<PingReport> readReply(int fd, bool raw, in_addr address, uint16_t id,
                                    uint16_t sequence) {
    std::array<uint8_t, 1500> buffer{};
    sockaddr_in from{};
    socklen_t size = sizeof from;
    const ssize_t got =
        recvfrom(fd, buffer.data(), buffer.size(), 0, reinterpret_cast<sockaddr*>(&from), &size);
    if (got < 0) {
        if (errno == EAGAIN || errno == EINTR)
            return std::nullopt;
        return PingReport{PingOutcome::Failed, errno};
    }
    // a raw socket gives the IP header as well; its length stands in the low half of byte 0
    const size_t skip = raw ? (buffer[0] & 15u) * 4u : 0;
    icmphdr header{};
    if (static_cast<size_t>(got) < skip + sizeof header || from.sin_addr.s_addr != address.s_addr)
        return std::nullopt;
    std::memcpy(&header, buffer.data() + skip, sizeof header);
    if (header.type != ICMP_ECHOREPLY || header.un.echo.sequence != htons(sequence) ||
        (raw && header.un.echo.id != htons(id)))
        return std::nullopt;
    return PingReport{};
}

int socketError(int fd) {
    int error = 0;
    socklen_t size = sizeof error;
    getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size);
    return error;
}

sockaddr_in socketAddress(in_addr address, uint16_t port) {
    sockaddr_in result{};
    result.sin_family = AF_INET;
    result.sin_addr = address;
    result.sin_port = htons(port);
    return result;
}

} // namespace

/// Look-ups that may hang in a dead name server long after their Ping has ended.
struct Pinger::Lookups {
    struct One {
        std::atomic<bool> done{false};
        std::optional<in_addr> address;
    };
    std::atomic<int> running{0};
};

Pinger::Pinger(Events& events, std::function<void()> idle)
    : m_events(events), m_idle(std::move(idle)), m_rung(findRung()),
      m_lookups(std::make_shared<Lookups>()) {}

bool Pinger::wait(const bool& done, Clock::time_point deadline) {
    while (!done && Clock::now() < deadline) {
        m_events.Run(std::min<std::chrono::milliseconds>(
            kSlice, std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now())));
        if (m_idle)
            m_idle();
    }
    return done;
}

std::optional<in_addr> Pinger::resolve(const std::string& host, Clock::time_point deadline) {
    in_addr address{};
    if (inet_pton(AF_INET, host.c_str(), &address) == 1)
        return address;
    if (host.empty() || m_lookups->running >= kMostLookups)
        return std::nullopt;
    auto one = std::make_shared<Lookups::One>();
    ++m_lookups->running;
    std::thread([one, host, lookups = m_lookups] {
        addrinfo hints{};
        hints.ai_family = AF_INET;
        hints.ai_socktype = SOCK_STREAM;
        addrinfo* found = nullptr;
        if (getaddrinfo(host.c_str(), nullptr, &hints, &found) == 0 && found != nullptr)
            one->address = reinterpret_cast<sockaddr_in*>(found->ai_addr)->sin_addr;
        if (found != nullptr)
            freeaddrinfo(found);
        one->done = true;
        --lookups->running;
    }).detach();
    for (bool done = false; !done && Clock::now() < deadline; done = one->done)
        wait(done, std::min(deadline, Clock::now() + 2ms));
    return one->done ? one->address : std::nullopt;
}

PingReport Pinger::Ping(std::string_view host) {
    const auto deadline = Clock::now() + kDeadline;
    while (!host.empty() && host.front() == '\\')
        host.remove_prefix(1);
    const auto address = resolve(std::string(host), deadline);
    if (!address)
        return {PingOutcome::NoSuchName, 0};
    switch (m_rung) {
    case Rung::Datagram:
    case Rung::Raw:
        return echo(*address, m_rung == Rung::Raw, deadline);
    case Rung::Program:
        return runProgram(*address, deadline);
    case Rung::Tcp:
        break;
    }
    return probePorts(*address, deadline);
}

PingReport Pinger::echo(in_addr address, bool raw, Clock::time_point deadline) {
    const Descriptor icmp(icmpSocket(raw ? SOCK_RAW : SOCK_DGRAM));
    if (icmp.get() < 0)
        return {PingOutcome::NoSocket, errno};
    const int on = 1;
    setsockopt(icmp.get(), IPPROTO_IP, IP_RECVERR, &on, sizeof on);
    const auto id = static_cast<uint16_t>(getpid());
    const uint16_t sequence = ++m_sequence;
    const auto packet = echoRequest(id, sequence);
    const sockaddr_in to = socketAddress(address, 0);
    if (sendto(icmp.get(), packet.data(), packet.size(), MSG_NOSIGNAL,
               reinterpret_cast<const sockaddr*>(&to), sizeof to) < 0)
        return {PingOutcome::Failed, errno};
    PingReport report{PingOutcome::TimedOut, 0};
    bool done = false;
    const WatchGuard guard(m_events, m_events.AddWatch(icmp.get(), Events::Readable, [&](unsigned) {
        if (done)
            return;
        if (const auto answer = readReply(icmp.get(), raw, address, id, sequence)) {
            report = *answer;
            done = true;
        }
    }));
    wait(done, deadline);
    return report;
}

PingReport Pinger::runProgram(in_addr address, Clock::time_point deadline) {
    std::array<char, INET_ADDRSTRLEN> text{};
    inet_ntop(AF_INET, &address, text.data(), text.size());
    const pid_t pid =
        StartProcess({m_program, "-n", "-q", "-c", "1", "-W", "2", "-s", "32", text.data()});
    if (pid < 0)
        return {PingOutcome::NoSocket, -pid};
    int status = 0;
    while (waitpid(pid, &status, WNOHANG) == 0) {
        if (Clock::now() >= deadline) {
            kill(pid, SIGKILL);
            waitpid(pid, &status, 0);
            return {PingOutcome::TimedOut, 0};
        }
        const bool never = false;
        wait(never, std::min(deadline, Clock::now() + kSlice));
    }
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0)
        return {};
    // exit code 1: no answer came; others: the program could not ask
    if (WIFEXITED(status) && WEXITSTATUS(status) == 1)
        return {PingOutcome::TimedOut, 0};
    return {PingOutcome::Failed, WIFEXITED(status) ? WEXITSTATUS(status) : status};
}

PingReport Pinger::probePorts(in_addr address, Clock::time_point deadline) {
    std::vector<std::unique_ptr<Descriptor>> sockets;
    std::vector<std::unique_ptr<WatchGuard>> watches; // go before their sockets
    bool done = false;
    size_t failed = 0;
    PingReport report{PingOutcome::TimedOut, 0};
    const auto note = [&](int error) {
        if (error == 0 || error == ECONNREFUSED) {
            report = {};
            done = true;
        } else if (++failed == kPorts.size()) {
            report = {PingOutcome::Failed, error};
            done = true;
        }
    };
    for (const uint16_t port : kPorts) {
        const int fd = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
        if (fd < 0)
            return {PingOutcome::NoSocket, errno};
        sockets.push_back(std::make_unique<Descriptor>(fd));
        const sockaddr_in to = socketAddress(address, port);
        if (connect(fd, reinterpret_cast<const sockaddr*>(&to), sizeof to) == 0) {
            note(0);
            continue;
        }
        if (errno != EINPROGRESS) {
            note(errno);
            continue;
        }
        const auto id = std::make_shared<Events::Id>();
        *id = m_events.AddWatch(fd, Events::Writable, [this, &note, fd, id](unsigned) {
            // one answer a port; a failed socket would announce itself for ever
            m_events.SetWatch(*id, 0);
            note(socketError(fd));
        });
        watches.push_back(std::make_unique<WatchGuard>(m_events, *id));
    }
    wait(done, deadline);
    return report;
}

} // namespace kr
