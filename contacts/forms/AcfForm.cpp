#include "contacts/forms/AcfForm.h"

#include "console/TreeModel.h"
#include "console/forms/FormTools.h"
#include "contacts/basMCLSources.h"
#include "contacts/forms/ContactFolder.h"
#include "contacts/forms/Members.h"
#include "core/Text.h"
#include "core/Trap.h"
#include "core/basFolderPath.h"
#include "platform/ui/qt/QtUi.h"

namespace kr {

namespace {

constexpr int kColumns = 76;
constexpr int kLines = 24;

} // namespace

AcfForm::AcfForm(AgentSession& session, TreeModel& tree, const EntryID& record,
                 std::string_view form, QWidget* parent)
    : QDialog(parent), m_session(session), m_tree(tree), m_id(record), m_form(form) {}

void AcfForm::Start(const Controls& controls) {
    m_controls = controls;
    m_admins = new RecipientBox(
        m_session, {controls.admins, controls.chooseAdmins, nullptr, controls.details},
        {"Alternate Contact Folder Admins", "List"},
        [this](const std::string& addresses) {
            ShowMembers(m_session, "Members", addresses, this);
        },
        this);
    resize(TextRoom(*this, kColumns, kLines));
    load();
    connect(controls.name, &QLineEdit::textEdited, this, &AcfForm::SetChanged);
    connect(controls.description, &QPlainTextEdit::textChanged, this, &AcfForm::SetChanged);
    connect(m_admins, &RecipientBox::changed, this, &AcfForm::SetChanged);
    connect(controls.choose, &QPushButton::clicked, this, &AcfForm::ChooseFolder);
    connect(controls.ok, &QPushButton::clicked, this, &AcfForm::onOK);
    connect(controls.cancel, &QPushButton::clicked, this, &QDialog::reject);
    controls.name->setFocus();
}

void AcfForm::load() {
    if (m_id.empty())
        return;
    const bool read = Trap(
        [&] {
            m_source = ReadAcf(m_session, m_id);
            return true;
        },
        [&](const Trapped& error) {
            m_session.log(m_form + ": " + error.text());
            // saving would replace what could not be read
            m_controls.ok->setEnabled(false);
            m_session.ui().MsgBox("Unable to open the contact source!\n"
                                  "See the KR-Admin.log for details",
                                  BoxIcon::Stop);
        });
    if (!read)
        return;
    showSource();
    Loaded();
    openStoredFolder();
}

void AcfForm::showSource() {
    m_controls.name->setText(FromUtf8(m_source.name));
    m_controls.description->setPlainText(FromUtf8(m_source.description));
    m_admins->Set(m_source.admins, m_source.adminsEmail);
}

void AcfForm::openStoredFolder() {
    Trap(
        [&] {
            const RDOFolderPtr folder = OpenFolder(m_source.folder, m_source.store);
            m_source.path = PathOf(*folder);
            m_shownPath = FolderPath(*folder);
            ShowFolderPath(*m_controls.path, m_source.path);
        },
        [&](const Trapped& error) {
            m_session.log(m_form + ": " + error.text());
            ShowNoFolder(*m_controls.path);
        });
}

void AcfForm::ClearFolder() {
    m_source.folder = EntryID();
    m_source.path.clear();
    m_shownPath.clear();
    ShowFolderPath(*m_controls.path, "");
    m_changed = true;
}

void AcfForm::ChooseFolder() {
    FolderPickOptions options = Places();
    options.startPath = m_shownPath;
    for (;;) {
        const auto pick = PickContactFolder(m_session, options, m_form);
        if (!pick)
            return;
        const bool taken =
            Trap([&] { return take(*pick); },
                 [&](const Trapped& error) {
                     m_session.log(m_form + ": " + error.text());
                     m_session.ui().MsgBox("Unable to open the folder!\n" + error.description,
                                           BoxIcon::Stop);
                 });
        if (taken)
            return;
        options.startPath = pick->path; // its neighbours are at hand for the next try
    }
}

/// False: the folder was refused. Throws as the store does.
bool AcfForm::take(const FolderPick& pick) {
    if (pick.entryID.empty()) {
        ClearFolder();
        return true;
    }
    const RDOFolderPtr folder = OpenFolder(pick.entryID, pick.storeID);
    const EntryID id = folder->ID();
    if (SameObject(*folder->Store(), id, m_source.folder))
        return true;
    EntryID orphan;
    if (!free(*folder, id, orphan))
        return false;
    keep(*folder, id);
    if (!orphan.empty())
        adopt(orphan);
    return true;
}

/// The folder is neither the repository nor a source that the tree shows. One that it doesn't show
/// comes out as `orphan`.
bool AcfForm::free(RDOFolder& folder, const EntryID& id, EntryID& orphan) {
    const std::string name = folder.Name();
    const auto refused = [&](const std::string& why) {
        m_session.ui().MsgBox(why, BoxIcon::Exclamation);
        return false;
    };
    if (const std::string refusal = Refusal(name); !refusal.empty())
        return refused(refusal);
    for (const AcfRow& row : RequireAcfByFolder(m_session, id, m_source.mailbox, m_source.server)) {
        if (SameObject(*m_session.agentInfo->Store(), row.id, m_id))
            continue;
        if (AcfNodeExists(m_tree, row.id))
            return refused(name + " has already been designated as an Alternate Contacts folder!\n"
                                  "Please try again.");
        if (orphan.empty())
            orphan = row.id;
    }
    if (IsMCRFolder(m_session, id))
        return refused(name + " is the Master Contacts Repository!\nPlease try again.");
    return true;
}

void AcfForm::keep(RDOFolder& folder, const EntryID& id) {
    m_source.path = PathOf(folder);
    m_shownPath = FolderPath(folder);
    m_source.folder = id;
    m_changed = true;
    ShowFolderPath(*m_controls.path, m_source.path);
    if (m_controls.name->text().isEmpty())
        m_controls.name->setText(FromUtf8(folder.Name()));
}

/// The record of a source that the tree has lost: the dialog goes on with it.
void AcfForm::adopt(const EntryID& orphan) {
    const AcfSource lost = ReadAcf(m_session, orphan);
    m_id = orphan;
    m_source.name = lost.name;
    m_source.description = lost.description;
    m_source.admins = lost.admins;
    m_source.adminsEmail = lost.adminsEmail;
    showSource();
}

bool AcfForm::Refuse(const std::string& text, QWidget* focus) {
    m_session.ui().MsgBox(text, BoxIcon::Exclamation);
    focus->setFocus();
    return false;
}

void AcfForm::onOK() {
    if (!Complete())
        return;
    if (!m_changed) {
        reject();
        return;
    }
    m_source.name = Trim(ToUtf8(m_controls.name->text()));
    if (AcfNameInUse(m_session, m_id, m_source.name)) {
        Refuse("'" + m_source.name + "' is already in use.\nPlease provide a different name",
               m_controls.name);
        return;
    }
    m_source.description = ToUtf8(m_controls.description->toPlainText());
    m_source.admins = m_admins->names();
    m_source.adminsEmail = m_admins->addresses();
    m_saved = SaveAcf(m_session, m_id, m_source);
    if (!m_saved.empty())
        accept();
}

} // namespace kr
