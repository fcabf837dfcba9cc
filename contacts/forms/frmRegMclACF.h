#pragma once

#include <memory>

#include "contacts/forms/RegMclLinkedForm.h"

namespace Ui {
class frmRegMclACF;
}

namespace kr {

/// "EPS - Mandatory Contact Folder": the contacts of a folder for the people of a recipient list.
class frmRegMclACF : public RegMclLinkedForm {
    Q_OBJECT
public:
    /// An empty id makes a new list on that source.
    frmRegMclACF(AgentSession& session, const EntryID& id, const MclSource* source,
                 QWidget* parent = nullptr);
    ~frmRegMclACF() override;

private:
    RDOFolderPtr openSource(const MclSource* source);
    void showSource();
    void onMembers();

    std::unique_ptr<::Ui::frmRegMclACF> m_ui;
    RDOFolderPtr m_folder;
};

} // namespace kr
