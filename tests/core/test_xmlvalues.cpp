#include <gtest/gtest.h>

#include <cstdint>

#include "core/XmlValues.h"

namespace {

using namespace kr;
using namespace std::chrono;

TEST(XmlValuesTest, AmountsHaveNoNeedlessDigit) {
    const std::pair<int64_t, const char*> rows[] = {{0, "0"},
                                                    {10000, "1"},
                                                    {-10000, "-1"},
                                                    {12500, "1.25"},
                                                    {-5, "-0.0005"},
                                                    {1, "0.0001"},
                                                    {123450000, "12345"},
                                                    {-123456, "-12.3456"},
                                                    {INT64_MAX, "922337203685477.5807"},
                                                    {INT64_MIN, "-922337203685477.5808"}};
    for (const auto& [scaled, text] : rows)
        EXPECT_EQ(XmlAmountText(Currency{scaled}), text);
}

TEST(XmlValuesTest, DatesHaveEveryDigit) {
    EXPECT_EQ(XmlDateText(sys_days{year{2009} / 3 / 7} + 1h + 2min + 3s), "2009-03-07T01:02:03");
    EXPECT_EQ(XmlDateText(sys_days{year{1899} / 12 / 30}), "1899-12-30T00:00:00");
    EXPECT_EQ(XmlDateText(sys_days{year{800} / 1 / 1} + 23h + 59min + 59s), "0800-01-01T23:59:59");
}

} // namespace
