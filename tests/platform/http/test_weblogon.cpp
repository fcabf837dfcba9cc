// Logging on: to a web server of a real Kerberos realm, and to a proxy that speaks NTLM.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <thread>

#include "core/CBase64.h"
#include "platform/events/epoll/EpollEvents.h"
#include "platform/http/curl/CurlHttp.h"
#include "tests/platform/http/KerberosPeer.h"
#include "tests/platform/http/ScriptedServer.h"
#include "tests/support/Loopback.h"

namespace {

using namespace kr;
using namespace std::chrono_literals;
using Steady = std::chrono::steady_clock;
using ::testing::HasSubstr;
using ::testing::Not;

class WebLogonTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { s_realm = std::make_unique<KerberosPeer>(); }
    static void TearDownTestSuite() { s_realm.reset(); }
    void SetUp() override { ASSERT_TRUE(s_realm->ready()) << s_realm->output(); }
    std::unique_ptr<WebRequest> send(AutoLogonPolicy policy, const std::string& method = "GET") {
        auto request = http->CreateRequest();
        request->SetProxy(ProxySetting::Direct);
        request->SetAutoLogonPolicy(policy);
        request->Open(method, s_realm->url(), true);
        request->Send(method == "POST" ? "body" : "");
        return request;
    }
    /// So many lines behind those that were there; the server writes them after its answers.
    static std::string logged(size_t before, int lines) {
        std::string log;
        for (int turn = 0; turn < 100; ++turn) {
            log = s_realm->log().substr(before);
            if (std::ranges::count(log, '\n') >= lines)
                break;
            std::this_thread::sleep_for(20ms);
        }
        return log;
    }
    std::unique_ptr<Events> events = MakeEpollEvents();
    std::unique_ptr<HttpProvider> http = MakeCurlHttp(*events, {});
    static inline std::unique_ptr<KerberosPeer> s_realm;
};

TEST_F(WebLogonTest, ATicketOpensThePageWhenThePolicyAllows) {
    const size_t before = s_realm->log().size();
    const auto request = send(AutoLogonPolicy::Always);
    ASSERT_TRUE(request->WaitForResponse(10)) << request->Failure().value_or("");
    EXPECT_EQ(request->Status(), 200) << s_realm->output();
    EXPECT_EQ(request->ResponseBody(), "only for people of the realm");
    EXPECT_EQ(logged(before, 2), "401 -\n200 alice@EXAMPLE.TEST\n") << "anonymously first";
}

TEST_F(WebLogonTest, OtherPoliciesStayAnonymous) {
    const size_t before = s_realm->log().size();
    for (const auto policy : {AutoLogonPolicy::OnlyIfBypassProxy, AutoLogonPolicy::Never}) {
        const auto request = send(policy);
        ASSERT_TRUE(request->WaitForResponse(10));
        EXPECT_EQ(request->Status(), 401);
    }
    EXPECT_EQ(logged(before, 2), "401 -\n401 -\n");
}

TEST_F(WebLogonTest, WithoutATicketTheRefusalStands) {
    s_realm->ForgetTickets();
    const auto start = Steady::now();
    const auto request = send(AutoLogonPolicy::Always);
    request->WaitForResponse(10);
    EXPECT_EQ(request->Status(), 401) << request->Failure().value_or("");
    EXPECT_LT(Steady::now() - start, 3s);
}

/// The Kerberos library blocks while a key server is silent; the window must not.
TEST_F(WebLogonTest, ASilentKeyServerHoldsNobody) {
    const ListeningSocket silent = ListenOnLoopback();
    ASSERT_TRUE(s_realm->MoveKeyServer(silent.port));
    auto last = Steady::now();
    auto longest = 0ms;
    events->AddTimer(10ms, [&] {
        const auto now = Steady::now();
        longest =
            std::max(longest, std::chrono::duration_cast<std::chrono::milliseconds>(now - last));
        last = now;
    });
    auto request = send(AutoLogonPolicy::Always);
    EXPECT_FALSE(request->WaitForResponse(1));
    EXPECT_EQ(request->Failure(), std::nullopt) << "still at it";
    EXPECT_LT(longest, 500ms);
    const auto start = Steady::now();
    request->Abort();
    EXPECT_FALSE(request->WaitForResponse(10));
    request.reset();
    EXPECT_LT(Steady::now() - start, 200ms);
    close(silent.fd); // lets the worker end before the realm goes
    std::this_thread::sleep_for(300ms);
}

// --- NTLM

/// The second message of the three: a challenge without names, in UTF-16.
std::string challenge() {
    std::string message("NTLMSSP\0\x02\0\0\0\0\0\0\0\x30\0\0\0\x01\x82\0\0ABCDEFGH", 32);
    message.append(16, '\0');
    message[44] = 0x30;
    std::string text;
    CBase64().BASE64_Encode(message, text);
    return text;
}

/// The token of a request, decoded; "" without one.
std::string token(const std::string& request) {
    const std::string name = "Proxy-Authorization: NTLM ";
    const size_t at = request.find(name);
    if (at == std::string::npos)
        return {};
    const size_t from = at + name.size();
    Bytes bytes;
    CBase64().BASE64_DecodeEx(request.substr(from, request.find("\r\n", from) - from), bytes);
    return {bytes.begin(), bytes.end()};
}

std::string wide(const std::string& text) {
    std::string bytes;
    for (const char c : text)
        bytes += std::string(1, c) + '\0';
    return bytes;
}

class NtlmProxyTest : public ::testing::Test {
protected:
    std::string refusal(const std::string& more) const {
        return "HTTP/1.1 407 Proxy\r\nProxy-Authenticate: NTLM" + more +
               "\r\nContent-Length: 0\r\n\r\n";
    }
    std::unique_ptr<WebRequest> send(ScriptedServer& proxy) {
        auto request = http->CreateRequest();
        request->SetProxy(ProxySetting::Named, "127.0.0.1:" + std::to_string(proxy.port()));
        request->SetCredentials("DOM\\user", "secret", true);
        request->Open("POST", "http://far.example.test/push", true);
        request->Send("the body");
        request->WaitForResponse(10);
        return request;
    }
    std::unique_ptr<Events> events = MakeEpollEvents();
    std::unique_ptr<HttpProvider> http = MakeCurlHttp(*events, {});
};

TEST_F(NtlmProxyTest, DomainAndUserGoThroughTheThreeMessages) {
    ScriptedServer proxy([&](const std::string& request) {
        const std::string message = token(request);
        const char kind = message.size() > 8 ? message[8] : '\0';
        return ScriptedServer::Answer{kind == 3   ? Ok("in")
                                      : kind == 1 ? refusal(" " + challenge())
                                                  : refusal("")};
    });
    const auto request = send(proxy);
    EXPECT_EQ(request->ResponseText(), "in") << request->Failure().value_or("");
    const auto requests = proxy.requests();
    ASSERT_GE(requests.size(), 2U);
    EXPECT_TRUE(requests.back().ends_with("\r\n\r\nthe body"));
    const std::string last = token(requests.back());
    EXPECT_THAT(last, HasSubstr(wide("DOM")));
    EXPECT_THAT(last, HasSubstr(wide("user")));
    for (const std::string& one : requests)
        EXPECT_THAT(one + token(one), Not(HasSubstr("secret")));
    EXPECT_EQ(proxy.connections(), 1) << "the proxy knows the connection, and no other";
}

TEST_F(NtlmProxyTest, AProxyThatIsNeverContentEnds) {
    ScriptedServer proxy([&](const std::string& request) {
        const std::string message = token(request);
        return ScriptedServer::Answer{
            refusal(message.size() > 8 && message[8] == 1 ? " " + challenge() : "")};
    });
    const auto request = send(proxy);
    EXPECT_EQ(request->Status(), 407) << request->Failure().value_or("");
    EXPECT_LE(proxy.requests().size(), 4U);
}

TEST_F(NtlmProxyTest, AChallengeThatIsNoneEnds) {
    for (const char* odd : {" AAAA", " !!", " TlRMTVNTUAACAAAA"}) {
        ScriptedServer proxy([&](const std::string& request) {
            return ScriptedServer::Answer{refusal(token(request).empty() ? "" : odd)};
        });
        const auto start = Steady::now();
        const auto request = send(proxy);
        EXPECT_NE(request->Status(), 200) << odd;
        EXPECT_LE(proxy.requests().size(), 4U) << odd;
        EXPECT_LT(Steady::now() - start, 3s);
    }
}

} // namespace
