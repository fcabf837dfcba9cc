#pragma once

#include <QDialog>
#include <memory>
#include <string>

#include "contacts/basACDSSource.h"
#include "core/AgentSession.h"

namespace Ui {
class frmACDS;
}

namespace kr {

/// "EPS - Alternate Contact Data Source": the record of one data source. The connection string is
/// shown without its password; the whole one stays behind it until the text is edited.
class frmACDS : public QDialog {
    Q_OBJECT
public:
    /// An empty id makes a new record.
    frmACDS(AgentSession& session, const EntryID& record, QWidget* parent = nullptr);
    ~frmACDS() override;

    /// The id of the record that was saved; empty when nothing was.
    EntryID saved() const { return m_saved; }

private:
    void load();
    void showConnection();
    void onTyped();
    void onEdit();
    void onTest();
    void onView();
    void onOK();
    AcdsSource fields() const;
    /// The refusals of OK, in order; true when it may save.
    bool complete(const AcdsSource& record);
    bool free(const AcdsSource& record);
    bool refuse(const std::string& text, QWidget* focus);

    std::unique_ptr<::Ui::frmACDS> m_ui;
    AgentSession& m_session;
    EntryID m_id;
    EntryID m_saved;
    std::string m_cxnString; // the whole one
    bool m_changed = false;
    bool m_filling = false;
};

} // namespace kr
