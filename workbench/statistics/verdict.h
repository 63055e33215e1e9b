// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "workbench/statistics/shift.h"

/// Whether one family of runs is really better than another.
namespace statistics {

/// What one run of a family came to.
struct Sample {
    std::optional<long> seed;
    double value = 0;
};
using Family = std::vector<Sample>;

Values valuesOf(const Family& family);

/// How sure a verdict is to be, and what counts as a difference.
struct Question {
    /// At most so often is chance called a difference: 0.05 is one time in 20.
    double level = 0.05;
    /// How often a difference of the size in question is found with the seeds that a
    /// verdict asks for.
    double power = 0.8;
    /// A difference that doesn't matter, as a share of the second family's median: 0.01.
    double margin = 0.01;
};

enum class Outcome {
    kHigher,            ///< the first family is really higher
    kLower,             ///< or lower
    kNoRealDifference,  ///< whatever difference there may be doesn't matter
    kCantTell           ///< it takes more seeds
};

struct Verdict {
    Outcome outcome = Outcome::kCantTell;
    /// How much higher the first family is than the second.
    Shift shift;
    /// See TestResult.
    double chance = 1;
    bool isExact = true;
    double level = 0;
    /// In the unit of the values: a difference up to it doesn't matter.
    double margin = 0;
    /// Whether values were compared seed by seed.
    bool isPaired = false;
    std::size_t firstCount = 0;
    std::size_t secondCount = 0;
    /// kCantTell: how many more seeds each family needs, about; nothing when that is more
    /// than is worth speaking of.
    std::optional<std::size_t> moreSeeds;
};

/// Judges `first` against `second`. Seed by seed when both have the same seeds, each once:
/// what a seed does to both alike doesn't count then. An empty family can't be told from
/// anything.
///
/// A difference is told when the test says so at the level. "No real difference" is told
/// when the whole interval of confidence lies within the margin, or several values of
/// each are all one and the same. The seeds still needed are those that find the difference seen so
/// far, or one of the margin if that is bigger.
Verdict judge(const Family& first, const Family& second, const Question& question);

}  // namespace statistics
