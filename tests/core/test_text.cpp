#include <gtest/gtest.h>

#include <cstdlib>

#include "core/basDate.h"
#include "core/basText.h"
#include "platform/shell/Shell.h"

namespace kr {
namespace {

using namespace std::chrono;
using namespace std::string_literals;

TEST(BasText, NumericMark) {
    EXPECT_EQ(NumericMark("123", true), "!~123");
    EXPECT_EQ(NumericMark("!~123", false), "123");
    EXPECT_EQ(NumericMark("!~abc", false), "abc");
    EXPECT_EQ(NumericMark("abc", true), "abc");
    EXPECT_EQ(NumericMark("", true), "");
    EXPECT_EQ(NumericMark("", false), "");
    EXPECT_EQ(NumericMark("!~", false), "");
    EXPECT_EQ(NumericMark("!", false), "!");
    EXPECT_EQ(NumericMark("!~!~1", false), "!~1");
    EXPECT_EQ(NumericMark("!~5", true), "!~5") << "not numeric, so not marked twice";
    EXPECT_EQ(NumericMark(" 1,234.50 ", true), "!~ 1,234.50 ");
}

TEST(BasText, WhatIsNumeric) {
    for (const char* text : {"0", "12", "-3", "+3", "3-", "(3)", "$5", "-$5", "1,234", "1.5", ".5",
                             "5.", "1e5", "1D-3", "&HFF", " 7 ", "00123456789012345678901234567"})
        EXPECT_TRUE(IsNumeric(text)) << text;
    for (const char* text : {"",    " ",     "-",   ".",  "e5",    "1e",       "1e+", "12a",
                             "1 2", "--1",   "-1-", ",1", "0x10",  "inf",      "nan", "1e999",
                             "&H",  "&HXYZ", "$",   "()", "1.2.3", "\xD9\xA1", "1/2", "12:30"})
        EXPECT_FALSE(IsNumeric(text)) << text;
    EXPECT_EQ(ParseNumber("(1,234.5)"), -1234.5);
    EXPECT_EQ(ParseNumber("12-"), -12);
    EXPECT_EQ(ParseNumber("&Hff"), 255);
    EXPECT_EQ(ParseNumber("&HFFFFFFFF"), -1);
    EXPECT_EQ(ParseNumber("1d2"), 100);
}

TEST(BasText, TrimToken) {
    EXPECT_EQ(TrimToken("xxabxx", "x"), "ab");
    EXPECT_EQ(TrimToken("ab", ""), "ab");
    EXPECT_EQ(TrimToken("", "x"), "");
    EXPECT_EQ(TrimToken("xxx", "x"), "");
    EXPECT_EQ(TrimToken("xxx", "xx"), "x") << "the end goes first";
    EXPECT_EQ(TrimToken("; ;a;b; ;", "; "), ";a;b; ;");
    EXPECT_EQ(TrimToken("Xax", "x"), "Xa");
}

TEST(BasText, EscapeQuotes) {
    EXPECT_EQ(EscapeQuotes("'O''Brien'"), "O''Brien");
    EXPECT_EQ(EscapeQuotes("O'Brien"), "O''Brien");
    EXPECT_EQ(EscapeQuotes("a''''b"), "a''b");
    EXPECT_EQ(EscapeQuotes("a'''b"), "a''b");
    EXPECT_EQ(EscapeQuotes("''''"), "");
    EXPECT_EQ(EscapeQuotes(""), "");
    EXPECT_EQ(EscapeQuotes("x' OR '1'='1"), "x'' OR ''1''=''1");
}

TEST(BasText, IsX500) {
    EXPECT_TRUE(IsX500("/o=Org/ou=First/CN=Recipients/Cn=me"));
    EXPECT_FALSE(IsX500("cn=me,dc=example"));
    EXPECT_FALSE(IsX500(""));
}

TEST(BasText, XmlEscape) {
    EXPECT_EQ(XmlEscape("<a b='c'>\"&amp;\"</a>"),
              "&lt;a b=&apos;c&apos;&gt;&quot;&amp;amp;&quot;&lt;/a&gt;");
    EXPECT_EQ(XmlText("a\0b\x01\x1F\tc\xEF\xBF\xBE"s), "ab\tc");
    EXPECT_EQ(XmlText("\xFF<"), "\xEF\xBF\xBD&lt;");
    EXPECT_EQ(XmlText("\xED\xA0\x80").find('\xED'), std::string::npos) << "a surrogate in UTF-8";
    EXPECT_EQ(XmlText("\xF0\x9F\x98\x80 \xE2\x80\xAEgnp"), "\xF0\x9F\x98\x80 \xE2\x80\xAEgnp");
}

TEST(BasText, XmlTagName) {
    EXPECT_EQ(XmlTagName("Last Update"), "Update");
    EXPECT_EQ(XmlTagName("Name"), "Name");
    EXPECT_EQ(XmlTagName("Size (KB)"), "KB");
    EXPECT_EQ(XmlTagName("Top 10"), "_10");
    EXPECT_EQ(XmlTagName("E-mail "), "E-mail");
    EXPECT_EQ(XmlTagName("-x"), "_-x");
    EXPECT_EQ(XmlTagName(""), "_");
    EXPECT_EQ(XmlTagName("#"), "_");
    EXPECT_EQ(XmlTagName("ns:tag<"), "nstag");
    EXPECT_EQ(XmlTagName("\xC3\x84nderung"), "\xC3\x84nderung");
    EXPECT_EQ(XmlTagName("\xFF"), "_");
}

TEST(BasText, LastWord) {
    EXPECT_EQ(LastWord("Last Update"), "Update");
    EXPECT_EQ(LastWord("Update"), "Update");
    EXPECT_EQ(LastWord(""), "");
    EXPECT_EQ(LastWord("a b "), "");
    EXPECT_EQ(LastWord("a b\t"), "b");
}

TEST(BasText, WordsOfATag) {
    EXPECT_EQ(HiWord(0x0037001E), 0x0037);
    EXPECT_EQ(LoWord(0x0037001E), 0x001E);
    EXPECT_EQ(HiWord(static_cast<int32_t>(0x800F101E)), 0x800F);
    EXPECT_EQ(LoWord(static_cast<int32_t>(0x8000FFFF)), 0xFFFF);
    EXPECT_EQ(HiWord(-1), 0xFFFF);
    EXPECT_EQ(LoWord(0), 0);
}

/// A desktop that keeps the last address.
class OneShell : public Shell {
public:
    int OpenURL(std::string_view url) override {
        last = url;
        return result;
    }
    int OpenFile(std::string_view) override { return 0; }
    bool HasViewer(std::string_view) override { return false; }
    bool Ping(std::string_view) override { return false; }
    std::string ComputerName() override { return {}; }
    std::string UserName() override { return {}; }
    std::string TempFolder() override { return {}; }
    std::string SystemFacts() override { return {}; }
    std::string last;
    int result = 33;
};

TEST(BasText, OpenURL) {
    OneShell shell;
    EXPECT_TRUE(OpenURL(shell, "www.example.test"));
    EXPECT_EQ(shell.last, "http://www.example.test");
    EXPECT_TRUE(OpenURL(shell, "HTTPS://example.test"));
    EXPECT_EQ(shell.last, "HTTPS://example.test");
    EXPECT_TRUE(OpenURL(shell, "httpd.example.test"));
    EXPECT_EQ(shell.last, "httpd.example.test") << "begins with http, so it stays";
    shell.result = 32;
    EXPECT_FALSE(OpenURL(shell, ""));
    EXPECT_EQ(shell.last, "http://");
}

class SetClock : public Clock {
public:
    Time now() const override { return at; }
    Time at{};
};

Time at(int y, unsigned m, unsigned d, int h = 0, int min = 0, int s = 0) {
    return sys_days{year{y} / month{m} / day{d}} + hours{h} + minutes{min} + seconds{s};
}

/// A time zone for one test.
class Zone {
public:
    explicit Zone(const char* name) {
        if (const char* old = getenv("TZ"))
            m_old = old;
        setenv("TZ", name, 1);
    }
    ~Zone() { setenv("TZ", m_old.c_str(), 1); }
    Zone(const Zone&) = delete;
    Zone& operator=(const Zone&) = delete;

private:
    std::string m_old;
};

TEST(BasDate, TheRuleInForceNowHoldsForAllDates) {
    const Zone zone("Europe/Berlin");
    SetClock clock;
    const Time winter = at(2026, 1, 15, 12, 0, 7);
    const Time summer = at(2026, 7, 15, 12, 0, 7);
    clock.at = winter;
    EXPECT_EQ(UTCToLocal(winter, clock), winter + 1h);
    EXPECT_EQ(UTCToLocal(summer, clock), summer + 1h);
    clock.at = summer;
    EXPECT_EQ(UTCToLocal(winter, clock), winter + 2h);
    EXPECT_EQ(LocalToUTC(UTCToLocal(winter, clock), clock), winter);
}

TEST(BasDate, OtherZones) {
    SetClock clock;
    clock.at = at(2026, 1, 15);
    {
        const Zone zone("Asia/Kathmandu");
        EXPECT_EQ(LocalOffset(clock), 5h + 45min);
    }
    {
        const Zone zone("America/St_Johns");
        EXPECT_EQ(LocalOffset(clock), -(3h + 30min));
    }
    {
        const Zone zone("UTC");
        EXPECT_EQ(LocalOffset(clock), 0s);
    }
}

TEST(BasDate, SystemTime) {
    SystemTime record;
    DateToSystemTime(at(2024, 2, 29, 23, 59, 58), record);
    EXPECT_EQ(record, (SystemTime{2024, 2, 29, 23, 59, 58}));
    Time back{};
    EXPECT_TRUE(SystemTimeToDate(record, back));
    EXPECT_EQ(back, at(2024, 2, 29, 23, 59, 58));
    DateToSystemTime(at(1601, 1, 1) - 1s, record);
    EXPECT_EQ(record, (SystemTime{1600, 12, 31, 23, 59, 59}));
    for (const SystemTime& wrong :
         {SystemTime{2023, 2, 29, 0, 0, 0}, SystemTime{2023, 13, 1, 0, 0, 0},
          SystemTime{2023, 0, 1, 0, 0, 0}, SystemTime{0, 1, 1, 0, 0, 0},
          SystemTime{10000, 1, 1, 0, 0, 0}, SystemTime{2023, 1, 1, 24, 0, 0},
          SystemTime{2023, 1, 1, 0, 60, 0}, SystemTime{2023, 1, 1, 0, 0, 60}}) {
        EXPECT_FALSE(SystemTimeToDate(wrong, back));
        EXPECT_EQ(back, at(2024, 2, 29, 23, 59, 58));
    }
    DateToSystemTime(Time::max(), record);
    EXPECT_EQ(record.year, 9999);
    DateToSystemTime(Time::min(), record);
    EXPECT_EQ(record, (SystemTime{1, 1, 1, 0, 0, 0}));
}

TEST(BasDate, Formats) {
    EXPECT_EQ(FormatDate(at(2026, 3, 9, 16, 5, 6)), "3/9/2026 4:05:06 PM");
    EXPECT_EQ(FormatDate(at(2026, 12, 31)), "12/31/2026 12:00:00 AM");
    EXPECT_EQ(FormatDate(at(2026, 12, 31, 12)), "12/31/2026 12:00:00 PM");
    EXPECT_EQ(FormatShortDate(at(2026, 3, 9)), "3/9/2026");
    EXPECT_EQ(FormatShortTime(at(2026, 3, 9, 0, 7)), "12:07 AM");
    EXPECT_EQ(FormatTime24(at(2026, 3, 9, 4, 5, 6)), "04:05:06");
}

TEST(BasDate, ParsesWhatItFormats) {
    for (const Time t : {at(2026, 3, 9, 16, 5, 6), at(1999, 12, 31), at(2000, 2, 29, 12),
                         at(9999, 12, 31, 23, 59, 59), at(100, 1, 1, 1, 1, 1)}) {
        EXPECT_EQ(ParseDate(FormatDate(t)), t) << FormatDate(t);
        EXPECT_EQ(ParseDate(FormatShortDate(t) + " " + FormatTime24(t)), t);
    }
}

TEST(BasDate, ParsesOtherForms) {
    EXPECT_EQ(ParseDate(" 3/9/2026 "), at(2026, 3, 9));
    EXPECT_EQ(ParseDate("03/09/26"), at(2026, 3, 9));
    EXPECT_EQ(ParseDate("3/9/30"), at(1930, 3, 9));
    EXPECT_EQ(ParseDate("3/9/2026 4:05pm"), at(2026, 3, 9, 16, 5));
    EXPECT_EQ(ParseDate("2026-03-09"), at(2026, 3, 9));
    EXPECT_EQ(ParseDate("2026-03-09T16:05:06.123"), at(2026, 3, 9, 16, 5, 6));
    EXPECT_EQ(ParseDate("2026-03-09 16:05"), at(2026, 3, 9, 16, 5));
    EXPECT_EQ(ParseDate("16:05"), at(1899, 12, 30, 16, 5));
    for (const char* text : {"",
                             " ",
                             "Never",
                             "2026",
                             "13/1/2026",
                             "2/29/2026",
                             "0/1/2026",
                             "1/0/2026",
                             "1/1/0000",
                             "3/9/2026 25:00",
                             "3/9/2026 4:60",
                             "3/9/2026 13:00 PM",
                             "3/9/2026 0:00 AM",
                             "3/9/2026 4:05:06 PM x",
                             "3/9",
                             "3/9/2026x",
                             "2026-3",
                             "2026-13-01",
                             "99999-01-01",
                             "3/9/2026 4",
                             "-1/1/2026",
                             "1/1/2026 1:1:1.",
                             "999:00",
                             "\xD9\xA3/9/2026"})
        EXPECT_EQ(ParseDate(text), std::nullopt) << text;
}

} // namespace
} // namespace kr
