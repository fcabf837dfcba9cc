#include <gmock/gmock.h>

#include "core/basDate.h"
#include "push/Payload.h"
#include "push/basPDL.h"
#include "tests/push/PdlUserWorld.h"

#include <gtest/gtest.h>

namespace {

using namespace kr;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr const char* kTaken = "The PINDL message has been successfully transmitted to the MDS "
                               "server.";

class PdlPushTest : public ::testing::Test {
protected:
    AgentSession& session() { return *world.session; }
    std::optional<Time> push(const PDLRecipient& user) {
        return PDLPush(session(), world.tree, user);
    }
    bool logs(const std::string& text) { return world.logHas(text + "\n"); }
    const FakeHttp::Request& lastPush() { return world.http.sent.back(); }
    std::string icons() {
        std::string all;
        for (const auto& box : world.ui.boxes())
            all += box.icon == BoxIcon::Information   ? "i"
                   : box.icon == BoxIcon::Exclamation ? "!"
                   : box.icon == BoxIcon::Stop        ? "x"
                                                      : "?";
        return all;
    }
    void noEngine() { world.SetAgent("TARN.URL", ""); }
    void directory() {
        noEngine();
        world.Page("http://AGENT1/PINDL/", "", 403, "Forbidden");
        world.Page("http://AGENT1/PINDL/PINALICE.xml", PdlUserWorld::kPacket);
    }
    void engine() { world.Page(PdlUserWorld::TarnUrl("PINALICE"), PdlUserWorld::kPacket); }
    void expectSuccess(const std::string& how = "PIN") {
        world.ui.Expect(kTaken);
        world.ui.Expect("Successful push to Alice using " + how);
    }
    bool neverPushed() {
        return world.Destinations().empty() &&
               world.UserKey(world.alice, "EPS.PushLastDate").empty();
    }

    PdlUserWorld world;
};

// --- what goes out

TEST_F(PdlPushTest, ThePacketOfTheEngineIsAnnounced) {
    engine();
    expectSuccess();
    const auto date = push(world.Alice());
    ASSERT_TRUE(date);
    EXPECT_EQ(icons(), "ii");
    EXPECT_EQ(lastPush().url, "http://mds:8080/push?DESTINATION=PINALICE&PORT=8765&REQUESTURI=/");
    EXPECT_EQ(lastPush().body, "<?xml version=\"1.0\" encoding=\"utf-8\" ?>"
                               "<string xmlns=\"http://zandrel.org/IPL\">"
                               "<LaunchZPA>pinblast</LaunchZPA><SetDataItems>"
                               "<SYS_PDL_URL>http://tarn/TARN/?cmd=getpdl&amp;pin=</SYS_PDL_URL>"
                               "<PDL_LastUpdate>2026-03-09 18:00:00</PDL_LastUpdate>"
                               "<PDL_Serial>46090.75</PDL_Serial></SetDataItems>"
                               "<InvokeEvent>PBpendOnGetList,getPBList</InvokeEvent></string>");
    EXPECT_TRUE(world.logHas("PushPDL:pushing <?xml"));
    EXPECT_THAT(world.Gets(), ElementsAre(PdlUserWorld::TarnUrl("PINALICE")));
}

TEST_F(PdlPushTest, TheUrlOfTheEngineGoesWithoutThePin) {
    world.Page(PdlUserWorld::TarnUrl("PINALICE"), "http://p/?x=1&pin=PINALICE&y=PINALICE");
    expectSuccess();
    EXPECT_TRUE(push(world.Alice()));
    EXPECT_THAT(lastPush().body,
                HasSubstr("<SYS_PDL_URL>http://p/?x=1&amp;pin=&amp;y=</SYS_PDL_URL>"));
    // the engine told no date
    EXPECT_THAT(lastPush().body, HasSubstr("<PDL_LastUpdate>1899-12-30 00:00:00<"));
    EXPECT_THAT(lastPush().body, HasSubstr("<PDL_Serial>0</PDL_Serial>"));
    EXPECT_TRUE(logs("Unable to retrieve date stamp from PINALICE.xml"));
}

TEST_F(PdlPushTest, WithoutAnEngineTheDirectoryServes) {
    directory();
    expectSuccess();
    EXPECT_TRUE(push(world.Alice()));
    EXPECT_THAT(world.Gets(),
                ElementsAre("http://AGENT1/PINDL/", "http://AGENT1/PINDL/PINALICE.xml"));
    EXPECT_THAT(lastPush().body, HasSubstr("<SYS_PDL_URL>http://AGENT1/PINDL/</SYS_PDL_URL>"
                                           "<PDL_LastUpdate>2026-03-09 18:00:00</PDL_LastUpdate>"));
}

TEST_F(PdlPushTest, ASilentEngineLeavesItToTheDirectory) {
    directory();
    world.SetAgent("TARN.URL", PdlUserWorld::kTarn);
    expectSuccess();
    EXPECT_TRUE(push(world.Alice()));
    EXPECT_EQ(world.Gets().size(), 3U);
    EXPECT_TRUE(
        logs("GetTarnPDL:received 404:Not Found from " + PdlUserWorld::TarnUrl("PINALICE")));
}

TEST_F(PdlPushTest, AnyAddressMakesAPayloadThatIsXml) {
    noEngine();
    world.SetHost("EPS.PINDL.URL", "http://h/?a=1&dir=");
    world.Page("http://h/?a=1&dir=", "");
    world.Page("http://h/?a=1&dir=PINALICE.xml", PdlUserWorld::kPacket);
    expectSuccess();
    EXPECT_TRUE(push(world.Alice()));
    std::string payload = lastPush().body;
    EXPECT_EQ(ValidatePayload(PayloadNamespace(session()), payload), "");
}

TEST_F(PdlPushTest, ATextBlastLaunchesItsOwnApplication) {
    engine();
    expectSuccess();
    PDLRecipient user = world.Alice();
    user.textBlast = true;
    EXPECT_TRUE(push(user));
    EXPECT_THAT(lastPush().body, HasSubstr("<LaunchZPA>textblast</LaunchZPA>"));
}

// --- the date

TEST_F(PdlPushTest, SuccessIsRecorded) {
    engine();
    expectSuccess();
    const auto date = push(world.Alice());
    const Time now = world.clock.now();
    EXPECT_EQ(date, std::optional(UTCToLocal(now, world.clock)));
    EXPECT_EQ(world.UserKey(world.alice, "EPS.PushLastDate"), Value(now));
    EXPECT_EQ(world.UserField(world.alice, UserFieldID::PushLastDate), Value(*date));
    EXPECT_TRUE(world.UserField(world.bob, UserFieldID::PushLastDate).empty());
}

TEST_F(PdlPushTest, ARecordThatIsGoneIsLogged) {
    engine();
    GetMessage(session(), world.alice)->Delete();
    expectSuccess();
    EXPECT_TRUE(push(world.Alice()));
    EXPECT_TRUE(world.logHas("PDLPush:"));
    EXPECT_FALSE(world.UserField(world.alice, UserFieldID::PushLastDate).empty());
}

// --- by address

TEST_F(PdlPushTest, AFailedPinIsTriedOnceByAddress) {
    engine();
    world.push = [](const FakeHttp::Request& request) {
        return request.url.find("PINALICE") == std::string::npos
                   ? FakeHttp::Response()
                   : FakeHttp::Response{500, "No such handheld", "", {}};
    };
    expectSuccess("SMTP address");
    EXPECT_TRUE(push(world.Alice()));
    EXPECT_THAT(world.Destinations(), ElementsAre("PINALICE", "alice@example.test"));
    EXPECT_EQ(world.UserKey(world.alice, "EPS.PushLastDate"), Value(world.clock.now()));
}

TEST_F(PdlPushTest, WhenBothFailThePersonIsTold) {
    engine();
    world.push = [](const FakeHttp::Request&) { return FakeHttp::Response{503, "No", "", {}}; };
    world.ui.Expect("Push failed to Alice\r\nConsult the log for details");
    EXPECT_FALSE(push(world.Alice()));
    EXPECT_EQ(icons(), "!");
    EXPECT_THAT(world.Destinations(), ElementsAre("PINALICE", "alice@example.test"));
    EXPECT_TRUE(world.UserKey(world.alice, "EPS.PushLastDate").empty());
    EXPECT_TRUE(world.UserField(world.alice, UserFieldID::PushLastDate).empty());
}

// --- what is missing

TEST_F(PdlPushTest, WithoutServerAndEngineThereIsNoPush) {
    noEngine();
    PDLRecipient user = world.Alice();
    user.server.clear();
    world.ui.Expect("Alice is not associated with an zandrel Agent server!\r\n"
                    "Push notification is not available.");
    EXPECT_FALSE(push(user));
    EXPECT_EQ(icons(), "!");
    EXPECT_THAT(world.http.sent, IsEmpty());
}

TEST_F(PdlPushTest, TheEngineAloneIsEnough) {
    engine();
    PDLRecipient user = world.Alice();
    user.server.clear();
    expectSuccess();
    EXPECT_TRUE(push(user));
}

TEST_F(PdlPushTest, WithoutAPinThereIsNoPush) {
    PDLRecipient user{world.bob, "Bob", "bob@example.test", "AGENT1", false};
    world.ui.Expect("Failed to retrieve PIN for Bob!\r\nUnable to send push notification");
    EXPECT_FALSE(push(user));
    EXPECT_EQ(icons(), "!");
    EXPECT_TRUE(logs("Aborted PDLPush for Bob; unable to get PIN"));
    EXPECT_THAT(world.http.sent, IsEmpty());
}

TEST_F(PdlPushTest, WithoutAUrlThereIsNoPush) {
    noEngine();
    world.ui.Expect("Unable to access the specified PINDL directory on AGENT1 for Alice!\r\n"
                    "Please verify that http://AGENT1/PINDL/ exists and is accessible");
    const std::string box =
        "Failed to find valid push URL for Alice!\r\nUnable to send push notification";
    world.ui.Expect(box);
    EXPECT_FALSE(push(world.Alice()));
    EXPECT_EQ(icons(), "!!");
    EXPECT_TRUE(logs("Aborted PDLPush for Alice; unable to find valid URL"));
    // the engine is silent, and there is no server to ask
    world.SetAgent("TARN.URL", PdlUserWorld::kTarn);
    PDLRecipient user = world.Alice();
    user.server.clear();
    world.ui.Expect(box);
    EXPECT_FALSE(push(user));
    EXPECT_TRUE(neverPushed());
}

TEST_F(PdlPushTest, WithoutAPacketThereIsNoPush) {
    directory();
    world.pages.erase("http://AGENT1/PINDL/PINALICE.xml");
    world.ui.Expect("No PINDL is available on the target server!\r\nUnable to push to Alice");
    EXPECT_FALSE(push(world.Alice()));
    EXPECT_TRUE(neverPushed());
    EXPECT_TRUE(logs("Aborted PDLPush for Alice; there is no packet"));
}

TEST_F(PdlPushTest, WithoutABesTheHostsPushServerServes) {
    world.AddHandheld("PINBOB", "bob@example.test", "Bob", "");
    world.SetHost("EPS.MDS.MDSHost", "hostmds");
    world.Page(PdlUserWorld::TarnUrl("PINBOB"), PdlUserWorld::kPacket);
    world.ui.Expect(kTaken);
    world.ui.Expect("Successful push to Bob using PIN");
    EXPECT_TRUE(push({world.bob, "Bob", "bob@example.test", "AGENT1", false}));
    EXPECT_EQ(lastPush().url, "http://hostmds:8080/push?DESTINATION=PINBOB&PORT=8765&REQUESTURI=/");
    EXPECT_TRUE(logs("FindBES for PINBOB:"));
}

TEST_F(PdlPushTest, WithoutAnyPushServerThereIsNoPush) {
    // the BES of O'Brien has no connector
    world.Page(PdlUserWorld::TarnUrl("PINOBRIEN"), PdlUserWorld::kPacket);
    PDLRecipient user{world.obrien, "O'Brien", "obrien@example.test", "AGENT1", false};
    const std::string box = "No Push server could be identified to use for O'Brien!\r\n"
                            "Please check your BES Connector(s) to refresh the Push server data";
    world.ui.Expect(box);
    EXPECT_FALSE(push(user));
    EXPECT_EQ(icons(), "!");
    EXPECT_THAT(world.Destinations(), IsEmpty());
    // nor is any other server's taken when the user has none
    world.SetHost("EPS.MDS.MDSHost", "hostmds");
    user.server.clear();
    world.ui.Expect(box);
    EXPECT_FALSE(push(user));
    user.server = "AGENT1";
    world.ui.Expect(kTaken);
    world.ui.Expect("Successful push to O'Brien using PIN");
    EXPECT_TRUE(push(user));
    EXPECT_THAT(world.Destinations(), ElementsAre("PINOBRIEN"));
    // the address with a quote in the name finds its row
    EXPECT_FALSE(world.UserField(world.obrien, UserFieldID::PushLastDate).empty());
}

TEST_F(PdlPushTest, TheWaitCursorGoesInAnyCase) {
    EXPECT_EQ(world.ui.waitCursors(), 0);
    world.ui.Expect("");
    EXPECT_FALSE(push({world.bob, "Bob", "bob@example.test", "AGENT1", false}));
    EXPECT_EQ(world.ui.waitCursors(), 0);
}

// --- the packet in the browser

TEST_F(PdlPushTest, ThePacketOpensInTheBrowser) {
    ViewPDL(session(), world.Alice());
    EXPECT_THAT(world.shell.urls, ElementsAre(PdlUserWorld::TarnUrl("PINALICE")));
    EXPECT_THAT(world.ui.boxes(), IsEmpty());
}

TEST_F(PdlPushTest, WithoutAPinThereIsNothingToView) {
    world.ui.Expect("Failed to retrieve PIN!\r\nUnable to view PDL packet for Bob.");
    ViewPDL(session(), {world.bob, "Bob", "bob@example.test", "AGENT1", false});
    EXPECT_EQ(icons(), "!");
    EXPECT_THAT(world.shell.urls, IsEmpty());
}

TEST_F(PdlPushTest, WithoutAnEngineThereIsNothingToView) {
    noEngine();
    world.ui.Expect("The zandrel TARN service is not configured!\r\n"
                    "Unable to view PDL packet for Alice.");
    ViewPDL(session(), world.Alice());
    EXPECT_EQ(icons(), "!");
    EXPECT_THAT(world.shell.urls, IsEmpty());
}

} // namespace
