#pragma once

#include <memory>
#include <string>

#include "core/AgentSession.h"
#include "platform/store/sqlite/Organisation.h"
#include "tests/fakes/FakeDatabase.h"
#include "tests/fakes/FakeHttp.h"
#include "tests/fakes/FakePlatform.h"
#include "tests/fakes/ScriptedUi.h"

namespace kr {

/// A clean world for one test: a temporary folder, a store file with a small organisation, the real
/// store and registry over it, and scripted twins of everything else.
///
/// The organisation: mailboxes "agentbox" (Agent Mailbox, agentbox@example.test), "alice" (Alice
/// Adams), "obrien" (Séan O'Brien), "bob" (Bob Baker); public folders with a folder "Shared" and
/// below it "R & D"; the lists "Sales" (alice, bob, Nested), "Nested" (obrien, Sales: it holds its
/// parent), the query-based list "Everybody"; the contact "Carol Contact" (carol@partner.test).
/// Server name "MAIL01", registered; profile "Agent Profile" leads to agentbox on MAIL01.
class World {
public:
    World();
    ~World();
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    const std::string& folder() const { return m_folder; }
    std::string storePath() const { return m_folder + "/org.kr"; }
    std::string logPath() const { return m_folder + "/KR-Admin.log"; }
    /// The whole log as written until now.
    std::string log() const;
    bool logHas(std::string_view text) const { return log().find(text) != std::string::npos; }

    /// Logs the session on to agentbox on MAIL01, without anything of DoLogon.
    void LogOn();
    /// LogOn, and the agent's folders, agent message and AgentMsgID as a configured mailbox has.
    void LogOnConfigured();
    /// A second, independent session on the same file, as another program would have.
    RDOSessionPtr OtherSession(std::string_view alias = "agentbox");
    /// Adds a user record to zandrelUserInfo; needs LogOnConfigured.
    EntryID AddUserRecord(std::string_view email, std::string_view displayName);
    /// The address entry of that alias, list name or contact.
    AddressEntryPtr Entry(std::string_view name);

    std::unique_ptr<Registry> registry;
    std::unique_ptr<StoreLibrary> store;
    std::unique_ptr<Events> events;
    ScriptedUi ui;
    FakeServices services;
    FakeDirectory directory;
    FakeShell shell;
    FakeDatabase database;
    FakeHttp http;
    FakeSecrets secrets;
    SettableClock clock;
    std::unique_ptr<Platform> platform;
    std::unique_ptr<AgentSession> session;

private:
    void makeOrganisation();
    std::string m_folder;
};

} // namespace kr
