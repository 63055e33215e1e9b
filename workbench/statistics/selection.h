// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// Choosing the best of several by rules that are written down.
namespace statistics {

/// A wish for one metric: "fmax max 1%". What comes as near to the best as the tolerance
/// says is as good as the best, and left to the rules that follow.
struct Rule {
    enum Direction { kMax, kMin };

    std::string metric;
    /// Nothing when the text doesn't say.
    std::optional<Direction> direction;
    double tolerance = 0;
    /// Whether the tolerance is a share of the best value, 0.01 for 1 %, or in its unit.
    bool isShare = false;
};

/// What must hold of one metric: "slack >= 0".
struct Requirement {
    enum Relation { kAtLeast, kAtMost, kAbove, kBelow, kEqual, kUnequal };

    std::string metric;
    Relation relation = kAtLeast;
    double limit = 0;

    bool holdsFor(double value) const;
};

/// Reads METRIC [max|min] [TOLERANCE[%]]. On refusal `reason` tells what is wrong and
/// `rule` stays as it was. Which metrics there are is the caller's to check.
bool parseRule(const std::string& text, Rule& rule, std::string& reason);

/// Reads METRIC RELATION NUMBER, with one of >= <= > < = !=. As parseRule().
bool parseRequirement(const std::string& text, Requirement& requirement, std::string& reason);

/// "fmax max 1%" and "slack >= 0".
std::string ruleText(const Rule& rule);
std::string requirementText(const Requirement& requirement);

/// What can be chosen; it has a value for every metric that is asked for.
using Candidate = std::map<std::string, double>;

/// One step of a choice.
struct SelectionStep {
    enum Kind {
        kRequirement,
        kRule,
        kTie  ///< several were as good under all rules: a rule again, without its tolerance
    };

    Kind kind = kRule;
    /// Which of the requirements or rules it is.
    std::size_t index = 0;
    /// The candidates that stay and those that go, by their places.
    std::vector<std::size_t> left;
    std::vector<std::size_t> dropped;
};

/// The steps that `candidates` go through, one for every requirement and rule until none is
/// left, then those that decide ties. Every rule has a direction. Those that the last step
/// leaves are best, several when they are equal; all are when there is no step.
std::vector<SelectionStep> chooseBest(const std::vector<Candidate>& candidates,
                                      const std::vector<Requirement>& requirements,
                                      const std::vector<Rule>& rules);

}  // namespace statistics
