// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/bestRun.h"

#include <algorithm>

#include <fmt/format.h>

namespace shell {

namespace {

using statistics::Candidate;
using statistics::Requirement;
using statistics::Rule;
using statistics::SelectionStep;

[[noreturn]] void refuse(const char* option, const std::string& text, const std::string& reason) {
    throw CommandError(kExitUsage, fmt::format("{} '{}': {}.", option, text, reason));
}

/// What rules may name, and how a list of it begins.
struct Metrics {
    std::vector<Metric> known;
    std::string lead;
};

void addRequirement(const std::string& text, const Metrics& metrics, ChoiceRules& rules) {
    Requirement requirement;
    std::string reason;
    if (!statistics::parseRequirement(text, requirement, reason))
        refuse("--require", text, reason);
    const Metric& metric = requireMetric(requirement.metric, metrics.known, metrics.lead);
    rules.requirementTexts.push_back(statistics::requirementText(requirement));
    requirement.metric = metric.figure;
    rules.requirements.push_back(requirement);
    rules.requiredMetrics.push_back(metric);
}

void addRule(const std::string& text, bool isFirst, const Metrics& metrics, ChoiceRules& rules) {
    const char* option = isFirst ? "--by" : "--then";
    Rule rule;
    std::string reason;
    if (!statistics::parseRule(text, rule, reason))
        refuse(option, text, reason);
    const Metric& metric = requireMetric(rule.metric, metrics.known, metrics.lead);
    if (!rule.direction && metric.better == reports::Figure::kNeither)
        refuse(option, text,
               fmt::format("Neither side of {0} is the better one; say '{0} max' or '{0} min'",
                           metric.word));
    if (!rule.direction)
        rule.direction = metric.better == reports::Figure::kHigher ? Rule::kMax : Rule::kMin;
    rules.ruleTexts.push_back(statistics::ruleText(rule));
    rule.metric = metric.figure;
    rules.rules.push_back(rule);
    rules.ruleMetrics.push_back(metric);
}

ChoiceRules readRules(const std::vector<std::string>& requirements,
                      const std::vector<std::string>& rules, const Metrics& metrics) {
    ChoiceRules read;
    for (const std::string& text : requirements)
        addRequirement(text, metrics, read);
    for (const std::string& text : rules)
        addRule(text, read.rules.empty(), metrics, read);
    return read;
}

/// What rules may name where no run tells any figure.
Metrics possibleMetrics() {
    ComparedRun any;
    any.figures = reports::possibleFigures();
    return {knownMetrics({any}), "Runs can have"};
}

/// Why `run` can't be chosen under `rules`; empty when it can.
std::string whyNotChosen(const ComparedRun& run, const ChoiceRules& rules) {
    for (const auto* metrics : {&rules.requiredMetrics, &rules.ruleMetrics}) {
        for (const Metric& metric : *metrics) {
            std::string reason = whyLeftOut(run, metric.figure, metric.label);
            if (!reason.empty())
                return reason;
        }
    }
    return whyNotJudged(run);
}

Candidate candidateOf(const ComparedRun& run) {
    Candidate values;
    for (const reports::Figure& figure : run.figures)
        values[figure.name] = figure.value;
    return values;
}

Choice::Step stepOf(const Choice& choice, const SelectionStep& from) {
    const bool isRequirement = from.kind == SelectionStep::kRequirement;
    const ChoiceRules& rules = choice.rules;
    Choice::Step step{
        from.kind,
        isRequirement ? rules.requirementTexts[from.index] : rules.ruleTexts[from.index],
        isRequirement ? rules.requiredMetrics[from.index] : rules.ruleMetrics[from.index],
        !isRequirement && rules.rules[from.index].direction == Rule::kMax,
        {},
        {}};
    if (from.kind == SelectionStep::kTie)
        step.text = step.metric.word + (step.isHigherBetter ? " max" : " min");
    for (const std::size_t place : from.left)
        step.left.push_back(choice.judged[place]);
    for (const std::size_t place : from.dropped)
        step.dropped.push_back(choice.judged[place]);
    if (isRequirement)
        return step;
    for (ComparedRunList* runs : {&step.left, &step.dropped})
        std::stable_sort(runs->begin(), runs->end(), [&step](const auto* a, const auto* b) {
            const double first = figureOf(*a, step.metric.figure)->value;
            const double second = figureOf(*b, step.metric.figure)->value;
            return step.isHigherBetter ? first > second : first < second;
        });
    return step;
}

}  // namespace

ChoiceRules readChoiceRules(const std::vector<std::string>& requirements,
                            const std::vector<std::string>& rules,
                            const std::vector<ComparedRun>& runs) {
    return readRules(requirements, rules, {knownMetrics(runs), "The runs have"});
}

Choice choose(const std::vector<ComparedRun>& runs, const ChoiceRules& rules) {
    Choice choice;
    choice.rules = rules;
    std::vector<Candidate> candidates;
    for (const ComparedRun& run : runs) {
        const std::string reason = whyNotChosen(run, rules);
        if (!reason.empty()) {
            choice.leftOut.push_back({&run, reason});
            continue;
        }
        choice.judged.push_back(&run);
        candidates.push_back(candidateOf(run));
    }
    choice.best = choice.judged;
    for (const SelectionStep& step :
         statistics::chooseBest(candidates, rules.requirements, rules.rules)) {
        choice.steps.push_back(stepOf(choice, step));
        choice.best = choice.steps.back().left;
    }
    return choice;
}

Choice chooseBy(const std::vector<ComparedRun>& runs, const std::vector<std::string>& requirements,
                const std::vector<std::string>& rules) {
    // Runs that aren't done tell no figures: a metric of a rule would seem unknown.
    if (std::none_of(runs.begin(), runs.end(),
                     [](const auto& run) { return whyNotJudged(run).empty(); })) {
        readRules(requirements, rules, possibleMetrics());
        return choose(runs, ChoiceRules());
    }
    return choose(runs, readChoiceRules(requirements, rules, runs));
}

ExitStatus exitStatusOf(const Choice& choice) {
    if (!choice.best.empty())
        return kExitDone;
    if (!choice.judged.empty())
        return kExitGoalMissed;
    const bool isStale = std::any_of(choice.leftOut.begin(), choice.leftOut.end(),
                                     [](const auto& left) { return left.run->isStale; });
    return isStale ? kExitStale : kExitRefused;
}

}  // namespace shell
