#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/basAgent.h"
#include "core/basStore.h"
#include "net/basWeb.h"
#include "tests/support/World.h"

namespace {

using namespace kr;
using ::testing::ElementsAre;

class Web : public ::testing::Test {
protected:
    Web() { world.LogOnConfigured(); }
    AgentSession& session() { return *world.session; }
    void set(const std::string& key, const Value& value) {
        const RDOMessagePtr agent = GetAgentMessage(session());
        SetKey(*agent, key, value);
        agent->Save();
    }
    void useProxy(int16_t setting) {
        set("ProxySetting", setting);
        set("ProxyServer", "http=one https=two");
        set("ProxyBypass", "<local>;*.test");
    }
    World world;
};

TEST_F(Web, WithoutASettingNoProxyIsUsedAndNothingElseIsRead) {
    set("ProxyServer", "left over");
    const ProxySettings proxy = GetProxySettings(session());
    EXPECT_EQ(proxy.setting, 1);
    EXPECT_EQ(proxy.server, "");
}

TEST_F(Web, TheNamedProxyIsReadForSettingTwoAlone) {
    useProxy(0);
    EXPECT_EQ(GetProxySettings(session()).server, "");
    useProxy(2);
    EXPECT_EQ(GetProxySettings(session()).server, "http=one https=two");
    EXPECT_EQ(GetProxySettings(session()).bypass, "<local>;*.test");
}

TEST_F(Web, CredentialsAreDeciphered) {
    useProxy(2);
    set("Proxy2", "<secret>");
    EXPECT_EQ(GetProxySettings(session()).password, "") << "no user, no credentials";
    set("Proxy1", "DOM\\user"); // a name that was never enciphered stays as it is
    EXPECT_EQ(GetProxySettings(session()).userName, "DOM\\user");
    EXPECT_EQ(GetProxySettings(session()).password, "secret");
}

TEST_F(Web, ARequestHasProxyTimeoutsAndIsAsynchronous) {
    useProxy(2);
    set("Proxy1", "DOM\\user");
    set("Proxy2", "<secret>");
    const auto request = CreateWebRequest(session(), "GET", "http://host/");
    ASSERT_TRUE(request);
    EXPECT_TRUE(WaitForWebResponse(session(), *request));
    const FakeHttp::Request& sent = world.http.sent.at(0);
    EXPECT_EQ(sent.proxy, ProxySetting::Named);
    EXPECT_EQ(sent.proxyServer, "http=one https=two");
    EXPECT_EQ(sent.proxyBypass, "<local>;*.test");
    EXPECT_EQ(sent.proxyUser, "DOM\\user");
    EXPECT_EQ(sent.proxyPassword, "secret");
    EXPECT_THAT(sent.timeouts, ElementsAre(20000, 20000, 30000, 30000));
    EXPECT_TRUE(sent.async);
    EXPECT_TRUE(world.logHas("CreateWebRequest:using proxy setting 2 with proxy=http=one "
                             "https=two; bypass=<local>;*.test; username=DOM\\user"));
    EXPECT_FALSE(world.logHas("secret"));
}

TEST_F(Web, ASettingAboveTwoActsAsTwo) {
    useProxy(3);
    const auto request = CreateWebRequest(session(), "GET", "http://host/");
    WaitForWebResponse(session(), *request);
    EXPECT_EQ(world.http.sent.at(0).proxy, ProxySetting::Named);
    EXPECT_TRUE(world.logHas("CreateWebRequest:using proxy setting 3 with proxy="));
}

TEST_F(Web, OtherSettingsAreHandedOn) {
    for (const auto& [setting, proxy] : {std::pair{int16_t{0}, ProxySetting::Preconfigured},
                                         std::pair{int16_t{1}, ProxySetting::Direct}}) {
        set("ProxySetting", setting);
        const auto request = CreateWebRequest(session(), "GET", "http://host/");
        WaitForWebResponse(session(), *request);
        EXPECT_EQ(world.http.sent.back().proxy, proxy);
    }
    EXPECT_TRUE(world.logHas("CreateWebRequest:using proxy setting 0\n"));
}

TEST_F(Web, AStoredPasswordWithoutAUserSendsNoCredentials) {
    useProxy(2);
    set("Proxy2", "<secret>");
    const auto request = CreateWebRequest(session(), "GET", "http://host/");
    WaitForWebResponse(session(), *request);
    EXPECT_EQ(world.http.sent.at(0).proxyUser, "");
    EXPECT_EQ(world.http.sent.at(0).proxyPassword, "");
}

TEST_F(Web, NoRequestIsLogged) {
    world.http.fails = true;
    EXPECT_FALSE(CreateWebRequest(session(), "GET", "http://host/"));
    EXPECT_TRUE(
        world.logHas("CreateWebRequest:error instantiating WinHTTP object Class not registered"));
}

TEST_F(Web, ASilentServerIsAbortedAfterTwelveRounds) {
    world.http.answer = [](const FakeHttp::Request&) { return FakeHttp::Response{-1}; };
    const auto request = CreateWebRequest(session(), "POST", "http://host/");
    EXPECT_FALSE(WaitForWebResponse(session(), *request, "body"));
    EXPECT_EQ(world.http.waits, 12);
    EXPECT_EQ(world.http.aborts, 1);
    EXPECT_EQ(world.http.sent.at(0).body, "body");
    EXPECT_TRUE(world.logHas("aborting submit after 120 seconds"));
}

TEST_F(Web, ARequestThatFailsEndsTheWaitAtOnceWithItsReason) {
    world.http.answer = [](const FakeHttp::Request&) { return FakeHttp::Response{0}; };
    const auto request = CreateWebRequest(session(), "GET", "http://host/");
    EXPECT_FALSE(WaitForWebResponse(session(), *request));
    EXPECT_EQ(world.http.waits, 1);
    EXPECT_TRUE(world.logHas("connection refused"));
}

TEST_F(Web, ProtocolsAreAppendedWhereNoneStands) {
    const auto canonized = [&](std::string url) {
        CanonizeProtocol(session(), url);
        return url;
    };
    EXPECT_EQ(canonized("host/page"), "http://host/page");
    EXPECT_TRUE(world.logHas("CanonizeProtocol:appending http:// to host/page"));
    EXPECT_EQ(canonized(""), "http://");
    for (const std::string url :
         {"HTTPS://host", "file:///x", "\\\\server\\share", "odd://x", "host?to=http://other"})
        EXPECT_EQ(canonized(url), url);
}

TEST(WebText, FileUrls) {
    EXPECT_TRUE(IsFileSystemURL("\\\\server\\x"));
    EXPECT_TRUE(IsFileSystemURL("FILE://x"));
    EXPECT_FALSE(IsFileSystemURL("\\server"));
    EXPECT_FALSE(IsFileSystemURL("http://file://"));
    EXPECT_FALSE(IsFileSystemURL(""));
}

TEST(WebText, OneByteForEachCharacter) {
    EXPECT_EQ(StringToBytes("a\u00e9\u20ac\u0178"), "a\xE9\x80\x9F");
    EXPECT_EQ(StringToBytes("\u05d0\U0001F600z"), "??z");
    EXPECT_EQ(StringToBytes("\xC3"), "?");
    EXPECT_EQ(StringToBytes(""), "");
    EXPECT_EQ(StringToBytes(std::string_view("a\0b", 3)), std::string("a\0b", 3));
}

} // namespace
