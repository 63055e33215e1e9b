// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/abandon.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <memory>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "environment/containers/HSTFwdIter.h"
#include "environment/errors/HEXUserException.h"
#include "environment/files/HUTFileUtils.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/messages/ComMsgMgrInstance.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/ice40/metrics.h"
#include "workbench/launchLease.h"
#include "workbench/statistics/summary.h"

namespace workbench {

namespace {

constexpr std::size_t kLargestMark = 64U << 10U;

constexpr AbandonFigure kFigures[] = {{"fmax", "Fmax", " MHz", true, true},
                                      {"luts", "LUTs", "", false, false},
                                      {"logic_cells", "logic cells", "", false, false},
                                      {"flip_flops", "flip-flops", "", false, false},
                                      {"block_rams", "block RAMs", "", false, false}};

[[noreturn]] void refuseRule(const std::string& text, const std::string& why) {
    throw HEXUserException(
        ComMsgMgrInstance("workbench", ComMsgMgr::kError, "@60-200@%s%s", text, why));
}

std::string trimmed(const std::string& text) {
    const std::size_t first = text.find_first_not_of(" \t");
    return first == std::string::npos
               ? std::string()
               : text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

/// Takes a number off the front of `text`; false when there is none.
bool takeNumber(std::string& text, double& number) {
    const std::size_t end = std::min(text.find_first_not_of("0123456789."), text.size());
    const std::string digits = text.substr(0, end);
    const bool isNumber =
        !digits.empty() && digits != "." && std::count(digits.begin(), digits.end(), '.') < 2;
    if (!isNumber)
        return false;
    number = std::strtod(digits.c_str(), nullptr);
    text = trimmed(text.substr(end));
    return true;
}

/// "fmax, luts and block_rams".
std::string figureNames() {
    std::string names;
    const AbandonFigure* last = std::end(kFigures) - 1;
    for (const AbandonFigure& figure : kFigures)
        names += (names.empty() ? "" : &figure == last ? " and " : ", ") + std::string(figure.name);
    return names;
}

const AbandonFigure& figureCalled(const std::string& text, const std::string& name) {
    for (const AbandonFigure& figure : kFigures) {
        if (name == figure.name)
            return figure;
    }
    refuseRule(text, name.empty() ? "it names no figure"
                                  : "'" + name + "' isn't known after placement, but " +
                                        figureNames() + " are");
}

/// "45", "45.3": one digit is all that an estimate is worth.
std::string valueText(double value, const AbandonFigure& figure) {
    std::string text = fmt::format("{:.1f}", value);
    if (text.size() > 2 && text.compare(text.size() - 2, 2, ".0") == 0)
        text.resize(text.size() - 2);
    return text + figure.unit;
}

std::string reasonText(const AbandonRule& rule, const Abandonment& found, const BestResult* best,
                       const EstimateError& error) {
    const AbandonFigure& figure = *rule.figure;
    std::string bound = valueText(found.bound, figure);
    if (rule.isShare)
        bound += fmt::format(", {:.4g}% of {} of {}", rule.number * 100,
                             valueText(best->value, figure), best->run);
    if (!figure.isEstimate)
        return fmt::format("it has {} {} after placement, which routing doesn't change, more than "
                           "{}",
                           valueText(found.estimate, figure), figure.label, bound);
    return fmt::format("its {} can't come to {}: the estimate after placement is {}, and {}, here "
                       "{}",
                       figure.label, bound, valueText(found.estimate, figure), errorText(error),
                       valueText(found.hope, figure));
}

bool hasDone(const HAXPExpRun& run, const std::string& id) {
    const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(run.createRunStepIter());
    while (steps->hasNext()) {
        const HAXPExpRunStep* step = steps->next();
        if (step->getFlowStep()->getFlowStepId() == id)
            return step->getStatus()->getCode() == HDGUIStatus::statusDone;
    }
    return false;
}

std::optional<double> figureOf(const HAXPExpRun& run, const std::string& step,
                               const AbandonFigure& figure) {
    ice40::StepMetrics metrics;
    std::string ignored;
    if (run.getDir().empty() || !hasDone(run, step) ||
        !ice40::readMetrics(run.pathOf(ice40::metricsFileName(step)), metrics, ignored))
        return std::nullopt;
    if (figure.isEstimate)
        return metrics.worstClock() == nullptr
                   ? std::nullopt
                   : std::optional<double>(metrics.worstClock()->fmaxMhz);
    const std::optional<long> count = metrics.count(figure.name);
    return count ? std::optional<double>(*count) : std::nullopt;
}

std::string launchOf(const HAXPExpRun& run) {
    LaunchLease lease;
    return !run.getDir().empty() && readLease(run.pathOf(kLeaseName), lease) ? lease.id : "";
}

}  // namespace

AbandonRule readAbandonRule(const std::string& text) {
    const std::size_t relation = text.find_first_of("<>=");
    if (relation == std::string::npos)
        refuseRule(text, "it has no < or >");
    AbandonRule rule;
    rule.text = trimmed(text);
    rule.figure = &figureCalled(text, trimmed(text.substr(0, relation)));
    const bool isHigherBetter = rule.figure->isHigherBetter;
    const char wanted = isHigherBetter ? '<' : '>';
    if (text[relation] != wanted || text.compare(relation + 1, 1, "=") == 0)
        refuseRule(text, isHigherBetter ? "runs are abandoned that stay below, which is <"
                                        : "runs are abandoned that come above, which is >");
    std::string rest = trimmed(text.substr(relation + 1));
    if (!takeNumber(rest, rule.number) || rule.number <= 0)
        refuseRule(text, std::string("behind ") + wanted + " there is no number above 0");
    if (rest.empty() || rest == trimmed(rule.figure->unit))
        return rule;
    if (rest.front() != '%' || trimmed(rest.substr(1)) != "of best")
        refuseRule(text, "'" + rest + "' isn't '% of best'" + (isHigherBetter ? " or MHz" : ""));
    if (isHigherBetter ? rule.number > 100 : rule.number < 100)
        refuseRule(text, std::string(isHigherBetter ? "more" : "less") +
                             " than 100% of the best would abandon the best itself");
    rule.number /= 100;
    rule.isShare = true;
    return rule;
}

EstimateError estimateError(const std::vector<double>& ratios) {
    const std::size_t count = std::min(ratios.size(), kMostLaunches);
    if (count < kFewestLaunches)
        return {kCautiousRatio, 1, 0};
    const std::vector<double> last(ratios.end() - static_cast<std::ptrdiff_t>(count), ratios.end());
    return {*std::max_element(last.begin(), last.end()), statistics::median(last), count};
}

std::string errorText(const EstimateError& error) {
    if (error.launches == 0)
        return fmt::format("until there are {} launches to learn from, a result is taken to be at "
                           "most {:.3g} times its estimate",
                           kFewestLaunches, error.most);
    return fmt::format("by {} launches a result is at most {:.3g} times its estimate (median "
                       "{:.3g})",
                       error.launches, error.most, error.median);
}

std::optional<Abandonment> decide(const AbandonRule& rule, std::optional<double> estimate,
                                  const std::optional<BestResult>& best,
                                  const EstimateError& error) {
    if (!estimate || (rule.isShare && !best))
        return std::nullopt;
    Abandonment found;
    found.rule = rule.text;
    found.estimate = *estimate;
    found.hope = rule.figure->isEstimate ? *estimate * error.most : *estimate;
    found.bound = rule.isShare ? best->value * rule.number : rule.number;
    // Not a number, as a damaged file may tell, abandons nothing.
    const bool isOut =
        rule.figure->isHigherBetter ? found.hope < found.bound : found.hope > found.bound;
    if (!isOut)
        return std::nullopt;
    if (rule.isShare)
        found.bestRun = best->run;
    found.text = reasonText(rule, found, best ? &*best : nullptr, error);
    return found;
}

std::optional<double> placedFigure(const HAXPExpRun& run, const AbandonFigure& figure) {
    return figureOf(run, "place_design", figure);
}

std::optional<double> finalFigure(const HAXPExpRun& run, const AbandonFigure& figure) {
    return figureOf(run, figure.isEstimate ? "route_design" : "place_design", figure);
}

bool isRouted(const HAXPExpRun& run) {
    return hasDone(run, "route_design");
}

void markAbandoned(const HAXPExpRun& run, Abandonment abandonment) {
    abandonment.launch = launchOf(run);
    const nlohmann::json json{{"format", 1},
                              {"launch", abandonment.launch},
                              {"rule", abandonment.rule},
                              {"estimate", abandonment.estimate},
                              {"hope", abandonment.hope},
                              {"bound", abandonment.bound},
                              {"best_run", abandonment.bestRun},
                              {"text", abandonment.text}};
    HUTFileUtils::replaceFile(run.pathOf(kAbandonedName),
                              json.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) +
                                  "\n");
}

std::optional<Abandonment> abandonmentOf(const HAXPExpRun& run) {
    std::string text;
    if (run.getDir().empty() ||
        !HUTFileUtils::readFile(run.pathOf(kAbandonedName), kLargestMark, text))
        return std::nullopt;
    const nlohmann::json json = nlohmann::json::parse(text, nullptr, false);
    if (!json.is_object())
        return std::nullopt;
    Abandonment found;
    try {
        json.at("launch").get_to(found.launch);
        json.at("rule").get_to(found.rule);
        json.at("estimate").get_to(found.estimate);
        json.at("hope").get_to(found.hope);
        json.at("bound").get_to(found.bound);
        json.at("best_run").get_to(found.bestRun);
        json.at("text").get_to(found.text);
    } catch (const nlohmann::json::exception&) {
        return std::nullopt;
    }
    const bool isOfLaunch = !found.launch.empty() && found.launch == launchOf(run);
    return isOfLaunch ? std::optional<Abandonment>(found) : std::nullopt;
}

}  // namespace workbench
