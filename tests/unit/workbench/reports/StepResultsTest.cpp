// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/reports/stepResults.h"

#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/thrownText.h"
#include "tests/unit/workbench/reports/reportBench.h"
#include "workbench/ice40/stepFailure.h"

using namespace reports;

namespace {

class StepResultsTest : public ::testing::Test {
protected:
    /// Why something can't be read from the results of `step`.
    template <class Action> static std::string refusal(const std::string& step, Action action) {
        const StepResults results(step);
        return test::thrownText<ice40::StepFailure>([&] { action(results); });
    }

    static std::string routeReportRefusal() {
        return refusal("route_design", [](const StepResults& results) { results.pnrReport(); });
    }

    static std::string metricsRefusal() {
        return refusal("route_design", [](const StepResults& results) { results.metrics(); });
    }

    test::ReportBench m_bench;
};

TEST_F(StepResultsTest, AreReadFromTheFilesThatTheMetricsName) {
    const StepResults results("route_design");
    EXPECT_TRUE(results.isRouting());
    EXPECT_EQ(results.pnrReport().paths.size(), 2u);
    EXPECT_EQ(results.placement().device, "hx8k");
    EXPECT_EQ(results.design().top, "top");
    EXPECT_EQ(results.constraints().pins.size(), 5u);
    EXPECT_EQ(results.routedNets().segments.size(), 3u);
    ASSERT_NE(results.icetime(), nullptr);
    EXPECT_EQ(results.icetime()->levels, 1);
    EXPECT_EQ(StepResults("synth_design").cellCounts().cells, 9);
}

TEST_F(StepResultsTest, TellWhichStepToRunFirst) {
    m_bench.dir().unmark("route_design.metrics.json");
    EXPECT_EQ(metricsRefusal(), "step route_design has left no results here: there is no "
                                "'route_design.metrics.json'. Run step route_design first.");
}

TEST_F(StepResultsTest, RefuseDamagedNewerAndForeignMetrics) {
    m_bench.dir().mark("route_design.metrics.json", "{");
    EXPECT_EQ(metricsRefusal(), "'route_design.metrics.json' can't be read: it is not valid JSON; "
                                "it may have been cut short. Run step route_design again.");
    m_bench.dir().mark("route_design.metrics.json",
                       R"({"format":"xperiment-step-metrics","version":9})");
    EXPECT_EQ(metricsRefusal(), "'route_design.metrics.json' can't be read: it has version 9, and "
                                "this program reads up to 1. Run step route_design again.");
    m_bench.dir().mark("route_design.metrics.json",
                       m_bench.dir().read("place_design.metrics.json"));
    EXPECT_EQ(metricsRefusal(), "the file 'route_design.metrics.json' can't be used: it is of "
                                "step place_design. Run step route_design again.");
}

TEST_F(StepResultsTest, AskForTheStepAgainWhenItsMetricsNameNoFiles) {
    m_bench.dir().mark("route_design.metrics.json",
                       R"({"format":"xperiment-step-metrics","version":1,"step":"route_design",
                           "tool":"","seconds":1,"counts":{},"clocks":[]})");
    EXPECT_EQ(routeReportRefusal(),
              "'route_design.metrics.json' doesn't name the report of nextpnr-ice40 of the step. "
              "Run step route_design again.");
}

TEST_F(StepResultsTest, NameTheFileThatIsMissingDamagedOrNoFile) {
    m_bench.dir().unmark("route_design.report.json");
    EXPECT_EQ(routeReportRefusal(), "nextpnr's report 'route_design.report.json' can't be read: "
                                    "No such file or directory. Run step route_design again.");
    m_bench.dir().folder("route_design.report.json");
    EXPECT_EQ(routeReportRefusal(), "nextpnr's report 'route_design.report.json' can't be read: "
                                    "it is not a regular file. Run step route_design again.");
    std::filesystem::remove("route_design.report.json");
    m_bench.dir().mark("route_design.report.json", "{}");
    EXPECT_EQ(routeReportRefusal(),
              "nextpnr's report 'route_design.report.json' can't be used: it holds no utilisation, "
              "no clock table or no paths. Run step route_design again.");
}

TEST_F(StepResultsTest, RefuseAFileThatIsTooBigWithoutReadingIt) {
    m_bench.dir().unmark("route_design.report.json");
    m_bench.dir().mark("route_design.report.json");
    std::filesystem::resize_file("route_design.report.json", std::uintmax_t{1} << 33);
    EXPECT_NE(routeReportRefusal().find("'route_design.report.json' can't be read: it has "
                                        "8589934592 bytes"),
              std::string::npos)
        << routeReportRefusal();
}

TEST_F(StepResultsTest, RefuseANetlistThatChangedSinceItWasPlaced) {
    const auto design = [](const StepResults& results) { results.design(); };
    m_bench.dir().mark("top.json", test::ReportBench::netlist() + "\n");
    EXPECT_EQ(refusal("route_design", design), "nothing thrown");
    m_bench.dir().mark("top.json", test::ReportBench::otherNetlist());
    EXPECT_EQ(refusal("route_design", design), "netlist 'top.json' or its constraints changed "
                                               "since it was placed. Run step place_design again.");
    EXPECT_EQ(refusal("synth_design", design), "nothing thrown");
}

TEST_F(StepResultsTest, TellWhichStepLeavesWhatThisOneDoesnt) {
    EXPECT_EQ(refusal("place_design", [](const StepResults& results) { results.cellCounts(); }),
              "step place_design leaves no cell counts. Make the report for step synth_design.");
    EXPECT_EQ(refusal("place_design", [](const StepResults& results) { results.routedNets(); }),
              "step place_design leaves no routed design. Make the report for step route_design.");
    EXPECT_EQ(refusal("synth_design", [](const StepResults& results) { results.placement(); }),
              "step synth_design leaves no placement. Make the report for step place_design.");
}

TEST_F(StepResultsTest, HaveNoReportOfIcetimeWhenTheStepDidntAsk) {
    std::string metrics = m_bench.dir().read("route_design.metrics.json");
    const std::string timing = ",\n    \"timing\": \"route_design.timing.rpt\"";
    ASSERT_NE(metrics.find(timing), std::string::npos);
    metrics.erase(metrics.find(timing), timing.size());
    m_bench.dir().mark("route_design.metrics.json", metrics);
    EXPECT_EQ(StepResults("route_design").icetime(), nullptr);
}

TEST_F(StepResultsTest, AreOfTheStepsThatLeaveThem) {
    for (const char* step : {"synth_design", "place_design", "route_design"})
        EXPECT_TRUE(isReportStep(step)) << step;
    EXPECT_FALSE(isReportStep("init_design"));
    EXPECT_FALSE(isReportStep(""));
}

}  // namespace
