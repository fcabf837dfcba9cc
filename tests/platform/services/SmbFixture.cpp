#include "tests/platform/services/SmbFixture.h"

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
#include <vector>

#include "tests/platform/services/Listeners.h"

namespace kr {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace {

constexpr const char* kFolders[] = {"private", "lock", "state", "cache", "pid", "ncalrpc"};

/// Input from a file, all output into another, in a process group of its own: smbd ends its whole
/// group with itself. 0 when it can't be started.
pid_t run(const std::vector<std::string>& arguments, const std::string& input,
          const std::string& output) {
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, STDIN_FILENO, input.c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, output.c_str(),
                                     O_WRONLY | O_CREAT | O_APPEND, 0600);
    posix_spawn_file_actions_adddup2(&files, STDOUT_FILENO, STDERR_FILENO);
    std::vector<char*> argv;
    for (const auto& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
    pid_t pid = 0;
    if (posix_spawnp(&pid, argv[0], &files, &attributes, argv.data(), environ) != 0)
        pid = 0;
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&files);
    return pid;
}

pid_t pidIn(const std::string& path) {
    pid_t pid = 0;
    std::ifstream(path) >> pid;
    return pid;
}

std::string contentOf(const std::string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace

SmbFixture::SmbFixture() {
    std::string pattern = "/tmp/kr-smbd-XXXXXX";
    m_folder = mkdtemp(pattern.data());
    m_port = FreePort();
    writeConfig();
    if (addAccount() && !start())
        m_daemon = 0;
}

SmbFixture::~SmbFixture() {
    // smbd has others do the work; they outlive it and end with the one that it started first
    const pid_t helper = pidIn(m_folder + "/pid/samba-dcerpcd.pid");
    if (helper > 0)
        kill(helper, SIGTERM);
    if (m_daemon > 0) {
        kill(m_daemon, SIGTERM);
        waitpid(m_daemon, nullptr, 0);
    }
    std::error_code ignored;
    fs::remove_all(m_folder, ignored);
}

void SmbFixture::writeConfig() const {
    for (const char* name : kFolders)
        fs::create_directory(m_folder + "/" + name);
    chmod((m_folder + "/private").c_str(), 0700);
    std::ofstream(m_folder + "/smb.conf")
        << "[global]\nserver role = standalone\ndisable netbios = yes\ninterfaces = lo\n"
        << "bind interfaces only = yes\nload printers = no\nsmb ports = " << m_port
        << "\nprivate dir = " << m_folder << "/private\nlock directory = " << m_folder
        << "/lock\nstate directory = " << m_folder << "/state\ncache directory = " << m_folder
        << "/cache\npid directory = " << m_folder << "/pid\nncalrpc dir = " << m_folder
        << "/ncalrpc\npassdb backend = tdbsam:" << m_folder
        << "/private/passdb.tdb\nlog file = " << m_folder << "/log\n";
}

bool SmbFixture::addAccount() const {
    std::ofstream(m_folder + "/password") << "secret\nsecret\n";
    const pid_t pid = run({"smbpasswd", "-c", m_folder + "/smb.conf", "-s", "-a", "root"},
                          m_folder + "/password", m_folder + "/smbpasswd.log");
    int status = -1;
    return pid > 0 && waitpid(pid, &status, 0) == pid && status == 0;
}

bool SmbFixture::start() {
    const std::string log = m_folder + "/smbd.log";
    m_daemon = run({"smbd", "-F", "--no-process-group", "--debug-stdout", "-d", "2", "-s",
                    m_folder + "/smb.conf"},
                   "/dev/null", log);
    for (int i = 0; i < 500 && m_daemon > 0; ++i) {
        if (contentOf(log).find("waiting for connections") != std::string::npos)
            return true;
        std::this_thread::sleep_for(10ms);
    }
    return false;
}

std::string SmbFixture::AuthFile(bool right) const {
    const std::string path = m_folder + (right ? "/auth" : "/wrong");
    std::ofstream(path) << "username = root\npassword = " << (right ? "secret" : "wrong") << "\n";
    chmod(path.c_str(), 0600);
    return path;
}

} // namespace kr
