#include <gtest/gtest.h>

#include "console/ListCounts.h"

namespace {

using namespace kr;

TEST(ListCounts, OneManyAndNone) {
    EXPECT_EQ("1 list", CountText(Counted::List, 1));
    EXPECT_EQ("0 lists", CountText(Counted::List, 0));
    EXPECT_EQ("2 language packs", CountText(Counted::LanguagePack, 2));
    EXPECT_EQ("1 user", CountText(Counted::User, 1));
    EXPECT_EQ("1 agent", CountText(Counted::Agent, 1));
}

TEST(ListCounts, QuickLoadSpeaksOnlyWhenItCut) {
    EXPECT_EQ("1000 contacts", QuickLoadText(Counted::Contact, 1000, true));
    EXPECT_EQ("First 1000 of 1001 contacts shown - disable View > Quick Load to see full list",
              QuickLoadText(Counted::Contact, 1001, true));
    EXPECT_EQ("1001 contacts", QuickLoadText(Counted::Contact, 1001, false));
    EXPECT_EQ("1000 of 2500 handheld records - disable View > Quick Load to see full list",
              QuickLoadText(Counted::Handheld, 2500, true));
    EXPECT_EQ("First 1000 of 2500 records - disable View > Quick Load to see full list",
              QuickLoadText(Counted::Record, 2500, true));
}

} // namespace
