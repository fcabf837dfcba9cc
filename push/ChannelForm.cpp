#include "push/ChannelForm.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>

#include "contacts/basActivation.h"
#include "contacts/basExpand.h"
#include "core/Text.h"
#include "core/Trap.h"
#include "core/basStore.h"
#include "core/basText.h"
#include "core/modGUID.h"
#include "push/basMBL.h"
#include "push/basTarn.h"

namespace kr {

namespace {

constexpr std::string_view kPngStart{"\x89PNG\r\n\x1A\n", 8};
constexpr uintmax_t kLargestIcon = 1 << 20; // bytes

/// What is logged and told when an icon can't be saved.
struct IconTexts {
    std::string_view logged;
    std::string_view told;
};
constexpr IconTexts kIconTexts[] = {
    {"Error adding Unread icon ", "Failed to save Unread icon!\r\nPlease verify the path."},
    {"Error adding Read icon ", "Failed to save Read icon!\r\nPlease verify the path."}};

std::string channelId(AgentSession& session) {
    std::string id = GetGUID(session.log);
    if (id.empty()) {
        const auto ticks = std::chrono::steady_clock::now().time_since_epoch();
        id = std::to_string(std::chrono::duration_cast<std::chrono::milliseconds>(ticks).count());
    }
    return id;
}

} // namespace

int ForceNumber(std::string_view text, const NumberRule& rule) {
    const double number = ParseNumber(text).value_or(rule.fallback);
    return static_cast<int>(std::clamp<double>(number, rule.lowest, rule.highest));
}

Bytes ReadPngFile(const std::string& path) {
    std::error_code error;
    const uintmax_t size = std::filesystem::file_size(path, error);
    if (error)
        throw PlatformError(error.value(), error.message(), "ReadPngFile");
    if (size > kLargestIcon)
        throw PlatformError(MAPI_E_CALL_FAILED, "The file is too large for an icon.",
                            "ReadPngFile");
    Bytes bytes(size);
    std::ifstream file(path, std::ios::binary);
    file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(size));
    if (!file)
        throw PlatformError(MAPI_E_CALL_FAILED, "The file can't be read.", "ReadPngFile");
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (!text.starts_with(kPngStart))
        throw PlatformError(MAPI_E_CALL_FAILED, "The file is no PNG picture.", "ReadPngFile");
    return bytes;
}

bool ChannelForm::Load(AgentSession& session, const EntryID& listId) {
    m_id = listId;
    return Trap(
        [&] {
            const RDOMessagePtr list = GetMessage(session, listId);
            if (!list)
                throw PlatformError(MAPI_E_NOT_FOUND, "The list can't be opened.");
            name = list->Subject();
            body = list->Body();
            title = KeyText(*list, "MBL.Title");
            description = KeyText(*list, "MBL.Description");
            url = KeyText(*list, "MBL.URL");
            enable = !KeyFlag(*list, kInactiveKey);
            names = KeyText(*list, "MBL.Target");
            addresses = KeyText(*list, "MBL.Target.Email");
            if (!GetKey(*list, "MBL.LastPushDate").empty())
                lastPush = LastPushText(session, *list, "MBL.LastPushDate");
            frequency = std::clamp(KeyNumber(*list, "MBL.Frequency", 0), 0,
                                   static_cast<int>(std::size(kMblFrequencies)) - 1);
            cache = KeyFlag(*list, "MBL.Cache");
            expire = KeyNumber(*list, "MBL.Expire", 0);
            depth = KeyNumber(*list, "MBL.IncludeLinkDepth", 0);
            const int size = KeyNumber(*list, "MBL.MaxContent", 0);
            child = depth > 0 || size > 0;
            if (child)
                maxContent = size > 0 ? size : kOldMaxContent;
            if (channel)
                loadIcons(*list);
            return true;
        },
        [&](const Trapped& error) { session.log("ChannelForm: " + error.text()); });
}

void ChannelForm::loadIcons(RDOMessage& list) {
    for (const ChannelIcon which : {ChannelIcon::Unread, ChannelIcon::Read})
        m_icons[static_cast<size_t>(which)].png = ReadChannelIcon(list, which);
}

void ChannelForm::TickChild() {
    child = true;
    if (depth == 0)
        depth = 1;
    if (maxContent == 0)
        maxContent = 100;
}

void ChannelForm::SetIcon(ChannelIcon which, const std::string& file, Bytes png) {
    m_icons[static_cast<size_t>(which)] = {std::move(png), file};
    changed = true;
}

bool ChannelForm::IconChanged() const {
    return std::ranges::any_of(m_icons, [](const Picture& icon) { return !icon.file.empty(); });
}

ChannelForm::Outcome ChannelForm::Save(AgentSession& session, Focus& focus) {
    const auto refused = [&](const std::string& text, Focus where) {
        focus = where;
        session.ui().MsgBox(text, BoxIcon::Exclamation);
        return Outcome::Refused;
    };
    focus = Focus::None;
    const std::string trimmed = Trim(name);
    // the texts speak of channels for messages, too, and want a title of both; that is deliberate
    if (trimmed.empty())
        return refused("You must provide a unique name for this Browser Channel Push", Focus::Name);
    if (!changed)
        return Outcome::Unchanged;
    if (MblNameInUse(session, m_id, trimmed))
        return refused("'" + trimmed +
                           "' is already in use.\r\nPlease provide a different name for this list!",
                       Focus::Name);
    if (Trim(title).empty())
        return refused("You must enter the title of the channel that will appear on the handheld!",
                       Focus::Title);
    if (Trim(url).empty())
        return refused("You must enter the URL of the channel content!", Focus::Url);
    return Trap(
               [&] {
                   const RDOFolderPtr folder = m_id.empty() ? GetMblFolder(session) : nullptr;
                   const RDOMessagePtr list =
                       folder ? folder->Items()->Add(kMblClass) : GetMessage(session, m_id);
                   if (!list)
                       throw PlatformError(MAPI_E_NOT_FOUND, "The list can't be opened.");
                   write(session, *list);
                   if (m_id.empty())
                       m_id = list->ID();
                   return true;
               },
               [&](const Trapped& error) {
                   session.log("Error saving browser list " + trimmed + ": " + error.text());
                   session.ui().MsgBox("Unable to save '" + trimmed +
                                           "'!\r\nSee the KR-Admin.log for details",
                                       BoxIcon::Stop);
               })
               ? Outcome::Saved
               : Outcome::Failed;
}

void ChannelForm::write(AgentSession& session, RDOMessage& list) {
    list.SetSubject(Trim(name));
    SetKey(list, "MBL.Type", channel ? kChannelType : kMessageType);
    SetKey(list, "MBL.Title", title);
    SetKey(list, "MBL.Description", description);
    SetKey(list, "MBL.URL", url);
    SetKey(list, kInactiveKey, !enable);
    if (channel)
        writeChannel(session, list);
    else
        SetKey(list, "MBL.Frequency", static_cast<int16_t>(frequency));
    SetKey(list, "MBL.Target", names);
    SetKey(list, "MBL.Target.Email", addresses);
    SetKey(list, "MBL.Target.Count", int32_t{CountRecipients(session, addresses)});
    for (const ChannelIcon which : {ChannelIcon::Read, ChannelIcon::Unread})
        if (!icon(which).file.empty())
            saveIcon(session, list, which);
    list.Save();
}

void ChannelForm::writeChannel(AgentSession& session, RDOMessage& list) const {
    if (RequireKey(list, "MBL.ChannelID").text().empty())
        SetKey(list, "MBL.ChannelID", channelId(session));
    SetKey(list, "MBL.Cache", cache);
    SetKey(list, "MBL.Expire", int32_t{expire});
    SetKey(list, "MBL.IncludeLinkDepth", static_cast<int16_t>(child ? depth : 0));
    SetKey(list, "MBL.MaxContent", static_cast<int16_t>(child ? maxContent : 0));
}

/// The old picture goes only when the new one can be read.
void ChannelForm::saveIcon(AgentSession& session, RDOMessage& list, ChannelIcon which) const {
    const auto index = static_cast<size_t>(which);
    Trap(
        [&] {
            const Bytes png = ReadPngFile(icon(which).file);
            const auto attachments = list.Attachments();
            for (int i = attachments->Count(); i >= 1; --i)
                if (attachments->Item(i)->DisplayName() == kIconAttachments[index])
                    attachments->Item(i)->Delete();
            attachments->AddContent(kIconAttachments[index], png);
        },
        [&](const Trapped& error) {
            session.log(std::string(kIconTexts[index].logged) + std::to_string(error.number) + ":" +
                        error.description);
            session.ui().MsgBox(kIconTexts[index].told, BoxIcon::Exclamation);
        });
}

bool ChannelForm::AskForTarn(AgentSession& session) const {
    return IconChanged() && GetTarnURL(session).empty() &&
           session.ui().MsgBox(
               "You will need to configure the zandrel Tarn Mobile Engine\r\nto be able to push "
               "the icons for this browser channel.\r\n\r\nDo you want to do that now?",
               BoxIcon::Question, BoxButtons::YesNo) == BoxAnswer::Yes;
}

} // namespace kr
