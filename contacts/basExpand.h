#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "core/basDirectory.h"

/// Turns recipient lists into people: ordinary lists through the address book, query-based lists
/// through the directory. An expansion reports no error; what can't be reached counts as empty.
namespace kr {

/// People by their lowered address, with the name that was met first.
using FoundPeople = std::unordered_map<std::string, std::string>;
/// Lists that were expanded already, by their lowered address.
using SeenLists = std::unordered_set<std::string>;

/// The address book's entry that has this SMTP address, also as a further one; nullptr when there
/// is none.
AddressEntryPtr GetAddressEntry(AgentSession& session, std::string_view address);

/// Number of different people behind a list of addresses joined by ";".
int CountRecipients(AgentSession& session, std::string_view addresses);
void ExpandAddressEntry(AgentSession& session, AddressEntry& entry, FoundPeople& found,
                        SeenLists& seen);
void ExpandQueryDL(AgentSession& session, std::string_view address, FoundPeople& found,
                   SeenLists& seen);

struct Member {
    std::string name;
    std::string address; // lowered
};
/// Hears of people that have an address. The lists that a query-based list holds follow its people.
using MemberSink = std::function<void(const Member&)>;
/// Asked between the people; true ends the expansion.
using StopExpansion = std::function<bool()>;
/// The people behind the addresses, in the order in which they are met, each address once.
void ExpandMembers(AgentSession& session, std::string_view addresses, const MemberSink& add,
                   const StopExpansion& stop = {});
void ExpandQueryDLMembers(AgentSession& session, std::string_view address, const MemberSink& add,
                          SeenLists& seen);
/// People of a query-based list that have an address and aren't in `known` (lowered addresses),
/// without nested lists; ExpandQueryDLUsers gives all of them.
void ExpandQueryDLSSU(AgentSession& session, std::string_view address,
                      const std::unordered_set<std::string>& known, const MemberSink& add);

/// A person of the directory with all attributes that a contact is written from, by name; an
/// attribute with several values joins them by ";".
using DirectoryContact = std::unordered_map<std::string, std::string>;
/// `write` gives false to end the expansion.
void ExpandQueryDLContacts(AgentSession& session, std::string_view address,
                           const std::function<bool(const DirectoryContact&)>& write);
/// For push targets: nested lists are followed, and each step is logged.
void ExpandQueryDLPush(AgentSession& session, std::string_view address, const MemberSink& add,
                       SeenLists& seen);

} // namespace kr
