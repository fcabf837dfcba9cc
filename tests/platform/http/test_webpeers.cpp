// The client against a web server and a proxy that others have written.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>

#include "platform/events/epoll/EpollEvents.h"
#include "platform/http/curl/CurlHttp.h"
#include "tests/platform/http/WebPeers.h"
#include "tests/support/Loopback.h"

namespace {

using namespace kr;
using Steady = std::chrono::steady_clock;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr int64_t kLongest = 1 << 20;

class WebPeersTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { s_nginx = std::make_unique<NginxPeer>(); }
    static void TearDownTestSuite() { s_nginx.reset(); }
    void SetUp() override { ASSERT_TRUE(s_nginx->ready()) << s_nginx->folder().Read("output"); }

    std::unique_ptr<WebRequest> get(const std::string& url) {
        auto request = http->CreateRequest();
        prepare(*request);
        request->Open("GET", url, true);
        request->Send();
        request->WaitForResponse(10);
        return request;
    }
    static std::string why(const WebRequest& request) { return request.Failure().value_or(""); }

    std::unique_ptr<Events> events = MakeEpollEvents();
    std::unique_ptr<HttpProvider> http =
        MakeCurlHttp(*events, {}, {kLongest, s_nginx ? s_nginx->caFile() : std::string()});
    std::function<void(WebRequest&)> prepare = [](WebRequest& request) {
        request.SetProxy(ProxySetting::Direct);
    };
    static inline std::unique_ptr<NginxPeer> s_nginx;
};

TEST_F(WebPeersTest, PagesAndRefusals) {
    EXPECT_EQ(get(s_nginx->url("/page.html"))->ResponseText(), "<html>page</html>");
    const auto none = get(s_nginx->url("/none.html"));
    EXPECT_EQ(none->Status(), 404);
    EXPECT_EQ(none->StatusText(), "Not Found");
    const auto busy = get(s_nginx->url("/busy"));
    EXPECT_EQ(busy->Status(), 503);
    EXPECT_EQ(busy->StatusText(), "Service Temporarily Unavailable");
    EXPECT_EQ(why(*busy), "") << "an answer is an answer";
}

TEST_F(WebPeersTest, BasicOpensWhatIsPrivate) {
    EXPECT_EQ(get(s_nginx->url("/private/page.html"))->Status(), 401);
    prepare = [](WebRequest& request) {
        request.SetProxy(ProxySetting::Direct);
        request.SetCredentials("user", "secret", false);
    };
    EXPECT_EQ(get(s_nginx->url("/private/page.html"))->ResponseText(), "<html>inside</html>");
    prepare = [](WebRequest& request) {
        request.SetProxy(ProxySetting::Direct);
        request.SetCredentials("user", "wrong", false);
    };
    EXPECT_EQ(get(s_nginx->url("/private/page.html"))->Status(), 401);
    prepare = [](WebRequest& request) { request.SetProxy(ProxySetting::Direct); };
    EXPECT_EQ(get(s_nginx->url("/private/page.html"))->Status(), 401)
        << "what one request had is not for the next";
}

TEST_F(WebPeersTest, ReadyMadeAuthorizationIsTaken) {
    auto request = http->CreateRequest();
    request->SetProxy(ProxySetting::Direct);
    request->Open("GET", s_nginx->url("/private/page.html"), true);
    request->SetRequestHeader("Authorization", "Basic dXNlcjpzZWNyZXQ=");
    request->Send();
    ASSERT_TRUE(request->WaitForResponse(10));
    EXPECT_EQ(request->Status(), 200);
}

TEST_F(WebPeersTest, RedirectionsStayOnTheWeb) {
    EXPECT_EQ(get(s_nginx->url("/to-page"))->ResponseText(), "<html>page</html>");
    EXPECT_EQ(why(*get(s_nginx->url("/circle"))), "The server redirected more than 10 times.");
    const auto file = get(s_nginx->url("/to-file"));
    EXPECT_EQ(why(*file), "The server redirected to file:///etc/passwd, which is refused.");
    EXPECT_EQ(file->ResponseBody(), "");
    EXPECT_EQ(why(*get(s_nginx->url("/to-ftp"))),
              "The server redirected to ftp://127.0.0.1/x, which is refused.");
}

TEST_F(WebPeersTest, NothingLeavesASecuredConnection) {
    const std::string before = s_nginx->log();
    const auto request = get(s_nginx->tlsUrl("/to-plain"));
    EXPECT_EQ(request->Status(), 302) << "the redirection itself is the response";
    EXPECT_THAT(s_nginx->log().substr(before.size()), Not(HasSubstr("page.html")));
}

TEST_F(WebPeersTest, CertificatesAreVerified) {
    EXPECT_EQ(get(s_nginx->tlsUrl("/page.html"))->ResponseText(), "<html>page</html>");
    EXPECT_THAT(why(*get(s_nginx->tlsUrl("/page.html", "localhost"))), HasSubstr("certificate"))
        << "it names another host";
    http = MakeCurlHttp(*events, {}, {kLongest, ""});
    const auto unknown = get(s_nginx->tlsUrl("/page.html"));
    EXPECT_THAT(why(*unknown), HasSubstr("certificate")) << "nobody trusts its authority";
    EXPECT_EQ(unknown->Status(), 0);
    EXPECT_TRUE(get("https://127.0.0.1:" + std::to_string(s_nginx->port()))->Failure())
        << "no TLS at all";
}

/// A body that would unpack to a hundred times the limit: nothing asks for it to be packed, and
/// nothing unpacks it.
TEST_F(WebPeersTest, PackedBodiesStayPacked) {
    s_nginx->Page("packed/none", "");
    const std::string bomb = s_nginx->folder().path() + "/www/packed/bomb";
    ASSERT_EQ(std::system(("head -c 104857600 /dev/zero | gzip -1 > " + bomb).c_str()), 0);
    const auto start = Steady::now();
    const auto request = get(s_nginx->url("/packed/bomb"));
    EXPECT_EQ(request->Status(), 200) << why(*request);
    EXPECT_LT(request->ResponseBody().size(), size_t{kLongest});
    EXPECT_TRUE(request->ResponseBody().starts_with("\x1f\x8b"));
    EXPECT_LT(Steady::now() - start, std::chrono::seconds(2));
}

TEST_F(WebPeersTest, TheLimitHoldsToTheByte) {
    s_nginx->Page("most.txt", std::string(kLongest, 'x'));
    s_nginx->Page("more.txt", std::string(kLongest + 1, 'x'));
    EXPECT_EQ(get(s_nginx->url("/most.txt"))->ResponseBody().size(), size_t{kLongest});
    EXPECT_EQ(why(*get(s_nginx->url("/more.txt"))), "The response is longer than 1 MB.");
}

TEST_F(WebPeersTest, ASlowBodyIsWaitedForInSlices) {
    s_nginx->Page("slow/page.html", std::string(5000, 's'));
    auto request = http->CreateRequest();
    request->SetProxy(ProxySetting::Direct);
    request->Open("GET", s_nginx->url("/slow/page.html"), true);
    request->Send();
    EXPECT_FALSE(request->WaitForResponse(1));
    EXPECT_EQ(why(*request), "");
    EXPECT_TRUE(request->WaitForResponse(10));
    EXPECT_EQ(request->ResponseBody().size(), 5000U);
}

// --- Through a proxy

class WebProxyTest : public WebPeersTest {
protected:
    void SetUp() override {
        WebPeersTest::SetUp();
        ASSERT_TRUE(proxy.ready());
        through(proxy.address());
    }
    void through(const std::string& list, const std::string& bypass = {},
                 const std::string& user = {}, const std::string& password = {}) {
        prepare = [=](WebRequest& request) {
            request.SetProxy(ProxySetting::Named, list, bypass);
            if (!user.empty())
                request.SetCredentials(user, password, true);
        };
    }
    std::string via() { return get(s_nginx->url("/via"))->ResponseText(); }
    TinyproxyPeer proxy;
};

TEST_F(WebProxyTest, TheNamedProxyIsUsedAndOthersAreNot) {
    EXPECT_THAT(via(), HasSubstr("tinyproxy"));
    through("https=127.0.0.1:1 http=" + proxy.address());
    EXPECT_THAT(via(), HasSubstr("tinyproxy")) << "the element of the URL's own scheme";
    through("https=" + proxy.address());
    EXPECT_EQ(via(), "via ") << "no element for the scheme: direct";
    prepare = [](WebRequest& request) { request.SetProxy(ProxySetting::Direct); };
    EXPECT_EQ(via(), "via ");
}

TEST_F(WebProxyTest, TheBypassListGoesRoundIt) {
    for (const char* bypass : {"127.0.0.1", "other.test;127.*", "*", "a b;*.0.0.1"}) {
        through(proxy.address(), bypass);
        EXPECT_EQ(via(), "via ") << bypass;
    }
    for (const char* bypass : {"<local>", "127.0.0", "0.0.1", "*.test", ";;"}) {
        through(proxy.address(), bypass);
        EXPECT_THAT(via(), HasSubstr("tinyproxy")) << bypass;
    }
}

TEST_F(WebProxyTest, TheEnvironmentSpeaksForThePreconfiguredSetting) {
    prepare = [](WebRequest& request) { request.SetProxy(ProxySetting::Preconfigured); };
    setenv("http_proxy", ("http://" + proxy.address()).c_str(), 1);
    EXPECT_THAT(via(), HasSubstr("tinyproxy"));
    prepare = [](WebRequest& request) { request.SetProxy(ProxySetting::Direct); };
    EXPECT_EQ(via(), "via ") << "direct means direct";
    unsetenv("http_proxy");
}

TEST_F(WebProxyTest, TlsPassesTheProxyUnread) {
    EXPECT_EQ(get(s_nginx->tlsUrl("/page.html"))->ResponseText(), "<html>page</html>");
    EXPECT_EQ(get(s_nginx->tlsUrl("/via"))->ResponseText(), "via ");
    EXPECT_THAT(get(s_nginx->tlsUrl("/page.html"))->GetAllResponseHeaders(),
                Not(HasSubstr("Proxy-agent")))
        << "the proxy's own answer is none of the response";
}

TEST_F(WebProxyTest, CredentialsOpenTheProxy) {
    const TinyproxyPeer closed("BasicAuth user secret\n");
    ASSERT_TRUE(closed.ready());
    through(closed.address(), "", "user", "secret");
    EXPECT_THAT(via(), HasSubstr("tinyproxy"));
    EXPECT_EQ(get(s_nginx->tlsUrl("/page.html"))->Status(), 200);
    through(closed.address());
    EXPECT_EQ(get(s_nginx->url("/via"))->Status(), 407);
    EXPECT_THAT(why(*get(s_nginx->tlsUrl("/page.html"))), HasSubstr("407"));
    through(closed.address(), "", "user", "wrong");
    EXPECT_EQ(get(s_nginx->url("/via"))->Status(), 401) << "as this proxy says it";
}

TEST_F(WebProxyTest, AProxyThatRefusesOrIsDeadIsTold) {
    const TinyproxyPeer filtering("FilterDefaultDeny Yes\nFilter \"" +
                                  s_nginx->folder().Write("filter", "^nowhere$\n") + "\"\n");
    ASSERT_TRUE(filtering.ready());
    through(filtering.address());
    EXPECT_EQ(get(s_nginx->url("/via"))->Status(), 403);
    const auto start = Steady::now();
    through("127.0.0.1:" + std::to_string(FreePort()));
    EXPECT_THAT(why(*get(s_nginx->url("/via"))), HasSubstr("connect"));
    EXPECT_LT(Steady::now() - start, std::chrono::seconds(2)) << "at once";
    through("no-such-host.invalid:3128");
    EXPECT_THAT(why(*get(s_nginx->url("/via"))), HasSubstr("resolve proxy"));
}

TEST_F(WebProxyTest, TheProxyMayNotFindTheServer) {
    const auto request = get("http://127.0.0.1:" + std::to_string(FreePort()) + "/");
    EXPECT_GE(request->Status(), 500) << "the proxy answers for it";
    EXPECT_EQ(why(*request), "");
}

} // namespace
