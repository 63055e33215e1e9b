// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "tests/unit/workbench/statistics/scatter.h"

#include <cmath>

namespace test {

namespace {

constexpr double kDeviations = 3.5;

double deviationOf(int trials, double chance) {
    return std::sqrt(trials * chance * (1 - chance));
}

}  // namespace

double Scatter::next() {
    const double a = uniform_();
    const double b = uniform_();
    const double normal = std::sqrt(-2 * std::log(a)) * std::cos(2 * std::acos(-1.0) * b);
    switch (m_shape) {
    case Shape::kSkewed:
        return -std::log(a) - 1;
    case Shape::kSteps:
        return std::round(normal);
    default:
        return normal;
    }
}

statistics::Family Scatter::family(std::size_t count, double middle, double deviation) {
    statistics::Family family;
    family.reserve(count);
    for (std::size_t i = 1; i <= count; ++i)
        family.push_back({static_cast<long>(i), middle + deviation * next()});
    return family;
}

double Scatter::uniform_() {
    // Above 0, at most 1, from the upper 53 bits: no distribution of a library is asked.
    return (static_cast<double>(m_random() >> 11) + 1) / 9007199254740992.0;
}

statistics::Family withoutSeeds(statistics::Family family) {
    for (statistics::Sample& sample : family)
        sample.seed.reset();
    return family;
}

double mostByChance(int trials, double chance) {
    return trials * chance + kDeviations * deviationOf(trials, chance);
}

double fewestByChance(int trials, double chance) {
    return trials * chance - kDeviations * deviationOf(trials, chance);
}

}  // namespace test
