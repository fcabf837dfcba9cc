#include "contacts/forms/frmRegMCLPf.h"

#include "contacts/basACF.h"
#include "core/Text.h"
#include "core/Trap.h"
#include "platform/ui/qt/QtUi.h"
#include "ui_frmRegMCLPf.h"

namespace kr {

namespace {

constexpr std::string_view kSourceTitle = "Public Folder Contact List: Source";
constexpr std::string_view kSourceText =
    "Select the contacts you want replicated to a Public Folder. An example of a contact would be "
    "'Campus Security', or 'XYZ County Fire Department.' Choose any combination of individual "
    "mailboxes, custom recipients or distribution lists. Distribution lists will be expanded in "
    "order to create one contact for each list member. One additional contact will be created for "
    "the distribution list itself.";
constexpr std::string_view kTargetTitle = "Public Folder Contact List: Target";
constexpr std::string_view kTargetText =
    "Select the Public Folder that will receive a copy of the source contacts.";
constexpr std::string_view kDescriptionTitle = "Public Folder Contact List: Description (optional)";
constexpr std::string_view kDescriptionText =
    "Text entered here will appear in the Notes field of contacts that are directly created by "
    "this process. A contact that belongs to more than one list will include descriptions from "
    "each of its parent lists.";
constexpr std::string_view kNoName =
    "You must provide a unique name for this Public Folder Contact List";

std::vector<FolderPick> pickFolder(AgentSession& session, const std::string& path) {
    FolderPickOptions options;
    options.showMailbox = false;
    options.allowContacts = true;
    options.startPath = path;
    options.title = "Select a Contacts folder";
    return Trap([&] { return session.ui().PickFolders(*session.rdo, options); },
                [&](const Trapped& error) {
                    session.log("frmRegMCLPf: " + error.text());
                    session.ui().MsgBox(
                        "There was an error loading the folder list!\nDetails are in the log.",
                        BoxIcon::Exclamation);
                });
}

} // namespace

frmRegMCLPf::frmRegMCLPf(AgentSession& session, const EntryID& id, QWidget* parent)
    : RegMclForm(session, id, parent), m_ui(std::make_unique<::Ui::frmRegMCLPf>()),
      m_path(record().target), m_folder(Trim(record().targetEmail)) {
    m_ui->setupUi(this);
    m_source = AddSource({m_ui->lstSource, m_ui->cmdSource, m_ui->cmdDelSource, m_ui->cmdDetails0});
    AddIncludeDLs(m_ui->chkIncludeDLs);
    connect(m_ui->cmdTarget, &QPushButton::clicked, this, &frmRegMCLPf::onFolder);
    connect(m_ui->cmdDelete, &QPushButton::clicked, this, &frmRegMCLPf::onDelete);
    showFolder();
    Start({m_ui->txtName,
           m_ui->txtDescription,
           m_ui->cmdOK,
           m_ui->cmdCancel,
           {{m_ui->imgPopup0, kSourceTitle, kSourceText},
            {m_ui->imgPopup1, kTargetTitle, kTargetText},
            {m_ui->imgPopup2, kDescriptionTitle, kDescriptionText}}},
          kNoName);
}

frmRegMCLPf::~frmRegMCLPf() = default;

void frmRegMCLPf::showFolder() {
    m_ui->txtPath->setPlainText(FromUtf8(FormatFolderPath(m_path)));
    m_ui->cmdDelete->setEnabled(!m_path.empty() || !m_folder.empty());
}

void frmRegMCLPf::onFolder() {
    const auto picks = pickFolder(session(), m_path);
    if (picks.empty())
        return;
    const FolderPick& pick = picks.front();
    if (pick.entryID == m_folder)
        return;
    if (IsMCRFolder(session(), pick.entryID)) {
        session().ui().MsgBox("This folder is the current Master Contact Repository.\n"
                              "It can't be used as Public Folder MCL!",
                              BoxIcon::Exclamation);
        return;
    }
    m_path = pick.path;
    m_folder = pick.entryID;
    showFolder();
    MarkChanged();
}

void frmRegMCLPf::onDelete() {
    m_path.clear();
    m_folder = {};
    showFolder();
    MarkChanged();
    m_ui->cmdTarget->setFocus(); // the button itself is disabled now
}

bool frmRegMCLPf::Complete() {
    if (m_source->empty())
        return Refuse(kMclNoSource, m_ui->cmdSource);
    if (m_folder.empty())
        return Refuse("You must select a Public Folder as the Target", m_ui->cmdTarget);
    return true;
}

MclKeys frmRegMCLPf::Keys() {
    MclKeys keys{{"MCL PF", true},
                 {"MCL Target", m_path},
                 {"MCL Target Email", m_folder.text()},
                 {"MCL Target Count", int32_t{1}}};
    AddSourceKeys(session(), keys, m_source->names(), m_source->addresses());
    keys.emplace_back("MCL.IncludeDLs", m_ui->chkIncludeDLs->isChecked());
    return keys;
}

} // namespace kr
