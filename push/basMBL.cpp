#include "push/basMBL.h"

#include <algorithm>

#include "console/OwnImage.h"
#include "core/Text.h"
#include "core/Trap.h"
#include "core/basAgent.h"
#include "core/basDate.h"
#include "core/basStore.h"

namespace kr {

namespace {

constexpr std::string_view kChannelImage = "imgGlobe";
constexpr size_t kLargestRowIcon = 1 << 17; // bytes; each row of the list keeps its own

/// One list that can't be read doesn't keep the others back.
std::string channelOf(AgentSession& session, const EntryID& id) {
    return Trap(
        [&] {
            const RDOMessagePtr list = GetMessage(session, id);
            if (!list)
                throw PlatformError(MAPI_E_NOT_FOUND, "The list can't be opened.");
            return RequireKey(*list, "MBL.ChannelID").text();
        },
        [&](const Trapped& error) {
            session.log("GetChannelIDs: err reading " + id.text() + " " + error.text());
        });
}

/// The picture that the handheld shows; one that can't be read doesn't hide the list.
std::string channelImage(AgentSession& session, RDOMessage& list) {
    Bytes png;
    Trap(
        [&] {
            for (const ChannelIcon which : {ChannelIcon::Unread, ChannelIcon::Read})
                if (png.empty())
                    png = ReadChannelIcon(list, which);
        },
        [&](const Trapped& error) { session.log("BrowserListRow: icon " + error.text()); });
    return png.size() > kLargestRowIcon ? std::string(kChannelImage)
                                        : ImageName(kChannelImage, png);
}

} // namespace

RDOFolderPtr GetMblFolder(AgentSession& session) { return GetZandrelFolder(session, kMblFolder); }

bool NameInUse(AgentSession& session, const RDOFolderPtr& folder, std::string_view messageClass,
               const EntryID& own, std::string_view name) {
    if (!folder) // a new list can't be saved then, which says more
        return !own.empty();
    bool failed = false;
    const bool used = Trap(
        [&] {
            const RDOStorePtr store = folder->Store();
            return std::ranges::any_of(
                RequireMessageIDs(*folder, messageClass, name),
                [&](const EntryID& id) { return own.empty() || !store->CompareEntryIDs(id, own); });
        },
        [&](const Trapped& error) {
            failed = true;
            session.log("NameInUse: " + error.text());
        });
    return used || failed;
}

bool MblNameInUse(AgentSession& session, const EntryID& own, std::string_view name) {
    return NameInUse(session, GetMblFolder(session), kMblClass, own, name);
}

RDOMessagePtr OpenList(AgentSession& session, const EntryID& list, std::string_view name) {
    RDOMessagePtr message = GetMessage(session, list);
    if (!message)
        ReportLostList(session, name);
    return message;
}

void ReportLostList(AgentSession& session, std::string_view name) {
    session.log("Error retrieving message for list " + std::string(name));
    session.ui().MsgBox("There is a problem accessing " + std::string(name), BoxIcon::Exclamation);
}

std::string LastPushText(AgentSession& session, RDOMessage& list, std::string_view key) {
    const Value last = GetKey(list, key);
    const Time* date = last.get<Time>();
    return date ? FormatDate(UTCToLocal(*date, session.platform.clock)) : "Never";
}

std::optional<std::vector<std::string>> GetChannelIDs(AgentSession& session) {
    const auto read = [&]() -> std::optional<std::vector<std::string>> {
        const RDOFolderPtr folder = GetMblFolder(session);
        if (!folder)
            throw PlatformError(MAPI_E_NOT_FOUND, "no MBL folder");
        std::vector<std::string> channels;
        for (const EntryID& id : RequireMessageIDs(*folder, kMblClass, ""))
            if (std::string channel = channelOf(session, id); !channel.empty())
                channels.push_back(std::move(channel));
        return channels;
    };
    return Trap(read, [&](const Trapped& error) { session.log("GetChannelIDs: " + error.text()); });
}

Bytes ReadChannelIcon(RDOMessage& list, ChannelIcon which) {
    const auto attachments = list.Attachments();
    for (int i = attachments->Count(); i >= 1; --i)
        if (const auto attachment = attachments->Item(i);
            attachment->DisplayName() == kIconAttachments[static_cast<size_t>(which)])
            return attachment->Content();
    return {};
}

std::optional<ListRow> BrowserListRow(AgentSession& session, RDOMessage& list) {
    if (KeyFlag(list, "MBL.Deleted"))
        return std::nullopt;
    const bool channel = KeyText(list, "MBL.Type") == kChannelType;
    ListRow row;
    row.key = list.ID().text();
    row.tag = channel ? "mbl:channel" : "mbl:message";
    row.icon = channel ? channelImage(session, list) : "imgBrowserMessage";
    row.ghosted = KeyFlag(list, "EPS.Inactive");
    row.texts = {list.Subject(),
                 KeyText(list, "MBL.Title"),
                 KeyText(list, "MBL.Target"),
                 std::to_string(KeyNumber(list, "MBL.Target.Count", 0)),
                 LastPushText(session, list, "MBL.LastPushDate"),
                 KeyText(list, "MBL.URL")};
    return row;
}

} // namespace kr
