#include "contacts/forms/frmAccessListMC.h"

#include "console/forms/FormTools.h"
#include "console/forms/Icons.h"
#include "contacts/forms/Members.h"
#include "contacts/forms/RecipientBox.h"
#include "platform/ui/qt/QtUi.h"
#include "ui_frmAccessListMC.h"

namespace kr {

namespace {

constexpr int kColumns = 72;
constexpr int kLines = 18;

} // namespace

frmAccessListMC::frmAccessListMC(AgentSession& session, const std::string& contacts,
                                 const std::string& name, QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<::Ui::frmAccessListMC>()), m_session(session) {
    m_ui->setupUi(this);
    m_ui->imgPopup->setIcon(IconOf("imgPopup"));
    m_access = new RecipientBox(
        session, {m_ui->lstACL, m_ui->cmdACL, m_ui->cmdDelete, m_ui->cmdDetails}, {"Grant Access"},
        [this](const std::string& addresses) {
            ShowMembers(m_session, "Members", addresses, this);
        },
        this);
    load(contacts, name);
    resize(TextRoom(*this, kColumns, kLines));
    connect(m_access, &RecipientBox::changed, this, [this] { m_changed = true; });
    connect(m_ui->imgPopup, &QToolButton::clicked, this,
            [this] { m_session.ui().Popup(kAboutAccessList, kAccessListText); });
    connect(m_ui->cmdOK, &QPushButton::clicked, this, &frmAccessListMC::onOK);
    connect(m_ui->cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
    m_ui->lstACL->setFocus();
}

frmAccessListMC::~frmAccessListMC() = default;

void frmAccessListMC::load(const std::string& contacts, const std::string& name) {
    m_contacts = LoadPrivacyContacts(m_session, contacts, name, "frmAccessListMC");
    const std::string whom = m_contacts.Several() ? "the selected contacts" : name;
    setWindowTitle(FromUtf8("Grant Access to " + m_contacts.Title()));
    m_ui->lblMain->setText(FromUtf8(
        "Choose the users or groups who will have access to restricted fields for " + whom));
    m_access->Set(m_contacts.accessNames, m_contacts.accessAddresses);
    if (m_contacts.readable)
        return;
    // saving what could not be read would take the contact's grants away
    m_ui->cmdOK->setEnabled(false);
    m_session.ui().MsgBox(kUnreadableContact, BoxIcon::Stop);
}

void frmAccessListMC::onOK() {
    if (!m_changed) {
        reject();
        return;
    }
    PrivacyChange change;
    change.access = {m_access->names(), m_access->addresses()};
    setEnabled(false); // the loop over the contacts lets events run
    const int written = SavePrivacy(m_session, m_contacts.ids, change);
    setEnabled(true);
    if (written > 0)
        accept();
}

} // namespace kr
