#include "contacts/forms/frmACFMbx.h"

#include "console/basPickers.h"
#include "contacts/basMandatoryFolder.h"
#include "core/Text.h"
#include "core/Trap.h"
#include "platform/ui/qt/QtUi.h"
#include "ui_frmACFMbx.h"

namespace kr {

namespace {

/// Distinguished name of the home message transfer agent, of an address entry.
constexpr PropTag kHomeMTA = 0x8007001E;
constexpr std::string_view kOwnContacts = "Contacts";

} // namespace

frmACFMbx::frmACFMbx(AgentSession& session, TreeModel& tree, const EntryID& record, QWidget* parent)
    : AcfForm(session, tree, record, "frmACFMbx", parent),
      m_ui(std::make_unique<::Ui::frmACFMbx>()) {
    m_ui->setupUi(this);
    connect(m_ui->cmdMbx, &QPushButton::clicked, this, &frmACFMbx::onMailbox);
    Start({m_ui->txtName, m_ui->txtDescription, m_ui->txtPath, m_ui->cmdPath, m_ui->lstAdmins,
           m_ui->cmdAdmins, m_ui->cmdDetails, m_ui->cmdOK, m_ui->cmdCancel});
}

frmACFMbx::~frmACFMbx() = default;

void frmACFMbx::Loaded() {
    if (const RDOStorePtr mailbox = openMailbox(source().mailbox))
        showMailbox(mailbox);
    else
        session().ui().MsgBox("Unable to access source mailbox!", BoxIcon::Exclamation);
}

/// nullptr, with the reason in the log, when it can't be opened.
RDOStorePtr frmACFMbx::openMailbox(const std::string& address) {
    return Trap([&] { return session().rdo->GetSharedMailbox("SMTP:" + address); },
                [&](const Trapped& error) { session().log("frmACFMbx: " + error.text()); });
}

void frmACFMbx::showMailbox(const RDOStorePtr& mailbox) {
    m_mailbox = mailbox;
    const std::string owner =
        TrapSilently([&] { return mailbox->Fields(PR_MAILBOX_OWNER_NAME).text(); });
    m_ui->txtMbx->setText(FromUtf8("Mailbox - " + owner));
    m_ui->cmdPath->setEnabled(true);
}

std::string frmACFMbx::serverOf(const EntryID& entry) {
    return TrapSilently([&] {
        const AddressEntryPtr owner = session().rdo->GetAddressBook()->GetAddressEntryFromID(entry);
        return ServerOfHomeMTA(owner->Fields(kHomeMTA).text());
    });
}

void frmACFMbx::onMailbox() {
    RecipientList chosen;
    if (!PickRecipients(session(), "Select Mailbox", chosen, true, "Owner") ||
        chosen.addresses.empty())
        return;
    const std::string address = Trim(chosen.addresses);
    if (EqualNoCase(address, session().agentSMTP)) {
        session().ui().MsgBox("You cannot select a folder in the zandrel Agent mailbox!",
                              BoxIcon::Exclamation);
        return;
    }
    if (m_mailbox && EqualNoCase(address, source().mailbox))
        return;
    const RDOStorePtr mailbox = openMailbox(address);
    const EntryID store = mailbox ? TrapSilently([&] { return mailbox->ID(); }) : EntryID();
    if (store.empty()) {
        Refuse("Unable to logon to mailbox for " + address + "!\nPlease try another selection.",
               m_ui->cmdPath);
        return;
    }
    source().mailbox = address;
    source().server = serverOf(EntryID(chosen.ids));
    source().store = store;
    showMailbox(mailbox);
    ClearFolder();
    ChooseFolder();
}

FolderPickOptions frmACFMbx::Places() const {
    FolderPickOptions options;
    options.showPublicFolders = false;
    options.mailbox = source().mailbox;
    return options;
}

RDOFolderPtr frmACFMbx::OpenFolder(const EntryID& id, const EntryID&) {
    if (!m_mailbox)
        throw PlatformError(MAPI_E_NOT_FOUND, "The mailbox isn't open.");
    return session().rdo->GetFolderFromID(id, m_mailbox->ID());
}

std::string frmACFMbx::PathOf(RDOFolder& folder) { return PathInMailbox(folder); }

std::string frmACFMbx::Refusal(const std::string& name) const {
    const bool own = EqualNoCase(name, kOwnContacts) || EqualNoCase(name, MandatorySubFolder());
    return own ? "You cannot select the " + name + " folder!" : std::string();
}

bool frmACFMbx::Complete() {
    if (source().mailbox.empty())
        return Refuse("You must select a mailbox!", m_ui->cmdMbx);
    if (source().folder.empty())
        return Refuse("You must select an Alternate Contact Folder!", m_ui->cmdPath);
    if (Trim(ToUtf8(m_ui->txtName->text())).empty())
        return Refuse("You must provide a unique name for this Alternate Contact Folder!",
                      m_ui->txtName);
    return true;
}

} // namespace kr
