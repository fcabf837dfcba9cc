#include "backup/RecordXml.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "backup/RecordValues.h"
#include "core/basDate.h"
#include "tests/backup/BackupWorld.h"

namespace {

using namespace kr;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

const Time kPushed = *ParseDate("2009-03-07 10:11:12");

class RecordXmlTest : public ::testing::Test {
protected:
    RDOMessagePtr message(std::string_view subject = "Name") {
        RDOMessagePtr made = world.browser->Items()->Add(kMblClass);
        made->SetSubject(subject);
        return made;
    }
    static void set(RDOMessage& message, std::string_view name, PropType type, const Value& value,
                    std::string_view set = PS_PUBLIC_STRINGS) {
        message.SetFields(message.GetIDsFromNames(set, name) | static_cast<PropTag>(type), value);
    }
    /// The children of the element that a saved message makes.
    static std::string written(RDOMessage& message, RecordIcons icons = RecordIcons::Left) {
        message.Save();
        const XmlDocument document("lists");
        AddRecord(document.Root(), "list", message, icons);
        const std::string text = document.Save();
        const size_t start = text.find('>', text.find("<list ")) + 1;
        return text.substr(start, text.find("</list>") - start);
    }
    static BackupRecord read(const std::string& children, RecordIcons icons = RecordIcons::Left) {
        const auto document = XmlDocument::Parse("<list MessageClass='IPM.Post.MBL' Subject='S'>" +
                                                 children + "</list>");
        EXPECT_TRUE(document);
        return RecordReader(icons).Read(document->Root());
    }
    static std::string refusal(const std::string& children, RecordIcons icons = RecordIcons::Left) {
        try {
            read(children, icons);
        } catch (const PlatformError& error) {
            return error.description();
        }
        return "";
    }

    BackupWorld world;
};

TEST_F(RecordXmlTest, TheElementOfAMessage) {
    const RDOMessagePtr made = message("A \"name\" & <more>");
    set(*made, "MBL.Title", PropType::String, "T");
    made->Save();
    const XmlDocument document("lists");
    AddRecord(document.Root(), "list", *made);
    const XmlNode list = document.Root().Child("list");
    EXPECT_EQ(list.Attribute("MessageClass"), "IPM.Post.MBL");
    EXPECT_EQ(list.Attribute("Subject"), "A \"name\" & <more>");
    EXPECT_EQ(list.Attribute("LastModified"), RecordText(made->LastModificationTime()));
    EXPECT_EQ(list.Children().size(), 1U);
}

TEST_F(RecordXmlTest, APropertyOfEachType) {
    const RDOMessagePtr made = message();
    set(*made, "A short", PropType::Short, int16_t{-2});
    set(*made, "ALong", PropType::Long, int32_t{70000});
    set(*made, "Money", PropType::Currency, Currency{-12500});
    set(*made, "Flag", PropType::Boolean, true);
    set(*made, "Text", PropType::String, "a<b>\"c\" & d");
    set(*made, "Date", PropType::Time, kPushed);
    EXPECT_EQ(written(*made), "<A_short Type=\"2\">-2</A_short><ALong Type=\"3\">70000</ALong>"
                              "<Money Type=\"6\">-1.25</Money><Flag Type=\"11\">True</Flag>"
                              "<Text Type=\"8\">a&lt;b&gt;\"c\" &amp; d</Text>"
                              "<Date Type=\"7\">2009-03-07T10:11:12</Date>");
}

TEST_F(RecordXmlTest, AnUnmappedTypeIsZeroWithItsText) {
    const RDOMessagePtr made = message();
    set(*made, "Real", PropType::Double5, 2.5);
    set(*made, "Blob", PropType::Binary, Bytes{1, 0xAB});
    EXPECT_EQ(written(*made), "<Real Type=\"0\">2.5</Real><Blob Type=\"0\">01AB</Blob>");
}

TEST_F(RecordXmlTest, AListHasAChildForEachValue) {
    const RDOMessagePtr made = message();
    set(*made, "My List", PropType::StringList, Strings{"one", "", "t&o"});
    EXPECT_EQ(written(*made),
              "<My_List Type=\"8192\"><My_List_member Type=\"8\">one</My_List_member>"
              "<My_List_member Type=\"8\"/><My_List_member Type=\"8\">t&amp;o</My_List_member>"
              "</My_List>");
}

TEST_F(RecordXmlTest, AnEmptyTextIsAnEmptyElement) {
    const RDOMessagePtr made = message();
    set(*made, "Text", PropType::String, "");
    EXPECT_EQ(written(*made), "<Text Type=\"8\"/>");
}

TEST_F(RecordXmlTest, OnlyNamedPropertiesAreWritten) {
    const RDOMessagePtr made = message();
    made->SetBody("the result document");
    made->SetFields(PR_GIVEN_NAME, "x");
    made->Save();
    const XmlDocument document("lists");
    AddRecord(document.Root(), "list", *made);
    EXPECT_THAT(document.Root().Child("list").Children(), IsEmpty());
}

TEST_F(RecordXmlTest, ANumericNameIsSkipped) {
    const RDOMessagePtr made = message();
    set(*made, "0x8051", PropType::Long, int32_t{1}, PSETID_Address);
    set(*made, "4711", PropType::Long, int32_t{1});
    set(*made, "Kept", PropType::Long, int32_t{1});
    EXPECT_EQ(written(*made), "<Kept Type=\"3\">1</Kept>");
}

TEST_F(RecordXmlTest, ANameThatXmlCannotHoldFails) {
    for (const char* name : {"1st", "a(b)", "a:b", "-a", "a&b", "a<b"}) {
        const RDOMessagePtr made = message();
        set(*made, name, PropType::Long, int32_t{1});
        try {
            written(*made);
            ADD_FAILURE() << name;
        } catch (const PlatformError& error) {
            EXPECT_THAT(error.description(), HasSubstr(name));
        }
    }
}

TEST_F(RecordXmlTest, TheIconsOfAChannel) {
    const RDOMessagePtr made = message();
    set(*made, "MBL.Title", PropType::String, "T");
    made->Attachments()->AddContent("ReadIcon", Bytes(60, 0xFF));
    made->Attachments()->AddContent("Other.png", Bytes{1});
    made->Attachments()->AddContent("UnreadIcon", Bytes{0x89, 'P'});
    EXPECT_EQ(written(*made, RecordIcons::Taken),
              "<MBL.Title Type=\"8\">T</MBL.Title><ReadIcon FileName=\"ReadIcon\">" +
                  std::string(80, '/') +
                  "</ReadIcon><UnreadIcon FileName=\"UnreadIcon\">iVA=" + "</UnreadIcon>");
    EXPECT_EQ(written(*made), "<MBL.Title Type=\"8\">T</MBL.Title>");
}

// --- there and back

TEST_F(RecordXmlTest, AllThatIsRestorableComesBackAsItWas) {
    const std::string hard[] = {"quotes \" ' and <tags> & entities &amp;",
                                "\xD7\xA9\xD7\x9C\xD7\x95\xD7\x9D \xE2\x80\x8F(RTL)\xE2\x80\xAE",
                                "line\r\nbreaks\rand\ttabs\n",
                                "  blanks around  ",
                                "]]>",
                                "\xF0\x9F\x98\x80",
                                "<?xml version=\"1.0\"?><root/>"};
    const RDOMessagePtr made = message("S");
    std::vector<BackupProperty> all = {
        {"A short", PropType::Short, int16_t{32767}},
        {"A long", PropType::Long, int32_t{-2147483647 - 1}},
        {"Money", PropType::Currency, Currency{9007199254740993}},
        {"Yes", PropType::Boolean, true},
        {"No", PropType::Boolean, false},
        {"Empty", PropType::String, ""},
        {"Date", PropType::Time, kPushed},
        {"Texts", PropType::StringList, Strings{hard[0], hard[1], hard[2], ""}},
        {"None", PropType::StringList, Strings{}}};
    for (size_t i = 0; i < std::size(hard); ++i)
        all.push_back(
            {"Hard." + std::string(1, static_cast<char>('a' + i)), PropType::String, hard[i]});
    for (const BackupProperty& property : all)
        set(*made, property.name, property.type, property.value);
    made->SetSubject(hard[2]);
    made->Attachments()->AddContent("UnreadIcon", Bytes{0, 1, 2, 0xFF});
    made->Save();
    XmlDocument document("lists");
    AddRecord(document.Root(), "list", *made, RecordIcons::Taken);
    const auto again = XmlDocument::Parse(document.Save());
    ASSERT_TRUE(again);
    const BackupRecord record = RecordReader(RecordIcons::Taken).Read(again->Find("list"));
    EXPECT_THAT(record.skipped, IsEmpty());
    const RDOMessagePtr copy = world.browser->Items()->Add(record.messageClass);
    FillMessage(*copy, record);
    copy->Save();
    EXPECT_EQ(copy->MessageClass(), made->MessageClass());
    EXPECT_EQ(copy->Subject(), made->Subject());
    size_t named = 0;
    for (const PropTag tag : made->PropList())
        if (made->NameOf(tag)) {
            ++named;
            EXPECT_EQ(copy->Fields(tag), made->Fields(tag)) << made->NameOf(tag)->name;
        }
    EXPECT_EQ(named, all.size());
    EXPECT_EQ(copy->Attachments()->Count(), 1);
    EXPECT_EQ(copy->Attachments()->Item(1)->DisplayName(), "UnreadIcon");
    EXPECT_EQ(copy->Attachments()->Item(1)->Content(), (Bytes{0, 1, 2, 0xFF}));
}

TEST_F(RecordXmlTest, WhatXmlCannotHoldIsLeftOut) {
    const RDOMessagePtr made = message(std::string("S\0T", 3));
    set(*made, "Text", PropType::String, std::string("a\0b\x01\x63\xEF\xBF\xBF", 8));
    made->Save();
    const XmlDocument document("lists");
    AddRecord(document.Root(), "list", *made);
    const auto again = XmlDocument::Parse(document.Save());
    ASSERT_TRUE(again);
    const BackupRecord record = RecordReader().Read(again->Find("list"));
    EXPECT_EQ(record.subject, "ST");
    EXPECT_EQ(record.properties.at(0).value, Value("abc"));
}

// --- reading

TEST_F(RecordXmlTest, AnUnderscoreBecomesABlank) {
    EXPECT_EQ(read("<BPE_Harvest_Pins Type='11'>True</BPE_Harvest_Pins>").properties.at(0).name,
              "BPE Harvest Pins");
    const RDOMessagePtr made = message();
    set(*made, "real_one", PropType::Long, int32_t{1});
    // an underscore in a name doesn't survive
    EXPECT_EQ(read(written(*made)).properties.at(0).name, "real one");
}

TEST_F(RecordXmlTest, WhatIsNotRestorableIsNamedAndSkipped) {
    const BackupRecord record =
        read("<A_b Type='0'>01AB</A_b><B Type='8192'><B_member Type='3'>1</B_member></B>"
             "<C Type='8'>x</C>");
    EXPECT_THAT(record.skipped, ElementsAre("A b", "B"));
    ASSERT_EQ(record.properties.size(), 1U);
    EXPECT_EQ(record.properties[0].name, "C");
}

TEST_F(RecordXmlTest, AWrongTypeIsRefused) {
    EXPECT_EQ(refusal("<A>x</A>"), "The element A has the type \"\".");
    EXPECT_EQ(refusal("<A Type='text'>x</A>"), "The element A has the type \"text\".");
    EXPECT_EQ(refusal("<A Type='8x'>x</A>"), "The element A has the type \"8x\".");
    EXPECT_EQ(refusal("<A Type='99999999999'>x</A>"),
              "The element A has the type \"99999999999\".");
    EXPECT_EQ(refusal("<A Type='99'>x</A>"), "The element A has the unknown type 99.");
    EXPECT_EQ(refusal("<A Type='-8'>x</A>"), "The element A has the unknown type -8.");
    EXPECT_EQ(refusal("<A Type='8192'><A_member Type='99'>x</A_member></A>"),
              "The element A has the unknown type 99.");
    EXPECT_EQ(refusal("<A Type='8192'><A_member>x</A_member></A>"),
              "The element A_member has the type \"\".");
}

TEST_F(RecordXmlTest, AValueOfAnotherTypeIsRefused) {
    EXPECT_EQ(refusal("<A Type='3'>many</A>"), "The element A does not hold a value of type 3.");
    EXPECT_EQ(refusal("<A Type='2'>70000</A>"), "The element A does not hold a value of type 2.");
    EXPECT_EQ(refusal("<A Type='7'>soon</A>"), "The element A does not hold a value of type 7.");
    EXPECT_EQ(refusal("<A Type='11'/>"), "The element A does not hold a value of type 11.");
}

TEST_F(RecordXmlTest, IconsAreReadWhereTheyBelongToTheFile) {
    const BackupRecord record =
        read("<UnreadIcon FileName='../../etc/passwd'>\r\n iV\n\tA=</UnreadIcon><ReadIcon/>",
             RecordIcons::Taken);
    EXPECT_THAT(record.properties, IsEmpty());
    ASSERT_EQ(record.icons.size(), 2U);
    EXPECT_EQ(record.icons[0].name, "UnreadIcon");
    EXPECT_EQ(record.icons[0].png, (Bytes{0x89, 'P'}));
    EXPECT_EQ(record.icons[1].name, "ReadIcon");
    EXPECT_THAT(record.icons[1].png, IsEmpty());
    // elsewhere it is a property like any other
    EXPECT_EQ(read("<ReadIcon Type='8'>x</ReadIcon>").properties.at(0).name, "ReadIcon");
}

TEST_F(RecordXmlTest, BrokenBase64IsRefused) {
    for (const char* text : {"abc", "ab!=", "A", "iVA=iVA"})
        EXPECT_EQ(refusal("<ReadIcon FileName='x'>" + std::string(text) + "</ReadIcon>",
                          RecordIcons::Taken),
                  "The element ReadIcon does not hold Base64.")
            << text;
}

TEST_F(RecordXmlTest, AFileBringsNoEndlessNames) {
    std::string many;
    for (size_t i = 0; i < RecordReader::kMostNames; ++i)
        many += "<N" + std::to_string(i) + " Type='3'>1</N" + std::to_string(i) + ">";
    EXPECT_EQ(read(many).properties.size(), RecordReader::kMostNames);
    EXPECT_EQ(refusal(many + "<N0 Type='3'>1</N0>"), "");
    EXPECT_EQ(refusal(many + "<More Type='3'>1</More>"),
              "The file has more than 2000 names of properties.");
}

} // namespace
