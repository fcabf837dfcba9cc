#pragma once

#include <memory>

#include "contacts/forms/AcfForm.h"

namespace Ui {
class frmACF;
}

namespace kr {

/// "EPS - Alternate Contact Public Folder": the record of one source in the public folders.
class frmACF : public AcfForm {
    Q_OBJECT
public:
    /// An empty id makes a new record. `tree` tells which folders are sources.
    frmACF(AgentSession& session, TreeModel& tree, const EntryID& record,
           QWidget* parent = nullptr);
    ~frmACF() override;

protected:
    FolderPickOptions Places() const override;
    RDOFolderPtr OpenFolder(const EntryID& id, const EntryID& store) override;
    std::string PathOf(RDOFolder& folder) override;
    bool Complete() override;

private:
    std::unique_ptr<::Ui::frmACF> m_ui;
};

} // namespace kr
