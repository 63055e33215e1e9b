// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/statistics/power.h"

#include <algorithm>
#include <cmath>

#include "workbench/statistics/nullDistribution.h"

namespace statistics {

namespace {

/// Up to here the level that `count` seeds can really reach differs from the stated one.
constexpr std::size_t kCoarseCount = 20;

/// The chance of the clearest outcomes that still lie within `level`, both sides together;
/// 0 when none does. The steps between outcomes are coarse for few seeds.
double reachedLevel(std::size_t count, double level, bool isPaired) {
    const RankSums sums = isPaired ? RankSums::ofSigns(plainRanks(count))
                                   : RankSums::ofChoice(plainRanks(2 * count), count);
    return 2 * sums.atMost(sums.criticalSum(level / 2));
}

/// How much greater a variance a rank test has to live with than the mean of values.
double rankPenalty() {
    return std::acos(-1.0) / 3;
}

/// The quantile of Student's t with `freedom` of 5 at least, by Cornish and Fisher.
double studentQuantile(double part, double freedom) {
    const double z = normalQuantile(part);
    const double z3 = z * z * z;
    const double z5 = z3 * z * z;
    const double z7 = z5 * z * z;
    return z + (z3 + z) / 4 / freedom + (5 * z5 + 16 * z3 + 3 * z) / 96 / (freedom * freedom) +
           (3 * z7 + 19 * z5 + 17 * z3 - 15 * z) / 384 / (freedom * freedom * freedom);
}

/// How often `count` seeds find the difference at `level`, about: as often as a t-test
/// would of so many fewer values as ranks tell less.
double powerOf(const PowerQuestion& question, std::size_t count, double level) {
    const double groups = question.isPaired ? 1 : 2;
    const auto seeds = static_cast<double>(count);
    const double freedom = std::max(groups * (seeds - 1), 5.0);
    const double shift =
        question.difference / question.deviation * std::sqrt(seeds / groups / rankPenalty());
    const double bound = studentQuantile(1 - level / 2, freedom);
    return normalBelow((shift - bound) / std::sqrt(1 + bound * bound / 2 / freedom));
}

/// The same of pairs so few that only differences of one sign all through are clear.
double powerOfOneSign(const PowerQuestion& question, std::size_t count) {
    return std::pow(normalBelow(question.difference / question.deviation),
                    static_cast<double>(count));
}

bool isEnough(const PowerQuestion& question, std::size_t count) {
    // Counting out takes longer; most counts fail without it.
    if (powerOf(question, count, question.level) < question.power)
        return false;
    if (count > kCoarseCount)
        return true;
    const double level = reachedLevel(count, question.level, question.isPaired);
    const bool needsOneSign =
        question.isPaired && level * std::ldexp(1.0, static_cast<int>(count)) < 3;
    return (needsOneSign ? powerOfOneSign(question, count) : powerOf(question, count, level)) >=
           question.power;
}

/// So many seeds a test of as many normally distributed values would need, if their
/// scatter were known; fewer never do.
double fewestByNormal(const PowerQuestion& question) {
    const double deviations =
        normalQuantile(1 - question.level / 2) + normalQuantile(question.power);
    const double ratio = deviations * question.deviation / question.difference;
    return ratio * ratio * (question.isPaired ? 1 : 2);
}

}  // namespace

std::size_t fewestSeeds(double level, bool isPaired) {
    std::size_t count = 1;
    while (reachedLevel(count, level, isPaired) <= 0)
        ++count;
    return count;
}

std::optional<std::size_t> seedsNeeded(const PowerQuestion& question) {
    const std::size_t fewest = fewestSeeds(question.level, question.isPaired);
    if (question.difference <= 0)
        return std::nullopt;
    if (question.deviation <= 0)
        return fewest;
    const double least = fewestByNormal(question);
    if (least > static_cast<double>(kMostSeeds))
        return std::nullopt;
    for (std::size_t count = std::max(fewest, static_cast<std::size_t>(least)); count <= kMostSeeds;
         ++count) {
        if (isEnough(question, count))
            return count;
    }
    return std::nullopt;
}

}  // namespace statistics
