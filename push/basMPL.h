#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "core/ListModel.h"
#include "push/PushContext.h"
#include "push/PushForms.h"

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
/// What is pushed, as it stands in the record or in its dialog.
struct Alert {
    EntryID list;
    std::string name;
    std::string payload;
    std::string targets; // addresses, joined by ";"
};
/// The alert of a record; nothing, with the reason in the log, when it can't be read.
std::optional<Alert> ReadAlert(AgentSession& session, RDOMessage& list);
/// Shows the window of a push, which does the pushing.
void PushAlertToList(AgentSession& session, TreeModel& tree, const PushForms::Window& window,
                     const Alert& alert);
/// False, with the reason told, when the list is still there.
bool DeletePushList(AgentSession& session, const EntryID& list, std::string_view name);

ListRow PushListRow(AgentSession& session, RDOMessage& list);

} // namespace kr
