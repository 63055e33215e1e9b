// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <ostream>

#include <tcl.h>

#include "tests/unit/runs/xpreport/reportCommandFixture.h"

namespace {

using reportConfigUtil::createReportCommand;
using test::Ids;
using test::TestParam;
using test::reports::text;

struct DeleteInterp {
    void operator()(Tcl_Interp* interp) const { Tcl_DeleteInterp(interp); }
};

/// An interpreter whose reports keep the words that they were called with.
class ReportTclFixture : public test::ReportCommandFixture {
protected:
    ReportTclFixture() {
        run("proc report_drc {args} {set ::words $args}");
        run("proc report_power {args} {set ::words $args}");
        run("proc set_param {name value} {lappend ::params $name $value}");
    }

    void run(const std::string& script) {
        const int code = Tcl_EvalEx(m_interp.get(), script.c_str(), -1, TCL_EVAL_GLOBAL);
        EXPECT_EQ(code, TCL_OK) << Tcl_GetStringResult(m_interp.get()) << " in: " << script;
    }
    /// The elements of the list in a variable; that must have been set.
    Ids list(const char* variable) {
        Tcl_Obj* const value = Tcl_GetVar2Ex(m_interp.get(), variable, nullptr, TCL_GLOBAL_ONLY);
        int count = 0;
        Tcl_Obj** elements = nullptr;
        if (value == nullptr ||
            Tcl_ListObjGetElements(m_interp.get(), value, &count, &elements) != TCL_OK) {
            ADD_FAILURE() << "no list " << variable;
            return {};
        }
        Ids result;
        for (int i = 0; i < count; ++i)
            result.emplace_back(Tcl_GetString(elements[i]));
        return result;
    }
    /// The words that the report gets when its command runs.
    Ids wordsOf(HAXRReportConfig* config) {
        run(createReportCommand(config));
        return list("words");
    }

    std::unique_ptr<Tcl_Interp, DeleteInterp> m_interp{Tcl_CreateInterp()};
};

// The file is one word, whatever is in its name ------------------------------

struct NameCase {
    const char* name;
    std::string text;
};

std::ostream& operator<<(std::ostream& os, const NameCase& row) {
    return os << row.name;
}

class ReportFileWord : public ReportTclFixture, public ::testing::WithParamInterface<NameCase> {};

TEST_P(ReportFileWord, ReadsBackAsTheFileOfAGeneratedReport) {
    const std::string file = GetParam().text + ".rpt";
    HAXRReportConfig* const config = add("route_design", "report_drc");
    generate(config, file);
    EXPECT_EQ(wordsOf(config), (Ids{"-file", file}));
}

TEST_P(ReportFileWord, ReadsBackAfterTheTopModule) {
    useDefaultStrategy();
    setTop(GetParam().text);
    EXPECT_EQ(wordsOf(add("route_design", "report_drc")),
              (Ids{"-file", GetParam().text + "_drc_routed.rpt"}));
}

TEST_P(ReportFileWord, ReadsBackAmongOptions) {
    useDefaultStrategy();
    setTop(GetParam().text);
    EXPECT_EQ(wordsOf(add("route_design", "report_drc", {text("checks", "a"), text("cells", "b")})),
              (Ids{"-checks", "a", "-cells", "b", "-file", GetParam().text + "_drc_routed.rpt"}));
}

TEST_P(ReportFileWord, ReadsBackWhereFindingsBecomeMessages) {
    const TestParam messages("project.runs.route_design.defaultBehaviorAsMessages", true);
    useDefaultStrategy();
    setTop(GetParam().text);
    EXPECT_EQ(wordsOf(add("route_design", "report_drc")),
              (Ids{"-file", GetParam().text + "_drc_routed.rpt", "-messages"}));
    EXPECT_EQ(list("params"), (Ids{"project.isImplRun", "true", "project.isImplRun", "false"}));
}

INSTANTIATE_TEST_SUITE_P(
    Names, ReportFileWord,
    ::testing::Values(NameCase{"Plain", "top"}, NameCase{"Blank", "my top"},
                      NameCase{"BlankAtTheEnds", " top "}, NameCase{"Tab", "a\tb"},
                      NameCase{"LineEnd", "a\nb"}, NameCase{"CarriageReturn", "a\rb"},
                      NameCase{"Braces", "{a}"}, NameCase{"BracesWithABlank", "{a b} c"},
                      NameCase{"OpenBrace", "a{b"}, NameCase{"CloseBrace", "a}b"},
                      NameCase{"BracesTheWrongWayRound", "} {"}, NameCase{"Brackets", "a[exit 1]b"},
                      NameCase{"OpenBracket", "a[b"}, NameCase{"CloseBracket", "a]b"},
                      NameCase{"Dollar", "$words"}, NameCase{"DollarBrace", "${words"},
                      NameCase{"Quote", "a\"b"}, NameCase{"Quotes", "\"a b\""},
                      NameCase{"Backslash", "a\\b"}, NameCase{"BackslashAndBlank", "a\\ b"},
                      NameCase{"Backslashes", "\\\\"}, NameCase{"BackslashAndBrace", "a\\{ b"},
                      NameCase{"Dash", "-file"}, NameCase{"DashAndBlank", "-a -b"},
                      NameCase{"Comment", "#top"}, NameCase{"Semicolon", "a;exit"},
                      NameCase{"Expansion", "{*}a b"}, NameCase{"ArrayElement", "a(0)"},
                      NameCase{"Glob", "*?~"}, NameCase{"NonAscii", "Gr\xC3\xBC\xC3\x9F"}),
    [](const auto& row) { return std::string(row.param.name); });

// All the rest goes as it is -------------------------------------------------

class ReportWordsTest : public ReportTclFixture {
protected:
    Ids wordsWith(const std::string& option, const std::string& value) {
        Ids words = wordsOf(add("route_design", "report_drc", {text(option, value)}));
        EXPECT_GE(words.size(), 2U);
        words.resize(words.size() - 2);  // without the file
        return words;
    }
};

TEST_F(ReportWordsTest, TakeAValueApartAtBlanks) {
    EXPECT_EQ(wordsWith("checks", "a b"), (Ids{"-checks", "a", "b"}));
}

TEST_F(ReportWordsTest, TakeAValueThatTheUserQuotedAsOne) {
    EXPECT_EQ(wordsWith("checks", "{a b}"), (Ids{"-checks", "a b"}));
    EXPECT_EQ(wordsWith("checks", "\"a b\""), (Ids{"-checks", "a b"}));
}

TEST_F(ReportWordsTest, HaveTheResultOfACommandInAValue) {
    EXPECT_EQ(wordsWith("checks", "[list {c d}]"), (Ids{"-checks", "{c d}"}));
}

TEST_F(ReportWordsTest, HaveTheContentOfAVariableInAValue) {
    run("set which all");
    EXPECT_EQ(wordsWith("checks", "$which"), (Ids{"-checks", "all"}));
}

TEST_F(ReportWordsTest, HaveTheSwitchesOfTheUserAmongThem) {
    EXPECT_EQ(wordsWith("MORE_OPTIONS", "-verbose -foo 1"), (Ids{"-verbose", "-foo", "1"}));
    EXPECT_EQ(wordsWith("MORE_OPTIONS", "-foo {1 2}"), (Ids{"-foo", "1 2"}));
}

TEST_F(ReportWordsTest, HaveTheOutputsBehindTheFile) {
    useDefaultStrategy();
    EXPECT_EQ(wordsOf(add("route_design", "report_power", {}, {text("pb"), text("rpx")})),
              (Ids{"-file", "top_power_routed.rpt", "-pb", "top_power_summary_routed.pb", "-rpx",
                   "top_power_routed.rpx"}));
}

TEST_F(ReportWordsTest, TakeTheFileOfAnOutputApartAtBlanks) {
    useDefaultStrategy();
    setTop("my top");
    EXPECT_EQ(
        wordsOf(add("route_design", "report_power", {}, {text("pb")})),
        (Ids{"-file", "my top_power_routed.rpt", "-pb", "my", "top_power_summary_routed.pb"}));
}

TEST_F(ReportWordsTest, EndWithTheWarningOnViolations) {
    const TestParam warn("project.enableWarnOnViolation", true);
    useDefaultStrategy();
    m_run->defaultLastStep = step("route_design");
    run("rename report_drc report_timing_summary");
    EXPECT_EQ(wordsOf(add("route_design", "report_timing_summary")),
              (Ids{"-file", "top_timing_summary_routed.rpt", "-warn_on_violation"}));
}

TEST_F(ReportWordsTest, LeaveTheParameterBackWhenTheCommandFails) {
    const TestParam messages("project.runs.opt_design.defaultBehaviorAsMessages", true);
    useDefaultStrategy();
    run("proc report_drc {args} {set ::words $args; error broken}");
    EXPECT_EQ(wordsOf(add("opt_design", "report_drc")),
              (Ids{"-file", "top_drc_opted.rpt", "-messages"}));
    EXPECT_EQ(list("params"), (Ids{"project.isImplRun", "true", "project.isImplRun", "false"}));
}

}  // namespace
