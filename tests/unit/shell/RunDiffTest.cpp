// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/runDiff.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "shell/diffView.h"
#include "tests/unit/workbench/TestBench.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/Project.h"
#include "workbench/openFlows.h"

namespace {

using reports::Figure;
using shell::DiffSide;
using shell::RunDiff;
using shell::TextDifference;
using workbench::ToolWarning;

ToolWarning warningOf(const std::string& text) {
    ToolWarning warning;
    warning.step = "route_design";
    warning.tool = "nextpnr-ice40";
    warning.text = text;
    warning.key = workbench::warningKey(text);
    return warning;
}

DiffSide sideOf(const std::string& name) {
    DiffSide side;
    side.name = name;
    side.run = {{"status", "done"}, {"strategy", "Default"}};
    side.options = {{"place_design.seed", "1"}, {"place_design.placer", "heap"}};
    side.inputs = {{"top", "blinky"}, {"blinky.v", "content 01004f0e2496"}};
    side.tools = {{"place_design", "nextpnr-ice40 0.4"}};
    side.reports = {{"route_design.report_timing", "generated"}};
    side.figures = {{"fmax", "Fmax", 50, "MHz", Figure::kHigher},
                    {"luts", "LUTs", 38, "", Figure::kLower},
                    {"seconds", "Run time", 3, "s", Figure::kLower}};
    side.warnings = {warningOf("clock 'clk': 45.10 MHz (FAIL at 48.00 MHz)")};
    return side;
}

/// Two runs that are the same until a test says otherwise.
class RunDiffTest : public ::testing::Test {
protected:
    RunDiff diff() const { return shell::diffOf(m_first, m_second); }
    std::string text() const { return shell::diffText(m_first, m_second, diff()); }

    DiffSide m_first = sideOf("a");
    DiffSide m_second = sideOf("b");
};

TEST_F(RunDiffTest, RunsThatAreTheSameAreToldAsThat) {
    EXPECT_TRUE(diff().isEqual());
    EXPECT_EQ(text(), "a and b don't differ in options, inputs, tools, results, reports and "
                      "warnings.\n");
}

TEST_F(RunDiffTest, TheTimeThatTheyTookAloneIsNoDifference) {
    m_second.figures[2].value = 4.5;
    EXPECT_TRUE(diff().isEqual());
    EXPECT_EQ(text(), "a and b don't differ in options, inputs, tools, results, reports and "
                      "warnings, but for the time that they took: 3 s and 4.5 s.\n");
}

TEST_F(RunDiffTest, OnlyWhatDiffersIsShown) {
    m_second.options[0].second = "2";
    m_second.tools[0].second = "nextpnr-ice40 0.5";
    EXPECT_FALSE(diff().isEqual());
    EXPECT_EQ(text(), "Options            a  b\n"
                      "place_design.seed  1  2\n"
                      "\n"
                      "Tools         a                  b\n"
                      "place_design  nextpnr-ice40 0.4  nextpnr-ice40 0.5\n");
}

TEST_F(RunDiffTest, EachKindOfDifferenceCounts) {
    for (const auto part : {&DiffSide::run, &DiffSide::options, &DiffSide::inputs, &DiffSide::tools,
                            &DiffSide::reports}) {
        m_second = sideOf("b");
        (m_second.*part)[0].second = "else";
        EXPECT_FALSE(diff().isEqual());
    }
    m_second = sideOf("b");
    m_second.figures[0].value = 51;
    EXPECT_FALSE(diff().isEqual());
    m_second = sideOf("b");
    m_second.warnings.clear();
    EXPECT_FALSE(diff().isEqual());
}

TEST_F(RunDiffTest, WhatOneSideLacksIsADifference) {
    m_first.inputs.emplace_back("uart.v", "content 1");
    m_second.inputs.emplace_back("fifo.v", "missing");
    const std::vector<TextDifference> inputs = diff().inputs;
    ASSERT_EQ(inputs.size(), 2U);
    EXPECT_EQ(inputs[0].name, "uart.v");
    EXPECT_EQ(inputs[0].second, std::nullopt);
    EXPECT_EQ(inputs[1].first, std::nullopt);
    EXPECT_EQ(inputs[1].second, "missing");
}

TEST_F(RunDiffTest, AFigureIsToldWithItsChangeAndWhetherThatIsBetter) {
    m_second.figures[0].value = 53;
    m_second.figures[1].value = 40;
    EXPECT_EQ(text(), "Figures   a   b   Change\n"
                      "Fmax MHz  50  53  +3 (+6.0 %), better\n"
                      "LUTs      38  40  +2 (+5.3 %), worse\n");
}

TEST_F(RunDiffTest, AFigureThatOneLacksHasNoChange) {
    m_second.figures.erase(m_second.figures.begin());
    const auto figures = diff().figures;
    ASSERT_EQ(figures.size(), 1U);
    EXPECT_EQ(figures[0].change(), std::nullopt);
    EXPECT_EQ(figures[0].percent(), std::nullopt);
    EXPECT_EQ(text(), "Figures   a   b  Change\nFmax MHz  50  -  -\n");
}

TEST_F(RunDiffTest, AChangeOfDecimalFiguresIsDecimal) {
    m_first.figures[0].value = 157.406;
    m_second.figures[0].value = 149.813;
    EXPECT_EQ(diff().figures[0].change(), -7.593);
    EXPECT_EQ(diff().figures[0].percent(), -4.82383137);
}

TEST_F(RunDiffTest, OfWhatIsBelowZeroNoPartIsTold) {
    m_first.figures[0].value = -2;
    EXPECT_EQ(diff().figures[0].percent(), std::nullopt);
    EXPECT_EQ(diff().figures[0].change(), 52);
}

TEST_F(RunDiffTest, AWarningIsNewWhenTheOtherNeverToldIt) {
    m_second.warnings = {warningOf("clock 'clk': 41.00 MHz (FAIL at 48.00 MHz)"),
                         warningOf("no clock 'x'")};
    m_second.warnings[1].count = 3;
    m_first.warnings.push_back(warningOf("unused 'y'"));
    EXPECT_EQ(text(), "New warnings in b\n"
                      "  route_design: no clock 'x' (3 times)\n"
                      "\n"
                      "Gone, only in a\n"
                      "  route_design: unused 'y'\n");
}

TEST_F(RunDiffTest, AWarningIsToldWithItsPlaceAndWithoutControlCharacters) {
    m_second.warnings.push_back(warningOf("bad \x1b[31m name"));
    m_second.warnings.back().file = "/a/t.v";
    m_second.warnings.back().line = 12;
    EXPECT_NE(text().find("route_design: /a/t.v:12: bad "), std::string::npos);
    EXPECT_EQ(text().find('\x1b'), std::string::npos);
}

TEST_F(RunDiffTest, AFamilyHasMediansAndAllValuesOfItsRuns) {
    std::vector<DiffSide> sides(3, sideOf("a"));
    for (int i = 0; i < 3; ++i) {
        sides[i].options[0].second = std::to_string(i + 1);
        sides[i].figures[0].value = 50 + i * i;
    }
    sides[2].warnings.push_back(warningOf("only the third"));
    const DiffSide family = shell::familySide("f", sides);
    EXPECT_TRUE(family.isFamily);
    EXPECT_EQ(family.options[0].second, "1, 2, 3");
    EXPECT_EQ(family.options[1].second, "heap");
    EXPECT_EQ(family.figures[0].value, 51);
    EXPECT_EQ(family.warnings.size(), 2U);
}

TEST_F(RunDiffTest, AVerdictTakesThePlaceOfTheChange) {
    m_second.figures[0].value = 53;
    RunDiff told = diff();
    told.figures[0].verdict = "no real difference";
    EXPECT_EQ(shell::diffText(m_first, m_second, told),
              "Figures   a   b   Change\nFmax MHz  50  53  no real difference\n");
}

TEST_F(RunDiffTest, AsJsonItHasNullForWhatIsMissing) {
    m_second.figures.erase(m_second.figures.begin());
    m_second.options.pop_back();
    const nlohmann::json json = shell::diffJson(m_first, m_second, diff());
    EXPECT_EQ(json["equal"], false);
    EXPECT_EQ(json["kind"], "runs");
    EXPECT_TRUE(json["figures"][0]["second"].is_null());
    EXPECT_TRUE(json["figures"][0]["verdict"].is_null());
    EXPECT_EQ(json["options"][0]["first"], "heap");
    EXPECT_TRUE(json["options"][0]["second"].is_null());
    EXPECT_TRUE(json["new_warnings"].empty());
}

TEST(RunDiffProjectTest, RunsThatWereNeverLaunchedAreHeldAgainstEachOtherToo) {
    const test::TestBench bench;
    const auto project = Project::create(bench.path("proj"), bench.inputs());
    project->createRun("synth_1", *OpenFlows::getSynthesis(), "Default", "");
    HAXPExpRun& first = project->createRun("a", *OpenFlows::getImplementation(), "Default", "");
    HAXPExpRun& second = project->createRun("b", *OpenFlows::getImplementation(), "Default", "");
    project->setOption(second, "place_design.seed", "7");
    const RunDiff diff =
        shell::diffOf(shell::diffSide(*project, first), shell::diffSide(*project, second));
    ASSERT_EQ(diff.options.size(), 1U);
    EXPECT_EQ(diff.options[0].name, "place_design.seed");
    EXPECT_EQ(diff.options[0].second, "7");
    EXPECT_TRUE(diff.inputs.empty());
    EXPECT_TRUE(diff.figures.empty());
}

}  // namespace
