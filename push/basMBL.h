#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/AgentSession.h"
#include "core/ListModel.h"

/// Browser lists (MBL): standing orders to put a URL on handhelds, as a channel or as a message.
/// Here are their records; basMBLPush pushes them, basMBLDelete takes channels from handhelds.
namespace kr {

inline constexpr std::string_view kMblClass = "IPM.Post.MBL";
inline constexpr std::string_view kMblFolder = "zandrelMBL";
inline constexpr std::string_view kChannelType = "Channel";
inline constexpr std::string_view kMessageType = "Message";
/// KB that a 0 means in `MBL.MaxContent` of older records.
inline constexpr int kOldMaxContent = 250;
/// `MBL.Frequency` is an index into these.
inline constexpr std::string_view kMblFrequencies[] = {"Once",    "Daily",     "Weekly",
                                                       "Monthly", "Quarterly", "Yearly"};

/// The pictures of a channel on the handheld: attachments by these names.
enum class ChannelIcon { Unread, Read };
inline constexpr std::string_view kIconAttachments[] = {"UnreadIcon", "ReadIcon"};

/// nullptr when it is not there.
RDOFolderPtr GetMblFolder(AgentSession& session);
/// Another message of that class in the folder has that subject; what can't be told counts as
/// taken.
bool NameInUse(AgentSession& session, const RDOFolderPtr& folder, std::string_view messageClass,
               const EntryID& own, std::string_view name);
/// Another list of the folder has that name.
bool MblNameInUse(AgentSession& session, const EntryID& own, std::string_view name);
/// The record of a list; where it can't be opened the person is told, and it is nullptr.
RDOMessagePtr OpenList(AgentSession& session, const EntryID& list, std::string_view name);
void ReportLostList(AgentSession& session, std::string_view name);
/// The local date of a list's last push; "Never" without one.
std::string LastPushText(AgentSession& session, RDOMessage& list, std::string_view key);
/// Ids of all channels, also of deleted ones; nothing, with the reason in the log, when the lists
/// can't be read.
std::optional<std::vector<std::string>> GetChannelIDs(AgentSession& session);
/// A stored picture; empty when there is none. Throws as the store does.
Bytes ReadChannelIcon(RDOMessage& list, ChannelIcon which);

/// The row of a list; nothing for a deleted one.
std::optional<ListRow> BrowserListRow(AgentSession& session, RDOMessage& list);

} // namespace kr
