// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/statistics/verdict.h"

#include <algorithm>
#include <cmath>
#include <map>

#include "workbench/statistics/exactTests.h"
#include "workbench/statistics/power.h"

namespace statistics {

namespace {

using BySeed = std::map<long, double>;

/// The values of `family` by seed; empty when one has no seed, or a seed of another.
BySeed bySeed(const Family& family) {
    BySeed values;
    for (const Sample& sample : family) {
        if (!sample.seed || !values.emplace(*sample.seed, sample.value).second)
            return {};
    }
    return values;
}

/// The differences within the pairs of one seed; empty when the seeds aren't the same.
Values pairDifferences(const Family& first, const Family& second) {
    const BySeed a = bySeed(first);
    const BySeed b = bySeed(second);
    Values differences;
    if (a.size() != b.size())
        return {};
    for (auto one = a.begin(), other = b.begin(); one != a.end(); ++one, ++other) {
        if (one->first != other->first)
            return {};
        differences.push_back(one->second - other->second);
    }
    return differences;
}

/// Of the values of one family, from both.
double pooledDeviation(const Values& first, const Values& second) {
    const auto freedom = static_cast<double>(first.size() + second.size()) - 2;
    if (freedom <= 0)
        return 0;
    const double a = deviation(first);
    const double b = deviation(second);
    return std::sqrt((a * a * static_cast<double>(first.size() - 1) +
                      b * b * static_cast<double>(second.size() - 1)) /
                     freedom);
}

/// Whether several runs of each family came to one and the same value.
bool isAllOne(const Values& first, const Values& second) {
    if (first.size() < 2 || second.size() < 2)
        return false;
    const auto equalsFirst = [&first](double value) { return value == first.front(); };
    return std::all_of(first.begin(), first.end(), equalsFirst) &&
           std::all_of(second.begin(), second.end(), equalsFirst);
}

Outcome outcomeOf(const Verdict& verdict, bool isAllOneValue) {
    if (isAllOneValue)
        return Outcome::kNoRealDifference;
    if (verdict.chance <= verdict.level && verdict.shift.estimate != 0)
        return verdict.shift.estimate > 0 ? Outcome::kHigher : Outcome::kLower;
    const bool isWithin = verdict.shift.isBounded && verdict.shift.low >= -verdict.margin &&
                          verdict.shift.high <= verdict.margin;
    return isWithin ? Outcome::kNoRealDifference : Outcome::kCantTell;
}

std::optional<std::size_t> moreSeeds(const Verdict& verdict, double deviation,
                                     const Question& question) {
    PowerQuestion power;
    power.difference = std::max(std::abs(verdict.shift.estimate), verdict.margin);
    power.deviation = deviation;
    power.level = question.level;
    power.power = question.power;
    power.isPaired = verdict.isPaired;
    const std::size_t there = std::min(verdict.firstCount, verdict.secondCount);
    // One value says nothing of the scatter: only what the test needs at least is known.
    const std::optional<std::size_t> needed =
        there < 2 ? fewestSeeds(question.level, verdict.isPaired) : seedsNeeded(power);
    if (!needed)
        return std::nullopt;
    return *needed > there ? *needed - there : 1;
}

}  // namespace

Values valuesOf(const Family& family) {
    Values values;
    values.reserve(family.size());
    for (const Sample& sample : family)
        values.push_back(sample.value);
    return values;
}

Verdict judge(const Family& first, const Family& second, const Question& question) {
    Verdict verdict;
    verdict.level = question.level;
    verdict.firstCount = first.size();
    verdict.secondCount = second.size();
    const Values a = valuesOf(first);
    const Values b = valuesOf(second);
    if (a.empty() || b.empty()) {
        verdict.moreSeeds = fewestSeeds(question.level, false);
        return verdict;
    }
    const Values pairs = pairDifferences(first, second);
    verdict.isPaired = !pairs.empty();
    verdict.margin = question.margin * std::abs(median(b));
    const TestResult test = verdict.isPaired ? signedRankTest(pairs) : rankSumTest(a, b);
    verdict.chance = test.chance;
    verdict.isExact = test.isExact;
    verdict.shift =
        verdict.isPaired ? shiftOfPairs(pairs, question.level) : shiftBetween(a, b, question.level);
    verdict.outcome = outcomeOf(verdict, isAllOne(a, b));
    if (verdict.outcome == Outcome::kCantTell)
        verdict.moreSeeds = moreSeeds(
            verdict, verdict.isPaired ? deviation(pairs) : pooledDeviation(a, b), question);
    return verdict;
}

}  // namespace statistics
