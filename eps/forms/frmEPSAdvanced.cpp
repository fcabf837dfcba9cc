#include "eps/forms/frmEPSAdvanced.h"

#include "ui_frmEPSAdvanced.h"

namespace kr {

frmEPSAdvanced::frmEPSAdvanced(bool mergeEmailDupes, QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<::Ui::frmEPSAdvanced>()) {
    m_ui->setupUi(this);
    m_ui->chkMergeEmailDupes->setChecked(mergeEmailDupes);
    connect(m_ui->cmdOK, &QPushButton::clicked, this, &QDialog::accept);
    connect(m_ui->cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
}

frmEPSAdvanced::~frmEPSAdvanced() = default;

bool frmEPSAdvanced::mergeEmailDupes() const { return m_ui->chkMergeEmailDupes->isChecked(); }

} // namespace kr
