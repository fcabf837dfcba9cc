#pragma once

#include <memory>
#include <string>

#include "contacts/forms/RegMclForm.h"

namespace Ui {
class frmRegMCLPf;
}

namespace kr {

/// "EPS - Public Folder Contact List": contacts out of the address book for one public folder.
class frmRegMCLPf : public RegMclForm {
    Q_OBJECT
public:
    /// An empty id makes a new list.
    frmRegMCLPf(AgentSession& session, const EntryID& id, QWidget* parent = nullptr);
    ~frmRegMCLPf() override;

protected:
    bool Complete() override;
    MclKeys Keys() override;

private:
    void onFolder();
    void onDelete();
    void showFolder();

    std::unique_ptr<::Ui::frmRegMCLPf> m_ui;
    RecipientBox* m_source;
    std::string m_path; // raw; the box shows it formatted
    EntryID m_folder;
};

} // namespace kr
