// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/abandon.h"

#include <algorithm>
#include <cstdlib>
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

[[noreturn]] void refuse(const std::string& text, const std::string& why) {
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

/// "45", "45.3": one digit is all that an estimate is worth.
std::string mhzText(double mhz) {
    std::string text = fmt::format("{:.1f}", mhz);
    if (text.size() > 2 && text.compare(text.size() - 2, 2, ".0") == 0)
        text.resize(text.size() - 2);
    return text;
}

std::string reasonText(const AbandonRule& rule, const Abandonment& found, const BestResult* best,
                       const EstimateError& error) {
    const std::string bound =
        rule.isShare ? fmt::format("{} MHz, {:.4g}% of {} MHz of {}", mhzText(found.bound),
                                   rule.number * 100, mhzText(best->mhz), best->run)
                     : mhzText(found.bound) + " MHz";
    return fmt::format("its Fmax can't come to {}: the estimate after placement is {} MHz, and {}, "
                       "here {} MHz",
                       bound, mhzText(found.estimate), errorText(error), mhzText(found.hope));
}

bool isDone(const HAXPExpRun& run, const std::string& id) {
    const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(run.createRunStepIter());
    while (steps->hasNext()) {
        const HAXPExpRunStep* step = steps->next();
        if (step->getFlowStep()->getFlowStepId() == id)
            return step->getStatus()->getCode() == HDGUIStatus::statusDone;
    }
    return false;
}

std::optional<double> fmaxOf(const HAXPExpRun& run, const std::string& step) {
    ice40::StepMetrics metrics;
    std::string ignored;
    if (run.getDir().empty() || !isDone(run, step) ||
        !ice40::readMetrics(run.pathOf(ice40::metricsFileName(step)), metrics, ignored) ||
        metrics.worstClock() == nullptr)
        return std::nullopt;
    return metrics.worstClock()->fmaxMhz;
}

std::string launchOf(const HAXPExpRun& run) {
    LaunchLease lease;
    return !run.getDir().empty() && readLease(run.pathOf(kLeaseName), lease) ? lease.id : "";
}

}  // namespace

AbandonRule readAbandonRule(const std::string& text) {
    const std::size_t relation = text.find_first_of("<>=");
    if (relation == std::string::npos)
        refuse(text, "it has no <");
    const std::string metric = trimmed(text.substr(0, relation));
    if (metric != "fmax")
        refuse(text, metric.empty() ? "it names no figure"
                                    : "'" + metric +
                                          "' isn't estimated after placement, only "
                                          "fmax is");
    if (text[relation] != '<' || text.compare(relation, 2, "<=") == 0)
        refuse(text, "runs are abandoned that stay below, which is <");
    AbandonRule rule;
    rule.text = trimmed(text);
    std::string rest = trimmed(text.substr(relation + 1));
    if (!takeNumber(rest, rule.number) || rule.number <= 0)
        refuse(text, "behind < there is no number above 0");
    if (rest.empty() || rest == "MHz")
        return rule;
    if (rest.front() != '%' || trimmed(rest.substr(1)) != "of best")
        refuse(text, "'" + rest + "' isn't '% of best' or MHz");
    if (rule.number > 100)
        refuse(text, "more than 100% of the best would abandon the best itself");
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
    found.hope = *estimate * error.most;
    found.bound = rule.isShare ? best->mhz * rule.number : rule.number;
    // Not a number, as a damaged file may tell, abandons nothing.
    if (!(found.hope < found.bound))
        return std::nullopt;
    if (rule.isShare)
        found.bestRun = best->run;
    found.text = reasonText(rule, found, best ? &*best : nullptr, error);
    return found;
}

std::optional<double> placedFmax(const HAXPExpRun& run) {
    return fmaxOf(run, "place_design");
}

std::optional<double> routedFmax(const HAXPExpRun& run) {
    return fmaxOf(run, "route_design");
}

void markAbandoned(const HAXPExpRun& run, Abandonment abandonment) {
    abandonment.launch = launchOf(run);
    const nlohmann::json json{{"format", 1},
                              {"launch", abandonment.launch},
                              {"rule", abandonment.rule},
                              {"estimate_mhz", abandonment.estimate},
                              {"hope_mhz", abandonment.hope},
                              {"bound_mhz", abandonment.bound},
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
        json.at("estimate_mhz").get_to(found.estimate);
        json.at("hope_mhz").get_to(found.hope);
        json.at("bound_mhz").get_to(found.bound);
        json.at("best_run").get_to(found.bestRun);
        json.at("text").get_to(found.text);
    } catch (const nlohmann::json::exception&) {
        return std::nullopt;
    }
    const bool isOfLaunch = !found.launch.empty() && found.launch == launchOf(run);
    return isOfLaunch ? std::optional<Abandonment>(found) : std::nullopt;
}

}  // namespace workbench
