// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/statistics/summary.h"

#include <cmath>

#include <gtest/gtest.h>

namespace {

using statistics::Summary;

TEST(SummaryTest, TheMedianIsTheMiddleValueWhateverTheOrder) {
    EXPECT_EQ(statistics::median({5, 1, 3}), 3);
    EXPECT_EQ(statistics::median({7}), 7);
}

TEST(SummaryTest, TheMedianOfAnEvenNumberLiesBetweenTheMiddleOnes) {
    EXPECT_EQ(statistics::median({1, 4, 2, 10}), 3);
}

TEST(SummaryTest, QuartilesHoldTheMiddleHalf) {
    const Summary summary = statistics::summarise({5, 1, 4, 2, 3});
    EXPECT_EQ(summary.count, 5U);
    EXPECT_EQ(summary.lowerQuartile, 2);
    EXPECT_EQ(summary.median, 3);
    EXPECT_EQ(summary.upperQuartile, 4);
    EXPECT_EQ(summary.least, 1);
    EXPECT_EQ(summary.greatest, 5);
}

TEST(SummaryTest, QuartilesBetweenTwoValuesGoByAStraightLine) {
    const Summary summary = statistics::summarise({0, 10});
    EXPECT_EQ(summary.lowerQuartile, 2.5);
    EXPECT_EQ(summary.upperQuartile, 7.5);
}

TEST(SummaryTest, OneWildValueMovesNeitherMedianNorQuartilesFar) {
    const Summary wild = statistics::summarise({1, 2, 3, 4, 5000});
    EXPECT_EQ(wild.median, 3);
    EXPECT_EQ(wild.upperQuartile, 4);
}

TEST(SummaryTest, OfNoValuesIsAllZero) {
    EXPECT_EQ(statistics::summarise({}).count, 0U);
    EXPECT_EQ(statistics::summarise({}).median, 0);
}

TEST(SummaryTest, TheDeviationDividesByOneLessThanTheCount) {
    EXPECT_DOUBLE_EQ(statistics::deviation({1, 3}), std::sqrt(2.0));
    EXPECT_EQ(statistics::deviation({4}), 0);
    EXPECT_EQ(statistics::deviation({}), 0);
}

}  // namespace
