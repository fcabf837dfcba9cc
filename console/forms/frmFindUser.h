#pragma once

#include "console/forms/FindForm.h"
#include "core/AgentSession.h"

namespace Ui {
class frmFindUser;
}

namespace kr {

/// "Find User": searches the Users recordset by name and address.
class frmFindUser : public FindForm {
    Q_OBJECT
public:
    frmFindUser(AgentSession& session, GoTo goTo, QWidget* parent = nullptr);
    ~frmFindUser() override;

private:
    std::unique_ptr<::Ui::frmFindUser> m_ui;
};

} // namespace kr
