// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/suggestion.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

const std::vector<std::string>& names() {
    static const std::vector<std::string> all{"new",  "add",    "create", "set", "launch",
                                              "wait", "status", "log",    "show"};
    return all;
}

std::string meant(const std::string& typed) {
    return shell::suggestionFor(typed, names());
}

TEST(EditDistanceTest, CountsLettersAddedTakenChangedAndSwapped) {
    EXPECT_EQ(shell::editDistance("status", "status"), 0);
    EXPECT_EQ(shell::editDistance("statu", "status"), 1);
    EXPECT_EQ(shell::editDistance("statuss", "status"), 1);
    EXPECT_EQ(shell::editDistance("stetus", "status"), 1);
    EXPECT_EQ(shell::editDistance("stauts", "status"), 1);
    EXPECT_EQ(shell::editDistance("", "log"), 3);
    EXPECT_EQ(shell::editDistance("log", ""), 3);
}

TEST(SuggestionTest, IsTheNameThatWasMistyped) {
    EXPECT_EQ(meant("stauts"), "status");
    EXPECT_EQ(meant("lauch"), "launch");
    EXPECT_EQ(meant("crate"), "create");
    EXPECT_EQ(meant("shwo"), "show");
}

TEST(SuggestionTest, IsTheOnlyNameThatBeginsSo) {
    EXPECT_EQ(meant("la"), "launch");
    EXPECT_EQ(meant("stat"), "status");
}

TEST(SuggestionTest, IsNoneWhenNothingIsNear) {
    EXPECT_EQ(meant("zzzzzz"), "");
    EXPECT_EQ(meant(""), "");
    EXPECT_EQ(shell::suggestionFor("x", {}), "");
}

TEST(SuggestionTest, NeverTurnsEveryLetterAround) {
    EXPECT_EQ(shell::suggestionFor("xy", {"ab"}), "");
}

TEST(SuggestionTest, AHintNamesWhatWasMeantOrTellsWhatElseHelps) {
    EXPECT_EQ(shell::hintFor("stauts", {"status", "show"}, "Look."), "Did you mean 'status'?");
    EXPECT_EQ(shell::hintFor("zzzzzz", {"status", "show"}, "Look."), "Look.");
}

}  // namespace
