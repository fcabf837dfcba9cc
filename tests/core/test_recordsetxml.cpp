#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "core/PlatformError.h"
#include "core/RecordsetXml.h"

namespace {

using namespace kr;
using namespace std::string_literals;
namespace fs = std::filesystem;

const Time kWhen = Time(std::chrono::sys_days(std::chrono::year(2009) / 3 / 7)) +
                   std::chrono::seconds(10 * 3600 + 11 * 60 + 12);

const std::string kHead =
    "<xml xmlns:s='uuid:BDC6E3F0-6DA3-11d1-A2A3-00AA00C14882'\r\n"
    "\txmlns:dt='uuid:C2F41010-65B3-11d1-A29F-00AA00C14882'\r\n"
    "\txmlns:rs='urn:schemas-microsoft-com:rowset'\r\n\txmlns:z='#RowsetSchema'>\r\n";

std::string schema(const std::string& attributes) {
    return "<s:Schema id='RowsetSchema'><s:ElementType name='row' content='eltOnly'>" + attributes +
           "<s:Extends type='rs:rowbase'/></s:ElementType></s:Schema>";
}
std::string texts(const std::vector<std::string>& names) {
    std::string out;
    for (const std::string& name : names)
        out += "<s:AttributeType name='" + name +
               "'><s:datatype dt:type='string' dt:maxLength='255'/></s:AttributeType>";
    return schema(out);
}
std::string file(const std::string& schemaText, const std::string& data) {
    return kHead + schemaText + "<rs:data>" + data + "</rs:data></xml>";
}

std::string shown(const Value& value) {
    if (value.empty())
        return "null";
    if (const auto* text = value.get<std::string>())
        return "'" + *text + "'";
    if (const auto* flag = value.get<bool>())
        return *flag ? "True" : "False";
    if (const auto* date = value.get<Time>())
        return "date " + std::to_string(date->time_since_epoch().count());
    if (const auto* money = value.get<Currency>())
        return "money " + std::to_string(money->scaled);
    if (const auto* real = value.get<double>())
        return std::to_string(*real);
    return std::to_string(value.integerOr(0));
}

std::string rowsOf(Recordset& rows) {
    std::string out;
    for (rows.MoveFirst(); !rows.EOF_(); rows.MoveNext()) {
        for (size_t i = 0; i < rows.Fields().size(); ++i)
            out += (i ? " " : "") + shown(rows.Get(static_cast<int>(i)));
        out += "|";
    }
    return out;
}

std::string reasonOf(const std::string& xml) {
    try {
        ReadRecordsetXml(xml);
    } catch (const PlatformError& error) {
        return error.description();
    }
    return "read";
}

class RecordsetXmlTest : public ::testing::Test {
protected:
    RecordsetXmlTest()
        : rows({{"Display Name", FieldType::Text, 255},
                {"Notes", FieldType::LongText, 0x7FFFFFFF},
                {"LCID", FieldType::Integer, 4},
                {"State", FieldType::SmallInt, 2},
                {"Rate", FieldType::Double, 8},
                {"Price", FieldType::Currency, 8},
                {"Since", FieldType::Date, 8},
                {"Push", FieldType::Boolean, 2},
                {"Any", FieldType::Variant, 16}}) {
        rows.Append({"O'Hara, \"René\" & <Co>", "first\r\nsecond\tthird", 1033, int16_t{-1}, 0.1,
                     Currency{-12345600}, kWhen, true, "text"});
        rows.Append({"", Value(), -2147483647 - 1, int16_t{0}, -1e300, Currency{5},
                     Time(std::chrono::seconds(0)), false, Value()});
        rows.Append({Value(), "", Value(), Value(), Value(), Value(), Value(), Value(), Value()});
    }
    Recordset rows;
};

TEST_F(RecordsetXmlTest, WhatIsWrittenComesBack) {
    const std::string xml = RecordsetXml(rows);
    const auto again = ReadRecordsetXml(xml);
    ASSERT_EQ(again->Fields().size(), 9u);
    for (size_t i = 0; i < 9; ++i) {
        EXPECT_EQ(again->Fields()[i].name, rows.Fields()[i].name);
        EXPECT_TRUE(again->Fields()[i].type == rows.Fields()[i].type) << i;
    }
    EXPECT_EQ(again->Fields()[0].size, 255);
    EXPECT_EQ(rowsOf(*again), rowsOf(rows));
    EXPECT_TRUE(RecordsetXml(*again) == xml);
}

TEST_F(RecordsetXmlTest, WritesTheFormThatAdoReads) {
    const std::string xml = RecordsetXml(rows);
    for (const char* part : {
             "<xml xmlns:s='uuid:BDC6E3F0-6DA3-11d1-A2A3-00AA00C14882' ",
             "<s:ElementType name='row' content='eltOnly' rs:updatable='true'>\r\n",
             ("<s:AttributeType name='c1' rs:name='Display Name' rs:number='1' "
              "rs:nullable='true' rs:write='true'>"),
             "<s:datatype dt:type='string' dt:maxLength='255'/>",
             "<s:datatype dt:type='string' dt:maxLength='4294967295' rs:long='true'/>",
             "<s:datatype dt:type='int' dt:maxLength='4' rs:fixedlength='true'/>",
             "<s:datatype dt:type='i2' dt:maxLength='2' rs:fixedlength='true'/>",
             ("<s:datatype dt:type='dateTime' rs:dbtype='variantdate' dt:maxLength='16' "
              "rs:fixedlength='true'/>"),
             "<s:datatype dt:type='boolean' dt:maxLength='2' rs:fixedlength='true'/>",
             "<s:datatype dt:type='number' rs:dbtype='currency' dt:maxLength='8'",
             "<s:datatype dt:type='string'/>",
             "Since='2009-03-07T10:11:12'",
             "Price='-1234.56'",
             "Price='0.0005'",
             "Rate='0.1'",
             "Notes='first&#xd;&#xa;second&#x9;third'",
             "Push='True'",
             "c1=''",
             "\t<z:row Notes=''/>\r\n",
         })
        EXPECT_NE(xml.find(part), std::string::npos) << part;
    EXPECT_EQ(xml.find("<?xml"), std::string::npos);
}

TEST_F(RecordsetXmlTest, WritesOnlyWhatTheFilterShows) {
    ASSERT_TRUE(rows.SetFilter("[LCID]=1033"));
    EXPECT_EQ(ReadRecordsetXml(RecordsetXml(rows))->RecordCount(), 1);
    EXPECT_EQ(rows.RecordCount(), 1);
    rows.SetFilter("[LCID]=7");
    EXPECT_EQ(rowsOf(*ReadRecordsetXml(RecordsetXml(rows))), "");
}

TEST_F(RecordsetXmlTest, LeavesOutWhatXmlCannotHold) {
    Recordset odd({{"c1", FieldType::Text, 255}, {"1st", FieldType::Text, 255}});
    odd.Append({std::string("a\x01"
                            "b\x00"
                            "c",
                            5),
                "\xFF"});
    const auto again = ReadRecordsetXml(RecordsetXml(odd));
    EXPECT_EQ(rowsOf(*again), "'abc' '\xEF\xBF\xBD'|");
    EXPECT_EQ(again->Fields()[1].name, "1st"); // not under the name of the first field
}

TEST_F(RecordsetXmlTest, AFileIsThereWholeOrNotAtAll) {
    const std::string path = fs::temp_directory_path() / ("kr-rows-" + std::to_string(getpid()));
    WriteRecordsetFile(rows, path);
    EXPECT_EQ(rowsOf(*ReadRecordsetFile(path)), rowsOf(rows));
    fs::remove(path);
    EXPECT_THROW(ReadRecordsetFile(path), PlatformError);
    EXPECT_THROW(WriteRecordsetFile(rows, "/nowhere/rows.xml"), PlatformError);
}

TEST(RecordsetXmlReadTest, InsertedUpdatedAndDeletedRows) {
    const auto rows = ReadRecordsetXml(file(
        texts({"A", "B"}),
        "<z:row A='1' B='x'/>"
        "<rs:insert><z:row A='2'/><z:row A='3' B='y' rs:forcenull='A'/></rs:insert>"
        "<rs:update><rs:original><z:row A='4' B='old'/></rs:original><z:row B='new'/></rs:update>"
        "<rs:update><rs:original><z:row A='5' B='old'/></rs:original>"
        "<z:row A='6' rs:forcenull='B'/></rs:update>"
        "<rs:delete><z:row A='7' B='gone'/></rs:delete>"
        "<z:row B='last'/><z:row/>"));
    EXPECT_EQ(rowsOf(*rows), "'1' 'x'|'2' null|null 'y'|'4' 'new'|'6' null|null 'last'|null null|");
}

TEST(RecordsetXmlReadTest, BareLineEndsInValuesAreKept) {
    const auto rows = ReadRecordsetXml(file(
        texts({"A", "B"}), "<!-- it's -->\r\n<z:row A='a\r\nb\tc'\r\n\tB=\"it's\n\"\r\n/>\r\n"));
    EXPECT_EQ(rowsOf(*rows), "'a\r\nb\tc' 'it's\n'|");
}

TEST(RecordsetXmlReadTest, ControlCharactersAreDropped) {
    EXPECT_EQ(rowsOf(*ReadRecordsetXml(file(texts({"A"}), "<z:row A='a\x02\0b'/>"s))), "'ab'|");
}

TEST(RecordsetXmlReadTest, NamesThatAreNoNamesOfXml) {
    const auto rows = ReadRecordsetXml(
        file(schema("<s:AttributeType name='c1' rs:name='First Name' rs:number='2'/>"
                    "<s:AttributeType name='c0' rs:name='First Name?' rs:number='1'/>"),
             "<z:row c1='x' c0='y' other='z' rs:c1='not this' />"));
    ASSERT_EQ(rows->Fields().size(), 2u);
    EXPECT_EQ(rows->Fields()[0].name, "First Name?");
    EXPECT_EQ(rows->Get("First Name"), Value("x"));
}

TEST(RecordsetXmlReadTest, TheOtherShapeOfTheSchema) {
    const auto rows = ReadRecordsetXml(file(
        "<s:Schema id='RowsetSchema'><s:ElementType name='row' content='eltOnly'>"
        "<s:attribute type='B'/><s:attribute type='A'/><s:extends type='rs:rowbase'/>"
        "</s:ElementType>"
        "<s:AttributeType name='A' dt:type='int'/><s:AttributeType name='B' dt:type='boolean'/>"
        "<s:AttributeType name='Unused' dt:type='int'/></s:Schema>",
        "<z:row A='5' B='1'/><z:row A='x' B='-1'/><z:row A='70000000000' B='0'/>"));
    EXPECT_EQ(rowsOf(*rows), "True 5|True null|False null|");
}

TEST(RecordsetXmlReadTest, TypesOfOthers) {
    const auto typed = [](const std::string& type, const std::string& value) {
        const auto rows = ReadRecordsetXml(
            file(schema("<s:AttributeType name='A'><s:datatype " + type + "/></s:AttributeType>"),
                 "<z:row A='" + value + "'/>"));
        return rowsOf(*rows);
    };
    EXPECT_EQ(typed("dt:type='ui1' dt:maxLength='1'", "255"), "255|");
    EXPECT_EQ(typed("dt:type='i2' dt:maxLength='2'", "40000"), "null|");
    EXPECT_EQ(typed("dt:type='i8' dt:maxLength='8'", "9000000000"), "9000000000.000000|");
    EXPECT_EQ(typed("dt:type='number' rs:dbtype='numeric' rs:scale='2'", "1.25"), "1.250000|");
    EXPECT_EQ(typed("dt:type='number' rs:dbtype='currency'", "1234.5678"), "money 12345678|");
    EXPECT_EQ(typed("dt:type='dateTime' rs:dbtype='timestamp'", "2009-03-07T10:11:12.123456789"),
              "date " + std::to_string(kWhen.time_since_epoch().count()) + "|");
    EXPECT_EQ(typed("dt:type='dateTime'", "2009-03-07T10:11:12Z"),
              "date " + std::to_string(kWhen.time_since_epoch().count()) + "|");
    EXPECT_EQ(typed("dt:type='date'", "1970-01-02"), "date 86400|");
    EXPECT_EQ(typed("dt:type='dateTime'", "soon"), "null|");
    EXPECT_EQ(typed("dt:type='string' rs:dbtype='str' dt:maxLength='3'", "abcd"), "'abc'|");
    EXPECT_EQ(typed("dt:type='string'", "True"), "'True'|");
    EXPECT_EQ(typed("dt:type='bin.hex' dt:maxLength='9'", "00ff"), "'00ff'|");
    EXPECT_EQ(typed("dt:type='uuid'", "{1}"), "'{1}'|");
    for (const char* yes : {"True", "true", "TRUE", "1", "-1"})
        EXPECT_EQ(typed("dt:type='boolean'", yes), "True|") << yes;
    for (const char* no : {"False", "0", "", "2"})
        EXPECT_EQ(typed("dt:type='boolean'", no), "False|") << no;
}

std::string utf16(const std::u16string& text, bool littleEndian) {
    std::string out = littleEndian ? "\xFF\xFE" : "\xFE\xFF";
    for (const char16_t unit : text) {
        const char low = static_cast<char>(unit & 0xFF), high = static_cast<char>(unit >> 8);
        out += littleEndian ? low : high;
        out += littleEndian ? high : low;
    }
    return out;
}

TEST(RecordsetXmlReadTest, Encodings) {
    const std::string body = file(texts({"A"}), "<z:row A='?'/>");
    const auto with = [&](const std::string& text) {
        std::string out = body;
        return out.replace(out.find('?'), 1, text);
    };
    EXPECT_EQ(rowsOf(*ReadRecordsetXml("\xEF\xBB\xBF" + with("é€"))), "'é€'|");
    EXPECT_EQ(rowsOf(*ReadRecordsetXml("<?xml version='1.0' encoding='windows-1252'?>\r\n" +
                                       with("\xE9\x80"))),
              "'é€'|");
    for (const bool little : {true, false}) {
        std::u16string wide = u"<?xml version='1.0' encoding='UTF-16'?>";
        for (const char c : body)
            if (c == '?')
                wide += u"é€😀";
            else
                wide += static_cast<char16_t>(c);
        EXPECT_EQ(rowsOf(*ReadRecordsetXml(utf16(wide, little))), "'é€😀'|");
    }
}

TEST(RecordsetXmlReadTest, RefusesWhatIsNoFlatRecordset) {
    const std::string good = file(texts({"A"}), "<z:row A='1'/>");
    EXPECT_EQ(reasonOf(good), "read");
    EXPECT_NE(reasonOf(""), "read");
    EXPECT_NE(reasonOf("TG!\x01\x02"), "read");
    EXPECT_EQ(reasonOf("<xml/>"), "The file holds no recordset: it has no schema");
    EXPECT_EQ(reasonOf(good.substr(0, good.size() - 4)),
              "The file holds no recordset: its XML is damaged");
    EXPECT_EQ(reasonOf(file(schema(""), "")), "The file holds no recordset: it has no fields");
    EXPECT_EQ(reasonOf(file(texts({"A", "A"}), "")),
              "The file holds no recordset: its fields have no names of their own");
    EXPECT_EQ(
        reasonOf(file(schema("<s:AttributeType name='A'/><s:ElementType name='detail'/>"), "")),
        "The file holds no recordset: it is a hierarchy");
    std::vector<std::string> many;
    for (int i = 0; i < 1025; ++i)
        many.push_back("f" + std::to_string(i));
    EXPECT_EQ(reasonOf(file(texts(many), "")),
              "The file holds no recordset: it has too many fields");
    const std::string bomb = "<!DOCTYPE xml [<!ENTITY a 'aaaaaaaaaa'><!ENTITY b '&a;&a;&a;'>]>";
    EXPECT_EQ(reasonOf(bomb + good), "The file holds no recordset: it has a document type");
}

} // namespace
