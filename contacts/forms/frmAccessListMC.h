#pragma once

#include <QDialog>
#include <memory>
#include <string>

#include "contacts/basPrivacy.h"

namespace Ui {
class frmAccessListMC;
}

namespace kr {

class RecipientBox;

/// "Grant Access": who may see the restricted fields of chosen contacts. With several contacts the
/// list begins empty, and what is chosen replaces what they have.
class frmAccessListMC : public QDialog {
    Q_OBJECT
public:
    /// `contacts` are ids joined by ";"; `name` is that of the first.
    frmAccessListMC(AgentSession& session, const std::string& contacts, const std::string& name,
                    QWidget* parent = nullptr);
    ~frmAccessListMC() override;

private:
    void load(const std::string& contacts, const std::string& name);
    void onOK();

    std::unique_ptr<::Ui::frmAccessListMC> m_ui;
    AgentSession& m_session;
    PrivacyContacts m_contacts;
    RecipientBox* m_access = nullptr;
    bool m_changed = false;
};

} // namespace kr
