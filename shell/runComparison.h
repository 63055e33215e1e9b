// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include "workbench/reports/reportFigures.h"

/// Runs side by side: their key figures, the options in which they differ, and which of
/// them is best.
namespace shell {

/// An option of a run as texts; "step.option".
struct ComparedOption {
    std::string name;
    std::string value;
};

/// A run as it is compared.
struct ComparedRun {
    std::string name;
    std::string status;
    bool isDone = false;
    bool isStale = false;
    std::string strategy;
    /// The synthesis that it starts from; empty for a synthesis.
    std::string synthesis;
    /// Each name once.
    std::vector<reports::Figure> figures;
    std::vector<ComparedOption> options;
    /// The family that a sweep made it for; empty for none.
    std::string family = {};
};

/// Some of the runs that are compared, in an order.
using ComparedRunList = std::vector<const ComparedRun*>;

/// The figure `name` of `run`; null when it lacks it.
const reports::Figure* figureOf(const ComparedRun& run, const std::string& name);

/// Puts `figures` into those of `run`; a figure of a name that is there already takes its
/// place, so that a later step's counts.
void addFigures(ComparedRun& run, const std::vector<reports::Figure>& figures);

/// Every figure that one of the runs has, once, in the order in which they have them.
std::vector<reports::Figure> figureRows(const std::vector<ComparedRun>& runs);

/// An option and its value in each run; empty with `isThere` false where a run lacks it.
struct OptionRow {
    struct Cell {
        bool isThere;
        std::string value;
    };
    std::string name;
    std::vector<Cell> cells;
};

/// The options that two runs at least have, with different values.
std::vector<OptionRow> differingOptions(const std::vector<ComparedRun>& runs);

/// A figure that is to be as high or as low as can be.
struct Goal {
    /// What the user typed: "fmax", "slack", "luts", "time" or a figure's name.
    std::string word;
    /// Its name among the figures.
    std::string figure;
    std::string label;
    std::string unit;
    bool isHigherBetter = true;
};

/// A figure as rules name it.
struct Metric {
    /// "fmax", "slack", "luts", "time" or a figure's name.
    std::string word;
    /// Its name among the figures.
    std::string figure;
    std::string label;
    std::string unit;
    reports::Figure::Better better = reports::Figure::kNeither;
};

/// What rules may name: the four words above, and every figure that one of the runs has.
std::vector<Metric> knownMetrics(const std::vector<ComparedRun>& runs);

/// The one of `known` called `word`. @throws CommandError there is none; it names one that
/// may be meant, and all behind `lead`.
const Metric& requireMetric(const std::string& word, const std::vector<Metric>& known,
                            const std::string& lead = "The runs have");

/// The goals of `text`, words with commas between: the first decides, the others decide
/// ties. Any figure of `runs` will do that knows which way is better.
/// @throws CommandError a word is none of them; it names one that may be meant.
std::vector<Goal> readGoals(const std::string& text, const std::vector<ComparedRun>& runs);

/// Why `run` can't be judged by any figure: it isn't done, or stale; empty when it can.
std::string whyNotJudged(const ComparedRun& run);

/// The same by the figure called `figure`, or `label` for people.
std::string whyLeftOut(const ComparedRun& run, const std::string& figure, const std::string& label);

/// Which run is best.
struct Verdict {
    /// A run that isn't judged, and why: "it isn't done (running)".
    struct LeftOut {
        const ComparedRun* run;
        std::string reason;
    };
    /// More than one when all goals are equal; empty when no run can be judged.
    ComparedRunList best;
    /// The others that are judged, the better ones first.
    ComparedRunList others;
    std::vector<LeftOut> leftOut;
    /// Those judged that miss the goal of their clocks.
    ComparedRunList missing;
};

/// Judges `runs` under `goals`, one at least. What isn't done, is stale or lacks a figure
/// of the first goal is left out. The verdict points into `runs`.
Verdict judge(const std::vector<ComparedRun>& runs, const std::vector<Goal>& goals);

}  // namespace shell
