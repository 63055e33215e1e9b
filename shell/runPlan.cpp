// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/runPlan.h"

#include <algorithm>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "shell/exitStatus.h"
#include "shell/knownNames.h"
#include "shell/suggestion.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/Project.h"
#include "workbench/fileFingerprint.h"
#include "workbench/launchDecision.h"
#include "workbench/runFamily.h"

namespace shell {

namespace {

bool contains(const std::vector<HAXPExpRun*>& runs, const HAXPExpRun* run) {
    return std::find(runs.begin(), runs.end(), run) != runs.end();
}

void addToPlan(HAXPExpRun& run, bool mustLaunch, RunPlan& plan) {
    if (contains(plan.runs, &run))
        return;
    plan.runs.push_back(&run);
    if (mustLaunch)
        plan.launches.push_back(&run);
}

/// `name` means `runs` where one run is asked for.
[[noreturn]] void failMany(const Project& project, const std::string& name,
                           const std::vector<HAXPExpRun*>& runs) {
    constexpr std::size_t kMostNamed = 6;
    std::vector<std::string> names;
    for (const HAXPExpRun* run : runs) {
        if (names.size() < kMostNamed)
            names.push_back(run->getName());
    }
    const bool isSweep = project.getFamilyOf(*runs.front()).sweep == name;
    const std::string more =
        runs.size() > kMostNamed ? fmt::format(", ... (all: xp ls {})", name) : std::string();
    throw CommandError(
        kExitRefused,
        fmt::format("'{}' is a {} of {} run{}, and one run is asked for. Name it: {}{}", name,
                    isSweep ? "sweep" : "family", runs.size(), runs.size() == 1 ? "" : "s",
                    fmt::join(names, ", "), more));
}

}  // namespace

bool RunPlan::launchesRun(const HAXPExpRun& run) const {
    return contains(launches, &run);
}

HAXPExpRun& chosenRun(const Project& project, const std::string& name) {
    if (HAXPExpRun* run = project.findRun(name))
        return *run;
    const std::vector<HAXPExpRun*> family = runsOfFamily(project, name);
    if (!family.empty())
        failMany(project, name, family);
    std::vector<std::string> known;
    for (const HAXPExpRun* run : project.getRuns()) {
        known.push_back(run->getName());
        addFamilyNames(project.getFamilyOf(*run), known);
    }
    const std::string meant = suggestionFor(name, known);
    if (meant.empty())
        return project.getRun(name);
    throw CommandError(kExitRefused,
                       fmt::format("There is no run '{}'. Did you mean '{}'?", name, meant));
}

std::vector<HAXPExpRun*> runsOfFamily(const Project& project, const std::string& name) {
    std::vector<HAXPExpRun*> runs;
    if (name.empty())
        return runs;
    for (HAXPExpRun* run : project.getRuns()) {
        const workbench::RunFamily& family = project.getFamilyOf(*run);
        if (family.sweep == name || family.name == name)
            runs.push_back(run);
    }
    return runs;
}

std::vector<HAXPExpRun*> chosenRuns(const Project& project, const std::vector<std::string>& names) {
    if (names.empty())
        return project.getRuns();
    std::vector<HAXPExpRun*> runs;
    for (const std::string& name : names) {
        std::vector<HAXPExpRun*> meant;
        if (project.findRun(name) == nullptr)
            meant = runsOfFamily(project, name);
        if (meant.empty())
            meant.push_back(&chosenRun(project, name));
        for (HAXPExpRun* run : meant) {
            if (!contains(runs, run))
                runs.push_back(run);
        }
    }
    return runs;
}

RunPlan makePlan(const Project& project, const std::vector<HAXPExpRun*>& chosen) {
    RunPlan plan;
    // The runs of a project read the same sources.
    const workbench::FileWatch::Moment moment;
    for (HAXPExpRun* run : chosen) {
        HAXPExpRun* synthesis = project.getSynthesisOf(*run);
        const bool anew = synthesis != nullptr && !synthesis->isUpToDate();
        if (anew || (synthesis != nullptr && contains(chosen, synthesis)))
            addToPlan(*synthesis, anew, plan);
        addToPlan(*run, anew || !run->isUpToDate(), plan);
    }
    return plan;
}

RunPlan makeLaunchPlan(const Project& project, const std::vector<HAXPExpRun*>& chosen) {
    for (HAXPExpRun* run : chosen) {
        for (HAXPExpRun* each : {run, project.getSynthesisOf(*run)}) {
            if (each != nullptr && each->isAtWork())
                each->lookForLife();
        }
    }
    RunPlan plan = makePlan(project, chosen);
    for (const HAXPExpRun* run : plan.runs)
        workbench::requireNotAtWork(*run);
    return plan;
}

}  // namespace shell
