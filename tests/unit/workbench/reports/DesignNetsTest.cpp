// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/reports/designNets.h"

#include <ostream>
#include <string>

#include <gtest/gtest.h>

#include "tests/unit/workbench/reports/reportBench.h"
#include "workbench/reports/combinationalLoops.h"

using namespace reports;

namespace {

Design benchDesign() {
    Design design;
    std::string reason;
    EXPECT_TRUE(parseDesign(test::ReportBench::netlist(), "", design, reason)) << reason;
    return design;
}

DesignCell lut(const std::string& name, int input, int output) {
    DesignCell cell;
    cell.name = name;
    cell.type = "SB_LUT4";
    cell.pins = {{"I0", input, false, false}, {"O", output, true, false}};
    return cell;
}

TEST(DesignNetsTest, TellsDriversAndReadersOfANet) {
    const Design design = benchDesign();
    const std::map<int, NetUse> uses = findUses(design);
    EXPECT_EQ(driverText(uses.at(2)), "port clk");
    EXPECT_EQ(uses.at(2).loads, 6);
    EXPECT_EQ(driverText(uses.at(10)), "SB_DFFE core.a");
    EXPECT_TRUE(uses.at(10).isRead());
    EXPECT_FALSE(uses.at(4).isRead());
    EXPECT_EQ(driverText(NetUse()), "nothing");
}

TEST(DesignNetsTest, TakesAWriteEnableOfARamForNoClock) {
    const Design design = benchDesign();
    const std::vector<DesignClock> clocks = findClocks(design, findUses(design));
    ASSERT_EQ(clocks.size(), 1u);
    EXPECT_EQ(clocks[0].name, "clk");
    EXPECT_EQ(clocks[0].rising, 3);
    EXPECT_EQ(clocks[0].falling, 1);
    EXPECT_EQ(clocks[0].rams, 2);
    EXPECT_FALSE(clocks[0].isFromLogic);
    EXPECT_EQ(findClock(clocks, "clk"), &clocks[0]);
    EXPECT_EQ(findClock(clocks, "other"), nullptr);
}

struct FlipFlopCase {
    const char* type;
    bool isFalling;
    bool hasEnable;
    const char* setReset;
};

std::ostream& operator<<(std::ostream& os, const FlipFlopCase& row) {
    return os << row.type;
}

class FlipFlopTable : public ::testing::TestWithParam<FlipFlopCase> {};

TEST_P(FlipFlopTable, ReadsTheKindFromTheName) {
    FlipFlopKind kind;
    ASSERT_TRUE(readFlipFlop(GetParam().type, kind));
    EXPECT_EQ(kind.isFalling, GetParam().isFalling);
    EXPECT_EQ(kind.hasEnable, GetParam().hasEnable);
    EXPECT_EQ(kind.setReset, GetParam().setReset);
}

INSTANTIATE_TEST_SUITE_P(Family, FlipFlopTable,
                         ::testing::Values(FlipFlopCase{"SB_DFF", false, false, ""},
                                           FlipFlopCase{"SB_DFFE", false, true, ""},
                                           FlipFlopCase{"SB_DFFSR", false, false, "SR"},
                                           FlipFlopCase{"SB_DFFR", false, false, "R"},
                                           FlipFlopCase{"SB_DFFSS", false, false, "SS"},
                                           FlipFlopCase{"SB_DFFS", false, false, "S"},
                                           FlipFlopCase{"SB_DFFESR", false, true, "SR"},
                                           FlipFlopCase{"SB_DFFN", true, false, ""},
                                           FlipFlopCase{"SB_DFFNE", true, true, ""},
                                           FlipFlopCase{"SB_DFFNESS", true, true, "SS"}),
                         [](const auto& row) { return std::string(row.param.type); });

TEST(DesignNetsTest, TakesOtherCellsForNoFlipFlop) {
    FlipFlopKind kind;
    EXPECT_FALSE(readFlipFlop("SB_LUT4", kind));
    EXPECT_FALSE(readFlipFlop("SB_DFFX", kind));
}

TEST(CombinationalLoopsTest, AreNotFoundInAChain) {
    Design design;
    design.cells = {lut("a", 1, 2), lut("b", 2, 3), lut("c", 3, 4)};
    EXPECT_TRUE(findCombinationalLoops(design).empty());
}

TEST(CombinationalLoopsTest, AreFoundEachOnItsOwn) {
    Design design;
    design.cells = {lut("a", 3, 2), lut("b", 2, 3), lut("alone", 7, 7), lut("c", 3, 4)};
    const auto loops = findCombinationalLoops(design);
    ASSERT_EQ(loops.size(), 2u);
    ASSERT_EQ(loops[0].size(), 2u);
    EXPECT_EQ(loops[0][0]->name, "a");
    EXPECT_EQ(loops[0][1]->name, "b");
    EXPECT_EQ(loops[1][0]->name, "alone");
}

TEST(CombinationalLoopsTest, EndAtAFlipFlop) {
    Design design;
    design.cells = {lut("a", 3, 2), lut("b", 2, 3)};
    design.cells[1].type = "SB_DFF";
    EXPECT_TRUE(findCombinationalLoops(design).empty());
}

TEST(CombinationalLoopsTest, AreSearchedThroughAVeryDeepDesign) {
    Design design;
    for (int i = 0; i < 200000; ++i)
        design.cells.push_back(lut("c" + std::to_string(i), i, i + 1));
    EXPECT_TRUE(findCombinationalLoops(design).empty());
    design.cells.push_back(lut("back", 200000, 0));
    EXPECT_EQ(findCombinationalLoops(design).size(), 1u);
}

}  // namespace
