#pragma once

#include <QLabel>
#include <QLineEdit>
#include <QObject>
#include <QPushButton>
#include <string>

#include "core/AgentSession.h"

namespace kr {

/// The address of the Tarn Mobile Engine in a dialog: it refuses "localhost", and "Test..." asks
/// the engine. A dialog lets go of it before its controls.
class TarnAddress : public QObject {
    Q_OBJECT
public:
    struct Controls {
        QWidget* field; // the line itself, or the box around it
        QLineEdit* line;
        QPushButton* test;
        QPushButton* ok;
        QLabel* wait;
    };
    /// What the dialog wants of an engine that runs, in the words of its test.
    struct Duty {
        bool (*test)(AgentSession& session, std::string_view url);
        std::string_view waitText;
        std::string_view good;    // behind the address
        std::string_view missing; // behind the address of an engine that only runs
    };
    TarnAddress(AgentSession& session, const Controls& controls, const Duty& duty, QWidget& window);

    std::string typed() const;
    /// For OK: true when the person has to see first what is going to be stored.
    bool Refuse();

private:
    bool refuseLocalhost();
    void onTest();
    void test(const std::string& url);
    void enable(bool enable);
    void showWait(const std::string& text);

    AgentSession& m_session;
    Controls m_controls;
    Duty m_duty;
    QWidget& m_window;
    bool m_telling = false; // a box takes the focus from the field once more
    bool m_refused = false; // in the event that is being handled
};

} // namespace kr
