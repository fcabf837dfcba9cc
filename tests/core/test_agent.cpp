#include <gtest/gtest.h>

#include <filesystem>
#include <thread>

#include "core/Keys.h"
#include "core/basAgent.h"
#include "core/basStore.h"
#include "tests/support/World.h"

namespace {

using namespace kr;

class AgentRecords : public ::testing::Test {
protected:
    void SetUp() override { world.LogOn(); }
    AgentSession& session() { return *world.session; }
    RDOMessagePtr add(std::string_view messageClass, std::string_view subject) {
        auto message = session().agentInfo->Items()->Add(messageClass);
        message->SetSubject(subject);
        message->Save();
        return message;
    }
    void makeFolders() {
        auto root = session().rdo->Stores().DefaultStore()->RootFolder();
        session().agentInfo = root->Folders()->Add("zandrelAgentInfo");
        session().agentInfo->Folders()->Add("zandrelUserInfo");
    }
    World world;
};

TEST_F(AgentRecords, AnEmptyMailboxGetsItsFoldersAndLeadsToTheWizard) {
    EXPECT_FALSE(GetAgentFolders(session()));
    EXPECT_TRUE(session().FirstRun);
    ASSERT_NE(nullptr, session().agentInfo);
    EXPECT_EQ("zandrelUserInfo", session().userInfo->Name());
    EXPECT_EQ(0, session().agentInfo->Items()->Count());
    EXPECT_TRUE(world.logHas("GetAgentFolders creating AgentInfo folder"));
    EXPECT_TRUE(world.logHas("GetAgentFolders creating UserInfo folder"));
    EXPECT_TRUE(world.logHas("GetAgentMessage no messages in AgentInfo folder"));
    EXPECT_TRUE(world.logHas("GetAgentMessage found no existing agent message"));
}

TEST_F(AgentRecords, OneAgentMessageIsTaken) {
    makeFolders();
    auto message = add("zandrel.Agent", "zandrelAgent");
    EXPECT_TRUE(GetAgentFolders(session()));
    EXPECT_FALSE(session().FirstRun);
    EXPECT_EQ(message->ID(), session().AgentMsgID);
    EXPECT_TRUE(world.logHas("GetAgentMessage filter returned agent message ID"));
    EXPECT_TRUE(world.logHas("GetAgentMessage found existing agent message"));
    EXPECT_FALSE(world.logHas("creating"));
}

TEST_F(AgentRecords, TheOldestOfSeveralIsKept) {
    makeFolders();
    auto oldest = add("zandrel.Agent", "zandrelAgent");
    std::this_thread::sleep_for(std::chrono::milliseconds(1100));
    auto later = add("zandrel.Agent", "zandrelAgent");
    auto latest = add("zandrel.Agent", "zandrelAgent");
    EXPECT_TRUE(GetAgentFolders(session()));
    EXPECT_EQ(oldest->ID(), session().AgentMsgID);
    EXPECT_EQ(1, session().agentInfo->Items()->Count());
    EXPECT_EQ(nullptr, GetMessage(session(), later->ID()));
    EXPECT_EQ(nullptr, GetMessage(session(), latest->ID()));
    EXPECT_TRUE(world.logHas("GetAgentMessage filter returned 3 ID(s) for agent message"));
    EXPECT_TRUE(world.logHas("GetAgentMessage deleting extra agent message created "));
}

TEST_F(AgentRecords, AMessageThatTheFilterMissesIsFoundByWalking) {
    makeFolders();
    // another subject: the filter on class and subject doesn't see it
    auto message = add("zandrel.Agent", "renamed");
    add("zandrel.agent", "other case");
    add("zandrel.Host", "SERVER1");
    EXPECT_TRUE(GetAgentFolders(session()));
    EXPECT_EQ(message->ID(), session().AgentMsgID);
    EXPECT_TRUE(world.logHas("GetAgentMessage nothing returned by filter; iterating through 3"));
}

TEST_F(AgentRecords, FoldersThatCantBeMadeAreTold) {
    session().rdo->Logoff();
    world.ui.Expect("Unable to locate or create zandrelAgent folders - contact support!");
    EXPECT_FALSE(GetAgentFolders(session()));
    EXPECT_FALSE(session().FirstRun);
    EXPECT_EQ(BoxIcon::Stop, world.ui.boxes().back().icon);
    EXPECT_TRUE(world.logHas("GetAgentFolders failed - could not get or create UserInfo folder"));
}

TEST_F(AgentRecords, ZandrelFoldersAreMadeHiddenOnesAreOnlyFound) {
    makeFolders();
    EXPECT_EQ(nullptr, GetHiddenFolder(session(), "zandrelPDL"));
    EXPECT_TRUE(world.logHas("GetHiddenFolder:checking in 1 sub-folders of AgentInfo for "
                             "zandrelPDL"));
    EXPECT_TRUE(world.logHas("GetHiddenFolder:unable to locate hidden zandrelPDL folder "));
    auto made = GetZandrelFolder(session(), "zandrelPDL");
    ASSERT_NE(nullptr, made);
    EXPECT_TRUE(world.logHas("GetZandrelFolder: adding zandrelPDL"));
    EXPECT_EQ(made->ID(), GetZandrelFolder(session(), "zandrelPDL")->ID());
    EXPECT_EQ(made->ID(), GetHiddenFolder(session(), "zandrelPDL")->ID());
}

TEST_F(AgentRecords, WithoutTheAgentFolderNothingIsMade) {
    EXPECT_EQ(nullptr, GetZandrelFolder(session(), "zandrelMBL"));
    EXPECT_TRUE(world.logHas("GetZandrelFolder failure: no agent info message "));
}

TEST_F(AgentRecords, AVanishedStoreOffersARefresh) {
    makeFolders();
    int refreshed = 0;
    session().hooks.refreshView = [&] {
        ++refreshed;
        session().agentInfo.reset();
    };
    std::filesystem::remove(world.storePath());
    world.ui.Expect("There's a problem connecting with the agent mailbox.\n"
                    "The session needs to be refreshed");
    EXPECT_EQ(nullptr, GetZandrelFolder(session(), "zandrelMBL"));
    EXPECT_EQ(1, refreshed);
    EXPECT_TRUE(world.logHas("GetZandrelFolder error fetching zandrelMBL "));
    EXPECT_TRUE(world.logHas("; forcing refresh") || world.logHas(" forcing refresh"));
}

TEST_F(AgentRecords, CodesGoToEveryHost) {
    makeFolders();
    NotifyAgents(session(), kCodeLanguageChanged);
    EXPECT_TRUE(world.services.sent.empty());
    add("zandrel.Host", "SERVER1");
    add("zandrel.Host", "SERVER2");
    add("zandrel.UserInfo", "SERVER3");
    NotifyAgents(session(), kCodeLanguageChanged);
    EXPECT_EQ((std::vector<FakeServices::Sent>{{"SERVER1", "zandrelAgent", 131},
                                               {"SERVER2", "zandrelAgent", 131}}),
              world.services.sent);
    world.services.sent.clear();
    SendServiceControl(session(), "", 128);
    SendServiceControl(session(), "\\\\SERVER1", 130, true);
    EXPECT_EQ((std::vector<FakeServices::Sent>{{"", "zandrelAgent", 128},
                                               {"SERVER1", "zandrelAgent", 130},
                                               {"SERVER1", "kRWatchdog", 130}}),
              world.services.sent);
}

class LogonSteps : public AgentRecords {
protected:
    void SetUp() override {
        session().hooks.loadTreeRoot = [] { return std::string("zandrelAgent - Agent Mailbox"); };
        session().hooks.loadUsers = [this] {
            usersLoaded = true;
            return true;
        };
    }
    bool usersLoaded = false;
};

TEST_F(LogonSteps, AConfiguredMailboxLoads) {
    world.LogOnConfigured();
    session().rdo.reset();
    session().Reset();
    EXPECT_TRUE(DoLogon(session()));
    EXPECT_TRUE(usersLoaded);
    EXPECT_EQ("agentbox@example.test", session().agentSMTP);
    EXPECT_EQ("Agent Mailbox", session().agentName);
    EXPECT_FALSE(session().publicStoreID.empty());
    std::string log = world.log();
    size_t at = 0;
    for (const char* line :
         {"instantiating RDO", "Logging on with agentbox MAIL01", "LoggedOn = True",
          "GetSafeAgentUser", "GetPublicStoreID", "GetAgentSMTP", "calling GetAgentFolders",
          "InitEPS", "LoadLanguages", "LoadTreeRoot"}) {
        at = log.find(line, at);
        EXPECT_NE(std::string::npos, at) << line;
    }
    EXPECT_EQ((std::vector<std::string>{"Logging on...", "Retrieving Inbox...",
                                        "Accessing mailbox data...", ""}),
              world.ui.statuses());
    auto message = GetMessage(session(), session().AgentMsgID);
    EXPECT_TRUE(KeyFlag(*message, "EPS.EmailUpdate"));
    EXPECT_EQ(30, KeyNumber(*message, "EPS.PurgeInterval", 0));
}

TEST_F(LogonSteps, AProfileWins) {
    session().Profile = "Agent Profile";
    session().ExAlias = "nobody";
    session().ExServer = "MAIL99";
    session().hooks.activate = [] {};
    EXPECT_FALSE(DoLogon(session())); // not configured yet, but logged on
    EXPECT_TRUE(session().rdo->LoggedOn());
    EXPECT_TRUE(world.logHas("Logging on with profile Agent Profile"));
}

TEST_F(LogonSteps, ARefusalNamesTheUserAndTheWay) {
    session().ExAlias = "nobody";
    session().ExServer = "MAIL01";
    world.ui.Expect("Unable to logon as tester\nusing dynamic profile nobody MAIL01\n"
                    "There is no mailbox named nobody on this server.");
    EXPECT_FALSE(DoLogon(session()));
    EXPECT_EQ(BoxIcon::Stop, world.ui.boxes()[0].icon);
    EXPECT_TRUE(world.logHas("RDO.LoggedOn = False "));
    EXPECT_EQ("", world.ui.lastStatus());
    auto kept = session().rdo;
    EXPECT_NE(nullptr, kept); // a retry takes it again
    session().Profile = "Gone";
    world.ui.Expect("Unable to logon as tester\nusing profile Gone\n"
                    "There is no mail profile named Gone.");
    EXPECT_FALSE(DoLogon(session()));
    EXPECT_EQ(kept, session().rdo);
}

TEST_F(LogonSteps, AnUnconfiguredMailboxRunsTheWizard) {
    session().ExAlias = "agentbox";
    session().ExServer = "MAIL01";
    int wizards = 0;
    session().hooks.activate = [&] { ++wizards; };
    EXPECT_FALSE(DoLogon(session()));
    EXPECT_EQ(1, wizards);
    EXPECT_FALSE(usersLoaded);
}

class BrokenLibrary : public StoreLibrary {
public:
    RDOSessionPtr CreateSession() override {
        throw PlatformError(429, "ActiveX component can't create object");
    }
    std::shared_ptr<MailProfiles> CreateProfiles() override { throw PlatformError(429, "no"); }
};

TEST_F(LogonSteps, AMissingLibraryIsTold) {
    BrokenLibrary broken;
    Platform platform{broken,         *world.registry, world.ui,    *world.events,
                      world.services, world.directory, world.shell, world.database,
                      world.http,     world.secrets,   world.clock};
    AgentSession other(platform, world.logPath());
    world.ui.Expect("Unable to create MAPI session. Please notify support\n"
                    "ActiveX component can't create object");
    EXPECT_FALSE(DoLogon(other));
    EXPECT_TRUE(world.logHas("no RDO"));
}

TEST_F(LogonSteps, ResetEmptiesWhatBelongsToAMailbox) {
    world.LogOnConfigured();
    session().Reset();
    EXPECT_EQ(nullptr, session().agentInfo);
    EXPECT_EQ(nullptr, session().userInfo);
    EXPECT_TRUE(session().AgentMsgID.empty());
    EXPECT_TRUE(session().publicStoreID.empty());
    EXPECT_EQ("", session().agentSMTP);
    EXPECT_NE(nullptr, session().rdo);
}

} // namespace
