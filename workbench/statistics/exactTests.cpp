// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/statistics/exactTests.h"

#include <algorithm>
#include <cmath>

#include "workbench/statistics/nullDistribution.h"

namespace statistics {

namespace {

/// Twice the smaller side: which direction counts isn't known beforehand.
TestResult bothSides(const RankSums& sums, long sum) {
    return {std::min(1.0, 2 * std::min(sums.atMost(sum), sums.atLeast(sum))), sums.isExact()};
}

}  // namespace

TestResult rankSumTest(const Values& first, const Values& second) {
    if (first.empty() || second.empty())
        return {};
    Values all = first;
    all.insert(all.end(), second.begin(), second.end());
    const DoubledRanks ranks = doubledRanks(all);
    long sum = 0;
    for (std::size_t i = 0; i < first.size(); ++i)
        sum += ranks[i];
    return bothSides(RankSums::ofChoice(ranks, first.size()), sum);
}

TestResult signedRankTest(const Values& differences) {
    Values sizes;
    sizes.reserve(differences.size());
    for (const double difference : differences)
        sizes.push_back(std::abs(difference));
    const DoubledRanks all = doubledRanks(sizes);
    DoubledRanks ranks;
    long sum = 0;
    for (std::size_t i = 0; i < differences.size(); ++i) {
        if (differences[i] == 0)
            continue;
        ranks.push_back(all[i]);
        sum += differences[i] > 0 ? all[i] : 0;
    }
    return bothSides(RankSums::ofSigns(ranks), sum);
}

}  // namespace statistics
