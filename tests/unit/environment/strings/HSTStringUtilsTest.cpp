// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/strings/HSTStringUtils.h"

#include <climits>
#include <string>

#include <gtest/gtest.h>

#include "environment/strings/HSTStrUtils.h"

namespace {

TEST(HSTStringUtilsTest, ComparesWithoutRegardToCase) {
    EXPECT_TRUE(HSTStringUtils::iequals("Write_Bitstream", "write_bitSTREAM"));
    EXPECT_TRUE(HSTStringUtils::iequals("", ""));
    EXPECT_TRUE(HSTStringUtils::iequals("a1[z{@`", "A1[Z{@`"));
}

TEST(HSTStringUtilsTest, TellsDifferentTextsApart) {
    EXPECT_FALSE(HSTStringUtils::iequals("place", "place_design"));
    EXPECT_FALSE(HSTStringUtils::iequals("", "a"));
    EXPECT_FALSE(HSTStringUtils::iequals("[", "{")) << "32 apart as letters are";
    EXPECT_FALSE(HSTStringUtils::iequals("@", "`"));
    EXPECT_FALSE(HSTStringUtils::iequals(std::string("a\0b", 3), std::string("a\0c", 3)));
}

TEST(HSTStringUtilsTest, FoldsOnlyAsciiLetters) {
    EXPECT_FALSE(HSTStringUtils::iequals("\xC3\x84", "\xC3\xA4"));
}

TEST(HSTStringUtilsTest, TurnsIntoLowerCaseInPlace) {
    std::string text = "AZ[az]09 \xC3\x84";
    HSTStringUtils::to_lower(text);
    EXPECT_EQ(text, "az[az]09 \xC3\x84");
}

TEST(HSTStringUtilsTest, TurnsIntoUpperCaseInPlace) {
    std::string text = "AZ{az}09 \xC3\xA4";
    HSTStringUtils::to_upper(text);
    EXPECT_EQ(text, "AZ{AZ}09 \xC3\xA4");
}

TEST(HSTStringUtilsTest, MakesTheDecimalTextOfAnInt) {
    std::string text = "before";
    HSTStringUtils::constructFromInt(text, 0);
    EXPECT_EQ(text, "0");
    HSTStringUtils::constructFromInt(text, -17);
    EXPECT_EQ(text, "-17");
    HSTStringUtils::constructFromInt(text, INT_MIN);
    EXPECT_EQ(text, "-2147483648");
}

TEST(HSTStrUtilsTest, ComparesWithoutRegardToCase) {
    EXPECT_TRUE(HSTStrUtils::equalToCI("Ft0:Synth", "ft0:SYNTH"));
    EXPECT_FALSE(HSTStrUtils::equalToCI("Ft0:Synth", "Ft0:Synth "));
}

}  // namespace
