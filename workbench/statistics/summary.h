// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <vector>

/// Values that scatter, and what can be said of them.
namespace statistics {

using Values = std::vector<double>;

/// The middle and the spread of a family of values.
///
/// The spread is told by the quartiles: between them lies the middle half of the
/// values, and one wild seed moves neither them nor the median.
struct Summary {
    std::size_t count = 0;
    double median = 0;
    double lowerQuartile = 0;
    double upperQuartile = 0;
    double least = 0;
    double greatest = 0;
};

/// What the values have below them in a share of `part` (0 to 1), between two values by
/// a straight line. Needs one value at least.
double quantile(const Values& values, double part);

/// The middle value, or the mean of the two middle ones. Needs one value at least.
double median(const Values& values);

/// The standard deviation; 0 for fewer than two values.
double deviation(const Values& values);

/// All zero for no values.
Summary summarise(const Values& values);

}  // namespace statistics
