#include "console/forms/frmProgress.h"

#include "ui_frmProgress.h"

namespace kr {

frmProgress::frmProgress(const QString& caption, QWidget* parent)
    : ProgressDialog(parent), m_ui(std::make_unique<::Ui::frmProgress>()) {
    m_ui->setupUi(this);
    setWindowTitle(caption);
    attach(m_ui->lblProgress, m_ui->CancelButton, nullptr);
}

frmProgress::~frmProgress() = default;

} // namespace kr
