#include "app/SingleInstance.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "core/Text.h"

namespace kr {

using namespace std::chrono_literals;

namespace {

constexpr auto kAnswerTime = 2000ms;
/// The first copy may hold the lock and not listen yet.
constexpr auto kConnectTime = 500ms;
constexpr size_t kMostBytes = 4096;
constexpr std::string_view kRaise = "raise ";

/// A folder that belongs to us and that nobody else may enter.
bool isOurs(const std::string& folder) {
    struct stat info {};
    return lstat(folder.c_str(), &info) == 0 && S_ISDIR(info.st_mode) && info.st_uid == geteuid() &&
           (info.st_mode & 077) == 0;
}

std::string ownFolder() {
    if (const char* runtime = std::getenv("XDG_RUNTIME_DIR"))
        if (isOurs(runtime))
            return runtime;
    std::string folder = "/tmp/kr-admin-" + std::to_string(geteuid());
    mkdir(folder.c_str(), 0700);
    return isOurs(folder) ? folder : std::string();
}

bool fill(sockaddr_un& address, const std::string& path) {
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path)
        return false;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    return true;
}

int unixSocket(int flags) { return socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | flags, 0); }

/// What lets the first copy take the focus; it is one line.
std::string activationToken() {
    for (const char* name : {"XDG_ACTIVATION_TOKEN", "DESKTOP_STARTUP_ID"}) {
        const char* value = std::getenv(name);
        if (value == nullptr || *value == '\0')
            continue;
        std::string token = value;
        std::erase_if(token, [](char c) { return c == '\n' || c == '\r'; });
        return token.substr(0, kMostBytes / 2);
    }
    return {};
}

bool answersOk(int fd) {
    const auto deadline = std::chrono::steady_clock::now() + kAnswerTime;
    std::string got;
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        pollfd wait{fd, POLLIN, 0};
        if (left.count() <= 0 || poll(&wait, 1, static_cast<int>(left.count())) <= 0)
            return false;
        std::array<char, 16> buffer{};
        const ssize_t n = recv(fd, buffer.data(), buffer.size(), 0);
        if (n <= 0)
            return false;
        got.append(buffer.data(), static_cast<size_t>(n));
        if (got.find('\n') != std::string::npos)
            return got == "ok\n";
    }
}

} // namespace

SingleInstance::SingleInstance(std::string name, std::string folder)
    : m_name(std::move(name)), m_folder(folder.empty() ? ownFolder() : std::move(folder)) {}

SingleInstance::~SingleInstance() {
    while (!m_clients.empty())
        drop(m_clients.begin()->first);
    if (m_listener >= 0) {
        unlink(path(".socket").c_str());
        close(m_listener);
    }
    if (m_epoll >= 0)
        close(m_epoll);
    // the lock goes last, so that nobody's new socket is removed
    if (m_lock >= 0)
        close(m_lock);
}

std::string SingleInstance::path(std::string_view ending) const {
    return m_folder + "/" + m_name + std::string(ending);
}

SingleInstance::Result SingleInstance::Acquire(std::string_view title) {
    if (m_folder.empty())
        return Result::First;
    if (lock()) {
        listen();
        return Result::First;
    }
    if (askFirst() || RaiseWindow(title))
        return Result::RaisedOther;
    return Result::OtherNotFound;
}

/// False when another copy holds it.
bool SingleInstance::lock() {
    m_lock = open(path(".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (m_lock < 0 || flock(m_lock, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK)
        return true;
    close(m_lock);
    m_lock = -1;
    return false;
}

/// Whoever holds the lock may remove what a crashed copy left behind.
void SingleInstance::listen() {
    sockaddr_un address{};
    if (m_lock < 0 || !fill(address, path(".socket")))
        return;
    unlink(address.sun_path);
    m_listener = unixSocket(SOCK_NONBLOCK);
    m_epoll = epoll_create1(EPOLL_CLOEXEC);
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.fd = m_listener;
    if (bind(m_listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(m_listener, 8) != 0 ||
        epoll_ctl(m_epoll, EPOLL_CTL_ADD, m_listener, &event) != 0) {
        close(m_listener);
        m_listener = -1;
    }
}

bool SingleInstance::askFirst() const {
    sockaddr_un address{};
    if (!fill(address, path(".socket")))
        return false;
    const int fd = unixSocket(0);
    const auto deadline = std::chrono::steady_clock::now() + kConnectTime;
    bool connected = false;
    while (!(connected = connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) &&
           std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(25ms);
    bool raised = false;
    if (connected) {
        const std::string line = std::string(kRaise) + activationToken() + "\n";
        raised =
            send(fd, line.data(), line.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(line.size()) &&
            answersOk(fd);
    }
    close(fd);
    return raised;
}

void SingleInstance::Process() {
    std::array<epoll_event, 8> ready{};
    const int count = epoll_wait(m_epoll, ready.data(), static_cast<int>(ready.size()), 0);
    for (int i = 0; i < count; ++i) {
        const int fd = ready[static_cast<size_t>(i)].data.fd;
        if (fd == m_listener)
            accept();
        else if (m_clients.contains(fd)) // a nested Process may have served it
            read(fd);
    }
}

void SingleInstance::accept() {
    const int client = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (client < 0)
        return;
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.fd = client;
    epoll_ctl(m_epoll, EPOLL_CTL_ADD, client, &event);
    m_clients[client];
}

void SingleInstance::read(int client) {
    std::array<char, 1024> buffer{};
    const ssize_t got = recv(client, buffer.data(), buffer.size(), 0);
    if (got < 0 && (errno == EAGAIN || errno == EINTR))
        return;
    std::string& text = m_clients[client];
    if (got > 0)
        text.append(buffer.data(), static_cast<size_t>(got));
    const size_t end = text.find('\n');
    if (end == std::string::npos) {
        if (got <= 0 || text.size() > kMostBytes)
            drop(client);
        return;
    }
    const std::string line = text.substr(0, end);
    const bool raise = line.starts_with(kRaise);
    // a second copy that gave up must not end the first one by a signal
    if (raise)
        send(client, "ok\n", 3, MSG_NOSIGNAL);
    drop(client);
    if (raise && m_raise)
        m_raise(line.substr(kRaise.size()));
}

void SingleInstance::drop(int client) {
    m_clients.erase(client);
    close(client);
}

} // namespace kr
