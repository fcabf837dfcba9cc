#include <gtest/gtest.h>

#include "console/OwnImage.h"

namespace {

using namespace kr;

TEST(OwnImageTest, ANameHoldsAPictureAndWhatStandsForIt) {
    const Bytes png{0x89, 'P', 'N', 'G', 0, '|', 255};
    const auto image = OwnImageOf(ImageName("imgGlobe", png));
    ASSERT_TRUE(image);
    EXPECT_EQ(image->otherwise, "imgGlobe");
    EXPECT_EQ(image->png, png);
}

TEST(OwnImageTest, WithoutAPictureTheNameIsAPlainOne) {
    EXPECT_EQ(ImageName("imgGlobe", {}), "imgGlobe");
    EXPECT_FALSE(OwnImageOf("imgGlobe"));
    EXPECT_FALSE(OwnImageOf(""));
}

TEST(OwnImageTest, WhatIsNoBase64IsNoPicture) {
    for (const char* name : {"imgGlobe|", "imgGlobe|abc", "imgGlobe|a*c="}) {
        const auto image = OwnImageOf(name);
        ASSERT_TRUE(image) << name;
        EXPECT_EQ(image->otherwise, "imgGlobe");
        EXPECT_TRUE(image->png.empty()) << name;
    }
}

} // namespace
