#pragma once

#include <string>
#include <string_view>

#include "core/ListModel.h"
#include "push/basMBL.h"

/// Mandatory push lists (MPL): one XML payload for an application on a set of handhelds.
namespace kr {

inline constexpr std::string_view kMplClass = "IPM.Post.MPL";
inline constexpr std::string_view kMplFolder = "zandrelMPL";

RDOFolderPtr GetMplFolder(AgentSession& session);
/// Another list of the folder has that name.
bool MplNameInUse(AgentSession& session, const EntryID& own, std::string_view name);
/// Pushes a payload to the targets of a list and writes the date of a success to it.
void PushAlert(const PushContext& context, RDOMessage& list, const std::string& payload,
               const std::string& targets);
ListRow PushListRow(AgentSession& session, RDOMessage& list);

} // namespace kr
