#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/AgentSession.h"

/// A list's record as its dialog reads and writes it.
namespace kr {

struct MclRecord {
    std::string name;
    std::string description;
    std::string source; // names and addresses, joined by ";"
    std::string sourceEmail;
    std::string target;             // of a public folder target its path ...
    std::string targetEmail;        // ... and its entry id
    std::optional<bool> includeDLs; // nothing: the key was never written
    bool noSmtp = false;
    bool publicFolder = false;
    EntryID sourceFolder; // legacy link
    EntryID sourceStore;
};
/// Nothing when the record can't be read, which is logged and shown.
std::optional<MclRecord> ReadMCL(AgentSession& session, const EntryID& id);

using MclKeys = std::vector<std::pair<std::string_view, Value>>;
// The keys of a recipient list, with the number of people behind it.
void AddSourceKeys(AgentSession& session, MclKeys& keys, const std::string& names,
                   const std::string& addresses);
void AddTargetKeys(AgentSession& session, MclKeys& keys, const std::string& names,
                   const std::string& addresses);

/// Writes name, description and keys to the record, a new one of the list folder for an empty id.
/// Gives its id; an empty one, after a box, when it wasn't saved.
EntryID SaveMCL(AgentSession& session, const EntryID& id, std::string_view name,
                std::string_view description, const MclKeys& keys);

/// The dialog of that record: the target is a public folder.
bool HasPublicFolderTarget(AgentSession& session, const EntryID& id);

/// The database that a connection string names: the value of its first part that speaks of a
/// "Catalog"; "" without one.
std::string CatalogOf(std::string_view cxnString);

} // namespace kr
