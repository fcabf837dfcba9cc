#include "platform/services/ChildProcess.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "core/Text.h"

namespace kr {

namespace {

constexpr size_t kMostErrorText = 2000; // bytes of standard error that are kept

void closeFd(int& fd) {
    if (fd >= 0)
        close(fd);
    fd = -1;
}

int exitCodeOf(const siginfo_t& info) {
    return info.si_code == CLD_EXITED ? info.si_status : 128 + info.si_status;
}

/// Collects a process that nobody asks for any more, when it ends.
void reapLater(Events& events, int handle) {
    const auto id = std::make_shared<Events::Id>(0);
    *id = events.AddWatch(handle, Events::Readable, [&events, id, handle](unsigned) {
        siginfo_t info{};
        waitid(P_PIDFD, static_cast<id_t>(handle), &info, WEXITED | WNOHANG);
        events.Cancel(*id);
        close(handle);
    });
}

/// Signals as a fresh program expects them: the console ignores SIGPIPE, which children inherit.
class SpawnSettings {
public:
    SpawnSettings(int socket, int errors) {
        posix_spawnattr_init(&attributes);
        sigset_t signals;
        sigemptyset(&signals);
        posix_spawnattr_setsigmask(&attributes, &signals);
        sigaddset(&signals, SIGPIPE);
        posix_spawnattr_setsigdefault(&attributes, &signals);
        posix_spawnattr_setpgroup(&attributes, 0);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK |
                                                  POSIX_SPAWN_SETPGROUP);
        posix_spawn_file_actions_init(&files);
        posix_spawn_file_actions_adddup2(&files, socket, STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&files, socket, STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&files, errors, STDERR_FILENO);
    }
    ~SpawnSettings() {
        posix_spawn_file_actions_destroy(&files);
        posix_spawnattr_destroy(&attributes);
    }
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;

    posix_spawnattr_t attributes{};
    posix_spawn_file_actions_t files{};
};

} // namespace

ChildProcess::ChildProcess(Events& events, const std::vector<std::string>& arguments,
                           std::function<void(int)> onEnd)
    : m_events(events), m_onEnd(std::move(onEnd)) {
    m_error = start(arguments);
}

int ChildProcess::start(const std::vector<std::string>& arguments) {
    int pair[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) != 0)
        return errno;
    m_socket = pair[0];
    int errors[2];
    int error = pipe2(errors, O_CLOEXEC) != 0 ? errno : 0;
    if (error == 0) {
        m_errors = errors[0];
        error = spawn(arguments, pair[1], errors[1]);
        close(errors[1]);
    }
    close(pair[1]);
    if (error != 0)
        return error;
    fcntl(m_socket, F_SETFL, O_NONBLOCK);
    fcntl(m_errors, F_SETFL, O_NONBLOCK);
    m_errorWatch =
        m_events.AddWatch(m_errors, Events::Readable, [this](unsigned) { readErrors(); });
    m_endWatch = m_events.AddWatch(m_handle, Events::Readable, [this](unsigned) { onExit(); });
    return 0;
}

int ChildProcess::spawn(const std::vector<std::string>& arguments, int socket, int errors) {
    const SpawnSettings settings(socket, errors);
    std::vector<char*> argv;
    argv.reserve(arguments.size() + 1);
    for (const auto& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    const int error =
        posix_spawnp(&m_pid, argv[0], &settings.files, &settings.attributes, argv.data(), environ);
    if (error != 0) {
        m_pid = 0;
        return error;
    }
    // the C library's own pidfd_open can't be called from C++ here
    m_handle = static_cast<int>(syscall(SYS_pidfd_open, m_pid, 0));
    return m_handle < 0 ? errno : 0;
}

ChildProcess::~ChildProcess() {
    m_events.Cancel(m_errorWatch);
    m_events.Cancel(m_endWatch);
    closeFd(m_socket);
    closeFd(m_errors);
    if (m_pid > 0)
        kill(-m_pid, SIGKILL);
    if (m_pid > 0 && m_handle >= 0)
        reapLater(m_events, std::exchange(m_handle, -1));
    closeFd(m_handle);
}

bool ChildProcess::Signal(int signal) { return m_pid > 0 && kill(m_pid, signal) == 0; }

int ChildProcess::TakeSocket() { return std::exchange(m_socket, -1); }

void ChildProcess::readErrors() {
    char buffer[1024];
    const ssize_t got = read(m_errors, buffer, sizeof buffer);
    if (got > 0) {
        m_text.append(buffer, static_cast<size_t>(got));
        if (m_text.size() > kMostErrorText)
            m_text.erase(0, m_text.size() - kMostErrorText);
        return;
    }
    if (got < 0 && errno == EAGAIN)
        return;
    m_events.Cancel(std::exchange(m_errorWatch, 0));
}

void ChildProcess::onExit() {
    siginfo_t info{};
    if (waitid(P_PIDFD, static_cast<id_t>(m_handle), &info, WEXITED | WNOHANG) != 0 ||
        info.si_pid == 0)
        return;
    kill(-m_pid, SIGKILL); // what it started goes with it
    m_pid = 0;
    m_events.Cancel(std::exchange(m_endWatch, 0));
    if (m_errorWatch != 0)
        readErrors();
    if (const auto onEnd = std::exchange(m_onEnd, nullptr))
        onEnd(exitCodeOf(info));
}

std::string ChildProcess::LastWords() const {
    const auto lines = SplitNonEmpty(m_text, "\n");
    return lines.empty() ? std::string() : lines.back();
}

std::vector<std::string> SshCommand(const SshSettings& settings, const std::string& host,
                                    const std::vector<std::string>& remote) {
    std::vector<std::string> command{settings.program, "-xT", "-o", "BatchMode=yes", "-o",
                                     "StrictHostKeyChecking=yes", "-o",
                                     // seconds; the caller gives up at that time as well
                                     "ConnectTimeout=2", "-o", "ServerAliveInterval=5", "-o",
                                     "ServerAliveCountMax=2", "-o", "ClearAllForwardings=yes"};
    command.insert(command.end(), settings.arguments.begin(), settings.arguments.end());
    command.insert(command.end(), {"--", host});
    command.insert(command.end(), remote.begin(), remote.end());
    return command;
}

} // namespace kr
