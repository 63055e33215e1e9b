// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/launchDecision.h"

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "environment/containers/HSTFwdIter.h"
#include "environment/errors/HEXUserException.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xpreport/HAXRReportConfig.h"
#include "tests/support/thrownText.h"
#include "tests/unit/workbench/TestBench.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/Project.h"
#include "workbench/RunReports.h"
#include "workbench/openFlows.h"
#include "workbench/reportScript.h"

namespace {

constexpr long kLaunch = 1000000;

/// A project whose synthesis and implementation are done and up to date.
class FirstStepTest : public ::testing::Test {
protected:
    FirstStepTest()
        : m_project(Project::create(m_bench.path("proj"), m_bench.inputs())),
          m_synthesis(m_project->createRun("synth_1", *OpenFlows::getSynthesis(), "Default", "")),
          m_implementation(
              m_project->createRun("impl_1", *OpenFlows::getImplementation(), "Default", "")) {
        m_bench.folder().folder("proj/runs/synth_1");
        m_bench.folder().mark("proj/runs/synth_1/blinky.json", "{}");
        for (HAXPExpRun* run : {&m_synthesis, &m_implementation}) {
            run->setRunDir(m_project->getRunsDir() + "/" + run->getName(), false);
            m_project->setInputs(m_project->getInputs());
            m_bench.finish(*run, kLaunch);
        }
        // The implementation hears of the synthesis that it starts from.
        m_project->setInputs(m_project->getInputs());
        m_bench.finish(m_implementation, kLaunch);
    }

    static std::string first(HAXPExpRun& run) {
        const HAXPExpRunStep* step = workbench::firstStepToRun(run);
        return step == nullptr ? "none" : step->getFlowStep()->getFlowStepId();
    }
    void changeInputs(const DesignInputs& inputs) { m_project->setInputs(inputs); }
    static std::vector<std::string> staleSteps(HAXPExpRun& run) {
        run.getInfo().updStaleReasons();
        std::vector<std::string> ids;
        const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(run.createRunStepIter());
        while (steps->hasNext()) {
            const HAXPExpRunStep* step = steps->next();
            if (step->isStale())
                ids.push_back(step->getFlowStep()->getFlowStepId());
        }
        return ids;
    }

    using Ids = std::vector<std::string>;

    test::TestBench m_bench;
    std::unique_ptr<Project> m_project;
    HAXPExpRun& m_synthesis;
    HAXPExpRun& m_implementation;
};

TEST_F(FirstStepTest, IsNoneWhenAllIsUpToDate) {
    EXPECT_EQ(first(m_synthesis), "none");
    EXPECT_EQ(first(m_implementation), "none");
    EXPECT_TRUE(m_synthesis.isUpToDate());
    EXPECT_TRUE(m_implementation.isUpToDate());
}

TEST_F(FirstStepTest, IsTheVeryFirstOfARunThatWasNotLaunched) {
    m_implementation.setRunMode(HAXPExpRun::kNotLaunched);
    EXPECT_EQ(first(m_implementation), "init_design");
}

TEST_F(FirstStepTest, IsTheStepWhoseOptionChangedAndNoneBefore) {
    m_project->setOption(m_implementation, "router", "router2");
    EXPECT_EQ(first(m_implementation), "route_design");
    EXPECT_EQ(staleSteps(m_implementation), Ids{"route_design"});
    m_project->setOption(m_implementation, "seed", "7");
    EXPECT_EQ(first(m_implementation), "place_design");
    EXPECT_EQ(first(m_synthesis), "none");
}

TEST_F(FirstStepTest, IsThatOfTheImplementationWhenConstraintsChange) {
    m_bench.folder().mark("blinky.pcf", "set_io clk J4\n");
    m_bench.folder().touch("blinky.pcf", 10);
    EXPECT_EQ(first(m_synthesis), "none");
    EXPECT_EQ(first(m_implementation), "init_design");
}

TEST_F(FirstStepTest, IsPlacementWhenOnlyTheClockGoalChanges) {
    DesignInputs inputs = m_project->getInputs();
    inputs.frequencyMhz = "48";
    changeInputs(inputs);
    EXPECT_EQ(first(m_synthesis), "none");
    EXPECT_EQ(first(m_implementation), "place_design");
    EXPECT_EQ(staleSteps(m_implementation), Ids{"place_design"});
}

TEST_F(FirstStepTest, IsThatOfTheSynthesisWhenASourceChanges) {
    m_bench.folder().mark("blinky.v", "module blinky (input clk, output led); // new\nendmodule\n");
    m_bench.folder().touch("blinky.v", 10);
    EXPECT_EQ(first(m_synthesis), "synth_design");
    EXPECT_EQ(first(m_implementation), "none");
}

TEST_F(FirstStepTest, IsNoneAgainWhenEveryFileIsCheckedOutAnew) {
    for (const char* name : {"blinky.v", "blinky.pcf"}) {
        const std::string content = m_bench.folder().read(name);
        m_bench.folder().unmark(name);
        m_bench.folder().mark(name, content);
    }
    EXPECT_EQ(first(m_synthesis), "none");
    EXPECT_EQ(first(m_implementation), "none");
}

TEST_F(FirstStepTest, IsStillFoundWhenTheProjectIsOpenedAnew) {
    m_project->save();
    m_bench.folder().mark("blinky.pcf", "set_io clk J4\n");
    m_bench.folder().touch("blinky.pcf", 10);
    const auto again = Project::open(m_bench.path("proj"), Project::kRead);
    EXPECT_EQ(first(again->getRun("synth_1")), "none");
    EXPECT_EQ(first(again->getRun("impl_1")), "init_design");
}

TEST_F(FirstStepTest, AChangeBetweenTheDecisionAndTheLaunchIsNotTakenForLaunched) {
    ASSERT_EQ(first(m_implementation), "none");
    m_bench.folder().mark("blinky.pcf", "set_io clk J4\n");
    m_implementation.getInfo().recordLaunch();
    EXPECT_EQ(first(m_implementation), "init_design");
}

TEST_F(FirstStepTest, ALaunchWithoutADecisionTakesTheFilesAsTheyAre) {
    m_bench.folder().mark("blinky.pcf", "set_io clk J4\n");
    m_implementation.getInfo().recordLaunch();
    EXPECT_EQ(first(m_implementation), "none");
}

TEST_F(FirstStepTest, ReportsOfAStaleStepAndOfThoseBehindItAreStale) {
    const HAXRReportConfig& timing =
        RunReports(m_implementation).get("impl_1_route_report_timing_summary_0");
    workbench::reportScriptText(m_implementation, [](const HAXRReportConfig&) { return true; });
    m_bench.folder().mark("proj/runs/impl_1/" + timing.getReportFile());
    m_implementation.lookForReports();
    ASSERT_EQ(timing.getState(), HAXRReportConfig::REPORT_GENERATED);
    m_project->setOption(m_implementation, "no_deep_sleep", "true");
    first(m_implementation);
    EXPECT_EQ(timing.getState(), HAXRReportConfig::REPORT_GENERATED);
    m_project->setOption(m_implementation, "seed", "7");
    first(m_implementation);
    EXPECT_EQ(timing.getState(), HAXRReportConfig::REPORT_STALE);
}

TEST_F(FirstStepTest, ASourceThatIsGoneIsToldBeforeALaunch) {
    m_bench.folder().unmark("blinky.v");
    EXPECT_EQ(
        test::thrownText<HEXUserException>([this] { workbench::requireSources(m_synthesis); }),
        "Run synth_1 isn't launched: its source " + m_bench.path("blinky.v") +
            " doesn't exist. Bring the file back, or take it out of the project.");
}

}  // namespace
