#pragma once

#include <optional>
#include <string>

#include "core/AgentSession.h"

namespace kr {

/// A data source as its record keeps it: an `IPM.Post.ACF` without `ACF EntryID`.
struct AcdsSource {
    std::string name;
    std::string cxnString; // passwords in clear
    std::string query;
    std::string description;
};

/// Nothing, with the reason in the log, when the record can't be read.
std::optional<AcdsSource> ReadAcds(AgentSession& session, const EntryID& id);
/// Writes the record, a new one for an empty id, with a GUID where it has none. Gives its id; an
/// empty one, with a box, when it couldn't be saved.
EntryID SaveAcds(AgentSession& session, const EntryID& id, const AcdsSource& record);

} // namespace kr
