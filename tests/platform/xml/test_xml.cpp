#include <gtest/gtest.h>

#include "platform/xml/Xml.h"

namespace {

using namespace kr;

std::string refusal(std::string_view text, size_t longest = XmlDocument::kLongest) {
    std::string reason;
    EXPECT_FALSE(XmlDocument::Parse(text, &reason, longest));
    return reason;
}

TEST(Xml, MakesSavesAndReads) {
    XmlDocument document("channel");
    document.Root().SetAttribute("id", "a<b>&\"'\u00e9");
    XmlNode targets = document.Root().AddChild("targets");
    targets.AddChild("target").SetAttribute("pin", "1");
    targets.AddChild("note").SetText("x & y < z");
    const std::string text = document.Save();
    EXPECT_EQ(text, "<?xml version=\"1.0\"?>\r\n<channel id=\"a&lt;b&gt;&amp;&quot;'\u00e9\">"
                    "<targets><target pin=\"1\"/><note>x &amp; y &lt; z</note></targets>"
                    "</channel>");
    const auto again = XmlDocument::Parse(text);
    ASSERT_TRUE(again);
    EXPECT_EQ(again->Root().Attribute("id"), "a<b>&\"'\u00e9");
    EXPECT_EQ(again->Find("note").Text(), "x & y < z");
    EXPECT_EQ(again->Save(), text);
}

TEST(Xml, FindsInTheOrderOfTheDocument) {
    const auto document =
        XmlDocument::Parse("<a><b n='1'><c n='2'/></b><c n='3'/><c n='it&apos;s'/></a>");
    ASSERT_TRUE(document);
    EXPECT_EQ(document->Find("c").Attribute("n"), "2");
    EXPECT_EQ(document->Find("c", "n", "3").Parent().Name(), "a");
    EXPECT_TRUE(document->Find("c", "n", "it's"));
    EXPECT_FALSE(document->Find("c", "n", "4"));
    EXPECT_FALSE(document->Find("d"));
    EXPECT_EQ(document->FindAll("c").size(), 3U);
    EXPECT_EQ(document->Root().Children().size(), 3U);
    EXPECT_FALSE(document->Root().Child("a"));
    EXPECT_FALSE(document->Root().Parent());
    EXPECT_EQ(document->Root().Attribute("n"), std::nullopt);
}

TEST(Xml, RemovesNodes) {
    auto document = XmlDocument::Parse("<a><b/><c/></a>");
    XmlNode b = document->Find("b");
    b.Remove();
    EXPECT_FALSE(b);
    EXPECT_EQ(document->Save(), "<?xml version=\"1.0\"?>\r\n<a><c/></a>");
}

TEST(Xml, WhatXmlCannotHoldIsLeftOut) {
    XmlDocument document("a");
    document.Root().SetAttribute("v", std::string("x\0\x01y\tz", 6));
    document.Root().SetText("bro\xFFken");
    const auto again = XmlDocument::Parse(document.Save());
    ASSERT_TRUE(again);
    EXPECT_EQ(again->Root().Attribute("v"), "xy\tz");
    EXPECT_EQ(again->Root().Text(), "broken");
    for (const char* none : {"\xEF\xBF\xBF", "\xEF\xBF\xBE", "\xED\xA0\x80", "\xC1\x81",
                             "\xF4\x90\x80\x80", "\xE0\x80\x80", "\xEF\xBF", "\x80"}) {
        document.Root().SetText("\xC3\xA9" + std::string(none) + "\xF0\x9F\x98\x80" + none);
        ASSERT_TRUE(XmlDocument::Parse(document.Save()));
        EXPECT_EQ(document.Root().Text(), "\xC3\xA9\xF0\x9F\x98\x80");
    }
}

TEST(Xml, RefusesWhatIsNone) {
    EXPECT_NE(refusal(""), "");
    EXPECT_NE(refusal("no markup"), "");
    EXPECT_NE(refusal("<a><b></a>"), "");
    EXPECT_NE(refusal("<a/><b/>"), "");
    EXPECT_NE(refusal("<a x='1' x='2'/>"), "");
    EXPECT_NE(refusal("<a>\xC3</a>"), "");
    EXPECT_NE(refusal("<a>\x01</a>"), "");
    EXPECT_NE(refusal("<a>&unknown;</a>"), "");
}

TEST(Xml, RefusesDocumentTypesEntitiesAndDepth) {
    EXPECT_NE(refusal("<!DOCTYPE a [<!ENTITY e SYSTEM 'file:///etc/passwd'>]><a>&e;</a>"), "");
    EXPECT_NE(refusal("<!DOCTYPE a SYSTEM 'http://127.0.0.1:1/x.dtd'><a/>"), "");
    std::string bomb = "<!DOCTYPE a [<!ENTITY x0 'ha'>";
    for (int i = 1; i < 30; ++i)
        bomb += "<!ENTITY x" + std::to_string(i) + " '&x" + std::to_string(i - 1) + ";&x" +
                std::to_string(i - 1) + ";'>";
    EXPECT_NE(refusal(bomb + "]><a>&x29;</a>"), "");
    std::string deep;
    for (int i = 0; i < 100'000; ++i)
        deep += "<a>";
    EXPECT_NE(refusal(deep), "");
    EXPECT_NE(refusal("<a>" + std::string(100, ' ') + "</a>", 50), "");
}

TEST(Xml, TheTextIsUtf8WhateverItSays) {
    const auto document =
        XmlDocument::Parse("\xEF\xBB\xBF<?xml version='1.0' encoding='utf-16'?><a>\u00e9</a>");
    ASSERT_TRUE(document);
    EXPECT_EQ(document->Root().Text(), "\u00e9");
}

TEST(Xml, AMillionElementsAreRead) {
    std::string text = "<a>";
    for (int i = 0; i < 200'000; ++i)
        text += "<b/>";
    const auto document = XmlDocument::Parse(text + "</a>");
    ASSERT_TRUE(document);
    EXPECT_EQ(document->FindAll("b").size(), 200'000U);
}

constexpr std::string_view kSchema =
    "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema' targetNamespace='urn:x' "
    "elementFormDefault='qualified'><xs:element name='Count' type='xs:int'/></xs:schema>";

TEST(XmlSchemaTest, ChecksDocuments) {
    const auto schema = XmlSchema::Parse(kSchema);
    ASSERT_TRUE(schema);
    EXPECT_EQ(schema->Check(*XmlDocument::Parse("<Count xmlns='urn:x'>5</Count>")), "");
    EXPECT_NE(schema->Check(*XmlDocument::Parse("<Count xmlns='urn:x'>x</Count>"))
                  .find("is not a valid value of the atomic type 'xs:int'."),
              std::string::npos);
    EXPECT_NE(schema->Check(*XmlDocument::Parse("<Count>5</Count>")), "");
}

TEST(XmlSchemaTest, RefusesWhatIsNoSchema) {
    std::string reason;
    EXPECT_FALSE(XmlSchema::Parse("<a/>", &reason));
    EXPECT_NE(reason, "");
    EXPECT_FALSE(XmlSchema::Parse("", &reason));
    EXPECT_FALSE(XmlSchema::Parse("<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema'>"
                                  "<xs:element name='a' type='missing'/></xs:schema>",
                                  &reason));
}

} // namespace
