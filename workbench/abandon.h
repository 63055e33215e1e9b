// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "workbench/WorkbenchExport.h"

class HAXPExpRun;

/// Giving up runs that can't win any more: the rule, what an estimate is worth, and the mark
/// that such a run bears.
namespace workbench {

/// The mark in a run's directory.
inline constexpr char kAbandonedName[] = ".abandoned.json";

/// A figure that a run can be given up for: one that its placement tells.
struct AbandonFigure {
    const char* name;
    const char* label;
    const char* unit;  ///< in texts, with a blank in front
    /// Whether more is better, as of Fmax.
    bool isHigherBetter;
    /// Whether routing changes it, so that placement only estimates it.
    bool isEstimate;
};

/// "fmax < 90% of best", "fmax < 48" or "luts > 110% of best".
struct AbandonRule {
    std::string text;
    const AbandonFigure* figure = nullptr;
    /// A share of the best result so far, 0.9, or a number in the figure's unit.
    double number = 0;
    bool isShare = false;
};

/// Reads a rule. @throws HEXUserException says what is wrong with it, and how one looks.
WORKBENCH_API AbandonRule readAbandonRule(const std::string& text);

/// How far a result may lie above its estimate.
struct EstimateError {
    /// The most that a result came to, in estimates.
    double most = 0;
    double median = 0;
    /// The launches that it was learned from; 0 for the cautious bound.
    std::size_t launches = 0;
};

/// So many past launches it takes to learn from them, and so much is allowed for until then.
inline constexpr std::size_t kFewestLaunches = 10;
inline constexpr double kCautiousRatio = 1.5;
/// Older launches than so many tell of other designs.
inline constexpr std::size_t kMostLaunches = 200;

/// What follows from `ratios`, results in estimates, the oldest first: the greatest of the
/// last ones, which the next one passes once in so many launches as there are, about.
WORKBENCH_API EstimateError estimateError(const std::vector<double>& ratios);

/// "by 24 launches a result is at most 1.25 times its estimate (median 1.12)".
WORKBENCH_API std::string errorText(const EstimateError& error);

/// The best result so far, in the unit of the rule's figure.
struct BestResult {
    std::string run;
    double value = 0;
};

/// That a run was given up, and why. All numbers are in the unit of the rule's figure.
struct Abandonment {
    /// The identity of the launch.
    std::string launch;
    std::string rule;
    double estimate = 0;
    /// The best that the estimate may come to.
    double hope = 0;
    /// What it would have to come to.
    double bound = 0;
    std::string bestRun;
    /// All of it in a sentence without its full stop.
    std::string text;
};

/// Whether a run with `estimate` can't come up to what `rule` demands. Never without an
/// estimate, and never for a share of a best result that isn't there. `error` counts for figures
/// that are estimates alone.
WORKBENCH_API std::optional<Abandonment> decide(const AbandonRule& rule,
                                                std::optional<double> estimate,
                                                const std::optional<BestResult>& best,
                                                const EstimateError& error);

/// What the placement of `run` says of `figure`, and what it came to in the end; of Fmax that of
/// the slowest clock. Nothing while the step isn't done or told no such figure.
WORKBENCH_API std::optional<double> placedFigure(const HAXPExpRun& run,
                                                 const AbandonFigure& figure);
WORKBENCH_API std::optional<double> finalFigure(const HAXPExpRun& run, const AbandonFigure& figure);

/// Whether the routing of `run` is done.
WORKBENCH_API bool isRouted(const HAXPExpRun& run);

/// Marks the last launch of `run` as given up. @throws HEXUserException it can't be written.
WORKBENCH_API void markAbandoned(const HAXPExpRun& run, Abandonment abandonment);

/// The mark of the last launch of `run`; nothing when it bears none, or one of an earlier
/// launch, or one that can't be read.
WORKBENCH_API std::optional<Abandonment> abandonmentOf(const HAXPExpRun& run);

}  // namespace workbench
