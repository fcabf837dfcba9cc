#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "core/AgentSession.h"

/// The contacts of a folder that is the source of a list.
namespace kr {

/// A contact: its name, the first of its e-mail addresses that isn't blank, and its mobile phone.
struct SourceContact {
    std::string name;
    std::string address;
    std::string mobile;
};
/// Walks the contacts that a list takes, those with an e-mail address or, with `all`, every one;
/// `contact` gives false to end it. Throws as the store does.
void WalkSourceContacts(AgentSession& session, RDOFolder& folder, bool all,
                        const std::function<bool(const SourceContact&)>& contact);
/// Number of those contacts; throws as the store does. `stop` may end the count early.
int64_t CountSourceContacts(AgentSession& session, RDOFolder& folder, bool all,
                            const std::function<bool()>& stop);

} // namespace kr
