// agent-world: runs a command in a world where this computer is an agent server: a private system
// bus with a stand-in of systemd's manager, and the stand-in of the agent and its watchdog as units
// of it, started. The command's environment leads to that bus; all of it ends with the command.
//
// usage: agent-world [OPTION OF zandrelAgent-standin]... -- COMMAND [ARGUMENT]...
#include <signal.h>
#include <spawn.h>
#include <sys/signalfd.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <vector>

#include "platform/events/epoll/EpollEvents.h"
#include "tests/agent/BusServer.h"
#include "tests/agent/PrivateBus.h"
#include "tests/agent/StandinManager.h"

namespace {

/// How long the units may take to end.
constexpr std::chrono::seconds kPatience(2);

using Words = std::vector<std::string>;

std::vector<kr::StandinUnit> unitsFor(const std::string& bus, const Words& options) {
    const auto self = std::filesystem::read_symlink("/proc/self/exe");
    const std::string program = (self.parent_path() / "zandrelAgent-standin").string();
    Words agent{program, "--bus", bus};
    agent.insert(agent.end(), options.begin(), options.end());
    return {{"zandrelAgent.service", "org.zandrel.Agent", agent},
            {"kRWatchdog.service", "org.zandrel.Watchdog", {program, "--watchdog", "--bus", bus}}};
}

/// In our own process group, so that the terminal's keys reach the command.
pid_t start(const Words& command) {
    std::vector<char*> argv;
    argv.reserve(command.size() + 1);
    for (const auto& word : command)
        argv.push_back(const_cast<char*>(word.c_str()));
    argv.push_back(nullptr);
    pid_t pid = 0;
    const int error = posix_spawnp(&pid, argv[0], nullptr, nullptr, argv.data(), environ);
    if (error != 0)
        std::cerr << "agent-world: " << command.front() << ": " << std::strerror(error) << '\n';
    return error == 0 ? pid : 0;
}

/// Until the command ends. The terminal's keys are its business; a request to end is passed on.
void waitFor(kr::EpollEvents& events, pid_t pid) {
    signal(SIGINT, SIG_IGN);
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    const int requests = signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
    const int handle = static_cast<int>(syscall(SYS_pidfd_open, pid, 0));
    bool ended = false;
    events.AddWatch(handle, kr::Events::Readable, [&](unsigned) { ended = true; });
    const auto watch = events.AddWatch(requests, kr::Events::Readable, [&](unsigned) {
        signalfd_siginfo info{};
        if (read(requests, &info, sizeof info) > 0)
            kill(pid, SIGTERM);
    });
    while (!ended)
        events.Run(std::chrono::milliseconds(-1));
    events.Cancel(watch);
    close(requests);
    close(handle);
}

int run(const Words& options, const Words& command) {
    const kr::PrivateBus bus;
    if (!bus.running()) {
        std::cerr << "agent-world: dbus-daemon can't be started\n";
        return 1;
    }
    setenv("DBUS_SYSTEM_BUS_ADDRESS", bus.address().c_str(), 1);
    const auto events = kr::MakeEpollEvents();
    kr::BusServer server(*events, bus.address(), {});
    kr::StandinManager manager(*events, server, unitsFor(bus.address(), options),
                               [](std::string_view text) { std::cerr << text << std::endl; });
    manager.StartAll();
    // the terminal's keys are the command's business; we end when it does
    const pid_t pid = start(command);
    if (pid == 0)
        return 127;
    waitFor(*events, pid);
    int status = 0;
    waitpid(pid, &status, 0);
    manager.StopAll();
    const auto end = std::chrono::steady_clock::now() + kPatience;
    while (manager.Running() && std::chrono::steady_clock::now() < end)
        events->Run(std::chrono::milliseconds(50));
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

} // namespace

int main(int count, char** words) {
    Words options, command;
    bool own = true;
    for (int i = 1; i < count; ++i) {
        if (own && std::strcmp(words[i], "--") == 0)
            own = false;
        else
            (own ? options : command).push_back(words[i]);
    }
    if (command.empty()) {
        std::cerr << "usage: agent-world [OPTION OF zandrelAgent-standin]... -- COMMAND...\n";
        return 2;
    }
    try {
        return run(options, command);
    } catch (const std::exception& error) {
        std::cerr << "agent-world: " << error.what() << '\n';
        return 1;
    }
}
