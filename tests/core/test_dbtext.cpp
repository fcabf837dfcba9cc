#include <gtest/gtest.h>

#include "core/DbText.h"

namespace kr {
namespace {

TEST(DbTextTest, ShowsEachTypeAsPeopleReadIt) {
    EXPECT_EQ(DbText(Value()), "");
    EXPECT_EQ(DbText(Value("x")), "x");
    EXPECT_EQ(DbText(Value(-3)), "-3");
    EXPECT_EQ(DbText(Value(int16_t{7})), "7");
    EXPECT_EQ(DbText(Value(0.5)), "0.5");
    EXPECT_EQ(DbText(Value(0.1)), "0.1");
    EXPECT_EQ(DbText(Value(1e15)), "1e+15");
    EXPECT_EQ(DbText(Value(Currency{12345600})), "1234.56");
    EXPECT_EQ(DbText(Value(Currency{100000})), "10");
    EXPECT_EQ(DbText(Value(true)), "True");
    EXPECT_EQ(DbText(Value(Bytes{0, 255})), "00FF");
    EXPECT_EQ(DbText(Value(Strings{"a", "b"})), "a; b");
    EXPECT_EQ(DbText(Value(Time(std::chrono::sys_days(std::chrono::year(2009) / 3 / 7)))),
              "3/7/2009 12:00:00 AM");
}

} // namespace
} // namespace kr
