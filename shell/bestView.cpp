// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/bestView.h"

#include <algorithm>
#include <cstddef>

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

#include "shell/comparisonView.h"

namespace shell {

namespace {

using statistics::SelectionStep;

/// As many runs are told by name; of more the rest is counted.
constexpr std::size_t kMostRunsNamed = 5;

std::string moreText(std::size_t count) {
    return count == 0 ? "" : fmt::format(" and {} more", count);
}

/// "a (55.2 MHz), b (55 MHz)".
std::string namedText(const ComparedRunList& runs, const Metric& metric) {
    std::vector<std::string> words;
    for (std::size_t i = 0; i < std::min(runs.size(), kMostRunsNamed); ++i)
        words.push_back(fmt::format("{} ({})", runs[i]->name, metricText(*runs[i], metric)));
    return fmt::format("{}{}", fmt::join(words, ", "), moreText(runs.size() - words.size()));
}

/// The values of all rules, each metric once: "Fmax 55.2 MHz, LUTs 120".
std::string metricValuesText(const Choice& choice, const ComparedRun& run) {
    std::vector<std::string> words;
    for (const auto* metrics : {&choice.rules.ruleMetrics, &choice.rules.requiredMetrics}) {
        for (const Metric& metric : *metrics) {
            const std::string word = fmt::format("{} {}", metric.label, metricText(run, metric));
            if (std::find(words.begin(), words.end(), word) == words.end())
                words.push_back(word);
        }
    }
    return fmt::format("{}", fmt::join(words, ", "));
}

std::string choiceLine(const Choice& choice) {
    if (choice.judged.empty())
        return "No run can be judged.";
    if (choice.best.empty())
        return "No run meets what is required.";
    std::vector<std::string> names;
    for (std::size_t i = 0; i < std::min(choice.best.size(), kMostRunsNamed); ++i)
        names.push_back(choice.best[i]->name);
    const std::string values = metricValuesText(choice, *choice.best.front());
    if (names.size() > 1)
        return fmt::format("Equally good: {}{} ({})", fmt::join(names, ", "),
                           moreText(choice.best.size() - names.size()), values);
    return fmt::format("Best: {} ({})", names.front(), values);
}

std::string stepLine(const Choice::Step& step) {
    const char* const closer = step.kind == SelectionStep::kTie ? ", among equals," : "";
    std::string line = fmt::format("  {}{} leaves {} of {}", step.text, closer, step.left.size(),
                                   step.left.size() + step.dropped.size());
    if (step.kind != SelectionStep::kRequirement)
        line += ": " + namedText(step.left, step.metric);
    if (step.dropped.empty())
        return line;
    if (step.kind == SelectionStep::kRequirement)
        return line + "; out: " + namedText(step.dropped, step.metric);
    return line + "; next: " + namedText({step.dropped.front()}, step.metric);
}

const char* kindWord(SelectionStep::Kind kind) {
    switch (kind) {
    case SelectionStep::kRequirement:
        return "requirement";
    case SelectionStep::kRule:
        return "rule";
    default:
        return "tie";
    }
}

nlohmann::json valuesJson(const ComparedRunList& runs, const Metric& metric) {
    nlohmann::json list = nlohmann::json::array();
    for (const ComparedRun* run : runs)
        list.push_back({{"run", run->name}, {"value", figureOf(*run, metric.figure)->value}});
    return list;
}

}  // namespace

std::string metricText(const ComparedRun& run, const Metric& metric) {
    const reports::Figure* figure = figureOf(run, metric.figure);
    if (figure == nullptr)
        return "none";
    return figureText(figure) + (metric.unit.empty() ? "" : " " + metric.unit);
}

std::vector<std::string> choiceLines(const Choice& choice) {
    std::vector<std::string> lines{choiceLine(choice)};
    for (const Choice::Step& step : choice.steps)
        lines.push_back(stepLine(step));
    for (const Verdict::LeftOut& left : choice.leftOut)
        lines.push_back(fmt::format("{} is left out: {}", left.run->name, left.reason));
    return lines;
}

nlohmann::json choiceJson(const Choice& choice) {
    nlohmann::json json;
    json["best"] = nlohmann::json::array();
    for (const ComparedRun* run : choice.best)
        json["best"].push_back(run->name);
    json["judged"] = choice.judged.size();
    json["why"] = nlohmann::json::array();
    for (const Choice::Step& step : choice.steps)
        json["why"].push_back({{"kind", kindWord(step.kind)},
                               {"rule", step.text},
                               {"figure", step.metric.figure},
                               {"unit", step.metric.unit},
                               {"left", valuesJson(step.left, step.metric)},
                               {"dropped", valuesJson(step.dropped, step.metric)}});
    json["left_out"] = nlohmann::json::array();
    for (const Verdict::LeftOut& left : choice.leftOut)
        json["left_out"].push_back({{"run", left.run->name}, {"reason", left.reason}});
    return json;
}

}  // namespace shell
