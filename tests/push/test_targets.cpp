#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/basAgent.h"
#include "core/basStore.h"
#include "handhelds/HandheldFields.h"
#include "push/basTargets.h"
#include "tests/support/World.h"

namespace {

using namespace kr;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Targets : public ::testing::Test {
protected:
    Targets() {
        world.LogOnConfigured();
        folder = session().rdo->Stores().DefaultStore()->RootFolder()->Folders()->Add("Handhelds");
        const RDOMessagePtr agent = GetAgentMessage(session());
        SetKey(*agent, "HHEntryID", folder->ID().text());
        agent->Save();
        tree.Add("", "agent", "agent", "Agent", "");
        tree.Add("agent", "besconnectorroot", "besconnectorroot", "BES Configuration", "");
        tree.Add("besconnectorroot", "dummybb", "dummybb", "", "");
        const auto connector = session().agentInfo->Items()->Add("IPM.Post.BesConnector");
        SetKey(*connector, "Connector.BES.Servers", Strings{"BES1;m"});
        SetKey(*connector, "Connector.MDS.Servers", Strings{"mds1:8080"});
        connector->Save();
        handheld("PINALICE", "alice@example.test", "Alice", "BES1");
        handheld("PINOBRIEN", "obrien@example.test", "S\u00e9an", "BES9");
    }
    AgentSession& session() { return *world.session; }
    void handheld(const std::string& pin, const std::string& email, const std::string& name,
                  const std::string& bes) {
        const RDOMessagePtr record = folder->Items()->Add(kHandheldClass);
        record->SetFields(PR_CONVERSATION_TOPIC, email);
        SetKey(*record, "PIN", pin);
        SetKey(*record, "DisplayName", name);
        SetKey(*record, "BB Server", bes);
        record->Save();
    }
    std::vector<std::string> rows(const std::shared_ptr<Recordset>& targets) {
        std::vector<std::string> found;
        if (!targets)
            return {"nothing"};
        for (targets->MoveFirst(); !targets->EOF_(); targets->MoveNext()) {
            std::string row;
            for (int i = 0; i < 5; ++i)
                row += (i == 0 ? "" : "|") + std::string(targets->Text(i));
            found.push_back(row);
        }
        return found;
    }
    std::vector<std::string> push(const std::string& names) {
        return rows(GetPushTargets(session(), tree, names));
    }
    World world;
    TreeModel tree;
    RDOFolderPtr folder;
};

constexpr const char* kAlice = "Alice|alice@example.test|PINALICE|BES1|mds1:8080";
constexpr const char* kObrien = "S\u00e9an|obrien@example.test|PINOBRIEN|BES9|";
constexpr const char* kBob = "bob@example.test|bob@example.test|||";

TEST_F(Targets, AnAddressBecomesItsHandheld) {
    EXPECT_THAT(push("alice@example.test"), ElementsAre(kAlice));
    EXPECT_THAT(push("ALICE@Example.test;alice@example.test"), ElementsAre(kAlice));
}

TEST_F(Targets, APersonWithoutAHandheldStaysAsAnEmptyRow) {
    EXPECT_THAT(push("bob@example.test"), ElementsAre(kBob));
    EXPECT_THAT(push("bob@example.test;Bob Baker"), ElementsAre(kBob));
}

TEST_F(Targets, ABesWithoutAConnectorHasNoPushServer) {
    EXPECT_THAT(push("obrien@example.test"), ElementsAre(kObrien));
    EXPECT_TRUE(world.logHas("FindPushServer error: unable to find BBServer node for BES9"));
}

TEST_F(Targets, GroupsAreExpandedOnceAlsoInCircles) {
    EXPECT_THAT(push("Sales;Nested;alice@example.test"), ElementsAre(kAlice, kBob, kObrien));
}

TEST_F(Targets, UnknownNamesAreDropped) {
    EXPECT_THAT(push("nobody at all; ;"), IsEmpty());
    EXPECT_THAT(push(""), IsEmpty());
}

TEST_F(Targets, ThePushServerOfABesIsLookedForOnce) {
    handheld("PINBOB", "bob@example.test", "Bob", "BES1");
    EXPECT_EQ(push("Sales").size(), 3U);
    EXPECT_EQ(world.http.sent.size(), 1U);
}

TEST_F(Targets, TheFirstOfTwoPinsWins) {
    handheld("SECOND", "alice@example.test", "Alice", "BES1");
    EXPECT_THAT(push("alice@example.test"), ElementsAre(kAlice));
}

TEST_F(Targets, PinsBecomeTargets) {
    EXPECT_THAT(rows(GetTargetsFromPins(session(), tree, "PINOBRIEN;none;;pinalice;PINALICE")),
                ElementsAre(kObrien, kAlice));
}

TEST_F(Targets, QuotesAreCleaned) {
    handheld("PINQ", "o'neil@example.test", "Q", "BES1");
    EXPECT_THAT(rows(GetTargetsFromPins(session(), tree, "'PINQ'")),
                ElementsAre("Q|o'neil@example.test|PINQ|BES1|mds1:8080"));
    EXPECT_EQ(FindPINInRecordset(session(), "'o'neil@example.test'"), "PINQ");
    EXPECT_EQ(FindPINInRecordset(session(), "x'] OR [PIN]<>''"), "");
}

TEST_F(Targets, LookUpsInTheStore) {
    EXPECT_EQ(FindPIN(session(), "alice@example.test"), "PINALICE");
    EXPECT_TRUE(world.logHas("FindPIN for alice@example.test: intcount = 1"));
    EXPECT_TRUE(world.logHas("FindPIN for alice@example.test:PINALICE"));
    EXPECT_EQ(FindPIN(session(), "x@example.test"), "");
    EXPECT_EQ(FindPIN(session(), ""), "");
    EXPECT_EQ(FindBES(session(), "PINALICE"), "BES1");
    EXPECT_TRUE(world.logHas("FindBES for PINALICE:BES1"));
    EXPECT_EQ(FindBES(session(), "none"), "");
    EXPECT_TRUE(world.logHas("FindBES for none found no match"));
}

TEST_F(Targets, WithoutTheFolderNothingIsFound) {
    const RDOMessagePtr agent = GetAgentMessage(session());
    SetKey(*agent, "HHEntryID", std::string());
    agent->Save();
    EXPECT_THAT(push("alice@example.test"), ElementsAre("nothing"));
    EXPECT_EQ(FindPIN(session(), "alice@example.test"), "");
    EXPECT_TRUE(world.logHas("FindPIN failed: unable to get reference to Handhelds folder"));
    EXPECT_EQ(FindBES(session(), "1"), "");
    EXPECT_TRUE(world.logHas("FindBES failed: unable to get reference to Handhelds folder"));
}

TEST_F(Targets, TheFilterOfMarkedUsers) {
    EXPECT_EQ(BuildUserFilterEPS(session()), "([PushSelected]=True AND [State] <>-1)");
    EXPECT_TRUE(world.logHas("BuildUserFilterEPS:([PushSelected]=True AND [State] <>-1)"));
}

TEST_F(Targets, AHostsAddressGetsItsPort) {
    const RDOMessagePtr host = session().agentInfo->Items()->Add("zandrel.Host");
    host->SetSubject("SRV1");
    host->Save();
    for (const auto& [stored, address] :
         {std::pair{"", ""}, std::pair{"mds", "mds:8080"}, std::pair{"mds:", "mds:8080"},
          std::pair{"mds:81", "mds:81"}}) {
        SetKey(*host, "EPS.MDS.MDSHost", std::string(stored));
        host->Save();
        EXPECT_EQ(GetHostMdsAddress(session(), "SRV1"), address);
    }
    EXPECT_EQ(GetHostMdsAddress(session(), "SRV2"), "");
}

} // namespace
