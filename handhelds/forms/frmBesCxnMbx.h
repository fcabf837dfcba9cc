#pragma once

#include <QDialog>
#include <memory>

#include "handhelds/BesMbxForm.h"

namespace Ui {
class frmBesCxnMbx;
}

namespace kr {

/// "BES Connector - Mailbox": a BES 3.6 installation by the mailbox of its BES Agent.
class frmBesCxnMbx : public QDialog {
    Q_OBJECT
public:
    /// An empty id makes a new connector.
    frmBesCxnMbx(AgentSession& session, const EntryID& connector, QWidget* parent = nullptr);
    ~frmBesCxnMbx() override;

    /// False when the record couldn't be opened, which was said.
    bool loaded() const { return m_loaded; }
    const EntryID& saved() const { return m_form.saved(); }

private:
    void showAll();
    void read();
    void onOK();

    std::unique_ptr<::Ui::frmBesCxnMbx> m_ui;
    AgentSession& m_session;
    BesMbxForm m_form;
    bool m_loaded = false;
    bool m_filling = false;
};

} // namespace kr
