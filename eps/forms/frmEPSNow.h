#pragma once

#include <QDialog>
#include <memory>

#include "eps/EpsNow.h"

namespace Ui {
class frmEPSNow;
}

namespace kr {

class RecipientBox;

/// "EPS - On Demand": what a run that starts at once is to do on one server.
class frmEPSNow : public QDialog {
    Q_OBJECT
public:
    frmEPSNow(AgentSession& session, EntryID host, QWidget* parent = nullptr);
    ~frmEPSNow() override;

    /// False when the server's record can't be read; a box has told so.
    bool loaded() const { return m_loaded; }
    /// 200 for a plain run, 199 for a special one, 0 when it was cancelled.
    int code() const { return m_code; }

private:
    void showSettings();
    EpsNow settings() const;
    void connectAll();
    void enableAll();
    void onAdvanced();
    void onOK();

    std::unique_ptr<::Ui::frmEPSNow> m_ui;
    AgentSession& m_session;
    EntryID m_host;
    EpsNow m_settings; // as read; what no control of this dialog shows is kept here
    RecipientBox* m_targets;
    bool m_loaded = false;
    int m_code = 0;
};

} // namespace kr
