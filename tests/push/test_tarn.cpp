#include <gtest/gtest.h>

#include "core/basAgent.h"
#include "core/basStore.h"
#include "push/basTarn.h"
#include "tests/support/World.h"

namespace {

using namespace kr;

class Tarn : public ::testing::Test {
protected:
    Tarn() { world.LogOnConfigured(); }
    AgentSession& session() { return *world.session; }
    void answer(int status, const std::string& text, const std::string& body) {
        world.http.answer = [=](const FakeHttp::Request&) {
            return FakeHttp::Response{status, text, body};
        };
    }
    World world;
};

TEST(TarnText, Addresses) {
    EXPECT_EQ(TarnQuery("http://host/TARN", "?cmd=x"), "http://host/TARN/?cmd=x");
    EXPECT_EQ(TarnQuery("http://host/TARN/", "?cmd=x"), "http://host/TARN/?cmd=x");
    EXPECT_EQ(TarnQuery("http://host/TARN/Default.aspx", "?cmd=x"),
              "http://host/TARN/Default.aspx?cmd=x");
    EXPECT_EQ(CanonTarnURL("host/TARN"), "http://host/TARN/");
    EXPECT_EQ(CanonTarnURL("HTTPS://host/default.aspx"), "HTTPS://host/default.aspx");
    std::string url = "http://LocalHost/x";
    EXPECT_TRUE(ReplaceLocalhost(url, "PC1"));
    EXPECT_EQ(url, "http://PC1/x");
    EXPECT_FALSE(ReplaceLocalhost(url, "PC2"));
}

TEST_F(Tarn, TheAddressIsKeptOnTheAgentMessage) {
    EXPECT_EQ(GetTarnURL(session()), "");
    EXPECT_TRUE(SaveTarnURL(session(), "http://host/TARN/"));
    EXPECT_EQ(GetTarnURL(session()), "http://host/TARN/");
    EXPECT_TRUE(world.logHas("Saving new TARN URL: http://host/TARN/"));
    GetAgentMessage(session())->Delete();
    EXPECT_FALSE(SaveTarnURL(session(), "x"));
    EXPECT_TRUE(world.logHas("Error saving new TARN URL to agent message "));
}

TEST_F(Tarn, HealthWantsTheWord) {
    answer(200, "OK", "Hello");
    EXPECT_TRUE(IsRunningTarn(session(), "host/TARN"));
    EXPECT_EQ(world.http.sent.at(0).url, "http://host/TARN/?cmd=testhealth");
    EXPECT_TRUE(
        world.logHas("IsRunningTarn got expected response from http://host/TARN/?cmd=testhealth"));
    answer(200, "OK", "Hello!");
    EXPECT_FALSE(IsRunningTarn(session(), "host"));
    EXPECT_TRUE(world.logHas(
        "IsRunningTarn http://host/?cmd=testhealth failed with status:200 and response:Hello!"));
}

TEST_F(Tarn, PacketsWantTheStatus) {
    answer(200, "OK", "");
    EXPECT_TRUE(TestPdlTarn(session(), "http://host/"));
    EXPECT_EQ(world.http.sent.at(0).url, "http://host/?cmd=getpdl&pin=test");
    answer(200, "Fine", "");
    EXPECT_FALSE(TestPdlTarn(session(), "http://host/"));
}

TEST_F(Tarn, IconsAreAskedForByDate) {
    answer(200, "Whatever", "x");
    EXPECT_TRUE(TestIconTarn(session(), "http://host/"));
    EXPECT_EQ(world.http.sent.at(0).headers.at(0).second, "Sat, 1 Jan 2000 00:00:00 GMT");
    answer(304, "Not Modified", "");
    EXPECT_FALSE(TestIconTarn(session(), "http://host/"));
}

TEST_F(Tarn, FailuresAreLoggedUnderTheirNames) {
    answer(-1, "", "");
    EXPECT_FALSE(IsRunningTarn(session(), "http://host/"));
    EXPECT_FALSE(TestIconTarn(session(), "http://host/"));
    EXPECT_TRUE(world.logHas(
        "IsRunningTarn timed out waiting for request from http://host/?cmd=testhealth"));
    EXPECT_TRUE(world.logHas("TestIconTarn timed out waiting for response from "
                             "http://host/?cmd=geticon&listname=test"));
    world.http.fails = true;
    EXPECT_FALSE(TestPdlTarn(session(), "http://host/"));
    EXPECT_TRUE(
        world.logHas("TestPdlTarn unable to proceed: failed to instantiate WinHttpRequest object"));
}

} // namespace
