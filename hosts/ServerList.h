#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <string_view>

#include "core/ListModel.h"
#include "platform/services/Services.h"
#include "platform/store/Messages.h"

namespace kr {

class Console;

/// The list of agent servers and what keeps it current. Pings and service queries run events while
/// they wait, so the list may be another one after each of them: rows are looked up by their key,
/// and a walk through them ends when the list has changed.
class ServerList : public std::enable_shared_from_this<ServerList> {
public:
    explicit ServerList(Console& console) : m_console(&console) {}
    /// The console goes: walks that are still under way end.
    void Detach() { m_console = nullptr; }

    /// Fills the main list and starts the walk that pings each server.
    void ListServers();
    /// Renews one row from its host message, the ping and the service's state.
    void RefreshServerRow(const std::string& key);
    /// tmrTasks: starts a pass over the rows, which runs after this call. A pass that is still
    /// under way goes on instead.
    void RefreshServerTasks();
    /// Shows a service state in the row's image.
    void ShowState(const std::string& key, SvcState state);

private:
    /// What a walk does with a row; false ends it.
    using Step = bool (ServerList::*)(const std::string& key);
    void startWalk(Step step);
    void runWalk(uint64_t walk, Step step);
    bool stuck() const;
    bool current(uint64_t list) const;

    std::string fill();
    void addRow(RDOMessage& host, std::string_view defaultPolling);
    bool probe(const std::string& key);
    bool refreshTask(const std::string& key);
    void showTask(const std::string& key);
    void fitTexts(const ListRow& row);
    const ListRow* find(const std::string& key) const;
    /// Changes the row of that key if it is still there and something changes by it.
    void change(const std::string& key, const std::function<void(ListRow&)>& edit);

    Console* m_console;
    uint64_t m_walk = 0; // number of the newest walk
    bool m_walking = false;
    std::chrono::sys_seconds m_lastStep{};
    size_t m_widestTask = 0; // bytes of the longest texts that the columns were fitted to
    size_t m_widestDetail = 0;
    std::set<std::string> m_refreshing; // rows that RefreshServerRow is at
};

} // namespace kr
