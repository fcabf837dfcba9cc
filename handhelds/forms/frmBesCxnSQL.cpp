#include "handhelds/forms/frmBesCxnSQL.h"

#include "console/forms/FormTools.h"
#include "core/Text.h"
#include "handhelds/forms/PushServerBox.h"
#include "platform/ui/qt/QtUi.h"
#include "ui_frmBesCxnSQL.h"

namespace kr {

namespace {

constexpr int kColumns = 68;

} // namespace

frmBesCxnSQL::frmBesCxnSQL(AgentSession& session, const EntryID& connector, QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<::Ui::frmBesCxnSQL>()), m_session(session) {
    m_ui->setupUi(this);
    for (const std::string_view security : BesSqlForm::kSecurities)
        m_ui->cboSecurity->addItem(FromUtf8(security));
    m_loaded = m_form.Load(session, connector);
    showAll();
    connectAll();
    resize(TextRoom(*this, kColumns, 1).width(), sizeHint().height());
    m_ui->txtDataSource->setFocus();
}

frmBesCxnSQL::~frmBesCxnSQL() = default;

void frmBesCxnSQL::connectAll() {
    for (QLineEdit* field : {m_ui->txtDataSource, m_ui->txtCatalog, m_ui->txtUserID, m_ui->txtPWD,
                             m_ui->txtPrincipalName, m_ui->txtCredentials})
        connect(field, &QLineEdit::textEdited, this, &frmBesCxnSQL::read);
    for (QComboBox* combo : {m_ui->cboSecurity, m_ui->cboPushServer})
        connect(combo, &QComboBox::currentIndexChanged, this, &frmBesCxnSQL::read);
    for (QAbstractButton* mark :
         std::initializer_list<QAbstractButton*>{m_ui->optUseSelected_1, m_ui->chkInitiator})
        connect(mark, &QAbstractButton::toggled, this, &frmBesCxnSQL::read);
    connect(m_ui->cmdTest, &QPushButton::clicked, this, &frmBesCxnSQL::onTest);
    connect(m_ui->cmdRefresh, &QPushButton::clicked, this, &frmBesCxnSQL::onRefresh);
    connect(m_ui->cmdTestMDS, &QPushButton::clicked, this,
            [this] { m_form.push.OpenURL(m_session); });
    connect(m_ui->cmdOK, &QPushButton::clicked, this, &frmBesCxnSQL::onOK);
    connect(m_ui->cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
}

void frmBesCxnSQL::showAll() {
    m_filling = true;
    m_ui->txtDataSource->setText(FromUtf8(m_form.connection.dataSource));
    m_ui->txtCatalog->setText(FromUtf8(m_form.connection.catalog));
    m_ui->cboSecurity->setCurrentIndex(m_form.connection.ownLogin ? 1 : 0);
    m_ui->txtUserID->setText(FromUtf8(m_form.connection.userID));
    m_ui->txtPWD->setText(FromUtf8(m_form.connection.password));
    m_ui->chkInitiator->setChecked(m_form.initiator);
    m_ui->txtPrincipalName->setText(FromUtf8(m_form.principal));
    m_ui->txtCredentials->setText(FromUtf8(m_form.credentials));
    m_ui->cmdRefresh->setText(FromUtf8(m_form.RefreshCaption()));
    m_filling = false;
    showPush();
}

void frmBesCxnSQL::showPush() {
    m_filling = true;
    ShowPushServers(m_form.push, *m_ui->cboPushServer, *m_ui->optUseSelected_0,
                    *m_ui->optUseSelected_1);
    m_filling = false;
    enableFields();
}

void frmBesCxnSQL::enableFields() {
    setWindowTitle(FromUtf8(m_form.Title()));
    const bool own = m_form.connection.ownLogin;
    for (QWidget* widget : std::initializer_list<QWidget*>{m_ui->lblUserID, m_ui->txtUserID,
                                                           m_ui->lblPWD, m_ui->txtPWD})
        widget->setEnabled(own);
    for (QWidget* widget :
         std::initializer_list<QWidget*>{m_ui->lblPrincipalName, m_ui->txtPrincipalName,
                                         m_ui->lblCredentials, m_ui->txtCredentials})
        widget->setEnabled(m_form.initiator);
    m_ui->cmdRefresh->setEnabled(m_form.CanRefresh());
    m_ui->cmdTestMDS->setEnabled(!m_form.push.Host().empty());
}

void frmBesCxnSQL::read() {
    if (m_filling)
        return;
    m_form.changed = true;
    m_form.connection.dataSource = Trim(ToUtf8(m_ui->txtDataSource->text()));
    m_form.connection.catalog = Trim(ToUtf8(m_ui->txtCatalog->text()));
    m_form.connection.ownLogin = m_ui->cboSecurity->currentIndex() == 1;
    m_form.connection.userID = ToUtf8(m_ui->txtUserID->text());
    m_form.connection.password = ToUtf8(m_ui->txtPWD->text());
    m_form.initiator = m_ui->chkInitiator->isChecked();
    m_form.principal = ToUtf8(m_ui->txtPrincipalName->text());
    m_form.credentials = ToUtf8(m_ui->txtCredentials->text());
    ReadPushServer(m_form.push, *m_ui->cboPushServer, *m_ui->optUseSelected_1);
    enableFields();
}

void frmBesCxnSQL::onTest() {
    if (!m_form.Test(m_session))
        focusOn(BesSqlForm::Focus::DataSource);
    enableFields();
}

void frmBesCxnSQL::onRefresh() {
    m_form.Refresh(m_session);
    showPush();
}

void frmBesCxnSQL::onOK() {
    BesSqlForm::Focus focus = BesSqlForm::Focus::None;
    const std::string refusal = m_form.Save(m_session, focus);
    if (refusal.empty()) {
        m_form.saved().empty() ? reject() : accept();
        return;
    }
    m_session.ui().MsgBox(refusal, BoxIcon::Exclamation);
    focusOn(focus);
}

void frmBesCxnSQL::focusOn(BesSqlForm::Focus focus) {
    using Focus = BesSqlForm::Focus;
    QLineEdit* const fields[] = {nullptr,         m_ui->txtDataSource, m_ui->txtCatalog,
                                 m_ui->txtUserID, m_ui->txtPWD,        m_ui->txtPrincipalName};
    QLineEdit* field = fields[static_cast<size_t>(focus)];
    if (!field)
        return;
    m_ui->tabMain->setCurrentWidget(focus == Focus::Principal ? m_ui->pagPush : m_ui->pagDatabase);
    field->setFocus();
}

} // namespace kr
