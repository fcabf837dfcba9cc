#include <gtest/gtest.h>

#include "core/basCxnString.h"

namespace {

using namespace kr;

TEST(CxnStrings, AddressesAreFourNumericParts) {
    for (const char* address : {"10.0.0.5", "999.1.2.3", "0.0.0.0"})
        EXPECT_TRUE(LooksLikeIP(address)) << address;
    for (const char* name : {"", "10.0.0.x", "10.0.0", "10.0.0.5.6", "10.0.0.", "10..0.5", "db1"})
        EXPECT_FALSE(LooksLikeIP(name)) << name;
}

TEST(CxnStrings, TheFirstPasswordIsMasked) {
    EXPECT_EQ(MaskPassword("a=1;Password=secret;b=2;Password=other;"),
              "a=1;Password=********;b=2;Password=other;");
    EXPECT_EQ(MaskPassword("Data Source=x;"), "Data Source=x;");
    EXPECT_EQ(MaskPassword("a=1;Password=secret"), ""); // without an end: nothing at all
}

} // namespace
