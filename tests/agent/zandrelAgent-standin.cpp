// zandrelAgent-standin: plays the agent, or its watchdog, on this computer for tests and for a look
// at the console. It does none of an agent's work; it hears control codes and reports progress.
#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>
#include <map>
#include <stdexcept>

#include "core/PlatformError.h"
#include "platform/events/epoll/EpollEvents.h"
#include "platform/registry/regfile/RegFileRegistry.h"
#include "platform/store/sqlite/SqliteStore.h"
#include "tests/agent/BusServer.h"
#include "tests/agent/StandinAgent.h"

namespace {

constexpr const char* kUsage =
    "usage: zandrelAgent-standin --server NAME --alias ALIAS [--host NAME] [--bus ADDRESS]\n"
    "                            [--step MILLISECONDS] [--steps N] [--deaf]\n"
    "       zandrelAgent-standin --watchdog [--bus ADDRESS]\n"
    "  --host   its computer's name, which is the subject of its host message\n"
    "  --bus    of another bus than the system's\n"
    "  --step   time between two reports of a task's progress (1000)\n"
    "  --steps  number of reports in a task (10)\n"
    "  --deaf   don't end when asked to, as an agent does that hangs\n";

std::string computerName() {
    char name[256] = {};
    gethostname(name, sizeof name - 1);
    const std::string full = name;
    return full.substr(0, full.find('.'));
}

using Options = std::map<std::string, std::string>;

Options readOptions(int count, char** words) {
    Options options{{"host", computerName()}};
    for (int i = 1; i < count; ++i) {
        const std::string word = words[i];
        if (word == "--watchdog" || word == "--deaf")
            options[word.substr(2)] = "yes";
        else if (word.starts_with("--") && i + 1 < count)
            options[word.substr(2)] = words[++i];
        else
            throw std::invalid_argument(word);
    }
    if (!options.contains("watchdog") && (options["server"].empty() || options["alias"].empty()))
        throw std::invalid_argument("--server and --alias are missing");
    return options;
}

int numberOf(const Options& options, const std::string& name, int fallback) {
    const auto found = options.find(name);
    return found == options.end() ? fallback : std::max(1, std::stoi(found->second));
}

std::string textOf(const Options& options, const std::string& name) {
    const auto found = options.find(name);
    return found == options.end() ? std::string() : found->second;
}

/// A descriptor that is readable once the program is asked to end.
int endingSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    return signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
}

void report(std::string_view who, std::string_view text) {
    std::cout << who << ": " << text << std::endl;
}

void runUntilAsked(kr::EpollEvents& events, const bool& lost, bool deaf) {
    const int signals = endingSignals();
    bool asked = false;
    events.AddWatch(signals, kr::Events::Readable, [&](unsigned) {
        signalfd_siginfo info{};
        asked = read(signals, &info, sizeof info) > 0 && !deaf;
    });
    while (!asked && !lost)
        events.Run(std::chrono::milliseconds(-1));
}

int runWatchdog(const Options& options) {
    const auto events = kr::MakeEpollEvents();
    bool lost = false;
    kr::BusServer server(*events, textOf(options, "bus"), [&] { lost = true; });
    const kr::ControlObject object(server, "/org/zandrel/Watchdog", "org.zandrel.Watchdog1",
                                   [](uint32_t code) {
                                       report("kRWatchdog", "code " + std::to_string(code));
                                       return true;
                                   });
    server.Own("org.zandrel.Watchdog");
    runUntilAsked(*events, lost, false);
    return 0;
}

int runAgent(const Options& options) {
    const auto events = kr::MakeEpollEvents();
    const auto registry =
        kr::MakeRegFileRegistry(kr::UserRegistryFolder(), kr::MachineRegistryFolder());
    const auto store = kr::MakeSqliteStore(*registry);
    const kr::SystemClock clock;
    kr::StandinAgent agent(*store, *events, clock,
                           {textOf(options, "server"), textOf(options, "alias"),
                            textOf(options, "host"),
                            std::chrono::milliseconds(numberOf(options, "step", 1000)),
                            numberOf(options, "steps", 10)},
                           [](std::string_view text) { report("zandrelAgent", text); });
    agent.Start();
    bool lost = false;
    kr::BusServer server(*events, textOf(options, "bus"), [&] { lost = true; });
    const kr::ControlObject object(server, "/org/zandrel/Agent", "org.zandrel.Agent1",
                                   [&](uint32_t code) { return agent.Control(code); });
    server.Own("org.zandrel.Agent");
    runUntilAsked(*events, lost, options.contains("deaf"));
    agent.Stop();
    return 0;
}

} // namespace

int main(int count, char** words) {
    try {
        const Options options = readOptions(count, words);
        return options.contains("watchdog") ? runWatchdog(options) : runAgent(options);
    } catch (const std::invalid_argument&) {
        std::cerr << kUsage;
        return 2;
    } catch (const std::exception& error) {
        std::cerr << "zandrelAgent-standin: " << error.what() << '\n';
        return 1;
    }
}
