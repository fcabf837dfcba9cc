#pragma once

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <string>
#include <vector>

namespace kr {

/// A program that runs beside a test, and ends with it in any case.
class SideProgram {
public:
    /// `ending` is the signal that stops it. The program is looked for in the path.
    explicit SideProgram(std::vector<std::string> words, int ending = SIGKILL) : m_ending(ending) {
        // the kernel sends the signal also when the test is killed
        words.insert(words.begin(), {"setpriv", "--pdeathsig", sigabbrev_np(ending)});
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0)
            return;
        posix_spawn_file_actions_t files;
        posix_spawn_file_actions_init(&files);
        posix_spawn_file_actions_adddup2(&files, ends[1], STDOUT_FILENO);
        std::vector<char*> arguments;
        for (std::string& word : words)
            arguments.push_back(word.data());
        arguments.push_back(nullptr);
        if (posix_spawnp(&m_pid, "setpriv", &files, nullptr, arguments.data(), environ) != 0)
            m_pid = 0;
        posix_spawn_file_actions_destroy(&files);
        close(ends[1]);
        m_output = ends[0];
    }
    ~SideProgram() {
        if (m_output >= 0)
            close(m_output);
        if (m_pid == 0)
            return;
        kill(m_pid, m_ending);
        waitpid(m_pid, nullptr, 0);
    }
    SideProgram(const SideProgram&) = delete;
    SideProgram& operator=(const SideProgram&) = delete;

    /// What it wrote first; waits for it. "" when it ended without a word.
    std::string FirstOutput() const {
        char text[256];
        const ssize_t length = m_output < 0 ? 0 : read(m_output, text, sizeof text);
        return std::string(text, length < 0 ? 0 : static_cast<size_t>(length));
    }

private:
    int m_ending;
    pid_t m_pid = 0;
    int m_output = -1;
};

} // namespace kr
