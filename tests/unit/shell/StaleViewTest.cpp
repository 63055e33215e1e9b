// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/staleView.h"

#include <limits>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "shell/planView.h"
#include "shell/runPlan.h"
#include "tests/unit/workbench/TestBench.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/Project.h"
#include "workbench/openFlows.h"

namespace {

/// 1970-01-12 13:46:40 UTC.
constexpr long kLaunch = 1000000;
const char kLaunchText[] = "1970-01-12 13:46:40 UTC";

/// A project whose synthesis and implementation are done and up to date.
class StaleViewTest : public ::testing::Test {
protected:
    StaleViewTest()
        : m_project(Project::create(m_bench.path("proj"), m_bench.inputs())),
          m_synthesis(m_project->createRun("synth_1", *OpenFlows::getSynthesis(), "Default", "")),
          m_implementation(
              m_project->createRun("impl_1", *OpenFlows::getImplementation(), "Default", "")) {
        m_bench.folder().folder("proj/runs/synth_1");
        m_bench.folder().mark("proj/runs/synth_1/blinky.json", "{}");
        finish(m_synthesis);
        finish(m_implementation);
    }

    void finish(HAXPExpRun& run) {
        run.setRunDir(m_project->getRunsDir() + "/" + run.getName(), false);
        m_project->setInputs(m_project->getInputs());
        m_bench.finish(run, kLaunch);
        m_project->setInputs(m_project->getInputs());
    }
    /// Changes the content of a file, which is told to be of `time`.
    void change(const std::string& name, long time) const {
        m_bench.folder().mark(name, "# another\n");
        m_bench.folder().touch(name, time);
    }
    std::string why(HAXPExpRun& run) const { return shell::whyText(*m_project, run); }
    shell::LaunchPreview plan() const {
        return shell::previewLaunch(*m_project, m_project->getRuns());
    }
    /// The runs of the plan alone: what holds for the launch as a whole depends on the
    /// tools of this host.
    std::string planText() const {
        shell::LaunchPreview preview = plan();
        preview.refusal.clear();
        return shell::previewText(preview);
    }

    test::TestBench m_bench;
    std::unique_ptr<Project> m_project;
    HAXPExpRun& m_synthesis;
    HAXPExpRun& m_implementation;
};

TEST_F(StaleViewTest, ARunOfWhichNothingChangedIsUpToDate) {
    EXPECT_EQ(why(m_synthesis), "synth_1: up to date\n");
    EXPECT_EQ(why(m_implementation), "impl_1: up to date\n");
    EXPECT_TRUE(shell::lookForStale(*m_project, m_implementation).empty());
}

TEST_F(StaleViewTest, ARunThatWasNotLaunchedSaysSo) {
    HAXPExpRun& run = m_project->createRun("impl_2", *OpenFlows::getImplementation(), "", "");
    EXPECT_EQ(why(run), "impl_2: not launched\n");
}

TEST_F(StaleViewTest, AnOptionIsToldWithBothValuesAndWhatBuildsOnItsStep) {
    m_project->setOption(m_implementation, "seed", "4");
    EXPECT_EQ(why(m_implementation), std::string("impl_1, launched ") + kLaunchText +
                                         ", is out of date:\n"
                                         "place_design\n"
                                         "  option seed: 1 at the launch, 4 now\n"
                                         "route_design\n"
                                         "  builds on place_design\n"
                                         "write_bitstream\n"
                                         "  builds on place_design\n");
}

TEST_F(StaleViewTest, AFileIsToldWithTheTimeOfItsChange) {
    change("blinky.v", kLaunch + 60);
    EXPECT_EQ(why(m_synthesis), std::string("synth_1, launched ") + kLaunchText +
                                    ", is out of date:\n"
                                    "synth_design\n"
                                    "  source " +
                                    m_bench.path("blinky.v") +
                                    ": changed, since 1970-01-12 13:47:40 UTC\n");
}

TEST_F(StaleViewTest, AMissingFileIsToldAsThatWithoutATime) {
    m_bench.folder().unmark("blinky.pcf");
    EXPECT_NE(
        why(m_implementation).find("  constraints " + m_bench.path("blinky.pcf") + ": missing\n"),
        std::string::npos);
}

TEST_F(StaleViewTest, ASettingOfTheDesignIsToldWithBothValues) {
    DesignInputs inputs = m_project->getInputs();
    inputs.frequencyMhz = "48";
    m_project->setInputs(inputs);
    EXPECT_EQ(
        shell::staleTexts(*m_project, m_implementation),
        std::vector<std::string>{"place_design: setting frequency: 12 at the launch, 48 now"});
}

TEST_F(StaleViewTest, AnotherLaunchOfTheSynthesisIsToldByItsTimesUntilItHasWrittenItsNetlist) {
    m_bench.folder().touch("proj/runs/synth_1/blinky.json", kLaunch);
    m_bench.finish(m_synthesis, kLaunch + 60);
    m_project->setInputs(m_project->getInputs());
    EXPECT_EQ(shell::staleTexts(*m_project, m_implementation),
              std::vector<std::string>{std::string("init_design: setting synthesis launch: ") +
                                       kLaunchText +
                                       " at the launch, 1970-01-12 13:47:40 UTC now"});
}

TEST_F(StaleViewTest, AnotherLaunchOfTheSynthesisThatMadeTheSameNetlistIsNoHarm) {
    m_bench.finish(m_synthesis, kLaunch + 60);
    m_project->setInputs(m_project->getInputs());
    m_bench.folder().touch("proj/runs/synth_1/blinky.json", kLaunch + 61);
    const shell::StaleView view = shell::lookForStale(*m_project, m_implementation);
    EXPECT_TRUE(view.empty());
    EXPECT_EQ(view.harmless, std::vector<std::string>{"synthesis synth_1 was launched again and "
                                                      "made the same netlist"});
}

TEST_F(StaleViewTest, AnImplementationIsOutOfDateWithItsSynthesis) {
    change("blinky.v", kLaunch + 60);
    EXPECT_EQ(shell::staleTexts(*m_project, m_implementation),
              std::vector<std::string>{"Its synthesis synth_1 is out of date."});
}

TEST_F(StaleViewTest, AReasonThatSeveralStepsHaveIsToldOnceInShort) {
    change("blinky.pcf", kLaunch + 60);
    EXPECT_EQ(shell::staleTexts(*m_project, m_implementation),
              std::vector<std::string>{"init_design: constraints " + m_bench.path("blinky.pcf") +
                                       ": changed, since 1970-01-12 13:47:40 UTC"});
}

TEST_F(StaleViewTest, ATimeThatNoCalendarHasIsToldAsItIs) {
    const long never = std::numeric_limits<long>::max();
    m_bench.finish(m_synthesis, never);
    EXPECT_EQ(shell::whyJson(*m_project, m_synthesis)["launched"], nullptr);
    EXPECT_EQ(shell::timeText(never), std::to_string(never));
}

TEST_F(StaleViewTest, IsTheSameInJson) {
    m_project->setOption(m_implementation, "router", "router2");
    change("blinky.pcf", kLaunch + 60);
    const nlohmann::json json = shell::whyJson(*m_project, m_implementation);
    EXPECT_EQ(json["run"], "impl_1");
    EXPECT_EQ(json["stale"], true);
    EXPECT_EQ(json["launched"], "1970-01-12T13:46:40Z");
    ASSERT_EQ(json["steps"].size(), 4U);
    EXPECT_EQ(json["steps"][0]["step"], "init_design");
    EXPECT_EQ(json["steps"][0]["reasons"][0]["name"], m_bench.path("blinky.pcf"));
    EXPECT_EQ(json["steps"][0]["reasons"][0]["since"], "1970-01-12T13:47:40Z");
    EXPECT_EQ(json["steps"][2]["reasons"][0]["before"], "router1");
    EXPECT_EQ(json["steps"][2]["reasons"][0]["after"], "router2");
    EXPECT_EQ(json["steps"][2]["reasons"][0]["since"], nullptr);
    EXPECT_EQ(json["steps"][3]["follows"], "init_design");
}

TEST_F(StaleViewTest, APlanSaysOfEachRunThatItIsUpToDate) {
    EXPECT_EQ(planText(), "synth_1: up to date\nimpl_1: up to date\n");
}

TEST_F(StaleViewTest, APlanBeginsAtTheFirstStaleStepAndSaysWhy) {
    m_project->setOption(m_implementation, "router", "router2");
    EXPECT_EQ(planText(), "synth_1: up to date\n"
                          "1. impl_1: route_design to write_bitstream\n"
                          "   route_design: option router: router1 at the launch, router2 now\n");
}

TEST_F(StaleViewTest, APlanPutsTheSynthesisBeforeWhatStartsFromIt) {
    change("blinky.v", kLaunch + 60);
    m_project->createRun("impl_2", *OpenFlows::getImplementation(), "", "");
    EXPECT_EQ(planText(), "1. synth_1: synth_design\n"
                          "   synth_design: source " +
                              m_bench.path("blinky.v") +
                              ": changed, since 1970-01-12 13:47:40 UTC\n"
                              "2. impl_1: init_design to write_bitstream\n"
                              "   its synthesis synth_1 runs anew\n"
                              "3. impl_2: init_design to write_bitstream\n"
                              "   its synthesis synth_1 runs anew\n");
}

TEST_F(StaleViewTest, APlanTellsWhatWouldBeRefused) {
    m_bench.folder().unmark("blinky.v");
    const shell::LaunchPreview preview = plan();
    ASSERT_EQ(preview.runs.size(), 2U);
    EXPECT_EQ(preview.runs[0].refusal, "Run synth_1 isn't launched: its source " +
                                           m_bench.path("blinky.v") +
                                           " doesn't exist. Bring the file back, or take it out "
                                           "of the project.");
    EXPECT_FALSE(preview.runs[0].isLaunched);
    EXPECT_EQ(shell::previewJson(preview)["runs"][0]["action"], "refuse");
}

TEST_F(StaleViewTest, APlanTellsThatARunIsAtWork) {
    m_bench.folder().unmark("proj/runs/synth_1/.ice40_synth.end.rst");
    const test::HeldRunLock lock(m_bench.path("proj/runs/synth_1"));
    m_synthesis.updateStatus();
    EXPECT_EQ(plan().refusal, "Run synth_1 isn't launched: it is running already. Wait for it "
                              "with \"xp wait\".");
}

TEST_F(StaleViewTest, APlanSaysWhereARunFailed) {
    m_bench.folder().unmark("proj/runs/impl_1/.ice40_place.end.rst");
    m_bench.folder().mark("proj/runs/impl_1/.ice40_place.error.rst");
    for (const char* name : {"route", "bitstream"}) {
        m_bench.folder().unmark(std::string("proj/runs/impl_1/.ice40_") + name + ".begin.rst");
        m_bench.folder().unmark(std::string("proj/runs/impl_1/.ice40_") + name + ".end.rst");
    }
    m_implementation.setRunStatus(nullptr, 0);
    EXPECT_EQ(planText(), "synth_1: up to date\n"
                          "1. impl_1: place_design to write_bitstream\n"
                          "   it failed in place_design\n");
}

TEST_F(StaleViewTest, APlanChangesNoFile) {
    m_project->save();
    change("blinky.v", kLaunch + 60);
    const std::string before = m_bench.folder().read("proj/project.xml");
    plan();
    EXPECT_EQ(m_bench.folder().read("proj/project.xml"), before);
    EXPECT_TRUE(m_bench.folder().has("proj/runs/synth_1/.ice40_synth.end.rst"));
}

}  // namespace
