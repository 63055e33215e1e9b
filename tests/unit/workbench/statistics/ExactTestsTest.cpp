// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/statistics/exactTests.h"

#include <algorithm>
#include <cmath>

#include <gtest/gtest.h>

#include "tests/unit/workbench/statistics/scatter.h"
#include "workbench/statistics/nullDistribution.h"

namespace {

using statistics::DoubledRanks;
using statistics::rankSumTest;
using statistics::signedRankTest;
using statistics::Values;

/// The rank sum test by looking at each way of choosing the first family.
double chanceByHand(const Values& first, const Values& second) {
    Values all = first;
    all.insert(all.end(), second.begin(), second.end());
    const DoubledRanks ranks = statistics::doubledRanks(all);
    long seen = 0;
    for (std::size_t i = 0; i < first.size(); ++i)
        seen += ranks[i];
    double ways = 0;
    double below = 0;
    double above = 0;
    for (unsigned mask = 0; mask < 1U << all.size(); ++mask) {
        std::size_t count = 0;
        long sum = 0;
        for (std::size_t i = 0; i < all.size(); ++i) {
            const bool isIn = (mask >> i & 1U) != 0;
            count += isIn ? 1 : 0;
            sum += isIn ? ranks[i] : 0;
        }
        if (count != first.size())
            continue;
        ++ways;
        below += sum <= seen ? 1 : 0;
        above += sum >= seen ? 1 : 0;
    }
    return std::min(1.0, 2 * std::min(below, above) / ways);
}

/// The signed rank test by looking at each way in which the signs may fall.
double chanceOfSignsByHand(const Values& differences) {
    Values sizes;
    sizes.reserve(differences.size());
    for (const double difference : differences)
        sizes.push_back(std::abs(difference));
    const DoubledRanks ranks = statistics::doubledRanks(sizes);
    long seen = 0;
    for (std::size_t i = 0; i < sizes.size(); ++i)
        seen += differences[i] > 0 ? ranks[i] : 0;
    double below = 0;
    double above = 0;
    for (unsigned mask = 0; mask < 1U << sizes.size(); ++mask) {
        long sum = 0;
        for (std::size_t i = 0; i < sizes.size(); ++i)
            sum += (mask >> i & 1U) != 0 && sizes[i] != 0 ? ranks[i] : 0;
        below += sum <= seen ? 1 : 0;
        above += sum >= seen ? 1 : 0;
    }
    return std::min(1.0, 2 * std::min(below, above) / static_cast<double>(1U << sizes.size()));
}

TEST(RanksTest, EqualValuesShareTheMeanOfTheirRanks) {
    EXPECT_EQ(statistics::doubledRanks({10, 30, 20}), (DoubledRanks{2, 6, 4}));
    EXPECT_EQ(statistics::doubledRanks({5, 5, 1}), (DoubledRanks{5, 5, 2}));
    EXPECT_EQ(statistics::doubledRanks({7, 7, 7}), (DoubledRanks{4, 4, 4}));
    EXPECT_TRUE(statistics::doubledRanks({}).empty());
}

TEST(RankSumTest, FamiliesApartHaveTheLeastChance) {
    EXPECT_NEAR(rankSumTest({1, 2, 3}, {4, 5, 6}).chance, 2.0 / 20, 1e-12);
    EXPECT_NEAR(rankSumTest({1, 2, 3, 4}, {5, 6, 7, 8}).chance, 2.0 / 70, 1e-12);
}

TEST(RankSumTest, AgreesWithPrintedTables) {
    // The critical value for 5 and 6 values at 5 % is a U of 3.
    EXPECT_NEAR(rankSumTest({1, 2, 3, 4, 8}, {5, 6, 7, 9, 10, 11}).chance, 2 * 7.0 / 462, 1e-12);
}

TEST(RankSumTest, CountsEveryDealOfTheValuesWithTies) {
    const std::pair<Values, Values> cases[] = {{{1, 1, 2}, {2, 3, 3, 3}},
                                               {{5, 5, 5}, {5, 6}},
                                               {{1, 2, 2, 2, 7}, {2, 2, 9, 9}},
                                               {{0}, {0, 0, 1}}};
    for (const auto& [first, second] : cases)
        EXPECT_NEAR(rankSumTest(first, second).chance, chanceByHand(first, second), 1e-12);
}

TEST(RankSumTest, CountsEveryDealOfScatteredValues) {
    test::Scatter scatter(3, test::Shape::kSteps);
    for (std::size_t size = 1; size <= 6; ++size) {
        const Values first = statistics::valuesOf(scatter.family(size, 0, 2));
        const Values second = statistics::valuesOf(scatter.family(7 - size, 1, 2));
        EXPECT_NEAR(rankSumTest(first, second).chance, chanceByHand(first, second), 1e-12);
    }
}

TEST(RankSumTest, IsTheSameFromEitherSide) {
    EXPECT_DOUBLE_EQ(rankSumTest({1, 4, 4, 9}, {2, 8, 9}).chance,
                     rankSumTest({2, 8, 9}, {1, 4, 4, 9}).chance);
}

TEST(RankSumTest, NothingIsClearWithoutValuesOrWithoutScatter) {
    EXPECT_EQ(rankSumTest({}, {1, 2, 3}).chance, 1);
    EXPECT_EQ(rankSumTest({1, 2, 3}, {}).chance, 1);
    EXPECT_EQ(rankSumTest({2, 2}, {2, 2}).chance, 1);
}

TEST(RankSumTest, BeyondCountingComesNearTheExactChance) {
    test::Scatter scatter(4, test::Shape::kNormal);
    const Values first = statistics::valuesOf(scatter.family(60, 0, 1));
    Values second = statistics::valuesOf(scatter.family(60, 0.4, 1));
    const statistics::TestResult exact = rankSumTest(first, second);
    EXPECT_TRUE(exact.isExact);
    second.push_back(0.4);
    const statistics::TestResult near = rankSumTest(first, second);
    EXPECT_FALSE(near.isExact);
    EXPECT_NEAR(near.chance, exact.chance, 0.01);
}

TEST(SignedRankTest, DifferencesOfOneSignHaveTheLeastChance) {
    EXPECT_NEAR(signedRankTest({1, 2, 3}).chance, 2.0 / 8, 1e-12);
    EXPECT_NEAR(signedRankTest({-1, -2, -3, -4, -5, -6}).chance, 2.0 / 64, 1e-12);
}

TEST(SignedRankTest, AgreesWithPrintedTables) {
    // Ranks 1 and 2 against all others of 8: the critical value at 5 % is a sum of 3.
    EXPECT_NEAR(signedRankTest({-1, -2, 3, 4, 5, 6, 7, 8}).chance, 2 * 5.0 / 256, 1e-12);
}

TEST(SignedRankTest, CountsEveryFallOfTheSignsWithTiesAndZeros) {
    for (const Values& differences :
         {Values{1, -1, 2, 2, -3}, Values{0, 1, 1, -4, 5}, Values{0, 0, 2, 3, 3, 3, -3}})
        EXPECT_NEAR(signedRankTest(differences).chance, chanceOfSignsByHand(differences), 1e-12);
}

TEST(SignedRankTest, NothingIsClearWithoutADifference) {
    EXPECT_EQ(signedRankTest({}).chance, 1);
    EXPECT_EQ(signedRankTest({0, 0, 0}).chance, 1);
}

TEST(SignedRankTest, BeyondCountingComesNearTheExactChance) {
    test::Scatter scatter(5, test::Shape::kNormal);
    Values differences = statistics::valuesOf(scatter.family(120, 0.2, 1));
    const statistics::TestResult exact = signedRankTest(differences);
    EXPECT_TRUE(exact.isExact);
    differences.push_back(0.2);
    const statistics::TestResult near = signedRankTest(differences);
    EXPECT_FALSE(near.isExact);
    EXPECT_NEAR(near.chance, exact.chance, 0.01);
}

TEST(NormalDistributionTest, QuantilesAreWhatLiesBelowTurnedRound) {
    EXPECT_NEAR(statistics::normalQuantile(0.975), 1.959964, 1e-6);
    EXPECT_NEAR(statistics::normalQuantile(0.5), 0, 1e-12);
    EXPECT_NEAR(statistics::normalBelow(statistics::normalQuantile(0.01)), 0.01, 1e-12);
}

}  // namespace
