#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "console/TreeModel.h"
#include "core/AgentSession.h"
#include "core/ListModel.h"
#include "net/WebProgress.h"
#include "push/ResultDocument.h"

/// Browser lists (MBL): standing orders to put a URL on handhelds, as a channel or as a message.
namespace kr {

inline constexpr std::string_view kMblClass = "IPM.Post.MBL";
inline constexpr std::string_view kMblFolder = "zandrelMBL";
inline constexpr std::string_view kChannelType = "Channel";
inline constexpr std::string_view kMessageType = "Message";
/// `MBL.Frequency` is an index into these.
inline constexpr std::string_view kMblFrequencies[] = {"Once",    "Daily",     "Weekly",
                                                       "Monthly", "Quarterly", "Yearly"};

/// nullptr when it is not there.
RDOFolderPtr GetMblFolder(AgentSession& session);
/// Another message of that class in the folder has that subject; what can't be told counts as
/// taken.
bool NameInUse(AgentSession& session, const RDOFolderPtr& folder, std::string_view messageClass,
               const EntryID& own, std::string_view name);
/// The record of a list; where it can't be opened the person is told, and it is nullptr.
RDOMessagePtr OpenList(AgentSession& session, const EntryID& list, std::string_view name);
void ReportLostList(AgentSession& session, std::string_view name);
/// The local date of a list's last push; "Never" without one.
std::string LastPushText(AgentSession& session, RDOMessage& list, std::string_view key);
/// Another list of the folder has that name.
bool MblNameInUse(AgentSession& session, const EntryID& own, std::string_view name);

/// What a push works with: the tree has the connectors, the window shows progress and can stop it.
struct PushContext {
    AgentSession& session;
    TreeModel& tree;
    WebProgress& progress;
};
/// Pushes a list now; false when the person stopped it, and nothing is saved then.
bool PushToList(const PushContext& context, RDOMessage& list);
/// Entries of the last list, joined by ";", that no present target has as its PIN.
std::string GetRemovedTargets(const Recordset& targets, std::string_view lastPushList);
/// Takes a channel from the handhelds of those names, or of those PINs where there are no names.
void DeleteChannelFromTargets(AgentSession& session, TreeModel& tree, std::string_view channelId,
                              ResultDocument& document, std::string_view names,
                              std::string_view pins, std::string_view notifyUrl);
/// Ids of all channels, also of deleted ones.
std::vector<std::string> GetChannelIDs(AgentSession& session);

/// Soft-deletes a list: it is renamed and marked, and a channel is taken from its handhelds.
bool DeleteBrowserList(AgentSession& session, TreeModel& tree, const EntryID& list);
/// Takes every channel there was from the handhelds of chosen people, with all its questions.
void ClearBrowserChannels(AgentSession& session, TreeModel& tree);

/// The row of a list; nothing for a deleted one.
std::optional<ListRow> BrowserListRow(AgentSession& session, RDOMessage& list);

} // namespace kr
