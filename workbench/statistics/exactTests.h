// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include "workbench/statistics/summary.h"

/// Tests of whether two families differ by more than chance.
///
/// Both go by ranks and count out every way in which chance could have dealt the values
/// that are there, equal values included. So the level holds for three seeds as for thirty,
/// and whatever the shape of the scatter: figures of runs are skewed, have wild seeds and
/// come in steps, and there are few of them. A t-test leans on a normal distribution, and
/// drawing the few values again and again leans on their being many; with six seeds
/// both call chance a difference too often.
namespace statistics {

struct TestResult {
    /// The chance of a difference at least as clear, in either direction, where there is
    /// none.
    double chance = 1;
    /// Whether it was counted out; false for families too big for that.
    bool isExact = true;
};

/// The rank sum test (Mann-Whitney) of two families that have nothing to do with each
/// other. Never clear when one is empty.
TestResult rankSumTest(const Values& first, const Values& second);

/// The signed rank test (Wilcoxon) of pairs, given the difference within each. Pairs that
/// don't differ keep their places in the ranks, but speak for neither side.
TestResult signedRankTest(const Values& differences);

}  // namespace statistics
