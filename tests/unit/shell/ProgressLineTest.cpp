// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/progressLine.h"

#include <gtest/gtest.h>

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

}  // namespace
