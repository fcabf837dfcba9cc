#include <gtest/gtest.h>

#include "platform/http/curl/Charset.h"
#include "platform/http/curl/ProxyChoice.h"

namespace {

using namespace kr;

TEST(UrlPartsTest, SplitsUrls) {
    EXPECT_EQ(PartsOf("http://Host/x"), (UrlParts{"http", "host", "80"}));
    EXPECT_EQ(PartsOf("HTTPS://host:8443?x=/y"), (UrlParts{"https", "host", "8443"}));
    EXPECT_EQ(PartsOf("http://user:pa@ss@host/"), (UrlParts{"http", "host", "80"}));
    EXPECT_EQ(PartsOf("http://[::1]:81/"), (UrlParts{"http", "::1", "81"}));
    EXPECT_EQ(PartsOf("http://[::1"), (UrlParts{"http", "::1", "80"}));
    EXPECT_EQ(PartsOf("host/path"), UrlParts());
    EXPECT_EQ(PartsOf(""), UrlParts());
}

TEST(ProxyForTest, TakesTheSchemesOwnElseTheOneForAll) {
    const UrlParts http{"http", "h", "80"}, https{"https", "h", "443"};
    EXPECT_EQ(ProxyFor(http, "proxy"), "http://proxy:80");
    EXPECT_EQ(ProxyFor(https, "proxy:3128"), "http://proxy:3128");
    EXPECT_EQ(ProxyFor(http, "http=one https=two:81"), "http://one:80");
    EXPECT_EQ(ProxyFor(https, "http=one;HTTPS=two:81"), "http://two:81");
    EXPECT_EQ(ProxyFor(https, "http=one"), "");
    EXPECT_EQ(ProxyFor(https, "https=https://secure:444"), "https://secure:444");
    EXPECT_EQ(ProxyFor(http, "[::1]"), "http://[::1]:80");
    EXPECT_EQ(ProxyFor(http, "[::1]:9"), "http://[::1]:9");
    EXPECT_EQ(ProxyFor(http, "  ;; "), "");
}

TEST(BypassesTest, MatchesWildcardsAndLocalNames) {
    const UrlParts inner{"http", "web.corp.example", "80"}, local{"http", "intranet", "80"};
    EXPECT_TRUE(Bypasses(inner, "*.Corp.example"));
    EXPECT_TRUE(Bypasses(inner, "other;web.corp.example"));
    EXPECT_TRUE(Bypasses(inner, "*"));
    EXPECT_TRUE(Bypasses(inner, "w*b*example"));
    EXPECT_FALSE(Bypasses(inner, "corp.example"));
    EXPECT_FALSE(Bypasses(inner, "<local>"));
    EXPECT_TRUE(Bypasses(local, "x;<local>"));
    EXPECT_FALSE(Bypasses(local, ""));
}

TEST(EncodeUrlTest, LeavesWhatMayStand) {
    EXPECT_EQ(EncodeUrl("http://h/a b\t%20'\"|"), "http://h/a%20b%09%20'\"|");
    EXPECT_EQ(EncodeUrl("http://h/\xC3\xA9"), "http://h/%C3%A9");
}

TEST(DecodeBodyTest, GoesByMarkThenCharsetThenLook) {
    EXPECT_EQ(DecodeBody("\xEF\xBB\xBF\xC3\xA9", "text/html; charset=iso-8859-1"), "\xC3\xA9");
    EXPECT_EQ(DecodeBody(std::string_view("\xFF\xFE"
                                          "e\0",
                                          4),
                         ""),
              "e");
    EXPECT_EQ(DecodeBody("\xE9", "text/html; charset=\"ISO-8859-1\""), "\xC3\xA9");
    EXPECT_EQ(DecodeBody("\x82\xA0", "text/html;charset=x-sjis; q=1"), "\xE3\x81\x82");
    EXPECT_EQ(DecodeBody("\xC3\xA9", "text/html"), "\xC3\xA9");
    EXPECT_EQ(DecodeBody("\x80uro", "text/html"), "\xE2\x82\xAC"
                                                  "uro");
    EXPECT_EQ(DecodeBody("\xC3\xA9", "text/html; charset=no-such-set"), "\xC3\xA9");
    EXPECT_EQ(DecodeBody("a\xFFz", "text/html; charset=utf-8"), "a\xEF\xBF\xBDz");
    EXPECT_EQ(DecodeBody("", ""), "");
}

} // namespace
