// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/statistics/verdict.h"

#include <gtest/gtest.h>

namespace {

using statistics::Family;
using statistics::Outcome;
using statistics::Values;
using statistics::Verdict;

/// Runs with the seeds 1, 2 ...
Family seeded(const Values& values) {
    Family family;
    family.reserve(values.size());
    for (const double value : values)
        family.push_back({static_cast<long>(family.size()) + 1, value});
    return family;
}

Family unseeded(const Values& values) {
    Family family;
    family.reserve(values.size());
    for (const double value : values)
        family.push_back({std::nullopt, value});
    return family;
}

TEST(VerdictTest, AFamilyThatIsHigherSeedBySeedIsHigher) {
    const Verdict verdict =
        judge(seeded({50, 61, 55, 53, 70, 58}), seeded({48, 58, 51, 52, 64, 53}), {});
    EXPECT_EQ(verdict.outcome, Outcome::kHigher);
    EXPECT_TRUE(verdict.isPaired);
    EXPECT_NEAR(verdict.chance, 2.0 / 64, 1e-12);
    EXPECT_EQ(verdict.shift.estimate, 3.5);
    EXPECT_TRUE(verdict.isExact);
}

TEST(VerdictTest, TheSameFamiliesTheOtherWayRoundAreLower) {
    const Verdict verdict =
        judge(seeded({48, 58, 51, 52, 64, 53}), seeded({50, 61, 55, 53, 70, 58}), {});
    EXPECT_EQ(verdict.outcome, Outcome::kLower);
    EXPECT_EQ(verdict.shift.estimate, -3.5);
}

TEST(VerdictTest, SeedsArePairedWhateverTheirOrder) {
    Family turned = seeded({48, 58, 51, 52, 64, 53});
    std::swap(turned[0], turned[4]);
    const Verdict verdict = judge(seeded({50, 61, 55, 53, 70, 58}), turned, {});
    EXPECT_TRUE(verdict.isPaired);
    EXPECT_EQ(verdict.shift.estimate, 3.5);
}

TEST(VerdictTest, OtherSeedsAreNotPaired) {
    Family other = seeded({48, 58, 51, 52});
    other.back().seed = 9;
    EXPECT_FALSE(judge(seeded({50, 61, 55, 53}), other, {}).isPaired);
    EXPECT_FALSE(judge(seeded({50, 61, 55, 53}), seeded({1, 2, 3}), {}).isPaired);
    EXPECT_FALSE(judge(unseeded({50, 61}), seeded({1, 2}), {}).isPaired);
}

TEST(VerdictTest, ASeedThatStandsTwiceInAFamilyIsNotPaired) {
    Family twice = seeded({1, 2, 3});
    twice[2].seed = 1;
    EXPECT_FALSE(judge(twice, twice, {}).isPaired);
}

TEST(VerdictTest, FamiliesApartAreToldApartWithoutPairs) {
    const Verdict verdict = judge(unseeded({1, 2, 3, 4}), unseeded({15, 16, 17, 18}), {});
    EXPECT_EQ(verdict.outcome, Outcome::kLower);
    EXPECT_FALSE(verdict.isPaired);
}

TEST(VerdictTest, ThreeSeedsCanNotTellAndAskForAsManyAsTheTestNeeds) {
    const Verdict verdict = judge(seeded({70, 71, 72}), seeded({50, 51, 52}), {});
    EXPECT_EQ(verdict.outcome, Outcome::kCantTell);
    EXPECT_EQ(verdict.moreSeeds, 3U);
}

TEST(VerdictTest, OneSeedAsksForAsManyAsTheTestNeeds) {
    EXPECT_EQ(judge(seeded({70}), seeded({50}), {}).moreSeeds, 5U);
    EXPECT_EQ(judge(unseeded({70}), unseeded({50, 51}), {}).moreSeeds, 3U);
}

TEST(VerdictTest, AFamilyWithoutValuesCanNotBeTold) {
    const Verdict verdict = judge({}, seeded({50}), {});
    EXPECT_EQ(verdict.outcome, Outcome::kCantTell);
    EXPECT_EQ(verdict.moreSeeds, 4U);
}

TEST(VerdictTest, ADifferenceWithinTheMarginIsNoRealOne) {
    // Within 1 % of 100.
    const Verdict verdict = judge(seeded({100.1, 99.9, 100.2, 99.8, 100.3, 100, 99.7, 100.1}),
                                  seeded({100, 100, 100.1, 100, 100, 99.9, 100, 100.2}), {});
    EXPECT_EQ(verdict.outcome, Outcome::kNoRealDifference);
    EXPECT_FALSE(verdict.moreSeeds);
}

TEST(VerdictTest, TheSameScatterIsNotEnoughForANarrowerMargin) {
    statistics::Question question;
    question.margin = 0.0005;
    const Verdict verdict = judge(seeded({100.1, 99.9, 100.2, 99.8, 100.3, 100, 99.7, 100.1}),
                                  seeded({100, 100, 100.1, 100, 100, 99.9, 100, 100.2}), question);
    EXPECT_EQ(verdict.outcome, Outcome::kCantTell);
    EXPECT_GT(verdict.moreSeeds.value_or(0), 10U);
}

TEST(VerdictTest, ASmallDifferenceThatTheTestSeesIsStillTold) {
    const Verdict verdict = judge(seeded({100.1, 200.2, 300.15, 400.1, 500.3, 600.2}),
                                  seeded({100, 200, 300, 400, 500, 600}), {});
    EXPECT_EQ(verdict.outcome, Outcome::kHigher);
}

TEST(VerdictTest, OneValueThroughoutIsNoRealDifference) {
    EXPECT_EQ(judge(seeded({38, 38, 38}), seeded({38, 38, 38}), {}).outcome,
              Outcome::kNoRealDifference);
    EXPECT_EQ(judge(seeded({0, 0}), seeded({0, 0}), {}).outcome, Outcome::kNoRealDifference);
}

TEST(VerdictTest, OneSeedThatIsEqualProvesNothing) {
    EXPECT_EQ(judge(seeded({38}), seeded({38}), {}).outcome, Outcome::kCantTell);
}

TEST(VerdictTest, AStricterLevelWantsMore) {
    statistics::Question strict;
    strict.level = 0.01;
    const Verdict verdict =
        judge(seeded({50, 61, 55, 53, 70, 58}), seeded({48, 58, 51, 52, 64, 53}), strict);
    EXPECT_EQ(verdict.outcome, Outcome::kCantTell);
    EXPECT_EQ(verdict.level, 0.01);
    EXPECT_GE(verdict.moreSeeds.value_or(0), 2U);
}

TEST(VerdictTest, AMedianOfNothingLeavesNoMargin) {
    EXPECT_EQ(judge(seeded({1, -1, 2}), seeded({-1, 1, 0}), {}).margin, 0);
}

}  // namespace
