// Harvesting over real connections: a site of a web server, and servers that mean no good.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

#include "push/basHarvest.h"
#include "tests/net/WebWorld.h"
#include "tests/platform/http/ScriptedServer.h"
#include "tests/platform/http/WebPeers.h"
#include "tests/push/RecordedProgress.h"

namespace {

using namespace kr;
using namespace std::chrono_literals;
using Steady = std::chrono::steady_clock;
using Answer = ScriptedServer::Answer;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

std::string link(const std::string& path) { return "<a href=\"" + path + "\">x</a>"; }

class HarvestWeb : public ::testing::Test {
protected:
    std::vector<std::string> urls(const std::string& url, int depth, double limit = 999) {
        std::vector<std::string> found;
        contents = GetPushContent({*world.session, progress, document}, url, depth, limit);
        for (const PushContent& content : contents)
            found.push_back(content.URL());
        return found;
    }
    std::optional<PushContent> fetch(const std::string& url) {
        return FetchContent({*world.session, progress, document}, url, true, "");
    }
    /// The results can always be stored and read again.
    bool documentStands() {
        return LoadResultDocument(document.xml().Save(), "http://again/").has_value();
    }
    bool logs(const std::string& text) { return world.logHas(text); }
    WebWorld world{{1 << 20, "", 2s}};
    RecordedProgress progress;
    ResultDocument document = CreateResultDocument("{ID}", "http://host/");
    std::vector<PushContent> contents;
};

TEST_F(HarvestWeb, ASiteIsWalked) {
    const NginxPeer nginx;
    ASSERT_TRUE(nginx.ready());
    nginx.Page("dir/start.html", "<img src=\"/pic.png\">" + link("b.html") + link("../c.html") +
                                     link("/none.html") + link("/to-page") + link("/pic.png") +
                                     link("/B.HTML") + link("index.jsp"));
    nginx.Page("b.html", link("/d.txt") + link("/dir/start.html"));
    nginx.Page("d.txt", "no links <a href=\"/e.html\">");
    nginx.Page("e.html", "e");
    nginx.Page("pic.png", std::string(2048, 'p'));
    EXPECT_THAT(urls(nginx.url("/dir/start.html"), 3),
                ElementsAre(nginx.url("/dir/start.html"), nginx.url("/b.html"),
                            nginx.url("/to-page"), nginx.url("/d.txt")));
    EXPECT_THAT(nginx.log(), HasSubstr("GET /../c.html ")) << "the dots are the server's matter";
    EXPECT_TRUE(logs("FetchContent:request for " + nginx.url("/../c.html") +
                     " failed ; received 400:Bad Request"));
    EXPECT_TRUE(logs("FetchContent:request for " + nginx.url("/none.html") +
                     " failed ; received 404:Not Found"));
    EXPECT_TRUE(logs("FetchContent: invalid content type")) << "a picture is no page";
    EXPECT_EQ(contents[0].ImageLinks.at(0).bytes, 2048);
    EXPECT_EQ(contents[2].Content, "<html>page</html>") << "where it was redirected to";
    EXPECT_EQ(nginx.log().find("index.jsp"), std::string::npos);
    EXPECT_EQ(nginx.log().find("GET /e.html"), std::string::npos);
    EXPECT_TRUE(documentStands());
}

TEST_F(HarvestWeb, WhatCannotBeTakenIsTold) {
    const std::string head = "HTTP/1.1 200 OK\r\nContent-Type: text/html\r\n";
    const struct {
        Answer answer;
        std::vector<const char*> lines; // "%" is the address
    } table[] = {
        {{head + "Content-Length: 99\r\n\r\n<a href=\"x\">", true},
         {"request failed: Transferred a partial file",
          "FetchContent:timed out waiting for response from %"}},
        {{head + "\r\n", false, 0, 0, false, std::string(4096, 'x')},
         {"longer than 1 MB", "FetchContent:timed out waiting for response from %"}},
        {{"HTTP/1.1 500 \xFF\xFEText\r\nContent-Length: 0\r\n\r\n"},
         {"FetchContent:request for % failed ; received 500:\xFF\xFEText"}},
        {{"HTTP/1.1 200\r\nContent-Length: 0\r\n\r\n"},
         {"FetchContent: retrieved 0 bytes from %; nothing to load"}},
        {{"HTTP/1.1 200 OK\r\nContent-Length: 1\r\n\r\nx"},
         {"FetchContent: retrieved 1 bytes from % with Content-Type: \n",
          "FetchContent: invalid content type"}},
        {{"HTTP/1.1 204 None\r\n\r\n"}, {"FetchContent:request for % failed ; received 204:None"}},
        {{"HTTP/1.1 401 No\r\nWWW-Authenticate: Basic realm=x\r\nContent-Length: 0\r\n\r\n"},
         {"FetchContent:request for % failed ; received 401:No"}},
        {{"HTTP/1.1 302 Found\r\nLocation: /\r\nContent-Length: 0\r\n\r\n"},
         {"redirected more than 10 times", "FetchContent:timed out waiting for response from %"}},
    };
    for (const auto& row : table) {
        ScriptedServer server([&](const std::string&) { return row.answer; });
        const size_t before = world.log().size();
        const auto start = Steady::now();
        EXPECT_THAT(urls(server.url(), 1), IsEmpty());
        EXPECT_LT(Steady::now() - start, 2s);
        const std::string log = world.log().substr(before);
        for (std::string line : row.lines) {
            if (const size_t at = line.find('%'); at != std::string::npos)
                line.replace(at, 1, server.url());
            EXPECT_THAT(log, HasSubstr(line));
        }
        EXPECT_THAT(log, HasSubstr("GetPushContent: failed to retrieve content from root document "
                                   "at " +
                                   server.url()));
    }
}

TEST_F(HarvestWeb, AWrongCharsetCostsLettersAndNoLinks) {
    const struct {
        const char* type;
        std::string bytes;
        const char* link;
    } table[] = {
        {"text/html; charset=utf-16", "\xFF\xFE\xFE" + link("/a"), nullptr},
        {"text/html; charset=none-such", link("/a\xC3\xA9"), "/a\xC3\xA9"},
        {"text/html; charset=us-ascii", link("/a\xE9"), "/a\xEF\xBF\xBD"},
        {"text/html; charset=\xFF\xFE", link("/b\xE9"), "/b\xC3\xA9"},
        {"text/html; charset=utf-8//IGNORE", link("/c\xE9"), "/c\xC3\xA9"},
        {"text/html; charset=iso-2022-jp", link("/d"), "/d"},
    };
    for (const auto& row : table) {
        ScriptedServer server([&](const std::string&) { return Answer{Ok(row.bytes, row.type)}; });
        const auto content = fetch(server.url());
        ASSERT_TRUE(content) << row.type;
        EXPECT_EQ(content->Content, row.bytes) << "the bytes go on as they came";
        if (row.link)
            EXPECT_THAT(content->ChildLinks(), ElementsAre(server.url(row.link))) << row.type;
        EXPECT_TRUE(documentStands()) << row.type;
    }
}

TEST_F(HarvestWeb, HostileLinksCostOnlyThemselves) {
    ScriptedServer server([](const std::string& request) {
        if (request.starts_with("GET / "))
            return Answer{Ok(link("http://[::1") + link("http:///x") + link("http://a b/") +
                             link("httpx://host/") + link("/\xEF\xBF\xBF\x01\r\nX: injected") +
                             link("http://127.0.0.1:99999/") +
                             link("/" + std::string(20'000, 'l')) +
                             "<img src=\"http://[\"><img src=\"ftp://x/\">" + link("/good"))};
        if (request.starts_with("GET /good "))
            return Answer{Ok("good")};
        return Answer{"HTTP/1.1 414 Too Long\r\nContent-Length: 0\r\n\r\n"};
    });
    EXPECT_THAT(urls(server.url(), 1), ElementsAre(server.url(), server.url("/good")));
    for (const std::string& request : server.requests())
        EXPECT_EQ(request.find("\r\nX: injected"), std::string::npos);
    EXPECT_TRUE(documentStands());
}

TEST_F(HarvestWeb, AnAddressWithoutASlashHasNoUseForRelativeLinks) {
    ScriptedServer server([](const std::string&) { return Answer{Ok(link("b.html"))}; });
    const std::string root = server.url("");
    EXPECT_THAT(urls(root, 1), ElementsAre(root));
    EXPECT_THAT(contents[0].ChildLinks(), ElementsAre("/b.html"));
    EXPECT_EQ(server.requests().size(), 1U);
    EXPECT_TRUE(logs("AddChildContent: failed to retrieve content from child 1 document of " +
                     root + " at /b.html"));
}

TEST_F(HarvestWeb, CancelWhileThePageIsWaitedForGivesNothing) {
    ScriptedServer server([](const std::string&) {
        return Answer{Ok("<img src=\"/i\">" + link("/a")), false, 400};
    });
    bool stopped = false;
    progress.cancel = [&] { return stopped; };
    world.events->AddTimer(100ms, [&] { stopped = true; });
    EXPECT_THAT(urls(server.url(), 2), IsEmpty());
    EXPECT_EQ(server.requests().size(), 1U) << "neither images nor links";
    EXPECT_FALSE(logs("AppendContentLink"));
}

TEST_F(HarvestWeb, CancelEndsTheImagesAtOnce) {
    std::string page;
    for (int i = 0; i < 50; ++i)
        page += "<img src=\"/" + std::to_string(i) + ".png\">";
    ScriptedServer server([&](const std::string& request) {
        return request.starts_with("GET / ") ? Answer{Ok(page)}
                                             : Answer{Ok("p", "image/png"), false, 60};
    });
    progress.cancel = [&] { return server.requests().size() >= 4; };
    EXPECT_THAT(urls(server.url(), 2), IsEmpty());
    EXPECT_EQ(server.requests().size(), 4U);
}

TEST_F(HarvestWeb, AnImageThatDripsOrIsCutCostsOnlyItself) {
    ScriptedServer server([](const std::string& request) {
        if (request.starts_with("GET / "))
            return Answer{Ok("<img src=\"/drip\"><img src=\"/cut\"><img src=\"/good\">")};
        if (request.starts_with("GET /drip "))
            return Answer{Ok(std::string(1000, 'd'), "image/png"), false, 0, 50};
        if (request.starts_with("GET /cut "))
            return Answer{"HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\ncut", true};
        return Answer{Ok(std::string(1024, 'g'), "image/png")};
    });
    const auto start = Steady::now();
    const auto content = fetch(server.url());
    EXPECT_LT(Steady::now() - start, 6s);
    ASSERT_TRUE(content);
    ASSERT_EQ(content->ImageLinks.size(), 3U);
    EXPECT_EQ(content->ImageLinks[0].bytes, 0);
    EXPECT_EQ(content->ImageLinks[1].bytes, 0);
    EXPECT_EQ(content->ImageLinks[2].bytes, 1024);
    EXPECT_DOUBLE_EQ(content->ContentKB, KilobytesOf(content->Content.size()) + 1.0);
    for (const char* image : {"/drip", "/cut"})
        EXPECT_TRUE(logs("GetImageCount:failed to retrieve image at " + server.url(image) +
                         "; requestStatus = 0:"));
}

TEST_F(HarvestWeb, WhatHasNoEndIsNoFile) {
    EXPECT_THAT(urls("file:///dev/zero", 0), IsEmpty());
    EXPECT_THAT(urls("file://" + world.folder(), 0), IsEmpty()) << "a folder";
    EXPECT_TRUE(logs("GetPushContent: failed to retrieve content from root document at "
                     "file:///dev/zero"));
}

} // namespace
