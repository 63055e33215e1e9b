// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/statistics/shift.h"

#include <gtest/gtest.h>

#include "tests/unit/workbench/statistics/scatter.h"
#include "workbench/statistics/exactTests.h"

namespace {

using statistics::Shift;
using statistics::shiftBetween;
using statistics::shiftOfPairs;
using statistics::Values;

/// `values`, each moved by `by`.
Values moved(Values values, double by) {
    for (double& value : values)
        value += by;
    return values;
}

TEST(ShiftTest, IsTheMedianOfAllDifferences) {
    EXPECT_EQ(shiftBetween({1, 2, 9}, {0, 1}, 0.05).estimate, 1.5);
}

TEST(ShiftTest, OfPairsIsTheMedianOfAllMeansOfTwo) {
    // The means are 0, 1, 2, 2, 3, 4.
    EXPECT_EQ(shiftOfPairs({0, 2, 4}, 0.05).estimate, 2);
    EXPECT_EQ(shiftOfPairs({3}, 0.05).estimate, 3);
}

TEST(ShiftTest, IsNotBoundedWhileNoOutcomeIsRareEnough) {
    EXPECT_FALSE(shiftBetween({1, 2, 3}, {4, 5, 6}, 0.05).isBounded);
    EXPECT_TRUE(shiftBetween({1, 2, 3, 4}, {5, 6, 7, 8}, 0.05).isBounded);
    EXPECT_FALSE(shiftOfPairs({1, 2, 3, 4, 5}, 0.05).isBounded);
    EXPECT_TRUE(shiftOfPairs({1, 2, 3, 4, 5, 6}, 0.05).isBounded);
}

TEST(ShiftTest, TheWidestIntervalReachesFromEndToEnd) {
    const Shift shift = shiftOfPairs({1, 2, 3, 4, 5, 6}, 0.05);
    EXPECT_EQ(shift.low, 1);
    EXPECT_EQ(shift.high, 6);
    EXPECT_EQ(shift.uncertainty(), 2.5);
    EXPECT_EQ(shiftBetween({1, 2, 3, 4}, {0, 0, 0, 0}, 0.05).low, 1);
}

TEST(ShiftTest, TheIntervalHoldsJustTheShiftsThatTheTestDoesNotRefuse) {
    test::Scatter scatter(11, test::Shape::kNormal);
    const Values first = statistics::valuesOf(scatter.family(7, 1, 1));
    const Values second = statistics::valuesOf(scatter.family(6, 0, 1));
    const Shift shift = shiftBetween(first, second, 0.05);
    const double little = 1e-9;
    EXPECT_GT(statistics::rankSumTest(first, moved(second, shift.low + little)).chance, 0.05);
    EXPECT_LE(statistics::rankSumTest(first, moved(second, shift.low - little)).chance, 0.05);
    EXPECT_GT(statistics::rankSumTest(first, moved(second, shift.high - little)).chance, 0.05);
    EXPECT_LE(statistics::rankSumTest(first, moved(second, shift.high + little)).chance, 0.05);
}

TEST(ShiftTest, TheIntervalOfPairsHoldsJustTheShiftsThatTheTestDoesNotRefuse) {
    test::Scatter scatter(12, test::Shape::kNormal);
    const Values differences = statistics::valuesOf(scatter.family(9, 1, 1));
    const Shift shift = shiftOfPairs(differences, 0.05);
    const double little = 1e-9;
    EXPECT_GT(statistics::signedRankTest(moved(differences, -shift.low - little)).chance, 0.05);
    EXPECT_LE(statistics::signedRankTest(moved(differences, -shift.low + little)).chance, 0.05);
    EXPECT_GT(statistics::signedRankTest(moved(differences, -shift.high + little)).chance, 0.05);
    EXPECT_LE(statistics::signedRankTest(moved(differences, -shift.high - little)).chance, 0.05);
}

TEST(ShiftTest, TurnsItsSignWithTheFamilies) {
    const Shift one = shiftBetween({1, 5, 6, 9}, {2, 3, 3, 4}, 0.05);
    const Shift other = shiftBetween({2, 3, 3, 4}, {1, 5, 6, 9}, 0.05);
    EXPECT_DOUBLE_EQ(one.estimate, -other.estimate);
    EXPECT_DOUBLE_EQ(one.low, -other.high);
    EXPECT_DOUBLE_EQ(one.high, -other.low);
}

}  // namespace
