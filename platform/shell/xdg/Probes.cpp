#include "platform/shell/xdg/Probes.h"

#include <arpa/inet.h>
#include <linux/errqueue.h>
#include <netinet/ip_icmp.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <vector>

#include "platform/shell/xdg/Process.h"

namespace kr {

namespace {

constexpr size_t kPayload = 32; // characters in the request
constexpr std::array<uint16_t, 3> kPorts = {445, 22, 135};

/// A socket and its watch, which goes before it.
class WatchedSocket {
public:
    WatchedSocket(Events& events, int fd) : m_events(events), m_fd(fd) {}
    ~WatchedSocket() {
        m_events.Cancel(m_watch);
        if (m_fd >= 0)
            close(m_fd);
    }
    WatchedSocket(const WatchedSocket&) = delete;
    WatchedSocket& operator=(const WatchedSocket&) = delete;
    int fd() const { return m_fd; }
    void Watch(unsigned watch, std::function<void()> call) {
        m_watch = m_events.AddWatch(m_fd, watch, [call = std::move(call)](unsigned) { call(); });
    }
    /// No more calls: a failed socket would announce itself for ever.
    void Rest() { m_events.SetWatch(m_watch, 0); }

private:
    Events& m_events;
    int m_fd;
    Events::Id m_watch = 0;
};

sockaddr_in socketAddress(in_addr address, uint16_t port) {
    sockaddr_in result{};
    result.sin_family = AF_INET;
    result.sin_addr = address;
    result.sin_port = htons(port);
    return result;
}

// --- ICMP

int icmpSocket(bool raw) {
    return socket(AF_INET, (raw ? SOCK_RAW : SOCK_DGRAM) | SOCK_NONBLOCK | SOCK_CLOEXEC,
                  IPPROTO_ICMP);
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

class EchoProbe : public Probe {
public:
    EchoProbe(Events& events, in_addr address, bool raw, uint16_t sequence)
        : m_socket(events, icmpSocket(raw)), m_address(address), m_raw(raw),
          m_id(static_cast<uint16_t>(getpid())), m_sequence(sequence) {
        if (m_socket.fd() < 0) {
            m_result = {PingOutcome::NoSocket, errno};
            return;
        }
        const auto packet = echoRequest(m_id, m_sequence);
        const sockaddr_in to = socketAddress(address, 0);
        const int on = 1;
        if (connect(m_socket.fd(), reinterpret_cast<const sockaddr*>(&to), sizeof to) != 0 ||
            setsockopt(m_socket.fd(), IPPROTO_IP, IP_RECVERR, &on, sizeof on) != 0 ||
            !sendPacket(packet))
            m_result = {PingOutcome::Failed, errno};
        else
            m_socket.Watch(Events::Readable, [this] { read(); });
    }
    std::optional<PingReport> Result() override { return m_result; }

private:
    /// A raw socket may take the error of another request before it is connected. That fails the
    /// first attempt, and is no answer to ours.
    bool sendPacket(const std::vector<uint8_t>& packet) const {
        const auto send = [&] {
            return ::send(m_socket.fd(), packet.data(), packet.size(), MSG_NOSIGNAL) >= 0;
        };
        return send() || send();
    }
    void read() {
        m_result = readReply();
        if (m_result)
            m_socket.Rest();
    }
    /// What one received packet says about our request: nothing, or how it ended.
    std::optional<PingReport> readReply() const;
    /// The errors that were reported for our address alone.
    std::optional<PingReport> readError() const;

    WatchedSocket m_socket;
    in_addr m_address;
    bool m_raw;
    uint16_t m_id;
    uint16_t m_sequence;
    std::optional<PingReport> m_result;
};

std::optional<PingReport> EchoProbe::readReply() const {
    std::array<uint8_t, 1500> buffer{};
    sockaddr_in from{};
    socklen_t size = sizeof from;
    const ssize_t got = recvfrom(m_socket.fd(), buffer.data(), buffer.size(), 0,
                                 reinterpret_cast<sockaddr*>(&from), &size);
    if (got < 0)
        return readError();
    // a raw socket gives the IP header as well; its length stands in the low half of byte 0
    const size_t skip = m_raw ? (buffer[0] & 15u) * 4u : 0;
    icmphdr header{};
    if (static_cast<size_t>(got) < skip + sizeof header || from.sin_addr.s_addr != m_address.s_addr)
        return std::nullopt;
    std::memcpy(&header, buffer.data() + skip, sizeof header);
    if (header.type != ICMP_ECHOREPLY || header.un.echo.sequence != htons(m_sequence) ||
        (m_raw && header.un.echo.id != htons(m_id)))
        return std::nullopt;
    return PingReport{};
}

std::optional<PingReport> EchoProbe::readError() const {
    for (;;) {
        std::array<uint8_t, 256> packet{};
        alignas(cmsghdr) std::array<char, 512> control{};
        sockaddr_in to{}; // of the request that failed
        iovec part{packet.data(), packet.size()};
        msghdr message{&to, sizeof to, &part, 1, control.data(), control.size(), 0};
        if (recvmsg(m_socket.fd(), &message, MSG_ERRQUEUE) < 0)
            return std::nullopt;
        for (cmsghdr* one = CMSG_FIRSTHDR(&message); one; one = CMSG_NXTHDR(&message, one)) {
            if (one->cmsg_level != IPPROTO_IP || one->cmsg_type != IP_RECVERR)
                continue;
            sock_extended_err error{};
            std::memcpy(&error, CMSG_DATA(one), sizeof error);
            if (to.sin_addr.s_addr == m_address.s_addr)
                return PingReport{PingOutcome::Failed, static_cast<long>(error.ee_errno)};
        }
    }
}

// --- the program

class ProgramProbe : public Probe {
public:
    ProgramProbe(const std::string& program, in_addr address) {
        std::array<char, INET_ADDRSTRLEN> text{};
        inet_ntop(AF_INET, &address, text.data(), text.size());
        m_pid = StartProcess({program, "-n", "-q", "-c", "1", "-W", "2", "-s", "32", text.data()});
        if (m_pid < 0)
            m_result = {PingOutcome::NoSocket, -m_pid};
    }
    ~ProgramProbe() override {
        if (m_result)
            return;
        kill(m_pid, SIGKILL);
        waitpid(m_pid, nullptr, 0);
    }
    std::optional<PingReport> Result() override {
        int status = 0;
        if (!m_result && waitpid(m_pid, &status, WNOHANG) != 0)
            m_result = reportOf(status);
        return m_result;
    }

private:
    static PingReport reportOf(int status) {
        if (!WIFEXITED(status))
            return {PingOutcome::Failed, status};
        // exit code 1: no answer came; others: the program could not ask
        switch (WEXITSTATUS(status)) {
        case 0:
            return {};
        case 1:
            return {PingOutcome::TimedOut, 0};
        default:
            return {PingOutcome::Failed, WEXITSTATUS(status)};
        }
    }

    pid_t m_pid = 0;
    std::optional<PingReport> m_result;
};

// --- TCP

class PortsProbe : public Probe {
public:
    PortsProbe(Events& events, in_addr address) : m_events(events) {
        m_sockets.reserve(kPorts.size());
        for (const uint16_t port : kPorts)
            if (!m_result)
                attempt(socketAddress(address, port));
    }
    std::optional<PingReport> Result() override { return m_result; }

private:
    void attempt(const sockaddr_in& to);
    void note(int error);

    Events& m_events;
    std::vector<std::unique_ptr<WatchedSocket>> m_sockets;
    size_t m_failed = 0;
    std::optional<PingReport> m_result;
};

int socketError(int fd) {
    int error = 0;
    socklen_t size = sizeof error;
    getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size);
    return error;
}

void PortsProbe::attempt(const sockaddr_in& to) {
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        m_result = {PingOutcome::NoSocket, errno};
        return;
    }
    WatchedSocket& added = *m_sockets.emplace_back(std::make_unique<WatchedSocket>(m_events, fd));
    if (connect(fd, reinterpret_cast<const sockaddr*>(&to), sizeof to) == 0)
        note(0);
    else if (errno != EINPROGRESS)
        note(errno);
    else
        added.Watch(Events::Writable, [this, &added] {
            added.Rest(); // one answer a port
            note(socketError(added.fd()));
        });
}

void PortsProbe::note(int error) {
    if (m_result)
        return;
    if (error == 0 || error == ECONNREFUSED)
        m_result = PingReport{};
    else if (++m_failed == kPorts.size())
        m_result = {PingOutcome::Failed, error};
}

} // namespace

bool CanEcho(bool raw) {
    const int probe = icmpSocket(raw);
    if (probe < 0)
        return false;
    close(probe);
    return true;
}

bool HasPingProgram() {
    for (const char* path : {"/usr/bin/ping", "/bin/ping", "/sbin/ping"})
        if (access(path, X_OK) == 0)
            return true;
    return false;
}

std::unique_ptr<Probe> MakeEchoProbe(Events& events, in_addr address, bool raw, uint16_t sequence) {
    return std::make_unique<EchoProbe>(events, address, raw, sequence);
}

std::unique_ptr<Probe> MakeProgramProbe(const std::string& program, in_addr address) {
    return std::make_unique<ProgramProbe>(program, address);
}

std::unique_ptr<Probe> MakePortsProbe(Events& events, in_addr address) {
    return std::make_unique<PortsProbe>(events, address);
}

} // namespace kr
