// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/statistics/selection.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <numeric>
#include <sstream>

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace statistics {

namespace {

using Places = std::vector<std::size_t>;

/// A relation and how it is written; the longer ones in front.
struct RelationText {
    const char* text;
    Requirement::Relation relation;
};
constexpr RelationText kRelations[] = {{">=", Requirement::kAtLeast}, {"<=", Requirement::kAtMost},
                                       {"!=", Requirement::kUnequal}, {"==", Requirement::kEqual},
                                       {">", Requirement::kAbove},    {"<", Requirement::kBelow},
                                       {"=", Requirement::kEqual}};

bool refuse(std::string& reason, const std::string& why) {
    reason = why;
    return false;
}

/// Digits with an optional sign, point and exponent, and nothing else.
bool readNumber(const std::string& text, double& number) {
    if (text.empty() || text.find_first_not_of("+-.0123456789eE") != std::string::npos)
        return false;
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    if (*end != '\0' || !std::isfinite(value))
        return false;
    number = value;
    return true;
}

std::vector<std::string> wordsOf(const std::string& text) {
    std::istringstream in(text);
    std::vector<std::string> words;
    for (std::string word; in >> word;)
        words.push_back(word);
    return words;
}

bool readTolerance(std::string word, Rule& rule) {
    const bool isShare = !word.empty() && word.back() == '%';
    if (isShare)
        word.pop_back();
    double number = 0;
    if (!readNumber(word, number) || number < 0 || (isShare && number >= 100))
        return false;
    rule.tolerance = isShare ? number / 100 : number;
    rule.isShare = isShare;
    return true;
}

bool readDirection(const std::string& word, Rule& rule) {
    if (word != "max" && word != "min")
        return false;
    rule.direction = word == "max" ? Rule::kMax : Rule::kMin;
    return true;
}

/// Whether `a` is better than `b`.
bool isBetter(const Rule& rule, double a, double b) {
    return *rule.direction == Rule::kMax ? a > b : a < b;
}

double bestOf(const std::vector<Candidate>& candidates, const Places& places, const Rule& rule) {
    double best = candidates[places.front()].at(rule.metric);
    for (const std::size_t place : places) {
        const double value = candidates[place].at(rule.metric);
        if (isBetter(rule, value, best))
            best = value;
    }
    return best;
}

/// Parts `places` by `keep`.
template <class Keep>
SelectionStep step(SelectionStep::Kind kind, std::size_t index, const Places& places, Keep keep) {
    SelectionStep made{kind, index, {}, {}};
    std::partition_copy(places.begin(), places.end(), std::back_inserter(made.left),
                        std::back_inserter(made.dropped), keep);
    return made;
}

SelectionStep ruleStep(const std::vector<Candidate>& candidates, const Places& places,
                       const Rule& rule, SelectionStep::Kind kind, std::size_t index) {
    const double best = bestOf(candidates, places, rule);
    double slack = 0;
    if (kind == SelectionStep::kRule)
        slack = rule.isShare ? std::abs(best) * rule.tolerance : rule.tolerance;
    return step(kind, index, places, [&](std::size_t place) {
        return !isBetter(rule, best, candidates[place].at(rule.metric)) ||
               std::abs(candidates[place].at(rule.metric) - best) <= slack;
    });
}

const char* relationText(Requirement::Relation relation) {
    for (const RelationText& known : kRelations) {
        if (known.relation == relation && std::string(known.text) != "==")
            return known.text;
    }
    return "";
}

}  // namespace

bool Requirement::holdsFor(double value) const {
    switch (relation) {
    case kAtLeast:
        return value >= limit;
    case kAtMost:
        return value <= limit;
    case kAbove:
        return value > limit;
    case kBelow:
        return value < limit;
    case kEqual:
        return value == limit;
    default:
        return value != limit;
    }
}

bool parseRule(const std::string& text, Rule& rule, std::string& reason) {
    const std::vector<std::string> words = wordsOf(text);
    if (words.empty())
        return refuse(reason, "It is empty; a rule is such as 'fmax max 1%'");
    Rule read;
    read.metric = words.front();
    std::size_t next = 1;
    if (next < words.size() && readDirection(words[next], read))
        ++next;
    if (next < words.size() && readTolerance(words[next], read))
        ++next;
    if (next < words.size())
        return refuse(reason, fmt::format("'{}' is {}; a rule is METRIC max|min, and how near "
                                          "to the best is as good: 'fmax max 1%', 'luts min 5'",
                                          words[next],
                                          next == 1   ? "neither max nor min, nor a tolerance"
                                          : next == 2 ? "no tolerance such as 1% or 0.5"
                                                      : "one word too many"));
    rule = read;
    return true;
}

bool parseRequirement(const std::string& text, Requirement& requirement, std::string& reason) {
    const std::size_t at = text.find_first_of("<>=!");
    const RelationText* relation =
        at == std::string::npos
            ? std::end(kRelations)
            : std::find_if(std::begin(kRelations), std::end(kRelations), [&](const auto& known) {
                  return text.compare(at, std::string(known.text).size(), known.text) == 0;
              });
    if (relation == std::end(kRelations))
        return refuse(reason, "It has none of >= <= > < = !=; a requirement is such as "
                              "'slack >= 0'");
    const std::vector<std::string> metric = wordsOf(text.substr(0, at));
    if (metric.size() != 1)
        return refuse(reason, fmt::format("There must be one metric before {}; a requirement is "
                                          "such as 'slack >= 0'",
                                          relation->text));
    const std::string behind = text.substr(at + std::string(relation->text).size());
    const std::vector<std::string> number = wordsOf(behind);
    double limit = 0;
    if (number.size() != 1 || !readNumber(number.front(), limit))
        return refuse(reason, fmt::format("'{}' behind {} is no number; a requirement is such as "
                                          "'slack >= 0', in the metric's own unit",
                                          fmt::join(number, " "), relation->text));
    requirement = {metric.front(), relation->relation, limit};
    return true;
}

std::string ruleText(const Rule& rule) {
    std::string text = rule.metric;
    if (rule.direction)
        text += *rule.direction == Rule::kMax ? " max" : " min";
    if (rule.tolerance > 0)
        text += rule.isShare ? fmt::format(" {:g}%", rule.tolerance * 100)
                             : fmt::format(" {:g}", rule.tolerance);
    return text;
}

std::string requirementText(const Requirement& requirement) {
    return fmt::format("{} {} {:g}", requirement.metric, relationText(requirement.relation),
                       requirement.limit);
}

std::vector<SelectionStep> chooseBest(const std::vector<Candidate>& candidates,
                                      const std::vector<Requirement>& requirements,
                                      const std::vector<Rule>& rules) {
    std::vector<SelectionStep> steps;
    Places left(candidates.size());
    std::iota(left.begin(), left.end(), std::size_t{0});
    const auto take = [&](SelectionStep made) {
        left = made.left;
        steps.push_back(std::move(made));
    };
    for (std::size_t i = 0; i < requirements.size() && !left.empty(); ++i) {
        const Requirement& must = requirements[i];
        take(step(SelectionStep::kRequirement, i, left, [&](std::size_t place) {
            return must.holdsFor(candidates[place].at(must.metric));
        }));
    }
    for (std::size_t i = 0; i < rules.size() && !left.empty(); ++i)
        take(ruleStep(candidates, left, rules[i], SelectionStep::kRule, i));
    for (std::size_t i = 0; i < rules.size() && left.size() > 1; ++i) {
        if (rules[i].tolerance > 0)
            take(ruleStep(candidates, left, rules[i], SelectionStep::kTie, i));
    }
    return steps;
}

}  // namespace statistics
