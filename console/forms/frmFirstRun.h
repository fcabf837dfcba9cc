#pragma once

#include <QDialog>
#include <QPointer>
#include <memory>
#include <utility>
#include <vector>

#include "console/basFirstRun.h"

class QLineEdit;

namespace Ui {
class frmFirstRun;
}

namespace kr {

/// "Initialize zandrelAgent": the wizard's pages around a FirstRunWizard.
class frmFirstRun : public QDialog {
    Q_OBJECT
public:
    explicit frmFirstRun(AgentSession& session, QWidget* parent = nullptr);
    ~frmFirstRun() override;

public slots:
    /// Cancel, Escape and the window's close button ask first.
    void reject() override;

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void connectControls();
    void readFields();
    void showFields();
    void showPage();
    void showServiceState();
    void onNext();
    void onBack();
    void onFinish();
    void setBusy(bool busy);

    std::unique_ptr<::Ui::frmFirstRun> m_ui;
    AgentSession& m_session;
    FirstRunWizard m_wizard;
    std::vector<std::pair<QLineEdit*, std::string*>> m_fields;
    QPointer<QWidget> m_focus;
    bool m_busy = false;
    bool m_serviceAsked = false;
};

} // namespace kr
