#include "platform/shell/xdg/XdgShell.h"

#include <pwd.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>
#include <vector>

#include "core/PlatformError.h"
#include "core/Text.h"
#include "platform/shell/xdg/MimeApps.h"
#include "platform/shell/xdg/Pinger.h"
#include "platform/shell/xdg/Process.h"

namespace kr {

namespace {

using namespace std::chrono_literals;

// numbers of ShellExecute
constexpr int kOpened = 33;
constexpr int kNoFile = 2;
constexpr int kRefused = 5;
constexpr int kNoApplication = 31;

/// The opener may live as long as the browser that it starts; an opener that fails says so at once.
constexpr auto kOpenerWait = 1500ms;

std::string firstLine(const std::string& path, std::string_view key, char separator) {
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        const size_t at = line.find(separator);
        if (at == std::string::npos || Trim(line.substr(0, at)) != key)
            continue;
        std::string value = Trim(line.substr(at + 1));
        if (value.size() >= 2 && value.front() == '"' && value.back() == '"')
            value = value.substr(1, value.size() - 2);
        return value;
    }
    return {};
}

class XdgShell : public Shell {
public:
    XdgShell(Events& events, std::function<void()> idle)
        : m_events(events), m_idle(idle), m_pinger(events, std::move(idle)) {}

    ~XdgShell() override {
        reap();
        if (m_tempFolder.empty())
            return;
        std::error_code ignored;
        std::filesystem::remove_all(m_tempFolder, ignored);
    }

    int OpenURL(std::string_view url) override {
        return IsSafeURL(url) ? open(std::string(url)) : kRefused;
    }

    int OpenFile(std::string_view path) override {
        std::error_code error;
        const auto full = std::filesystem::absolute(std::filesystem::path(path), error);
        if (path.empty() || error || !std::filesystem::exists(full, error))
            return kNoFile;
        return open(full.string());
    }

    bool HasViewer(std::string_view mimeType) override {
        return !DefaultApplication(MimeFolders::FromEnvironment(), mimeType).empty();
    }

    bool Ping(std::string_view host) override {
        m_lastPing = m_pinger.Ping(host);
        return m_lastPing.outcome == PingOutcome::Answered;
    }
    PingReport LastPing() const override { return m_lastPing; }
    void PingAll(const std::vector<std::string>& hosts, const PingDone& done) override {
        m_pinger.PingAll(hosts, done);
    }

    std::string ComputerName() override {
        std::array<char, 256> name{};
        if (gethostname(name.data(), name.size() - 1) != 0)
            return "LOCALHOST";
        const std::string text = name.data();
        return ToUpper(text.substr(0, text.find('.')));
    }

    std::string UserName() override {
        if (const passwd* entry = getpwuid(geteuid()))
            return entry->pw_name;
        return std::to_string(geteuid());
    }

    std::string TempFolder() override;
    std::string SystemFacts() override;

private:
    int open(const std::string& what);
    void reap() {
        std::erase_if(m_children, [](pid_t pid) { return waitpid(pid, nullptr, WNOHANG) != 0; });
    }

    Events& m_events;
    std::function<void()> m_idle;
    Pinger m_pinger;
    PingReport m_lastPing;
    std::string m_tempFolder;
    std::vector<pid_t> m_children;
};

int XdgShell::open(const std::string& what) {
    reap();
    const pid_t pid = StartProcess({"xdg-open", what});
    if (pid < 0)
        return -pid == ENOENT ? kNoApplication : kRefused;
    int status = 0;
    const auto deadline = std::chrono::steady_clock::now() + kOpenerWait;
    while (waitpid(pid, &status, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() >= deadline) {
            m_children.push_back(pid);
            return kOpened;
        }
        m_events.Run(10ms);
        if (m_idle)
            m_idle();
    }
    if (!WIFEXITED(status))
        return kRefused;
    // exit codes of xdg-open: 2 no such file, 3 no tool, 4 the action failed; 127 could not start
    switch (WEXITSTATUS(status)) {
    case 0:
        return kOpened;
    case 2:
        return kNoFile;
    case 1:
        return kRefused;
    default:
        return kNoApplication;
    }
}

std::string XdgShell::TempFolder() {
    std::error_code ignored;
    if (!m_tempFolder.empty() && std::filesystem::is_directory(m_tempFolder, ignored))
        return m_tempFolder;
    const auto base = std::filesystem::temp_directory_path(ignored);
    std::string pattern = (ignored ? std::filesystem::path("/tmp") : base) / "zandrelAgent-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr)
        throw PlatformError(errno, "The temporary folder can't be created", "TempFolder");
    return m_tempFolder = pattern;
}

std::string XdgShell::SystemFacts() {
    utsname system{};
    uname(&system);
    std::string name = firstLine("/etc/os-release", "PRETTY_NAME", '=');
    std::string processor = firstLine("/proc/cpuinfo", "model name", ':');
    if (processor.empty())
        processor = system.machine;
    const auto mega = [](const char* key) {
        const std::string text = firstLine("/proc/meminfo", key, ':');
        return std::to_string(std::strtoull(text.c_str(), nullptr, 10) / 1024) + " MB";
    };
    const char* desktop = std::getenv("XDG_CURRENT_DESKTOP");
    const char* kind = std::getenv("XDG_SESSION_TYPE");
    return "System: " + (name.empty() ? std::string(system.sysname) : name) +
           "\nRelease: " + system.release + "\nComputer: " + ComputerName() +
           "\nUser: " + UserName() + "\nProcessor: " + processor + " (" +
           std::to_string(std::thread::hardware_concurrency()) + ")\nMemory: " + mega("MemTotal") +
           "\nMemory available: " + mega("MemAvailable") +
           "\nDesktop: " + (desktop != nullptr ? desktop : "") + " (" +
           (kind != nullptr ? kind : "") + ")\n";
}

} // namespace

bool IsSafeURL(std::string_view url) {
    const bool printable = std::all_of(url.begin(), url.end(), [](char c) {
        return static_cast<unsigned char>(c) > ' ' && c != '\x7F' && c != '"' && c != '<' &&
               c != '>';
    });
    // some mail programs attach any file that a mailto address names
    if (!printable || (StartsWithNoCase(url, "mailto:") && ContainsNoCase(url, "attach=")))
        return false;
    for (const std::string_view scheme : {"http://", "https://", "mailto:"})
        if (StartsWithNoCase(url, scheme) && url.size() > scheme.size())
            return true;
    return false;
}

std::unique_ptr<Shell> MakeXdgShell(Events& events, std::function<void()> idle) {
    return std::make_unique<XdgShell>(events, std::move(idle));
}

} // namespace kr
