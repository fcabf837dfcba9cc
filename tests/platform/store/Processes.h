#pragma once

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <functional>
#include <stdexcept>
#include <vector>

/// Other processes for tests. The test must have no store open when it starts one: a child opens
/// everything itself and leaves without running what the parent would.
namespace kr {

class Children {
public:
    Children() {
        if (pipe(m_gate.data()) != 0 || pipe(m_answers.data()) != 0)
            throw std::runtime_error("no pipe");
    }
    ~Children() {
        Open();
        for (const pid_t pid : m_pids)
            waitpid(pid, nullptr, 0);
        for (const int end : {m_gate[0], m_answers[0], m_answers[1]})
            close(end);
    }
    Children(const Children&) = delete;
    Children& operator=(const Children&) = delete;

    /// Runs the work in a child; its result is the exit code, 99 when it throws.
    pid_t Start(const std::function<int()>& work) {
        const pid_t pid = fork();
        if (pid == 0) {
            close(m_gate[1]);
            int code = 99;
            try {
                code = work();
            } catch (const std::exception& e) {
                fprintf(stderr, "child: %s\n", e.what());
            }
            _exit(code);
        }
        m_pids.push_back(pid);
        return pid;
    }
    /// In a child: waits until the parent opens the gate, so that all go on at once.
    void AtGate() const {
        char byte = 0;
        [[maybe_unused]] const auto end = read(m_gate[0], &byte, 1); // its end opens the gate
    }
    void Open() {
        if (m_gate[1] >= 0)
            close(m_gate[1]);
        m_gate[1] = -1;
    }
    /// In a child: a number for the parent.
    void Answer(double value) const {
        if (write(m_answers[1], &value, sizeof value) != sizeof value)
            _exit(98);
    }
    /// The next number of any child; -1 when none comes.
    double NextAnswer() const {
        double value = 0;
        pollfd ready{m_answers[0], POLLIN, 0};
        if (poll(&ready, 1, 30'000) != 1)
            return -1; // the child ended without an answer
        return read(m_answers[0], &value, sizeof value) == sizeof value ? value : -1;
    }
    /// Exit codes of all children, in the order of their start.
    std::vector<int> Wait() {
        Open();
        std::vector<int> codes;
        for (const pid_t pid : m_pids) {
            int status = 0;
            waitpid(pid, &status, 0);
            codes.push_back(WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status));
        }
        m_pids.clear();
        return codes;
    }
    /// Ends the last child in the midst of what it does.
    void Kill(pid_t pid) {
        kill(pid, SIGKILL);
        waitpid(pid, nullptr, 0);
        std::erase(m_pids, pid);
    }

private:
    std::array<int, 2> m_gate{-1, -1};
    std::array<int, 2> m_answers{-1, -1};
    std::vector<pid_t> m_pids;
};

} // namespace kr
