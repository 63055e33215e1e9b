// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <optional>

/// How many seeds it takes to see a difference.
namespace statistics {

struct PowerQuestion {
    /// The difference to be found, above 0.
    double difference = 0;
    /// The standard deviation: of the differences within pairs, or of the values of one
    /// family.
    double deviation = 0;
    /// How often chance may be called a difference: 0.05.
    double level = 0.05;
    /// How often the difference is to be found: 0.8.
    double power = 0.8;
    bool isPaired = false;
};

/// The most seeds that are worth speaking of.
inline constexpr std::size_t kMostSeeds = 1000;

/// The fewest seeds of each family with which the test can tell any difference at `level`.
std::size_t fewestSeeds(double level, bool isPaired);

/// The seeds that each family needs for the test to find the difference with that power;
/// nothing when more than kMostSeeds would do.
std::optional<std::size_t> seedsNeeded(const PowerQuestion& question);

}  // namespace statistics
