#pragma once

#include <optional>
#include <string>

#include "contacts/ContactForms.h"
#include "core/AgentSession.h"

/// What commands do to a source of contacts and to the list that hangs on it.
namespace kr {

/// Asks and deletes the source with its list; `text` is that of its node. True when the node has to
/// go: the source is gone, or there was none.
bool RemoveAcf(AgentSession& session, const EntryID& id, const std::string& text);

/// Asks and switches the source on or off, an inactive list of an activated source on request too;
/// that of an inactivated one always. True when the source was written; a failure is logged and
/// shown.
bool ChangeActivationACF(AgentSession& session, const EntryID& id, const std::string& name,
                         bool activate);

/// No list hangs on the source yet.
bool CanMakeMCL(AgentSession& session, const EntryID& id);
/// What a new list on the source begins with; the source gets its GUID first where it has none.
/// Nothing, after a box, when that fails.
std::optional<MclSource> SourceForMCL(AgentSession& session, const EntryID& id);

} // namespace kr
