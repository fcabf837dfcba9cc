// Web requests of the console as its parts make them, over real connections.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

#include "core/basAgent.h"
#include "core/basStore.h"
#include "net/basWeb.h"
#include "tests/net/WebWorld.h"
#include "tests/platform/http/ScriptedServer.h"
#include "tests/platform/http/WebPeers.h"
#include "tests/support/Loopback.h"

namespace {

using namespace kr;
using namespace std::chrono_literals;
using Steady = std::chrono::steady_clock;
using Answer = ScriptedServer::Answer;
using ::testing::HasSubstr;

class WebWire : public ::testing::Test {
protected:
    AgentSession& session() { return *world.session; }
    void set(const std::string& key, const Value& value) {
        const RDOMessagePtr agent = GetAgentMessage(session());
        SetKey(*agent, key, value);
        agent->Save();
    }
    /// The text of the response; nothing when none came.
    std::optional<std::string> get(const std::string& url) {
        const auto request = CreateWebRequest(session(), "GET", url);
        if (!request || !WaitForWebResponse(session(), *request))
            return std::nullopt;
        status = request->Status();
        return request->ResponseText();
    }
    bool logs(const std::string& text) { return world.logHas(text); }
    WebWorld world;
    int status = 0;
};

class WebWireProxy : public WebWire {
protected:
    static void SetUpTestSuite() { s_nginx = std::make_unique<NginxPeer>(); }
    static void TearDownTestSuite() { s_nginx.reset(); }
    void SetUp() override { ASSERT_TRUE(s_nginx->ready()); }
    void use(const std::string& server, const std::string& bypass = {}) {
        set("ProxySetting", int16_t{2});
        set("ProxyServer", server);
        set("ProxyBypass", bypass);
    }
    static inline std::unique_ptr<NginxPeer> s_nginx;
};

TEST_F(WebWireProxy, TheKeysOfTheAgentMessageDecide) {
    const TinyproxyPeer proxy;
    ASSERT_TRUE(proxy.ready());
    const std::string via = s_nginx->url("/via");
    EXPECT_EQ(get(via), "via ") << "no setting: direct";
    use(proxy.address());
    EXPECT_THAT(get(via).value_or(""), HasSubstr("tinyproxy"));
    EXPECT_TRUE(logs("CreateWebRequest:using proxy setting 2 with proxy=" + proxy.address() +
                     "; bypass=; username="));
    set("ProxySetting", int16_t{7});
    EXPECT_THAT(get(via).value_or(""), HasSubstr("tinyproxy")) << "above 2 acts as 2";
    use(proxy.address(), "*.example;127.0.0.*");
    EXPECT_EQ(get(via), "via ");
    use("http=" + proxy.address() + " https=127.0.0.1:1");
    EXPECT_THAT(get(via).value_or(""), HasSubstr("tinyproxy"));
    set("ProxySetting", int16_t{1});
    EXPECT_EQ(get(via), "via ") << "direct, whatever else is kept";
}

TEST_F(WebWireProxy, CredentialsGoToTheProxyAndNotToTheLog) {
    const TinyproxyPeer proxy("BasicAuth user secret\n");
    ASSERT_TRUE(proxy.ready());
    use(proxy.address());
    set("Proxy2", "<secret>");
    EXPECT_TRUE(get(s_nginx->url("/via")));
    EXPECT_EQ(status, 407) << "a password without a user is none";
    set("Proxy1", "user");
    EXPECT_THAT(get(s_nginx->url("/via")).value_or(""), HasSubstr("tinyproxy"));
    EXPECT_EQ(status, 200);
    EXPECT_TRUE(logs("username=user\n"));
    EXPECT_FALSE(logs("secret"));
}

TEST_F(WebWireProxy, ADeadProxyIsSeenAtOnce) {
    use("127.0.0.1:" + std::to_string(FreePort()));
    const auto start = Steady::now();
    EXPECT_EQ(get(s_nginx->url("/via")), std::nullopt);
    EXPECT_LT(Steady::now() - start, 2s);
    EXPECT_TRUE(logs("WaitForWebResponse:request failed: "));
    EXPECT_TRUE(logs("connect"));
}

TEST_F(WebWire, WhatIsNoAnswerEndsTheWaitAtOnceWithItsReason) {
    const struct {
        Answer answer;
        const char* reason;
    } table[] = {
        {{"", true}, "Server returned nothing"},
        {{"no HTTP at all\r\n\r\n", true}, "HTTP/0.9"},
        {{"HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\ncut", true}, "remaining to read"},
        {{"HTTP/1.1 200 OK\r\n", false, 0, 0, false, "X: y\r\n"}, "head of the response"},
        {{"HTTP/1.1 302 Found\r\nLocation: file:///etc/passwd\r\nContent-Length: 0\r\n\r\n"},
         "redirected to file:///etc/passwd, which is refused"},
    };
    for (const auto& row : table) {
        ScriptedServer server([&](const std::string&) { return row.answer; });
        const size_t before = world.log().size();
        const auto start = Steady::now();
        EXPECT_EQ(get(server.url()), std::nullopt) << row.reason;
        EXPECT_LT(Steady::now() - start, 2s) << row.reason;
        const std::string lines = world.log().substr(before);
        EXPECT_THAT(lines, HasSubstr("WaitForWebResponse:request failed: "));
        EXPECT_THAT(lines, HasSubstr(row.reason));
        EXPECT_EQ(lines.find("aborting"), std::string::npos);
    }
}

TEST_F(WebWire, AddressesThatCannotBeAskedForGiveNoRequest) {
    for (const char* url : {"", "host/page", "file:///etc/passwd", "ftp://host/", "http://",
                            "http://a b/", "javascript:alert(1)"}) {
        EXPECT_FALSE(CreateWebRequest(session(), "GET", url)) << url;
        EXPECT_TRUE(logs("CreateWebRequest:error instantiating WinHTTP object ")) << url;
    }
}

TEST_F(WebWire, ASlowServerIsWaitedForWithEventsAlive) {
    ScriptedServer server([](const std::string&) { return Answer{Ok("late"), false, 1200}; });
    int ticks = 0;
    world.events->AddTimer(20ms, [&] { ++ticks; });
    EXPECT_EQ(get(server.url()), "late");
    EXPECT_GT(ticks, 30);
}

} // namespace
