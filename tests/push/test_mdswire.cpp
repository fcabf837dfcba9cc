// The senders against the stand-in of a push server, over the real client: the stand-in checks
// every rule of the wire by itself.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "platform/http/curl/CurlHttp.h"
#include "push/basMDS.h"
#include "tests/mds/PushStandin.h"
#include "tests/support/World.h"

namespace {

using namespace kr;
using nlohmann::json;

class MdsWire : public ::testing::Test {
protected:
    static void SetUpTestSuite() { s_standin = std::make_unique<PushStandin>(); }
    static void TearDownTestSuite() { s_standin.reset(); }
    MdsWire() {
        const Platform& p = *m_world.platform;
        m_platform = std::make_unique<Platform>(Platform{p.store, p.registry, p.ui, p.events,
                                                         p.services, p.directory, p.shell,
                                                         p.database, *m_http, p.secrets, m_now});
        m_session = std::make_unique<AgentSession>(*m_platform, m_world.logPath());
    }
    AgentSession& session() { return *m_session; }
    static std::string host() { return "127.0.0.1:" + std::to_string(s_standin->port); }
    std::string ask(const std::string& method, const std::string& path) {
        auto request = m_http->CreateRequest();
        request->SetProxy(ProxySetting::Direct);
        request->Open(method, "http://" + host() + path, true);
        request->Send();
        request->WaitForResponse(10);
        return request->ResponseText();
    }
    json got(const std::string& pin) { return json::parse(ask("GET", "/handhelds/" + pin)); }
    void behave(const std::string& mode, const std::string& pin) {
        ask("POST", "/control?mode=" + mode + "&pin=" + pin);
    }
    static MdsPush channel(const std::string& pin) {
        MdsPush push;
        push.pushServer = host() + "|cHI6Y3I=";
        push.destination = pin;
        push.pushType = kBrowserChannel;
        push.title = "News & more";
        push.contentUrl = "http://intranet/news?a=1&b='";
        push.channelId = "{F0-1}";
        push.cache = true;
        push.readIcon = "http://i/r.gif";
        push.unreadIcon = "http://i/u.gif";
        push.expireDays = 30;
        push.body = std::string_view("\x00\xFFpage", 6);
        push.contentType = "text/html; charset=utf-8";
        push.notifyUrl = "?cmd=notify";
        return push;
    }
    bool send(const MdsPush& push) { return PushToMDS(session(), push, m_result); }

    static std::unique_ptr<PushStandin> s_standin;
    World m_world;
    SystemClock m_now;
    std::unique_ptr<HttpProvider> m_http = MakeCurlHttp(*m_world.events, {});
    std::unique_ptr<Platform> m_platform;
    std::unique_ptr<AgentSession> m_session;
    std::string m_result;
};

std::unique_ptr<PushStandin> MdsWire::s_standin;

TEST_F(MdsWire, EveryTypeKeepsTheRules) {
    ASSERT_GT(s_standin->port, 0);
    const MdsPush whole = channel("TYPES");
    EXPECT_TRUE(send(whole)) << m_result;
    for (const std::string_view type : {kBrowserMessage, kBrowserContent, kBrowserChannelDelete}) {
        MdsPush push = whole;
        push.pushType = type;
        EXPECT_TRUE(send(push)) << type << m_result;
    }
    MdsPush plain = whole; // the handheld fetches the page by itself
    plain.pushServer = host();
    plain.cache = false;
    plain.body = plain.contentType = plain.notifyUrl = "";
    EXPECT_TRUE(send(plain)) << m_result;
    EXPECT_EQ(m_result, "200:OK");
    EXPECT_EQ(got("TYPES").size(), 5U);
}

TEST_F(MdsWire, TheHandheldGetsWhatWasSent) {
    ASSERT_TRUE(send(channel("CONTENT")));
    const json push = got("CONTENT").at(0);
    EXPECT_EQ(push.at("query"), "DESTINATION=CONTENT&PORT=7874&REQUESTURI=/");
    EXPECT_EQ(push.at("body"), "AP9wYWdl");
    std::map<std::string, std::string> headers;
    for (const json& pair : push.at("headers"))
        headers[pair.at(0)] = pair.at(1);
    EXPECT_EQ(headers["X-RIM-Push-Title"], "News & more");
    EXPECT_EQ(headers["X-RIM-Push-Description"], "");
    EXPECT_EQ(headers["Content-Location"], "http://intranet/news?a=1&b='");
    EXPECT_EQ(headers["Authorization"], "Basic cHI6Y3I=");
    EXPECT_EQ(headers["Cache-Control"], "max-age=2592000");
    EXPECT_EQ(headers["Content-Length"], "6");
}

TEST_F(MdsWire, PayloadsKeepTheRules) {
    EXPECT_TRUE(PushMPL(session(), host(), "PAYLOAD", "caf\u00e9"));
    m_world.ui.Expect("The PINDL message has been successfully transmitted to the MDS server.");
    EXPECT_TRUE(PushPDL(session(), host(), "PAYLOAD", "list"));
    const json pushes = got("PAYLOAD");
    ASSERT_EQ(pushes.size(), 2U);
    EXPECT_EQ(pushes.at(0).at("body"), "Y2Fm6Q=="); // one byte a character
}

TEST_F(MdsWire, WhatTheServerForbidsIsNoSuccess) {
    MdsPush odd = channel("ODD");
    odd.pushType = "Browser-Other";
    EXPECT_FALSE(send(odd));
    EXPECT_EQ(m_result, "400:Bad Request");
    EXPECT_TRUE(got("ODD").empty());
}

/// What each sender makes of each mood of the server.
TEST_F(MdsWire, RefusalsAndFailuresAreTold) {
    const struct {
        const char* mode;
        const char* result;
        const char* line; // of PushMPL
    } table[] = {
        {"401", "401:Unauthorized", "response status = 401:Unauthorized; responseText = "},
        {"403", "403:Forbidden", "response status = 403:Forbidden; responseText = "},
        {"500", "500:Internal Server Error",
         "response status = 500:Internal Server Error; responseText = "},
        {"close", "timed out", "timed out waiting for response from http://"},
        {"nonsense", "timed out", "timed out waiting for response from http://"},
    };
    for (const auto& row : table) {
        behave(row.mode, "MOODY");
        const auto start = std::chrono::steady_clock::now();
        EXPECT_FALSE(send(channel("MOODY"))) << row.mode;
        EXPECT_EQ(m_result, row.result);
        EXPECT_FALSE(PushMPL(session(), host(), "MOODY", "payload")) << row.mode;
        EXPECT_TRUE(m_world.logHas(std::string("PushMPL:") + row.line)) << row.mode;
        // a box would be an unexpected one: only success is told
        EXPECT_FALSE(PushPDL(session(), host(), "MOODY", "payload")) << row.mode;
        EXPECT_TRUE(m_world.logHas(std::string("PushPDL:") + row.line)) << row.mode;
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3)) << row.mode;
    }
    EXPECT_TRUE(m_world.logHas("PushToMDS: problem pushing Browser-Channel through " + host() +
                               "|cHI6Y3I= to MOODY; status 403:Forbidden"));
    EXPECT_TRUE(m_world.logHas("PushToMDS:timed out waiting for response from http://" + host()));
    EXPECT_TRUE(m_world.logHas("WaitForWebResponse:request failed: "));
    EXPECT_TRUE(got("MOODY").empty()) << "what failed did not arrive";
    behave("ok", "MOODY");
    EXPECT_TRUE(send(channel("MOODY")));
    EXPECT_EQ(got("MOODY").size(), 1U);
}

TEST_F(MdsWire, ASlowServerIsWaitedForWithEventsAlive) {
    ask("POST", "/control?mode=slow&seconds=1.2&pin=SLOW");
    int ticks = 0;
    m_world.events->AddTimer(std::chrono::milliseconds(20), [&] { ++ticks; });
    EXPECT_TRUE(send(channel("SLOW")));
    EXPECT_EQ(m_result, "200:OK");
    EXPECT_GT(ticks, 30);
    EXPECT_EQ(got("SLOW").size(), 1U) << "sent once";
}

TEST_F(MdsWire, AServerThatNeverAnswersIsWaitedForUntilItDies) {
    auto silent = std::make_unique<PushStandin>();
    ASSERT_GT(silent->port, 0);
    const std::string address = "127.0.0.1:" + std::to_string(silent->port);
    auto control = m_http->CreateRequest();
    control->SetProxy(ProxySetting::Direct);
    control->Open("POST", "http://" + address + "/control?mode=never", true);
    control->Send();
    ASSERT_TRUE(control->WaitForResponse(10));
    MdsPush push = channel("NEVER");
    push.pushServer = address;
    m_world.events->AddTimer(std::chrono::milliseconds(800), [&] { silent.reset(); });
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(send(push));
    EXPECT_GT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(700));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    EXPECT_EQ(m_result, "timed out");
    EXPECT_TRUE(m_world.logHas("PushToMDS:timed out waiting for response from http://" + address));
}

TEST_F(MdsWire, ADeadServerEndsTheWaitAtOnce) {
    MdsPush push = channel("NOBODY");
    push.pushServer = "127.0.0.1:1";
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(send(push));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

} // namespace
