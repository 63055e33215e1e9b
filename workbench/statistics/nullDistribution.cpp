// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/statistics/nullDistribution.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace statistics {

namespace {

/// Chances are sums of many small numbers; what differs by less is equal.
constexpr double kRounding = 1e-12;

std::size_t sumOf(const DoubledRanks& ranks) {
    return static_cast<std::size_t>(std::accumulate(ranks.begin(), ranks.end(), 0L));
}

/// What divides all ranks: without equal values they are even.
std::size_t unitOf(const DoubledRanks& ranks) {
    const bool areEven =
        std::all_of(ranks.begin(), ranks.end(), [](long rank) { return rank % 2 == 0; });
    return areEven ? 2 : 1;
}

/// In how many ways `chosen` of `ranks` have a sum, for each sum.
std::vector<double> waysOfChoice(DoubledRanks ranks, std::size_t chosen) {
    const std::size_t unit = unitOf(ranks);
    std::sort(ranks.begin(), ranks.end());
    // The sums, in units, of the least ranks.
    std::vector<std::size_t> least(ranks.size() + 1, 0);
    for (std::size_t i = 0; i < ranks.size(); ++i)
        least[i + 1] = least[i] + static_cast<std::size_t>(ranks[i]) / unit;
    // Of `n` of the ranks so far.
    std::vector<std::vector<double>> ways(chosen + 1, std::vector<double>(least.back() + 1, 0));
    ways[0][0] = 1;
    for (std::size_t seen = 1; seen <= ranks.size(); ++seen) {
        const std::size_t step = least[seen] - least[seen - 1];
        const std::size_t toCome = ranks.size() - seen;
        // Fewer than that can't be made up for by the ranks to come.
        const std::size_t fewest = chosen > toCome ? chosen - toCome : 0;
        for (std::size_t n = std::min(chosen, seen); n >= std::max<std::size_t>(fewest, 1); --n) {
            // From `n` - 1 of the ranks before, the least of them and the greatest.
            const std::vector<double>& from = ways[n - 1];
            std::vector<double>& to = ways[n];
            const std::size_t last = least[seen - 1] - least[seen - n];
            for (std::size_t sum = least[n - 1]; sum <= last; ++sum)
                to[sum + step] += from[sum];
        }
    }
    std::vector<double> counts(least.back() * unit + 1, 0);
    for (std::size_t sum = 0; sum <= least.back(); ++sum)
        counts[sum * unit] = ways[chosen][sum];
    return counts;
}

}  // namespace

DoubledRanks doubledRanks(const std::vector<double>& values) {
    std::vector<std::size_t> order(values.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::sort(order.begin(), order.end(),
              [&values](std::size_t a, std::size_t b) { return values[a] < values[b]; });
    DoubledRanks ranks(values.size());
    for (std::size_t first = 0; first < order.size();) {
        std::size_t end = first + 1;
        while (end < order.size() && values[order[end]] == values[order[first]])
            ++end;
        for (std::size_t i = first; i < end; ++i)
            ranks[order[i]] = static_cast<long>(first + 1 + end);
        first = end;
    }
    return ranks;
}

DoubledRanks plainRanks(std::size_t count) {
    DoubledRanks ranks;
    ranks.reserve(count);
    for (std::size_t i = 1; i <= count; ++i)
        ranks.push_back(static_cast<long>(2 * i));
    return ranks;
}

RankSums RankSums::ofChoice(const DoubledRanks& ranks, std::size_t chosen) {
    const std::size_t most = sumOf(ranks);
    if (ranks.size() > kMostExact) {
        const auto count = static_cast<double>(ranks.size());
        const auto part = static_cast<double>(chosen);
        const double mean = static_cast<double>(most) / count;
        double squares = 0;
        for (const long rank : ranks)
            squares += (static_cast<double>(rank) - mean) * (static_cast<double>(rank) - mean);
        return {most, part * mean,
                std::sqrt(part * (count - part) / (count * (count - 1)) * squares)};
    }
    return RankSums(waysOfChoice(ranks, chosen));
}

RankSums RankSums::ofSigns(const DoubledRanks& ranks) {
    const std::size_t most = sumOf(ranks);
    if (ranks.size() > kMostExact) {
        double squares = 0;
        for (const long rank : ranks)
            squares += static_cast<double>(rank) * static_cast<double>(rank);
        return {most, static_cast<double>(most) / 2, std::sqrt(squares) / 2};
    }
    std::vector<double> ways(most + 1, 0);
    ways[0] = 1;
    std::size_t reached = 0;
    for (const long rank : ranks) {
        const auto step = static_cast<std::size_t>(rank);
        reached += step;
        for (std::size_t sum = reached; sum >= step; --sum)
            ways[sum] += ways[sum - step];
    }
    return RankSums(ways);
}

double RankSums::atMost(long sum) const {
    if (sum < 0)
        return 0;
    return m_upTo[std::min(static_cast<std::size_t>(sum), m_upTo.size() - 1)];
}

double RankSums::atLeast(long sum) const {
    return 1 - atMost(sum - 1);
}

long RankSums::criticalSum(double chance) const {
    const auto above =
        std::upper_bound(m_upTo.begin(), m_upTo.end(), chance * (1 + kRounding) + kRounding);
    return static_cast<long>(above - m_upTo.begin()) - 1;
}

RankSums::RankSums(const std::vector<double>& counts) : m_upTo(counts.size()) {
    const double all = std::accumulate(counts.begin(), counts.end(), 0.0);
    double sum = 0;
    for (std::size_t i = 0; i < counts.size(); ++i) {
        sum += counts[i];
        m_upTo[i] = sum / all;
    }
}

RankSums::RankSums(std::size_t greatest, double mean, double deviation)
    : m_upTo(greatest + 1), m_isExact(false) {
    // All ranks equal: the sum is always the same.
    const double width = std::max(deviation, kRounding);
    for (std::size_t i = 0; i <= greatest; ++i)
        m_upTo[i] = normalBelow((static_cast<double>(i) + 0.5 - mean) / width);
}

double normalBelow(double z) {
    return std::erfc(-z / std::sqrt(2.0)) / 2;
}

double normalQuantile(double part) {
    double low = -40;
    double high = 40;
    // Halved until nothing of a double is left.
    for (int i = 0; i < 70; ++i) {
        const double middle = (low + high) / 2;
        (normalBelow(middle) < part ? low : high) = middle;
    }
    return (low + high) / 2;
}

}  // namespace statistics
