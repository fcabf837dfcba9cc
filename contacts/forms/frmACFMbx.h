#pragma once

#include <memory>

#include "contacts/forms/AcfForm.h"

namespace Ui {
class frmACFMbx;
}

namespace kr {

/// "EPS - Alternate Contact Mailbox Folder": the record of one source in somebody's mailbox.
class frmACFMbx : public AcfForm {
    Q_OBJECT
public:
    /// An empty id makes a new record. `tree` tells which folders are sources.
    frmACFMbx(AgentSession& session, TreeModel& tree, const EntryID& record,
              QWidget* parent = nullptr);
    ~frmACFMbx() override;

protected:
    void Loaded() override;
    FolderPickOptions Places() const override;
    RDOFolderPtr OpenFolder(const EntryID& id, const EntryID& store) override;
    std::string PathOf(RDOFolder& folder) override;
    std::string Refusal(const std::string& name) const override;
    bool Complete() override;

private:
    void onMailbox();
    RDOStorePtr openMailbox(const std::string& address);
    void showMailbox(const RDOStorePtr& mailbox);
    std::string serverOf(const EntryID& entry);

    std::unique_ptr<::Ui::frmACFMbx> m_ui;
    RDOStorePtr m_mailbox; // nullptr until it is open
};

} // namespace kr
