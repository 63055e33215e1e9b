// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/page/shortText.h"

#include <string>

#include <gtest/gtest.h>

namespace {

TEST(ShortTextTest, LeavesWhatFits) {
    EXPECT_EQ(shell::shortText("", 0), "");
    EXPECT_EQ(shell::shortText("abc", 3), "abc");
}

TEST(ShortTextTest, EndsWhatIsCutWithASign) {
    EXPECT_EQ(shell::shortText("abcdefgh", 7), "abcd…");
    EXPECT_EQ(shell::shortText("abcdefgh", 7).size(), 7U);
}

TEST(ShortTextTest, CutsThroughNoCharacter) {
    const std::string text = "a\u20ac\u20ac\u20ac\u20ac";
    for (std::size_t bytes = 3; bytes < text.size(); ++bytes) {
        const std::string cut = shell::shortText(text, bytes);
        EXPECT_LE(cut.size(), bytes);
        EXPECT_EQ((cut.size() - 1) % 3, cut.size() < 4 ? (cut.size() - 1) % 3 : 0U) << cut;
    }
    EXPECT_EQ(shell::shortText(text, 8), "a\u20ac…");
    EXPECT_EQ(shell::shortText(text, 9), "a\u20ac…");
}

}  // namespace
