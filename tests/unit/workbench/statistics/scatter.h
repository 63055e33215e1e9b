// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstdint>
#include <random>

#include "workbench/statistics/verdict.h"

namespace test {

/// How the values of a made-up family scatter.
enum class Shape { kNormal, kSkewed, kSteps };

/// Makes families whose truth is known, the same ones in each run of the test.
class Scatter {
public:
    Scatter(std::uint64_t start, Shape shape) : m_random(start), m_shape(shape) {}

    /// A value with the deviation 1 (in steps: about 1).
    double next();

    /// `count` runs with the seeds 1, 2 ..., whose values scatter around `middle` with
    /// the deviation `deviation`.
    statistics::Family family(std::size_t count, double middle, double deviation);

private:
    double uniform_();

    std::mt19937_64 m_random;
    Shape m_shape;
};

/// The same values without the seeds.
statistics::Family withoutSeeds(statistics::Family family);

/// So many of `trials` may come out by chance when each does with `chance`: three and a
/// half deviations above the mean, which chance passes once in 4,000 times.
double mostByChance(int trials, double chance);
/// And so few, three and a half below.
double fewestByChance(int trials, double chance);

}  // namespace test
