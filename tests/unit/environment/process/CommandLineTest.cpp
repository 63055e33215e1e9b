// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "environment/process/commandLine.h"

namespace {

struct LineCase {
    const char* label;
    const char* line;
    std::vector<std::string> words;
};

std::ostream& operator<<(std::ostream& os, const LineCase& row) {
    return os << row.line;
}

class CommandLineTable : public ::testing::TestWithParam<LineCase> {};

TEST_P(CommandLineTable, IsTakenApart) {
    EXPECT_EQ(process::splitCommand(GetParam().line), GetParam().words);
}

INSTANTIATE_TEST_SUITE_P(
    Lines, CommandLineTable,
    ::testing::Values(LineCase{"Empty", "", {}}, LineCase{"Blanks", " \t\n ", {}},
                      LineCase{"Words", "bsub -q short", {"bsub", "-q", "short"}},
                      LineCase{"ManyBlanks", "  bsub \t -J\n", {"bsub", "-J"}},
                      LineCase{"SingleQuotes", "a 'b c' d", {"a", "b c", "d"}},
                      LineCase{"DoubleQuotes", "a \"b c\"d", {"a", "b cd"}},
                      LineCase{"QuotesWithin", "-R\"select[mem>1] 'x'\"", {"-Rselect[mem>1] 'x'"}},
                      LineCase{"EmptyWord", "a '' \"\"", {"a", "", ""}},
                      LineCase{"Backslash", "a\\ b \\' \"\\\"\"", {"a b", "'", "\""}},
                      LineCase{"BackslashInSingleQuotes", "'a\\' b", {"a\\", "b"}},
                      LineCase{"LastBackslash", "a\\", {"a\\"}},
                      LineCase{"OpenQuote", "a 'b c", {"a", "b c"}},
                      LineCase{"NoShell", "a $HOME * ; `b`", {"a", "$HOME", "*", ";", "`b`"}}),
    [](const auto& row) { return std::string(row.param.label); });

TEST(CommandLineTest, IsShownAsItWouldBeTyped) {
    EXPECT_EQ(process::showCommand({"bsub", "-q", "a b", "", "it's", "$x"}),
              "bsub -q 'a b' '' 'it'\\''s' '$x'");
}

TEST(CommandLineTest, QuotesEveryWordForAShell) {
    EXPECT_EQ(process::quoteWord(""), "''");
    EXPECT_EQ(process::quoteWord("a b"), "'a b'");
    EXPECT_EQ(process::quoteWord("it's"), "'it'\\''s'");
}

TEST(CommandLineTest, IsTheSameWhenItIsTakenApartAgain) {
    const std::vector<std::string> words = {"a b",  "line\nend", "back\\slash", "\"",
                                            "it's", "",          "-x=y"};
    EXPECT_EQ(process::splitCommand(process::showCommand(words)), words);
}

}  // namespace
