#include "push/forms/frmMPL.h"

#include "console/forms/FormTools.h"
#include "contacts/forms/Members.h"
#include "platform/ui/qt/QtUi.h"
#include "push/forms/HelpImages.h"
#include "push/forms/frmPushResult.h"
#include "ui_frmMPL.h"

namespace kr {

namespace {

constexpr int kColumns = 84;
constexpr int kLines = 26;
constexpr int kPayloadLines = 6;
constexpr int kTargetLines = 5;

constexpr std::string_view kPayloadText =
    "Enter the XML payload that will be pushed to the target handhelds";
// the misspelt word is deliberate
constexpr std::string_view kTargetText =
    "Select the handheld users who will receive the push notification. You can select individidual "
    "mailboxes and distribution lists, but only those users with a handheld on a push-enabled "
    "server will get the payload.";

} // namespace

frmMPL::frmMPL(AgentSession& session, TreeModel& tree, const EntryID& list, QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<::Ui::frmMPL>()), m_session(session), m_tree(tree) {
    m_ui->setupUi(this);
    m_ui->txtPayload->setMinimumHeight(TextRoom(*this, 1, kPayloadLines).height());
    m_ui->lstTarget->setMinimumHeight(TextRoom(*this, 1, kTargetLines).height());
    resize(TextRoom(*this, kColumns, kLines));
    if (!list.empty())
        m_readable = m_form.Load(session, list);
    m_target = new RecipientBox(
        m_session, {m_ui->lstTarget, m_ui->cmdTarget, m_ui->cmdDelTarget, m_ui->cmdDetails},
        {"Mandatory Push List Targets", "List"},
        [this](const std::string& addresses) {
            ShowMembers(m_session, "Members", addresses, this);
        },
        this);
    showFields();
    connectAll();
    m_ui->txtName->setFocus();
}

frmMPL::~frmMPL() = default;

void frmMPL::showFields() {
    m_ui->txtName->setText(FromUtf8(m_form.name));
    m_ui->txtPayload->setPlainText(FromUtf8(m_form.payload));
    m_target->Set(m_form.names, m_form.addresses);
    m_ui->cmdOK->setEnabled(m_readable);
    m_ui->cmdPush->setEnabled(m_readable);
}

void frmMPL::connectAll() {
    ConnectHelp(m_session, {{m_ui->imgPopup0, "Mandatory Push List: Payload", kPayloadText},
                            {m_ui->imgPopup1, "Mandatory Push List: Targets", kTargetText}});
    const auto changed = [this] { m_form.changed = true; };
    connect(m_ui->txtName, &QLineEdit::textChanged, this, changed);
    connect(m_ui->txtPayload, &QPlainTextEdit::textChanged, this, changed);
    connect(m_target, &RecipientBox::changed, this, changed);
    connect(m_ui->cmdValidate, &QPushButton::clicked, this, &frmMPL::onValidate);
    connect(m_ui->cmdPush, &QPushButton::clicked, this, &frmMPL::onPush);
    connect(m_ui->cmdOK, &QPushButton::clicked, this, &frmMPL::onOK);
    connect(m_ui->cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
}

void frmMPL::readFields() {
    m_form.name = ToUtf8(m_ui->txtName->text());
    m_form.names = m_target->names();
    m_form.addresses = m_target->addresses();
    m_form.payload = ToUtf8(m_ui->txtPayload->toPlainText());
}

void frmMPL::showPayload() {
    const QString payload = FromUtf8(m_form.payload);
    if (payload != m_ui->txtPayload->toPlainText())
        m_ui->txtPayload->setPlainText(payload);
}

void frmMPL::focusOn(MplForm::Focus focus) {
    switch (focus) {
    case MplForm::Focus::Name:
        m_ui->txtName->setFocus();
        break;
    case MplForm::Focus::Payload:
        m_ui->txtPayload->setFocus();
        break;
    case MplForm::Focus::Target:
        m_ui->cmdTarget->setFocus();
        break;
    case MplForm::Focus::None:
        break;
    }
}

void frmMPL::onValidate() {
    readFields();
    m_form.TellValid(m_session);
    showPayload();
    m_ui->txtPayload->setFocus();
}

void frmMPL::onPush() {
    readFields();
    auto focus = MplForm::Focus::None;
    const auto outcome = m_form.SaveForPush(m_session, focus);
    const bool changed = m_form.changed;
    showPayload();
    m_form.changed = changed; // the completed payload is that of the record
    focusOn(focus);
    if (outcome == MplForm::Outcome::Refused || outcome == MplForm::Outcome::Failed)
        return;
    m_saved = m_form.id();
    PushAlertToList(
        m_session, m_tree,
        [this](std::string_view icon, const PushForms::Work& work) {
            frmPushResult(m_session, icon, work, this).exec();
        },
        m_form.alert());
}

void frmMPL::onOK() {
    readFields();
    auto focus = MplForm::Focus::None;
    switch (m_form.Save(m_session, focus)) {
    case MplForm::Outcome::Saved:
        m_saved = m_form.id();
        accept();
        break;
    case MplForm::Outcome::Unchanged:
        reject();
        break;
    case MplForm::Outcome::Refused:
    case MplForm::Outcome::Failed:
        showPayload();
        focusOn(focus);
        break;
    }
}

} // namespace kr
