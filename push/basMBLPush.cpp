#include "push/basMBLPush.h"

#include <algorithm>

#include "core/Text.h"
#include "core/Trap.h"
#include "core/basAgent.h"
#include "core/basStore.h"
#include "core/basText.h"
#include "net/basWeb.h"
#include "push/basHarvest.h"
#include "push/basMBL.h"
#include "push/basMBLDelete.h"
#include "push/basMDS.h"
#include "push/basTargets.h"
#include "push/basTarn.h"

namespace kr {

namespace {

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
        : m_context(context), m_session(context.session), m_progress(context.progress),
          m_list(list), m_document(CreateResultDocument("", "")) {}

    /// False when the person stopped it.
    bool Run();

private:
    void read();
    void findTarn();
    bool assemble();
    bool fetch();
    bool walk();
    void preparePush();
    bool pushTo(const PushTarget& target);
    bool send(const PushTarget& target, const std::string& destination);
    bool sendChildren(const PushTarget& target, const std::string& destination);
    bool deleteRemoved();
    void finish();
    bool cancelled() const { return m_progress.Cancelled(); }
    Time now();
    void log(const std::string& text) { m_session.log("PushToList: " + text); }
    void line(const std::string& text) { m_progress.AppendResult(text); }

    const PushContext& m_context;
    AgentSession& m_session;
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
        m_maxContent = kOldMaxContent;
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
    if (!m_targets && !m_targetNames.empty()) {
        m_closing = std::string(kNoHandhelds) + "\r\nNothing was pushed.";
    } else if (!m_targets || m_targets->RecordCount() < 1) {
        m_closing = "There are no current targets for " + m_name;
        if (m_isChannel)
            m_closing += "\r\nThis channel will be deleted from any handhelds that were\r\n"
                         " removed from the list since the last push.";
    } else if (!fetch() || !walk()) {
        return false;
    }
    const bool known = m_targets || m_targetNames.empty(); // else all would count as removed
    if (known && m_type.starts_with("Browser-Channel") && !deleteRemoved())
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
    m_targets = GetPushTargets(m_session, m_context.tree, m_targetNames);
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
    const auto total = static_cast<int>(m_targets->RecordCount());
    int done = 0;
    m_proxy = GetProxySettings(m_session);
    preparePush();
    for (m_targets->MoveFirst(); !m_targets->EOF_(); m_targets->MoveNext()) {
        if (cancelled())
            return false;
        const PushTarget target = TargetOf(*m_targets);
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
Time ListPush::now() {
    if (const Time utc = m_session.platform.clock.now(); utc != m_now) {
        m_now = utc;
        m_localNow = LocalNow(m_session);
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
    m_push.notifyUrl = m_tarn + std::string(kNotifyQuery); // also without an engine
}

bool ListPush::send(const PushTarget& target, const std::string& destination) {
    m_push.pushServer = target.server;
    m_push.destination = destination;
    if (!PushToMDS(m_session, m_push, m_result, &*m_proxy))
        return false;
    ++m_pushed;
    m_pushedList += destination + ";";
    return true;
}

/// By PIN, and once more by address where that fails.
bool ListPush::pushTo(const PushTarget& target) {
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
    AppendTarget(m_session, m_document, target.pin, target.email, m_type, now(), m_result);
    if (!destination.empty() && !sendChildren(target, destination))
        return false;
    line(target.name + ": " + m_result);
    return true;
}

/// The other pages go into the browser's cache; nobody looks at what became of them.
bool ListPush::sendChildren(const PushTarget& target, const std::string& destination) {
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
        push.notifyUrl = m_tarn + std::string(kNotifyQuery);
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
    // one that was not asked yet stands in the list of the last push, as nothing is saved then
    return DeleteChannelFromTargets(m_context, m_channelId, m_document, "", removed,
                                    m_tarn + std::string(kNotifyQuery));
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

} // namespace

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

} // namespace kr
