#include "console/forms/frmLogon.h"

#include "console/forms/FormTools.h"
#include "platform/ui/qt/QtUi.h"
#include "ui_frmLogon.h"

namespace kr {

namespace {

constexpr int kColumns = 36;

} // namespace

frmLogon::frmLogon(AgentSession& session, QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<::Ui::frmLogon>()), m_session(session) {
    m_ui->setupUi(this);
    m_ui->txtServer->setMinimumWidth(TextRoom(*this, kColumns, 1).width());
    m_form.Load(session);
    for (const std::string& profile : m_form.profiles)
        m_ui->cboProfile->addItem(FromUtf8(profile));
    showFields();
    if (m_form.useProfile)
        m_ui->cboProfile->setFocus();
    connect(m_ui->txtServer, &QLineEdit::textChanged, this, &frmLogon::onChanged);
    connect(m_ui->txtAlias, &QLineEdit::textChanged, this, &frmLogon::onChanged);
    connect(m_ui->cboProfile, &QComboBox::currentIndexChanged, this, &frmLogon::onChanged);
    connect(m_ui->chkProfile, &QCheckBox::clicked, this, &frmLogon::onUseProfile);
    connect(m_ui->cmdOK, &QPushButton::clicked, this, &frmLogon::onOk);
    connect(m_ui->cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
}

frmLogon::~frmLogon() = default;

void frmLogon::showFields() {
    m_loading = true;
    m_ui->txtServer->setText(FromUtf8(m_form.server));
    m_ui->txtAlias->setText(FromUtf8(m_form.alias));
    m_ui->chkProfile->setChecked(m_form.useProfile);
    m_ui->cboProfile->setCurrentIndex(m_ui->cboProfile->findText(
        FromUtf8(m_form.profile), Qt::MatchExactly | Qt::MatchCaseSensitive));
    m_ui->txtServer->setEnabled(!m_form.useProfile);
    m_ui->txtAlias->setEnabled(!m_form.useProfile);
    m_ui->cboProfile->setEnabled(m_form.useProfile);
    m_ui->cmdOK->setEnabled(m_form.OkEnabled());
    m_loading = false;
}

void frmLogon::onChanged() {
    if (m_loading)
        return;
    m_form.server = ToUtf8(m_ui->txtServer->text());
    m_form.alias = ToUtf8(m_ui->txtAlias->text());
    m_form.profile = ToUtf8(m_ui->cboProfile->currentText());
    m_ui->cmdOK->setEnabled(m_form.OkEnabled());
}

void frmLogon::onUseProfile(bool use) {
    m_form.SetUseProfile(use);
    showFields();
}

void frmLogon::onOk() {
    LogonForm::Focus focus = LogonForm::Focus::None;
    const std::string message = m_form.Validate(focus);
    if (!message.empty()) {
        m_session.ui().MsgBox(message, BoxIcon::Exclamation);
        focusOn(focus);
        return;
    }
    m_form.Apply(m_session);
    accept();
}

void frmLogon::focusOn(LogonForm::Focus focus) {
    if (focus == LogonForm::Focus::Server)
        m_ui->txtServer->setFocus();
    else if (focus == LogonForm::Focus::Alias)
        m_ui->txtAlias->setFocus();
    else if (focus == LogonForm::Focus::Profile)
        m_ui->cboProfile->setFocus();
}

} // namespace kr
