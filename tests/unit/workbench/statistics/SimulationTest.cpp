// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
//
// What verdicts promise, held against families whose truth is known. The generators begin
// at fixed numbers, so that a test sees the same families each time.
#include <algorithm>
#include <cmath>
#include <ostream>
#include <string>

#include <gtest/gtest.h>

#include "tests/unit/workbench/statistics/scatter.h"
#include "workbench/statistics/power.h"
#include "workbench/statistics/verdict.h"

namespace {

using statistics::Family;
using statistics::Outcome;
using statistics::Question;
using test::Shape;
using test::withoutSeeds;

constexpr double kMiddle = 50;

bool isDifferent(const statistics::Verdict& verdict) {
    return verdict.outcome == Outcome::kHigher || verdict.outcome == Outcome::kLower;
}

/// The runs `more` behind those of `family`, with the next seeds.
void addSeeds(Family& family, const Family& more) {
    const auto last = static_cast<long>(family.size());
    for (const statistics::Sample& sample : more)
        family.push_back({*sample.seed + last, sample.value});
}

/// Families without a difference.
struct EqualCase {
    const char* name;
    Shape shape;
    std::size_t first;
    std::size_t second;
    bool hasSeeds;
    double level;
};

std::ostream& operator<<(std::ostream& os, const EqualCase& row) {
    return os << row.name;
}

class EqualFamiliesTest : public ::testing::TestWithParam<EqualCase> {};

TEST_P(EqualFamiliesTest, AreCalledDifferentAtMostAsOftenAsStated) {
    constexpr int kTrials = 2000;
    const EqualCase& row = GetParam();
    test::Scatter scatter(1000, row.shape);
    Question question;
    question.level = row.level;
    int different = 0;
    for (int i = 0; i < kTrials; ++i) {
        const Family first = scatter.family(row.first, kMiddle, 3);
        const Family second = scatter.family(row.second, kMiddle, 3);
        different += isDifferent(judge(row.hasSeeds ? first : withoutSeeds(first),
                                       row.hasSeeds ? second : withoutSeeds(second), question))
                         ? 1
                         : 0;
    }
    EXPECT_LE(different, test::mostByChance(kTrials, row.level));
    // And the test isn't blind: some do come out different.
    EXPECT_GT(different, 0);
}

INSTANTIATE_TEST_SUITE_P(
    Simulated, EqualFamiliesTest,
    ::testing::Values(EqualCase{"SixSeedsOfEach", Shape::kNormal, 6, 6, true, 0.05},
                      EqualCase{"TwelveSeedsOfEach", Shape::kNormal, 12, 12, true, 0.05},
                      EqualCase{"SkewedPairs", Shape::kSkewed, 8, 8, true, 0.05},
                      EqualCase{"PairsInSteps", Shape::kSteps, 8, 8, true, 0.05},
                      EqualCase{"FourOfEach", Shape::kNormal, 4, 4, false, 0.05},
                      EqualCase{"FiveAndNine", Shape::kNormal, 5, 9, false, 0.05},
                      EqualCase{"Skewed", Shape::kSkewed, 6, 7, false, 0.05},
                      EqualCase{"InSteps", Shape::kSteps, 6, 6, false, 0.05},
                      EqualCase{"AtTenPercent", Shape::kNormal, 10, 10, false, 0.1},
                      EqualCase{"AtOnePercent", Shape::kNormal, 10, 10, true, 0.01}),
    [](const auto& row) { return std::string(row.param.name); });

/// Families with a difference, in deviations of one family.
struct DifferentCase {
    const char* name;
    Shape shape;
    double difference;
    bool isPaired;
    double power;
};

std::ostream& operator<<(std::ostream& os, const DifferentCase& row) {
    return os << row.name;
}

class DifferentFamiliesTest : public ::testing::TestWithParam<DifferentCase> {
protected:
    /// The seeds that the power estimate asks for.
    static std::size_t seeds() {
        statistics::PowerQuestion asked;
        asked.difference = GetParam().difference;
        // Of the difference of two independent values.
        asked.deviation = GetParam().isPaired ? std::sqrt(2.0) : 1;
        asked.power = GetParam().power;
        asked.isPaired = GetParam().isPaired;
        return *statistics::seedsNeeded(asked);
    }
};

TEST_P(DifferentFamiliesTest, AreToldApartWithThePowerPromised) {
    constexpr int kTrials = 700;
    const DifferentCase& row = GetParam();
    const std::size_t count = seeds();
    test::Scatter scatter(2000, row.shape);
    int found = 0;
    for (int i = 0; i < kTrials; ++i) {
        Family first = scatter.family(count, kMiddle + row.difference, 1);
        Family second = scatter.family(count, kMiddle, 1);
        if (!row.isPaired) {
            first = withoutSeeds(first);
            second = withoutSeeds(second);
        }
        found += judge(first, second, {}).outcome == Outcome::kHigher ? 1 : 0;
    }
    EXPECT_GE(found, test::fewestByChance(kTrials, row.power)) << count << " seeds";
    // Nor does it ask for far more than it takes, beyond the fewest seeds that can tell.
    if (count > statistics::fewestSeeds(0.05, row.isPaired)) {
        EXPECT_LE(found, kTrials * (row.power + 0.7 * (1 - row.power))) << count << " seeds";
    }
}

INSTANTIATE_TEST_SUITE_P(
    Simulated, DifferentFamiliesTest,
    ::testing::Values(DifferentCase{"PartOfADeviationInPairs", Shape::kNormal, 0.6, true, 0.8},
                      DifferentCase{"OneDeviationInPairs", Shape::kNormal, 1, true, 0.8},
                      DifferentCase{"TwoDeviationsInPairs", Shape::kNormal, 2, true, 0.8},
                      DifferentCase{"ThreeDeviationsInPairs", Shape::kNormal, 3, true, 0.8},
                      DifferentCase{"PartOfADeviation", Shape::kNormal, 0.8, false, 0.8},
                      DifferentCase{"OneDeviation", Shape::kNormal, 1, false, 0.8},
                      DifferentCase{"TwoDeviations", Shape::kNormal, 2, false, 0.8},
                      DifferentCase{"ThreeDeviations", Shape::kNormal, 3, false, 0.8},
                      DifferentCase{"WithMorePower", Shape::kNormal, 1.3, false, 0.9}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(SecondLookSimulationTest, TwoLooksCallEqualFamiliesDifferentAtMostAsOftenAsStated) {
    constexpr int kTrials = 2000;
    test::Scatter scatter(4000, Shape::kNormal);
    Question question;
    Question again;
    again.level = question.level / 2;
    int different = 0;
    for (int i = 0; i < kTrials; ++i) {
        Family first = scatter.family(6, kMiddle, 3);
        Family second = scatter.family(6, kMiddle, 3);
        const statistics::Verdict verdict = judge(first, second, question);
        bool isTold = isDifferent(verdict);
        if (verdict.outcome == Outcome::kCantTell) {
            // As many as it asks for, but no more than a test has time for.
            const std::size_t more = std::min<std::size_t>(verdict.moreSeeds.value_or(20), 20);
            addSeeds(first, scatter.family(more, kMiddle, 3));
            addSeeds(second, scatter.family(more, kMiddle, 3));
            isTold = isDifferent(judge(first, second, again));
        }
        different += isTold ? 1 : 0;
    }
    EXPECT_LE(different, test::mostByChance(kTrials, question.level + again.level));
    EXPECT_GT(different, 0);
}

TEST(IntervalSimulationTest, HoldsTheTrueDifferenceAsOftenAsStated) {
    constexpr int kTrials = 2000;
    test::Scatter scatter(3000, Shape::kSkewed);
    int missed = 0;
    for (int i = 0; i < kTrials; ++i) {
        const statistics::Verdict verdict =
            judge(scatter.family(8, kMiddle + 1, 2), scatter.family(8, kMiddle, 2), {});
        missed += verdict.shift.low > 1 || verdict.shift.high < 1 ? 1 : 0;
    }
    EXPECT_LE(missed, test::mostByChance(kTrials, 0.05));
}

TEST(MarginSimulationTest, NoRealDifferenceIsSeldomSaidOfOneTwiceTheMargin) {
    constexpr int kTrials = 2000;
    test::Scatter scatter(4000, Shape::kNormal);
    int wrong = 0;
    for (int i = 0; i < kTrials; ++i) {
        // The margin is 1 % of 50; the families are 1 apart.
        const statistics::Verdict verdict =
            judge(scatter.family(10, kMiddle + 1, 0.5), scatter.family(10, kMiddle, 0.5), {});
        wrong += verdict.outcome == Outcome::kNoRealDifference ? 1 : 0;
    }
    EXPECT_LE(wrong, test::mostByChance(kTrials, 0.05));
}

TEST(MoreSeedsSimulationTest, TheSeedsAskedForTellMostFamiliesApart) {
    constexpr int kTrials = 400;
    test::Scatter scatter(5000, Shape::kNormal);
    int asked = 0;
    int found = 0;
    for (int i = 0; i < kTrials; ++i) {
        const statistics::Verdict first =
            judge(scatter.family(6, kMiddle + 2, 1.5), scatter.family(6, kMiddle, 1.5), {});
        if (first.outcome != Outcome::kCantTell || !first.moreSeeds || *first.moreSeeds > 60)
            continue;
        ++asked;
        const std::size_t count = 6 + *first.moreSeeds;
        found += isDifferent(judge(scatter.family(count, kMiddle + 2, 1.5),
                                   scatter.family(count, kMiddle, 1.5), {}))
                     ? 1
                     : 0;
    }
    ASSERT_GT(asked, 50);
    // The scatter of six seeds is known only roughly, and so is the number.
    EXPECT_GE(found, test::fewestByChance(asked, 0.7));
}

}  // namespace
