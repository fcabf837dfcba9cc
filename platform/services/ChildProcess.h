#pragma once

#include <sys/types.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/events/Events.h"

namespace kr {

/// A program that was started without a shell, in a process group of its own, with its standard
/// input and output on one stream socket. What it writes to its standard error is kept for
/// messages.
class ChildProcess {
public:
    /// `onEnd` comes while events run: the exit code, or 128 + the signal that ended it.
    ChildProcess(Events& events, const std::vector<std::string>& arguments,
                 std::function<void(int exitCode)> onEnd);
    /// Kills the group; nobody waits for its end.
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// 0, or the errno for which it could not be started; `onEnd` doesn't come then.
    int error() const { return m_error; }
    /// Our end of the socket, which doesn't block; stays with this object.
    int fd() const { return m_socket; }
    /// Sends a signal to the program alone; false when it has ended.
    bool Signal(int signal);
    /// Gives the socket away.
    int TakeSocket();
    /// The last line on its standard error, "" when there is none.
    std::string LastWords() const;

private:
    int start(const std::vector<std::string>& arguments);
    int spawn(const std::vector<std::string>& arguments, int socket, int errors);
    void readErrors();
    void onExit();

    Events& m_events;
    std::function<void(int)> m_onEnd;
    pid_t m_pid = 0;
    int m_error = 0;
    int m_socket = -1;
    int m_errors = -1;
    int m_handle = -1; // readable when the process has ended
    Events::Id m_errorWatch = 0;
    Events::Id m_endWatch = 0;
    std::string m_text;
};

/// The command that runs `remote` on another computer through ssh. It asks no questions and takes
/// no host whose key isn't known; all else is as the user's and the machine's ssh_config say.
struct SshSettings {
    std::string program = "ssh";
    std::vector<std::string> arguments; // before the host's name
};
std::vector<std::string> SshCommand(const SshSettings& settings, const std::string& host,
                                    const std::vector<std::string>& remote);

} // namespace kr
