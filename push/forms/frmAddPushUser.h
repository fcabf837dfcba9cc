#pragma once

#include <QDialog>
#include <memory>
#include <string>

#include "core/AgentSession.h"

namespace Ui {
class frmAddPushUser;
}

namespace kr {

class UserRows;

/// "Add PDL Recipients": picks users who aren't marked for a push yet.
class frmAddPushUser : public QDialog {
    Q_OBJECT
public:
    explicit frmAddPushUser(AgentSession& session, QWidget* parent = nullptr);
    ~frmAddPushUser() override;

    /// Entry ids of the chosen users, joined by ";"; "" when the person cancelled.
    const std::string& chosen() const { return m_chosen; }

private:
    void find();
    void adjust();
    void onAdd();

    std::unique_ptr<::Ui::frmAddPushUser> m_ui;
    UserRows* m_rows;
    std::string m_chosen;
};

} // namespace kr
