#pragma once

#include <QDialog>
#include <memory>
#include <string>

#include "contacts/basPrivacy.h"

class QListWidgetItem;

namespace Ui {
class frmPrivateFieldsMC;
}

namespace kr {

class RecipientBox;

/// "Restrict Access": the fields of chosen contacts that are kept from most users. What is
/// restricted for all contacts is shown checked and stays so. With several contacts nothing is read
/// from them, and what is chosen replaces what they have.
class frmPrivateFieldsMC : public QDialog {
    Q_OBJECT
public:
    /// `contacts` are ids joined by ";"; `name` is that of the first.
    frmPrivateFieldsMC(AgentSession& session, const std::string& contacts, const std::string& name,
                       QWidget* parent = nullptr);
    ~frmPrivateFieldsMC() override;

private:
    void load(const std::string& contacts, const std::string& name);
    void fillFields();
    void onChecked(QListWidgetItem* item);
    void onOK();
    bool confirmed();

    std::unique_ptr<::Ui::frmPrivateFieldsMC> m_ui;
    AgentSession& m_session;
    PrivacyContacts m_contacts;
    std::vector<PrivateField> m_fields; // in the order of the rows
    RecipientBox* m_access = nullptr;
    bool m_fieldsChanged = false;
    bool m_accessChanged = false;
};

} // namespace kr
