#include "contacts/forms/frmACF.h"

#include "core/Text.h"
#include "core/basFolderPath.h"
#include "core/basStore.h"
#include "platform/ui/qt/QtUi.h"
#include "ui_frmACF.h"

namespace kr {

frmACF::frmACF(AgentSession& session, TreeModel& tree, const EntryID& record, QWidget* parent)
    : AcfForm(session, tree, record, "frmACF", parent), m_ui(std::make_unique<::Ui::frmACF>()) {
    m_ui->setupUi(this);
    Start({m_ui->txtName, m_ui->txtDescription, m_ui->txtPath, m_ui->cmdPath, m_ui->lstAdmins,
           m_ui->cmdAdmins, m_ui->cmdDetails, m_ui->cmdOK, m_ui->cmdCancel});
}

frmACF::~frmACF() = default;

FolderPickOptions frmACF::Places() const {
    FolderPickOptions options;
    options.showMailbox = false;
    return options;
}

RDOFolderPtr frmACF::OpenFolder(const EntryID& id, const EntryID& store) {
    RDOFolderPtr folder = id.empty() ? nullptr : GetFolder(session(), id, store);
    if (!folder)
        throw PlatformError(MAPI_E_NOT_FOUND, "The folder can't be opened.");
    return folder;
}

std::string frmACF::PathOf(RDOFolder& folder) { return FolderPath(folder); }

bool frmACF::Complete() {
    if (source().folder.empty())
        return Refuse("You must select an Alternate Contact Folder", m_ui->cmdPath);
    if (Trim(ToUtf8(m_ui->txtName->text())).empty())
        return Refuse("You must provide a unique name for this Alternate Contact Folder",
                      m_ui->txtName);
    return true;
}

} // namespace kr
