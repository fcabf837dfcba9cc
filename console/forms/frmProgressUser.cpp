#include "console/forms/frmProgressUser.h"

#include "ui_frmProgressUser.h"

namespace kr {

frmProgressUser::frmProgressUser(const QString& caption, QWidget* parent)
    : ProgressDialog(parent), m_ui(std::make_unique<::Ui::frmProgressUser>()) {
    m_ui->setupUi(this);
    setWindowTitle(caption);
    attach(m_ui->lblProgress, m_ui->CancelButton, m_ui->ProgressBar1);
}

frmProgressUser::~frmProgressUser() = default;

} // namespace kr
