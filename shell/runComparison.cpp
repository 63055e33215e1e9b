// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/runComparison.h"

#include <algorithm>
#include <sstream>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "shell/exitStatus.h"
#include "shell/suggestion.h"
#include "workbench/runFigures.h"

namespace shell {

namespace {

using reports::Figure;

/// The goals that have words of their own.
const std::vector<Goal>& namedGoals() {
    static const std::vector<Goal> goals{{"fmax", "fmax", "Fmax", "MHz", true},
                                         {"slack", "worst_slack", "worst slack", "ns", true},
                                         {"luts", "luts", "LUTs", "", false},
                                         {"time", workbench::kTimeFigure, "run time", "s", false}};
    return goals;
}

Goal goalOf(const Figure& figure) {
    return {figure.name, figure.name, figure.label, figure.unit, figure.better == Figure::kHigher};
}

/// The goals that can be named: those with words, and the figures that have a better side.
std::vector<Goal> knownGoals(const std::vector<ComparedRun>& runs) {
    std::vector<Goal> goals = namedGoals();
    for (const Figure& figure : figureRows(runs)) {
        const bool known = std::any_of(goals.begin(), goals.end(), [&figure](const Goal& goal) {
            return goal.word == figure.name;
        });
        if (figure.better != Figure::kNeither && !known)
            goals.push_back(goalOf(figure));
    }
    return goals;
}

Goal requireGoal(const std::string& word, const std::vector<Goal>& known) {
    std::vector<std::string> words;
    for (const Goal& goal : known) {
        if (goal.word == word)
            return goal;
        words.push_back(goal.word);
    }
    const std::string meant = suggestionFor(word, words);
    throw CommandError(kExitUsage,
                       fmt::format("There is no goal '{}'. {}", word,
                                   meant.empty()
                                       ? fmt::format("Choose one of: {}.", fmt::join(words, ", "))
                                       : fmt::format("Did you mean '{}'?", meant)));
}

/// Below 0 when `a` is better, above when `b` is; a run that lacks a figure is worse.
int compare(const ComparedRun& a, const ComparedRun& b, const std::vector<Goal>& goals) {
    for (const Goal& goal : goals) {
        const Figure* first = figureOf(a, goal.figure);
        const Figure* second = figureOf(b, goal.figure);
        if (first == nullptr || second == nullptr) {
            if (first != second)
                return first != nullptr ? -1 : 1;
            continue;
        }
        if (first->value != second->value)
            return (first->value > second->value) == goal.isHigherBetter ? -1 : 1;
    }
    return 0;
}

bool missesClock(const ComparedRun& run) {
    const Figure* slack = figureOf(run, "worst_slack");
    const Figure* missed = figureOf(run, "missed_clocks");
    return (slack != nullptr && slack->value < 0) || (missed != nullptr && missed->value > 0);
}

const std::string* valueOfOption(const ComparedRun& run, const std::string& option) {
    const auto found =
        std::find_if(run.options.begin(), run.options.end(),
                     [&option](const ComparedOption& one) { return one.name == option; });
    return found == run.options.end() ? nullptr : &found->value;
}

/// Whether two of the cells that are there aren't equal.
bool differs(const OptionRow& row) {
    const OptionRow::Cell* first = nullptr;
    for (const OptionRow::Cell& cell : row.cells) {
        if (!cell.isThere)
            continue;
        if (first != nullptr && first->value != cell.value)
            return true;
        first = &cell;
    }
    return false;
}

}  // namespace

const Figure* figureOf(const ComparedRun& run, const std::string& name) {
    const auto found = std::find_if(run.figures.begin(), run.figures.end(),
                                    [&name](const Figure& figure) { return figure.name == name; });
    return found == run.figures.end() ? nullptr : &*found;
}

void addFigures(ComparedRun& run, const std::vector<Figure>& figures) {
    workbench::putFigures(run.figures, figures);
}

std::vector<Figure> figureRows(const std::vector<ComparedRun>& runs) {
    ComparedRun all;
    for (const ComparedRun& run : runs) {
        for (const Figure& figure : run.figures) {
            if (figureOf(all, figure.name) == nullptr)
                all.figures.push_back(figure);
        }
    }
    return all.figures;
}

std::vector<OptionRow> differingOptions(const std::vector<ComparedRun>& runs) {
    std::vector<OptionRow> rows;
    std::vector<std::string> names;
    for (const ComparedRun& run : runs) {
        for (const ComparedOption& option : run.options) {
            if (std::find(names.begin(), names.end(), option.name) != names.end())
                continue;
            names.push_back(option.name);
            OptionRow row{option.name, {}};
            for (const ComparedRun& other : runs) {
                const std::string* value = valueOfOption(other, option.name);
                row.cells.push_back({value != nullptr, value == nullptr ? std::string() : *value});
            }
            if (differs(row))
                rows.push_back(row);
        }
    }
    return rows;
}

std::vector<Metric> knownMetrics(const std::vector<ComparedRun>& runs) {
    std::vector<Metric> metrics;
    metrics.reserve(namedGoals().size());
    for (const Goal& goal : namedGoals())
        metrics.push_back({goal.word, goal.figure, goal.label, goal.unit,
                           goal.isHigherBetter ? Figure::kHigher : Figure::kLower});
    for (const Figure& figure : figureRows(runs)) {
        const bool known =
            std::any_of(metrics.begin(), metrics.end(),
                        [&figure](const Metric& metric) { return metric.word == figure.name; });
        if (!known)
            metrics.push_back({figure.name, figure.name, figure.label, figure.unit, figure.better});
    }
    return metrics;
}

const Metric& requireMetric(const std::string& word, const std::vector<Metric>& known,
                            const std::string& lead) {
    std::vector<std::string> words;
    for (const Metric& metric : known) {
        if (metric.word == word)
            return metric;
        words.push_back(metric.word);
    }
    const std::string meant = suggestionFor(word, words);
    throw CommandError(kExitUsage,
                       fmt::format("There is no metric '{}'. {}{}: {}.", word,
                                   meant.empty() ? "" : fmt::format("Did you mean '{}'? ", meant),
                                   lead, fmt::join(words, ", ")));
}

std::vector<Goal> readGoals(const std::string& text, const std::vector<ComparedRun>& runs) {
    const std::vector<Goal> known = knownGoals(runs);
    std::vector<Goal> goals;
    std::istringstream words(text + ",");
    for (std::string word; std::getline(words, word, ',');)
        goals.push_back(requireGoal(word, known));
    return goals;
}

std::string whyNotJudged(const ComparedRun& run) {
    if (!run.isDone)
        return fmt::format("it isn't done ({})", run.status);
    if (run.isStale)
        return fmt::format("its results are stale; bring it up to date: xp launch {}", run.name);
    return {};
}

std::string whyLeftOut(const ComparedRun& run, const std::string& figure,
                       const std::string& label) {
    std::string reason = whyNotJudged(run);
    if (!reason.empty() || figureOf(run, figure) != nullptr)
        return reason;
    return fmt::format("no report tells its {}; look at them with: xp report list {}", label,
                       run.name);
}

Verdict judge(const std::vector<ComparedRun>& runs, const std::vector<Goal>& goals) {
    Verdict verdict;
    std::vector<const ComparedRun*> judged;
    for (const ComparedRun& run : runs) {
        const std::string reason = whyLeftOut(run, goals.front().figure, goals.front().label);
        if (!reason.empty()) {
            verdict.leftOut.push_back({&run, reason});
            continue;
        }
        judged.push_back(&run);
        if (missesClock(run))
            verdict.missing.push_back(&run);
    }
    std::stable_sort(judged.begin(), judged.end(),
                     [&goals](const auto* a, const auto* b) { return compare(*a, *b, goals) < 0; });
    for (const ComparedRun* run : judged) {
        if (verdict.best.empty() || compare(*run, *verdict.best.front(), goals) == 0)
            verdict.best.push_back(run);
        else
            verdict.others.push_back(run);
    }
    return verdict;
}

}  // namespace shell
