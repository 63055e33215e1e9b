// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "shell/runComparison.h"
#include "workbench/statistics/verdict.h"

/// Families of runs side by side: medians, spreads, and whether a difference is real.
namespace shell {

/// Runs that differ in their seed alone.
struct ComparedFamily {
    std::string name;
    /// Those that are done and up to date.
    std::vector<ComparedRun> runs;
    std::vector<Verdict::LeftOut> leftOut;
    /// Options in which the runs differ though they should not: "place_design.opt_timing".
    std::vector<std::string> differing;
};

/// The seed of `run`, from its options; none when it has no such option.
std::optional<long> seedOf(const ComparedRun& run);

/// The families of `runs` in the order of their first runs; runs of none are left aside.
/// What is left out points into `runs`.
std::vector<ComparedFamily> familiesOf(const std::vector<ComparedRun>& runs);

/// The values of the figure `name` in those runs of `family` that tell it.
statistics::Family samplesOf(const ComparedFamily& family, const std::string& name);

/// One figure of two families.
struct FamilyRow {
    reports::Figure figure;  ///< its value means nothing here
    statistics::Summary base;
    statistics::Summary other;
    statistics::Verdict verdict;  ///< of the other against the base
};

/// A family against the first one.
struct FamilyPair {
    const ComparedFamily* base;
    const ComparedFamily* other;
    std::vector<FamilyRow> rows;
};

/// Every family behind the first of `families` against the first, figure by figure. The
/// level of `question` holds for all those pairs together: each has its share. The pairs
/// point into `families`.
std::vector<FamilyPair> compareFamilies(const std::vector<ComparedFamily>& families,
                                        const statistics::Question& question);

/// `best`, which is one of `families`, against each of the others, in the figures called
/// `names`. That it was chosen after a look at all of them counts: the level of `question`
/// is shared by as many pairs as there are among them.
std::vector<FamilyPair> compareBest(const std::vector<ComparedFamily>& families,
                                    const ComparedFamily& best,
                                    const std::vector<std::string>& names,
                                    const statistics::Question& question);

/// A family as if it were one run, whose figures are the medians: for rules to choose from.
ComparedRun medianRun(const ComparedFamily& family);

}  // namespace shell
