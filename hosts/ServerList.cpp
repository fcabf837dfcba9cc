#include "hosts/ServerList.h"

#include <algorithm>
#include <utility>

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

/// Pings and queries end after 2 seconds each: a pass that has heard nothing for so long has lost
/// an answer, and another one takes its place.
constexpr auto kStuckAfter = std::chrono::seconds(6);

/// Services that are asked at once: a query may start a program, and may take its full time where a
/// computer answers pings only.
constexpr size_t kMostQueries = 32;

/// Answers are worked off for so long in one turn of the event loop.
constexpr auto kTurn = std::chrono::milliseconds(8);

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
    startPass(false);
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

void ServerList::probe(const std::string& key) {
    const ListRow* row = find(key);
    if (!row)
        return;
    const std::string name = row->texts[kServerName];
    AgentSession& session = m_console->session();
    if (PingHost(session, name))
        ShowState(key, QueryService(session, HostPath(name), kAgentService));
    else
        showSilent(key);
}

void ServerList::showSilent(const std::string& key) {
    change(key, [](ListRow& silent) {
        silent.tag = kServerNoPing;
        silent.icon = kServerUnknown;
    });
}

bool ServerList::Running(const std::string& key) const {
    const ListRow* row = m_console ? find(key) : nullptr;
    return row && row->icon == kServerOn;
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

// --- passes

void ServerList::RefreshServerTasks() {
    if (!m_pass || !current(m_pass) || stuck())
        startPass(true);
}

bool ServerList::stuck() const {
    const Time now = m_console->session().platform.clock.now();
    return now < m_lastStep || now - m_lastStep >= kStuckAfter;
}

/// The pass runs from the event loop and not from here, so that the list stands before its first
/// server is asked.
void ServerList::startPass(bool tasks) {
    m_pass = std::make_shared<Pass>(Pass{m_console->ListNumber(), tasks, 0, 0, {}});
    m_lastStep = m_console->session().platform.clock.now();
    later([this, pass = m_pass] { runPass(pass); });
}

void ServerList::later(std::function<void()> work) {
    m_work.push_back(std::move(work));
    if (m_work.size() == 1)
        postWork();
}

void ServerList::postWork() {
    m_console->session().platform.events.Post([self = weak_from_this()] {
        if (const auto list = self.lock())
            list->workOff();
    });
}

void ServerList::workOff() {
    const auto end = std::chrono::steady_clock::now() + kTurn;
    while (m_console && !m_work.empty() && std::chrono::steady_clock::now() < end) {
        Trap(m_work.front(), [this](const Trapped& trapped) {
            m_console->session().log("RefreshServerTasks " + trapped.text());
        });
        m_work.pop_front();
    }
    if (m_console && !m_work.empty())
        postWork();
}

bool ServerList::current(const PassPtr& pass) const {
    return m_console && m_pass == pass && m_console->ListNumber() == pass->list &&
           m_console->CurrentTag() == kServerRoot && m_console->session().agentInfo;
}

void ServerList::runPass(const PassPtr& pass) {
    if (!current(pass))
        return;
    std::vector<Server> toPing;
    const ListModel& list = m_console->list();
    for (size_t i = 0; i < list.Count(); ++i) {
        const ListRow& row = list.At(i);
        if (pass->tasks && row.tag == kServerNoPing)
            continue;
        if (pass->tasks && row.tag != kServer)
            break;
        // a row that is still unknown is asked for its service without a ping
        const bool known = !pass->tasks || row.icon != kServerUnknown;
        Server server{row.key, row.texts[kServerName]};
        if (known)
            toPing.push_back(std::move(server));
        else
            pass->answered.push_back(std::move(server));
    }
    pass->open = toPing.size() + pass->answered.size();
    if (pass->open == 0)
        return m_pass.reset();
    askServices(pass);
    ping(pass, std::move(toPing));
}

void ServerList::ping(const PassPtr& pass, std::vector<Server> servers) {
    std::vector<std::string> names;
    for (const Server& server : servers)
        names.push_back(server.name);
    m_console->session().platform.shell.PingAll(
        names, [self = weak_from_this(), pass,
                servers = std::move(servers)](size_t place, const PingReport& report) {
            const auto list = self.lock();
            if (list && list->current(pass))
                list->later([raw = list.get(), pass, server = servers[place], report] {
                    raw->onPing(pass, server, report);
                });
        });
}

void ServerList::onPing(const PassPtr& pass, const Server& server, const PingReport& report) {
    if (!current(pass))
        return;
    m_lastStep = m_console->session().platform.clock.now();
    if (report.outcome == PingOutcome::Answered) {
        pass->answered.push_back(server);
        askServices(pass);
    } else {
        LogSilence(m_console->session(), server.name, report);
        showSilent(server.key);
        rowDone(pass, server.key);
    }
}

void ServerList::askServices(const PassPtr& pass) {
    while (current(pass) && pass->asked < kMostQueries && !pass->answered.empty()) {
        const Server server = std::move(pass->answered.front());
        pass->answered.pop_front();
        ++pass->asked;
        m_console->session().platform.services.Query(
            HostPath(server.name), kAgentService,
            [self = weak_from_this(), pass, key = server.key](SvcState state, const std::string&) {
                const auto list = self.lock();
                if (list && list->current(pass))
                    list->later(
                        [raw = list.get(), pass, key, state] { raw->onService(pass, key, state); });
            });
    }
}

void ServerList::onService(const PassPtr& pass, const std::string& key, SvcState state) {
    --pass->asked;
    if (!current(pass))
        return;
    m_lastStep = m_console->session().platform.clock.now();
    ShowState(key, state);
    rowDone(pass, key);
    askServices(pass);
}

void ServerList::rowDone(const PassPtr& pass, const std::string& key) {
    if (pass->tasks)
        showTask(key);
    if (--pass->open == 0 && m_pass == pass)
        m_pass.reset();
}

} // namespace kr
