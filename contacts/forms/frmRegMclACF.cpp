#include "contacts/forms/frmRegMclACF.h"

#include "console/forms/ListAdapter.h"
#include "console/forms/frmDetails.h"
#include "contacts/basACF.h"
#include "contacts/basMCLContacts.h"
#include "core/Trap.h"
#include "core/basFolderPath.h"
#include "core/basStore.h"
#include "platform/ui/qt/QtUi.h"
#include "ui_frmRegMclACF.h"

namespace kr {

namespace {

constexpr std::string_view kSourceText =
    "Each valid contact in the specified folder will be written to the target user folders. To be "
    "valid a contact must have at least one e-mail address.";
constexpr const char* kUnableToOpen = "Unable to open the Source folder!\n"
                                      "Verify that the folder exists and that the \n"
                                      "logged-in account has rights to view and open it";

/// The folder's contacts as rows; nothing, after a box, when they can't be read.
std::vector<ListRow> contactRows(AgentSession& session, RDOFolder& folder, bool all) {
    const WaitCursor wait(session.ui());
    return Trap(
        [&] {
            std::vector<ListRow> rows;
            WalkSourceContacts(session, folder, all, [&](const SourceContact& contact) {
                ListRow& row = rows.emplace_back();
                row.texts = {contact.name, contact.address};
                return true;
            });
            return rows;
        },
        [&](const Trapped& error) {
            session.log("frmRegMclACF: " + error.text());
            session.ui().MsgBox(kUnableToOpen, BoxIcon::Stop);
        });
}

} // namespace

frmRegMclACF::frmRegMclACF(AgentSession& session, const EntryID& id, const MclSource* source,
                           QWidget* parent)
    : RegMclLinkedForm(session, id, source, "frmRegMclACF", parent),
      m_ui(std::make_unique<::Ui::frmRegMclACF>()) {
    m_ui->setupUi(this);
    AddLinked({m_ui->lstTarget, m_ui->cmdTarget, m_ui->cmdDelTarget, m_ui->cmdDetails1},
              m_ui->chkNoSMTP);
    m_folder = openSource(source);
    showSource();
    connect(m_ui->cmdDetails0, &QPushButton::clicked, this, &frmRegMclACF::onMembers);
    Start({m_ui->txtName,
           m_ui->txtDescription,
           m_ui->cmdOK,
           m_ui->cmdCancel,
           {{m_ui->imgPopup0, kMclSourceTitle, kSourceText},
            {m_ui->imgPopup1, kMclTargetTitle, kMclTargetText},
            {m_ui->imgPopup2, kMclDescriptionTitle, kMclDescriptionText}}},
          kMclNoName);
    if (IsNew() && Source())
        ProposeName(TrapSilently([&] { return Source()->Subject(); }));
}

frmRegMclACF::~frmRegMclACF() = default;

/// The source's folder; without its record that of the list's old link.
RDOFolderPtr frmRegMclACF::openSource(const MclSource* source) {
    if (Source())
        return OpenAcfFolder(session(), *Source());
    if (IsNew())
        return source ? GetFolder(session(), source->folder) : nullptr;
    if (record().sourceFolder.empty())
        return nullptr;
    return GetFolder(session(), record().sourceFolder, record().sourceStore);
}

void frmRegMclACF::showSource() {
    std::string path;
    if (m_folder)
        path = Trap([&] { return FolderPath(*m_folder); },
                    [&](const Trapped& error) { session().log("frmRegMclACF: " + error.text()); });
    m_ui->cmdDetails0->setEnabled(m_folder != nullptr);
    if (!path.empty()) {
        m_ui->txtPath->setPlainText(FromUtf8(FormatFolderPath(path)));
        return;
    }
    QPalette red = m_ui->txtPath->palette();
    red.setColor(QPalette::Text, QColor(255, 0, 0));
    m_ui->txtPath->setPalette(red);
    m_ui->txtPath->setPlainText(QString::fromUtf8(kUnableToOpen));
}

void frmRegMclACF::onMembers() {
    auto rows = contactRows(session(), *m_folder, NoSmtp());
    frmDetails form(this);
    form.setWindowTitle(tr("Members"));
    form.list().SetColumns({{"Name", "txtName"}, {"E-mail", "txtEmail"}});
    form.list().AddAll(std::move(rows));
    form.SetCount("Count: " + std::to_string(form.list().Count()));
    form.list().Sort(0, SortOrder::Ascending);
    FitColumns(*form.findChild<QTreeView*>(QStringLiteral("lvDetail")), form.list());
    form.exec();
}

} // namespace kr
