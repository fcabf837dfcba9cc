#pragma once

#include "console/forms/FindForm.h"
#include "core/AgentSession.h"

namespace Ui {
class frmFindReg;
}

namespace kr {

/// "Find Handheld": searches the handheld recordset by PIN and address.
class frmFindReg : public FindForm {
    Q_OBJECT
public:
    frmFindReg(AgentSession& session, GoTo goTo, QWidget* parent = nullptr);
    ~frmFindReg() override;

private:
    std::unique_ptr<::Ui::frmFindReg> m_ui;
};

} // namespace kr
