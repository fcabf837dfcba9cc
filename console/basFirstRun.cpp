#include "console/basFirstRun.h"

#include "console/DirectoryLookup.h"
#include "console/basPickers.h"
#include "core/Keys.h"
#include "core/Settings.h"
#include "core/Text.h"
#include "core/Trap.h"
#include "core/basAgent.h"
#include "core/basRegistry.h"
#include "core/basStore.h"

namespace kr {

namespace {

constexpr int32_t kPollingInterval = 60;
constexpr int16_t kLogLevel = 8;

void tell(AgentSession& session, const std::string& text) {
    session.ui().MsgBox(text, BoxIcon::Exclamation);
}

/// A session whose state can't be told counts as not logged on.
bool loggedOn(AgentSession& session) {
    return TrapSilently([&] { return session.rdo && session.rdo->LoggedOn(); });
}

RDOFolderPtr findOrAdd(RDOFolder& parent, std::string_view name) {
    auto folders = parent.Folders();
    auto folder = folders->Item(name);
    return folder ? folder : folders->Add(name);
}

bool findFolders(AgentSession& session) {
    std::string error;
    const bool ok = Trap(
        [&] {
            auto root = session.rdo->Stores().DefaultStore()->RootFolder();
            session.agentInfo = findOrAdd(*root, kAgentInfoFolder);
            session.userInfo = findOrAdd(*session.agentInfo, kUserInfoFolder);
            return true;
        },
        [&](const Trapped& trapped) { error = trapped.text(); });
    if (ok)
        return true;
    session.log("FirstRun: unable to get or create UserInfo folder " + error);
    session.ui().MsgBox("Unable to locate or create zandrelAgent folders - contact support!",
                        BoxIcon::Stop);
    return false;
}

void createAgentMessage(AgentSession& session) {
    session.log("FirstRun: no existing agent message");
    session.log("FirstRun: creating agent message");
    auto message = session.agentInfo->Items()->Add(kAgentClass);
    message->SetSubject(kAgentSubject);
    message->SetMessageClass(kAgentClass);
    message->Save();
    session.AgentMsgID = message->ID();
}

void createHostMessage(AgentSession& session, const std::string& name) {
    auto host = session.agentInfo->Items()->Add(kHostClass);
    host->SetSubject(name);
    SetKey(*host, "PollingInterval", kPollingInterval);
    SetKey(*host, "NoRenderer", true);
    SetKey(*host, "LogLevel", kLogLevel);
    host->Save();
    session.log("FirstRun:created new Host message with default settings for " + name);
}

} // namespace

bool InitAgentMessage(AgentSession& session) {
    if (!findFolders(session))
        return false;
    return Trap(
        [&] {
            const auto ids = RequireMessageIDs(*session.agentInfo, kAgentClass, kAgentSubject);
            if (ids.empty()) {
                createAgentMessage(session);
            } else {
                session.AgentMsgID = ids.front();
                session.log("retrieved existing agent message:" + ids.front().text());
            }
            return true;
        },
        [&](const Trapped& error) {
            session.log("FirstRun: failed to create agent message " + error.text());
        });
}

bool InitHostMessage(AgentSession& session) {
    const std::string name = session.platform.shell.ComputerName();
    return Trap(
        [&] {
            if (RequireMessageIDs(*session.agentInfo, kHostClass, name).empty())
                createHostMessage(session, name);
            else
                session.log("FirstRun:found existing Host message for " + name);
            return true;
        },
        [&](const Trapped& error) {
            session.log("FirstRun:failed to create Host message " + error.text());
        });
}

void FirstRunWizard::Load() {
    Registry& registry = m_session.platform.registry;
    alias = Trim(MachineValue(registry, "ExAlias"));
    server = Trim(MachineValue(registry, "ExServer"));
    if (m_session.AgentMsgID.empty())
        return;
    m_session.log("FirstRun: calling InitAgentMsg to be able to read primary contact");
    auto message = GetMessage(m_session, m_session.AgentMsgID);
    if (!message)
        return;
    email = KeyText(*message, "PrimaryEmail");
    const std::string names = KeyText(*message, "PrimaryNames");
    const size_t blank = names.find(' ');
    firstName = names.substr(0, blank);
    lastName = blank == std::string::npos ? "" : names.substr(blank + 1);
    phone = KeyText(*message, "PrimaryPhone");
    if (email.empty())
        email = Trim(Split(KeyText(*message, "AdminEmail"), ";").front());
    if (loggedOn(m_session)) {
        smtp = m_session.agentSMTP;
        if (alias.empty())
            alias = m_session.ExAlias;
        if (server.empty())
            server = m_session.ExServer;
    }
}

/// Both fields of the mailbox have text, else the person hears of it.
bool FirstRunWizard::hasMailbox() {
    if (!Trim(alias).empty() && !Trim(server).empty())
        return true;
    tell(m_session, "You must provide the Alias and Exchange server name for the zandrelAgent "
                    "mailbox!");
    return false;
}

bool FirstRunWizard::Next(Focus& focus) {
    focus = Focus::None;
    if (m_page == Mailbox) {
        if (!hasMailbox()) {
            focus = Focus::SelectAlias;
            return false;
        }
        if (!logOn())
            return false;
        m_page = Contact;
        return true;
    }
    if (m_page != Contact)
        return false;
    if (Trim(email).empty()) {
        tell(m_session, "You must provide an email address for the primary contact!");
        focus = Focus::SelectContact;
        return false;
    }
    if (EqualNoCase(Trim(email), smtp)) {
        tell(m_session, "The primary contact cannot use the zandrelAgent mailbox address!");
        focus = Focus::SelectContact;
        return false;
    }
    m_page = Finish;
    return true;
}

void FirstRunWizard::Back() {
    if (m_page != Mailbox)
        m_page = static_cast<Page>(m_page - 1);
}

bool FirstRunWizard::logOn() {
    std::string error;
    m_session.rdo = Trap([&] { return m_session.platform.store.CreateSession(); },
                         [&](const Trapped& trapped) { error = trapped.description; });
    if (!m_session.rdo) {
        m_session.log("FirstRun:no RDO " + error);
        m_session.ui().MsgBox("Unable to create MAPI session. Please notify support\n" + error,
                              BoxIcon::Stop);
        return false;
    }
    m_session.log("FirstRun:attempting logon to " + server + " as " + alias);
    Trap([&] { m_session.rdo->LogonExchangeMailbox(Trim(alias), Trim(server)); },
         [&](const Trapped& trapped) { error = trapped.description; });
    if (!loggedOn(m_session)) {
        m_session.log("FirstRun:RDO.LoggedOn = False " + error);
        m_session.ui().MsgBox("Unable to logon to " + server + " as " + alias + "\n" + error,
                              BoxIcon::Stop);
        return false;
    }
    m_session.log("FirstRun::successfully logged on to " + server + " as " + alias);
    m_session.Profile.clear();
    m_session.ExServer = Trim(server);
    m_session.ExAlias = Trim(alias);
    Registry& registry = m_session.platform.registry;
    // a person without rights on the machine's values goes on with what the session holds
    if (!RegWrite(registry, Hive::LocalMachine, kMachineKey, "ExAlias", m_session.ExAlias) ||
        !RegWrite(registry, Hive::LocalMachine, kMachineKey, "ExServer", m_session.ExServer))
        m_session.log("FirstRun: the machine-wide ExAlias and ExServer can't be written");
    smtp = TrapSilently([&] { return m_session.rdo->CurrentUser()->SMTPAddress(); });
    return true;
}

void FirstRunWizard::SelectAlias() {
    // a wizard on a new mailbox has no session of its own yet: any known mailbox shows the book
    if (!loggedOn(m_session) && (!hasMailbox() || !logOn()))
        return;
    RecipientList picked;
    if (!PickRecipients(m_session, "Dedicated Mailbox", picked, true) || picked.ids.empty())
        return;
    const std::string account = TrapSilently([&] {
        return m_session.rdo->GetAddressBook()
            ->GetAddressEntryFromID(EntryID(picked.ids))
            ->Fields(PR_ACCOUNT)
            .text();
    });
    const auto found = LookupUser(m_session, account.empty() ? picked.names : account);
    if (!found)
        return tell(m_session, "Unable to resolve " + picked.names);
    alias = found->alias;
    server = found->server;
    smtp = found->smtp;
}

void FirstRunWizard::SelectContact() {
    RecipientList picked;
    if (!PickRecipients(m_session, "Primary Contact", picked, true) || picked.ids.empty())
        return;
    if (EqualNoCase(picked.addresses, smtp))
        return tell(m_session, "The admin contact cannot use the zandrelAgent mailbox address!");
    email = picked.addresses;
    const size_t blank = picked.names.find(' ');
    firstName = picked.names.substr(0, blank);
    lastName = blank == std::string::npos ? "" : picked.names.substr(blank + 1);
    const auto found = LookupAdmin(m_session, picked.addresses);
    if (!found)
        return;
    email = found->mail.empty() ? picked.addresses : found->mail;
    firstName = found->givenName;
    lastName = found->sn;
    company = found->company;
    phone = found->telephoneNumber;
}

bool FirstRunWizard::saveContact() {
    m_session.log("FirstRun: saving primary contact info");
    return Trap(
        [&] {
            auto message = GetMessage(m_session, m_session.AgentMsgID);
            if (!message) {
                m_session.log("FirstRun: the agent message can't be opened");
                return false;
            }
            const std::string names = Trim(firstName + " " + lastName);
            SetKey(*message, "PrimaryEmail", Trim(email));
            SetKey(*message, "PrimaryNames", names);
            SetKey(*message, "PrimaryPhone", Trim(phone));
            if (RequireKey(*message, "AdminEmail").text().empty()) {
                SetKey(*message, "AdminEmail", Trim(email));
                SetKey(*message, "AdminNames", names);
            }
            message->Save();
            return true;
        },
        [&](const Trapped& error) { m_session.log("FirstRun: " + error.text()); });
}

bool FirstRunWizard::RunFinish(bool startService, const Report& progress) {
    progress("Logging on to dedicated mailbox...", 0);
    if (!loggedOn(m_session) || !TrapSilently([&] { return m_session.rdo->StillThere(); }))
        if (!logOn()) {
            progress("Logon failure, check KR-Admin. log!", 0);
            return false;
        }
    progress("Saving properties...", 1);
    m_session.log("FirstRun: initializing agent message");
    if (!InitAgentMessage(m_session))
        return false;
    progress("Saving properties...", 2);
    if (!saveContact())
        return false;
    progress("Saving properties...", 3);
    m_session.log("FirstRun: initializing host message");
    if (!InitHostMessage(m_session))
        return false;
    progress("Saving properties...", 4);
    if (startService) {
        m_session.log("FirstRun: attempting to start service...");
        progress("Starting zandrelAgent service...", 4);
        StartAgentService(m_session, "");
    }
    progress("", kSteps);
    return true;
}

bool FirstRunWizard::Cancel() {
    if (m_session.ui().MsgBox("Do you want to cancel initialization of the zandrelAgent?",
                              BoxIcon::Question, BoxButtons::YesNo) != BoxAnswer::Yes)
        return false;
    m_session.log("FirstRun::user canceled initialization");
    return true;
}

} // namespace kr
