#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/AgentSession.h"

/// Which fields of a contact in the repository are kept from most users, and who may see them all
/// the same. The console defines it; the agent enforces it when it writes contacts.
namespace kr {

inline constexpr std::string_view kPrivateFieldsKey = "EPS Private Fields";
inline constexpr std::string_view kAccessListKey = "EPS Access List"; // addresses
inline constexpr std::string_view kAccessNamesKey = "EPS Access List Names";
inline constexpr std::string_view kAccessEmailKey = "EPS Access List Email";

// What both dialogs say.
inline constexpr std::string_view kUnreadableContact =
    "Unable to open the contact!\nSee the KR-Admin.log for details";
inline constexpr std::string_view kAboutAccessList = "Master Contact: Access Control List";
inline constexpr std::string_view kAccessListText =
    "Select the users and distribution lists who may see the private fields of this contact. "
    "Whoever isn't named here receives the contact without its private fields.\n\n"
    "A distribution list grants access to all of its members. An empty list takes all grants away.";

/// A field that can be restricted, as the dialog lists it.
struct PrivateField {
    std::string label;
    std::string key;
    bool byDefault = false; // restricted for all contacts
    bool checked = false;
};
/// The fields in their order, marked by the keys (joined by ";") that are restricted for all
/// contacts and for this one. What is restricted for all has a label that says so.
std::vector<PrivateField> PrivateFields(std::string_view byDefault, std::string_view ofContact);
/// Keys of the checked fields, without those that are restricted for all contacts.
std::string CheckedFields(const std::vector<PrivateField>& fields);

/// The contacts that a dialog is opened for.
struct PrivacyContacts {
    std::vector<EntryID> ids;
    std::string name;  // of the one contact
    std::string names; // of several: each of those that open, with a line break behind it
    // What the one contact holds; empty for several.
    std::string fields;
    std::string accessNames;
    std::string accessAddresses;
    bool readable = true; // false: the one contact can't be read
    bool Several() const { return ids.size() > 1; }
    /// The name of the one, or how many there are: "2 Contacts".
    std::string Title() const;
};
/// `contacts` are ids joined by ";". What can't be opened is logged, the one contact with the words
/// of `procedure`.
PrivacyContacts LoadPrivacyContacts(AgentSession& session, std::string_view contacts,
                                    std::string_view name, std::string_view procedure);

/// What a dialog stores; what isn't given stays as it is.
struct PrivacyChange {
    std::optional<std::string> fields;
    struct Access {
        std::string names;
        std::string addresses;
    };
    std::optional<Access> access;
};
/// Writes it to each contact that opens; the others are logged, and what fails to be saved is shown
/// too. Gives the number of contacts written.
int SavePrivacy(AgentSession& session, const std::vector<EntryID>& contacts,
                const PrivacyChange& change);

/// Who has been granted access to one contact, as addresses joined by ";".
std::string AccessListOf(AgentSession& session, const EntryID& contact);

} // namespace kr
