#include "tests/platform/services/SshFixture.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

#include "tests/platform/services/Listeners.h"

namespace kr {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace {

std::string contentOf(const std::string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// All processes below one, the youngest generation last.
std::vector<pid_t> descendants(pid_t parent) {
    std::vector<pid_t> found;
    for (const auto& task : fs::directory_iterator("/proc/" + std::to_string(parent) + "/task")) {
        std::ifstream children(task.path() / "children");
        for (pid_t child = 0; children >> child;) {
            found.push_back(child);
            const auto below = descendants(child);
            found.insert(found.end(), below.begin(), below.end());
        }
    }
    return found;
}

} // namespace

SshFixture::SshFixture(const std::string& busAddress) {
    std::string pattern = "/tmp/kr-sshd-XXXXXX";
    m_folder = mkdtemp(pattern.data());
    m_port = FreePort();
    // sshd of Debian separates privileges there when it runs as root
    if (geteuid() == 0)
        mkdir("/run/sshd", 0755);
    if (makeKey("host_key") && makeKey("user_key")) {
        writeFiles(busAddress);
        Start();
    }
}

SshFixture::~SshFixture() {
    Stop();
    std::error_code ignored;
    fs::remove_all(m_folder, ignored);
}

bool SshFixture::makeKey(const std::string& name) const {
    const std::string path = m_folder + "/" + name;
    const char* const argv[] = {"ssh-keygen", "-q", "-t",         "ed25519", "-N",
                                "",           "-f", path.c_str(), nullptr};
    pid_t pid = 0;
    if (posix_spawnp(&pid, argv[0], nullptr, nullptr, const_cast<char* const*>(argv), environ) != 0)
        return false;
    int status = 0;
    waitpid(pid, &status, 0);
    return status == 0;
}

void SshFixture::writeFiles(const std::string& busAddress) {
    std::ofstream(m_folder + "/sshd_config")
        << "Port " << m_port << "\nListenAddress 127.0.0.2\nListenAddress 127.0.0.3\n"
        << "HostKey " << m_folder << "/host_key\nAuthorizedKeysFile " << m_folder
        << "/user_key.pub\nPidFile none\nStrictModes no\nPermitRootLogin yes\n"
        << "PasswordAuthentication no\nKbdInteractiveAuthentication no\n"
        << "ForceCommand " << m_folder << "/command\n";
    std::ofstream(m_folder + "/command")
        << "#!/bin/sh\nprintf '%s\\n' \"$SSH_ORIGINAL_COMMAND\" >>" << m_folder << "/commands\n"
        << "case $SSH_ORIGINAL_COMMAND in\n"
        << "systemd-stdio-bridge) exec systemd-stdio-bridge -p " << busAddress << " ;;\n"
        << "'taskkill /F /IM zagent.exe') rm " << m_folder << "/agent-runs ;;\n"
        << "*) exit 9 ;;\nesac\n";
    chmod((m_folder + "/command").c_str(), 0755);
    const std::string key = contentOf(m_folder + "/host_key.pub");
    std::ofstream known(m_folder + "/known_hosts");
    for (const char* address : {"127.0.0.2", "127.0.0.3"})
        known << "[" << address << "]:" << m_port << " " << key;
}

bool SshFixture::Start() {
    const std::string config = m_folder + "/sshd_config";
    const std::string log = m_folder + "/sshd.log";
    // by its full path, which it wants for starting itself anew
    const char* const argv[] = {"/usr/sbin/sshd", "-D",   "-f", config.c_str(), "-E",
                                log.c_str(),      nullptr};
    if (posix_spawn(&m_daemon, argv[0], nullptr, nullptr, const_cast<char* const*>(argv),
                    environ) != 0) {
        m_daemon = 0;
        return false;
    }
    for (int i = 0; i < 300; ++i) {
        if (contentOf(log).find("Server listening on 127.0.0.2") != std::string::npos)
            return true;
        std::this_thread::sleep_for(10ms);
    }
    return false;
}

void SshFixture::Stop() {
    if (m_daemon <= 0)
        return;
    kill(m_daemon, SIGSTOP);
    for (const pid_t one : descendants(m_daemon))
        kill(one, SIGKILL);
    kill(m_daemon, SIGKILL);
    waitpid(m_daemon, nullptr, 0);
    m_daemon = 0;
    std::error_code ignored;
    fs::remove(m_folder + "/sshd.log", ignored);
}

void SshFixture::Freeze() {
    for (const pid_t one : descendants(m_daemon))
        kill(one, SIGSTOP);
}

std::vector<std::string> SshFixture::Arguments() const {
    return {"-F", "none",
            "-p", std::to_string(m_port),
            "-i", m_folder + "/user_key",
            "-o", "IdentitiesOnly=yes",
            "-o", "UserKnownHostsFile=" + m_folder + "/known_hosts",
            "-o", "GlobalKnownHostsFile=none"};
}

void SshFixture::ForgetHost() { std::ofstream(m_folder + "/known_hosts"); }

std::vector<std::string> SshFixture::Commands() const {
    std::vector<std::string> lines;
    std::ifstream file(m_folder + "/commands");
    for (std::string line; std::getline(file, line);)
        lines.push_back(line);
    return lines;
}

} // namespace kr
