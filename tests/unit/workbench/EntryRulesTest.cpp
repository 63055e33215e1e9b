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
struct RuleCase {
    const char* name;
    std::string text;
    std::string refused;
};

std::string caseName(const ::testing::TestParamInfo<RuleCase>& info) {
    return info.param.name;
}

class RunNameTable : public ::testing::TestWithParam<RuleCase> {};

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
    ::testing::Values(RuleCase{"Letters", "synth", ""}, RuleCase{"AllSigns", "a.b_c+d-9", ""},
                      RuleCase{"DigitFirst", "1st", ""},
                      RuleCase{"HundredLetters", std::string(100, 'x'), ""},
                      RuleCase{"OneTooLong", std::string(101, 'x'), "bad"},
                      RuleCase{"Empty", "", "bad"}, RuleCase{"Slash", "a/b", "bad"},
                      RuleCase{"DotFirst", ".hidden", "bad"}, RuleCase{"Up", "..", "bad"},
                      RuleCase{"MinusFirst", "-x", "bad"}, RuleCase{"Blank", "a b", "bad"},
                      RuleCase{"LineFeed", "a\nb", "bad"}, RuleCase{"Dollar", "a$b", "bad"},
                      RuleCase{"NonAscii", "\xC3\xA4", "bad"}),
    caseName);

class StrategyNameTable : public ::testing::TestWithParam<RuleCase> {};

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
        RuleCase{"Letters", "Fast", ""}, RuleCase{"Words", "Fast and small", ""},
        RuleCase{"Signs", "50% (a+b)?*$&;", ""}, RuleCase{"NonAscii", "sch\xC3\xB6n", ""},
        RuleCase{"HundredLetters", std::string(100, 'x'), ""},
        RuleCase{"OneTooLong", std::string(101, 'x'), "it is too long"},
        RuleCase{"Empty", "", "it is empty"}, RuleCase{"Slash", "a/b", kSeparator},
        RuleCase{"Backslash", "a\\b", kSeparator}, RuleCase{"Hidden", ".hidden", kFirstSign},
        RuleCase{"Aside", ".renamed.a", kFirstSign}, RuleCase{"LikeAnOption", "-x", kFirstSign},
        RuleCase{"BlankFirst", " a", kOuterBlank}, RuleCase{"BlankLast", "a ", kOuterBlank},
        RuleCase{"LineFeed", "a\nb", kHiddenSign}, RuleCase{"Escape", "a\x1b[2J", kHiddenSign},
        RuleCase{"Null", std::string("a\0b", 3), kHiddenSign},
        RuleCase{"ZeroWidth", "a\xE2\x80\x8B", kHiddenSign},
        RuleCase{"NoUtf8", "a\xFF", kHiddenSign}),
    caseName);

class ScriptPathTable : public ::testing::TestWithParam<RuleCase> {};

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
                         ::testing::Values(RuleCase{"Plain", "/home/a/design-1.v", ""},
                                           RuleCase{"Blank", "/home/my design", ""},
                                           RuleCase{"Brackets", "/home/(a)", ""},
                                           RuleCase{"NonAscii", "/home/\xC3\xA4", ""},
                                           RuleCase{"Quote", "/it's", "the character '"},
                                           RuleCase{"DoubleQuote", "/a\"b", "the character \""},
                                           RuleCase{"Backslash", "/a\\b", "the character \\"},
                                           RuleCase{"Dollar", "/a$b", "the character $"},
                                           RuleCase{"Backtick", "/a`b", "the character `"},
                                           RuleCase{"Star", "/a*", "the character *"},
                                           RuleCase{"Question", "/a?", "the character ?"},
                                           RuleCase{"Bracket", "/a[1]", "the character ["},
                                           RuleCase{"LineFeed", "/a\nb", "a control character"},
                                           RuleCase{"Delete", "/a\x7F", "a control character"}),
                         caseName);

class ReportFileTable : public ::testing::TestWithParam<RuleCase> {};

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
    ::testing::Values(RuleCase{"Plain", "top_drc_routed.rpt", ""},
                      RuleCase{"Words", "my own report", ""}, RuleCase{"None", "", ""},
                      RuleCase{"Separator", "a/b", "the character /"},
                      RuleCase{"OtherSeparator", "a\\b", "the character \\"},
                      RuleCase{"LineFeed", "a\nb", "a control character"},
                      RuleCase{"Folder", "..", "a dot in front"},
                      RuleCase{"Marker", ".ice40_route.end.rst", "a dot in front"}),
    caseName);

class OptionTextTable : public ::testing::TestWithParam<RuleCase> {};

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
                         ::testing::Values(RuleCase{"Number", "-7", ""},
                                           RuleCase{"Assignment", "WIDTH=8", ""},
                                           RuleCase{"Words", "a b", ""},
                                           RuleCase{"Path", "/a/b.hex", ""},
                                           RuleCase{"Substitution", "$(x)", "the character $"},
                                           RuleCase{"Semicolon", "a;b", "the character ;"},
                                           RuleCase{"Pipe", "a|b", "the character |"},
                                           RuleCase{"Redirection", "a>b", "the character >"},
                                           RuleCase{"Ampersand", "a&b", "the character &"},
                                           RuleCase{"Comment", "#x", "the character #"},
                                           RuleCase{"Percent", "%PATH%", "the character %"},
                                           RuleCase{"LineFeed", "a\nb", "a control character"}),
                         caseName);

}  // namespace
