#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "core/ListModel.h"
#include "platform/services/Services.h"
#include "platform/shell/Shell.h"
#include "platform/store/Messages.h"

namespace kr {

class Console;

/// The list of agent servers and what keeps it current. A pass over its rows pings all servers at
/// once and asks the services of those that answer; the answers come from the event loop, and the
/// list may be another one by then: rows are looked up by their key, and a pass ends when the list
/// has changed.
class ServerList : public std::enable_shared_from_this<ServerList> {
public:
    explicit ServerList(Console& console) : m_console(&console) {}
    /// The console goes: walks that are still under way end.
    void Detach() { m_console = nullptr; }

    /// Fills the main list and starts the pass that pings each server.
    void ListServers();
    /// Renews one row from its host message, the ping and the service's state.
    void RefreshServerRow(const std::string& key);
    /// tmrTasks: starts a pass over the rows, which runs after this call. A pass that is still
    /// under way goes on instead.
    void RefreshServerTasks();
    /// The row's service runs, as far as the list knows; false where there is no such row.
    bool Running(const std::string& key) const;
    /// Shows a service state in the row's image.
    void ShowState(const std::string& key, SvcState state);

private:
    struct Server {
        std::string key; // of its row
        std::string name;
    };
    /// One pass over the rows.
    struct Pass {
        uint64_t list = 0;           // the number of the list that it is over
        bool tasks = false;          // it keeps the tasks current, too
        size_t open = 0;             // servers that aren't done yet
        size_t asked = 0;            // services that are being asked
        std::deque<Server> answered; // whose service is still to be asked
    };
    using PassPtr = std::shared_ptr<Pass>;
    void startPass(bool tasks);
    void runPass(const PassPtr& pass);
    void ping(const PassPtr& pass, std::vector<Server> servers);
    void onPing(const PassPtr& pass, const Server& server, const PingReport& report);
    void askServices(const PassPtr& pass);
    void onService(const PassPtr& pass, const std::string& key, SvcState state);
    void rowDone(const PassPtr& pass, const std::string& key);
    bool current(const PassPtr& pass) const;
    bool stuck() const;
    /// Does what an answer brings, but not at once: answers come in bursts, and no turn of the
    /// event loop is to be long. A failure is logged.
    void later(std::function<void()> work);
    void workOff();
    void postWork();

    std::string fill();
    void addRow(RDOMessage& host, std::string_view defaultPolling);
    void probe(const std::string& key);
    void showSilent(const std::string& key);
    void showTask(const std::string& key);
    void fitTexts(const ListRow& row);
    const ListRow* find(const std::string& key) const;
    /// Changes the row of that key if it is still there and something changes by it.
    void change(const std::string& key, const std::function<void(ListRow&)>& edit);

    Console* m_console;
    PassPtr m_pass; // that is under way
    std::deque<std::function<void()>> m_work;
    std::chrono::sys_seconds m_lastStep{};
    size_t m_widestTask = 0; // bytes of the longest texts that the columns were fitted to
    size_t m_widestDetail = 0;
    std::set<std::string> m_refreshing; // rows that RefreshServerRow is at
};

} // namespace kr
