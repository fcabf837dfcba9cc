#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QWidget>
#include <functional>
#include <map>
#include <stdexcept>

#include "tests/journeys/Script.h"

namespace kr::journeys {

/// A command that can't be done, or an expectation that isn't met: the journey fails.
class Failure : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

using Words = std::vector<std::string>;

struct Command {
    std::string usage;
    std::string help;
    size_t least = 0; // words behind the name
    size_t most = 0;
    std::function<void(const Words&)> run;
    /// True: the command is tried again until it succeeds or the time is over.
    bool waits = false;
    /// True: it may run while a message box is open.
    bool withBox = false;
};

/// Runs the commands of a script one after the other in the event loop that is running, also in
/// that of a modal dialog or menu which an earlier command opened. A command waits until the one
/// before it has returned or stands in a new modal window. A message box that nobody answers or
/// expects is a failure.
class Driver : public QObject {
    Q_OBJECT
public:
    explicit Driver(std::vector<Line> script);

    void Add(const std::string& name, Command command) { m_commands[name] = std::move(command); }
    const std::map<std::string, Command>& commands() const { return m_commands; }
    /// Milliseconds that an expectation or a command may take.
    void SetTimeout(int milliseconds) { m_timeout = milliseconds; }
    int timeout() const { return m_timeout; }
    /// Words that hold "$" and the name get this text in its place.
    void SetVariable(const std::string& name, std::string text) {
        m_variables["$" + name] = std::move(text);
    }
    /// Called once with the exit code when the script is over or has failed.
    std::function<void(int code)> onFinished;
    /// Prints what is on the screen when the journey fails.
    std::function<void()> onFailure;

    void Begin();
    /// Ends the script as passed.
    void Quit();
    bool finished() const { return m_finished; }

private:
    struct Running {
        QPointer<QWidget> blockerAtStart;
        QElapsedTimer since;
    };
    void schedule(int milliseconds);
    void step();
    bool mayRun(const Command& command);
    void execute(const Line& line, const Command& command);
    bool tryOnce(const Line& line, const Command& command);
    Words withVariables(Words words) const;
    void fail(const Line& line, const std::string& reason);
    void finish(int code);

    std::vector<Line> m_script;
    std::map<std::string, Command> m_commands;
    size_t m_next = 0;
    std::vector<Running> m_running;
    QElapsedTimer m_waiting; // since the next command became due
    std::map<std::string, std::string> m_variables;
    int m_timeout = 10000;
    bool m_finished = false;
};

/// The modal window or menu in whose event loop the program stands, or nullptr. Progress windows
/// don't count: what they belong to is still running.
QWidget* Blocker();

} // namespace kr::journeys
