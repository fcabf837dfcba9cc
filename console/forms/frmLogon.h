#pragma once

#include <QDialog>
#include <memory>

#include "console/basLogon.h"

namespace Ui {
class frmLogon;
}

namespace kr {

/// "Mailbox Logon": server and alias, or a profile. OK puts them into the session, Cancel leaves
/// the session's logon data as they were.
class frmLogon : public QDialog {
    Q_OBJECT
public:
    explicit frmLogon(AgentSession& session, QWidget* parent = nullptr);
    ~frmLogon() override;

private:
    void showFields();
    void onChanged();
    void onUseProfile(bool use);
    void onOk();
    void focusOn(LogonForm::Focus focus);

    std::unique_ptr<::Ui::frmLogon> m_ui;
    AgentSession& m_session;
    LogonForm m_form;
    bool m_loading = false;
};

} // namespace kr
