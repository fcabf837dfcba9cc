#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "core/CRegOp.h"
#include "core/Settings.h"
#include "core/basRegistry.h"
#include "platform/registry/regfile/RegFileRegistry.h"

namespace kr {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

RegValue stored(RegType type, std::string text = {}, uint64_t number = 0) {
    RegValue value;
    value.type = type;
    value.text = std::move(text);
    value.number = number;
    return value;
}

class RegistryUtils : public ::testing::Test {
protected:
    RegistryUtils() {
        std::string pattern = (fs::temp_directory_path() / "kr-regop-XXXXXX").string();
        m_folder = mkdtemp(pattern.data());
        registry = MakeRegFileRegistry(m_folder + "/user", m_folder + "/machine");
    }
    ~RegistryUtils() override { fs::remove_all(m_folder); }
    /// From now on nothing of the user can be read or written.
    void breakUserHive() {
        fs::remove_all(m_folder + "/user");
        std::ofstream(m_folder + "/user") << "in the way";
    }
    void put(std::string_view name, const RegValue& value) {
        registry->Write(Hive::CurrentUser, "K", name, value);
    }
    RegType typeOf(std::string_view name) {
        return registry->Read(Hive::CurrentUser, "K", name)->type;
    }
    CRegOp op(std::string key = "K") {
        CRegOp made(*registry);
        made.Key = std::move(key);
        return made;
    }

    std::string m_folder;
    std::unique_ptr<Registry> registry;
};

/// Number, description and source of what a call raises.
template <class Call>
std::string raised(Call call) {
    try {
        call();
    } catch (const PlatformError& e) {
        return std::to_string(e.number()) + "|" + e.description() + "|" + e.source();
    }
    return "nothing";
}

TEST_F(RegistryUtils, RegReadGivesEachKind) {
    EXPECT_TRUE(RegRead(*registry, Hive::CurrentUser, "K", "v").empty());
    put("text", stored(RegType::Sz, "a"));
    put("nul", stored(RegType::Sz, "a\0"s));
    put("nuls", stored(RegType::Sz, "a\0\0"s));
    put("expand", stored(RegType::ExpandSz, "%HOME%"));
    put("number", stored(RegType::Dword, "", 0xFFFFFFFF));
    put("qword", stored(RegType::Qword, "", 0x0102));
    const auto read = [&](std::string_view n) {
        return RegRead(*registry, Hive::CurrentUser, "K", n);
    };
    EXPECT_EQ(read("text"), Value("a"));
    EXPECT_EQ(read("nul"), Value("a"));
    EXPECT_EQ(read("nuls"), Value("a\0"s));
    EXPECT_EQ(read("expand"), Value("%HOME%"));
    EXPECT_EQ(read("number"), Value(-1));
    EXPECT_EQ(read("qword"), Value(Bytes{2, 1, 0, 0, 0, 0, 0, 0}));
}

TEST_F(RegistryUtils, RegWriteCreatesTheKey) {
    EXPECT_TRUE(RegWrite(*registry, Hive::CurrentUser, "\\A\\B", "v", "x"));
    EXPECT_EQ(registry->SubKeys(Hive::CurrentUser, ""), Strings{"A"});
    EXPECT_EQ(RegRead(*registry, Hive::CurrentUser, "A\\B", "v"), Value("x"));
    EXPECT_FALSE(RegWrite(*registry, Hive::CurrentUser, "", "v", "x"));
    EXPECT_FALSE(RegWrite(*registry, Hive::CurrentUser, "\\", "v", "x"));
    EXPECT_FALSE(RegWrite(*registry, Hive::CurrentUser, "K", "v", Value()));
    EXPECT_FALSE(RegWrite(*registry, Hive::CurrentUser, "K", "v", 1.5));
    EXPECT_TRUE(RegWrite(*registry, Hive::CurrentUser, "K", "flag", true));
    EXPECT_EQ(RegRead(*registry, Hive::CurrentUser, "K", "flag"), Value(1));
    EXPECT_TRUE(RegWrite(*registry, Hive::CurrentUser, "K", "list", Strings{"a", "b"}));
    EXPECT_EQ(RegRead(*registry, Hive::CurrentUser, "K", "list"), Value(Strings{"a", "b"}));
    EXPECT_TRUE(RegWrite(*registry, Hive::CurrentUser, "K", "min", INT32_MIN));
    EXPECT_EQ(RegRead(*registry, Hive::CurrentUser, "K", "min"), Value(INT32_MIN));
}

TEST_F(RegistryUtils, ThePlainPairNeverRaises) {
    breakUserHive();
    EXPECT_FALSE(RegWrite(*registry, Hive::CurrentUser, "K", "v", "x"));
    EXPECT_TRUE(RegRead(*registry, Hive::CurrentUser, "K", "v").empty());
    EXPECT_FALSE(RegWrite(*registry, Hive::LocalMachine, "a\nb", "v", "x"));
}

TEST_F(RegistryUtils, CRegOpNeedsAKeyThatOpens) {
    CRegOp none = op("");
    const std::string noName = "2147745793|No Key name specified!|Registry Error";
    EXPECT_EQ(raised([&] { none.GetValue("v"); }), noName);
    EXPECT_EQ(raised([&] { none.SetValue("v", "x"); }), noName);
    EXPECT_EQ(raised([&] { none.AllKeys(); }), noName);
    EXPECT_EQ(raised([&] { none.DeleteKey(); }), noName);
    CRegOp missing = op("No\\Such");
    const std::string noOpen = "2147745794|Could not open Registry Key!|Registry Error";
    EXPECT_EQ(raised([&] { missing.GetValue("v"); }), noOpen);
    EXPECT_EQ(raised([&] { missing.AllValues(); }), noOpen);
    EXPECT_EQ(raised([&] { missing.ValueCount(); }), noOpen);
    EXPECT_EQ(raised([&] { missing.KeyCount(); }), noOpen);
    EXPECT_EQ(raised([&] { missing.DeleteValue("v"); }), noOpen);
    breakUserHive();
    CRegOp broken = op();
    EXPECT_EQ(raised([&] { broken.SetValue("v", "x"); }), noOpen);
}

TEST_F(RegistryUtils, ANewValueTakesItsKind) {
    CRegOp k = op();
    k.SetValue("n", 5);
    k.SetValue("short", static_cast<int16_t>(-2));
    k.SetValue("s", "text");
    k.SetValue("m", Strings{"a", "b"});
    k.Options = CRegOp::WriteExpandSz;
    k.SetValue("e", "text");
    k.SetValue("n2", 6);
    EXPECT_EQ(typeOf("n"), RegType::Dword);
    EXPECT_EQ(k.GetValue("short"), Value(-2));
    EXPECT_EQ(typeOf("s"), RegType::Sz);
    EXPECT_EQ(typeOf("m"), RegType::MultiSz);
    EXPECT_EQ(typeOf("e"), RegType::ExpandSz);
    EXPECT_EQ(typeOf("n2"), RegType::Dword);
    EXPECT_EQ(raised([&] { k.SetValue("d", 1.5); }), "13|Type mismatch|Registry Error");
    EXPECT_EQ(raised([&] { k.SetValue("x", Value()); }), "13|Type mismatch|Registry Error");
}

TEST_F(RegistryUtils, AnExistingValueKeepsItsType) {
    put("s", stored(RegType::Sz, "old"));
    put("e", stored(RegType::ExpandSz, "old"));
    put("n", stored(RegType::Dword, "", 1));
    put("m", stored(RegType::MultiSz));
    CRegOp k = op();
    k.SetValue("s", 12);
    k.SetValue("e", true);
    k.SetValue("n", "34");
    k.SetValue("m", "one\r\ntwo\nthree");
    EXPECT_EQ(k.GetValue("s"), Value("12"));
    EXPECT_EQ(k.GetValue("e"), Value("True"));
    EXPECT_EQ(typeOf("e"), RegType::ExpandSz);
    EXPECT_EQ(k.GetValue("n"), Value(34));
    EXPECT_EQ(k.GetValue("m"), Value(Strings{"one", "two", "three"}));
    EXPECT_EQ(raised([&] { k.SetValue("n", "many"); }), "13|Type mismatch|Registry Error");
    EXPECT_EQ(raised([&] { k.SetValue("n", "99999999999"); }), "13|Type mismatch|Registry Error");
    EXPECT_EQ(raised([&] { k.SetValue("s", Strings{"a"}); }), "13|Type mismatch|Registry Error");
    EXPECT_EQ(k.GetValue("n"), Value(34));
}

TEST_F(RegistryUtils, OtherTypesAreNeitherReadNorOverwritten) {
    for (const RegType type :
         {RegType::Binary, RegType::Qword, RegType::None, static_cast<RegType>(8)}) {
        RegValue value = stored(type);
        if (type == RegType::Qword)
            value.number = 7;
        else
            value.bytes = {1, 2, 3};
        put("b", value);
        CRegOp k = op();
        EXPECT_EQ(k.GetValue("b"), Value("(unsupported data format)"));
        EXPECT_EQ(raised([&] { k.SetValue("b", "x"); }),
                  "2147745795|Existing value has unsupported data type and will not be "
                  "overwritten|Registry Error");
        EXPECT_EQ(registry->Read(Hive::CurrentUser, "K", "b"), value);
    }
}

TEST_F(RegistryUtils, ExpandedText) {
    setenv("KR_T1", "one", 1);
    setenv("KR_T2", "100%", 1);
    unsetenv("KR_NONE");
    put("e", stored(RegType::ExpandSz, "%KR_T1%\\bin"));
    put("s", stored(RegType::Sz, "%KR_T1%"));
    EXPECT_EQ(op().GetValue("e"), Value("one\\bin"));
    EXPECT_EQ(op().GetValue("s"), Value("%KR_T1%"));
    EXPECT_EQ(ExpandEnvironment("%KR_T2%%KR_T1%"), "100%one");
    EXPECT_EQ(ExpandEnvironment("%KR_NONE%"), "%KR_NONE%");
    EXPECT_EQ(ExpandEnvironment("5%KR_T1%5"), "5one5");
    EXPECT_EQ(ExpandEnvironment("5% and %KR_T1%"), "5% and one");
    EXPECT_EQ(ExpandEnvironment("%%"), "%%");
    EXPECT_EQ(ExpandEnvironment("%"), "%");
    EXPECT_EQ(ExpandEnvironment(""), "");
}

TEST_F(RegistryUtils, AllValuesAllKeysAndDeletions) {
    CRegOp k = op("A");
    k.SetValue("b", 2);
    k.SetValue("A", "1");
    registry->CreateKey(Hive::CurrentUser, "A\\Sub\\Deep");
    using Pair = std::pair<std::string, Value>;
    EXPECT_EQ(k.AllValues(), (std::vector<Pair>{{"A", "1"}, {"b", 2}}));
    EXPECT_EQ(k.AllKeys(), Strings{"Sub"});
    EXPECT_EQ(k.ValueCount(), 2);
    EXPECT_EQ(k.KeyCount(), 1);
    EXPECT_TRUE(k.DeleteValue("B"));
    EXPECT_FALSE(k.DeleteValue("b"));
    EXPECT_TRUE(k.GetValue("b").empty());
    EXPECT_TRUE(k.DeleteKey());
    EXPECT_FALSE(registry->KeyExists(Hive::CurrentUser, "A\\Sub\\Deep"));
}

TEST_F(RegistryUtils, SettingsHaveTheirDefaults) {
    EXPECT_EQ(SettingTable().size(), 13U);
    EXPECT_FALSE(BooleanSetting(*registry, "Maximized"));
    EXPECT_EQ(NumberSetting(*registry, "MainLeft"), 2000);
    EXPECT_EQ(NumberSetting(*registry, "MainTop"), 3000);
    EXPECT_EQ(NumberSetting(*registry, "MainWidth"), 9500);
    EXPECT_EQ(NumberSetting(*registry, "MainHeight"), 9500);
    EXPECT_EQ(NumberSetting(*registry, "SplitterLeft"), 2000);
    EXPECT_EQ(NumberSetting(*registry, "ViewMode"), 3);
    for (const char* name : {"QuickLoad", "DeleteUsers", "LoadUsers"})
        EXPECT_FALSE(BooleanSetting(*registry, name));
    for (const char* name : {"ExServer", "ExAlias", "Profile", "Unknown"})
        EXPECT_EQ(TextSetting(*registry, name), "");
    EXPECT_EQ(GetSetting(*registry, "ExServer", "other"), "other");
}

TEST_F(RegistryUtils, SettingsComeBackAsSaved) {
    EXPECT_TRUE(SaveSetting(*registry, "Maximized", true));
    EXPECT_TRUE(SaveSetting(*registry, "MainLeft", -1234.5));
    EXPECT_TRUE(SaveSetting(*registry, "ViewMode", 0));
    EXPECT_TRUE(SaveSetting(*registry, "ExServer", "MAIL01"));
    EXPECT_TRUE(BooleanSetting(*registry, "Maximized"));
    EXPECT_EQ(NumberSetting(*registry, "MainLeft"), -1234.5);
    EXPECT_EQ(NumberSetting(*registry, "ViewMode"), 0);
    EXPECT_EQ(TextSetting(*registry, "exserver"), "MAIL01");
    EXPECT_EQ(GetSetting(*registry, "ViewMode", "3"), "0");
    EXPECT_EQ(
        registry->Read(Hive::CurrentUser, "Software\\zandrel\\Fleet Admin\\Settings", "Maximized"),
        stored(RegType::Dword, "", 1));
    EXPECT_EQ(registry->Read(Hive::CurrentUser, kSettingsKey, "MainLeft")->text, "-1234.5");
    EXPECT_TRUE(SaveSetting(*registry, "ExServer", ""));
    EXPECT_EQ(GetSetting(*registry, "ExServer", "default"), "default") << "empty counts as unset";
}

TEST_F(RegistryUtils, TheConsoleNeverWritesTheTwoMenuSwitches) {
    EXPECT_FALSE(SaveSetting(*registry, "DeleteUsers", true));
    EXPECT_FALSE(SaveSetting(*registry, "loadusers", true));
    registry->Write(Hive::CurrentUser, kSettingsKey, "DeleteUsers", stored(RegType::Sz, "1"));
    EXPECT_TRUE(BooleanSetting(*registry, "DeleteUsers"));
    EXPECT_FALSE(BooleanSetting(*registry, "LoadUsers"));
}

TEST_F(RegistryUtils, WrongTypesAreAnsweredByTheDefault) {
    RegValue bytes = stored(RegType::Binary);
    bytes.bytes = {1};
    const auto put = [&](std::string_view name, const RegValue& value) {
        registry->Write(Hive::CurrentUser, kSettingsKey, name, value);
    };
    put("MainLeft", bytes);
    put("MainTop", stored(RegType::Sz, "wide"));
    put("ViewMode", stored(RegType::Dword, "", 4));
    put("QuickLoad", stored(RegType::Sz, "yes"));
    put("ExServer", stored(RegType::Dword, "", 5));
    put("ExAlias", bytes);
    EXPECT_EQ(NumberSetting(*registry, "MainLeft"), 2000);
    EXPECT_EQ(NumberSetting(*registry, "MainTop"), 3000);
    EXPECT_EQ(NumberSetting(*registry, "ViewMode"), 3);
    EXPECT_FALSE(BooleanSetting(*registry, "QuickLoad"));
    EXPECT_EQ(TextSetting(*registry, "ExServer"), "");
    EXPECT_EQ(GetSetting(*registry, "ExAlias", "d"), "d");
    put("ViewMode", stored(RegType::Sz, " 2 "));
    EXPECT_EQ(NumberSetting(*registry, "ViewMode"), 2);
}

TEST_F(RegistryUtils, MachineValues) {
    EXPECT_EQ(MachineValue(*registry, "HelperPath"), "");
    registry->Write(Hive::LocalMachine, "Software\\zandrel\\zandrelAgent", "HelperPath",
                    stored(RegType::Sz, "/opt"));
    registry->Write(Hive::LocalMachine, "Software\\zandrel\\zandrelAgent\\Hosts\\MAIL01", "Port",
                    stored(RegType::Dword, "", 8080));
    EXPECT_EQ(MachineValue(*registry, "helperpath"), "/opt");
    EXPECT_EQ(MachineValue(*registry, "Hosts\\MAIL01\\Port"), "8080");
}

} // namespace
} // namespace kr
