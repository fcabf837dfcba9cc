#include "console/forms/frmFindUser.h"

#include "ui_frmFindUser.h"

namespace kr {

frmFindUser::frmFindUser(AgentSession& session, GoTo goTo, QWidget* parent)
    : FindForm(
          std::move(goTo),
          [&session](ListModel& list, const FindCriterion& name, const FindCriterion& email) {
              FindUsers(session, list, name, email);
          },
          parent),
      m_ui(std::make_unique<::Ui::frmFindUser>()) {
    m_ui->setupUi(this);
    begin({.criteria = {{{m_ui->cboName, m_ui->txtName}, {m_ui->cboEmail, m_ui->txtEmail}}},
           .list = m_ui->lvUsers,
           .query = m_ui->cmdQuery,
           .exit = m_ui->cmdExit,
           .menuName = "mnuFindUser"});
}

frmFindUser::~frmFindUser() = default;

} // namespace kr
