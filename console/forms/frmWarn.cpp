#include "console/forms/frmWarn.h"

#include "console/forms/FormTools.h"
#include "ui_frmWarn.h"

namespace kr {

namespace {

constexpr int kColumns = 80;

} // namespace

frmWarn::frmWarn(const QString& text, QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<::Ui::frmWarn>()) {
    m_ui->setupUi(this);
    SetImage(*m_ui->imgWarn, "imgExclamation");
    m_ui->lblWarn->setText(text);
    FitText(*m_ui->lblWarn, kColumns);
    connect(m_ui->cmdOK, &QPushButton::clicked, this, &QDialog::accept);
    connect(m_ui->cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
    m_ui->cmdOK->setFocus();
}

frmWarn::~frmWarn() = default;

bool frmWarn::doNotWarnAgain() const { return m_ui->chkNoWarn->isChecked(); }

} // namespace kr
