#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

#include "core/Keys.h"
#include "core/Trap.h"
#include "core/basAgent.h"
#include "core/basProfiles.h"
#include "core/basRegistry.h"
#include "core/basStore.h"
#include "tests/support/FailingWorld.h"

namespace {

using namespace kr;

class StoreFailures : public ::testing::Test {
protected:
    void SetUp() override { world.LogOnConfigured(); }

    RDOMessagePtr add(std::string_view messageClass, std::string_view subject) {
        auto message = world.session->agentInfo->Items()->Add(messageClass);
        message->SetSubject(subject);
        message->Save();
        return message;
    }
    /// The agent messages that lie in the mailbox, as another program sees them.
    std::vector<EntryID> agentMessages() {
        return GetMessageIDs(*world.session, *world.session->agentInfo, kAgentClass, kAgentSubject);
    }
    /// Runs `work` in a logged-on session with every failure in turn: nothing may escape.
    int sweep(const std::function<void(AgentSession&)>& work) {
        return ForEachFailure([&](const Arm& arm) {
            FailingSession failing(world);
            failing.LogOn();
            arm(failing.store.plan());
            EXPECT_NO_THROW(work(failing.session)) << "call " << failing.store.plan().Calls();
            return failing.store.plan().Failed();
        });
    }
    World world;
};

class LogonFailures : public StoreFailures {
protected:
    /// A whole logon; it has to end with a status that is cleared, and either with all at hand or
    /// with the person told.
    bool logOn(const Arm& arm) {
        FailingSession failing(world);
        bool wizard = false;
        failing.session.hooks.activate = [&] { wizard = true; };
        arm(failing.store.plan());
        bool result = false;
        EXPECT_NO_THROW(result = DoLogon(failing.session))
            << "call " << failing.store.plan().Calls();
        EXPECT_EQ("", failing.ui.lastStatus());
        EXPECT_EQ(result, failing.session.userInfo && !failing.session.AgentMsgID.empty());
        EXPECT_TRUE(result || wizard || !failing.ui.shown.empty());
        return failing.store.plan().Failed();
    }
};

TEST_F(LogonFailures, NoneEscapesOrHarmsTheAgentMessage) {
    const int runs = ForEachFailure([this](const Arm& arm) {
        const bool came = logOn(arm);
        EXPECT_EQ(std::vector{world.session->AgentMsgID}, agentMessages());
        return came;
    });
    EXPECT_GT(runs, 60);
}

TEST_F(LogonFailures, TheOldestOfTwoAgentMessagesSurvivesEach) {
    ForEachFailure([this](const Arm& arm) {
        if (agentMessages().size() == 1) {
            std::this_thread::sleep_for(std::chrono::milliseconds(2)); // made later
            add(kAgentClass, kAgentSubject);
        }
        const bool came = logOn(arm);
        const auto left = agentMessages();
        EXPECT_NE(left.end(), std::ranges::find(left, world.session->AgentMsgID));
        return came;
    });
}

TEST_F(LogonFailures, ALostServerIsToldInTheWordsForFolders) {
    FailingSession failing(world);
    failing.LogOn();
    failing.store.plan().FailFrom(1);
    EXPECT_FALSE(GetAgentFolders(failing.session));
    EXPECT_EQ((std::vector<std::string>{
                  "Unable to locate or create zandrelAgent folders - contact support!"}),
              failing.ui.shown);
    EXPECT_TRUE(world.logHas("GetAgentFolders failed - could not get or create UserInfo folder"));
}

TEST_F(LogonFailures, ARefusedLogonOverAnOldSessionLeavesNoOldMailbox) {
    FailingSession failing(world);
    failing.LogOn();
    failing.session.ExAlias = "nobody";
    failing.session.Reset();
    EXPECT_FALSE(DoLogon(failing.session));
    EXPECT_EQ(
        (std::vector<std::string>{"Unable to logon as tester\nusing dynamic profile nobody MAIL01\n"
                                  "There is no mailbox named nobody on this server."}),
        failing.ui.shown);
    EXPECT_EQ(nullptr, failing.session.agentInfo);
    failing.session.ExAlias = "agentbox"; // the session object is used again
    EXPECT_TRUE(DoLogon(failing.session));
}

TEST_F(LogonFailures, WithoutASessionNothingIsFound) {
    FailingSession failing(world);
    AgentSession& session = failing.session;
    EXPECT_FALSE(GetAgentFolders(session));
    EXPECT_EQ(1u, failing.ui.shown.size());
    EXPECT_EQ(nullptr, GetMessage(session, world.session->AgentMsgID));
    EXPECT_EQ(nullptr, GetFolder(session, world.session->agentInfo->ID()));
    EXPECT_EQ(nullptr, GetRDOFolder(session, "\\\\Public Folders\\All Public Folders"));
    EXPECT_TRUE(ExpandRecipients(session, "00").empty());
    EXPECT_EQ(nullptr, GetAgentMessage(session));
    EXPECT_EQ(nullptr, GetZandrelFolder(session, "zandrelMBL"));
    EXPECT_EQ(nullptr, GetHiddenFolder(session, "zandrelPDL"));
    EXPECT_TRUE(GetHostMessages(session).empty());
    NotifyAgents(session, kCodeLanguageChanged);
    EXPECT_TRUE(world.services.sent.empty());
}

TEST_F(StoreFailures, AgentFoldersAndDefaults) {
    EXPECT_GT(sweep([](AgentSession& session) {
                  GetZandrelFolder(session, "zandrelMBL");
                  GetHiddenFolder(session, "zandrelPDL");
              }),
              6);
    EXPECT_GT(sweep([](AgentSession& session) { InitEPS(session); }), 6);
}

TEST_F(StoreFailures, AFailedReadNeverPutsADefaultOverWhatWasSet) {
    auto agent = GetMessage(*world.session, world.session->AgentMsgID);
    SetKey(*agent, "EPS.Purge", false);
    SetKey(*agent, "EPS.PurgeInterval", int32_t{7});
    agent->Save();
    sweep([this](AgentSession& session) {
        InitEPS(session);
        auto now = GetMessage(*world.session, world.session->AgentMsgID);
        EXPECT_FALSE(KeyFlag(*now, "EPS.Purge", true));
        EXPECT_EQ(7, KeyNumber(*now, "EPS.PurgeInterval", 30));
        // back to two keys that are missing
        SetKey(*now, "EPS.EmailUpdate", Value());
        SetKey(*now, "EPS.SaveToBackups", Value());
        now->Save();
    });
}

TEST_F(StoreFailures, ACodeNeverGoesToAHostWithoutAName) {
    add(kHostClass, "HOST1");
    EXPECT_GT(sweep([](AgentSession& session) { NotifyAgents(session, 131); }), 6);
    for (const FakeServices::Sent& sent : world.services.sent)
        EXPECT_EQ((FakeServices::Sent{"HOST1", "zandrelAgent", 131}), sent);
    EXPECT_FALSE(world.services.sent.empty());
}

TEST_F(StoreFailures, OpeningAndLookingUp) {
    add(kHostClass, "HOST1");
    EXPECT_GT(sweep([](AgentSession& session) {
                  auto folder = session.agentInfo;
                  GetMessage(session, session.AgentMsgID);
                  GetMessageIDs(session, *folder, kHostClass, "HOST1");
                  FieldFilter named;
                  named.name = "Reporting";
                  GetFilteredIDs(session, *folder, {named}, true);
              }),
              10);
    EXPECT_GT(sweep([](AgentSession& session) {
                  GetRDOFolder(session, "\\\\Public Folders\\All Public Folders\\Shared\\R & D");
                  GetRDOFolder(session, "\\\\Mailbox - Agent Mailbox\\Inbox");
              }),
              10);
}

TEST_F(StoreFailures, ExpandingGoesOnWithTheOthers) {
    const std::string ids =
        world.Entry("Alice Adams")->ID().text() + ";" + world.Entry("Carol Contact")->ID().text();
    int one = 0;
    int none = 0;
    bool came = true;
    for (int call = 1; came; ++call) {
        FailingSession failing(world);
        failing.LogOn();
        failing.store.plan().FailAt(call);
        const auto people = ExpandRecipients(failing.session, ids);
        one += people.size() == 1;
        none += people.empty();
        came = failing.store.plan().Failed();
        if (!came) {
            EXPECT_EQ(2u, people.size());
        }
    }
    // only the outbox, its items, the scratch message, its recipients and their number take all
    EXPECT_EQ(5, none);
    EXPECT_GE(one, 2 * 4); // either entry: added, fetched, opened, its kind
}

TEST_F(StoreFailures, PrimaryAddresses) {
    EXPECT_GT(sweep([](AgentSession& session) {
                  if (auto user = TrapSilently([&] { return session.rdo->CurrentUser(); })) {
                      GetPrimarySMTP(*user);
                      SmtpOfEntry(*user);
                  }
              }),
              4);
}

TEST_F(StoreFailures, ProfilesAreLoggedWithNumberAndDescription) {
    RegWrite(*world.registry, Hive::LocalMachine, "Software\\zandrel\\zandrelAgent",
             "EPS.CreateMbxProfiles", int32_t{1});
    const int runs = sweep([](AgentSession& session) {
        session.users = std::make_shared<Recordset>(std::vector<Field>{{"Email"}, {"EX_Server"}});
        session.users->AddNew();
        session.users->Set("Email", "alice@example.test");
        session.users->Set("EX_Server", "MAIL01");
        CheckMbxProfiles(session, "[PushSelected]=True AND [Email]<>''");
        session.platform.registry.DeleteKey(
            Hive::CurrentUser, "Software\\Microsoft\\Windows NT\\CurrentVersion\\Windows Messaging "
                               "Subsystem\\Profiles\\eps_alice@example.test");
    });
    EXPECT_GT(runs, 10);
    EXPECT_TRUE(world.logHas("modProfiles::CreateExProfile:" + std::to_string(MAPI_E_CALL_FAILED) +
                             " " + std::string(kFailure)));
}

} // namespace
