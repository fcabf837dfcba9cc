#include <gtest/gtest.h>

#include "core/Text.h"
#include "platform/registry/regfile/RegText.h"
#include "platform/registry/regfile/RegTree.h"
#include "platform/registry/regfile/RegWide.h"

namespace kr {
namespace {

using namespace std::string_literals;

const std::string kHead = std::string(kRegHeader) + "\n\n";
const std::string kKey = "HKEY_CURRENT_USER\\Software\\zandrel";

RegTree parse(const std::string& body) { return RegTree::FromText(kHead + body); }

/// The value "v" of one key with that line.
RegValue valueOf(const std::string& data) {
    const RegTree tree = parse("[" + kKey + "]\n\"v\"=" + data + "\n");
    const RegNode* key = tree.Find(kKey);
    const RegNode::Entry* entry = key ? key->Value("v") : nullptr;
    EXPECT_NE(entry, nullptr) << data;
    return entry ? entry->value : RegValue();
}

RegValue make(RegType type) {
    RegValue value;
    value.type = type;
    return value;
}

RegValue roundTrip(const RegValue& value) {
    RegTree tree;
    RegTree::SetValue(tree.Make(kKey), "v", value);
    const RegTree again = RegTree::FromText(tree.Text());
    EXPECT_EQ(again.Text(), tree.Text());
    return again.Find(kKey)->Value("v")->value;
}

std::string failure(const std::string& content) {
    try {
        RegTree::FromText(content);
    } catch (const PlatformError& e) {
        return e.description();
    }
    return "parsed";
}

TEST(RegText, ReadsEachForm) {
    EXPECT_EQ(valueOf("\"a \\\"b\\\" \\\\c\"").text, "a \"b\" \\c");
    EXPECT_EQ(valueOf("dword:000007d0").number, 2000U);
    EXPECT_EQ(valueOf("dword:FFFFFFFF").number, 0xFFFFFFFFU);
    EXPECT_EQ(valueOf("hex:01,ff").bytes, (Bytes{1, 255}));
    EXPECT_EQ(valueOf("hex:").bytes, Bytes{});
    EXPECT_EQ(valueOf("hex(2):41,00,00,00").text, "A");
    EXPECT_EQ(valueOf("hex(2):41,00,00,00").type, RegType::ExpandSz);
    EXPECT_EQ(valueOf("hex(7):41,00,00,00,42,00,00,00,00,00").lines, (Strings{"A", "B"}));
    EXPECT_EQ(valueOf("hex(b):01,00,00,00,00,00,00,80").number, 0x8000000000000001U);
    EXPECT_EQ(valueOf("hex(4):d0,07,00,00").number, 2000U);
    EXPECT_EQ(valueOf("hex(1):0d,00,0a,00,00,00").text, "\r\n");
}

TEST(RegText, KeepsTypesThatNobodyKnows) {
    const RegValue odd = valueOf("hex(fffe):01,02");
    EXPECT_EQ(static_cast<uint32_t>(odd.type), 0xFFFEU);
    EXPECT_EQ(roundTrip(odd), odd);
    RegValue none = make(RegType::None);
    none.bytes = {9, 8};
    EXPECT_EQ(roundTrip(none), none);
}

TEST(RegText, EveryTypeComesBack) {
    for (const std::string& text :
         {""s, "plain"s, "C:\\dir\\\"x\""s, "ends with \\"s, "line\r\nbreak"s, "nul\0inside"s,
          "trailing nul\0"s, "\xD7\xA9\xD7\x9C\xD7\x95\xD7\x9D \xF0\x9F\x98\x80"s, "[key]"s,
          "; x"s}) {
        for (const RegType type : {RegType::Sz, RegType::ExpandSz}) {
            RegValue value = make(type);
            value.text = text;
            EXPECT_EQ(roundTrip(value), value) << text;
        }
    }
    RegValue number = make(RegType::Dword);
    number.number = 0xFFFFFFFF;
    EXPECT_EQ(roundTrip(number), number);
    number.type = RegType::Qword;
    number.number = 0xFFFFFFFFFFFFFFFF;
    EXPECT_EQ(roundTrip(number), number);
    RegValue bytes = make(RegType::Binary);
    for (int i = 0; i < 300; ++i)
        bytes.bytes.push_back(static_cast<uint8_t>(i));
    EXPECT_EQ(roundTrip(bytes), bytes);
    RegValue lines = make(RegType::MultiSz);
    EXPECT_EQ(roundTrip(lines), lines);
    lines.lines = {"one", "zwei \xC3\xA4"};
    EXPECT_EQ(roundTrip(lines), lines);
}

TEST(RegText, AnEmptyEntryOfAListIsLeftOut) {
    RegValue lines = make(RegType::MultiSz);
    lines.lines = {"a", "", "b"};
    EXPECT_EQ(roundTrip(lines).lines, (Strings{"a", "b"}));
}

TEST(RegText, InvalidUtf8InQuotesIsKeptByteForByte) {
    RegValue value = make(RegType::Sz);
    value.text = "\xFF\xC3(\xE2\x82";
    EXPECT_EQ(roundTrip(value), value);
}

TEST(RegText, LongBytesBreakBeforeColumn80) {
    RegValue value = make(RegType::Binary);
    value.bytes.assign(100, 0xAB);
    std::string out;
    AppendRegValue(out, "name", value);
    size_t lines = 0;
    for (size_t at = 0; at < out.size(); ++lines) {
        const size_t end = out.find('\n', at);
        EXPECT_LE(end - at, 79U);
        if (end + 1 < out.size()) {
            EXPECT_EQ(out.substr(end - 2, 5), ",\\\n  ");
        }
        at = end + 1;
    }
    EXPECT_GT(lines, 3U);
}

TEST(RegText, ReadsUtf16AndCrLf) {
    const std::string body =
        ReplaceAll(kHead + "[HKEY_CURRENT_USER\\K\xC3\xA4se]\n\"a\"=\"\xF0\x9F\x98\x80\"\n"
                           "\"b\"=hex:01,\\\n  02\n",
                   "\n", "\r\n");
    const std::string wide = RegTextForWindows(ReplaceAll(body, "\r\n", "\n"));
    std::string swapped = wide;
    for (size_t i = 0; i + 1 < swapped.size(); i += 2)
        std::swap(swapped[i], swapped[i + 1]);
    for (const std::string& content : {body, "\xEF\xBB\xBF" + body, wide, swapped}) {
        const RegTree tree = RegTree::FromText(content);
        const RegNode* key = tree.Find("hkey_current_user\\k\xC3\x84SE");
        ASSERT_NE(key, nullptr);
        EXPECT_EQ(key->Value("A")->value.text, "\xF0\x9F\x98\x80");
        EXPECT_EQ(key->Value("b")->value.bytes, (Bytes{1, 2}));
    }
}

TEST(RegText, CommentsDeletionsAndDefaultValues) {
    const RegTree tree = parse("; a comment\n[HKCU\\A]\n@=\"default\" ; why not\n\"x\"=\"1\"\n"
                               "\"y\"=dword:1 ;\n\"x\"=-\n[HKCU\\B\\C]\n[-HKCU\\B]\n"
                               "\"ignored\"=\"in a deleted key\"\n[HKEY_CURRENT_USER\\D]");
    EXPECT_EQ(tree.Find("HKEY_CURRENT_USER\\A")->Value("")->value.text, "default");
    EXPECT_EQ(tree.Find("HKEY_CURRENT_USER\\A")->Value("x"), nullptr);
    EXPECT_EQ(tree.Find("HKEY_CURRENT_USER\\A")->Value("y")->value.number, 1U);
    EXPECT_EQ(tree.Find("HKEY_CURRENT_USER\\B"), nullptr);
    EXPECT_NE(tree.Find("HKEY_CURRENT_USER\\D"), nullptr);
}

TEST(RegText, RawLineBreakInsideQuotesIsText) {
    EXPECT_EQ(valueOf("\"one\ntwo\"").text, "one\ntwo");
}

TEST(RegText, ClassesRootLivesInTheMachinesSoftware) {
    const RegTree tree = parse("[HKEY_CLASSES_ROOT\\Excel.CSV]\n@=\"x\"\n");
    EXPECT_NE(tree.Find("HKEY_LOCAL_MACHINE\\Software\\Classes\\Excel.CSV"), nullptr);
    EXPECT_EQ(CanonicalRegPath("\\hklm\\\\a\\"), "HKEY_LOCAL_MACHINE\\a");
    EXPECT_EQ(CanonicalRegPath("\\"), "");
}

TEST(RegText, ABracketInAKeysName) {
    RegTree tree;
    tree.Make("HKEY_CURRENT_USER\\a]b[c");
    EXPECT_NE(RegTree::FromText(tree.Text()).Find("HKEY_CURRENT_USER\\a]b[c"), nullptr);
}

TEST(RegText, DamageIsRefusedWithItsLine) {
    EXPECT_NE(failure("").find("line 1"), std::string::npos);
    EXPECT_NE(failure("REGEDIT4\n").find("line 1"), std::string::npos);
    for (const char* body :
         {"\"v\"=\"before a key\"", "[HKCU\\A", "[]", "[-]", "[--HKCU\\A]", "[\\-x]",
          "[HKCU\\A]\nrubbish", "[HKCU\\A]\n\"open", "[HKCU\\A]\n\"v\"=\"open", "[HKCU\\A]\n\"v\"",
          "[HKCU\\A]\n\"v\"=", "[HKCU\\A]\n\"v\"=dword:", "[HKCU\\A]\n\"v\"=dword:123456789",
          "[HKCU\\A]\n\"v\"=hex:zz", "[HKCU\\A]\n\"v\"=hex(:01", "[HKCU\\A]\n\"v\"=hex(2)01",
          "[HKCU\\A]\n\"v\"=hex:01,\\ 02", "[HKCU\\A]\n\"v\"=\"x\" y", "[HKCU\\A]\n@x=\"1\""})
        EXPECT_NE(failure(kHead + body).find("line "), std::string::npos) << body;
    EXPECT_EQ(failure(kHead + "[HKCU\\A]\n\"v\"=hex:01,\n").find("line"), std::string::npos);
}

TEST(RegText, DepthIsLimited) {
    std::string deep = "HKCU";
    for (size_t i = 0; i < kRegMaxDepth + 10; ++i)
        deep += "\\a";
    EXPECT_NE(failure(kHead + "[" + deep + "]\n").find("too deeply"), std::string::npos);
}

TEST(RegWide, LoneSurrogatesAndOddBytes) {
    EXPECT_EQ(Utf8FromUtf16("A\0\x00\xD8"s), "A\xEF\xBF\xBD");
    EXPECT_EQ(Utf8FromUtf16("\x00\xDC"s + "B\0"s), "\xEF\xBF\xBD"
                                                   "B");
    EXPECT_EQ(Utf8FromUtf16("A\0B"s), "A");
    EXPECT_EQ(Utf16FromUtf8("\xFF"), (Bytes{0xFD, 0xFF}));
}

} // namespace
} // namespace kr
