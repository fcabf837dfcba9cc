#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>

#include "core/CBase64.h"
#include "core/Log.h"
#include "core/PlatformError.h"
#include "core/StringBuilder.h"
#include "core/modGUID.h"

namespace kr {
namespace {

using namespace std::string_literals;

template <class Call>
std::string raised(Call call) {
    try {
        call();
    } catch (const PlatformError& e) {
        std::ostringstream out;
        out << std::hex << e.number() << '|' << e.description() << '|' << e.source();
        return out.str();
    }
    return "nothing";
}

TEST(StringBuilder, BeginsEmptyWithRoomForFifty) {
    StringBuilder list;
    EXPECT_EQ(list.lCount(), 0);
    EXPECT_EQ(list.lCapacity(), 50);
    EXPECT_EQ(list.lGrowthRate(), 50);
    EXPECT_EQ(list.GetContent(), "");
    EXPECT_EQ(list.lCapacity(), 50);
}

TEST(StringBuilder, GrowsInSteps) {
    StringBuilder list;
    for (int i = 0; i < 50; ++i)
        list.Add("x");
    EXPECT_EQ(list.lCapacity(), 50);
    list.Add("x");
    EXPECT_EQ(list.lCapacity(), 100);
    EXPECT_EQ(list.lCount(), 51);
    list.lGrowthRate(3);
    for (int i = 51; i < 101; ++i)
        list.Add("x");
    EXPECT_EQ(list.lCapacity(), 103);
    EXPECT_EQ(list.GetContent(), std::string(101, 'x'));
}

TEST(StringBuilder, AWrongGrowthRateRaisesAndTheRateStays) {
    StringBuilder list;
    list.lGrowthRate(7);
    const std::string error = "800403e8|The Growth Rate must be greater than zero|"
                              "GLStringList->Let_lGrowthRate";
    EXPECT_EQ(raised([&] { list.lGrowthRate(0); }), error);
    EXPECT_EQ(raised([&] { list.lGrowthRate(-5); }), error);
    EXPECT_EQ(list.lGrowthRate(), 7);
}

TEST(StringBuilder, InitialCapacityCountsOnlyBeforeTheFirstText) {
    StringBuilder list;
    EXPECT_EQ(raised([&] { list.SetInitialCapacity(0); }),
              "800403eb|The Initial Capacity must greater than zero.|"
              "GLArrayList->SetInitialCapacity");
    list.SetInitialCapacity(2);
    EXPECT_EQ(list.lCapacity(), 2);
    list.Add("a");
    list.SetInitialCapacity(500);
    list.SetInitialCapacity(0);
    EXPECT_EQ(list.lCapacity(), 2);
    list.Add("b");
    list.Add("c");
    EXPECT_EQ(list.lCapacity(), 52);
}

TEST(StringBuilder, TheIndexMayEqualTheCount) {
    StringBuilder list;
    const auto bad = "800403e9|Index out of bounds|GLStringList->Item"s;
    EXPECT_EQ(list.Item(0), "");
    EXPECT_EQ(raised([&] { list.Item(1); }), bad);
    EXPECT_EQ(raised([&] { list.Item(-1); }), bad);
    list.SetInitialCapacity(2);
    list.Add("a");
    EXPECT_EQ(list.Item(0), "a");
    EXPECT_EQ(list.Item(1), "");
    EXPECT_EQ(raised([&] { list.Item(2); }), bad);
    list.Add("b");
    EXPECT_EQ(list.Item(2), "") << "also when the list is full";
}

TEST(StringBuilder, GetContentCutsToTheCount) {
    StringBuilder list;
    list.Add("one ");
    list.Add("");
    list.Add("two\0three"s);
    EXPECT_EQ(list.GetContent(), "one two\0three"s);
    EXPECT_EQ(list.lCapacity(), 3);
    list.Add("!");
    EXPECT_EQ(list.lCapacity(), 53);
    EXPECT_EQ(list.GetContent(), "one two\0three!"s);
}

TEST(CBase64, ExamplesOfTheStandard) {
    const CBase64 coder;
    const std::pair<const char*, const char*> pairs[] = {{"", ""},
                                                         {"f", "Zg=="},
                                                         {"fo", "Zm8="},
                                                         {"foo", "Zm9v"},
                                                         {"foob", "Zm9vYg=="},
                                                         {"fooba", "Zm9vYmE="},
                                                         {"foobar", "Zm9vYmFy"}};
    for (const auto& [plain, code] : pairs) {
        std::string result = "old";
        coder.BASE64_Encode(plain, result);
        EXPECT_EQ(result, code);
        EXPECT_TRUE(coder.BASE64_Decode(code, result));
        EXPECT_EQ(result, plain);
    }
}

TEST(CBase64, EveryByteComesBack) {
    const CBase64 coder;
    Bytes data;
    for (int length = 0; length < 300; ++length) {
        std::string code;
        coder.BASE64_EncodeEx(data, code);
        EXPECT_EQ(code.size(), (data.size() + 2) / 3 * 4);
        Bytes back{9};
        EXPECT_TRUE(coder.BASE64_DecodeEx(code, back));
        EXPECT_EQ(back, data);
        data.push_back(static_cast<uint8_t>(length * 37));
    }
    std::string all;
    coder.BASE64_EncodeEx(Bytes{0xFF, 0xEF, 0xBE}, all);
    EXPECT_EQ(all, "/+++");
}

TEST(CBase64, TheDecoderSkipsNothing) {
    const CBase64 coder;
    std::string result;
    EXPECT_FALSE(coder.BASE64_Decode("Zm9v\r\nYmFy", result)) << "ten characters";
    EXPECT_EQ(result, "");
    EXPECT_FALSE(coder.BASE64_Decode("Zm9v\r\n\r\n", result));
    EXPECT_EQ(result, "foo\0\0\0"s) << "characters outside count as zero bits";
    EXPECT_FALSE(coder.BASE64_Decode("Zg==Zg==", result));
    EXPECT_EQ(result.size(), 4U);
    EXPECT_FALSE(coder.BASE64_Decode("Z", result));
    EXPECT_FALSE(coder.BASE64_Decode("\xFF\xFE\xFD\xFC", result));
    EXPECT_FALSE(coder.BASE64_Decode("====", result));
    EXPECT_EQ(result.size(), 1U);
}

class FixedClock : public Clock {
public:
    Time now() const override { return Time{std::chrono::seconds(1773135000)}; }
};

TEST(ModGUID, FormAndDifference) {
    const FixedClock clock;
    const Log log("/dev/null", clock);
    const std::regex form("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}");
    std::set<std::string> seen;
    for (int i = 0; i < 1000; ++i) {
        const std::string guid = GetGUID(log);
        EXPECT_TRUE(std::regex_match(guid, form)) << guid;
        seen.insert(guid);
    }
    EXPECT_EQ(seen.size(), 1000U);
}

TEST(ModGUID, PadsWithZeros) {
    const FixedClock clock;
    const Log log("/dev/null", clock);
    const auto zeros = [](void*, size_t) { return 0; };
    EXPECT_EQ(GetGUID(log, zeros), "00000000-0000-4000-8000-000000000000");
}

TEST(ModGUID, AFailureIsLoggedAndGivesNothing) {
    const std::string path = ::testing::TempDir() + "kr-guid-test.log";
    std::filesystem::remove(path);
    const FixedClock clock;
    const Log log(path, clock);
    EXPECT_EQ(GetGUID(log, [](void*, size_t) { return 38; }), "");
    std::ifstream in(path);
    std::string line;
    std::getline(in, line);
    EXPECT_TRUE(line.ends_with(":modGUID: GetGUID: failed to generate GUID:38")) << line;
    std::filesystem::remove(path);
}

} // namespace
} // namespace kr
