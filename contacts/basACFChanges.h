#pragma once

#include <optional>
#include <string>

#include "contacts/ContactForms.h"
#include "core/AgentSession.h"

/// What commands do to a source of contacts and to the list that hangs on it.
namespace kr {

struct AcfChange {
    bool done = false;
    EntryID list; // the list that went or was switched together with the source
    explicit operator bool() const { return done; }
};

/// Asks and deletes the source with its list; `text` is that of its node. Done when the node has to
/// go: the source is gone, or there was none.
AcfChange RemoveAcf(AgentSession& session, const EntryID& id, const std::string& text);

/// Asks and switches the source on or off, an inactive list of an activated source on request too;
/// that of an inactivated one always. Done when the source was written; a failure is logged and
/// shown.
AcfChange ChangeActivationACF(AgentSession& session, const EntryID& id, const std::string& name,
                              bool activate);

/// No list hangs on the source yet.
bool CanMakeMCL(AgentSession& session, const EntryID& id);
/// What a new list on the source begins with; the source gets its GUID first where it has none.
/// Nothing, after a box, when that fails.
std::optional<MclSource> SourceForMCL(AgentSession& session, const EntryID& id);

} // namespace kr
