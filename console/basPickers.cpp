#include "console/basPickers.h"

#include <functional>
#include <optional>

#include "core/Text.h"
#include "core/Trap.h"
#include "core/basStore.h"

namespace kr {

namespace {

constexpr int kPublicFolder = 2;

bool isMailUser(int displayType) { return displayType == 0 || displayType == 6; }
bool isList(int displayType) { return displayType == 1 || displayType == 3 || displayType == 4; }

void exclude(AgentSession& session, const std::string& text) {
    session.ui().MsgBox(text, BoxIcon::Exclamation);
}

/// The present selection, through the recipients of a scratch message that is never saved. When it
/// can't be made, the dialog opens empty.
std::vector<PickedRecipient> present(AgentSession& session, std::string_view ids) {
    if (ids.empty())
        return {};
    return Trap(
        [&] {
            auto scratch = session.rdo->GetDefaultFolder(static_cast<int>(DefaultFolder::Outbox))
                               ->Items()
                               ->Add("IPM.Note");
            auto recipients = scratch->Recipients();
            for (const std::string& id : SplitNonEmpty(ids, ";"))
                TrapSilently([&] { recipients->AddEntry(EntryID(id)); });
            std::vector<PickedRecipient> chosen;
            for (int i = 1; i <= recipients->Count(); ++i)
                chosen.push_back({recipients->Item(i)->ID(), recipients->Item(i)->Name()});
            scratch->Delete();
            return chosen;
        },
        [&](const Trapped& error) { session.log("PickRecipients: " + error.text()); });
}

/// What the person chose; nothing on cancel, and after a failure that was shown.
std::optional<std::vector<PickedRecipient>> ask(AgentSession& session, std::string_view title,
                                                std::string_view ids, bool oneAddress) {
    const auto chosen = present(session, ids);
    return Trap(
        [&]() -> std::optional<std::vector<PickedRecipient>> {
            return session.ui().ShowAddressBook(*session.rdo, chosen, title, oneAddress, false);
        },
        [&](const Trapped& error) {
            if (ContainsNoCase(error.description, "MAPI_E_USER_CANCEL"))
                return;
            session.log("ShowAddressBook: " + error.text());
            session.ui().MsgBox(error.description, BoxIcon::Stop);
        });
}

/// Gives the address to keep for an entry, nothing when it is left out (and was named).
using Check = std::function<std::optional<std::string>(AddressEntry&)>;

bool pick(AgentSession& session, std::string_view title, RecipientList& list, bool oneAddress,
          const Check& check) {
    if (!session.rdo)
        return false;
    const auto chosen = ask(session, title, list.ids, oneAddress);
    if (!chosen)
        return false;
    Strings ids, names, addresses;
    for (const PickedRecipient& one : *chosen) {
        auto entry = TrapSilently(
            [&] { return session.rdo->GetAddressBook()->GetAddressEntryFromID(one.id); });
        if (!entry) {
            exclude(session, "Unable to get valid address for " + one.name +
                                 "; that entry will be excluded");
            continue;
        }
        const auto address = check(*entry);
        if (!address)
            continue;
        ids.push_back(entry->ID().text());
        names.push_back(entry->Name());
        addresses.push_back(*address);
    }
    list = {Join(ids, ";"), Join(names, ";"), Join(addresses, ";")};
    return true;
}

std::optional<std::string> plainAddress(AgentSession& session, AddressEntry& entry) {
    std::string address = GetPrimarySMTP(entry);
    if (address.empty())
        address = SmtpOfEntry(entry);
    if (!address.empty())
        return address;
    exclude(session,
            "Unable to get valid address for " + entry.Name() + "; that entry will be excluded");
    return std::nullopt;
}

/// The `mail` attribute of the directory's entry; "" when there is no directory.
std::string mailAttribute(AgentSession& session, AddressEntry& entry) {
    return Trap(
        [&] {
            auto directory = session.platform.directory.CreateConnection();
            directory->Open();
            DirectoryQuery query;
            query.base = directory->RootDSE("rootDomainNamingContext");
            query.filter = "(legacyExchangeDN=" + EscapeFilterValue(entry.Address()) + ")";
            query.attributes = {"mail"};
            std::string mail;
            directory->Execute(query, [&](const DirectoryRow& row) { mail = row.First("mail"); });
            return mail;
        },
        [&](const Trapped& error) { session.log("PickGALRecipients: " + error.text()); });
}

void checkMail(AgentSession& session, AddressEntry& entry, const std::string& primary) {
    const std::string mail = mailAttribute(session, entry);
    if (mail.empty() || EqualNoCase(mail, primary))
        return;
    const Value proxies = TrapSilently([&] { return entry.Fields(PR_EMS_PROXY_ADDRESSES); });
    for (const std::string& proxy : proxies.valueOr<Strings>({}))
        if (EqualNoCase(proxy, "SMTP:" + mail))
            return;
    WarnMailAttribute(session, entry.Name(), primary, mail);
}

bool typeAllowed(int displayType, const GALPickOptions& options) {
    return isMailUser(displayType) || (options.allowLists && isList(displayType)) ||
           (options.allowPublicFolders && displayType == kPublicFolder);
}

std::optional<std::string> galAddress(AgentSession& session, AddressEntry& entry,
                                      const GALPickOptions& options) {
    const std::string name = "'" + entry.Name() + "'";
    if (entry.Type() != "EX") {
        exclude(session, name + " is not part of the Global Address List and will be excluded");
        return std::nullopt;
    }
    if (!typeAllowed(entry.DisplayType(), options)) {
        exclude(session, name + " is not a valid selection and will be excluded");
        return std::nullopt;
    }
    std::string primary = GetPrimarySMTP(entry);
    if (primary.empty())
        primary = entry.SMTPAddress();
    if (primary.empty()) {
        exclude(session,
                "Unable to get valid address for " + name + "; that entry will be excluded");
        return std::nullopt;
    }
    checkMail(session, entry, primary);
    return primary;
}

} // namespace

int RecipientList::Count() const { return static_cast<int>(SplitNonEmpty(ids, ";").size()); }

bool PickRecipients(AgentSession& session, std::string_view title, RecipientList& list,
                    bool oneAddress) {
    return pick(session, title, list, oneAddress,
                [&](AddressEntry& entry) { return plainAddress(session, entry); });
}

bool PickGALRecipients(AgentSession& session, std::string_view title, RecipientList& list,
                       const GALPickOptions& options) {
    return pick(session, title, list, options.oneAddress,
                [&](AddressEntry& entry) { return galAddress(session, entry, options); });
}

bool PickDLRecipients(AgentSession& session, std::string_view title, RecipientList& list,
                      bool oneAddress) {
    return PickRecipients(session, title, list, oneAddress);
}

void WarnMailAttribute(AgentSession& session, std::string_view name, std::string_view primary,
                       std::string_view mail) {
    const std::string indent(6, ' ');
    session.ui().MsgBox("There is an inconsistency in the directory entry for " + indent +
                            std::string(name) + "\nEPS will use the primary SMTP address " +
                            indent + std::string(primary) + "\nrather than the 'mail' attribute " +
                            indent + std::string(mail) +
                            "\nwhich is not listed as proxy address\n"
                            "and appears to be incorrect.",
                        BoxIcon::Exclamation);
}

} // namespace kr
