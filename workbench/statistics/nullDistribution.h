// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <vector>

/// How sums of ranks fall when nothing but chance is at work, counted out.
namespace statistics {

/// Ranks from 1 up, doubled, so that the mean rank of equal values is a whole number.
using DoubledRanks = std::vector<long>;

/// The doubled ranks of `values`; equal ones share the mean of theirs.
DoubledRanks doubledRanks(const std::vector<double>& values);

/// The ranks 1 to `count`, as they are without equal values.
DoubledRanks plainRanks(std::size_t count);

/// The chances of the sums that a random part of some ranks has.
///
/// They are exact, by counting out every part, up to kMostExact ranks. Beyond, counting
/// takes seconds and tells nothing that the normal distribution doesn't.
class RankSums {
public:
    static constexpr std::size_t kMostExact = 120;

    /// Any `chosen` of `ranks`, each choice as likely as any other.
    static RankSums ofChoice(const DoubledRanks& ranks, std::size_t chosen);

    /// Each of `ranks` in or out, as a coin falls.
    static RankSums ofSigns(const DoubledRanks& ranks);

    /// The chance of a doubled sum of `sum` or less, and of `sum` or more.
    double atMost(long sum) const;
    double atLeast(long sum) const;

    /// The greatest doubled sum whose chance, with all below it, is at most `chance`; less
    /// than the least possible sum when even that one is likelier.
    long criticalSum(double chance) const;

    bool isExact() const { return m_isExact; }

private:
    explicit RankSums(const std::vector<double>& counts);
    RankSums(std::size_t greatest, double mean, double deviation);

    /// By doubled sum: the chance of it or less.
    std::vector<double> m_upTo;
    bool m_isExact = true;
};

/// The chance that a normally distributed value lies below `z` deviations.
double normalBelow(double z);

/// The number of deviations below which a share of `part` (above 0, below 1) lies.
double normalQuantile(double part);

}  // namespace statistics
