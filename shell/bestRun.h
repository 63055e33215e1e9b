// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include "shell/exitStatus.h"
#include "shell/runComparison.h"
#include "workbench/statistics/selection.h"

/// The best run by rules that the user states.
namespace shell {

/// Rules whose metrics are known; the texts of a list belong to the same place.
struct ChoiceRules {
    std::vector<statistics::Requirement> requirements;
    std::vector<Metric> requiredMetrics;
    std::vector<std::string> requirementTexts;
    std::vector<statistics::Rule> rules;
    std::vector<Metric> ruleMetrics;
    std::vector<std::string> ruleTexts;
};

/// Reads `requirements`, such as "slack >= 0", and `rules`, such as "fmax max 1%", in the
/// order in which they decide. A rule without max or min takes the metric's better side.
/// @throws CommandError what is wrong with one, and which metrics `runs` have.
ChoiceRules readChoiceRules(const std::vector<std::string>& requirements,
                            const std::vector<std::string>& rules,
                            const std::vector<ComparedRun>& runs);

/// How the best run was found.
struct Choice {
    struct Step {
        statistics::SelectionStep::Kind kind;
        std::string text;  ///< "fmax max 1%"
        Metric metric;
        bool isHigherBetter = true;
        /// The better ones first where it is a rule; those dropped too.
        std::vector<const ComparedRun*> left;
        std::vector<const ComparedRun*> dropped;
    };
    /// More than one when no rule tells them apart; empty when none is left.
    std::vector<const ComparedRun*> best;
    std::vector<const ComparedRun*> judged;
    std::vector<Verdict::LeftOut> leftOut;
    std::vector<Step> steps;
    ChoiceRules rules;
};

/// Chooses from `runs`, into which the choice points. What isn't done, is stale or lacks a
/// metric of one of the rules is left out.
Choice choose(const std::vector<ComparedRun>& runs, const ChoiceRules& rules);

/// The same by rules as texts. While no run can be judged they may name what any run could tell.
/// @throws CommandError as readChoiceRules().
Choice chooseBy(const std::vector<ComparedRun>& runs, const std::vector<std::string>& requirements,
                const std::vector<std::string>& rules);

/// kExitDone with a best run; else kExitGoalMissed when what is required ruled all out,
/// kExitStale when runs are done but stale, and kExitRefused when there is nothing to judge.
ExitStatus exitStatusOf(const Choice& choice);

}  // namespace shell
