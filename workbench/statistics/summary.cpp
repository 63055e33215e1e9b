// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/statistics/summary.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace statistics {

namespace {

double quantileOfSorted(const Values& sorted, double part) {
    const double place = part * static_cast<double>(sorted.size() - 1);
    const auto below = static_cast<std::size_t>(place);
    const std::size_t above = std::min(below + 1, sorted.size() - 1);
    return sorted[below] + (place - static_cast<double>(below)) * (sorted[above] - sorted[below]);
}

Values sorted(Values values) {
    std::sort(values.begin(), values.end());
    return values;
}

}  // namespace

double quantile(const Values& values, double part) {
    return quantileOfSorted(sorted(values), part);
}

double median(const Values& values) {
    return quantile(values, 0.5);
}

double deviation(const Values& values) {
    if (values.size() < 2)
        return 0;
    const auto count = static_cast<double>(values.size());
    const double mean = std::accumulate(values.begin(), values.end(), 0.0) / count;
    double squares = 0;
    for (const double value : values)
        squares += (value - mean) * (value - mean);
    return std::sqrt(squares / (count - 1));
}

Summary summarise(const Values& values) {
    if (values.empty())
        return {};
    const Values inOrder = sorted(values);
    return {inOrder.size(),
            quantileOfSorted(inOrder, 0.5),
            quantileOfSorted(inOrder, 0.25),
            quantileOfSorted(inOrder, 0.75),
            inOrder.front(),
            inOrder.back()};
}

}  // namespace statistics
