// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/strings/HSTStrTokenizer.h"

#include <ostream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

std::vector<std::string> pieces(HSTStrTokenizer tokenizer) {
    std::vector<std::string> result;
    std::string piece;
    while (tokenizer.hasNext()) {
        EXPECT_TRUE(tokenizer.next(piece));
        result.push_back(piece);
    }
    EXPECT_FALSE(tokenizer.next(piece));
    return result;
}

/// A text and its pieces, without and with the empty ones.
struct SplitCase {
    const char* name;
    std::string text;
    std::string separators;
    std::vector<std::string> full;
    std::vector<std::string> withEmpty;
};

std::ostream& operator<<(std::ostream& os, const SplitCase& row) {
    return os << row.name;
}

class HSTStrTokenizerTable : public ::testing::TestWithParam<SplitCase> {};

TEST_P(HSTStrTokenizerTable, PassesOverEmptyPieces) {
    EXPECT_THAT(pieces({GetParam().text, GetParam().separators, false}),
                ElementsAreArray(GetParam().full));
}

TEST_P(HSTStrTokenizerTable, KeepsEmptyPiecesWhenAsked) {
    EXPECT_THAT(pieces({GetParam().text, GetParam().separators, true}),
                ElementsAreArray(GetParam().withEmpty));
}

INSTANTIATE_TEST_SUITE_P(
    Texts, HSTStrTokenizerTable,
    ::testing::Values(
        SplitCase{"Empty", "", ":", {}, {}}, SplitCase{"OnePiece", "/bin", ":", {"/bin"}, {"/bin"}},
        SplitCase{"Path", "/bin:/usr/bin", ":", {"/bin", "/usr/bin"}, {"/bin", "/usr/bin"}},
        SplitCase{"Doubled", "a::b", ":", {"a", "b"}, {"a", "", "b"}},
        SplitCase{"AtBothEnds", ":a:", ":", {"a"}, {"", "a", ""}},
        SplitCase{"SeparatorAlone", ":", ":", {}, {"", ""}},
        SplitCase{"SeveralSeparators", "a b,c", ", ", {"a", "b", "c"}, {"a", "b", "c"}},
        SplitCase{"NoSeparators", "a b", "", {"a b"}, {"a b"}},
        SplitCase{"OtherBlanksStay", "a\tb", " ", {"a\tb"}, {"a\tb"}}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(HSTStrTokenizerTest, LeavesThePieceAloneAtTheEnd) {
    HSTStrTokenizer tokenizer("a", " ", false);
    std::string piece;
    tokenizer.next(piece);
    EXPECT_FALSE(tokenizer.next(piece));
    EXPECT_EQ(piece, "a");
}

TEST(HSTStrTokenizerTest, KeepsATextOfItsOwn) {
    std::string text = "kill 17";
    HSTStrTokenizer tokenizer(text, " ", false);
    text = "other";
    EXPECT_THAT(pieces(tokenizer), ElementsAre("kill", "17"));
}

}  // namespace
