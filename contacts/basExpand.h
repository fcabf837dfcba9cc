#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "core/AgentSession.h"

/// Turns recipient lists into people: ordinary lists through the address book, query-based lists
/// through the directory. An expansion reports no error; what can't be reached counts as empty.
namespace kr {

/// People by their lowered address, with the name that was met first.
using FoundPeople = std::unordered_map<std::string, std::string>;
/// Lists that were expanded already, by their lowered address.
using SeenLists = std::unordered_set<std::string>;

/// The ADs path of the forest root, such as "GC://DC=example,DC=test"; "" with the reason logged.
std::string GetRootADsPath(AgentSession& session);
/// The path with its part behind the last "/" replaced by another base.
void SetQueryBase(std::vector<std::string>& query, std::string_view baseDN);
/// True when the directory has a filter for the list of that address.
bool IsQueryDL(AgentSession& session, std::string_view address);

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
/// The people behind the lists, in the order in which they are met; each address once a list.
using MemberSink = std::function<void(const Member&)>;
void ExpandMembers(AgentSession& session, std::string_view addresses, const MemberSink& add);
void ExpandQueryDLMembers(AgentSession& session, std::string_view address, const MemberSink& add,
                          SeenLists& seen);
/// People of a query-based list alone, without nested lists.
void ExpandQueryDLUsers(AgentSession& session, std::string_view address, const MemberSink& add);
/// The same, of those with an address that isn't in `known` (lowered addresses).
void ExpandQueryDLSSU(AgentSession& session, std::string_view address,
                      const std::unordered_set<std::string>& known, const MemberSink& add);

/// A person of the directory with all attributes that a contact is written from, by name.
using DirectoryContact = std::unordered_map<std::string, std::string>;
void ExpandQueryDLContacts(AgentSession& session, std::string_view address,
                           const std::function<bool(const DirectoryContact&)>& write);
/// For push targets: nested lists are followed, and each step is logged.
void ExpandQueryDLPush(AgentSession& session, std::string_view address, const MemberSink& add,
                       SeenLists& seen);

} // namespace kr
