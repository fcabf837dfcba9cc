#include "handhelds/forms/frmFindReg.h"

#include "handhelds/basHandhelds.h"
#include "ui_frmFindReg.h"

namespace kr {

frmFindReg::frmFindReg(AgentSession& session, GoTo goTo, QWidget* parent)
    : FindForm(
          std::move(goTo),
          [&session](ListModel& list, const FindCriterion& pin, const FindCriterion& email) {
              FindHandhelds(session, list, pin, email);
          },
          parent),
      m_ui(std::make_unique<::Ui::frmFindReg>()) {
    m_ui->setupUi(this);
    begin({.criteria = {{{m_ui->cboESN, m_ui->txtESN}, {m_ui->cboEmail, m_ui->txtEmail}}},
           .list = m_ui->lvHandhelds,
           .query = m_ui->cmdQuery,
           .exit = m_ui->cmdExit,
           .menuName = "mnuFindReg"});
}

frmFindReg::~frmFindReg() = default;

} // namespace kr
