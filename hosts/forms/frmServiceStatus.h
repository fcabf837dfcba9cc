#pragma once

#include <QDialog>
#include <QTimer>
#include <memory>
#include <string>

#include "core/AgentSession.h"
#include "hosts/ServiceWait.h"

namespace Ui {
class frmServiceStatus;
}

namespace kr {

/// Waits until the agent's service on a machine is running or stopped; one that doesn't stop is
/// killed in the end.
class frmServiceStatus : public QDialog {
    Q_OBJECT
public:
    frmServiceStatus(AgentSession& session, std::string machine, SvcState target,
                     const std::string& caption, QWidget* parent = nullptr);
    ~frmServiceStatus() override;

    void done(int result) override;

private:
    void onTick();
    void ask(int cycles);
    void onState(SvcState state, int cycles);

    std::unique_ptr<::Ui::frmServiceStatus> m_ui;
    AgentSession& m_session;
    std::string m_machine;
    ServiceWait m_wait;
    QTimer m_timer{this}; // StatusTimer
    bool m_asking = false;
};

} // namespace kr
