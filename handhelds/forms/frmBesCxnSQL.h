#pragma once

#include <QDialog>
#include <memory>

#include "handhelds/BesSqlForm.h"

namespace Ui {
class frmBesCxnSQL;
}

namespace kr {

/// "BES Connector - SQL": a BES installation by its configuration database.
class frmBesCxnSQL : public QDialog {
    Q_OBJECT
public:
    /// An empty id makes a new connector.
    frmBesCxnSQL(AgentSession& session, const EntryID& connector, QWidget* parent = nullptr);
    ~frmBesCxnSQL() override;

    /// False when the record couldn't be opened, which was said.
    bool loaded() const { return m_loaded; }
    const EntryID& saved() const { return m_form.saved(); }

private:
    void connectAll();
    void showAll();
    void showPush();
    void enableFields();
    void read();
    void onTest();
    void onRefresh();
    void onOK();
    void focusOn(BesSqlForm::Focus focus);

    std::unique_ptr<::Ui::frmBesCxnSQL> m_ui;
    AgentSession& m_session;
    BesSqlForm m_form;
    bool m_loaded = false;
    bool m_filling = false;
};

} // namespace kr
