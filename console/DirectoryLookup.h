#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "core/AgentSession.h"

namespace kr {

/// A mailbox as the directory knows it.
struct FoundUser {
    std::string alias;
    std::string server; // the last "/cn=" part of the home server's name
    std::string smtp;   // primary proxy address, else the mail attribute
};

/// A person as the directory knows them; a field that is not there is "".
struct FoundAdmin {
    std::string mail;
    std::string givenName;
    std::string sn;
    std::string company;
    std::string telephoneNumber;
};

/// The mailbox of that account or alias, by the global catalog. Nothing when it isn't there or the
/// directory fails; the latter is logged, and a connection that can't be opened is shown as well.
std::optional<FoundUser> LookupUser(AgentSession& session, std::string_view name);

/// The person of that address: "EX:" and a legacy name, an SMTP address, or an alias. Failures as
/// with LookupUser.
std::optional<FoundAdmin> LookupAdmin(AgentSession& session, std::string_view address);

} // namespace kr
