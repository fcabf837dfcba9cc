#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <map>

#include "push/basHarvest.h"
#include "tests/push/RecordedProgress.h"
#include "tests/support/World.h"

namespace {

using namespace kr;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Harvest : public ::testing::Test {
protected:
    Harvest() {
        world.http.answer = [this](const FakeHttp::Request& request) {
            const auto page = pages.find(request.url);
            return page == pages.end() ? FakeHttp::Response{404, "Not Found", "x"} : page->second;
        };
    }
    void page(const std::string& path, const std::string& body,
              const std::string& type = "text/html") {
        pages["http://host" + path] = {200, "OK", body, {{"Content-Type", type}}};
    }
    static std::string linksTo(const std::vector<std::string>& paths) {
        std::string html;
        for (const std::string& path : paths)
            html += "<a href=\"" + path + "\">";
        return html;
    }
    std::vector<std::string> urls(int depth, double limit = 999, const std::string& path = "/") {
        std::vector<std::string> found;
        contents = GetPushContent({*world.session, progress, document}, "http://host" + path, depth,
                                  limit);
        for (const PushContent& content : contents)
            found.push_back(content.URL());
        return found;
    }
    std::optional<PushContent> fetch(const std::string& path) {
        return FetchContent({*world.session, progress, document}, "http://host" + path, true, "");
    }
    bool logs(const std::string& text) { return world.logHas(text); }
    World world;
    RecordedProgress progress;
    ResultDocument document = CreateResultDocument("{ID}", "http://host/");
    std::map<std::string, FakeHttp::Response> pages;
    std::vector<PushContent> contents;
};

TEST_F(Harvest, FetchesOneDocumentWithItsLinksAndImages) {
    page("/", linksTo({"/a.html"}) + "<img src=\"I.png\"><img src=\"none.png\">");
    page("/i.png", std::string(2048, 'i'), "image/png");
    const auto content = fetch("/");
    ASSERT_TRUE(content);
    EXPECT_TRUE(content->IsRootDocument);
    EXPECT_EQ(content->ContentType, "text/html");
    EXPECT_THAT(content->ChildLinks(), ElementsAre("http://host/a.html"));
    ASSERT_EQ(content->ImageLinks.size(), 2U);
    EXPECT_EQ(content->ImageLinks[0].bytes, 2048);
    EXPECT_EQ(content->ImageLinks[1].bytes, 0);
    EXPECT_DOUBLE_EQ(content->ContentKB, KilobytesOf(content->Content.size()) + 2.0);
    EXPECT_THAT(content->Headers, ElementsAre("Content-Type: text/html", ""));
    EXPECT_THAT(progress.steps, ElementsAre("Requesting http://host/"));
    EXPECT_FALSE(world.http.sent.at(1).async);
    EXPECT_EQ(document.xml().Find("link").Attribute("url"), "http://host/");
    EXPECT_EQ(document.xml().Find("link").Attribute("childLinks"), "1");
    EXPECT_EQ(document.xml().Find("image").Attribute("bytes"), "2048");
    EXPECT_TRUE(logs("FetchContent:fetching content from http://host/"));
    EXPECT_TRUE(logs("FetchContent: loading content from http://host/ to PushContent object"));
    EXPECT_TRUE(logs("AppendContentLink:appending node for http://host/"));
    EXPECT_FALSE(logs("GetImageCount:")) << "an image that isn't there is skipped without a word";
}

TEST_F(Harvest, AnImageWithoutAnAnswerIsLogged) {
    page("/", "<img src=\"slow.png\">");
    pages["http://host/slow.png"] = {-1};
    ASSERT_TRUE(fetch("/"));
    EXPECT_TRUE(logs("GetImageCount:failed to retrieve image at http://host/slow.png; "
                     "requestStatus = "));
}

TEST_F(Harvest, RefusalsAreLogged) {
    EXPECT_FALSE(fetch("/none"));
    EXPECT_TRUE(logs("FetchContent:request for http://host/none failed ; received 404:Not Found"));
    page("/empty", "");
    EXPECT_FALSE(fetch("/empty"));
    EXPECT_TRUE(logs("FetchContent: retrieved 0 bytes from http://host/empty; nothing to load"));
    page("/pic", "x", "image/gif");
    EXPECT_FALSE(fetch("/pic"));
    EXPECT_TRUE(logs("FetchContent: retrieved 1 bytes from http://host/pic with Content-Type: "
                     "image/gif"));
    EXPECT_TRUE(logs("FetchContent: invalid content type"));
    pages["http://host/silent"] = {-1};
    EXPECT_FALSE(fetch("/silent"));
    EXPECT_TRUE(logs("FetchContent:timed out waiting for response from http://host/silent"));
    world.http.fails = true;
    EXPECT_FALSE(fetch("/"));
    EXPECT_TRUE(logs("FetchContent:unable to proceed: failed to instantiate WinHttpRequest "
                     "object"));
}

TEST_F(Harvest, TheIdentityIsOfferedAfterARefusalOnce) {
    pages["http://host/"] = {401, "Unauthorized", "no"};
    EXPECT_FALSE(fetch("/"));
    ASSERT_EQ(world.http.sent.size(), 2U);
    EXPECT_NE(world.http.sent[0].policy, AutoLogonPolicy::Always);
    EXPECT_EQ(world.http.sent[1].policy, AutoLogonPolicy::Always);
    EXPECT_TRUE(logs("FetchContent:request for http://host/ failed ; received 401:Unauthorized"));
}

TEST_F(Harvest, ATypeThatHoldsTextAnywhereIsTaken) {
    page("/", "x", "application/odd; was=TEXT/html");
    const auto content = fetch("/");
    ASSERT_TRUE(content);
    EXPECT_EQ(content->HTML, "x") << "and is read as a page";
    page("/", "x", "text");
    EXPECT_FALSE(fetch("/"));
}

TEST_F(Harvest, StoppedBeforehandNothingIsAskedFor) {
    page("/", "x");
    progress.cancel = [] { return true; };
    EXPECT_THAT(urls(1), IsEmpty());
    EXPECT_THAT(world.http.sent, IsEmpty());
    EXPECT_TRUE(logs("FetchContent:fetching content from http://host/"));
    EXPECT_THAT(progress.steps, ElementsAre("Requesting http://host/"));
}

TEST_F(Harvest, ImagesCountAgainstTheLimit) {
    page("/", "<img src=\"/i\">");
    page("/i", std::string(99 * 1024, 'i'), "image/png");
    EXPECT_THAT(urls(0, 99), ElementsAre("http://host/")) << "0.0 of the page and 99 of the image";
    page("/i", std::string(99 * 1024 + 103, 'i'), "image/png");
    EXPECT_THAT(urls(0, 99), IsEmpty());
    EXPECT_TRUE(logs("content from http://host/ (99.1) would exceed limit (99)"));
}

TEST_F(Harvest, OtherTextHasNoLinks) {
    page("/", linksTo({"/a"}), "TEXT/plain");
    ASSERT_TRUE(fetch("/"));
    EXPECT_THAT(fetch("/")->ChildLinks(), IsEmpty());
}

TEST_F(Harvest, DepthNoneTakesTheRootAlone) {
    page("/", linksTo({"/a"}) + "<img src=\"i\">");
    page("/a", "x");
    EXPECT_THAT(urls(0), ElementsAre("http://host/"));
    EXPECT_THAT(contents[0].ChildLinks(), ElementsAre("http://host/a"));
    EXPECT_EQ(contents[0].ImageLinks.size(), 1U);
}

TEST_F(Harvest, TheWalkIsBreadthFirst) {
    page("/", linksTo({"/a", "/b", "/none", "/"}));
    page("/a", linksTo({"/a1", "/B"}));
    page("/b", linksTo({"/b1"}));
    page("/a1", linksTo({"/deep"}));
    page("/b1", "x");
    page("/deep", "x");
    EXPECT_THAT(urls(1), ElementsAre("http://host/", "http://host/a", "http://host/b"));
    EXPECT_THAT(urls(2), ElementsAre("http://host/", "http://host/a", "http://host/b",
                                     "http://host/a1", "http://host/b1"));
    EXPECT_TRUE(logs("GetPushContent:loading child links from level 2 of http://host/"));
    EXPECT_TRUE(logs("AddChildContent: found 3 child links in http://host/; fetching child "
                     "content"));
    EXPECT_TRUE(logs("AddChildContent: failed to retrieve content from child 3 document of "
                     "http://host/ at http://host/none"));
    EXPECT_EQ(document.xml().Find("link", "url", "http://host/a1").Parent().Attribute("url"),
              "http://host/a");
    EXPECT_TRUE(document.xml().Find("content").Attribute("kb"));
}

TEST_F(Harvest, APageThatLinksToItselfIsFetchedOnce) {
    page("/", linksTo({"/PAGE", "/page"}));
    page("/PAGE", linksTo({"/page", "/"}));
    EXPECT_THAT(urls(3), ElementsAre("http://host/", "http://host/PAGE"));
    EXPECT_EQ(world.http.sent.size(), 2U);
}

TEST_F(Harvest, ExactlyTheLimitPasses) {
    page("/", std::string(102'400, 'x'), "text/plain");
    EXPECT_THAT(urls(0, 100), ElementsAre("http://host/"));
    page("/", std::string(102'502, 'x'), "text/plain");
    EXPECT_THAT(urls(0, 100), IsEmpty());
    EXPECT_TRUE(logs("GetPushContent:ending recursion; content from http://host/ (100.1) would "
                     "exceed limit (100)"));
    EXPECT_EQ(document.xml().Find("content").Attribute("kb"), "0");
}

TEST_F(Harvest, ThePageAboveTheLimitEndsTheWalkAndKeepsItsNode) {
    page("/", linksTo({"/a", "/big", "/c"}));
    page("/a", std::string(1024, 'a'), "text/plain");
    page("/big", std::string(10'240, 'b'), "text/plain");
    page("/c", "c");
    EXPECT_THAT(urls(2, 5), ElementsAre("http://host/", "http://host/a"));
    EXPECT_TRUE(document.xml().Find("link", "url", "http://host/big"));
    EXPECT_FALSE(document.xml().Find("link", "url", "http://host/c"));
    EXPECT_TRUE(logs("AddChildContent:ending recursion after retrieving 1 child links for "
                     "http://host/; content from next link would exceed limit of 5 KB; "
                     "accumulated content = "));
    EXPECT_TRUE(logs("GetPushContent:additional content would exceed specified limit of 5 KB; "
                     "exiting recursion loop before loading children from child #0 of "
                     "http://host/"));
}

TEST_F(Harvest, TwoHundredFiftyLinksAreTheMost) {
    std::vector<std::string> first, second;
    for (int i = 0; i < 200; ++i) {
        first.push_back("/a" + std::to_string(i));
        second.push_back("/b" + std::to_string(i));
        page(first.back(), i == 0 ? "" : "x", "text/plain");
        page(second.back(), "x", "text/plain");
    }
    page("/", linksTo(first));
    page("/a1", linksTo(second));
    EXPECT_EQ(urls(3).size(), 251U);
    EXPECT_TRUE(logs("AddChildContent:visited maximum number of links (250); ending recursion "
                     "after retrieving 250 child links for http://host/a1"));
    EXPECT_TRUE(logs("GetPushContent:visited maximum allowable child links; exiting recursion "
                     "loop after loading children from child #1 of http://host/"));
}

TEST_F(Harvest, CancelEndsWithoutAResult) {
    page("/", linksTo({"/a", "/b"}));
    page("/a", "x");
    page("/b", "x");
    progress.cancel = [this] { return world.http.sent.size() >= 2; };
    EXPECT_THAT(urls(2), IsEmpty());
    EXPECT_EQ(world.http.sent.size(), 2U);
}

TEST_F(Harvest, AFileIsTakenAlone) {
    const std::string path = world.folder() + "/page.html";
    std::ofstream(path) << linksTo({"/a"});
    const auto found =
        GetPushContent({*world.session, progress, document}, "file://" + path, 2, 100);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].ContentType, "text/html");
    EXPECT_EQ(found[0].HTML, "");
    EXPECT_THAT(found[0].ChildLinks(), IsEmpty());
    EXPECT_TRUE(logs("GetPushContent:recursion not valid for file system URL file://" + path));
    EXPECT_THAT(GetPushContent({*world.session, progress, document}, "file:///none", 0, 100),
                IsEmpty());
    EXPECT_TRUE(logs("GetPushContent: failed to retrieve content from root document at "
                     "file:///none"));
}

TEST_F(Harvest, AddressesAreStoredTwiceEscaped) {
    page("/?a=1&b='", "x");
    ASSERT_TRUE(fetch("/?a=1&b='"));
    EXPECT_NE(document.xml().Save().find("url=\"http://host/?a=1&amp;amp;b=&amp;apos;\""),
              std::string::npos);
}

TEST_F(Harvest, AnOldDocumentKeepsItsTargetsAndLosesItsContent) {
    page("/", "x");
    ASSERT_TRUE(fetch("/"));
    const Time date = world.clock.now();
    AppendTarget(*world.session, document, "1'A", "a@x.test", "Browser-Channel", date, "200:OK");
    AppendTarget(*world.session, document, "2", "b@x.test", "Browser-Channel", date, "200:OK");
    AppendTarget(*world.session, document, "1'A", "a2@x.test", "Browser-Message", date, "500:No");
    EXPECT_TRUE(logs("AppendTarget:appending result for a@x.test"));
    EXPECT_TRUE(logs("AppendTarget:creating new node"));
    EXPECT_TRUE(logs("AppendTarget:updating existing node"));
    auto again = LoadResultDocument(document.xml().Save(), "http://new/");
    ASSERT_TRUE(again);
    EXPECT_EQ(again->xml().FindAll("target").size(), 2U);
    EXPECT_EQ(again->Target("1'A").Attribute("email"), "a2@x.test");
    EXPECT_EQ(again->Target("1'A").Attribute("date"), "3/10/2026 9:30:00 AM");
    EXPECT_EQ(again->xml().FindAll("link").size(), 0U);
    EXPECT_EQ(again->xml().Find("content").Attribute("baseUrl"), "http://new/");
    EXPECT_FALSE(LoadResultDocument("no xml", "http://new/"));
    EXPECT_FALSE(LoadResultDocument("", "http://new/"));
    auto empty = LoadResultDocument("<other/>", "u");
    ASSERT_TRUE(empty);
    AppendTarget(*world.session, *empty, "1", "a@x.test", "t", date, "r");
    EXPECT_EQ(empty->xml().FindAll("target").size(), 0U);
}

TEST_F(Harvest, WithoutAPlaceInTheDocumentThePageIsStillTaken) {
    auto other = LoadResultDocument("<other/>", "u");
    ASSERT_TRUE(other);
    page("/", "x");
    EXPECT_TRUE(
        FetchContent({*world.session, progress, *other}, "http://host/", false, "http://p"));
    EXPECT_TRUE(logs("AppendContentLink:unable to locate parent (http://p) or content node for "
                     "http://host/"));
    EXPECT_FALSE(other->xml().Find("link"));
}

TEST_F(Harvest, TheDocumentBecomesTheMessagesBody) {
    world.LogOnConfigured();
    const auto message = world.session->agentInfo->Items()->Add("IPM.Post");
    SaveResultDocument(*message, document);
    EXPECT_EQ(message->Body(), "<?xml version=\"1.0\"?>\r\n<channel id=\"{ID}\"><targets/>"
                               "<content baseUrl=\"http://host/\"/></channel>");
}

} // namespace
