// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/reports/pnrReport.h"

#include <string>

#include <gtest/gtest.h>

#include "tests/unit/workbench/reports/reportBench.h"

using namespace reports;

namespace {

/// The reason why a text is refused; fails the test when it isn't.
std::string pnrRefusal(const std::string& text) {
    PnrReport report;
    report.hasNets = true;
    std::string reason;
    EXPECT_FALSE(parsePnrDetails(text, report, reason)) << text;
    EXPECT_TRUE(report.hasNets) << "a refused text changed the report";
    return reason;
}

std::string withPath(const std::string& hop) {
    return R"({"utilization":{},"fmax":{},"critical_paths":[{"from":"a","to":"b","path":[)" + hop +
           "]}]}";
}

TEST(PnrReportTest, GivesUtilisationClocksPathsAndNets) {
    PnrReport report;
    std::string reason = "untouched";
    ASSERT_TRUE(parsePnrDetails(test::ReportBench::pnrReport(), report, reason));
    EXPECT_EQ(reason, "untouched");
    ASSERT_EQ(report.utilisation.size(), 3u);
    EXPECT_EQ(report.utilisation[0].type, "ICESTORM_LC");
    EXPECT_EQ(report.utilisation[0].available, 10);
    ASSERT_EQ(report.clocks.size(), 1u);
    EXPECT_DOUBLE_EQ(report.clocks[0].slackNs(), -2);
    ASSERT_EQ(report.paths.size(), 2u);
    EXPECT_DOUBLE_EQ(report.paths[0].delayNs(), 10);
    EXPECT_DOUBLE_EQ(report.paths[0].routingNs(), 6);
    EXPECT_EQ(report.paths[0].levels(), 1);
    EXPECT_EQ(report.paths[0].hops[1].net, "led[0]$SB_IO_OUT");
    EXPECT_EQ(report.paths[0].hops[1].to.location, std::make_pair(3, 4));
    EXPECT_FALSE(report.paths[1].hops[0].to.location);
    EXPECT_TRUE(report.hasNets);
    EXPECT_EQ(report.nets.size(), 2u);
}

TEST(PnrReportTest, TakesTheReportOfAPlacementWithoutClocksAndPaths) {
    PnrReport report;
    std::string reason;
    ASSERT_TRUE(
        parsePnrDetails(R"({"critical_paths":[],"fmax":{},"utilization":{}})", report, reason));
    EXPECT_FALSE(report.hasNets);
}

TEST(PnrReportTest, RefusesATextThatIsCutShortAnywhere) {
    const std::string text = test::ReportBench::pnrReport();
    for (std::size_t size = 0; size < text.size(); ++size) {
        PnrReport report;
        std::string reason;
        ASSERT_FALSE(parsePnrDetails(text.substr(0, size), report, reason)) << size;
    }
}

TEST(PnrReportTest, RefusesWhatItCantUnderstand) {
    EXPECT_EQ(pnrRefusal("[]"), "it is not valid JSON; it may have been cut short");
    EXPECT_EQ(pnrRefusal("{}"), "it holds no utilisation, no clock table or no paths");
    EXPECT_EQ(pnrRefusal(R"({"critical_paths":[],"fmax":{},"utilization":{"A":{"used":-1,
                         "available":2}}})"),
              "a utilisation of it is not a count");
    EXPECT_EQ(pnrRefusal(R"({"critical_paths":[],"fmax":{},"utilization":{"A":{"used":1e300,
                         "available":2}}})"),
              "a utilisation of it is not a count");
    EXPECT_EQ(pnrRefusal(R"({"critical_paths":[],"utilization":{},"fmax":{"c":{"achieved":0,
                         "constraint":12}}})"),
              "a clock of it has no frequency");
    EXPECT_EQ(pnrRefusal(withPath("{}")), "a path of it lacks a delay, a cell or a net");
    EXPECT_EQ(pnrRefusal(withPath(R"({"type":"routing","delay":1,"from":{"cell":"a","port":"O"},
                                  "to":{"cell":"b","port":"I"}})")),
              "a path of it lacks a delay, a cell or a net");
    EXPECT_EQ(pnrRefusal(R"({"critical_paths":[],"fmax":{},"utilization":{},
                         "detailed_net_timings":7})"),
              "a net timing of it lacks a delay or a cell");
}

/// nextpnr nests five deep.
TEST(PnrReportTest, BearsDeepNesting) {
    const std::string deep(100000, '[');
    EXPECT_EQ(pnrRefusal(deep), "it is not valid JSON; it may have been cut short");
    EXPECT_EQ(pnrRefusal(R"({"a":)" + deep + std::string(100000, ']') + "}"),
              "it is not valid JSON; it may have been cut short");
    EXPECT_EQ(pnrRefusal(R"({"a":)" + deep.substr(0, 500) + std::string(500, ']') + "}"),
              "it holds no utilisation, no clock table or no paths");
}

TEST(PnrReportTest, TakesClockEventsApart) {
    EXPECT_EQ(parseEvent("posedge clk$SB_IO_IN_$glb_clk").shown(), "clk (rising)");
    EXPECT_EQ(parseEvent("negedge pll").shown(), "pll (falling)");
    EXPECT_EQ(parseEvent("<async>").shown(), "no clock");
    EXPECT_TRUE(parseEvent("<async>").isAsync());
}

TEST(PnrReportTest, GivesNetsTheDesignersNames) {
    EXPECT_EQ(designName("clk$SB_IO_IN_$glb_clk"), "clk");
    EXPECT_EQ(designName("led[0]$SB_IO_OUT"), "led[0]");
    EXPECT_EQ(designName("reset_$glb_sr"), "reset");
    EXPECT_EQ(designName("_$glb_clk"), "_$glb_clk");
    EXPECT_EQ(designName("plain"), "plain");
}

}  // namespace
