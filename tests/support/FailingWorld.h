#pragma once

#include "tests/fakes/FailingStore.h"
#include "tests/support/World.h"

namespace kr {

/// A person who presses OK (or Yes) on whatever comes; the boxes are kept.
class CalmUi : public ScriptedUi {
public:
    BoxAnswer MsgBox(std::string_view text, BoxIcon, BoxButtons buttons,
                     std::string_view) override {
        shown.emplace_back(text);
        return buttons == BoxButtons::YesNo ? BoxAnswer::Yes : BoxAnswer::OK;
    }
    std::vector<std::string> shown;
};

/// A session whose store fails when `store.plan()` says so, over the mailboxes of a world. What
/// lies there is prepared, and looked at afterwards, through that world, whose own store never
/// fails.
struct FailingSession {
    World& world;
    CalmUi ui;
    FailingStore store{*world.store};
    Platform platform{store,          *world.registry, ui,          *world.events,
                      world.services, world.directory, world.shell, world.database,
                      world.http,     world.secrets,   world.clock};
    AgentSession session{platform, world.logPath()};

    explicit FailingSession(World& over) : world(over) {
        session.ExAlias = "agentbox";
        session.ExServer = "MAIL01";
    }
    /// Logged on, with the agent's folders and message at hand; the world has to be configured.
    void LogOn() {
        session.rdo = store.CreateSession();
        session.rdo->LogonExchangeMailbox("agentbox", "MAIL01");
        session.agentSMTP = "agentbox@example.test";
        auto root = session.rdo->Stores().DefaultStore()->RootFolder();
        session.agentInfo = root->Folders()->Item("zandrelAgentInfo");
        session.userInfo = session.agentInfo->Folders()->Item("zandrelUserInfo");
        session.AgentMsgID = world.session->AgentMsgID;
    }
};

} // namespace kr
