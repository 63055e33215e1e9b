// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/statistics/verdictText.h"

#include <gtest/gtest.h>

namespace {

using statistics::Better;
using statistics::Outcome;
using statistics::Verdict;
using statistics::verdictText;

Verdict different(double estimate, double low, double high) {
    Verdict verdict;
    verdict.outcome = estimate > 0 ? Outcome::kHigher : Outcome::kLower;
    verdict.shift = {estimate, true, low, high};
    return verdict;
}

Verdict cantTell(std::optional<std::size_t> more) {
    Verdict verdict;
    verdict.moreSeeds = more;
    return verdict;
}

TEST(VerdictTextTest, SaysHowMuchBetterAndHowSure) {
    EXPECT_EQ(verdictText(different(3.12, 2.41, 3.9), Better::kHigher, "MHz"),
              "better by 3.1 ± 0.8 MHz");
}

TEST(VerdictTextTest, LowerIsBetterWhereItIs) {
    EXPECT_EQ(verdictText(different(-12.2, -14.1, -10), Better::kLower, ""),
              "better by 12.2 ± 2.2");
    EXPECT_EQ(verdictText(different(-3, -4, -2.5), Better::kHigher, "ns"), "worse by 3.0 ± 1.0 ns");
}

TEST(VerdictTextTest, WhereNeitherSideIsBetterItIsHigherOrLower) {
    EXPECT_EQ(verdictText(different(3, 1, 5), Better::kNeither, ""), "higher by 3.0 ± 2.0");
    EXPECT_EQ(verdictText(different(-3, -5, -1), Better::kNeither, ""), "lower by 3.0 ± 2.0");
}

TEST(VerdictTextTest, ADifferenceWithoutScatterHasNoUncertainty) {
    EXPECT_EQ(verdictText(different(7, 7, 7), Better::kLower, ""), "worse by 7");
}

TEST(VerdictTextTest, SaysThatThereIsNoRealDifference) {
    Verdict verdict;
    verdict.outcome = Outcome::kNoRealDifference;
    EXPECT_EQ(verdictText(verdict, Better::kHigher, "MHz"), "no real difference");
}

TEST(VerdictTextTest, SaysHowManySeedsItTakes) {
    EXPECT_EQ(verdictText(cantTell(12), Better::kHigher, "MHz"),
              "can't tell: about 12 more seeds needed");
    EXPECT_EQ(verdictText(cantTell(1), Better::kHigher, "MHz"),
              "can't tell: about 1 more seed needed");
    EXPECT_EQ(verdictText(cantTell(std::nullopt), Better::kHigher, "MHz"),
              "can't tell: more than 1000 seeds needed");
}

TEST(VerdictTextTest, SaysWhichTestAndWhichLevel) {
    Verdict verdict;
    verdict.level = 0.05;
    verdict.isPaired = true;
    verdict.firstCount = verdict.secondCount = 6;
    EXPECT_EQ(testText(verdict),
              "exact signed-rank test (Wilcoxon) of 6 pairs of one seed, at the 5 % level");
    verdict.firstCount = 1;
    EXPECT_EQ(testText(verdict),
              "exact signed-rank test (Wilcoxon) of 1 pair of one seed, at the 5 % level");
    verdict.isPaired = false;
    verdict.isExact = false;
    verdict.level = 0.05 / 3;
    verdict.firstCount = 90;
    EXPECT_EQ(testText(verdict),
              "approximate rank sum test (Mann-Whitney) of 90 and 6 values, at the 1.67 % level");
}

TEST(VerdictTextTest, ValuesHaveTheDigitsThatTheirUncertaintyLeaves) {
    EXPECT_EQ(statistics::valueText(123.456, 20), "123");
    EXPECT_EQ(statistics::valueText(123.456, 3), "123");
    EXPECT_EQ(statistics::valueText(123.456, 0.8), "123.5");
    EXPECT_EQ(statistics::valueText(123.456, 0.12), "123.46");
    EXPECT_EQ(statistics::valueText(0.00348, 0.0006), "0.0035");
}

}  // namespace
