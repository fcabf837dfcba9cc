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

void excludeNoAddress(AgentSession& session, const std::string& name) {
    exclude(session, "Unable to get valid address for " + name + "; that entry will be excluded");
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
            TrapSilently([&] { scratch->Delete(); }); // there is no record of it yet
            return chosen;
        },
        [&](const Trapped& error) { session.log("PickRecipients: " + error.text()); });
}

/// What the person chose; nothing on cancel, and after a failure that was shown.
std::optional<std::vector<PickedRecipient>> ask(AgentSession& session, std::string_view title,
                                                std::string_view ids, bool oneAddress,
                                                std::string_view toLabel) {
    const auto chosen = present(session, ids);
    return Trap(
        [&]() -> std::optional<std::vector<PickedRecipient>> {
            return session.ui().ShowAddressBook(*session.rdo, chosen, title, oneAddress, false,
                                                toLabel);
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

struct Kept {
    std::string id;
    std::string name;
    std::string address;
};

/// The chosen entry when it passes. An entry that can't be read is left out as one without an
/// address, its name between the quotes of the picker.
std::optional<Kept> keep(AgentSession& session, const PickedRecipient& chosen, const Check& check,
                         const std::string& quote) {
    return Trap(
        [&]() -> std::optional<Kept> {
            auto entry = session.rdo->GetAddressBook()->GetAddressEntryFromID(chosen.id);
            Kept kept{entry->ID().text(), entry->Name(), {}};
            const auto address = check(*entry);
            if (!address)
                return std::nullopt;
            kept.address = *address;
            return kept;
        },
        [&](const Trapped& error) {
            session.log("ShowAddressBook: " + error.text());
            excludeNoAddress(session, quote + chosen.name + quote);
        });
}

bool pick(AgentSession& session, std::string_view title, RecipientList& list, bool oneAddress,
          const Check& check, const std::string& quote, std::string_view toLabel = {}) {
    if (!session.rdo)
        return false;
    const auto chosen = ask(session, title, list.ids, oneAddress, toLabel);
    if (!chosen)
        return false;
    Strings ids, names, addresses;
    for (const PickedRecipient& one : *chosen)
        if (const auto kept = keep(session, one, check, quote)) {
            ids.push_back(kept->id);
            names.push_back(kept->name);
            addresses.push_back(kept->address);
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
    excludeNoAddress(session, entry.Name());
    return std::nullopt;
}

/// The `mail` attributes of the directory's entries. One connection serves all entries of a pick; a
/// directory that fails is not asked again for each, which could take its time-out every time.
class MailAttributes {
public:
    explicit MailAttributes(AgentSession& session) : m_session(session) {}

    /// "" when there is no directory, or no such entry in it.
    std::string Of(AddressEntry& entry) {
        if (m_failed)
            return {};
        return Trap([&] { return query(entry.Address()); },
                    [&](const Trapped& error) {
                        m_failed = true;
                        m_session.log("PickGALRecipients: " + error.text());
                    });
    }

private:
    std::string query(const std::string& dn) {
        if (!m_directory) {
            m_directory = m_session.platform.directory.CreateConnection();
            m_directory->Open();
            m_base = m_directory->RootDSE("rootDomainNamingContext");
        }
        DirectoryQuery query;
        query.base = m_base;
        query.filter = "(legacyExchangeDN=" + EscapeFilterValue(dn) + ")";
        query.attributes = {"mail"};
        std::string mail;
        m_directory->Execute(query, [&](const DirectoryRow& row) { mail = row.First("mail"); });
        return mail;
    }

    AgentSession& m_session;
    std::unique_ptr<Directory> m_directory;
    std::string m_base;
    bool m_failed = false;
};

void checkMail(AgentSession& session, AddressEntry& entry, const std::string& primary,
               MailAttributes& attributes) {
    const std::string mail = attributes.Of(entry);
    if (mail.empty() || EqualNoCase(mail, primary))
        return;
    const Value proxies = TrapSilently([&] { return entry.Fields(PR_EMS_PROXY_ADDRESSES); });
    for (const std::string& proxy : proxies.valueOr<Strings>({}))
        if (EqualNoCase(Trim(proxy), "SMTP:" + mail))
            return;
    WarnMailAttribute(session, entry.Name(), primary, mail);
}

bool typeAllowed(int displayType, const GALPickOptions& options) {
    return isMailUser(displayType) || (options.allowLists && isList(displayType)) ||
           (options.allowPublicFolders && displayType == kPublicFolder);
}

std::optional<std::string> galAddress(AgentSession& session, AddressEntry& entry,
                                      const GALPickOptions& options, MailAttributes& attributes) {
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
        excludeNoAddress(session, name);
        return std::nullopt;
    }
    checkMail(session, entry, primary, attributes);
    return primary;
}

} // namespace

int RecipientList::Count() const { return static_cast<int>(SplitNonEmpty(ids, ";").size()); }

bool PickRecipients(AgentSession& session, std::string_view title, RecipientList& list,
                    bool oneAddress, std::string_view toLabel) {
    return pick(
        session, title, list, oneAddress,
        [&](AddressEntry& entry) { return plainAddress(session, entry); }, "", toLabel);
}

bool PickGALRecipients(AgentSession& session, std::string_view title, RecipientList& list,
                       const GALPickOptions& options) {
    MailAttributes attributes(session);
    return pick(
        session, title, list, options.oneAddress,
        [&](AddressEntry& entry) { return galAddress(session, entry, options, attributes); }, "'");
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
