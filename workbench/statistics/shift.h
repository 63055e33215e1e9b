// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include "workbench/statistics/summary.h"

/// By how much two families differ, and how sure that is.
namespace statistics {

/// An estimate with the interval that holds the true value with the confidence asked for.
struct Shift {
    double estimate = 0;
    /// False when there are too few values for that confidence; low and high mean nothing
    /// then.
    bool isBounded = false;
    double low = 0;
    double high = 0;

    /// Half the interval, seen from the estimate to its farther end.
    double uncertainty() const;
};

/// How much higher `first` is than `second`: the median of all differences between a value
/// of the one and a value of the other (Hodges-Lehmann). The interval leaves out at most
/// `level` (0.05 for 95 % confidence) and belongs to rankSumTest(). Needs a value in each.
Shift shiftBetween(const Values& first, const Values& second, double level);

/// The same of pairs, from the differences within them: the median of the means of any two.
/// Belongs to signedRankTest(). Needs one difference.
Shift shiftOfPairs(const Values& differences, double level);

}  // namespace statistics
