#include "platform/directory/ldap/LdapCore.h"

#include <algorithm>
#include <optional>
#include <thread>
#include <utility>

#include "platform/directory/ldap/LdapSearch.h"

namespace kr {

using namespace std::chrono_literals;

namespace {

constexpr auto kSlice = 10ms;
/// Active Directory drops connections after 900 idle seconds.
constexpr auto kIdleTime = 600s;
constexpr size_t kMostIdle = 2;

} // namespace

LdapCore::LdapCore(Registry& registry, Events& events, std::function<void()> idle,
                   std::shared_ptr<EventsGate> gate)
    : m_registry(registry), m_events(events), m_idle(std::move(idle)), m_gate(std::move(gate)) {}

void LdapCore::Wait() {
    m_events.Run(kSlice);
    if (m_idle)
        m_idle();
}

void LdapCore::Acquire(DirectoryQuery::Port port, const Opened& opened) {
    const auto now = LdapConnection::Clock::now();
    std::erase_if(m_idleConnections,
                  [&](const auto& connection) { return now - connection->lastUsed > kIdleTime; });
    const auto found =
        std::find_if(m_idleConnections.begin(), m_idleConnections.end(),
                     [&](const auto& connection) { return connection->port == port; });
    if (found == m_idleConnections.end()) {
        Connect(port, opened);
        return;
    }
    auto connection = *found;
    m_idleConnections.erase(found);
    connection->reused = true;
    opened(std::move(connection), nullptr);
}

void LdapCore::Connect(DirectoryQuery::Port port, Opened opened) {
    LdapSettings settings;
    try {
        settings = LdapSettings::Read(m_registry);
    } catch (const PlatformError& error) {
        m_events.Post([opened = std::move(opened), error] { opened(nullptr, &error); });
        return;
    }
    std::thread([settings, port, gate = m_gate, opened = std::move(opened)] {
        LdapConnectionPtr connection;
        std::optional<PlatformError> error;
        try {
            connection = OpenLdap(settings, port);
        } catch (const PlatformError& failed) {
            error = failed;
        }
        gate->Post([connection = std::move(connection), error, opened] {
            opened(connection, error ? &*error : nullptr);
        });
    }).detach();
}

void LdapCore::Release(LdapConnectionPtr connection) {
    if (!isOpen || m_idleConnections.size() >= kMostIdle)
        return;
    connection->lastUsed = LdapConnection::Clock::now();
    m_idleConnections.push_back(std::move(connection));
}

void LdapCore::Close() {
    isOpen = false;
    ++closes;
    for (const auto& search : std::exchange(m_active, {}))
        search->Cancel();
    m_idleConnections.clear();
}

} // namespace kr
