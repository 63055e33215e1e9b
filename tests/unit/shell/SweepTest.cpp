// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/sweep.h"

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "environment/errors/HEXAll.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "shell/exitStatus.h"
#include "shell/runPlan.h"
#include "shell/runView.h"
#include "tests/support/thrownText.h"
#include "tests/unit/workbench/TestBench.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/Project.h"
#include "workbench/openFlows.h"
#include "workbench/runFamily.h"
#include "workbench/strategyOptions.h"

namespace {

using Names = std::vector<std::string>;

/// A project with two syntheses and an implementation.
class SweepTest : public ::testing::Test {
protected:
    SweepTest() : m_project(Project::create(m_bench.path("proj"), m_bench.inputs())) {
        m_project->createRun("synth_1", *OpenFlows::getSynthesis(), "Default", "");
        m_project->createRun("synth_2", *OpenFlows::getSynthesis(), "Area", "");
        m_project->createRun("night_Default_s9", *OpenFlows::getImplementation(), "Default", "");
        m_request.name = "night";
        m_request.flow = OpenFlows::getImplementation();
        m_request.strategies = {"Default", "Explore"};
        m_request.seeds = {1, 2};
    }

    std::vector<HAXPExpRun*> make() const { return makeSweep(*m_project, m_request); }
    std::string refusal() const {
        return test::thrownText<shell::CommandError>([this] { make(); });
    }
    static std::string optionOf(const HAXPExpRun& run, const std::string& name) {
        for (const auto& option : workbench::differences(*plain(), *run.getStrategy())) {
            if (option.step + "." + option.name == name)
                return option.second;
        }
        return "as by default";
    }

    test::TestBench m_bench;
    std::unique_ptr<Project> m_project;
    shell::SweepRequest m_request;

private:
    /// A strategy with every option at its default.
    static HAXPStrategy* plain() {
        static HAXPStrategy strategy(OpenFlows::getImplementation());
        return &strategy;
    }
};

TEST_F(SweepTest, MakesARunForEachStrategyAndSeed) {
    EXPECT_EQ(shell::namesOf(make()), (Names{"night_Default_s1", "night_Default_s2",
                                             "night_Explore_s1", "night_Explore_s2"}));
    EXPECT_EQ(m_project->getRun("night_Explore_s2").getStrategy()->getName(), "Explore");
}

TEST_F(SweepTest, EachRunHasItsSeed) {
    make();
    EXPECT_EQ(optionOf(m_project->getRun("night_Default_s2"), "place_design.seed"), "2");
}

TEST_F(SweepTest, RunsThatDifferInTheirSeedAloneAreAFamily) {
    make();
    const HAXPExpRun& run = m_project->getRun("night_Explore_s1");
    EXPECT_EQ(m_project->getFamilyOf(run).sweep, "night");
    EXPECT_EQ(m_project->getFamilyOf(run).name, "night_Explore");
    EXPECT_EQ(shell::namesOf(shell::runsOfFamily(*m_project, "night_Explore")),
              (Names{"night_Explore_s1", "night_Explore_s2"}));
    EXPECT_EQ(shell::runsOfFamily(*m_project, "night").size(), 4U);
    EXPECT_TRUE(shell::runsOfFamily(*m_project, "").empty());
}

TEST_F(SweepTest, ASweepOrFamilyIsNamedWhereRunsAre) {
    make();
    EXPECT_EQ(shell::namesOf(
                  shell::chosenRuns(*m_project, {"night_Default", "synth_2", "night_Default_s1"})),
              (Names{"night_Default_s1", "night_Default_s2", "synth_2"}));
    EXPECT_EQ(
        test::thrownText<shell::CommandError>([this] { shell::chosenRuns(*m_project, {"nigt"}); }),
        "There is no run 'nigt'. Did you mean 'night'?");
}

TEST_F(SweepTest, AllShareTheFirstSynthesis) {
    for (const HAXPExpRun* run : make())
        EXPECT_EQ(m_project->getSynthesisOf(*run)->getName(), "synth_1");
}

TEST_F(SweepTest, SeveralSynthesesMakeFamiliesOfTheirOwn) {
    m_request.syntheses = {"synth_1", "synth_2"};
    m_request.strategies = {"impl/Default"};
    EXPECT_EQ(shell::namesOf(make()),
              (Names{"night_synth_1_Default_s1", "night_synth_1_Default_s2",
                     "night_synth_2_Default_s1", "night_synth_2_Default_s2"}));
    EXPECT_EQ(m_project->getSynthesisOf(m_project->getRun("night_synth_2_Default_s1"))->getName(),
              "synth_2");
    EXPECT_EQ(m_project->getFamilyOf(m_project->getRun("night_synth_2_Default_s1")).name,
              "night_synth_2_Default");
}

TEST_F(SweepTest, SynthesesThatAreMissingAreMadeAndTheOthersShared) {
    m_request.strategies = {"Default"};
    m_request.seeds = {1};
    m_request.synthesisStrategies = {"Area", "Performance"};
    EXPECT_EQ(shell::namesOf(make()), (Names{"synth_Performance", "night_synth_2_Default_s1",
                                             "night_synth_Performance_Default_s1"}));
    // Once more: both are there.
    m_request.seeds = {2};
    EXPECT_EQ(shell::namesOf(make()),
              (Names{"night_synth_2_Default_s2", "night_synth_Performance_Default_s2"}));
}

TEST_F(SweepTest, ASynthesisWithAnOptionOfItsOwnIsNotShared) {
    m_request.strategies = {"Default"};
    m_request.seeds = {1};
    m_request.synthesisStrategies = {"Area"};
    m_project->createRun("synth_Area", *OpenFlows::getSynthesis(), "Default", "");
    m_project->setOption(m_project->getRun("synth_2"), "synth_design.noflatten", "true");
    EXPECT_EQ(shell::namesOf(make()), (Names{"night_synth_Area", "night_Default_s1"}));
    EXPECT_EQ(m_project->getSynthesisOf(m_project->getRun("night_Default_s1"))->getName(),
              "night_synth_Area");
}

TEST_F(SweepTest, AStrategyThatIsNoneOfASynthesisIsRefused) {
    m_request.synthesisStrategies = {"Explore9"};
    EXPECT_EQ(test::thrownText<HEXAll>([this] { make(); }),
              "There is no strategy Explore9 for this flow. Choose one of: Default, Area, "
              "Hierarchy, Performance.");
}

TEST_F(SweepTest, GrowsByOtherSeeds) {
    make();
    m_request.seeds = {3};
    make();
    EXPECT_EQ(shell::runsOfFamily(*m_project, "night_Default").size(), 3U);
}

TEST_F(SweepTest, SettingsAndLastStepHoldForEachRun) {
    m_request.settings = {"no_tmdriv=true"};
    m_request.toStep = "route";
    for (const HAXPExpRun* run : make()) {
        EXPECT_EQ(optionOf(*run, "place_design.no_tmdriv"), "true");
        EXPECT_NE(run->getToStep(), nullptr);
    }
}

TEST_F(SweepTest, OneRunThatIsThereRefusesAll) {
    m_request.seeds = {8, 9};
    const std::string error = test::thrownText<HEXAll>([this] { make(); });
    EXPECT_NE(error.find("night_Default_s9"), std::string::npos) << error;
    // What was made before the refusal is never saved.
    EXPECT_EQ(Project::open(m_bench.path("proj"), Project::kRead)->findRun("night_Default_s8"),
              nullptr);
}

TEST_F(SweepTest, ANameThatIsARunsAlreadyIsRefused) {
    m_request.name = "synth_1";
    EXPECT_EQ(refusal(), "There is a run synth_1 already, and the sweep would have a family of "
                         "that name. Nothing is made; choose another name.");
}

TEST_F(SweepTest, ANameThatNoRunCouldHaveIsRefused) {
    m_request.name = "a b";
    EXPECT_NE(test::thrownText<HEXAll>([this] { make(); }), "nothing thrown");
}

TEST_F(SweepTest, AnUnknownStrategyIsRefused) {
    m_request.strategies = {"Default", "Fastest"};
    EXPECT_NE(test::thrownText<HEXAll>([this] { make(); }).find("Fastest"), std::string::npos);
}

TEST_F(SweepTest, AStrategyOfAnotherFlowIsRefused) {
    m_request.strategies = {"synth/Area"};
    EXPECT_EQ(refusal(), "The run has the flow impl, and synth/Area is of another one. Choose one "
                         "of its own: xp strategy list --flow impl");
}

TEST_F(SweepTest, ASynthesisHasNoSeeds) {
    m_request.flow = OpenFlows::getSynthesis();
    EXPECT_EQ(refusal(), "A synthesis has no seed. Make each with xp create, and sweep "
                         "implementations of them: --synth synth_1,synth_2");
}

TEST_F(SweepTest, FarTooManyRunsAreRefused) {
    m_request.seeds = shell::readSeeds("1-501");
    EXPECT_EQ(refusal(), "The sweep would have 1002 runs, and 1000 is the most. Choose fewer "
                         "strategies or seeds.");
}

TEST(SeedsTest, AreNumbersAndRanges) {
    EXPECT_EQ(shell::readSeeds("1-3"), (std::vector<long>{1, 2, 3}));
    EXPECT_EQ(shell::readSeeds("7,1,3-4"), (std::vector<long>{7, 1, 3, 4}));
    EXPECT_EQ(shell::readSeeds("0"), std::vector<long>{0});
    EXPECT_EQ(shell::readSeeds("2147483647"), std::vector<long>{2147483647});
}

TEST(SeedsTest, AnythingElseIsRefused) {
    for (const char* text : {"", "a", "1,", ",1", "3-1", "-1", "1-", "1-2-3", "1,1", "1-3,2", "1 2",
                             "2147483648", "1-100000", "1.5"})
        EXPECT_EQ(test::thrownText<shell::CommandError>([text] { shell::readSeeds(text); }),
                  "'" + std::string(text) +
                      "' can't be seeds. Say numbers and ranges with commas between, each seed "
                      "once: 1-6 or 1,3,7-9");
}

TEST(NamesTest, StandBetweenCommasEachOnce) {
    EXPECT_EQ(shell::readNames("a,b c", "strategies"), (Names{"a", "b c"}));
    for (const char* text : {"", "a,", "a,,b", "a,b,a"})
        EXPECT_EQ(
            test::thrownText<shell::CommandError>([text] { shell::readNames(text, "strategies"); }),
            "'" + std::string(text) +
                "' can't be strategies. Say names with commas between, each once.");
}

}  // namespace
