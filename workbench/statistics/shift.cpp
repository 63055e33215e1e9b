// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/statistics/shift.h"

#include <algorithm>

#include "workbench/statistics/nullDistribution.h"

namespace statistics {

namespace {

/// The interval without the `cut` + 1 least and greatest of `all`, those excluded; `cut`
/// below 0 bounds nothing.
Shift shiftOf(Values all, long cut) {
    std::sort(all.begin(), all.end());
    Shift shift;
    shift.estimate = median(all);
    shift.isBounded = cut >= 0;
    if (shift.isBounded) {
        const auto place = static_cast<std::size_t>(cut);
        shift.low = all[place];
        shift.high = all[all.size() - 1 - place];
    }
    return shift;
}

}  // namespace

double Shift::uncertainty() const {
    return std::max(estimate - low, high - estimate);
}

Shift shiftBetween(const Values& first, const Values& second, double level) {
    Values differences;
    differences.reserve(first.size() * second.size());
    for (const double a : first) {
        for (const double b : second)
            differences.push_back(a - b);
    }
    const RankSums sums =
        RankSums::ofChoice(plainRanks(first.size() + second.size()), first.size());
    const auto count = static_cast<long>(first.size());
    const long least = count * (count + 1);
    const long critical = sums.criticalSum(level / 2);
    return shiftOf(differences, critical < least ? -1 : (critical - least) / 2);
}

Shift shiftOfPairs(const Values& differences, double level) {
    Values means;
    for (std::size_t i = 0; i < differences.size(); ++i) {
        for (std::size_t j = i; j < differences.size(); ++j)
            means.push_back((differences[i] + differences[j]) / 2);
    }
    const RankSums sums = RankSums::ofSigns(plainRanks(differences.size()));
    const long critical = sums.criticalSum(level / 2);
    return shiftOf(means, critical < 0 ? -1 : critical / 2);
}

}  // namespace statistics
