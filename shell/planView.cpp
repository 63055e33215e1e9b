// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/planView.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "environment/errors/HEXUserException.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "shell/exitStatus.h"
#include "shell/runPlan.h"
#include "shell/runView.h"
#include "shell/staleView.h"
#include "shell/tools.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/Project.h"
#include "workbench/launchDecision.h"

namespace shell {

namespace {

std::string idOrNothing(const HAXPExpRunStep* step) {
    return step == nullptr ? std::string() : idOf(*step);
}

/// What `check` throws for the user; empty when it throws nothing.
template <class Check> std::string refusalOf(Check check) {
    try {
        check();
    } catch (const HEXUserException& error) {
        return error.what();
    } catch (const CommandError& error) {
        return error.what();
    }
    return {};
}

/// What a run that isn't stale lacks.
std::string lackText(const HAXPExpRun& run, const HAXPExpRunStep* first) {
    if (run.getRunMode() != HAXPExpRun::kLaunched)
        return "it was never launched";
    if (hasFailed(run))
        return fmt::format("it {} {}",
                           statusWord(run) == "failed" ? "failed in"
                                                       : "was " + statusWord(run) + " in",
                           stepWord(run));
    return first == nullptr ? "its last step isn't done" : idOrNothing(first) + " isn't done";
}

/// Why `run`, which isn't up to date by itself or for its synthesis, has to be launched.
void tellReasons(const Project& project, HAXPExpRun& run, bool isSynthesisAnew,
                 PlannedRun& planned) {
    const HAXPExpRunStep* first = workbench::firstStepToRun(run);
    planned.from = idOrNothing(isSynthesisAnew ? run.getFirstStep() : first);
    if (isSynthesisAnew)
        planned.because.push_back(
            fmt::format("its synthesis {} runs anew", project.getSynthesisOf(run)->getName()));
    for (const std::string& text : stepTexts(lookForStale(project, run)))
        planned.because.push_back(text);
    if (planned.because.empty() || hasFailed(run))
        planned.because.push_back(lackText(run, first));
}

/// Those of a launch as a whole, in the order in which it meets them.
std::string wholeRefusal(const RunPlan& plan) {
    for (const HAXPExpRun* run : plan.runs) {
        std::string refusal = refusalOf([run] { workbench::requireNotAtWork(*run); });
        if (!refusal.empty())
            return refusal;
    }
    return refusalOf([&plan] { requireTools(plan.launches); });
}

std::string plannedRunText(const PlannedRun& planned, std::size_t& number) {
    const std::string& name = planned.run->getName();
    if (!planned.refusal.empty())
        return fmt::format("{}: refused. {}\n", name, planned.refusal);
    if (!planned.isLaunched)
        return fmt::format("{}: up to date\n", name);
    std::string text = fmt::format("{}. {}: {}", ++number, name, planned.from);
    if (planned.to != planned.from)
        text += " to " + planned.to;
    text += "\n";
    for (const std::string& reason : planned.because)
        text += "   " + reason + "\n";
    return text;
}

}  // namespace

LaunchPreview previewLaunch(const Project& project, const std::vector<HAXPExpRun*>& chosen) {
    const RunPlan plan = makePlan(project, chosen);
    LaunchPreview preview;
    preview.refusal = wholeRefusal(plan);
    for (HAXPExpRun* run : plan.runs) {
        PlannedRun planned;
        planned.run = run;
        planned.isLaunched = plan.launchesRun(*run);
        planned.to = idOrNothing(run->getToStep());
        const HAXPExpRun* synthesis = project.getSynthesisOf(*run);
        if (planned.isLaunched)
            tellReasons(project, *run, synthesis != nullptr && plan.launchesRun(*synthesis),
                        planned);
        if (planned.isLaunched)
            planned.refusal = refusalOf([run] { workbench::requireSources(*run); });
        planned.isLaunched = planned.isLaunched && planned.refusal.empty();
        preview.runs.push_back(planned);
    }
    return preview;
}

std::string previewText(const LaunchPreview& preview) {
    std::string text;
    std::size_t number = 0;
    for (const PlannedRun& planned : preview.runs)
        text += plannedRunText(planned, number);
    if (!preview.refusal.empty())
        text += "A launch would be refused now: " + preview.refusal + "\n";
    return text;
}

nlohmann::json previewJson(const LaunchPreview& preview) {
    nlohmann::json runs = nlohmann::json::array();
    for (const PlannedRun& planned : preview.runs) {
        const bool isRefused = !planned.refusal.empty();
        runs.push_back({{"name", planned.run->getName()},
                        {"action", isRefused            ? "refuse"
                                   : planned.isLaunched ? "launch"
                                                        : "none"},
                        {"from", planned.from},
                        {"to", planned.to},
                        {"because", planned.because},
                        {"refusal", planned.refusal}});
    }
    return {{"runs", runs}, {"refusal", preview.refusal}};
}

}  // namespace shell
