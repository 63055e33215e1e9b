// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/entryRules.h"

#include <string>

#include <gtest/gtest.h>

#include "environment/errors/HEXUserException.h"
#include "tests/support/thrownText.h"
#include "workbench/printable.h"

namespace {

/// Good and bad names, and what is bad about a text; empty for a good one.
struct TextCase {
    const char* name;
    std::string text;
    std::string refused;
};

std::string caseName(const ::testing::TestParamInfo<TextCase>& info) {
    return info.param.name;
}

class RunNameTable : public ::testing::TestWithParam<TextCase> {};

TEST_P(RunNameTable, TakesOrRefuses) {
    const std::string text = GetParam().text;
    const std::string thrown =
        test::thrownText<HEXUserException>([&] { workbench::requireRunName(text); });
    if (GetParam().refused.empty())
        EXPECT_EQ(thrown, "nothing thrown");
    else
        EXPECT_EQ(thrown, "\"" + text +
                              "\" can't be the name of a run. Use up to 100 letters, digits and "
                              "the signs . _ + -, beginning with a letter or digit.");
}

INSTANTIATE_TEST_SUITE_P(
    EntryRules, RunNameTable,
    ::testing::Values(TextCase{"Letters", "synth", ""}, TextCase{"AllSigns", "a.b_c+d-9", ""},
                      TextCase{"DigitFirst", "1st", ""},
                      TextCase{"HundredLetters", std::string(100, 'x'), ""},
                      TextCase{"OneTooLong", std::string(101, 'x'), "bad"},
                      TextCase{"Empty", "", "bad"}, TextCase{"Slash", "a/b", "bad"},
                      TextCase{"DotFirst", ".hidden", "bad"}, TextCase{"Up", "..", "bad"},
                      TextCase{"MinusFirst", "-x", "bad"}, TextCase{"Blank", "a b", "bad"},
                      TextCase{"LineFeed", "a\nb", "bad"}, TextCase{"Dollar", "a$b", "bad"},
                      TextCase{"NonAscii", "\xC3\xA4", "bad"}),
    caseName);

class StrategyNameTable : public ::testing::TestWithParam<TextCase> {};

TEST_P(StrategyNameTable, TakesOrRefuses) {
    const std::string text = GetParam().text;
    const std::string thrown =
        test::thrownText<HEXUserException>([&] { workbench::requireStrategyName(text); });
    if (GetParam().refused.empty())
        EXPECT_EQ(thrown, "nothing thrown");
    else
        EXPECT_EQ(thrown, "\"" + workbench::printable(text) +
                              "\" can't be the name of a strategy: " + GetParam().refused +
                              ". Use up to 100 letters, digits, blanks and signs other than a "
                              "slash.");
}

const char kHiddenSign[] = "it holds a character that can't be shown";
const char kSeparator[] = "it holds a separator of folders";
const char kFirstSign[] = "it begins with a dot or a dash";
const char kOuterBlank[] = "it begins or ends with a blank";

INSTANTIATE_TEST_SUITE_P(
    EntryRules, StrategyNameTable,
    ::testing::Values(
        TextCase{"Letters", "Fast", ""}, TextCase{"Words", "Fast and small", ""},
        TextCase{"Signs", "50% (a+b)?*$&;", ""}, TextCase{"NonAscii", "sch\xC3\xB6n", ""},
        TextCase{"HundredLetters", std::string(100, 'x'), ""},
        TextCase{"OneTooLong", std::string(101, 'x'), "it is too long"},
        TextCase{"Empty", "", "it is empty"}, TextCase{"Slash", "a/b", kSeparator},
        TextCase{"Backslash", "a\\b", kSeparator}, TextCase{"Hidden", ".hidden", kFirstSign},
        TextCase{"Aside", ".renamed.a", kFirstSign}, TextCase{"LikeAnOption", "-x", kFirstSign},
        TextCase{"BlankFirst", " a", kOuterBlank}, TextCase{"BlankLast", "a ", kOuterBlank},
        TextCase{"LineFeed", "a\nb", kHiddenSign}, TextCase{"Escape", "a\x1b[2J", kHiddenSign},
        TextCase{"Null", std::string("a\0b", 3), kHiddenSign},
        TextCase{"ZeroWidth", "a\xE2\x80\x8B", kHiddenSign},
        TextCase{"NoUtf8", "a\xFF", kHiddenSign}),
    caseName);

class ScriptPathTable : public ::testing::TestWithParam<TextCase> {};

TEST_P(ScriptPathTable, TakesOrRefuses) {
    const std::string text = GetParam().text;
    const std::string thrown =
        test::thrownText<HEXUserException>([&] { workbench::requireScriptPath(text); });
    if (GetParam().refused.empty())
        EXPECT_EQ(thrown, "nothing thrown");
    else
        EXPECT_EQ(thrown, "The path " + text + " holds " + GetParam().refused +
                              ", which the generated scripts can't carry. Rename it or move it "
                              "to another folder.");
}

INSTANTIATE_TEST_SUITE_P(EntryRules, ScriptPathTable,
                         ::testing::Values(TextCase{"Plain", "/home/a/design-1.v", ""},
                                           TextCase{"Blank", "/home/my design", ""},
                                           TextCase{"Brackets", "/home/(a)", ""},
                                           TextCase{"NonAscii", "/home/\xC3\xA4", ""},
                                           TextCase{"Quote", "/it's", "the character '"},
                                           TextCase{"DoubleQuote", "/a\"b", "the character \""},
                                           TextCase{"Backslash", "/a\\b", "the character \\"},
                                           TextCase{"Dollar", "/a$b", "the character $"},
                                           TextCase{"Backtick", "/a`b", "the character `"},
                                           TextCase{"Star", "/a*", "the character *"},
                                           TextCase{"Question", "/a?", "the character ?"},
                                           TextCase{"Bracket", "/a[1]", "the character ["},
                                           TextCase{"LineFeed", "/a\nb", "a control character"},
                                           TextCase{"Delete", "/a\x7F", "a control character"}),
                         caseName);

class ReportFileTable : public ::testing::TestWithParam<TextCase> {};

TEST_P(ReportFileTable, TakesOrRefuses) {
    const std::string text = GetParam().text;
    const std::string thrown =
        test::thrownText<HEXUserException>([&] { workbench::requireReportFile(text); });
    if (GetParam().refused.empty())
        EXPECT_EQ(thrown, "nothing thrown");
    else
        EXPECT_EQ(thrown, "\"" + text + "\" can't be the name of a report or its file: it holds " +
                              GetParam().refused + ".");
}

INSTANTIATE_TEST_SUITE_P(
    EntryRules, ReportFileTable,
    ::testing::Values(TextCase{"Plain", "top_drc_routed.rpt", ""},
                      TextCase{"Words", "my own report", ""}, TextCase{"None", "", ""},
                      TextCase{"Separator", "a/b", "the character /"},
                      TextCase{"OtherSeparator", "a\\b", "the character \\"},
                      TextCase{"LineFeed", "a\nb", "a control character"},
                      TextCase{"Folder", "..", "a dot in front"},
                      TextCase{"Marker", ".ice40_route.end.rst", "a dot in front"}),
    caseName);

class OptionTextTable : public ::testing::TestWithParam<TextCase> {};

TEST_P(OptionTextTable, TakesOrRefuses) {
    const std::string text = GetParam().text;
    const std::string thrown =
        test::thrownText<HEXUserException>([&] { workbench::requireOptionText("seed", text); });
    if (GetParam().refused.empty())
        EXPECT_EQ(thrown, "nothing thrown");
    else
        EXPECT_EQ(thrown, "The value \"" + text + "\" of option seed holds " + GetParam().refused +
                              ", which a shell would take as its own. Choose another value.");
}

INSTANTIATE_TEST_SUITE_P(EntryRules, OptionTextTable,
                         ::testing::Values(TextCase{"Number", "-7", ""},
                                           TextCase{"Assignment", "WIDTH=8", ""},
                                           TextCase{"Words", "a b", ""},
                                           TextCase{"Path", "/a/b.hex", ""},
                                           TextCase{"Substitution", "$(x)", "the character $"},
                                           TextCase{"Semicolon", "a;b", "the character ;"},
                                           TextCase{"Pipe", "a|b", "the character |"},
                                           TextCase{"Redirection", "a>b", "the character >"},
                                           TextCase{"Ampersand", "a&b", "the character &"},
                                           TextCase{"Comment", "#x", "the character #"},
                                           TextCase{"Percent", "%PATH%", "the character %"},
                                           TextCase{"LineFeed", "a\nb", "a control character"}),
                         caseName);

}  // namespace
