#include "contacts/forms/frmMCR.h"

#include <algorithm>

#include "console/TreeModel.h"
#include "console/forms/FormTools.h"
#include "contacts/basACFRecord.h"
#include "contacts/basMCLSources.h"
#include "contacts/forms/ContactFolder.h"
#include "core/Text.h"
#include "core/Trap.h"
#include "core/basFolderPath.h"
#include "core/basStore.h"
#include "ui_frmMCR.h"

namespace kr {

namespace {

constexpr int kColumns = 60;
constexpr int kLines = 12;

} // namespace

frmMCR::frmMCR(AgentSession& session, TreeModel& tree, const EntryID& record, QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<::Ui::frmMCR>()), m_session(session), m_tree(tree),
      m_id(record) {
    m_ui->setupUi(this);
    resize(TextRoom(*this, kColumns, kLines));
    connect(m_ui->cmdPath, &QPushButton::clicked, this, &frmMCR::onPath);
    connect(m_ui->cmdOK, &QPushButton::clicked, this, &frmMCR::onOK);
    connect(m_ui->cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
    m_ui->cmdPath->setFocus();
    load();
}

frmMCR::~frmMCR() = default;

void frmMCR::load() {
    Trap(
        [&] {
            const RDOMessagePtr record = m_id.empty() ? nullptr : GetMessage(m_session, m_id);
            if (record)
                m_folder = EntryID(Trim(RequireKey(*record, kMcrFolderKey).text()));
            const RDOFolderPtr folder = m_folder.empty() ? nullptr : GetFolder(m_session, m_folder);
            if (folder)
                m_path = FolderPath(*folder);
        },
        [&](const Trapped& error) { m_session.log("frmMCR: " + error.text()); });
    ShowFolderPath(*m_ui->txtPath, m_path);
    if (m_path.empty())
        m_session.ui().MsgBox("Click Select to choose the Master Contact Repository folder",
                              BoxIcon::Information);
}

void frmMCR::onPath() {
    FolderPickOptions options;
    options.startPath = m_path;
    for (;;) {
        const auto pick = PickContactFolder(m_session, options, "frmMCR");
        if (!pick || pick->entryID.empty())
            return;
        const bool taken =
            Trap([&] { return take(*pick); },
                 [&](const Trapped& error) {
                     m_session.log("frmMCR: " + error.text());
                     m_session.ui().MsgBox("Unable to open the folder!\n" + error.description,
                                           BoxIcon::Stop);
                 });
        if (taken)
            return;
        options.startPath = pick->path; // its neighbours are at hand for the next try
    }
}

/// False: the folder was refused. Throws as the store does.
bool frmMCR::take(const FolderPick& pick) {
    const RDOFolderPtr folder = m_session.rdo->GetFolderFromID(pick.entryID, pick.storeID);
    const EntryID id = folder->ID();
    if (SameObject(*folder->Store(), id, m_folder))
        return true;
    if (isSource(id)) {
        m_session.ui().MsgBox(folder->Name() +
                                  " has already been designated as an Alternate Contacts Folder!\n"
                                  "Please try again.",
                              BoxIcon::Exclamation);
        return false;
    }
    m_path = FolderPath(*folder);
    m_folder = id;
    m_changed = true;
    ShowFolderPath(*m_ui->txtPath, m_path);
    return true;
}

/// A source that the tree doesn't show is none: its record goes when the folder is stored.
bool frmMCR::isSource(const EntryID& folder) {
    const auto rows = RequireAcfByFolder(m_session, folder);
    return std::ranges::any_of(rows,
                               [&](const AcfRow& row) { return AcfNodeExists(m_tree, row.id); });
}

void frmMCR::onOK() {
    if (!m_changed && !m_id.empty()) {
        reject();
        return;
    }
    const EntryID saved =
        SaveMCR(m_session, m_id, m_changed ? m_folder : EntryID(), m_changed ? m_path : "");
    if (saved.empty())
        return;
    if (m_changed)
        RemoveAcfForFolder(m_session, m_tree, m_folder);
    m_saved = saved;
    accept();
}

} // namespace kr
