// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/OpenStats.h"

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/RunDir.h"
#include "tests/unit/workbench/TestBench.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/ice40/metrics.h"

namespace {

/// An implementation whose steps "init", "place" and "route" are done.
class OpenStatsTest : public ::testing::Test {
protected:
    OpenStatsTest() : m_run(m_bench.makeRun(test::TestBench::implementation())) {
        m_run->setRunDir(m_dir.path(), false);
        m_run->setRunMode(HAXPExpRun::kLaunched);
        m_run->getInfo().setLaunch(1000, "route");
        for (const std::string program : {"ice40_init", "ice40_place", "ice40_route"}) {
            m_dir.mark("." + program + ".begin.rst", test::TestBench::handleText());
            m_dir.mark("." + program + ".end.rst");
        }
    }

    void leave(const ice40::StepMetrics& metrics) const {
        m_dir.mark(ice40::metricsFileName(metrics.step), ice40::formatMetrics(metrics));
    }

    ice40::StepMetrics placed() const {
        ice40::StepMetrics metrics;
        metrics.step = "place_design";
        metrics.seconds = 2.25;
        metrics.counts[ice40::counts::kLuts] = 1084;
        metrics.clocks.push_back({"clk", 50.0, 40.0});
        return metrics;
    }
    ice40::StepMetrics routed() const {
        ice40::StepMetrics metrics;
        metrics.step = "route_design";
        metrics.seconds = 3.5;
        metrics.clocks.push_back({"fast", 200.0, 100.0});
        metrics.clocks.push_back({"clk", 46.04, 40.0});
        return metrics;
    }

    std::string text(const char* name) {
        m_run->updateRun();
        return OpenStats::textOf(*m_run, name);
    }

    test::TestBench m_bench;
    test::RunDir m_dir;
    std::unique_ptr<HAXPExpRun> m_run;
};

TEST_F(OpenStatsTest, AreNotAvailableWithoutMetrics) {
    for (const char* name : {OpenStats::kLuts, OpenStats::kFlipFlops, OpenStats::kBlockRams,
                             OpenStats::kFmaxMhz, OpenStats::kWorstSlackNs, OpenStats::kRunTime})
        EXPECT_EQ(text(name), "") << name;
    double value = 7;
    EXPECT_FALSE(OpenStats::valueOf(*m_run, OpenStats::kLuts, value));
    EXPECT_EQ(value, 7);
}

TEST_F(OpenStatsTest, ComeFromTheMetricsOfTheSteps) {
    leave(placed());
    EXPECT_EQ(text(OpenStats::kLuts), "1084");
    EXPECT_EQ(text(OpenStats::kFmaxMhz), "50.0");
    EXPECT_EQ(text(OpenStats::kWorstSlackNs), "5.00");
}

TEST_F(OpenStatsTest, TakeTheLaterStepAndTheWorstClock) {
    leave(placed());
    leave(routed());
    EXPECT_EQ(text(OpenStats::kFmaxMhz), "46.0");
    EXPECT_EQ(text(OpenStats::kWorstSlackNs), "3.28");
    EXPECT_EQ(text(OpenStats::kLuts), "1084");
}

TEST_F(OpenStatsTest, AddTheTimesOfTheSteps) {
    leave(placed());
    leave(routed());
    EXPECT_EQ(text(OpenStats::kRunTime), "6");
}

TEST_F(OpenStatsTest, ANumberThatNoToolReportedIsNotAvailable) {
    leave(placed());
    EXPECT_EQ(text(OpenStats::kBlockRams), "");
}

TEST_F(OpenStatsTest, PassOverTheMetricsOfAStepThatIsNotDone) {
    leave(placed());
    leave(routed());
    m_dir.unmark(".ice40_route.end.rst");
    m_dir.mark(".ice40_route.error.rst");
    EXPECT_EQ(text(OpenStats::kFmaxMhz), "50.0");
}

TEST_F(OpenStatsTest, PassOverDamagedMetrics) {
    leave(placed());
    m_dir.mark("route_design.metrics.json", "{\"step\": ");
    EXPECT_EQ(text(OpenStats::kFmaxMhz), "50.0");
}

TEST_F(OpenStatsTest, GoWhenTheRunIsNotLaunched) {
    leave(placed());
    EXPECT_EQ(text(OpenStats::kLuts), "1084");
    m_run->setRunMode(HAXPExpRun::kNotLaunched);
    EXPECT_EQ(text(OpenStats::kLuts), "");
}

TEST_F(OpenStatsTest, GoWithTheStepsThatAreTakenBack) {
    leave(placed());
    EXPECT_EQ(text(OpenStats::kLuts), "1084");
    m_run->resetFrom(m_run->getFirstStep());
    EXPECT_EQ(text(OpenStats::kLuts), "");
}

}  // namespace
