// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/toolWarnings.h"

#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/unit/workbench/TestBench.h"
#include "workbench/HAXPExpRun.h"

namespace {

using workbench::ToolWarning;
using Texts = std::vector<std::string>;

std::vector<ToolWarning> warningsIn(const std::string& log) {
    std::istringstream in(log);
    return workbench::warningsIn(in);
}

Texts warningTexts(const std::vector<ToolWarning>& warnings) {
    Texts texts;
    for (const ToolWarning& warning : warnings)
        texts.push_back(warning.step + "|" + warning.tool + "|" + warning.text);
    return texts;
}

const char kSynthesis[] =
    "Command: yosys -Q -p 'read_verilog \"/a/t.v\"'\n"
    "Warning: Resizing cell port top.s.y from 3 bits to 4 bits.\n"
    "/a/t.v:12: Warning: Identifier `x' is implicitly declared.\n"
    "ABC: Warning: The network is combinational (run \"fraig\" or \"fraig_sweep\").\n"
    "Warnings: 2 unique messages, 2 total\n";

TEST(ToolWarningsTest, FindsEachWarningWithItsStepAndTool) {
    EXPECT_EQ(warningTexts(warningsIn(kSynthesis)),
              (Texts{"synth_design|yosys|Resizing cell port top.s.y from 3 bits to 4 bits.",
                     "synth_design|yosys|Identifier `x' is implicitly declared.",
                     "synth_design|yosys|ABC: The network is combinational (run \"fraig\" or "
                     "\"fraig_sweep\")."}));
}

TEST(ToolWarningsTest, TellsThePlaceInTheSources) {
    const std::vector<ToolWarning> warnings = warningsIn(kSynthesis);
    EXPECT_EQ(warnings[0].file, "");
    EXPECT_EQ(warnings[0].line, 0);
    EXPECT_EQ(warnings[1].file, "/a/t.v");
    EXPECT_EQ(warnings[1].line, 12);
}

TEST(ToolWarningsTest, CountsAWarningThatIsToldAgain) {
    const std::vector<ToolWarning> warnings =
        warningsIn("Warning: Max frequency for clock 'clk': 52.50 MHz (FAIL at 60.00 MHz)\n"
                   "Warning: Max frequency for clock 'clk': 51.20 MHz (FAIL at 60.00 MHz)\n");
    ASSERT_EQ(warnings.size(), 1U);
    EXPECT_EQ(warnings[0].count, 2U);
    EXPECT_EQ(warnings[0].text, "Max frequency for clock 'clk': 52.50 MHz (FAIL at 60.00 MHz)");
    EXPECT_EQ(warnings[0].step, "");
}

TEST(ToolWarningsTest, AStepsToolAndItsReportsBelongToIt) {
    EXPECT_EQ(
        warningTexts(warningsIn("Command: nextpnr-ice40 --hx8k --seed 1 --no-route\n"
                                "Warning: one\n"
                                "Command: nextpnr-ice40 --hx8k --seed 1\nWarning: two\n"
                                "Command: icetime -d hx8k\nWarning: three\n"
                                "Command: /opt/bin/tarnel -source r.tcl -tclargs route_design\n"
                                "WARNING: four\n"
                                "Command: icepack a b\nwarning: five\n"
                                "Command: mytool\nWarning: six\n")),
        (Texts{"place_design|nextpnr-ice40|one", "route_design|nextpnr-ice40|two",
               "route_design|icetime|three", "route_design|tarnel|four",
               "write_bitstream|icepack|five", "|mytool|six"}));
}

TEST(ToolWarningsTest, AStepThatRunsAgainTakesBackItsWarningsAndTheLaterOnes) {
    EXPECT_EQ(warningTexts(warningsIn("Command: nextpnr-ice40 --no-route\nWarning: kept\n"
                                      "Command: nextpnr-ice40 --seed 1\nWarning: old\n"
                                      "Command: icepack a b\nWarning: older\n"
                                      "Command: nextpnr-ice40 --seed 1\nWarning: new\n")),
              (Texts{"place_design|nextpnr-ice40|kept", "route_design|nextpnr-ice40|new"}));
}

TEST(ToolWarningsTest, WhatOnlySpeaksOfWarningsIsNone) {
    EXPECT_TRUE(warningsIn("Warnings: 5 unique messages, 5 total\n7 warnings, 1 error\n"
                           "Info: no Warning: here\nWarning: \nWarning:\n")
                    .empty());
}

TEST(ToolWarningsTest, KeepsTenThousand) {
    std::string log;
    for (int i = 0; i < 10050; ++i)
        log += "Warning: wire w" + std::to_string(i) + "x\n";
    EXPECT_EQ(warningsIn(log).size(), 10000U);
}

TEST(ToolWarningsTest, NothingThatIsCutInTheMiddleHurts) {
    const std::string log = kSynthesis;
    for (std::size_t size = 0; size < log.size(); ++size)
        EXPECT_LE(warningsIn(log.substr(0, size)).size(), 3U);
}

TEST(ToolWarningsTest, NewIsWhatTheOtherLacksInTheSameStep) {
    const auto before = warningsIn("Command: nextpnr-ice40 --no-route\nWarning: a\nWarning: b\n");
    const auto after = warningsIn("Command: nextpnr-ice40 --no-route\nWarning: b\n"
                                  "Command: nextpnr-ice40\nWarning: a\n");
    EXPECT_EQ(warningTexts(workbench::warningsBeyond(after, before)),
              (Texts{"route_design|nextpnr-ice40|a"}));
    EXPECT_EQ(warningTexts(workbench::warningsBeyond(before, after)),
              (Texts{"place_design|nextpnr-ice40|a"}));
    EXPECT_TRUE(workbench::warningsBeyond(before, before).empty());
}

TEST(ToolWarningsTest, ARunTellsThoseOfItsLog) {
    const test::TestBench bench;
    const auto run = bench.makeRun(test::TestBench::synthesis());
    EXPECT_TRUE(workbench::warningsOf(*run).empty());
    run->setRunDir(bench.folder().path(), false);
    EXPECT_TRUE(workbench::warningsOf(*run).empty());
    bench.folder().mark("runme.log", kSynthesis);
    EXPECT_EQ(workbench::warningsOf(*run).size(), 3U);
}

/// Two texts of a tool, and whether they are the same warning.
struct KeyCase {
    const char* name;
    const char* first;
    const char* second;
    bool isSame;
};

std::ostream& operator<<(std::ostream& os, const KeyCase& row) {
    return os << row.name;
}

class WarningKeyTable : public ::testing::TestWithParam<KeyCase> {};

TEST_P(WarningKeyTable, TellsWhetherAWarningIsTheSame) {
    const KeyCase& row = GetParam();
    EXPECT_EQ(workbench::warningKey(row.first) == workbench::warningKey(row.second), row.isSame)
        << workbench::warningKey(row.first) << '\n'
        << workbench::warningKey(row.second);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, WarningKeyTable,
    ::testing::Values(
        KeyCase{"Frequency", "clock 'clk': 52.50 MHz (FAIL at 60.00 MHz)",
                "clock 'clk': 41.07 MHz (FAIL at 60.00 MHz)", true},
        KeyCase{"Outcome", "clock 'clk': 52.50 MHz (FAIL)", "clock 'clk': 52.50 MHz (PASS)", false},
        KeyCase{"ClockName", "clock 'clk': 52.50 MHz", "clock 'sck': 52.50 MHz", false},
        KeyCase{"Folder", "can't use /home/a/x.v here", "can't use /srv/b/c/x.v here", true},
        KeyCase{"FileName", "can't use /home/a/x.v here", "can't use /home/a/y.v here", false},
        KeyCase{"LineOfAFile", "x.v:12: wire", "x.v:130: wire", true},
        KeyCase{"Columns", "x.v:12.3-14.9: wire", "x.v:13.3-15.9: wire", true},
        KeyCase{"LineInWords", "constraint 'a' (on line 12)", "constraint 'a' (on line 3)", true},
        KeyCase{"GeneratedName", "cell $and$/a/t.v:5$2 ($and)", "cell $and$/b/t.v:7$31 ($and)",
                true},
        KeyCase{"GeneratedKind", "cell $and$/a/t.v:5$2", "cell $or$/a/t.v:5$2", false},
        KeyCase{"Width", "port y from 3 bits to 4 bits", "port y from 3 bits to 8 bits", false},
        KeyCase{"Index", "IO 'a[1]' is free", "IO 'a[2]' is free", false},
        KeyCase{"BitRange", "wire w [7:0] has", "wire w [3:0] has", false},
        KeyCase{"Address", "object at 0x7f3a90", "object at 0x11", true},
        KeyCase{"Checksum", "digest b17db8f958 used", "digest 0a1bc2d3e4 used", true},
        KeyCase{"PlainWord", "deadbeef used", "feedface used", false},
        KeyCase{"TimeOfDay", "at 12:33:10 it", "at 09:01:59 it", true},
        KeyCase{"Date", "on 2026-11-21T06:12:00Z it", "on 2027-01-02T16:00:01Z it", true},
        KeyCase{"Seconds", "took 12 s", "took 3 s", true},
        KeyCase{"SecondsGlued", "took 12s, 30%", "took 3s, 4%", true},
        KeyCase{"Process", "process 4242 ended", "process 17 ended", true},
        KeyCase{"Negative", "slack -1.25 ns", "slack -0.5 ns", true},
        KeyCase{"Count", "7 cells left", "8 cells left", false},
        KeyCase{"Padding", "a   b", "a b", true}, KeyCase{"Empty", "", "", true}),
    [](const auto& row) { return std::string(row.param.name); });

}  // namespace
