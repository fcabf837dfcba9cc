#pragma once

#include <QDialog>
#include <memory>
#include <optional>
#include <string>

#include "contacts/basACDSCxn.h"
#include "core/AgentSession.h"

namespace Ui {
class frmCxn;
}

namespace kr {

/// "Connection String": builds one string for each type of data source, and takes such a string
/// apart again.
class frmCxn : public QDialog {
    Q_OBJECT
public:
    frmCxn(AgentSession& session, const CxnFields& fields, QWidget* parent = nullptr);
    ~frmCxn() override;

    bool cancelled() const { return m_cancelled; }
    /// The built string; "" while cancelled.
    const std::string& connectionString() const { return m_text; }

protected:
    void showEvent(QShowEvent* event) override;

private:
    void fillLists();
    void fill(const CxnFields& fields);
    CxnFields fields() const;
    CxnType type() const;
    void onType();
    void onSecurity();
    void onOK();

    std::unique_ptr<::Ui::frmCxn> m_ui;
    AgentSession& m_session;
    bool m_cancelled = true;
    std::string m_text;
};

/// Lets the person edit a connection string; nothing when it was cancelled, or has a provider that
/// the dialog doesn't know, which a box says.
std::optional<std::string> EditConnectionString(AgentSession& session, const std::string& text,
                                                QWidget* parent);

} // namespace kr
