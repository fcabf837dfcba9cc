#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

#include "platform/events/epoll/EpollEvents.h"
#include "platform/http/curl/CurlHttp.h"
#include "tests/platform/http/ScriptedServer.h"
#include "tests/support/Loopback.h"

namespace {

using namespace kr;
using Steady = std::chrono::steady_clock;
using ::testing::HasSubstr;
using ::testing::Not;

class CurlRequestTest : public ::testing::Test {
protected:
    std::unique_ptr<WebRequest> open(const std::string& method, const std::string& url) {
        auto request = http->CreateRequest();
        request->SetProxy(ProxySetting::Direct);
        request->SetTimeouts(20'000, 20'000, 30'000, 30'000);
        request->Open(method, url, true);
        return request;
    }
    std::unique_ptr<WebRequest> get(const std::string& url) {
        auto request = open("GET", url);
        request->Send();
        request->WaitForResponse(10);
        return request;
    }
    void answer(const std::string& bytes) {
        server = std::make_unique<ScriptedServer>(
            [bytes](const std::string&) { return ScriptedServer::Answer{bytes}; });
    }

    std::unique_ptr<Events> events = MakeEpollEvents();
    int idled = 0;
    std::unique_ptr<HttpProvider> http = MakeCurlHttp(*events, [this] { ++idled; }, {1 << 20, ""});
    std::unique_ptr<ScriptedServer> server;
};

TEST_F(CurlRequestTest, SendsHeadersInTheirOrderAndNothingUnasked) {
    answer(Ok("hello"));
    auto request = open("POST", server->url("/push?DESTINATION=x'y&PORT=7874&REQUESTURI=/"));
    request->SetRequestHeader("X-RIM-Push-Type", "Browser-Message");
    request->SetRequestHeader("X-RIM-Push-Title", "");
    request->SetRequestHeader("Content-Type", "text/html");
    request->SetRequestHeader("A-Last", "1");
    request->Send("body");
    ASSERT_TRUE(request->WaitForResponse(10));
    EXPECT_EQ(server->requests().at(0),
              "POST /push?DESTINATION=x'y&PORT=7874&REQUESTURI=/ HTTP/1.1\r\n"
              "Host: 127.0.0.1:" +
                  std::to_string(server->port()) +
                  "\r\nAccept: */*\r\n"
                  "X-RIM-Push-Type: Browser-Message\r\nX-RIM-Push-Title:\r\n"
                  "Content-Type: text/html\r\nA-Last: 1\r\nContent-Length: 4\r\n\r\nbody");
    EXPECT_EQ(request->Status(), 200);
    EXPECT_EQ(request->StatusText(), "OK");
    EXPECT_EQ(request->ResponseBody(), "hello");
    EXPECT_EQ(request->GetResponseHeader("content-TYPE"), "text/html");
    EXPECT_EQ(request->GetResponseHeader("Missing"), std::nullopt);
    EXPECT_EQ(request->GetAllResponseHeaders(), "Content-Type: text/html\r\nContent-Length: 5\r\n");
}

TEST_F(CurlRequestTest, APostWithoutBodyHasNoType) {
    answer(Ok(""));
    auto request = open("POST", server->url());
    request->Send();
    ASSERT_TRUE(request->WaitForResponse(10));
    EXPECT_THAT(server->requests().at(0), HasSubstr("Content-Length: 0\r\n"));
    EXPECT_THAT(server->requests().at(0), Not(HasSubstr("Content-Type")));
}

TEST_F(CurlRequestTest, ALargeBodyIsSentWithoutAsking) {
    answer(Ok("x"));
    auto request = open("POST", server->url());
    request->Send(std::string(2 << 20, 'b'));
    ASSERT_TRUE(request->WaitForResponse(10));
    EXPECT_THAT(server->requests().at(0).substr(0, 300), Not(HasSubstr("Expect")));
    EXPECT_GT(server->requests().at(0).size(), size_t{2 << 20});
}

TEST_F(CurlRequestTest, RequestObjectsShareOneConnection) {
    answer(Ok("x"));
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(get(server->url())->Status(), 200);
    EXPECT_EQ(server->connections(), 1);
}

TEST_F(CurlRequestTest, AConnectionThatEndsAtRestKeepsNobodyBusy) {
    server = std::make_unique<ScriptedServer>([](const std::string&) {
        return ScriptedServer::Answer{Ok("x"), true};
    });
    // a name, whose reader has descriptors of its own, and the numbers of closed ones come again
    const std::string url = "http://localhost:" + std::to_string(server->port()) + "/";
    for (int i = 1; i <= 3; ++i) {
        EXPECT_EQ(get(url)->Status(), 200) << i;
        int turns = 0;
        for (const auto end = Steady::now() + std::chrono::milliseconds(150); Steady::now() < end;
             ++turns)
            events->Run(std::chrono::milliseconds(50));
        EXPECT_LT(turns, 20) << i;
        EXPECT_EQ(server->connections(), i);
    }
}

TEST_F(CurlRequestTest, DotsInThePathStay) {
    answer(Ok("x"));
    get(server->url("/../b c.html"));
    EXPECT_THAT(server->requests().at(0), HasSubstr("GET /../b%20c.html HTTP/1.1"));
}

TEST_F(CurlRequestTest, LineBreaksInHeadersAreRefused) {
    auto request = open("GET", "http://127.0.0.1/");
    EXPECT_THROW(request->SetRequestHeader("X", "a\r\nY: b"), PlatformError);
    EXPECT_THROW(request->SetRequestHeader("X\n", "a"), PlatformError);
    EXPECT_THROW(request->SetRequestHeader("X", std::string_view("a\0b", 3)), PlatformError);
    EXPECT_THROW(request->SetRequestHeader("", "a"), PlatformError);
}

TEST_F(CurlRequestTest, OtherProtocolsAreRefused) {
    auto request = http->CreateRequest();
    for (const char* url : {"file:///etc/passwd", "ftp://host/", "host/path", "", "javascript:x"})
        EXPECT_THROW(request->Open("GET", url, true), PlatformError) << url;
    EXPECT_THROW(request->Send(), PlatformError);
}

TEST_F(CurlRequestTest, ARefusedConnectionEndsAtOnce) {
    const auto start = Steady::now();
    auto request = get("http://127.0.0.1:" + std::to_string(FreePort()) + "/");
    EXPECT_LT(Steady::now() - start, std::chrono::seconds(2));
    EXPECT_FALSE(request->WaitForResponse(10));
    ASSERT_TRUE(request->Failure());
    EXPECT_FALSE(request->Failure()->empty());
    EXPECT_EQ(request->Status(), 0);
}

TEST_F(CurlRequestTest, WaitsInSlicesAndKeepsEventsAlive) {
    server = std::make_unique<ScriptedServer>([](const std::string&) {
        return ScriptedServer::Answer{Ok("late"), false, 1500};
    });
    int ticks = 0;
    events->AddTimer(std::chrono::milliseconds(10), [&] { ++ticks; });
    auto request = open("GET", server->url());
    request->Send();
    EXPECT_FALSE(request->WaitForResponse(1));
    EXPECT_FALSE(request->Failure());
    EXPECT_TRUE(request->WaitForResponse(10));
    EXPECT_EQ(request->ResponseText(), "late");
    EXPECT_GT(ticks, 50);
    EXPECT_GT(idled, 10);
}

TEST_F(CurlRequestTest, AbortEndsASilentRequest) {
    server = std::make_unique<ScriptedServer>([](const std::string&) {
        return ScriptedServer::Answer{"", false, 0, 0, true};
    });
    auto request = open("GET", server->url());
    request->Send();
    EXPECT_FALSE(request->WaitForResponse(0));
    request->Abort();
    EXPECT_FALSE(request->WaitForResponse(10));
    EXPECT_TRUE(request->Failure());
}

TEST_F(CurlRequestTest, ARequestMayGoWhileItRunsOrIsWaitedFor) {
    server = std::make_unique<ScriptedServer>([](const std::string&) {
        return ScriptedServer::Answer{"", false, 0, 0, true};
    });
    auto request = open("GET", server->url());
    request->Send();
    events->Run(std::chrono::milliseconds(50));
    events->AddTimer(std::chrono::milliseconds(30), [&] { request.reset(); });
    EXPECT_FALSE(request->WaitForResponse(5));
    EXPECT_EQ(request, nullptr);
}

TEST_F(CurlRequestTest, FollowsRedirectionsAndTurnsAPostIntoAGet) {
    server = std::make_unique<ScriptedServer>([](const std::string& request) {
        if (request.find(" /start ") != std::string::npos)
            return ScriptedServer::Answer{
                "HTTP/1.1 302 Found\r\nLocation: /end\r\nContent-Length: 0\r\n\r\n"};
        return ScriptedServer::Answer{Ok("there")};
    });
    auto request = open("POST", server->url("/start"));
    request->SetRequestHeader("Content-Type", "text/plain");
    request->SetRequestHeader("X-Mine", "1");
    request->Send("body");
    ASSERT_TRUE(request->WaitForResponse(10));
    EXPECT_EQ(request->ResponseText(), "there");
    const std::string second = server->requests().at(1);
    EXPECT_TRUE(second.starts_with("GET /end HTTP/1.1\r\n"));
    EXPECT_THAT(second, HasSubstr("X-Mine: 1"));
    EXPECT_THAT(second, Not(HasSubstr("Content-Type")));
}

TEST_F(CurlRequestTest, ATemporaryRedirectionKeepsTheBody) {
    server = std::make_unique<ScriptedServer>([](const std::string& request) {
        if (request.find(" /start ") != std::string::npos)
            return ScriptedServer::Answer{
                "HTTP/1.1 307 Moved\r\nLocation: /end\r\nContent-Length: 0\r\n\r\n"};
        return ScriptedServer::Answer{Ok("there")};
    });
    auto request = open("POST", server->url("/start"));
    request->Send("body");
    ASSERT_TRUE(request->WaitForResponse(10));
    EXPECT_TRUE(server->requests().at(1).starts_with("POST /end HTTP/1.1\r\n"));
    EXPECT_TRUE(server->requests().at(1).ends_with("\r\n\r\nbody"));
}

TEST_F(CurlRequestTest, AuthorizationStaysWithItsServer) {
    ScriptedServer other([](const std::string&) { return ScriptedServer::Answer{Ok("other")}; });
    const std::string target = other.url("/");
    server = std::make_unique<ScriptedServer>([target](const std::string&) {
        return ScriptedServer::Answer{"HTTP/1.1 301 Moved\r\nLocation: " + target +
                                      "\r\nContent-Length: 0\r\n\r\n"};
    });
    auto request = open("GET", server->url());
    request->SetRequestHeader("Authorization", "Basic c2VjcmV0");
    request->Send();
    ASSERT_TRUE(request->WaitForResponse(10));
    EXPECT_THAT(server->requests().at(0), HasSubstr("Authorization"));
    EXPECT_THAT(other.requests().at(0), Not(HasSubstr("Authorization")));
}

TEST_F(CurlRequestTest, CirclesAndFilesAreRefused) {
    answer("HTTP/1.1 302 Found\r\nLocation: /again\r\nContent-Length: 0\r\n\r\n");
    EXPECT_THAT(get(server->url())->Failure().value_or(""), HasSubstr("10 times"));
    EXPECT_EQ(server->requests().size(), 11U);
    answer("HTTP/1.1 302 Found\r\nLocation: file:///etc/passwd\r\nContent-Length: 0\r\n\r\n");
    EXPECT_THAT(get(server->url())->Failure().value_or(""), HasSubstr("file:///etc/passwd"));
}

TEST_F(CurlRequestTest, AnEndlessBodyIsCutOff) {
    server = std::make_unique<ScriptedServer>([](const std::string&) {
        return ScriptedServer::Answer{"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n"
                                      "200000\r\n" +
                                      std::string(0x200000, 'x') + "\r\n0\r\n\r\n"};
    });
    EXPECT_THAT(get(server->url())->Failure().value_or(""), HasSubstr("longer than 1 MB"));
    answer(Ok(std::string(0x200000, 'y')));
    EXPECT_THAT(get(server->url())->Failure().value_or(""), HasSubstr("longer than 1 MB"));
    answer(Ok(std::string(1 << 20, 'z')));
    EXPECT_EQ(get(server->url())->ResponseBody().size(), size_t{1 << 20});
}

TEST_F(CurlRequestTest, AnAnswerThatIsCutShortIsNone) {
    server = std::make_unique<ScriptedServer>([](const std::string&) {
        return ScriptedServer::Answer{"HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nshort", true};
    });
    auto request = get(server->url());
    EXPECT_TRUE(request->Failure());
    EXPECT_EQ(request->ResponseBody(), "");
}

TEST_F(CurlRequestTest, NonsenseIsNoAnswer) {
    answer("this is not HTTP\r\n\r\n");
    EXPECT_TRUE(get(server->url())->Failure());
}

TEST_F(CurlRequestTest, APauseInTheBodyHasALimit) {
    server = std::make_unique<ScriptedServer>([](const std::string&) {
        return ScriptedServer::Answer{"HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nfirst"};
    });
    auto request = http->CreateRequest();
    request->SetProxy(ProxySetting::Direct);
    request->SetTimeouts(1000, 1000, 1000, 1000);
    request->Open("GET", server->url(), true);
    request->Send();
    EXPECT_FALSE(request->WaitForResponse(10));
    EXPECT_EQ(request->Failure(), "The server stopped sending.");
}

TEST_F(CurlRequestTest, ASlowServerThatKeepsSendingIsWaitedFor) {
    server = std::make_unique<ScriptedServer>([](const std::string&) {
        return ScriptedServer::Answer{Ok("drop by drop"), false, 0, 30};
    });
    auto request = open("GET", server->url());
    request->SetTimeouts(1000, 1000, 1000, 1000);
    request->Send();
    EXPECT_TRUE(request->WaitForResponse(20)) << request->Failure().value_or("");
    EXPECT_EQ(request->ResponseText(), "drop by drop");
}

TEST_F(CurlRequestTest, ASynchronousRequestWaitsByItself) {
    answer(Ok("now"));
    auto request = http->CreateRequest();
    request->SetProxy(ProxySetting::Direct);
    request->Open("GET", server->url(), false);
    request->Send();
    EXPECT_EQ(request->Status(), 200);
    EXPECT_TRUE(request->WaitForResponse(0));
}

TEST_F(CurlRequestTest, OpenAgainDropsHeadersAndKeepsSettings) {
    answer(Ok("x"));
    auto request = open("GET", server->url("/one"));
    request->SetRequestHeader("X-One", "1");
    request->Send();
    ASSERT_TRUE(request->WaitForResponse(10));
    request->Open("GET", server->url("/two"), true);
    EXPECT_EQ(request->Status(), 0);
    request->Send();
    ASSERT_TRUE(request->WaitForResponse(10));
    EXPECT_THAT(server->requests().at(1), Not(HasSubstr("X-One")));
}

TEST_F(CurlRequestTest, IdentityIsOfferedOnlyWhenAllowedAndAsked) {
    answer("HTTP/1.1 401 Unauthorized\r\nWWW-Authenticate: Basic realm=x\r\n"
           "Content-Length: 0\r\n\r\n");
    auto request = open("GET", server->url());
    request->SetAutoLogonPolicy(AutoLogonPolicy::Always);
    request->Send();
    ASSERT_TRUE(request->WaitForResponse(10));
    EXPECT_EQ(request->Status(), 401);
    EXPECT_EQ(server->requests().size(), 1U);
    EXPECT_THAT(server->requests().at(0), Not(HasSubstr("Authorization")));
}

TEST_F(CurlRequestTest, AServerThatWantsNegotiateIsAskedOnceMore) {
    answer("HTTP/1.1 401 Unauthorized\r\nWWW-Authenticate: Negotiate\r\n"
           "Content-Length: 0\r\n\r\n");
    auto never = open("GET", server->url());
    never->Send();
    ASSERT_TRUE(never->WaitForResponse(10));
    EXPECT_EQ(server->requests().size(), 1U) << "the policy forbids it";
    auto request = open("GET", server->url());
    request->SetAutoLogonPolicy(AutoLogonPolicy::Always);
    request->SetRequestHeader("Authorization", "Basic Zm9v");
    request->Send();
    request->WaitForResponse(20);
    EXPECT_EQ(request->Status(), 401) << request->Failure().value_or("");
    const auto requests = server->requests();
    ASSERT_GE(requests.size(), 2U);
    EXPECT_THAT(requests.at(1), HasSubstr("Authorization: Basic Zm9v"));
    for (size_t i = 2; i < requests.size(); ++i)
        EXPECT_THAT(requests.at(i), Not(HasSubstr("Basic")));
}

TEST_F(CurlRequestTest, ANamedProxyGetsTheRequest) {
    answer(Ok("from the proxy"));
    auto request = http->CreateRequest();
    request->SetProxy(ProxySetting::Named, "127.0.0.1:" + std::to_string(server->port()),
                      "*.bypass.test");
    request->Open("GET", "http://far.example.test/page", true);
    request->Send();
    ASSERT_TRUE(request->WaitForResponse(10)) << request->Failure().value_or("");
    EXPECT_THAT(server->requests().at(0), HasSubstr("GET http://far.example.test/page HTTP/1.1"));
    request->Open("GET", "http://near.bypass.test/", true);
    request->Send();
    EXPECT_FALSE(request->WaitForResponse(20));
    EXPECT_EQ(server->requests().size(), 1U);
}

TEST_F(CurlRequestTest, TheProxyHearsItsCredentialsWhenItAsks) {
    server = std::make_unique<ScriptedServer>([](const std::string& request) {
        if (request.find("Proxy-Authorization: Basic ZG9tXHVzZXI6cHc=") != std::string::npos)
            return ScriptedServer::Answer{Ok("in")};
        return ScriptedServer::Answer{"HTTP/1.1 407 Proxy\r\nProxy-Authenticate: Basic realm=p\r\n"
                                      "Content-Length: 0\r\n\r\n"};
    });
    auto request = http->CreateRequest();
    request->SetProxy(ProxySetting::Named, "127.0.0.1:" + std::to_string(server->port()));
    request->SetCredentials("dom\\user", "pw", true);
    request->Open("GET", "http://far.example.test/", true);
    request->Send();
    ASSERT_TRUE(request->WaitForResponse(10));
    EXPECT_EQ(request->ResponseText(), "in");
}

} // namespace
