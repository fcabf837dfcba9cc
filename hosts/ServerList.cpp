#include "hosts/ServerList.h"

#include <algorithm>

#include "console/Console.h"
#include "console/ListCounts.h"
#include "core/Trap.h"
#include "core/basAgent.h"
#include "core/basService.h"
#include "core/basStore.h"
#include "hosts/HostKinds.h"
#include "hosts/basHosts.h"

namespace kr {

namespace {

/// A ping ends after 2 seconds and a query after 3. A walk that is longer at one row lies below a
/// dialog that was opened meanwhile, and another one takes its place.
constexpr auto kStuckAfter = std::chrono::seconds(6);

bool same(const ListRow& a, const ListRow& b) {
    return a.texts == b.texts && a.icon == b.icon && a.tag == b.tag;
}

} // namespace

// --- the list

void ServerList::ListServers() {
    m_widestTask = m_widestDetail = 0;
    m_console->LoadList({"Querying servers, please wait...", "loading servers", ServerColumns(),
                         "1 server", " servers", [this](Console&) { return fill(); }});
    if (!m_console || m_console->CurrentTag() != kServerRoot)
        return; // another node was clicked meanwhile
    m_walking = false;
    startWalk(&ServerList::probe);
}

std::string ServerList::fill() {
    AgentSession& session = m_console->session();
    if (!session.agentInfo)
        return "The agent mailbox can't be read.";
    const std::string polling = DefaultPolling(session);
    for (const EntryID& id : RequireMessageIDs(*session.agentInfo, kHostClass, "")) {
        if (m_console->LoadOvertaken())
            break;
        std::string subject;
        Trap(
            [&] {
                auto host = session.rdo->GetMessageFromID(id, {});
                subject = host->Subject();
                addRow(*host, polling);
            },
            [&](const Trapped& trapped) {
                session.log("error for " + subject + ": " + trapped.text());
            });
    }
    return {};
}

void ServerList::addRow(RDOMessage& host, std::string_view defaultPolling) {
    ListRow row;
    row.key = host.ID().text();
    row.tag = kServer;
    row.icon = kServerUnknown;
    row.texts = ServerTexts(host, defaultPolling);
    m_console->AddRow(std::move(row));
}

const ListRow* ServerList::find(const std::string& key) const {
    const ListModel& list = m_console->list();
    const size_t at = list.Find(key);
    return at == ListModel::npos ? nullptr : &list.At(at);
}

void ServerList::change(const std::string& key, const std::function<void(ListRow&)>& edit) {
    if (!m_console || m_console->CurrentTag() != kServerRoot)
        return;
    ListModel& list = m_console->list();
    const size_t at = list.Find(key);
    if (at == ListModel::npos)
        return;
    ListRow row = list.At(at);
    edit(row);
    if (same(row, list.At(at)))
        return;
    list.Change(at, row);
    fitTexts(row);
    // the menu follows the state of the selected rows
    const auto selected = m_console->GetContextSelection();
    if (std::ranges::find(selected, at) != selected.end())
        m_console->UpdateMenu();
}

/// The columns were fitted while nothing ran: they grow with the texts.
void ServerList::fitTexts(const ListRow& row) {
    if (row.texts.size() < kServerColumns)
        return;
    const size_t task = row.texts[kServerTask].size();
    const size_t detail = row.texts[kServerSubTask].size();
    if (task <= m_widestTask && detail <= m_widestDetail)
        return;
    m_widestTask = std::max(m_widestTask, task);
    m_widestDetail = std::max(m_widestDetail, detail);
    m_console->view().FitColumns();
}

// --- one row

bool ServerList::probe(const std::string& key) {
    const ListRow* row = find(key);
    if (!row)
        return true;
    const std::string name = row->texts[kServerName];
    AgentSession& session = m_console->session();
    if (!PingHost(session, name)) {
        change(key, [](ListRow& silent) {
            silent.tag = kServerNoPing;
            silent.icon = kServerUnknown;
        });
        return true;
    }
    ShowState(key, QueryService(session, HostPath(name), kAgentService));
    return true;
}

void ServerList::ShowState(const std::string& key, SvcState state) {
    change(key, [state](ListRow& row) { row.icon = ServerIcon(state); });
}

void ServerList::showTask(const std::string& key) {
    const ListRow* row = m_console ? find(key) : nullptr;
    if (!row)
        return;
    std::string task, detail, version = row->texts[kServerVersion];
    if (row->icon == kServerOn) {
        if (auto host = GetMessage(m_console->session(), EntryID(key))) {
            task = GetCurrentTask(*host);
            detail = GetTaskDetail(*host);
            version = KeyText(*host, "AgentVersion");
        }
    }
    change(key, [&](ListRow& shown) {
        shown.texts[kServerTask] = task;
        shown.texts[kServerSubTask] = detail;
        shown.texts[kServerVersion] = version;
    });
}

void ServerList::RefreshServerRow(const std::string& key) {
    // the ping below runs events, and they may ask for the same row again
    if (!m_console || !find(key) || !m_refreshing.insert(key).second)
        return;
    const auto keep = shared_from_this();
    AgentSession& session = m_console->session();
    Trap(
        [&] {
            if (auto host = GetMessage(session, EntryID(key))) {
                auto texts = ServerTexts(*host, DefaultPolling(session));
                change(key, [&](ListRow& row) {
                    std::copy(texts.begin() + kServerVersion, texts.begin() + kServerTask,
                              row.texts.begin() + kServerVersion);
                });
            }
            probe(key);
            showTask(key);
        },
        [&](const Trapped& trapped) { session.log("RefreshServerRow " + trapped.text()); });
    m_refreshing.erase(key);
}

// --- walks

void ServerList::RefreshServerTasks() {
    if (!m_walking || stuck())
        startWalk(&ServerList::refreshTask);
}

bool ServerList::stuck() const {
    const Time now = m_console->session().platform.clock.now();
    return now < m_lastStep || now - m_lastStep >= kStuckAfter;
}

/// The walk runs from the event loop and not from here: the caller may be the timer, which doesn't
/// tick again below its own tick, and a walk takes two seconds for each silent server.
void ServerList::startWalk(Step step) {
    const uint64_t walk = ++m_walk;
    m_walking = true;
    m_lastStep = m_console->session().platform.clock.now();
    m_console->session().platform.events.Post([self = weak_from_this(), walk, step] {
        if (const auto list = self.lock())
            list->runWalk(walk, step);
    });
}

bool ServerList::current(uint64_t list) const {
    return m_console && m_console->ListNumber() == list && m_console->CurrentTag() == kServerRoot &&
           m_console->session().agentInfo;
}

void ServerList::runWalk(uint64_t walk, Step step) {
    if (!m_console || walk != m_walk)
        return;
    AgentSession& session = m_console->session();
    const uint64_t list = m_console->ListNumber();
    std::vector<std::string> keys;
    for (size_t i = 0; i < m_console->list().Count(); ++i)
        keys.push_back(m_console->list().At(i).key);
    Trap(
        [&] {
            for (const std::string& key : keys) {
                if (walk != m_walk || !current(list) || !(this->*step)(key))
                    return;
                if (walk != m_walk || !current(list))
                    return;
                m_lastStep = session.platform.clock.now();
                session.ui().DoEvents();
            }
        },
        [&](const Trapped& trapped) { session.log("RefreshServerTasks " + trapped.text()); });
    if (walk == m_walk)
        m_walking = false;
}

bool ServerList::refreshTask(const std::string& key) {
    const ListRow* row = find(key);
    if (!row)
        return true; // deleted meanwhile
    if (row->tag != kServer)
        return row->tag == kServerNoPing;
    AgentSession& session = m_console->session();
    const std::string name = row->texts[kServerName];
    if (row->icon != kServerUnknown && !PingHost(session, name)) {
        change(key, [](ListRow& silent) {
            silent.tag = kServerNoPing;
            silent.icon = kServerUnknown;
        });
    } else {
        session.ui().DoEvents();
        ShowState(key, QueryService(session, HostPath(name), kAgentService));
        session.ui().DoEvents();
    }
    showTask(key);
    return true;
}

} // namespace kr
