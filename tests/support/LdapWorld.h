#pragma once

#include <memory>

#include "platform/directory/ldap/LdapDirectory.h"
#include "tests/support/DirectoryFixture.h"
#include "tests/support/World.h"

namespace kr {

/// A World whose directory is asked through LDAP, with a session that is logged on. Its events may
/// be those of another kind, which must outlive it.
class LdapWorld {
public:
    explicit LdapWorld(Events* events = nullptr)
        : m_provider(MakeLdapDirectory(*world.registry, events ? *events : *world.events)) {
        world.LogOn();
        const Platform& p = *world.platform;
        m_platform = std::make_unique<Platform>(
            Platform{p.store, p.registry, p.ui, events ? *events : p.events, p.services,
                     *m_provider, p.shell, p.database, p.http, p.secrets, p.clock});
        m_session = std::make_unique<AgentSession>(*m_platform, world.logPath());
        m_session->rdo = world.session->rdo;
    }

    void Use(const DirectoryFixture& server) { server.Configure(*world.registry); }
    AgentSession& session() { return *m_session; }

    World world;

private:
    std::unique_ptr<DirectoryProvider> m_provider;
    std::unique_ptr<Platform> m_platform;
    std::unique_ptr<AgentSession> m_session;
};

} // namespace kr
