// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/scriptText.h"

#include <ostream>
#include <string>

#include <gtest/gtest.h>

using xperiment::escapeJs;
using xperiment::fill;
using xperiment::quoted;

namespace {

/// A template and what it becomes with a = "1", b = "@{a}" and empty = "".
struct FillCase {
    const char* name;
    const char* text;
    const char* filled;
};

std::ostream& operator<<(std::ostream& os, const FillCase& row) {
    return os << row.name;
}

class ScriptTemplateTest : public ::testing::TestWithParam<FillCase> {};

TEST_P(ScriptTemplateTest, IsFilled) {
    EXPECT_EQ(fill(GetParam().text, {{"a", "1"}, {"b", "@{a}"}, {"empty", ""}}), GetParam().filled);
}

INSTANTIATE_TEST_SUITE_P(
    Each, ScriptTemplateTest,
    ::testing::Values(FillCase{"Empty", "", ""}, FillCase{"Plain", "text\n", "text\n"},
                      FillCase{"Alone", "@{a}", "1"}, FillCase{"Twice", "@{a}-@{a}", "1-1"},
                      FillCase{"Between", "x@{a}y\n", "x1y\n"},
                      FillCase{"EmptyValue", "x@{empty}y", "xy"},
                      FillCase{"ValueWithAPlaceholder", "@{b}", "@{a}"},
                      FillCase{"Unknown", "@{c}@{a}", "@{c}1"}, FillCase{"Unnamed", "@{}", "@{}"},
                      FillCase{"Unclosed", "@{a", "@{a"}, FillCase{"ClosedAtTheEnd", "a}", "a}"},
                      FillCase{"AtSign", "a@b@{a}@", "a@b1@"},
                      FillCase{"ShellVariable", "${a}$a", "${a}$a"}),
    [](const auto& row) { return std::string(row.param.name); });

/// A text, and the inside of the JScript string that means it.
struct EscapeCase {
    const char* name;
    const char* text;
    const char* escaped;
};

std::ostream& operator<<(std::ostream& os, const EscapeCase& row) {
    return os << row.name;
}

class JScriptTextTest : public ::testing::TestWithParam<EscapeCase> {};

TEST_P(JScriptTextTest, IsEscaped) {
    EXPECT_EQ(escapeJs(GetParam().text), GetParam().escaped);
}

INSTANTIATE_TEST_SUITE_P(Each, JScriptTextTest,
                         ::testing::Values(EscapeCase{"Empty", "", ""},
                                           EscapeCase{"Plain", "-in a b", "-in a b"},
                                           EscapeCase{"Backslash", R"(C:\a)", R"(C:\\a)"},
                                           EscapeCase{"Quote", R"("a b")", R"(\"a b\")"},
                                           EscapeCase{"BackslashBeforeAQuote", R"(\")", R"(\\\")"},
                                           EscapeCase{"TwoBackslashes", R"(\\)", R"(\\\\)"},
                                           EscapeCase{"OthersStay", "'$a`\n\t%", "'$a`\n\t%"}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(QuotedTextTest, StandsBetweenDoubleQuotesAsItIs) {
    EXPECT_EQ(quoted(""), "\"\"");
    EXPECT_EQ(quoted("a b"), "\"a b\"");
    EXPECT_EQ(quoted("a\"b\\"), "\"a\"b\\\"");
}

}  // namespace
