#include "tests/agent/PrivateBus.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

namespace kr {

using namespace std::chrono_literals;

namespace {

bool listens(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool there = connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    close(fd);
    return there;
}

} // namespace

PrivateBus::PrivateBus() {
    std::string pattern = "/tmp/kr-bus-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr)
        return;
    m_folder = pattern;
    m_address = "unix:path=" + m_folder + "/bus";
    std::ofstream(m_folder + "/bus.conf")
        << "<busconfig><type>custom</type><listen>" << m_address << "</listen>"
        << "<auth>EXTERNAL</auth><policy context=\"default\"><allow user=\"*\"/><allow own=\"*\"/>"
        << "<allow send_destination=\"*\" eavesdrop=\"true\"/><allow eavesdrop=\"true\"/>"
        << "</policy></busconfig>";
    Start();
}

PrivateBus::~PrivateBus() {
    Stop();
    std::error_code ignored;
    std::filesystem::remove_all(m_folder, ignored);
}

bool PrivateBus::Start() {
    std::error_code ignored;
    std::filesystem::remove(m_folder + "/bus", ignored);
    const std::string config = "--config-file=" + m_folder + "/bus.conf";
    const char* const argv[] = {"dbus-daemon", "--nofork", config.c_str(), nullptr};
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    // it complains of limits that it may not raise
    posix_spawn_file_actions_addopen(&files, STDERR_FILENO, (m_folder + "/bus.log").c_str(),
                                     O_WRONLY | O_CREAT | O_APPEND, 0600);
    const int error =
        posix_spawnp(&m_daemon, argv[0], &files, nullptr, const_cast<char* const*>(argv), environ);
    posix_spawn_file_actions_destroy(&files);
    if (error != 0) {
        m_daemon = 0;
        return false;
    }
    // the socket's file is there some moments before anybody listens
    for (int i = 0; i < 1000; ++i) {
        if (listens(m_folder + "/bus"))
            return true;
        std::this_thread::sleep_for(10ms);
    }
    return false;
}

void PrivateBus::Stop() {
    if (m_daemon <= 0)
        return;
    kill(m_daemon, SIGKILL);
    waitpid(m_daemon, nullptr, 0);
    m_daemon = 0;
}

} // namespace kr
