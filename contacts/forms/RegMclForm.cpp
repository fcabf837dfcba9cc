#include "contacts/forms/RegMclForm.h"

#include "console/forms/FormTools.h"
#include "console/forms/Icons.h"
#include "contacts/basMCL.h"
#include "contacts/forms/Members.h"
#include "core/Text.h"
#include "platform/ui/qt/QtUi.h"

namespace kr {

namespace {

constexpr int kColumns = 84;
constexpr int kLines = 27;

} // namespace

// the misspelt words of these texts are deliberate
const std::string_view kMclSourceTitle = "Mandatory Contacts: Source";
const std::string_view kMclTargetTitle = "Mandatory Contacts: Target";
const std::string_view kMclTargetText =
    "Select the handheld users who will receive the manadatory contacts. You can select "
    "individidual mailboxes and distribution lists";
const std::string_view kMclDescriptionTitle = "Mandatory Contacts: Description (optional)";
const std::string_view kMclDescriptionText =
    "Text entered here will appear in the Notes field of mandatory contacts that are directly "
    "created by this process. This description will not be added to users' existing contacts that "
    "are being updated but are not owned by this Mandatory Contact List. A mandatory contact that "
    "belongs to more than one list will include descriptions from each of its parent lists.";

RegMclForm::RegMclForm(AgentSession& session, const EntryID& id, QWidget* parent)
    : QDialog(parent), m_session(session), m_id(id) {
    if (m_id.empty())
        return;
    auto record = ReadMCL(m_session, m_id);
    m_readable = record.has_value();
    if (record)
        m_record = std::move(*record);
}

void RegMclForm::Start(const Controls& controls, std::string_view noName) {
    m_controls = controls;
    m_noName = noName;
    m_controls.name->setText(FromUtf8(m_record.name));
    m_controls.description->setPlainText(FromUtf8(m_record.description));
    m_controls.ok->setEnabled(m_readable);
    resize(TextRoom(*this, kColumns, kLines));
    for (const Help& help : m_controls.help) {
        help.image->setIcon(IconOf("imgPopup"));
        connect(help.image, &QToolButton::clicked, this,
                [this, help] { m_session.ui().Popup(help.title, help.text); });
    }
    connect(m_controls.name, &QLineEdit::textChanged, this, [this] { MarkChanged(); });
    connect(m_controls.description, &QPlainTextEdit::textChanged, this, [this] { MarkChanged(); });
    connect(m_controls.ok, &QPushButton::clicked, this, [this] { onOK(); });
    connect(m_controls.cancel, &QPushButton::clicked, this, &QDialog::reject);
    m_controls.name->setFocus();
}

RecipientBox* RegMclForm::addBox(const RecipientBox::Controls& controls, std::string_view title) {
    auto* box = new RecipientBox(
        m_session, controls, {std::string(title), "List"},
        [this](const std::string& addresses) {
            ShowMembers(m_session, "Members", addresses, this);
        },
        this);
    connect(box, &RecipientBox::changed, this, [this] { MarkChanged(); });
    return box;
}

RecipientBox* RegMclForm::AddSource(const RecipientBox::Controls& controls) {
    RecipientBox* box = addBox(controls, "Source - Mandatory Contacts");
    box->Set(m_record.source, m_record.sourceEmail);
    return box;
}

RecipientBox* RegMclForm::AddTarget(const RecipientBox::Controls& controls) {
    RecipientBox* box = addBox(controls, "Target - Authorized Recipients");
    box->Set(m_record.target, m_record.targetEmail);
    return box;
}

void RegMclForm::AddIncludeDLs(QCheckBox* box) {
    box->setChecked(m_record.includeDLs.value_or(true));
    if (!m_record.includeDLs)
        MarkChanged();
    connect(box, &QCheckBox::toggled, this, [this] { MarkChanged(); });
}

void RegMclForm::ProposeName(const std::string& name) {
    if (m_controls.name->text().trimmed().isEmpty() && !name.empty())
        m_controls.name->setText(FromUtf8(name));
}

bool RegMclForm::Refuse(std::string_view text, QWidget* focus) {
    m_session.ui().MsgBox(text, BoxIcon::Exclamation);
    focus->setFocus();
    return false;
}

bool RegMclForm::nameFree(const std::string& name) {
    const MclFolder folder = GetMCLFolder(m_session);
    if (!folder)
        return false; // which the person was told
    if (!MCLNameInUse(m_session, *folder.folder, m_id, name))
        return true;
    return Refuse("'" + name + "' is already in use.\nPlease provide a different name",
                  m_controls.name);
}

void RegMclForm::onOK() {
    const std::string name = Trim(ToUtf8(m_controls.name->text()));
    if (name.empty()) {
        Refuse(m_noName, m_controls.name);
        return;
    }
    if (!m_changed) {
        reject();
        return;
    }
    if (!nameFree(name) || !Complete())
        return;
    m_saved = SaveMCL(m_session, m_id, name, ToUtf8(m_controls.description->toPlainText()), Keys());
    if (!m_saved.empty())
        accept();
}

} // namespace kr
