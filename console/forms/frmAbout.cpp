#include "console/forms/frmAbout.h"

#include "console/forms/FormTools.h"
#include "ui_frmAbout.h"

namespace kr {

namespace {

constexpr int kColumns = 50;
constexpr double kNameScale = 1.3; // of the name's font

} // namespace

frmAbout::frmAbout(const QString& version, const QString& storeVersion, QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<::Ui::frmAbout>()) {
    m_ui->setupUi(this);
    SetImage(*m_ui->imgAbout, "imgAgent");
    QFont font = m_ui->lblName->font();
    font.setBold(true);
    font.setPointSizeF(font.pointSizeF() * kNameScale);
    m_ui->lblName->setFont(font);
    const QString unknown = tr("unknown");
    m_ui->lblVersion->setText(tr("Version: %1").arg(version.isEmpty() ? unknown : version));
    m_ui->lblStoreVersion->setText(
        tr("Store library version: %1").arg(storeVersion.isEmpty() ? unknown : storeVersion));
    m_ui->lblLicense->setText(tr("Proprietary software, all rights reserved. Uses Qt under the GNU "
                                 "Lesser General Public License, version 3."));
    FitText(*m_ui->lblLicense, kColumns);
    connect(m_ui->cmdOK, &QPushButton::clicked, this, &QDialog::accept);
}

frmAbout::~frmAbout() = default;

} // namespace kr
