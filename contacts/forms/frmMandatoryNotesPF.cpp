#include "contacts/forms/frmMandatoryNotesPF.h"

#include "console/forms/FormTools.h"
#include "console/forms/Icons.h"
#include "console/forms/frmDetails.h"
#include "contacts/basNotes.h"
#include "contacts/forms/ContactFolder.h"
#include "contacts/forms/Members.h"
#include "contacts/forms/RecipientBox.h"
#include "core/Trap.h"
#include "core/basFolderPath.h"
#include "core/basStore.h"
#include "platform/ui/qt/QtUi.h"
#include "ui_frmMandatoryNotesPF.h"

namespace kr {

namespace {

constexpr int kColumns = 72;
constexpr int kLines = 24;

constexpr std::string_view kAboutSource = "Mandatory Notes Folder: Source";
constexpr std::string_view kSourceText =
    "Each note in the specified folder will be written to the default Notes folder of each target "
    "user.";
constexpr std::string_view kAboutTarget = "Mandatory Notes Folder: Target";
constexpr std::string_view kTargetText =
    "Select the handheld users who will receive the manadatory notes. You can select individidual "
    "mailboxes and distribution lists.";
constexpr std::string_view kNoSource =
    "Unable to open the Source folder!\nVerify that the folder exists and that the logged-in "
    "account has rights to view and open it";

} // namespace

frmMandatoryNotesPF::frmMandatoryNotesPF(AgentSession& session, const EntryID& record,
                                         QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<::Ui::frmMandatoryNotesPF>()), m_session(session),
      m_id(record) {
    m_ui->setupUi(this);
    for (QToolButton* help : {m_ui->imgPopup0, m_ui->imgPopup1})
        help->setIcon(IconOf("imgPopup"));
    m_ui->cmdDetails1->setEnabled(false);
    m_target = new RecipientBox(
        session, {m_ui->lstTarget, m_ui->cmdTarget, m_ui->cmdDelete, m_ui->cmdDetails0},
        {"Target - Authorized Recipients"},
        [this](const std::string& addresses) {
            ShowMembers(m_session, "Members", addresses, this);
        },
        this);
    load();
    resize(TextRoom(*this, kColumns, kLines));
    connectControls();
    m_ui->cmdPath->setFocus();
}

frmMandatoryNotesPF::~frmMandatoryNotesPF() = default;

void frmMandatoryNotesPF::connectControls() {
    connect(m_target, &RecipientBox::changed, this, [this] { m_changed = true; });
    connect(m_ui->cmdPath, &QPushButton::clicked, this, &frmMandatoryNotesPF::onPath);
    connect(m_ui->cmdDetails1, &QPushButton::clicked, this, &frmMandatoryNotesPF::onNotes);
    connect(m_ui->imgPopup0, &QToolButton::clicked, this,
            [this] { m_session.ui().Popup(kAboutSource, kSourceText); });
    connect(m_ui->imgPopup1, &QToolButton::clicked, this,
            [this] { m_session.ui().Popup(kAboutTarget, kTargetText); });
    connect(m_ui->cmdOK, &QPushButton::clicked, this, &frmMandatoryNotesPF::onOK);
    connect(m_ui->cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
}

void frmMandatoryNotesPF::load() {
    if (m_id.empty())
        return;
    const auto record = ReadNotesPF(m_session, m_id);
    if (!record) {
        // saving would replace what could not be read
        m_ui->cmdOK->setEnabled(false);
        m_session.ui().MsgBox("Unable to open the Mandatory Notes folder's record!\n"
                              "See the KR-Admin.log for details",
                              BoxIcon::Stop);
        return;
    }
    m_target->Set(record->names, record->addresses);
    m_folder = record->folder;
    if (const RDOFolderPtr folder = GetFolder(m_session, m_folder))
        showFolder(*folder);
    else
        m_session.ui().MsgBox(kNoSource, BoxIcon::Exclamation);
}

void frmMandatoryNotesPF::showFolder(RDOFolder& folder) {
    m_folderName = TrapSilently([&] { return folder.Name(); });
    m_path = TrapSilently([&] { return FolderPath(folder); });
    ShowFolderPath(*m_ui->txtPath, m_path);
    m_ui->cmdDetails1->setEnabled(true);
}

void frmMandatoryNotesPF::onPath() {
    for (;;) {
        const auto pick = PickNotesFolder(m_session, true, m_path);
        if (!pick || take(*pick))
            return;
    }
}

/// False: the folder was refused.
bool frmMandatoryNotesPF::take(const FolderPick& pick) {
    const RDOFolderPtr folder = GetFolder(m_session, pick.entryID, pick.storeID);
    if (!folder) {
        m_session.ui().MsgBox(kNoSource, BoxIcon::Exclamation);
        return false;
    }
    const EntryID id = folder->ID();
    if (!m_folder.empty() &&
        TrapSilently([&] { return folder->Store()->CompareEntryIDs(id, m_folder); }))
        return true;
    if (IsNotesFolder(m_session, id, m_id)) {
        m_session.ui().MsgBox(TrapSilently([&] { return folder->Name(); }) +
                                  " is already a Mandatory Notes folder!\n"
                                  "Please select a different folder.",
                              BoxIcon::Exclamation);
        return false;
    }
    m_folder = id;
    m_changed = true;
    showFolder(*folder);
    return true;
}

void frmMandatoryNotesPF::onNotes() {
    frmDetails form(this);
    form.setWindowTitle(FromUtf8("Notes - " + m_folderName));
    form.list().SetColumns({{"Subject", ""}, {"Size", "intsize"}});
    Trap(
        [&] {
            const WaitCursor wait(m_session.ui());
            const RDOFolderPtr folder = GetFolder(m_session, m_folder);
            if (!folder)
                throw PlatformError(MAPI_E_NOT_FOUND, "The folder can't be opened.");
            LoadNoteRows(*folder, [&](ListRow row) {
                row.texts.resize(2);
                row.ghosted = false;
                form.list().Add(std::move(row));
                return true;
            });
        },
        [&](const Trapped& error) {
            m_session.log("frmMandatoryNotesPF: " + error.text());
            form.SetWarning(kNoSource);
        });
    form.SetCount("Count: " + std::to_string(form.list().Count()));
    form.list().Sort(0, SortOrder::Ascending);
    form.exec();
}

bool frmMandatoryNotesPF::refuse(const std::string& text, QWidget* focus) {
    m_session.ui().MsgBox(text, BoxIcon::Exclamation);
    focus->setFocus();
    return false;
}

bool frmMandatoryNotesPF::complete() {
    if (m_folder.empty())
        return refuse("You must select a Notes Public Folder as the source for this list!",
                      m_ui->cmdPath);
    if (IsNotesFolder(m_session, m_folder, m_id))
        return refuse("'" + m_folderName +
                          "' has already been designated as a Mandatory Notes folder!\n"
                          "Please select a different folder.",
                      m_ui->cmdPath);
    if (m_target->empty())
        return refuse("You must select at least one name or distribution list as the Target!",
                      m_ui->cmdTarget);
    return true;
}

void frmMandatoryNotesPF::onOK() {
    if (!complete())
        return;
    if (!m_changed) {
        reject();
        return;
    }
    setEnabled(false); // counting the target lets events run
    m_saved = SaveNotesPF(m_session, m_id, {m_folder, m_target->names(), m_target->addresses()},
                          m_folderName);
    setEnabled(true);
    if (!m_saved.empty())
        accept();
}

} // namespace kr
