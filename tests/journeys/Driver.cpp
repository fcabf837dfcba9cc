#include "tests/journeys/Driver.h"

#include <QApplication>
#include <QMessageBox>
#include <QTimer>
#include <cstdio>

#include "core/Text.h"

namespace kr::journeys {

namespace {

constexpr int kStep = 15; // between two commands
constexpr int kLook = 10; // between two looks at whether the next may run

} // namespace

QWidget* Blocker() {
    if (QWidget* popup = QApplication::activePopupWidget())
        return popup;
    QWidget* modal = QApplication::activeModalWidget();
    if (modal && modal->objectName().startsWith("frmProgress"))
        return nullptr;
    return modal && modal->isVisible() ? modal : nullptr;
}

Driver::Driver(std::vector<Line> script) : m_script(std::move(script)) {}

void Driver::Begin() {
    m_waiting.start();
    schedule(0);
}

void Driver::Quit() { finish(0); }

// A fresh timer each time: one that is firing doesn't fire in a nested event loop.
void Driver::schedule(int milliseconds) {
    QTimer::singleShot(milliseconds, this, [this] { step(); });
}

void Driver::step() {
    if (m_finished)
        return;
    if (m_next >= m_script.size()) {
        if (m_running.empty() && !Blocker())
            return finish(0);
        const auto* box = qobject_cast<QMessageBox*>(Blocker());
        if (m_waiting.elapsed() > m_timeout || box)
            return fail(m_script.back(),
                        box ? "unexpected box \"" + box->text().toStdString() + "\""
                            : "a dialog is still open at the end");
        return schedule(kLook);
    }
    const Line& line = m_script[m_next];
    const auto found = m_commands.find(line.words[0]);
    if (found == m_commands.end())
        return fail(line, "there is no command \"" + line.words[0] + "\"");
    const Command& command = found->second;
    const size_t given = line.words.size() - 1;
    if (given < command.least || given > command.most)
        return fail(line, "usage: " + line.words[0] + " " + command.usage);
    const auto* box = qobject_cast<QMessageBox*>(Blocker());
    if (box && !command.withBox)
        return fail(line, "unexpected box \"" + box->text().toStdString() + "\"");
    if (!mayRun(command)) {
        if (m_waiting.elapsed() > m_timeout)
            return fail(line, "the command before it neither returns nor opens a dialog");
        return schedule(kLook);
    }
    execute(line, command);
}

bool Driver::mayRun(const Command& command) {
    if (command.waits)
        return true;
    QWidget* blocker = Blocker();
    if (!m_running.empty())
        return blocker && blocker != m_running.back().blockerAtStart;
    // a load that an event began is still going on
    return blocker || !QApplication::overrideCursor();
}

void Driver::execute(const Line& line, const Command& command) {
    if (command.waits) {
        if (tryOnce(line, command)) {
            ++m_next;
            m_waiting.start();
        }
        if (!m_finished)
            schedule(kLook);
        return;
    }
    ++m_next;
    m_waiting.start();
    m_running.push_back({Blocker(), {}});
    // the next step runs in the loop of a dialog that this command opens
    schedule(kStep);
    const Line copy = line; // the script may be over when the command returns
    try {
        command.run(withVariables(Words(copy.words.begin() + 1, copy.words.end())));
    } catch (const std::exception& error) {
        fail(copy, error.what());
    }
    m_running.pop_back();
    m_waiting.start();
}

bool Driver::tryOnce(const Line& line, const Command& command) {
    try {
        command.run(withVariables(Words(line.words.begin() + 1, line.words.end())));
        return true;
    } catch (const std::exception& error) {
        if (m_waiting.elapsed() > m_timeout)
            fail(line, error.what());
    }
    return false;
}

Words Driver::withVariables(Words words) const {
    for (std::string& word : words)
        // a longer name comes before its own beginning
        for (auto variable = m_variables.rbegin(); variable != m_variables.rend(); ++variable)
            word = ReplaceAll(word, variable->first, variable->second);
    return words;
}

void Driver::fail(const Line& line, const std::string& reason) {
    if (m_finished)
        return;
    std::fprintf(stderr, "%s: %s\n    %s\n", line.where().c_str(), line.text.c_str(),
                 reason.c_str());
    if (onFailure)
        onFailure();
    finish(1);
}

void Driver::finish(int code) {
    if (m_finished)
        return;
    m_finished = true;
    if (onFinished)
        onFinished(code);
}

} // namespace kr::journeys
