// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/familyComparison.h"

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "shell/familyView.h"
#include "tests/unit/workbench/statistics/scatter.h"

namespace {

using reports::Figure;
using shell::ComparedFamily;
using shell::ComparedRun;
using shell::FamilyPair;
using statistics::Outcome;

/// A run of the family `family` that is done.
ComparedRun seededRun(const std::string& family, int seed, double fmax) {
    ComparedRun run;
    run.name = family + "_s" + std::to_string(seed);
    run.family = family;
    run.status = "done";
    run.isDone = true;
    run.figures = {{"fmax", "Fmax", fmax, "MHz", Figure::kHigher},
                   {"luts", "LUTs", 38, "", Figure::kLower}};
    run.options = {{"place_design.seed", std::to_string(seed)}};
    return run;
}

class FamilyComparisonTest : public ::testing::Test {
protected:
    void addFamily(const std::string& name, const std::vector<double>& values) {
        int seed = 0;
        for (const double value : values)
            m_runs.push_back(seededRun(name, ++seed, value));
    }
    std::vector<ComparedFamily> families() const { return familiesOf(m_runs); }
    std::string text(bool isWhole = true) const {
        const auto all = families();
        return familyTables(all, compareFamilies(all, {}), {}, isWhole);
    }

    std::vector<ComparedRun> m_runs;
};

TEST_F(FamilyComparisonTest, RunsAreGroupedByTheirFamily) {
    addFamily("a", {50, 51});
    addFamily("b", {60});
    m_runs.push_back(seededRun("", 1, 10));
    const auto all = families();
    ASSERT_EQ(all.size(), 2U);
    EXPECT_EQ(all[0].name, "a");
    EXPECT_EQ(all[0].runs.size(), 2U);
    EXPECT_EQ(all[1].runs.size(), 1U);
}

TEST_F(FamilyComparisonTest, WhatIsStaleOrNotDoneIsLeftOut) {
    addFamily("a", {50, 51, 52});
    m_runs[0].isStale = true;
    m_runs[1].isDone = false;
    m_runs[1].status = "failed";
    const auto all = families();
    ASSERT_EQ(all[0].leftOut.size(), 2U);
    EXPECT_EQ(all[0].leftOut[1].reason, "it isn't done (failed)");
    EXPECT_EQ(samplesOf(all[0], "fmax").size(), 1U);
}

TEST_F(FamilyComparisonTest, SamplesCarryTheSeedOfTheOption) {
    addFamily("a", {50, 51});
    m_runs[1].options[0].value = "77";
    const statistics::Family samples = samplesOf(families()[0], "fmax");
    EXPECT_EQ(samples[0].seed, 1);
    EXPECT_EQ(samples[1].seed, 77);
    EXPECT_EQ(samples[1].value, 51);
    EXPECT_TRUE(samplesOf(families()[0], "none").empty());
    EXPECT_FALSE(seedOf(ComparedRun()));
}

TEST_F(FamilyComparisonTest, TheOtherIsJudgedAgainstTheFirst) {
    addFamily("a", {48, 58, 51, 52, 64, 53});
    addFamily("b", {50, 61, 55, 53, 70, 58});
    const auto all = families();
    const std::vector<FamilyPair> pairs = compareFamilies(all, {});
    ASSERT_EQ(pairs.size(), 1U);
    EXPECT_EQ(pairs[0].rows[0].verdict.outcome, Outcome::kHigher);
    EXPECT_TRUE(pairs[0].rows[0].verdict.isPaired);
    EXPECT_EQ(pairs[0].rows[0].base.median, 52.5);
    EXPECT_EQ(pairs[0].rows[0].other.median, 56.5);
}

TEST_F(FamilyComparisonTest, FiguresThatAreTheSameInBothFamiliesAreCountedAlone) {
    addFamily("a", {48, 58, 51, 52, 64, 53});
    addFamily("b", {50, 61, 55, 53, 70, 58});
    const std::string whole = text(true);
    const std::string row =
        "LUTs      38                     38                    no real difference\n";
    std::string expected = whole;
    expected.replace(expected.find(row), row.size(),
                     "1 more figure is the same in all of these runs: --all shows it.\n");
    EXPECT_EQ(text(false), expected);
    m_runs.back().figures[1].value = 39;
    EXPECT_NE(text(false).find("LUTs "), std::string::npos);
}

TEST_F(FamilyComparisonTest, TheVerdictsOfOneFigureAreALineAPair) {
    addFamily("a", {48, 58, 51, 52, 64, 53});
    addFamily("b", {50, 61, 55, 53, 70, 58});
    addFamily("c", {48, 58, 51, 52, 64, 53});
    const auto all = families();
    const std::vector<std::string> lines = pairVerdicts(compareFamilies(all, {}), "luts");
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[1], "LUTs of c against a: no real difference");
}

TEST_F(FamilyComparisonTest, TheTableTellsMediansQuartilesAndVerdicts) {
    addFamily("a", {48, 58, 51, 52, 64, 53});
    addFamily("b", {50, 61, 55, 53, 70, 58});
    EXPECT_EQ(text(),
              "Figure    a (6 runs)             b (6 runs)            b against a\n"
              "Fmax MHz  52.5 (51.25 to 56.75)  56.5 (53.5 to 60.25)  better by 3.5 ± 2.5 MHz\n"
              "LUTs      38                     38                    no real difference\n"
              "Test: exact signed-rank test (Wilcoxon) of 6 pairs of one seed, at the 5 % level, "
              "for each figure by itself.\n"
              "\n"
              "Values are medians with quartiles; a difference up to 1 % of the median counts as "
              "none; seeds needed are those of each family.\n");
}

TEST_F(FamilyComparisonTest, FewSeedsAskForMore) {
    addFamily("a", {48, 58, 51});
    addFamily("b", {50, 61, 55});
    EXPECT_NE(text().find("can't tell: about "), std::string::npos) << text();
}

TEST_F(FamilyComparisonTest, SeveralFamiliesShareTheLevel) {
    addFamily("a", {48, 58, 51, 52, 64, 53});
    addFamily("b", {50, 61, 55, 53, 70, 58});
    addFamily("c", {50, 61, 55, 53, 70, 58});
    const auto all = families();
    const std::vector<FamilyPair> pairs = compareFamilies(all, {});
    ASSERT_EQ(pairs.size(), 2U);
    EXPECT_DOUBLE_EQ(pairs[1].rows[0].verdict.level, 0.025);
    // Six pairs can't be that sure.
    EXPECT_EQ(pairs[1].rows[0].verdict.outcome, Outcome::kCantTell);
    EXPECT_NE(text().find("Each comparison has its share of the level, so that 5 % hold for all 2 "
                          "together.\n"),
              std::string::npos);
}

TEST_F(FamilyComparisonTest, TheBestIsJudgedAgainstEachOtherAtTheLevelOfAllPairs) {
    addFamily("a", {48, 58, 51, 52, 64, 53});
    addFamily("b", {50, 61, 55, 53, 70, 58});
    addFamily("c", {1, 2, 3, 4, 5, 6});
    const auto all = families();
    const std::vector<FamilyPair> pairs = compareBest(all, all[1], {"fmax"}, {});
    ASSERT_EQ(pairs.size(), 2U);
    EXPECT_EQ(pairs[0].base->name, "a");
    EXPECT_EQ(pairs[1].base->name, "c");
    EXPECT_EQ(pairs[1].other->name, "b");
    ASSERT_EQ(pairs[1].rows.size(), 1U);
    EXPECT_DOUBLE_EQ(pairs[1].rows[0].verdict.level, 0.05 / 3);
}

TEST_F(FamilyComparisonTest, AVerdictInALineSaysWhoAgainstWhom) {
    addFamily("a", {48, 58, 51, 52, 64, 53});
    addFamily("b", {50, 61, 55, 53, 70, 58});
    const auto all = families();
    const FamilyPair pair = compareBest(all, all[1], {"fmax"}, {}).front();
    EXPECT_EQ(verdictLine(pair, pair.rows.front()),
              "Fmax of b against a: better by 3.5 ± 2.5 MHz (exact signed-rank test (Wilcoxon) of "
              "6 pairs of one seed, at the 5 % level)");
}

TEST_F(FamilyComparisonTest, AFamilyWhoseRunsDifferInMoreThanTheirSeedIsTold) {
    addFamily("a", {48, 58});
    addFamily("b", {48, 58});
    m_runs[0].options.push_back({"route_design.router", "router1"});
    m_runs[1].options.push_back({"route_design.router", "router2"});
    EXPECT_NE(text().find("The runs of a differ in more than their seed: route_design.router\n"),
              std::string::npos)
        << text();
}

TEST_F(FamilyComparisonTest, AFamilyIsChosenByItsMedians) {
    addFamily("a", {48, 58, 51});
    const ComparedRun run = medianRun(families()[0]);
    EXPECT_EQ(run.name, "a");
    EXPECT_TRUE(run.isDone);
    EXPECT_EQ(figureOf(run, "fmax")->value, 51);
}

TEST_F(FamilyComparisonTest, AFamilyOfWhichNothingCanBeJudgedIsNotDone) {
    addFamily("a", {48, 58});
    for (ComparedRun& run : m_runs)
        run.isDone = false;
    EXPECT_FALSE(medianRun(families()[0]).isDone);
    EXPECT_FALSE(medianRun(families()[0]).isStale);
    for (ComparedRun& run : m_runs)
        run.isStale = true;
    EXPECT_TRUE(medianRun(families()[0]).isStale);
}

TEST_F(FamilyComparisonTest, ForScriptsEachVerdictHasItsNumbers) {
    addFamily("a", {48, 58, 51, 52, 64, 53});
    addFamily("b", {50, 61, 55, 53, 70, 58});
    const auto all = families();
    const nlohmann::json json = familiesJson(all, compareFamilies(all, {}), {});
    EXPECT_EQ(json["families"][0]["name"], "a");
    EXPECT_EQ(json["families"][1]["runs"].size(), 6U);
    const nlohmann::json& fmax = json["comparisons"][0]["figures"][0];
    EXPECT_EQ(json["comparisons"][0]["base"], "a");
    EXPECT_EQ(fmax["figure"], "fmax");
    EXPECT_EQ(fmax["outcome"], "higher");
    EXPECT_EQ(fmax["difference"], 3.5);
    EXPECT_EQ(fmax["low"], 1);
    EXPECT_EQ(fmax["high"], 6);
    EXPECT_EQ(fmax["paired"], true);
    EXPECT_EQ(fmax["base"]["count"], 6);
    EXPECT_TRUE(fmax["more_seeds"].is_null());
}

/// `count` families of eight seeds that differ by nothing but chance.
std::vector<ComparedRun> equalFamilies(test::Scatter& scatter, int count) {
    std::vector<ComparedRun> runs;
    for (int i = 0; i < count; ++i) {
        int seed = 0;
        for (const statistics::Sample& sample : scatter.family(8, 50, 3))
            runs.push_back(seededRun("f" + std::to_string(i), ++seed, sample.value));
    }
    return runs;
}

const ComparedFamily& bestByFmax(const std::vector<ComparedFamily>& families) {
    return *std::max_element(families.begin(), families.end(), [](const auto& a, const auto& b) {
        return medianRun(a).figures.front().value < medianRun(b).figures.front().value;
    });
}

TEST(PickedBestSimulationTest, OfEqualFamiliesTheBestIsCalledDifferentAtMostAsOftenAsStated) {
    constexpr int kTrials = 1000;
    test::Scatter scatter(5000, test::Shape::kNormal);
    const statistics::Question question;
    int different = 0;
    for (int i = 0; i < kTrials; ++i) {
        const std::vector<ComparedRun> runs = equalFamilies(scatter, 4);
        const std::vector<ComparedFamily> families = familiesOf(runs);
        const auto pairs = compareBest(families, bestByFmax(families), {"fmax"}, question);
        different +=
            std::any_of(pairs.begin(), pairs.end(),
                        [](const FamilyPair& pair) {
                            const Outcome outcome = pair.rows.front().verdict.outcome;
                            return outcome == Outcome::kHigher || outcome == Outcome::kLower;
                        })
                ? 1
                : 0;
    }
    EXPECT_LE(different, test::mostByChance(kTrials, question.level));
    // And the test isn't blind.
    EXPECT_GT(different, 0);
}

}  // namespace
