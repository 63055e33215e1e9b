// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/moreSeeds.h"

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "runs/base/xperiment/HAXPStrategy.h"
#include "shell/exitStatus.h"
#include "shell/runPlan.h"
#include "shell/sweep.h"
#include "tests/support/thrownText.h"
#include "tests/unit/workbench/TestBench.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/Project.h"
#include "workbench/openFlows.h"
#include "workbench/runFamily.h"
#include "workbench/strategyOptions.h"

namespace {

using shell::ComparedFamily;
using shell::FamilyPair;
using shell::MoreSeeds;
using statistics::Outcome;
using Names = std::vector<std::string>;
using Seeds = std::vector<long>;

/// Pairs of families with a verdict on Fmax.
class MoreSeedsForTest : public ::testing::Test {
protected:
    MoreSeedsForTest() {
        for (const char* name : {"a", "b", "c"}) {
            m_families.emplace_back();
            m_families.back().name = name;
        }
    }

    void addPair(std::size_t other, Outcome outcome, std::optional<std::size_t> more) {
        shell::FamilyRow row;
        row.figure = {"fmax", "Fmax", 0, "MHz", reports::Figure::kHigher};
        row.verdict.outcome = outcome;
        row.verdict.moreSeeds = more;
        m_pairs.push_back({&m_families[0], &m_families[other], {row}});
    }

    std::vector<ComparedFamily> m_families;
    std::vector<FamilyPair> m_pairs;
};

TEST_F(MoreSeedsForTest, BothFamiliesOfAPairGetThem) {
    addPair(1, Outcome::kCantTell, 12);
    const MoreSeeds more = moreSeedsFor(m_pairs, "fmax");
    EXPECT_EQ(more.families, (Names{"a", "b"}));
    EXPECT_EQ(more.count, 12U);
    EXPECT_EQ(more.runs(), 24U);
    EXPECT_EQ(shell::moreSeedsQuestion(more, {7, 8, 18}),
              "Fmax of a, b can't be told apart: about 12 more seeds of each needed. Make 24 runs "
              "(seeds 7-18) and launch them?");
}

TEST_F(MoreSeedsForTest, ThePairThatNeedsMostDecides) {
    addPair(1, Outcome::kCantTell, 3);
    addPair(2, Outcome::kCantTell, 9);
    const MoreSeeds more = moreSeedsFor(m_pairs, "fmax");
    EXPECT_EQ(more.families, (Names{"a", "b", "c"}));
    EXPECT_EQ(more.count, 9U);
}

TEST_F(MoreSeedsForTest, APairThatIsClearNeedsNone) {
    addPair(1, Outcome::kHigher, std::nullopt);
    addPair(2, Outcome::kNoRealDifference, std::nullopt);
    EXPECT_TRUE(moreSeedsFor(m_pairs, "fmax").empty());
}

TEST_F(MoreSeedsForTest, AnotherFigureDoesNotCount) {
    addPair(1, Outcome::kCantTell, 3);
    EXPECT_TRUE(moreSeedsFor(m_pairs, "luts").empty());
}

TEST_F(MoreSeedsForTest, WhereNoNumberWouldDoNoneAreAskedFor) {
    addPair(1, Outcome::kCantTell, std::nullopt);
    const MoreSeeds more = moreSeedsFor(m_pairs, "fmax");
    EXPECT_TRUE(more.empty());
    EXPECT_EQ(more.hopeless, Names{"b"});
}

/// A project with a sweep of two families, seeds 1 and 2.
class MakeMoreSeedsTest : public ::testing::Test {
protected:
    MakeMoreSeedsTest() : m_project(Project::create(m_bench.path("proj"), m_bench.inputs())) {
        m_project->createRun("synth_1", *OpenFlows::getSynthesis(), "Default", "");
        m_project->createRun("synth_2", *OpenFlows::getSynthesis(), "Default", "");
        shell::SweepRequest request;
        request.name = "night";
        request.flow = OpenFlows::getImplementation();
        request.strategies = {"Default", "Explore"};
        request.syntheses = {"synth_2"};
        request.seeds = {1, 2};
        request.toStep = "route";
        request.settings = {"no_tmdriv=true"};
        makeSweep(*m_project, request);
        m_more.families = {"night_Default", "night_Explore"};
        m_more.count = 2;
    }

    std::vector<HAXPExpRun*> make() {
        return makeMoreSeeds(*m_project, m_more, nextSeeds(*m_project, m_more));
    }

    test::TestBench m_bench;
    std::unique_ptr<Project> m_project;
    MoreSeeds m_more;
};

TEST_F(MakeMoreSeedsTest, TheNextNumbersAreTheSameForAllFamilies) {
    EXPECT_EQ(nextSeeds(*m_project, m_more), (Seeds{3, 4}));
    m_project->setOption(m_project->getRun("night_Explore_s2"), "place_design.seed", "9");
    EXPECT_EQ(nextSeeds(*m_project, m_more), (Seeds{10, 11}));
}

TEST_F(MakeMoreSeedsTest, ANumberWhoseNameIsTakenIsLeftOut) {
    m_project->createRun("night_Explore_s3", *OpenFlows::getImplementation(), "Default", "");
    EXPECT_EQ(nextSeeds(*m_project, m_more), (Seeds{4, 5}));
}

TEST_F(MakeMoreSeedsTest, TheNewRunsDifferFromTheOldOnesInTheirSeedAlone) {
    const std::vector<HAXPExpRun*> runs = make();
    ASSERT_EQ(runs.size(), 4U);
    EXPECT_EQ(runs[3]->getName(), "night_Explore_s4");
    const HAXPExpRun& first = m_project->getRun("night_Explore_s1");
    const auto found = workbench::differences(*first.getStrategy(), *runs[3]->getStrategy());
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].name, "seed");
    EXPECT_EQ(found[0].second, "4");
    EXPECT_EQ(m_project->getSynthesisOf(*runs[3])->getName(), "synth_2");
    EXPECT_EQ(m_project->getFamilyOf(*runs[3]).name, "night_Explore");
    EXPECT_EQ(m_project->getFamilyOf(*runs[3]).sweep, "night");
    std::string toStep;
    EXPECT_EQ(runs[3]->getToStepId(toStep), "route");
}

TEST_F(MakeMoreSeedsTest, AFamilyWhoseRunsDifferInMoreIsRefused) {
    m_project->setOption(m_project->getRun("night_Explore_s2"), "route_design.router", "router2");
    EXPECT_EQ(test::thrownText<shell::CommandError>([this] { make(); }),
              "night_Explore_s1 and night_Explore_s2 of the family night_Explore differ in more "
              "than their seed, so it isn't known what more runs of it are to be like. \"xp diff "
              "night_Explore_s1 night_Explore_s2\" shows where; make them alike first.");
}

TEST_F(MakeMoreSeedsTest, AThousandRunsAreTheMost) {
    m_more.count = 501;
    EXPECT_NE(test::thrownText<shell::CommandError>([this] { make(); }).find("1002 runs"),
              std::string::npos);
    EXPECT_EQ(shell::runsOfFamily(*m_project, "night").size(), 4U);
}

}  // namespace
