#include "contacts/forms/frmMandatoryNote.h"

#include "console/forms/FormTools.h"
#include "console/forms/Icons.h"
#include "contacts/basNotes.h"
#include "contacts/forms/MemberChoice.h"
#include "contacts/forms/RecipientBox.h"
#include "core/Text.h"
#include "platform/ui/qt/QtUi.h"
#include "ui_frmMandatoryNote.h"

namespace kr {

namespace {

constexpr int kColumns = 72;
constexpr int kLines = 28;

constexpr std::string_view kAboutTarget = "Mandatory Note: Target";
constexpr std::string_view kTargetText =
    "Select the handheld users who will receive this manadatory note. You can select individidual "
    "mailboxes and distribution lists.";

} // namespace

frmMandatoryNote::frmMandatoryNote(AgentSession& session, const EntryID& record, QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<::Ui::frmMandatoryNote>()), m_session(session),
      m_id(record) {
    m_ui->setupUi(this);
    m_ui->imgPopup->setIcon(IconOf("imgPopup"));
    m_target = new RecipientBox(
        session, {m_ui->lstTarget, m_ui->cmdTarget, m_ui->cmdDelTarget, m_ui->cmdDetails},
        {"Target - Authorized Recipients"},
        [this](const std::string& addresses) {
            ShowMembersOrEntries(m_session, "Members", m_target->names(), addresses,
                                 m_ui->chkExpand->isChecked(), this);
        },
        this);
    load();
    showLength();
    resize(TextRoom(*this, kColumns, kLines));
    connect(m_target, &RecipientBox::changed, this, [this] { m_changed = true; });
    connect(m_ui->txtText, &QPlainTextEdit::textChanged, this, [this] {
        m_changed = true;
        showLength();
    });
    connect(m_ui->imgPopup, &QToolButton::clicked, this,
            [this] { m_session.ui().Popup(kAboutTarget, kTargetText); });
    connect(m_ui->cmdOK, &QPushButton::clicked, this, &frmMandatoryNote::onOK);
    connect(m_ui->cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
    m_ui->txtText->setFocus();
}

frmMandatoryNote::~frmMandatoryNote() = default;

void frmMandatoryNote::load() {
    if (m_id.empty())
        return;
    const auto note = ReadNote(m_session, m_id);
    if (!note) {
        // saving would replace what could not be read
        m_ui->cmdOK->setEnabled(false);
        m_session.ui().MsgBox("Unable to open the Mandatory Note!\n"
                              "See the KR-Admin.log for details",
                              BoxIcon::Stop);
        return;
    }
    m_ui->txtText->setPlainText(FromUtf8(note->text));
    m_target->Set(note->names, note->addresses);
}

void frmMandatoryNote::showLength() {
    const auto length = m_ui->txtText->toPlainText().toUcs4().size();
    m_ui->lblText->setText(QStringLiteral("&Text (%1 characters)").arg(length));
}

void frmMandatoryNote::onOK() {
    const std::string text = ToUtf8(m_ui->txtText->toPlainText());
    if (Trim(text).empty()) {
        m_session.ui().MsgBox("You can't save a blank Mandatory Note", BoxIcon::Exclamation);
        m_ui->txtText->setFocus();
        return;
    }
    if (!m_changed) {
        reject();
        return;
    }
    m_saved = SaveNote(m_session, m_id, {text, m_target->names(), m_target->addresses()});
    if (!m_saved.empty())
        accept();
}

} // namespace kr
