#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

#include "push/LinkPattern.h"
#include "push/PushContent.h"

namespace {

using namespace kr;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<std::string> links(std::string_view html, std::string_view url = "http://host/dir/p") {
    PushContent content;
    content.SetURL(url);
    content.GetChildLinks(html);
    return content.ChildLinks();
}

std::vector<std::string> images(std::string_view html) {
    PushContent content;
    content.SetURL("http://host/dir/p");
    content.GetImageLinks(html);
    std::vector<std::string> urls;
    for (const auto& image : content.ImageLinks)
        urls.push_back(image.url);
    return urls;
}

TEST(PushContentTest, PathsOfAUrl) {
    PushContent content;
    content.SetURL("http://host/dir/page.html");
    EXPECT_EQ(content.RootPath(), "http://host/");
    EXPECT_EQ(content.DocPath(), "http://host/dir/");
    content.SetRootPath("http://host/dir/");
    EXPECT_EQ(content.URL(), "http://host/dir/");
    EXPECT_EQ(content.DocPath(), "http://host/dir/");
    content.SetRootPath("http://host");
    EXPECT_EQ(content.RootPath(), "");
    content.SetRootPath("\\\\server\\share\\x.html");
    EXPECT_EQ(content.DocPath(), "\\\\server\\share\\");
    EXPECT_EQ(content.RootPath(), "");
    content.SetRootPath("host/x");
    EXPECT_EQ(content.RootPath(), "host/");
}

TEST(PushContentTest, LinksAreFoundOnceAndResolvedAgainstTheSite) {
    EXPECT_THAT(links(R"(<a href="b.html">x</a><A class=x HREF = '/c.html'><a href="HTTP://o/d">)"),
                ElementsAre("http://host/b.html", "http://host/c.html", "HTTP://o/d"));
    EXPECT_THAT(links(R"(<a href="../b.html">)"), ElementsAre("http://host/../b.html"));
    EXPECT_THAT(links(R"(<a href="B.html"><a href="b.HTML">)"), ElementsAre("http://host/B.html"));
    EXPECT_THAT(links(R"(<a href="b.html">)", "http://host"), ElementsAre("/b.html"));
}

TEST(PushContentTest, OtherLinksAreNot) {
    for (const char* html :
         {R"_(<a href="javascript:x()">)_", R"(<a href="mailto:a@b">)", R"(<a href="#top">)",
          R"(<a href='file:///x'>)", R"(<a href="/">)", R"(<a href="">)", R"(<a href=b.html>)",
          R"(<a name="x">)", R"(<a href="x.exe">)", R"(<a href="x.PDF?y=1">)",
          R"(<a href="index.jsp">)", R"(<a href="a.js?x=1">)", R"(<b href="b.html">)"})
        EXPECT_THAT(links(html), IsEmpty()) << html;
}

TEST(PushContentTest, AnImagesSourceComesFirst) {
    EXPECT_THAT(images(R"(<img src="A.png"><IMG SRC='b.gif'><img src="a.PNG">)"),
                ElementsAre("http://host/a.png", "http://host/b.gif"));
    EXPECT_THAT(images(R"(<img alt="x" src="a.png">)"), IsEmpty());
    EXPECT_THAT(images(R"(<img  src="a.png">)"), IsEmpty());
    EXPECT_THAT(images("<img\u00a0src=\"a.png\">"), ElementsAre("http://host/a.png"));
    EXPECT_THAT(images("<img\U0001F600src=\"a.png\">"), IsEmpty());
    EXPECT_THAT(images("<img\nsrc = \n\"a.png\">"), ElementsAre("http://host/a.png"));
}

TEST(PushContentTest, Resolving) {
    EXPECT_EQ(ResolveURL("httpx", "http://h/"), "httpx");
    EXPECT_EQ(ResolveURL("/x", "http://h/"), "http://h/x");
    EXPECT_EQ(ResolveURL("/x", "http://h"), "http://h/x");
    EXPECT_EQ(ResolveURL("../x", "http://h//"), "http://h/../x");
    EXPECT_EQ(ResolveURL("x", "c:\\"), "c:\\x");
    EXPECT_EQ(ResolveURL("x", ""), "/x");
}

TEST(PushContentTest, KilobytesRoundToOneDecimal) {
    EXPECT_EQ(KilobytesOf(0), 0.0);
    EXPECT_EQ(KilobytesOf(1024), 1.0);
    EXPECT_EQ(KilobytesOf(102'400), 100.0);
    EXPECT_EQ(KilobytesOf(102'502), 100.1);
    EXPECT_EQ(KilobytesOf(51), 0.0);
    EXPECT_EQ(KilobytesOf(52), 0.1);
}

TEST(PushContentTest, ATagWithoutALinkHidesNoneBehindIt) {
    EXPECT_THAT(links(R"(<a <a href=x <a href='y'>)"), ElementsAre("http://host/y"));
    EXPECT_THAT(links(R"(<a href=x><a href='y'>)"), ElementsAre("http://host/y"));
    EXPECT_THAT(links(R"(<a href='x' href='y'><a b<a href="z">)"),
                ElementsAre("http://host/y", "http://host/z"));
    std::string page;
    while (page.size() < (1 << 20))
        page += "<a href ";
    EXPECT_THAT(links(page + "><a href='z'>"), ElementsAre("http://host/z"));
}

TEST(PushContentTest, HostilePagesTakeNoLongTime) {
    std::vector<std::string> pages;
    for (const std::string& part :
         {std::string("<a"), std::string("<a href="), std::string("<a href=\"javascript:\" "),
          "<a href" + std::string(1000, ' '), std::string("<a href  =  "), std::string("<img src"),
          "<img src=\"" + std::string(100, 'x')}) {
        std::string page;
        while (page.size() < (1 << 20))
            page += part;
        pages.push_back(std::move(page));
    }
    pages.push_back("<a href=\"" + std::string(1 << 20, 'x') + "\">");
    pages.push_back("<img src" + std::string(1 << 20, ' '));
    for (const std::string& page : pages) {
        const auto start = std::chrono::steady_clock::now();
        links(page);
        images(page);
        // a debug build on a busy machine; a pattern that isn't linear takes minutes
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1))
            << page.substr(0, 30);
    }
}

TEST(LinkPatternTest, EmptyMatchesEnd) {
    int count = 0;
    LinkPattern("x*").EachMatch("axb", [&](const auto&) { ++count; });
    EXPECT_EQ(count, 4); // before "a", "x", before "b", at the end
    EXPECT_THROW(LinkPattern("("), std::invalid_argument);
}

} // namespace
