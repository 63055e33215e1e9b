// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/progressLine.h"

#include <gtest/gtest.h>

#include "shell/characterWidth.h"

namespace {

TEST(FitLineTest, KeepsWhatFits) {
    EXPECT_EQ(shell::fitLine("abc", 3), "abc");
    EXPECT_EQ(shell::fitLine("", 3), "");
}

TEST(FitLineTest, CutsAtTheWidth) {
    EXPECT_EQ(shell::fitLine("abcd", 3), "abc");
    EXPECT_EQ(shell::fitLine("abcd", 0), "");
}

TEST(FitLineTest, NeverCutsACharacterInTwo) {
    EXPECT_EQ(shell::fitLine("\xC3\xA4\xC3\xB6\xC3\xBC", 2), "\xC3\xA4\xC3\xB6");
}

TEST(FitLineTest, TurnsControlCharactersIntoBlanks) {
    EXPECT_EQ(shell::fitLine("a\tb\x1B[31m\r\n", 80), "a b [31m  ");
}

TEST(FitLineTest, GivesAWideCharacterTwoColumns) {
    EXPECT_EQ(shell::fitLine("\u8a2d\u8a08ab", 4), "\u8a2d\u8a08");
    EXPECT_EQ(shell::fitLine("\u8a2d\u8a08ab", 3), "\u8a2d");
    EXPECT_EQ(shell::fitLine("\U0001F680x", 2), "\U0001F680");
}

TEST(FitLineTest, KeepsWhatJoinsTheLastCharacterThatFits) {
    EXPECT_EQ(shell::fitLine("e\u0301x", 1), "e\u0301");
}

TEST(FitLineTest, TakesAnyBytes) {
    EXPECT_EQ(shell::fitLine("\xFF\xC3", 5), "\xFF\xC3");
    EXPECT_EQ(shell::fitLine("\xE2\x82", 1), "\xE2");
}

TEST(CharacterWidthTest, KnowsTheEdgesOfItsTables) {
    EXPECT_EQ(shell::widthOf(U'a'), 1);
    EXPECT_EQ(shell::widthOf(0xAD), 1);
    EXPECT_EQ(shell::widthOf(0x2FF), 1);
    EXPECT_EQ(shell::widthOf(0x300), 0);
    EXPECT_EQ(shell::widthOf(0x200B), 0);
    EXPECT_EQ(shell::widthOf(0x10FF), 1);
    EXPECT_EQ(shell::widthOf(0x1100), 2);
    EXPECT_EQ(shell::widthOf(0xAC00), 2);
    EXPECT_EQ(shell::widthOf(0xFF21), 2);
    EXPECT_EQ(shell::widthOf(0x3FFFD), 2);
    EXPECT_EQ(shell::widthOf(0x10FFFF), 1);
}

}  // namespace
