#include "push/basMBLDelete.h"

#include <array>
#include <cstdio>
#include <functional>

#include "core/Text.h"
#include "core/Trap.h"
#include "core/basAgent.h"
#include "core/basStore.h"
#include "core/basText.h"
#include "net/basWeb.h"
#include "push/basMBL.h"
#include "push/basMDS.h"
#include "push/basTargets.h"
#include "push/basTarn.h"

namespace kr {

namespace {

constexpr std::string_view kImage = "imgGlobe"; // of the window

std::string notifyAddress(AgentSession& session) {
    return GetTarnURL(session) + std::string(kNotifyQuery);
}

/// Sends the requests, one channel and one handheld each.
class Sender {
public:
    Sender(AgentSession& session, std::string_view notifyUrl)
        : m_session(session), m_proxy(GetProxySettings(session)) {
        m_push.pushType = kBrowserChannelDelete;
        m_push.notifyUrl = notifyUrl;
    }
    /// True when the server took it.
    bool Send(const PushTarget& target, std::string_view channelId, std::string& result) {
        m_push.pushServer = target.server;
        m_push.destination = target.pin;
        m_push.channelId = channelId;
        return PushToMDS(m_session, m_push, result, &m_proxy);
    }

private:
    AgentSession& m_session;
    ProxySettings m_proxy;
    MdsPush m_push;
};

/// Hears of each row; the result is empty for one that has no push server.
using Told = std::function<void(const PushTarget& target, const std::string& result)>;

/// One channel, from every row of the table. False when the person stopped it.
bool deleteChannel(const PushContext& context, Recordset& targets, std::string_view channelId,
                   ResultDocument& document, std::string_view notifyUrl, const Told& told) {
    AgentSession& session = context.session;
    Sender sender(session, notifyUrl);
    for (targets.MoveFirst(); !targets.EOF_(); targets.MoveNext()) {
        const PushTarget target = TargetOf(targets);
        std::string result;
        if (!target.server.empty()) {
            context.progress.ShowStep("Deleting channel from " + target.name + "...");
            if (context.progress.Cancelled())
                return false;
            session.log("Pushing Browser-Channel-Delete request to " + target.pin +
                        (target.email.empty() ? "" : " " + target.email));
            sender.Send(target, channelId, result);
            AppendTarget(session, document, target.pin, target.email, kBrowserChannelDelete,
                         LocalNow(session), result);
        }
        told(target, result);
    }
    return true;
}

// --- the deletion of a list

/// The date behind a deleted list's name.
std::string deletionDate(const AgentSession& session) {
    SystemTime now;
    DateToSystemTime(LocalNow(session), now);
    std::array<char, 40> date{};
    // kept: hours and seconds, without the minutes
    std::snprintf(date.data(), date.size(), "%04d-%02d-%02d %02d:%02d", now.year, now.month,
                  now.day, now.hour, now.second);
    return date.data();
}

/// Takes the channel of a deleted list from its targets; false when the person stopped it. The
/// window tells how far it came.
bool deleteFromNames(const PushContext& context, std::string_view name, std::string_view channelId,
                     ResultDocument& document, const std::string& names) {
    WebProgress& progress = context.progress;
    progress.ShowStep("Assembling push targets ...");
    const auto targets = GetPushTargets(context.session, context.tree, names);
    if (!targets) {
        progress.AppendResult(std::string(kNoHandhelds) + "\r\n" + std::string(name) +
                              " was not deleted from any handheld.");
        return true;
    }
    const auto total = static_cast<int>(targets->RecordCount());
    int done = 0, sent = 0;
    progress.SetValue(done, total);
    const bool whole = deleteChannel(
        context, *targets, channelId, document, notifyAddress(context.session),
        [&](const PushTarget& target, const std::string& result) {
            sent += target.server.empty() ? 0 : 1;
            progress.AppendResult(target.name + ": " +
                                  (target.server.empty() ? "no Push server" : result));
            progress.SetValue(++done, total);
        });
    const std::string count = std::to_string(sent);
    if (whole) {
        progress.AppendResult("Requests were pushed to delete " + std::string(name) + " from " +
                              count + " handhelds.");
        return true;
    }
    context.session.log("DeleteBrowserList: user cancelled the deletion of " + std::string(name) +
                        " from handhelds; Deleted=" + count);
    progress.AppendResult("Stopped: requests were pushed to " + count + " of " +
                          std::to_string(total) + " targets.\r\n\"Remove Channels...\" takes " +
                          std::string(name) + " from the others.");
    return false;
}

void deleteFromHandhelds(AgentSession& session, TreeModel& tree, const PushForms::Window& window,
                         RDOMessage& list, const std::string& name) {
    const std::string channel = KeyText(list, "MBL.ChannelID");
    const std::string url = KeyText(list, "MBL.URL");
    const std::string names = KeyText(list, "MBL.Target.Email");
    if (names.empty() || !window)
        return;
    window(kImage, [&](WebProgress& progress) {
        auto document = LoadResultDocument(list.Body(), url);
        if (!document)
            document = CreateResultDocument(channel, url);
        const bool whole =
            deleteFromNames({session, tree, progress}, name, channel, *document, names);
        SaveResultDocument(list, *document); // also of a part
        return whole;
    });
}

// --- the removal of all channels

/// Takes every channel from every row of a target table.
class ChannelClearing {
public:
    ChannelClearing(const PushContext& context, Recordset& targets,
                    const std::vector<std::string>& channels)
        : m_session(context.session), m_progress(context.progress), m_targets(targets),
          m_channels(channels), m_sender(context.session, notifyAddress(context.session)),
          m_total(static_cast<int>(targets.RecordCount()) * channelCount()) {}

    /// False when the person stopped it.
    bool Run() {
        const Log::Burst burst(m_session.log);
        m_progress.SetValue(0, m_total);
        for (m_targets.MoveFirst(); !m_targets.EOF_(); m_targets.MoveNext()) {
            const PushTarget target = TargetOf(m_targets);
            if (target.server.empty())
                skip(target);
            else if (!clear(target))
                return stopped();
        }
        tell();
        return true;
    }

private:
    int channelCount() const { return static_cast<int>(m_channels.size()); }
    void skip(const PushTarget& target) {
        ++m_skipped;
        m_session.log("Browser Clear  skipping " + target.name +
                      ": unable to determing PushServer");
        m_progress.AppendResult(target.name + ": no Push server");
        m_progress.SetValue(m_done += channelCount(), m_total);
    }
    bool clear(const PushTarget& target) {
        int sent = 0, taken = 0;
        std::string result, refusal;
        m_progress.ShowStep("Removing channels from " + target.name + "...");
        const auto line = [&] {
            m_progress.AppendResult(target.name + ": " + std::to_string(taken) + " of " +
                                    std::to_string(channelCount()) + " requests were accepted" +
                                    (refusal.empty() ? "" : " (" + refusal + ")"));
        };
        for (const std::string& channel : m_channels) {
            if (m_progress.Cancelled()) {
                if (sent > 0)
                    line();
                return false;
            }
            ++sent;
            ++m_sent;
            if (m_sender.Send(target, channel, result))
                ++taken;
            else
                refusal = result.empty() ? "no request could be made" : result;
            m_progress.SetValue(++m_done, m_total);
        }
        line();
        ++m_cleared;
        return true;
    }
    bool stopped() {
        const std::string requests = std::to_string(m_sent), all = std::to_string(m_total),
                          whole = std::to_string(m_cleared);
        m_session.log("Browser Clear  user cancelled; pushed " + requests + " of " + all +
                      " requests, all channels for " + whole + " targets");
        m_progress.AppendResult("Stopped: " + requests + " of " + all +
                                " requests were pushed, all channels for " + whole + " handhelds.");
        return false;
    }
    void tell() {
        std::string told = "Requests were pushed to delete " + std::to_string(channelCount()) +
                           " channels from " + std::to_string(m_cleared) + " handhelds.";
        if (m_skipped > 0)
            told += "\r\nNo push server could be found for " + std::to_string(m_skipped) +
                    " handhelds. See the log for specifics.";
        m_progress.ShowStep("");
        m_session.ui().MsgBox(told, BoxIcon::Information);
    }

    AgentSession& m_session;
    WebProgress& m_progress;
    Recordset& m_targets;
    const std::vector<std::string>& m_channels;
    Sender m_sender;
    int m_total; // requests
    int m_done = 0, m_sent = 0;
    int m_cleared = 0, m_skipped = 0; // handhelds
};

/// The channels there are; nothing, with the person told, when there are none to take away.
std::vector<std::string> channelsToClear(AgentSession& session) {
    auto channels = GetChannelIDs(session);
    if (!channels) {
        session.ui().MsgBox("The browser lists can't be read!\r\nNo channels were removed. See the "
                            "log for specifics.",
                            BoxIcon::Stop);
        return {};
    }
    if (channels->empty()) {
        session.log("Browser Clear  found no ChannelIDs to clear");
        session.ui().MsgBox("There are no existing or deleted browser channels to clear",
                            BoxIcon::Information);
    }
    return std::move(*channels);
}

/// The handhelds of whom the person chooses; nullptr, with the reason told, when there are none.
std::shared_ptr<Recordset> targetsToClear(AgentSession& session, TreeModel& tree) {
    session.ui().MsgBox("Select one or more users or distribution lists where \r\nyou want to "
                        "remove any browser channel pushed by zandrel.\r\n\r\nThis will include "
                        "all current browser channel lists \r\nas well as those that have been "
                        "previously deleted.",
                        BoxIcon::Information);
    const auto chosen = TrapSilently([&] {
        return session.ui().ShowAddressBook(
            *session.rdo, {}, "Clear all browser channels for these users", false, true, "Clear");
    });
    if (chosen.empty())
        return nullptr;
    std::shared_ptr<Recordset> targets;
    {
        const WaitCursor wait(session.ui());
        targets = GetTargetsOfEntries(session, tree, chosen);
    }
    if (targets && targets->RecordCount() > 0)
        return targets;
    session.log("Browser Clear  found no valid targets");
    session.ui().MsgBox(targets ? "There were no valid push targets among your selections"
                                : kNoHandhelds,
                        BoxIcon::Exclamation);
    return nullptr;
}

} // namespace

bool DeleteChannelFromTargets(const PushContext& context, std::string_view channelId,
                              ResultDocument& document, std::string_view names,
                              std::string_view pins, std::string_view notifyUrl) {
    if (names.empty() && pins.empty())
        return true;
    const auto targets = names.empty() ? GetTargetsFromPins(context.session, context.tree, pins)
                                       : GetPushTargets(context.session, context.tree, names);
    return !targets || deleteChannel(context, *targets, channelId, document, notifyUrl,
                                     [](const PushTarget&, const std::string&) {});
}

bool DeleteBrowserList(AgentSession& session, TreeModel& tree, const PushForms::Window& window,
                       const EntryID& id) {
    const auto failed = [&](const Trapped& error) {
        session.log("DeleteBrowserList:" + error.text());
    };
    RDOMessagePtr list;
    std::string name;
    const bool marked = Trap(
        [&] {
            list = GetMessage(session, id);
            if (!list)
                return false;
            name = list->Subject();
            SetKey(*list, "MBL.Deleted", true);
            list->SetSubject(name + " deleted " + deletionDate(session));
            list->Save();
            return true;
        },
        failed);
    if (marked)
        Trap(
            [&] {
                if (KeyText(*list, "MBL.Type") == kChannelType)
                    deleteFromHandhelds(session, tree, window, *list, name);
            },
            failed);
    return marked;
}

void ClearBrowserChannels(AgentSession& session, TreeModel& tree, const PushForms::Window& window) {
    const auto channels = channelsToClear(session);
    const auto targets = channels.empty() ? nullptr : targetsToClear(session, tree);
    if (!targets)
        return;
    session.log("Browser Clear  found " + std::to_string(channels.size()) +
                " active and delete channels; pushing Browser-Channel-Delete requests for " +
                std::to_string(targets->RecordCount()) + " selected targets");
    if (window)
        window(kImage, [&](WebProgress& progress) {
            return ChannelClearing({session, tree, progress}, *targets, channels).Run();
        });
}

} // namespace kr
