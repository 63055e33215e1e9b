// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/reports/report.h"

#include <string>

#include <gtest/gtest.h>

#include "tests/support/RunDir.h"
#include "workbench/reports/reportFigures.h"

using namespace reports;

namespace {

Report sample() {
    Report report;
    report.command = "report_x";
    report.title = "Sample";
    report.step = "route_design";
    report.head = {{"Step", "route_design"}, {"Tool", ""}};
    report.sections = {{"Table",
                        {"A sentence."},
                        {{"Name"}, {"Delay ns", true}},
                        {{textCell("a"), numberCell(1.5, 3)}, {textCell("longer"), noCell()}}},
                       {"Nothing", {}, {}, {}}};
    report.figures = {{"fmax", "Fmax", 54.25, "MHz", Figure::kHigher},
                      {"luts", "LUTs", 7, "", Figure::kLower},
                      {"clocks", "Clocks", 1, "", Figure::kNeither}};
    return report;
}

TEST(ReportTest, ReadsWellAsText) {
    EXPECT_EQ(formatText(sample()), "Report report_x: Sample\n"
                                    "=======================\n"
                                    "\n"
                                    "Step  route_design\n"
                                    "Tool  -\n"
                                    "\n"
                                    "1. Table\n"
                                    "--------\n"
                                    "\n"
                                    "A sentence.\n"
                                    "\n"
                                    "  Name    Delay ns\n"
                                    "  ------  --------\n"
                                    "  a          1.500\n"
                                    "  longer         -\n"
                                    "\n"
                                    "2. Nothing\n"
                                    "----------\n"
                                    "\n"
                                    "None.\n");
}

TEST(ReportTest, LetsNoNameMoveTheCursor) {
    Report report = sample();
    report.sections[0].rows[0][0] = textCell("a\nb\x1b[2J");
    EXPECT_NE(formatText(report).find("  a?b?[2J"), std::string::npos);
}

TEST(ReportTest, ShortensLongNamesButNotTheLastColumn) {
    Report report = sample();
    const std::string name = "begin" + std::string(90, 'x') + "end";
    report.sections[0].columns[1].isNumber = false;
    report.sections[0].rows = {{textCell(name), textCell(name)}};
    const std::string text = formatText(report);
    EXPECT_NE(text.find("  begin" + std::string(21, 'x') + ".." + std::string(17, 'x') + "end  " +
                        name + "\n"),
              std::string::npos)
        << text;
}

TEST(ReportTest, AlignsLettersOfMoreThanOneByte) {
    Report report = sample();
    report.sections[0].rows = {{textCell("\xc3\xa4\xc3\xa4"), countCell(3)}};
    EXPECT_NE(formatText(report).find("  \xc3\xa4\xc3\xa4           3\n"), std::string::npos);
}

TEST(ReportTest, GivesProgramsNumbersAndNullForWhatNobodyTold) {
    const std::string json = formatJson(sample());
    EXPECT_EQ(json.rfind("{\n  \"format\": \"xperiment-report\",\n  \"version\": 1,\n", 0), 0u);
    EXPECT_NE(json.find("\"a\",\n          1.5\n"), std::string::npos) << json;
    EXPECT_NE(json.find("\"longer\",\n          null\n"), std::string::npos) << json;
}

TEST(ReportTest, WritesBytesThatAreNoTextAsJsonAllTheSame) {
    Report report = sample();
    report.sections[0].rows[0][0] = textCell("a\xff");
    ReportFigures figures;
    std::string reason;
    EXPECT_TRUE(parseFigures(formatJson(report), figures, reason)) << reason;
}

TEST(ReportTest, IsKnownByItsFirstWordsInBothForms) {
    EXPECT_TRUE(isReport(formatText(sample())));
    EXPECT_TRUE(isReport(formatJson(sample())));
    EXPECT_FALSE(isReport("module top;"));
    EXPECT_FALSE(isReport(""));
}

TEST(ReportFiguresTest, SurviveWritingAndReading) {
    ReportFigures read;
    std::string reason = "untouched";
    ASSERT_TRUE(parseFigures(formatJson(sample()), read, reason));
    EXPECT_EQ(reason, "untouched");
    EXPECT_EQ(read.report, "report_x");
    EXPECT_EQ(read.step, "route_design");
    ASSERT_EQ(read.figures.size(), 3u);
    EXPECT_EQ(read.figures[0].name, "fmax");
    EXPECT_EQ(read.figures[0].label, "Fmax");
    EXPECT_DOUBLE_EQ(read.figures[0].value, 54.25);
    EXPECT_EQ(read.figures[0].unit, "MHz");
    EXPECT_EQ(read.figures[0].better, Figure::kHigher);
    EXPECT_EQ(read.figures[1].better, Figure::kLower);
    EXPECT_EQ(read.figures[2].better, Figure::kNeither);
}

std::string figuresRefusal(const std::string& text) {
    ReportFigures figures;
    figures.report = "kept";
    std::string reason;
    EXPECT_FALSE(parseFigures(text, figures, reason)) << text;
    EXPECT_EQ(figures.report, "kept");
    return reason;
}

TEST(ReportFiguresTest, RefuseATextThatIsCutShortAnywhere) {
    const std::string text = formatJson(sample());
    for (std::size_t size = 0; size + 2 < text.size(); ++size)
        EXPECT_EQ(figuresRefusal(text.substr(0, size)),
                  "it is not valid JSON; it may have been cut short");
}

TEST(ReportFiguresTest, RefuseWhatTheyCantUnderstand) {
    EXPECT_EQ(figuresRefusal("{}"), "it is no report in its JSON form");
    EXPECT_EQ(figuresRefusal(R"({"format":"xperiment-report","version":2})"),
              "it has version 2, and this program reads up to 1");
    EXPECT_EQ(figuresRefusal(R"({"format":"xperiment-report","version":1})"),
              "a value of it is missing or of the wrong kind");
    EXPECT_EQ(figuresRefusal(R"({"format":"xperiment-report","version":1,"report":"r","step":"s",
                         "figures":[{"name":"n","label":"l","unit":"","value":"7"}]})"),
              "a figure of it is missing a value or of the wrong kind");
}

TEST(ReportFiguresTest, NameTheFileThatCantBeRead) {
    const test::RunDir dir;
    ReportFigures figures;
    std::string reason;
    EXPECT_FALSE(readFigures(dir.path("none.json"), figures, reason));
    EXPECT_EQ(reason, "'" + dir.path("none.json") + "' can't be read: No such file or directory");
    dir.mark("bad.json", "[");
    EXPECT_FALSE(readFigures(dir.path("bad.json"), figures, reason));
    EXPECT_EQ(reason, "'" + dir.path("bad.json") +
                          "' can't be read: it is not valid JSON; it may have been cut short");
    dir.mark("good.json", formatJson(sample()));
    EXPECT_TRUE(readFigures(dir.path("good.json"), figures, reason));
}

}  // namespace
