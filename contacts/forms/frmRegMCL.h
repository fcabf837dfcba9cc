#pragma once

#include <memory>

#include "contacts/forms/RegMclForm.h"

namespace Ui {
class frmRegMCL;
}

namespace kr {

/// "EPS - Mandatory Contact List": contacts out of the address book for the people of a recipient
/// list.
class frmRegMCL : public RegMclForm {
    Q_OBJECT
public:
    /// An empty id makes a new list.
    frmRegMCL(AgentSession& session, const EntryID& id, QWidget* parent = nullptr);
    ~frmRegMCL() override;

protected:
    bool Complete() override;
    MclKeys Keys() override;

private:
    std::unique_ptr<::Ui::frmRegMCL> m_ui;
    RecipientBox* m_source;
    RecipientBox* m_target;
};

} // namespace kr
