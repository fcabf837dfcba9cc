#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/AgentSession.h"

/// Choosing people through the address book.
namespace kr {

/// A recipient list: three parallel strings, ";"-separated and in the same order.
struct RecipientList {
    std::string ids;
    std::string names;
    std::string addresses;
    int Count() const;
    bool operator==(const RecipientList&) const = default;
};

/// True when the person confirmed; `list` comes in with the present selection and goes out with the
/// new one. Entries without an address are left out by name. On cancel `list` stays.
/// `toLabel` stands on the button that adds names.
bool PickRecipients(AgentSession& session, std::string_view title, RecipientList& list,
                    bool oneAddress, std::string_view toLabel = {});

struct GALPickOptions {
    bool oneAddress = false;
    bool allowPublicFolders = false;
    bool allowLists = false;
};
/// The same where each must be a directory entry with a mailbox (or a list, where allowed).
bool PickGALRecipients(AgentSession& session, std::string_view title, RecipientList& list,
                       const GALPickOptions& options);
/// Like PickRecipients; a list stays one entry with its own address, whoever calls must not expand
/// it.
bool PickDLRecipients(AgentSession& session, std::string_view title, RecipientList& list,
                      bool oneAddress);

/// The directory's `mail` attribute is neither the primary address nor one of the others.
void WarnMailAttribute(AgentSession& session, std::string_view name, std::string_view primary,
                       std::string_view mail);

} // namespace kr
