// The notice over real connections: what the engine, the packets' server and the push server get.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/basAgent.h"
#include "core/basStore.h"
#include "handhelds/HandheldFields.h"
#include "push/basPDLPush.h"
#include "tests/net/WebWorld.h"
#include "tests/platform/http/ScriptedServer.h"
#include "tests/support/Loopback.h"

namespace {

using namespace kr;
using Answer = ScriptedServer::Answer;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr const char* kPacket =
    R"(<?xml version="1.0"?><Root><PBLists date="2026-03-09 18:00:00"/></Root>)";

/// A user with a handheld of no BES; the host of the agent names the push server.
class PdlWire : public ::testing::Test {
protected:
    PdlWire() {
        const auto folder =
            session().rdo->Stores().DefaultStore()->RootFolder()->Folders()->Add("Handhelds");
        setAgent("HHEntryID", folder->ID().text());
        const RDOMessagePtr handheld = folder->Items()->Add(kHandheldClass);
        handheld->SetFields(PR_CONVERSATION_TOPIC, "alice@example.test");
        SetKey(*handheld, "PIN", "2100000A");
        handheld->Save();
        const RDOMessagePtr host = session().agentInfo->Items()->Add(kHostClass);
        host->SetSubject("AGENT1");
        SetKey(*host, "EPS.MDS.MDSHost", address() + "|cHI6Y3I=");
        SetKey(*host, "EPS.PINDL.URL", server.url("/PINDL/"));
        host->Save();
    }
    AgentSession& session() { return *world.session; }
    void setAgent(const std::string& key, const Value& value) {
        const RDOMessagePtr agent = GetAgentMessage(session());
        SetKey(*agent, key, value);
        agent->Save();
    }
    std::string address() const { return "127.0.0.1:" + std::to_string(server.port()); }
    Answer answer(const std::string& request) const {
        for (const auto& [start, bytes] : pages)
            if (request.starts_with(start))
                return {bytes};
        return {"HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n"};
    }
    void expectSuccess(const std::string& how) {
        world.ui.Expect("The PINDL message has been successfully transmitted to the MDS server.");
        world.ui.Expect("Successful push to Alice using " + how);
    }
    bool push() {
        return PDLPush(session(), tree,
                       {world.AddUserRecord("alice@example.test", "Alice"), "Alice",
                        "alice@example.test", "AGENT1", false})
            .has_value();
    }
    static std::string payload(const std::string& url) {
        return "<?xml version=\"1.0\" encoding=\"utf-8\" ?>"
               "<string xmlns=\"http://zandrel.org/IPL\"><LaunchZPA>pinblast</LaunchZPA>"
               "<SetDataItems><SYS_PDL_URL>" +
               url +
               "</SYS_PDL_URL><PDL_LastUpdate>2026-03-09 18:00:00</PDL_LastUpdate>"
               "<PDL_Serial>46090.75</PDL_Serial></SetDataItems>"
               "<InvokeEvent>PBpendOnGetList,getPBList</InvokeEvent></string>";
    }
    /// The bytes of a push to that destination.
    std::string pushOf(const std::string& destination, const std::string& body) const {
        return "POST /push?DESTINATION=" + destination +
               "&PORT=8765&REQUESTURI=/ HTTP/1.1\r\nHost: " + address() +
               "\r\nAccept: */*\r\nAuthorization: Basic cHI6Y3I=\r\n"
               "Content-Type: application/x-www-form-urlencoded\r\nContent-Length: " +
               std::to_string(body.size()) + "\r\n\r\n" + body;
    }

    std::vector<std::pair<std::string, std::string>> pages; // by the start of the request
    ScriptedServer server{[this](const std::string& request) { return answer(request); }};
    WebWorld world;
    TreeModel tree;
};

TEST_F(PdlWire, ThePushServerGetsTheseBytes) {
    pages = {{"GET /PINDL/ ", "HTTP/1.1 403 Forbidden\r\nContent-Length: 0\r\n\r\n"},
             {"GET /PINDL/2100000A.xml ", Ok(kPacket, "text/xml")},
             {"POST /push?DESTINATION=2100000A&", Ok("")}};
    expectSuccess("PIN");
    EXPECT_TRUE(push());
    const auto requests = server.requests();
    ASSERT_EQ(requests.size(), 3U);
    EXPECT_THAT(requests[0], HasSubstr("GET /PINDL/ HTTP/1.1\r\n"));
    EXPECT_THAT(requests[1], HasSubstr("GET /PINDL/2100000A.xml HTTP/1.1\r\n"));
    EXPECT_EQ(requests[2], pushOf("2100000A", payload(server.url("/PINDL/"))));
    EXPECT_TRUE(world.logHas("GetPDLUrl:access OK to " + server.url("/PINDL/") +
                             " on AGENT1; received 403:Forbidden\n"));
}

TEST_F(PdlWire, TheEngineIsAskedFirstAndTheAddressTriedLast) {
    setAgent("TARN.URL", server.url("/TARN/"));
    pages = {{"GET /TARN/?cmd=getpdl&pin=2100000Anofetch ", Ok(kPacket, "text/xml")},
             {"POST /push?DESTINATION=alice@example.test&", Ok("")}};
    expectSuccess("SMTP address");
    EXPECT_TRUE(push());
    const auto requests = server.requests();
    ASSERT_EQ(requests.size(), 3U);
    const std::string body = payload(server.url("/TARN/") + "?cmd=getpdl&amp;pin=");
    EXPECT_EQ(requests[1], pushOf("2100000A", body));
    EXPECT_EQ(requests[2], pushOf("alice@example.test", body));
}

TEST_F(PdlWire, ADeadDirectoryIsTold) {
    const RDOMessagePtr host = GetMessage(
        session(), GetMessageIDs(session(), *session().agentInfo, kHostClass, "AGENT1").front());
    const std::string dead = "http://127.0.0.1:" + std::to_string(FreePort()) + "/PINDL/";
    SetKey(*host, "EPS.PINDL.URL", dead);
    host->Save();
    world.ui.Expect("Unable to access the specified PINDL directory on AGENT1 for Alice!\r\n"
                    "Please verify that " +
                    dead + " exists and is accessible");
    world.ui.Expect("Failed to find valid push URL for Alice!\r\n"
                    "Unable to send push notification");
    EXPECT_FALSE(push());
    EXPECT_THAT(server.requests(), IsEmpty());
}

} // namespace
