#include "net/forms/frmProxy.h"

#include <QListWidget>

#include "console/forms/FormTools.h"
#include "platform/ui/qt/QtUi.h"
#include "ui_frmProxy.h"

namespace kr {

namespace {

constexpr int kColumns = 72;
constexpr int kBypassLines = 5;

} // namespace

frmProxy::frmProxy(AgentSession& session, QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<::Ui::frmProxy>()), m_session(session) {
    m_ui->setupUi(this);
    for (const std::string_view option : ProxyForm::kOptions)
        m_ui->cboProxy->addItem(FromUtf8(option));
    m_ui->lstBypass->setMinimumHeight(TextRoom(*this, 1, kBypassLines).height());
    setMinimumWidth(TextRoom(*this, kColumns, 1).width());
    m_form.Load(session);
    showAll();
    const auto change = [this] { read(); };
    connect(m_ui->cboProxy, &QComboBox::currentIndexChanged, this, change);
    connect(m_ui->chkIdentity, &QCheckBox::toggled, this, change);
    for (QLineEdit* field : {m_ui->txtProxy_0, m_ui->txtProxy_1}) {
        connect(field, &QLineEdit::textEdited, this, change);
        connect(field, &QLineEdit::editingFinished, this, [this, field] { onAddressLeft(*field); });
    }
    connect(m_ui->txtUsername, &QLineEdit::textEdited, this, change);
    connect(m_ui->txtConfirm, &QLineEdit::textEdited, this, change);
    connect(m_ui->txtPWD, &QLineEdit::textEdited, this, [this] {
        m_form.passwordTyped = true;
        read();
    });
    connect(m_ui->lstBypass, &QListWidget::itemSelectionChanged, this, &frmProxy::enableFields);
    connect(m_ui->cmdAdd, &QPushButton::clicked, this, &frmProxy::onAdd);
    connect(m_ui->cmdRemove, &QPushButton::clicked, this, &frmProxy::onRemove);
    connect(m_ui->cmdOK, &QPushButton::clicked, this, &frmProxy::onOk);
    connect(m_ui->cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
}

frmProxy::~frmProxy() = default;

void frmProxy::showAll() {
    m_loading = true;
    m_ui->cboProxy->setCurrentIndex(m_form.option);
    m_ui->txtProxy_0->setText(FromUtf8(m_form.http));
    m_ui->txtProxy_1->setText(FromUtf8(m_form.https));
    m_ui->lstBypass->clear();
    for (const std::string& address : m_form.bypass)
        m_ui->lstBypass->addItem(FromUtf8(address));
    m_ui->chkIdentity->setChecked(m_form.identity);
    m_ui->txtUsername->setText(FromUtf8(m_form.userName));
    m_ui->txtPWD->setText(FromUtf8(m_form.password));
    m_ui->txtConfirm->setText(FromUtf8(m_form.confirmation));
    m_loading = false;
    enableFields();
}

void frmProxy::enableFields() {
    const bool fields = m_form.FieldsEnabled();
    const bool identity = fields && m_form.identity;
    for (QWidget* widget : std::initializer_list<QWidget*>{
             m_ui->txtProxy_0, m_ui->txtProxy_1, m_ui->lstBypass, m_ui->cmdAdd, m_ui->chkIdentity})
        widget->setEnabled(fields);
    m_ui->cmdRemove->setEnabled(fields && !m_ui->lstBypass->selectedItems().isEmpty());
    m_ui->txtUsername->setEnabled(identity);
    m_ui->txtPWD->setEnabled(identity);
    m_ui->txtConfirm->setEnabled(identity && m_form.passwordTyped);
    m_ui->lblMain->setText(FromUtf8(m_form.Notice()));
}

void frmProxy::read() {
    if (m_loading)
        return;
    m_form.changed = true;
    m_form.option = m_ui->cboProxy->currentIndex();
    m_form.http = ToUtf8(m_ui->txtProxy_0->text());
    m_form.https = ToUtf8(m_ui->txtProxy_1->text());
    m_form.identity = m_ui->chkIdentity->isChecked();
    m_form.userName = ToUtf8(m_ui->txtUsername->text());
    m_form.password = ToUtf8(m_ui->txtPWD->text());
    m_form.confirmation = ToUtf8(m_ui->txtConfirm->text());
    enableFields();
}

void frmProxy::onAddressLeft(QLineEdit& field) {
    const std::string refusal = ProxyForm::CheckAddress(ToUtf8(field.text()));
    if (refusal.empty() || m_loading)
        return;
    m_loading = true; // the box takes the focus from the field once more
    m_session.ui().MsgBox(refusal, BoxIcon::Exclamation);
    m_loading = false;
    field.setFocus();
    field.selectAll();
}

void frmProxy::onAdd() {
    const auto typed = m_session.ui().InputBox(
        "Enter an address that should bypass the proxy like some.domain.com or *.domain.com\r\n"
        "Use <local> to represent all addresses with no internal . separator",
        "Bypass Address");
    if (!typed)
        return;
    const auto repeated = m_form.AddBypass(*typed);
    showAll();
    for (const std::string& address : repeated)
        m_session.ui().MsgBox(address + " is already in the list", BoxIcon::Information);
}

void frmProxy::onRemove() {
    const int row = m_ui->lstBypass->currentRow();
    if (row < 0)
        return;
    m_form.bypass.erase(m_form.bypass.begin() + row);
    m_form.changed = true;
    showAll();
    m_ui->lstBypass->setCurrentRow(std::min(row, m_ui->lstBypass->count() - 1));
}

void frmProxy::onOk() {
    for (QLineEdit* field : {m_ui->txtProxy_0, m_ui->txtProxy_1}) {
        if (field->isEnabled() && !ProxyForm::CheckAddress(ToUtf8(field->text())).empty()) {
            onAddressLeft(*field); // Enter leaves no field
            return;
        }
    }
    ProxyForm::Focus focus = ProxyForm::Focus::None;
    const std::string refusal = m_form.Save(m_session, focus);
    if (refusal.empty()) {
        accept();
        return;
    }
    m_session.ui().MsgBox(refusal, BoxIcon::Exclamation);
    showAll();
    focusOn(focus);
}

void frmProxy::focusOn(ProxyForm::Focus focus) {
    if (focus == ProxyForm::Focus::Http)
        m_ui->txtProxy_0->setFocus();
    else if (focus == ProxyForm::Focus::UserName)
        m_ui->txtUsername->setFocus();
    else if (focus == ProxyForm::Focus::Password)
        m_ui->txtPWD->setFocus();
}

} // namespace kr
