#pragma once

#include <functional>
#include <memory>
#include <set>
#include <vector>

#include "platform/directory/ldap/LdapConnection.h"

namespace kr {

class LdapSearch;

/// What the searches of one Directory share: settings, idle connections, the list of what runs.
class LdapCore : public std::enable_shared_from_this<LdapCore> {
public:
    using Opened = std::function<void(LdapConnectionPtr, const PlatformError*)>;

    LdapCore(Registry& registry, Events& events, std::function<void()> idle,
             std::shared_ptr<EventsGate> gate);

    Events& events() { return m_events; }
    /// One slice of waiting.
    void Wait();

    /// Gives an idle connection at once, else a new one while events run.
    void Acquire(DirectoryQuery::Port port, const Opened& opened);
    /// Always a new one.
    void Connect(DirectoryQuery::Port port, Opened opened);
    /// Keeps a healthy connection for the next search.
    void Release(LdapConnectionPtr connection);

    void Add(std::shared_ptr<LdapSearch> search) { m_active.insert(std::move(search)); }
    void Remove(const std::shared_ptr<LdapSearch>& search) { m_active.erase(search); }

    bool isOpen = false;
    /// Tells what was begun before a Close from what comes after it.
    unsigned closes = 0;
    /// Ends all searches without a further call and drops all connections.
    void Close();

private:
    Registry& m_registry;
    Events& m_events;
    std::function<void()> m_idle;
    std::shared_ptr<EventsGate> m_gate;
    std::vector<LdapConnectionPtr> m_idleConnections;
    std::set<std::shared_ptr<LdapSearch>> m_active;
};

} // namespace kr
