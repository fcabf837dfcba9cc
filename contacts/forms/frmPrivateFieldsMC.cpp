#include "contacts/forms/frmPrivateFieldsMC.h"

#include "console/forms/FormTools.h"
#include "console/forms/Icons.h"
#include "contacts/basACF.h"
#include "contacts/forms/MemberChoice.h"
#include "contacts/forms/RecipientBox.h"
#include "platform/ui/qt/QtUi.h"
#include "ui_frmPrivateFieldsMC.h"

namespace kr {

namespace {

constexpr int kColumns = 72;
constexpr int kLines = 36;

constexpr std::string_view kAboutFields = "Master Contact: Private Fields";
constexpr std::string_view kFieldsText =
    "A checked field is private: it is written only to the contacts of those users who stand in "
    "the contact's Access Control List. All other users receive the contact without it.\n\n"
    "Fields marked as a global restriction are private in every contact of the repository. They "
    "are chosen in the EPS settings and can't be released here; what you check here comes on top "
    "of them.";

} // namespace

frmPrivateFieldsMC::frmPrivateFieldsMC(AgentSession& session, const std::string& contacts,
                                       const std::string& name, QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<::Ui::frmPrivateFieldsMC>()), m_session(session) {
    m_ui->setupUi(this);
    for (QToolButton* help : {m_ui->imgPopup0, m_ui->imgPopup1})
        help->setIcon(IconOf("imgPopup"));
    m_access = new RecipientBox(
        session, {m_ui->lstACL, m_ui->cmdACL, m_ui->cmdDelete, m_ui->cmdDetails},
        {"Privacy - Access Control List"},
        [this](const std::string& addresses) {
            ShowMembersOrEntries(m_session, "Members", m_access->names(), addresses,
                                 m_ui->chkExpand->isChecked(), this);
        },
        this);
    load(contacts, name);
    resize(TextRoom(*this, kColumns, kLines));
    connect(m_access, &RecipientBox::changed, this, [this] { m_accessChanged = true; });
    connect(m_ui->lvPrivate, &QListWidget::itemChanged, this, &frmPrivateFieldsMC::onChecked);
    connect(m_ui->imgPopup0, &QToolButton::clicked, this,
            [this] { m_session.ui().Popup(kAboutAccessList, kAccessListText); });
    connect(m_ui->imgPopup1, &QToolButton::clicked, this,
            [this] { m_session.ui().Popup(kAboutFields, kFieldsText); });
    connect(m_ui->cmdOK, &QPushButton::clicked, this, &frmPrivateFieldsMC::onOK);
    connect(m_ui->cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
    m_ui->lvPrivate->setFocus();
}

frmPrivateFieldsMC::~frmPrivateFieldsMC() = default;

void frmPrivateFieldsMC::load(const std::string& contacts, const std::string& name) {
    m_contacts = LoadPrivacyContacts(m_session, contacts, name, "frmPrivateFieldsMC");
    const std::string whom = m_contacts.Several() ? "the selected contacts" : name;
    setWindowTitle(FromUtf8("Restrict Access - " + m_contacts.Title()));
    m_ui->lblMain->setText(FromUtf8(
        "Create additional restrictions to protect private contact information for " + whom));
    m_access->Set(m_contacts.accessNames, m_contacts.accessAddresses);
    fillFields();
    if (m_contacts.readable)
        return;
    // saving what could not be read would take the contact's restrictions away
    m_ui->cmdOK->setEnabled(false);
    m_session.ui().MsgBox(kUnreadableContact, BoxIcon::Stop);
}

void frmPrivateFieldsMC::fillFields() {
    m_fields = PrivateFields(GetDefaultPrivateFields(m_session), m_contacts.fields);
    for (const PrivateField& field : m_fields) {
        auto* item = new QListWidgetItem(FromUtf8(field.label), m_ui->lvPrivate);
        item->setFlags(Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemIsUserCheckable);
        item->setCheckState(field.checked ? Qt::Checked : Qt::Unchecked);
    }
    m_ui->lvPrivate->setCurrentRow(0);
}

void frmPrivateFieldsMC::onChecked(QListWidgetItem* item) {
    PrivateField& field = m_fields[static_cast<size_t>(m_ui->lvPrivate->row(item))];
    if (field.byDefault) {
        item->setCheckState(Qt::Checked);
        return;
    }
    field.checked = item->checkState() == Qt::Checked;
    m_fieldsChanged = true;
}

bool frmPrivateFieldsMC::confirmed() {
    const std::string question = "Do you want to assign the selected private fields to ";
    const std::string whom = m_contacts.Several() ? "\n" + m_contacts.names : m_contacts.name + "?";
    return m_session.ui().MsgBox(question + whom, BoxIcon::Question, BoxButtons::OKCancel) ==
           BoxAnswer::OK;
}

void frmPrivateFieldsMC::onOK() {
    if (!m_fieldsChanged && !m_accessChanged) {
        reject();
        return;
    }
    if (m_fieldsChanged && !confirmed()) {
        reject();
        return;
    }
    PrivacyChange change;
    if (m_fieldsChanged) // else several contacts would lose the fields that each of them has
        change.fields = CheckedFields(m_fields);
    if (m_accessChanged)
        change.access = {m_access->names(), m_access->addresses()};
    setEnabled(false); // the loop over the contacts lets events run
    const int written = SavePrivacy(m_session, m_contacts.ids, change);
    setEnabled(true);
    if (written > 0)
        accept();
}

} // namespace kr
