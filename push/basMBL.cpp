#include "push/basMBL.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "core/Text.h"
#include "core/Trap.h"
#include "core/basAgent.h"
#include "core/basDate.h"
#include "core/basStore.h"
#include "core/basText.h"
#include "net/basWeb.h"
#include "push/basHarvest.h"
#include "push/basMDS.h"
#include "push/basTargets.h"
#include "push/basTarn.h"

namespace kr {

namespace {

constexpr int kDefaultMaxContent = 250; // KB, for records of older versions
constexpr std::string_view kNotify = "?cmd=notify";

Time localNow(const AgentSession& session) {
    const Clock& clock = session.platform.clock;
    return UTCToLocal(clock.now(), clock);
}

/// Without the ";" at both ends.
std::string strip(std::string_view list) {
    while (list.starts_with(';'))
        list.remove_prefix(1);
    while (list.ends_with(';'))
        list.remove_suffix(1);
    return std::string(list);
}

/// One push of one list.
class ListPush {
public:
    ListPush(const PushContext& context, RDOMessage& list)
        : m_session(context.session), m_tree(context.tree), m_progress(context.progress),
          m_list(list), m_document(CreateResultDocument("", "")) {}

    /// False when the person stopped it.
    bool Run();

private:
    struct Target {
        std::string name, email, pin, server;
    };
    void read();
    void findTarn();
    bool assemble();
    bool fetch();
    bool walk();
    void preparePush();
    bool pushTo(const Target& target);
    bool send(const Target& target, const std::string& destination);
    bool sendChildren(const Target& target, const std::string& destination);
    bool deleteRemoved();
    void finish();
    bool cancelled() const { return m_progress.Cancelled(); }
    Time localNow();
    void log(const std::string& text) { m_session.log("PushToList: " + text); }
    void line(const std::string& text) { m_progress.AppendResult(text); }

    AgentSession& m_session;
    TreeModel& m_tree;
    WebProgress& m_progress;
    RDOMessage& m_list;
    ResultDocument m_document;

    std::string m_name, m_type;
    bool m_isChannel = false;
    std::string m_channelId, m_title, m_description, m_url, m_lastPushList, m_targetNames;
    std::string m_tarn, m_readIcon, m_unreadIcon;
    bool m_cache = false;
    int m_expire = 0, m_depth = 0, m_maxContent = 0;

    std::shared_ptr<Recordset> m_targets;
    std::optional<ProxySettings> m_proxy; // read when the sending begins
    std::vector<PushContent> m_contents;
    MdsPush m_push; // but for whom it goes to
    std::string m_result, m_pushedList, m_closing;
    Time m_now{}, m_localNow{}; // of the last push
    int m_pushed = 0, m_failed = 0, m_deleted = 0;
};

void ListPush::read() {
    m_name = m_list.Subject();
    const std::string type = KeyText(m_list, "MBL.Type");
    m_isChannel = type == kChannelType;
    m_type = "Browser-" + type;
    m_channelId = KeyText(m_list, "MBL.ChannelID");
    m_title = KeyText(m_list, "MBL.Title");
    m_description = KeyText(m_list, "MBL.Description");
    m_url = KeyText(m_list, "MBL.URL");
    if (m_isChannel) {
        m_lastPushList = KeyText(m_list, "MBL.LastPushList");
        findTarn();
    }
    m_cache = KeyFlag(m_list, "MBL.Cache");
    m_expire = KeyNumber(m_list, "MBL.Expire", 0);
    m_targetNames = KeyText(m_list, "MBL.Target.Email");
    m_depth = KeyNumber(m_list, "MBL.IncludeLinkDepth", 0);
    m_maxContent = KeyNumber(m_list, "MBL.MaxContent", 0);
    if (m_maxContent == 0)
        m_maxContent = kDefaultMaxContent;
    auto stored = LoadResultDocument(m_list.Body(), m_url);
    m_document = stored ? std::move(*stored) : CreateResultDocument(m_channelId, m_url);
}

void ListPush::findTarn() {
    m_tarn = GetTarnURL(m_session);
    if (m_tarn.empty()) {
        log("unable to get TARN URL");
        return;
    }
    log("using TARN URL: " + m_tarn);
    if (m_list.Attachments()->Count() == 0)
        return;
    const std::string icon =
        m_tarn + "?cmd=geticon&listname=" + ReplaceAll(m_name, " ", "+") + "&icontype=";
    m_readIcon = icon + "readicon";
    m_unreadIcon = icon + "unreadicon";
}

bool ListPush::Run() {
    const Log::Burst burst(m_session.log);
    m_session.log("PushToList: pushing " + m_list.Subject() + " on demand");
    if (cancelled())
        return false;
    read();
    if (!assemble())
        return false;
    if (!m_targets || m_targets->RecordCount() < 1) {
        m_closing = "There are no current targets for " + m_name;
        if (m_isChannel)
            m_closing += "\r\nThis channel will be deleted from any handhelds that were\r\n"
                         " removed from the list since the last push.";
    } else if (!fetch() || !walk()) {
        return false;
    }
    if (m_type.starts_with("Browser-Channel") && !deleteRemoved())
        return false;
    finish();
    return true;
}

bool ListPush::assemble() {
    if (m_targetNames.empty())
        return true;
    m_progress.ShowStep("Assembling push targets ...");
    if (cancelled())
        return false;
    m_targets = GetPushTargets(m_session, m_tree, m_targetNames);
    return !cancelled();
}

/// The page and what it links to, for a list that carries its content.
bool ListPush::fetch() {
    m_progress.SetValue(0, static_cast<int>(m_targets->RecordCount()));
    CanonizeProtocol(m_session, m_url);
    if (!m_cache)
        return true;
    m_progress.ShowStep("Fetching content...");
    line("Fetching content for " + m_name + "...");
    m_contents = GetPushContent({m_session, m_progress, m_document}, m_url, m_depth, m_maxContent);
    if (cancelled())
        return false;
    if (m_contents.empty()) { // the handheld fetches it by itself then
        log("failed to retrieve content from " + m_url);
        return true;
    }
    log("retrieved " + std::to_string(m_contents.front().Content.size()) + " bytes from " + m_url);
    return true;
}

bool ListPush::walk() {
    const auto text = [&](TargetField field) { return std::string(m_targets->Text(Index(field))); };
    const auto total = static_cast<int>(m_targets->RecordCount());
    int done = 0;
    m_proxy = GetProxySettings(m_session);
    preparePush();
    for (m_targets->MoveFirst(); !m_targets->EOF_(); m_targets->MoveNext()) {
        if (cancelled())
            return false;
        const Target target{text(TargetField::Name), text(TargetField::Email),
                            text(TargetField::PIN), text(TargetField::PushServer)};
        if (target.server.empty()) {
            ++m_failed;
            log("unable to push to " + target.name + "; no PushServer");
            line(target.name + ": no Push server");
        } else if (target.pin.empty()) {
            ++m_failed;
            log(" unable to push to " + target.name + "; no PIN");
            line(target.name + ": no PIN");
        } else if (!pushTo(target)) {
            return false;
        }
        m_progress.SetValue(++done, total);
    }
    return true;
}

/// The zone is looked up once a second: it costs as much as a line of the log.
Time ListPush::localNow() {
    if (const Time now = m_session.platform.clock.now(); now != m_now) {
        m_now = now;
        m_localNow = kr::localNow(m_session);
    }
    return m_localNow;
}

/// What all targets get.
void ListPush::preparePush() {
    m_push.pushType = m_type;
    m_push.title = m_title;
    m_push.contentUrl = m_url;
    m_push.channelId = m_channelId;
    m_push.description = m_description;
    m_push.cache = m_cache;
    m_push.readIcon = m_readIcon;
    m_push.unreadIcon = m_unreadIcon;
    m_push.expireDays = m_expire;
    if (!m_contents.empty()) {
        m_push.body = m_contents.front().Content;
        m_push.contentType = m_contents.front().ContentType;
    }
    m_push.notifyUrl = m_tarn + std::string(kNotify); // also without an engine
}

bool ListPush::send(const Target& target, const std::string& destination) {
    m_push.pushServer = target.server;
    m_push.destination = destination;
    if (!PushToMDS(m_session, m_push, m_result, &*m_proxy))
        return false;
    ++m_pushed;
    m_pushedList += destination + ";";
    return true;
}

/// By PIN, and once more by address where that fails.
bool ListPush::pushTo(const Target& target) {
    m_progress.ShowStep("Pushing " + m_name + " to " + target.name + "...");
    m_session.ui().DoEvents();
    if (cancelled())
        return false;
    std::string destination;
    if (send(target, target.pin)) {
        destination = target.pin;
    } else {
        if (cancelled())
            return false;
        log("push failed for PIN " + target.pin + ", trying Email " + target.email);
        if (send(target, target.email))
            destination = target.email;
        else
            ++m_failed;
    }
    AppendTarget(m_session, m_document, target.pin, target.email, m_type, localNow(), m_result);
    if (!destination.empty() && !sendChildren(target, destination))
        return false;
    line(target.name + ": " + m_result);
    return true;
}

/// The other pages go into the browser's cache; nobody looks at what became of them.
bool ListPush::sendChildren(const Target& target, const std::string& destination) {
    for (size_t i = 1; i < m_contents.size(); ++i) {
        if (cancelled())
            return false;
        MdsPush push;
        push.pushServer = target.server;
        push.destination = destination;
        push.pushType = kBrowserContent;
        push.contentUrl = m_contents[i].URL();
        push.channelId = m_channelId;
        push.cache = true;
        push.expireDays = m_expire;
        push.body = m_contents[i].Content;
        push.contentType = m_contents[i].ContentType;
        push.notifyUrl = m_tarn + std::string(kNotify);
        PushToMDS(m_session, push, m_result, &*m_proxy);
    }
    return true;
}

bool ListPush::deleteRemoved() {
    m_session.log("assembling delete list for targets that have been removed since the last push");
    if (cancelled())
        return false;
    const std::string removed =
        GetRemovedTargets(m_targets ? *m_targets : *CreateTargetRecordset(), m_lastPushList);
    if (removed.empty())
        return true;
    m_deleted = static_cast<int>(Split(removed, ";").size());
    const std::string count = std::to_string(m_deleted);
    line("Deleting " + m_name + " from " + count + " devices...");
    m_session.log("Deleting " + m_name + " from " + count +
                  " handhelds that were removed from the list since the last push");
    DeleteChannelFromTargets(m_session, m_tree, m_channelId, m_document, "", removed,
                             m_tarn + std::string(kNotify));
    return true;
}

void ListPush::finish() {
    Trap(
        [&] {
            if (m_pushed > 0) {
                m_closing = "Successfully pushed to " + std::to_string(m_pushed) + " targets\r\n";
                if (m_isChannel)
                    SetKey(m_list, "MBL.LastPushList", m_pushedList);
                SetKey(m_list, "MBL.LastPushDate", m_session.platform.clock.now());
                m_list.Save();
            }
            if (m_failed > 0)
                m_closing += std::to_string(m_failed) +
                             " recipients did not receive the push who\r\neither do not have a "
                             "BlackBerry\r\nor do not have a defined MDS push server.";
            SaveResultDocument(m_list, m_document);
        },
        [&](const Trapped& error) {
            log("unable to save the results of " + m_name + ": " + error.text());
        });
    log("ListName = " + m_name + "; Type=" + m_type + "; Pushed=" + std::to_string(m_pushed) +
        "; Failed=" + std::to_string(m_failed) + "; Deleted=" + std::to_string(m_deleted));
    line(m_closing);
}

/// Takes one channel from one handheld.
void deleteChannel(AgentSession& session, const std::string& server, const std::string& pin,
                   std::string_view channelId, std::string_view notifyUrl, std::string& result,
                   const ProxySettings& proxy) {
    MdsPush push;
    push.pushServer = server;
    push.destination = pin;
    push.pushType = kBrowserChannelDelete;
    push.channelId = channelId;
    push.notifyUrl = notifyUrl;
    PushToMDS(session, push, result, &proxy);
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

bool PushToList(const PushContext& context, RDOMessage& list) {
    return Trap([&] { return ListPush(context, list).Run(); },
                [&](const Trapped& error) { context.session.log("PushToList: " + error.text()); });
}

std::string GetRemovedTargets(const Recordset& targets, std::string_view lastPushList) {
    const auto present = targets.Clone();
    std::string removed;
    for (const std::string& entry : Split(strip(lastPushList), ";")) {
        if (entry.empty())
            continue;
        present->SetFilter(LikeFilter("PIN", entry));
        if (present->EOF_())
            removed += ";" + entry;
    }
    return strip(removed);
}

void DeleteChannelFromTargets(AgentSession& session, TreeModel& tree, std::string_view channelId,
                              ResultDocument& document, std::string_view names,
                              std::string_view pins, std::string_view notifyUrl) {
    if (names.empty() && pins.empty())
        return;
    const auto targets = names.empty() ? GetTargetsFromPins(session, tree, pins)
                                       : GetPushTargets(session, tree, names);
    if (!targets)
        return;
    const auto text = [&](TargetField field) { return std::string(targets->Text(Index(field))); };
    const ProxySettings proxy = GetProxySettings(session);
    for (targets->MoveFirst(); !targets->EOF_(); targets->MoveNext()) {
        const std::string server = text(TargetField::PushServer);
        if (server.empty())
            continue;
        const std::string pin = text(TargetField::PIN), email = text(TargetField::Email);
        session.log("Pushing Browser-Channel-Delete request to " + pin +
                    (email.empty() ? "" : " " + email));
        std::string result;
        deleteChannel(session, server, pin, channelId, notifyUrl, result, proxy);
        AppendTarget(session, document, pin, email, kBrowserChannelDelete, localNow(session),
                     result);
    }
}

std::vector<std::string> GetChannelIDs(AgentSession& session) {
    std::vector<std::string> channels;
    const RDOFolderPtr folder = GetMblFolder(session);
    if (!folder)
        return channels;
    for (const EntryID& id : GetMessageIDs(session, *folder, kMblClass, "")) {
        const RDOMessagePtr list = GetMessage(session, id);
        const std::string channel = list ? KeyText(*list, "MBL.ChannelID") : "";
        if (!channel.empty())
            channels.push_back(channel);
    }
    return channels;
}

bool DeleteBrowserList(AgentSession& session, TreeModel& tree, const EntryID& id) {
    return Trap(
        [&] {
            const RDOMessagePtr list = GetMessage(session, id);
            if (!list)
                return false;
            SystemTime now;
            DateToSystemTime(localNow(session), now);
            std::array<char, 40> date{};
            // kept: hours and seconds, without the minutes
            std::snprintf(date.data(), date.size(), "%04d-%02d-%02d %02d:%02d", now.year, now.month,
                          now.day, now.hour, now.second);
            SetKey(*list, "MBL.Deleted", true);
            list->SetSubject(list->Subject() + " deleted " + date.data());
            const std::string url = KeyText(*list, "MBL.URL");
            const std::string channel = KeyText(*list, "MBL.ChannelID");
            list->Save();
            if (KeyText(*list, "MBL.Type") != kChannelType)
                return true;
            auto document = LoadResultDocument(list->Body(), url);
            if (!document)
                document = CreateResultDocument(channel, url);
            DeleteChannelFromTargets(session, tree, channel, *document,
                                     KeyText(*list, "MBL.Target.Email"), "",
                                     GetTarnURL(session) + std::string(kNotify));
            SaveResultDocument(*list, *document);
            return true;
        },
        [&](const Trapped& error) { session.log("DeleteBrowserList:" + error.text()); });
}

void ClearBrowserChannels(AgentSession& session, TreeModel& tree) {
    const auto channels = GetChannelIDs(session);
    if (channels.empty()) {
        session.log("Browser Clear  found no ChannelIDs to clear");
        session.ui().MsgBox("There are no existing or deleted browser channels to clear",
                            BoxIcon::Information);
        return;
    }
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
        return;
    const auto targets = GetTargetsOfEntries(session, tree, chosen);
    if (!targets || targets->RecordCount() == 0) {
        session.log("Browser Clear  found no valid targets");
        session.ui().MsgBox("There were no valid push targets among your selections",
                            BoxIcon::Exclamation);
        return;
    }
    session.log("Browser Clear  found " + std::to_string(channels.size()) +
                " active and delete channels; pushing Browser-Channel-Delete requests for " +
                std::to_string(targets->RecordCount()) + " selected targets");
    const WaitCursor wait(session.ui());
    const std::string notify = GetTarnURL(session) + std::string(kNotify);
    const ProxySettings proxy = GetProxySettings(session);
    int cleared = 0, skipped = 0;
    for (targets->MoveFirst(); !targets->EOF_(); targets->MoveNext()) {
        const std::string server(targets->Text(Index(TargetField::PushServer)));
        if (server.empty()) {
            ++skipped;
            session.log("Browser Clear  skipping " +
                        std::string(targets->Text(Index(TargetField::Name))) +
                        ": unable to determing PushServer");
            continue;
        }
        ++cleared;
        std::string result;
        for (const std::string& channel : channels)
            deleteChannel(session, server, std::string(targets->Text(Index(TargetField::PIN))),
                          channel, notify, result, proxy);
    }
    std::string told = "Requests were pushed to delete " + std::to_string(channels.size()) +
                       " channels from " + std::to_string(cleared) + " handhelds.";
    if (skipped > 0)
        told += "\r\nNo push server could be found for " + std::to_string(skipped) +
                " handhelds. See the log for specifics.";
    session.ui().MsgBox(told, BoxIcon::Information);
}

std::optional<ListRow> BrowserListRow(AgentSession& session, RDOMessage& list) {
    if (KeyFlag(list, "MBL.Deleted"))
        return std::nullopt;
    const bool channel = KeyText(list, "MBL.Type") == kChannelType;
    ListRow row;
    row.key = list.ID().text();
    row.tag = channel ? "mbl:channel" : "mbl:message";
    row.icon = channel ? "imgGlobe" : "imgBrowserMessage";
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
