// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/ice40/reports.h"

#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "tests/unit/workbench/ice40/reportData.h"

using namespace ice40;

namespace {

TEST(StatReportTest, GivesTheCellsOfTheWholeDesign) {
    CellCounts cells;
    std::string reason = "untouched";
    ASSERT_TRUE(parseStatReport(test::reportData("uart_echo.stat.json"), cells, reason));
    EXPECT_EQ(reason, "untouched");
    EXPECT_EQ(cells.creator, "Yosys 0.23 (git sha1 7ce5011c24b)");
    EXPECT_EQ(cells.cells, 184);
    EXPECT_EQ(cells.byType.at("SB_RAM40_4K"), 1);
}

TEST(StatReportTest, SumsTheKindsOfFlipFlops) {
    CellCounts cells;
    std::string reason;
    ASSERT_TRUE(parseStatReport(test::reportData("rv32i.stat.json"), cells, reason));
    StepMetrics metrics;
    addCounts(cells, metrics);
    EXPECT_EQ(metrics.count(counts::kLuts), 1066);
    EXPECT_EQ(metrics.count(counts::kFlipFlops), 173);
    EXPECT_EQ(metrics.count(counts::kBlockRams), 12);
    EXPECT_EQ(metrics.count(counts::kDsps), 0);
    EXPECT_EQ(metrics.count(counts::kCells), cells.cells);
}

TEST(StatReportTest, CountsOnlyTypesWithThePrefix) {
    CellCounts cells;
    cells.byType = {{"SB_CARRY", 1}, {"SB_DFF", 2}, {"SB_DFFE", 4}, {"SB_GB", 8}};
    EXPECT_EQ(cells.startingWith("SB_DFF"), 6);
    EXPECT_EQ(cells.startingWith("SB_X"), 0);
}

TEST(StatReportTest, IsRefusedWhenItIsCutAnywhere) {
    const std::string whole = test::reportData("tiny.stat.json");
    const std::size_t end = whole.rfind('}');
    for (std::size_t length = 0; length <= end; ++length) {
        CellCounts cells;
        cells.cells = -1;
        std::string reason;
        EXPECT_FALSE(parseStatReport(whole.substr(0, length), cells, reason)) << length;
        EXPECT_EQ(cells.cells, -1);
    }
}

TEST(StatReportTest, IsRefusedWithoutCounts) {
    CellCounts cells;
    std::string reason;
    EXPECT_FALSE(parseStatReport(R"({"modules":{}})", cells, reason));
    EXPECT_EQ(reason, "it holds no cell counts of a design");
    EXPECT_FALSE(parseStatReport(R"({"design":{"num_cells":1,"num_cells_by_type":{"SB_DFF":"1"}}})",
                                 cells, reason));
    EXPECT_EQ(reason, "a cell count of it is not a number");
}

TEST(PnrReportTest, GivesUtilisationAndClocksAfterRouting) {
    StepMetrics metrics;
    std::string reason = "untouched";
    ASSERT_TRUE(parsePnrReport(test::reportData("tiny.route.json"), metrics, reason));
    EXPECT_EQ(reason, "untouched");
    EXPECT_EQ(metrics.count(counts::kLogicCells), 5);
    EXPECT_EQ(metrics.count(counts::kLogicCellsAvailable), 7680);
    EXPECT_EQ(metrics.count(counts::kBlockRamsAvailable), 32);
    EXPECT_EQ(metrics.count(counts::kIos), 6);
    EXPECT_EQ(metrics.count(counts::kGlobalBuffers), 1);
    EXPECT_EQ(metrics.count(counts::kDsps), std::nullopt);
    ASSERT_EQ(metrics.clocks.size(), 1u);
    EXPECT_EQ(metrics.clocks[0].name, "clk$SB_IO_IN_$glb_clk");
    EXPECT_NEAR(metrics.clocks[0].fmaxMhz, 655.31, 0.005);
    EXPECT_DOUBLE_EQ(metrics.clocks[0].targetMhz, 1000);
    EXPECT_NEAR(metrics.clocks[0].slackNs(), -0.526, 0.0005);
}

TEST(PnrReportTest, HasNoClocksAfterPlacing) {
    StepMetrics metrics;
    std::string reason;
    ASSERT_TRUE(parsePnrReport(test::reportData("uart_echo.place.json"), metrics, reason));
    EXPECT_TRUE(metrics.clocks.empty());
    EXPECT_EQ(metrics.count(counts::kBlockRams), 1);
}

TEST(PnrReportTest, IsRefusedWhenItIsCutAnywhere) {
    const std::string whole = test::reportData("tiny.route.json");
    const std::size_t end = whole.rfind('}');
    for (std::size_t length = 0; length <= end; ++length) {
        StepMetrics metrics;
        std::string reason;
        EXPECT_FALSE(parsePnrReport(whole.substr(0, length), metrics, reason)) << length;
        EXPECT_TRUE(metrics.counts.empty());
    }
}

TEST(PnrReportTest, IsRefusedWithValuesOfTheWrongKind) {
    StepMetrics metrics;
    std::string reason;
    EXPECT_FALSE(parsePnrReport(R"({"fmax":{}})", metrics, reason));
    EXPECT_EQ(reason, "it holds no utilisation or no clock table");
    EXPECT_FALSE(
        parsePnrReport(R"({"fmax":{},"utilization":{"ICESTORM_LC":{"used":1}}})", metrics, reason));
    EXPECT_EQ(reason, "a utilisation of it is not a number");
    EXPECT_FALSE(parsePnrReport(
        R"({"fmax":{"clk":{"achieved":0,"constraint":12}},"utilization":{}})", metrics, reason));
    EXPECT_EQ(reason, "a clock of it has no frequency");
}

PnrLog readLog(const std::string& text) {
    PnrLog log;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        log.readLine(line);
    return log;
}

TEST(PnrLogTest, GivesTheChecksumsInOrder) {
    const PnrLog log = readLog(test::reportData("tiny.place.log"));
    ASSERT_EQ(log.checksums().size(), 3u);
    EXPECT_EQ(log.checksums()[0], "0xeda32b9d");
    EXPECT_EQ(log.checksums()[1], "0xc703206c");
}

TEST(PnrLogTest, GivesTheEstimatedClockOfThePlacement) {
    const PnrLog log = readLog(test::reportData("tiny.place.log"));
    ASSERT_EQ(log.clocks().size(), 1u);
    EXPECT_EQ(log.clocks()[0].name, "clk$SB_IO_IN_$glb_clk");
    EXPECT_DOUBLE_EQ(log.clocks()[0].fmaxMhz, 655.31);
    EXPECT_DOUBLE_EQ(log.clocks()[0].targetMhz, 1000);
}

TEST(PnrLogTest, KeepsTheLastSummaryOfAClock) {
    const PnrLog log =
        readLog("Info: Max frequency for clock 'clk': 100.00 MHz (PASS at 12.00 MHz)\n"
                "Info: Max frequency for clock   'b': 20.00 MHz (PASS at 12.00 MHz)\n"
                "Warning: Max frequency for clock 'clk': 10.50 MHz (FAIL at 12.00 MHz)\n");
    ASSERT_EQ(log.clocks().size(), 2u);
    EXPECT_DOUBLE_EQ(log.clocks()[0].fmaxMhz, 10.5);
    EXPECT_EQ(log.clocks()[1].name, "b");
}

TEST(PnrLogTest, PassesOverClockLinesThatItCannotRead) {
    const PnrLog log = readLog("Info: Max frequency for clock 'clk': fast (PASS at 12.00 MHz)\n"
                               "Info: Max frequency for clock 'clk': 12.0\n"
                               "Info: Max frequency for clock clk\n"
                               "Info: Max frequency for clock 'clk': 0.0 MHz (PASS at 0 MHz)\n");
    EXPECT_TRUE(log.clocks().empty());
}

TEST(PnrLogTest, AddsLutsAndFlipFlopsOfTheLogicCells) {
    StepMetrics metrics;
    readLog(test::reportData("tiny.place.log")).addCounts(metrics);
    EXPECT_EQ(metrics.count(counts::kLuts), 3);
    EXPECT_EQ(metrics.count(counts::kFlipFlops), 2);
}

TEST(PnrLogTest, AddsNothingWhenTheLogSaysNothing) {
    StepMetrics metrics;
    readLog("Info:   12 LCs used as LUT4 only\n").addCounts(metrics);
    EXPECT_TRUE(metrics.counts.empty());
}

TEST(IcetimeLineTest, GivesTheFrequency) {
    EXPECT_EQ(parseIcetimeLine("// Timing estimate: 12.65 ns (79.07 MHz)"), 79.07);
}

TEST(IcetimeLineTest, IsNothingElse) {
    EXPECT_EQ(parseIcetimeLine("// Creating timing netlist.."), std::nullopt);
    EXPECT_EQ(parseIcetimeLine("// Timing estimate: 12.65 ns"), std::nullopt);
    EXPECT_EQ(parseIcetimeLine("// Timing estimate: 12.65 ns (79.07"), std::nullopt);
    EXPECT_EQ(parseIcetimeLine("// Timing estimate: 0 ns (x MHz)"), std::nullopt);
}

}  // namespace
