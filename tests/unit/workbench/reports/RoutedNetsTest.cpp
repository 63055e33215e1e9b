// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/reports/routedNets.h"

#include <string>

#include <gtest/gtest.h>

#include "tests/unit/workbench/reports/reportBench.h"

using namespace reports;

namespace {

TEST(RoutedNetsTest, CountTheWireSegmentsOfEachNet) {
    RoutedNets nets;
    std::string reason = "untouched";
    ASSERT_TRUE(parseRoutedNets(test::ReportBench::routed(), nets, reason));
    EXPECT_EQ(reason, "untouched");
    EXPECT_EQ(nets.device, "8k");
    EXPECT_EQ(nets.segments.size(), 3u);
    EXPECT_EQ(nets.segments["core.next[0]"], 3);
}

TEST(RoutedNetsTest, RefuseWhatIsNoRoutedDesign) {
    RoutedNets nets;
    std::string reason;
    EXPECT_FALSE(parseRoutedNets("", nets, reason));
    EXPECT_EQ(reason, "it is no routed design of nextpnr, or it was cut short");
    EXPECT_FALSE(parseRoutedNets(".device 8k\n", nets, reason));
    EXPECT_FALSE(parseRoutedNets(".device 8k\n.logic_tile 1 1\n.sym 7\n", nets, reason));
    EXPECT_EQ(reason, "a '.sym' line of it names no net; it may have been cut short");
}

TEST(IcetimeReportTest, GivesDelayFrequencyAndLevels) {
    IcetimeReport report;
    std::string reason;
    ASSERT_TRUE(parseIcetime(test::ReportBench::icetime(), report, reason));
    EXPECT_DOUBLE_EQ(report.delayNs, 10.53);
    EXPECT_DOUBLE_EQ(report.fmaxMhz, 95);
    EXPECT_EQ(report.levels, 1);
}

TEST(IcetimeReportTest, IsRefusedWithoutItsLastLines) {
    IcetimeReport report;
    report.levels = 7;
    std::string reason;
    for (const char* text :
         {"", "Total number of logic levels: 1\n", "Total path delay: 10 ns (95 MHz)\n",
          "Total number of logic levels: 1\nTotal path delay: 10.53 ns (95.0",
          "Total number of logic levels: x\nTotal path delay: 10.53 ns (95.00 MHz)\n",
          "Total number of logic levels: 1\nTotal path delay: 0 ns (0 MHz)\n"}) {
        reason.clear();
        EXPECT_FALSE(parseIcetime(text, report, reason)) << text;
        EXPECT_EQ(reason, "it lacks the total delay of the path; it may have been cut short");
    }
    EXPECT_EQ(report.levels, 7);
}

}  // namespace
