// AgentProps: what asks the person, and what the lists offer.
#include <algorithm>

#include "core/Settings.h"
#include "core/Text.h"
#include "core/Trap.h"
#include "hosts/AgentProps.h"

namespace kr {

namespace {

constexpr std::string_view kCustomAttributes[] = {
    "",
    "extensionAttribute1",
    "extensionAttribute2",
    "extensionAttribute3",
    "extensionAttribute4",
    "extensionAttribute5",
    "extensionAttribute6",
    "extensionAttribute7",
    "extensionAttribute8",
    "extensionAttribute9",
    "extensionAttribute10",
    "extensionAttribute11",
    "extensionAttribute12",
    "extensionAttribute13",
    "extensionAttribute14",
    "extensionAttribute15",
    "division",
    "employeeID",
    "employeeNumber",
    "employeeType",
    "info",
    "ipPhone",
    "otherPager",
    "pager",
};

constexpr int kCatalogSeconds = 10;

/// A dot with something on both sides. Lists are kept with ";" between their entries, so that none
/// can hold one.
bool isEmailDomain(const std::string& text) {
    const size_t dot = text.find('.', 1);
    return dot < text.size() - 1 && text.find(';') == std::string::npos;
}

bool isExtension(const std::string& text) {
    const auto continues = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; };
    const auto letters =
        static_cast<std::ptrdiff_t>(text.size()) - std::ranges::count_if(text, continues);
    return letters >= 2 && letters <= 4 && text.find(';') == std::string::npos;
}

bool isNamespace(const std::string& text) {
    return text.find('.') != std::string::npos && text.find_first_of("@;") == std::string::npos;
}

std::string withoutDot(const std::string& text) { return text.substr(text.starts_with('.')); }
std::string asTyped(const std::string& text) { return text; }

} // namespace

std::span<const std::string_view> CustomAttributes() { return kCustomAttributes; }

/// What an input box asks for until it gets something that is right.
struct AgentProps::EntryQuestion {
    std::string_view prompt;
    std::string_view title;
    std::string (*entryOf)(const std::string& typed);
    bool (*isRight)(const std::string& entry);
    std::string_view wrong; // behind the entry
};

bool AgentProps::addEntry(Strings& list, const EntryQuestion& question) {
    std::string entry;
    for (;;) {
        const auto answer = m_session.ui().InputBox(question.prompt, question.title, entry);
        entry = question.entryOf(Trim(answer.value_or("")));
        if (entry.empty())
            return false;
        if (question.isRight(entry))
            break;
        if (m_session.ui().MsgBox(entry + std::string(question.wrong), BoxIcon::Exclamation,
                                  BoxButtons::OKCancel) != BoxAnswer::OK)
            return false;
    }
    return !refuseDuplicate(list, entry) && addTo(list, entry);
}

bool AgentProps::refuseDuplicate(const Strings& list, const std::string& entry) {
    if (!ContainsEntry(list, entry))
        return false;
    m_session.ui().MsgBox(entry + " has already been added to the list.", BoxIcon::Exclamation);
    return true;
}

bool AgentProps::addTo(Strings& list, const std::string& entry) {
    list.push_back(entry);
    dirty = true;
    return true;
}

bool AgentProps::addDomainTo(Strings& list, std::string_view title) {
    return addEntry(list, {"Email domain in the form \"domain.com\"", title, asTyped, isEmailDomain,
                           " is not in the correct format. Please re-enter the domain."});
}

bool AgentProps::AddDomain() { return addDomainTo(fields.senderDomains, "Add Domain"); }

bool AgentProps::AddRefuse() { return addDomainTo(fields.refuseDomains, "Add Refused Domain"); }

bool AgentProps::AddExt() {
    return addEntry(fields.excludeExt,
                    {"Enter the two,three,or four letter file extension", "Add File Type",
                     withoutDot, isExtension, " is not a valid file extension. Please re-enter."});
}

bool AgentProps::AddTrusted(const std::function<void(bool running)>& checking) {
    Ui& ui = m_session.ui();
    constexpr std::string_view title = "Add Trusted Domain";
    const std::string entry = Trim(
        ui.InputBox("Enter the trusted domain in the form \"domain.com\"", title).value_or(""));
    if (entry.empty())
        return false;
    if (!isNamespace(entry)) {
        ui.MsgBox(entry + " does not appear to be a valid domain namespace", BoxIcon::Stop,
                  BoxButtons::OK, title);
        return false;
    }
    if (refuseDuplicate(fields.trustedDomains, entry) ||
        ui.MsgBox("Verifying access to global catalog for " + entry +
                      "\nThis may take a few seconds...",
                  BoxIcon::Information, BoxButtons::OKCancel, title) != BoxAnswer::OK)
        return false;
    if (checking)
        checking(true);
    const bool answers = catalogAnswers(entry);
    if (checking)
        checking(false);
    if (!answers && ui.MsgBox("The global catalog for " + entry +
                                  " is not accessible from this machine.\n"
                                  "Are you sure you want to add it?",
                              BoxIcon::Question, BoxButtons::YesNo, title) != BoxAnswer::Yes)
        return false;
    return addTo(fields.trustedDomains, entry);
}

/// Binds to the domain's object in the global catalog.
bool AgentProps::catalogAnswers(const std::string& domain) {
    const WaitCursor cursor(m_session.ui());
    return Trap(
        [&] {
            DirectoryQuery query;
            query.base = "DC=" + ReplaceAll(domain, ".", ",DC=");
            query.scope = DirectoryQuery::Scope::Base;
            query.attributes = {"objectClass"};
            query.pageSize = 0;
            query.timeoutSeconds = kCatalogSeconds;
            const auto directory = m_session.platform.directory.CreateConnection();
            directory->Open();
            bool found = false;
            directory->Execute(query, [&](const DirectoryRow&) { found = true; });
            if (!found)
                throw PlatformError(0, "There is no such object.", "catalogAnswers");
            return true;
        },
        [&](const Trapped& trapped) {
            m_session.log("error retrieving Domain object for " + domain + ": " +
                          trapped.description);
        });
}

bool AgentProps::Remove(Strings& list, size_t place) {
    if (place >= list.size())
        return false;
    list.erase(list.begin() + static_cast<std::ptrdiff_t>(place));
    dirty = true;
    return true;
}

bool AgentProps::pick(std::string_view title, RecipientList& list) {
    RecipientList picked = list;
    if (!PickRecipients(m_session, title, picked, false))
        return false;
    const bool changed = picked.names != list.names || picked.addresses != list.addresses;
    list = std::move(picked);
    dirty = dirty || changed;
    return changed;
}

bool AgentProps::PickAdmin() { return pick("Agent Administrator", fields.admins); }

bool AgentProps::PickReport() { return pick("Accept report requests from", fields.reporters); }

bool AgentProps::MapAttribute(size_t field, std::string_view attribute) {
    std::string& mapped = fields.custom[field];
    if (EqualNoCase(mapped, attribute))
        return true;
    const bool taken = std::ranges::any_of(
        fields.custom, [&](const std::string& other) { return EqualNoCase(other, attribute); });
    if (!attribute.empty() && taken) {
        m_session.ui().MsgBox("Attribute " + std::string(attribute) + " is already mapped!",
                              BoxIcon::Exclamation);
        return false;
    }
    mapped = attribute;
    dirty = true;
    return true;
}

std::vector<std::string> AgentProps::SyntaxChoices() const {
    const std::string& own =
        fields.fax == kFaxSecure ? fields.faxSyntax.relay : fields.faxSyntax.syntax;
    std::vector<std::string> choices;
    if (fields.fax != kFaxSecure)
        choices.assign(kFaxSyntaxes.begin(), kFaxSyntaxes.end());
    // one that the agent message has and nobody offers
    if (!own.empty() && !ContainsEntry(choices, own))
        choices.push_back(own);
    return choices;
}

std::string AgentProps::MissingRelay() {
    return "The fax relay address isn't set: value " + std::string(kFaxRelayValue) +
           " of HKEY_LOCAL_MACHINE\\" + std::string(kMachineKey);
}

} // namespace kr
