#include "backup/RecordValues.h"

#include <gtest/gtest.h>

#include <limits>

#include "core/basDate.h"

namespace {

using namespace kr;

TEST(RecordValues, TheNumbersOfTheTypes) {
    const std::pair<PropType, int> table[] = {{PropType::Short, 2},    {PropType::Long, 3},
                                              {PropType::Currency, 6}, {PropType::Boolean, 11},
                                              {PropType::String, 8},   {PropType::Time, 7}};
    for (const auto& [property, variant] : table) {
        EXPECT_EQ(PropertyToVariantType(property), variant);
        EXPECT_EQ(VariantTypeToProperty(variant), property);
    }
    for (const PropType other :
         {PropType::Unspecified, PropType::Double, PropType::Double5, PropType::Unicode,
          PropType::Binary, PropType::StringList, static_cast<PropType>(20)})
        EXPECT_EQ(PropertyToVariantType(other), 0);
}

TEST(RecordValues, WhatElseIsRead) {
    EXPECT_EQ(VariantTypeToProperty(0), PropType::Unspecified);
    EXPECT_EQ(VariantTypeToProperty(4), PropType::Double);
    EXPECT_EQ(VariantTypeToProperty(5), PropType::Double5);
    EXPECT_EQ(VariantTypeToProperty(30), PropType::String);
    EXPECT_EQ(VariantTypeToProperty(64), PropType::Time);
    for (const int unknown : {-1, 1, 9, 31, 99, 8192})
        EXPECT_EQ(VariantTypeToProperty(unknown), std::nullopt) << unknown;
}

TEST(RecordValues, TheTextsOfValues) {
    EXPECT_EQ(RecordText(int16_t{-7}), "-7");
    EXPECT_EQ(RecordText(int32_t{2147483647}), "2147483647");
    EXPECT_EQ(RecordText(true), "True");
    EXPECT_EQ(RecordText(false), "False");
    EXPECT_EQ(RecordText("a \"b\""), "a \"b\"");
    EXPECT_EQ(RecordText(2.5), "2.5");
    EXPECT_EQ(RecordText(Bytes{0x0A, 0xFF}), "0AFF");
    EXPECT_EQ(RecordText(Time(std::chrono::seconds(1236420672))), "2009-03-07T10:11:12");
    EXPECT_EQ(RecordText(Currency{123400}), "12.34");
    EXPECT_EQ(RecordText(Currency{-1}), "-0.0001");
    EXPECT_EQ(RecordText(Currency{50000}), "5");
    EXPECT_EQ(RecordText(Currency{0}), "0");
    EXPECT_EQ(RecordText(Currency{std::numeric_limits<int64_t>::min()}), "-922337203685477.5808");
}

TEST(RecordValues, EveryValueComesBackFromItsText) {
    const std::pair<Value, int> values[] = {{int16_t{-32768}, 2},
                                            {int32_t{-2147483647 - 1}, 3},
                                            {Currency{std::numeric_limits<int64_t>::max()}, 6},
                                            {Currency{std::numeric_limits<int64_t>::min()}, 6},
                                            {Currency{-1}, 6},
                                            {true, 11},
                                            {false, 11},
                                            {" text\r\n", 8},
                                            {"", 8},
                                            {Time(std::chrono::seconds(1236420672)), 7},
                                            {*ParseDate("0100-01-01 00:00:01"), 7},
                                            {*ParseDate("9999-12-31 23:59:59"), 7}};
    for (const auto& [value, type] : values)
        EXPECT_EQ(CoerceValue(RecordText(value), type), value) << RecordText(value);
}

TEST(RecordValues, NumbersAreRoundedAndKeptWithinTheirTypes) {
    EXPECT_EQ(CoerceValue(" 7 ", 2), Value(int16_t{7}));
    EXPECT_EQ(CoerceValue("2.5", 2), Value(int16_t{2}));
    EXPECT_EQ(CoerceValue("3.5", 3), Value(int32_t{4}));
    EXPECT_EQ(CoerceValue("32768", 2), std::nullopt);
    EXPECT_EQ(CoerceValue("-32769", 2), std::nullopt);
    EXPECT_EQ(CoerceValue("2147483648", 3), std::nullopt);
    EXPECT_EQ(CoerceValue("1e300", 3), std::nullopt);
    EXPECT_EQ(CoerceValue("1e15", 6), std::nullopt);
    EXPECT_EQ(CoerceValue("12.34567", 6), Value(Currency{123457}));
    EXPECT_EQ(CoerceValue("1,000.5", 6), Value(Currency{10005000}));
    EXPECT_EQ(CoerceValue("922337203685477.5808", 6), std::nullopt);
    EXPECT_EQ(CoerceValue("2.5", 4), Value(2.5));
    EXPECT_EQ(CoerceValue("-1e3", 5), Value(-1000.0));
}

TEST(RecordValues, OtherWordsForTrueAndForDates) {
    EXPECT_EQ(CoerceValue("TRUE", 11), Value(true));
    EXPECT_EQ(CoerceValue("-1", 11), Value(true));
    EXPECT_EQ(CoerceValue("0", 11), Value(false));
    EXPECT_EQ(CoerceValue("2009-03-07T10:11:12Z", 7), Value(*ParseDate("2009-03-07 10:11:12")));
    EXPECT_EQ(CoerceValue("3/7/2009 10:11:12 AM", 64), Value(*ParseDate("2009-03-07 10:11:12")));
    EXPECT_EQ(CoerceValue("text", 30), Value("text"));
}

TEST(RecordValues, ATextThatSaysNoValueGivesNone) {
    for (const int type : {2, 3, 4, 5, 6, 7, 11, 64})
        for (const char* text : {"", "x", "12x", "True!", "--1", "1.2.3", "."})
            EXPECT_EQ(CoerceValue(text, type), std::nullopt) << type << " " << text;
    for (const int type : {0, 9, 31, 8192})
        EXPECT_EQ(CoerceValue("1", type), std::nullopt) << type;
}

} // namespace
