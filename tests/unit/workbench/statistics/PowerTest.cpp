// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/statistics/power.h"

#include <gtest/gtest.h>

namespace {

using statistics::PowerQuestion;
using statistics::seedsNeeded;

PowerQuestion question(double difference, double deviation, bool isPaired) {
    PowerQuestion asked;
    asked.difference = difference;
    asked.deviation = deviation;
    asked.isPaired = isPaired;
    return asked;
}

TEST(PowerTest, TheFewestSeedsAreThoseWithAnOutcomeRareEnough) {
    EXPECT_EQ(statistics::fewestSeeds(0.05, false), 4U);
    EXPECT_EQ(statistics::fewestSeeds(0.05, true), 6U);
    EXPECT_EQ(statistics::fewestSeeds(0.01, false), 5U);
    EXPECT_EQ(statistics::fewestSeeds(0.01, true), 8U);
}

TEST(PowerTest, AHugeDifferenceNeedsTheFewest) {
    EXPECT_EQ(seedsNeeded(question(100, 1, true)), 6U);
    EXPECT_EQ(seedsNeeded(question(100, 1, false)), 4U);
    EXPECT_EQ(seedsNeeded(question(1, 0, true)), 6U);
}

TEST(PowerTest, HalfTheDifferenceNeedsAboutFourTimesTheSeeds) {
    const std::size_t some = *seedsNeeded(question(0.6, 1, true));
    const std::size_t more = *seedsNeeded(question(0.3, 1, true));
    EXPECT_NEAR(static_cast<double>(more) / static_cast<double>(some), 4, 0.4);
}

TEST(PowerTest, OnlyTheDifferenceInDeviationsCounts) {
    EXPECT_EQ(seedsNeeded(question(3, 5, false)), seedsNeeded(question(0.3, 0.5, false)));
}

TEST(PowerTest, MorePowerAndAStricterLevelNeedMoreSeeds) {
    PowerQuestion strict = question(1, 1, false);
    const std::size_t usual = *seedsNeeded(strict);
    strict.power = 0.95;
    EXPECT_GT(*seedsNeeded(strict), usual);
    strict.power = 0.8;
    strict.level = 0.01;
    EXPECT_GT(*seedsNeeded(strict), usual);
}

TEST(PowerTest, NoDifferenceIsNeverFound) {
    EXPECT_FALSE(seedsNeeded(question(0, 1, true)));
}

TEST(PowerTest, TellsNothingBeyondTheMostSeeds) {
    EXPECT_FALSE(seedsNeeded(question(0.001, 1, true)));
}

}  // namespace
