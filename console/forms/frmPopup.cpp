#include "console/forms/frmPopup.h"

#include <algorithm>

#include "console/forms/FormTools.h"
#include "ui_frmPopup.h"

namespace kr {

namespace {

constexpr int kColumns = 64;
constexpr int kFewestLines = 6;
constexpr int kMostLines = 20;

} // namespace

frmPopup::frmPopup(const QString& title, const QString& text, QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<::Ui::frmPopup>()) {
    m_ui->setupUi(this);
    setWindowTitle(title);
    m_ui->txtTip->setPlainText(text);
    const int lines = static_cast<int>(text.count('\n') + text.size() / kColumns) + 2;
    resize(TextRoom(*this, kColumns, std::clamp(lines, kFewestLines, kMostLines)) +
           (sizeHint() - m_ui->txtTip->sizeHint()));
    m_ui->cmdClose->setFocus();
    connect(m_ui->cmdClose, &QPushButton::clicked, this, &QDialog::accept);
}

frmPopup::~frmPopup() = default;

} // namespace kr
