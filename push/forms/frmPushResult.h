#pragma once

#include <QDialog>
#include <memory>

#include "core/AgentSession.h"
#include "push/PushForms.h"

namespace Ui {
class frmPushResult;
}

namespace kr {

/// "EPS Push": runs one push and shows how it goes. Until the push has ended the window only takes
/// the wish to stop; it then closes when the person had closed it meanwhile.
class frmPushResult : public QDialog, public WebProgress {
    Q_OBJECT
public:
    frmPushResult(AgentSession& session, std::string_view icon, PushForms::Work work,
                  QWidget* parent = nullptr);
    ~frmPushResult() override;

    void ShowStep(std::string_view text) override;
    void AppendResult(std::string_view text) override;
    void SetValue(int done, int total) override;
    bool Cancelled() const override { return m_cancelled; }

public slots:
    void reject() override;

protected:
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    enum class State { Waiting, Running, Ended };
    void run();

    std::unique_ptr<::Ui::frmPushResult> m_ui;
    AgentSession& m_session;
    PushForms::Work m_work;
    State m_state = State::Waiting;
    bool m_cancelled = false;
    bool m_closed = false;
};

} // namespace kr
