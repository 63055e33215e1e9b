// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/strings/HUTConvert.h"

#include <climits>
#include <ostream>
#include <string>

#include <gtest/gtest.h>

namespace {

struct NumberCase {
    const char* name;
    std::string text;
    int value;
};

std::ostream& operator<<(std::ostream& os, const NumberCase& row) {
    return os << row.name;
}

class HUTConvertNumber : public ::testing::TestWithParam<NumberCase> {};

TEST_P(HUTConvertNumber, IsRead) {
    int value = 99;
    EXPECT_TRUE(HUTConvert::stringToInteger(GetParam().text, value));
    EXPECT_EQ(value, GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, HUTConvertNumber,
    ::testing::Values(NumberCase{"Zero", "0", 0}, NumberCase{"LeadingZeros", "007", 7},
                      NumberCase{"Negative", "-12", -12}, NumberCase{"NegativeZero", "-0", 0},
                      NumberCase{"Plus", "+3", 3}, NumberCase{"Largest", "2147483647", INT_MAX},
                      NumberCase{"Smallest", "-2147483648", INT_MIN}),
    [](const auto& row) { return std::string(row.param.name); });

class HUTConvertRefused : public ::testing::TestWithParam<NumberCase> {};

TEST_P(HUTConvertRefused, LeavesTheValueAlone) {
    int value = 99;
    EXPECT_FALSE(HUTConvert::stringToInteger(GetParam().text, value));
    EXPECT_EQ(value, 99);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, HUTConvertRefused,
    ::testing::Values(NumberCase{"Empty", "", 0}, NumberCase{"Blank", " ", 0},
                      NumberCase{"BlankBefore", " 1", 0}, NumberCase{"BlankBehind", "1 ", 0},
                      NumberCase{"LineEnd", "1\n", 0}, NumberCase{"Word", "two", 0},
                      NumberCase{"NumberAndWord", "1x", 0}, NumberCase{"Fraction", "1.5", 0},
                      NumberCase{"Hex", "0x10", 0}, NumberCase{"MinusAlone", "-", 0},
                      NumberCase{"PlusAlone", "+", 0}, NumberCase{"PlusMinus", "+-1", 0},
                      NumberCase{"MinusPlus", "-+1", 0}, NumberCase{"PlusPlus", "++1", 0},
                      NumberCase{"TooLarge", "2147483648", 0},
                      NumberCase{"TooSmall", "-2147483649", 0},
                      NumberCase{"NulInside", std::string("1\0", 2), 0}),
    [](const auto& row) { return std::string(row.param.name); });

}  // namespace
