#pragma once

#include <string>
#include <string_view>

#include "core/AgentSession.h"

namespace kr {

/// What a contact list may do as a PIN distribution list (PDL), as the list's record keeps it.
class CMsgPDL {
public:
    explicit CMsgPDL(RDOMessagePtr message) : Message(std::move(message)) {}

    /// The keys as they are stored. False, with the reason in the log, when they can't be read.
    bool Load(AgentSession& session);
    /// Writes all three. False, after a log line and a box, when they can't be saved.
    bool Save(AgentSession& session) const;

    /// No protocol is enabled: the list can't send anything.
    bool silent() const { return !PIN && !SMS && !Email; }

    RDOMessagePtr Message;
    bool PIN = true;
    bool SMS = false;
    bool Email = false;

private:
    std::string m_name; // as it was loaded, for the words of a failure
};

/// Makes a contact list a PDL or takes that from it. False, after a log line and a box, when it
/// can't be saved.
bool SetPDL(AgentSession& session, const EntryID& list, std::string_view name, bool isPdl);

} // namespace kr
