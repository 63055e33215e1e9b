// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/namedDiff.h"

#include <algorithm>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "shell/comparedRuns.h"
#include "shell/exitStatus.h"
#include "shell/familyComparison.h"
#include "shell/familyView.h"
#include "shell/runPlan.h"
#include "shell/runs.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/Project.h"
#include "workbench/fileFingerprint.h"
#include "workbench/runFamily.h"

namespace shell {

namespace {

void requireOneFamily(const Project& project, const std::string& name) {
    const Runs runs = runsOfFamily(project, name);
    if (runs.empty())
        chosenRun(project, name);
    std::vector<std::string> families;
    for (const HAXPExpRun* run : runs) {
        const std::string& family = project.getFamilyOf(*run).name;
        if (std::find(families.begin(), families.end(), family) == families.end())
            families.push_back(family);
    }
    if (families.size() > 1)
        throw CommandError(kExitUsage,
                           fmt::format("{} is a sweep of several families. Name two of them: "
                                       "{}",
                                       name, fmt::join(families, ", ")));
}

/// Whether both names are runs', or both families'. @throws CommandError neither.
bool areRuns(const Project& project, const std::string& first, const std::string& second) {
    std::size_t runs = 0;
    for (const std::string& name : {first, second}) {
        if (project.findRun(name) != nullptr)
            ++runs;
        else
            requireOneFamily(project, name);
    }
    if (runs == 1)
        throw CommandError(kExitUsage, fmt::format("One of {} and {} is a run and the other a "
                                                   "family. Name two runs, or two families.",
                                                   first, second));
    return runs == 2;
}

DiffSide sideOf(const Project& project, const std::string& name, bool isRun) {
    if (isRun)
        return diffSide(project, *project.findRun(name));
    std::vector<DiffSide> sides;
    for (HAXPExpRun* run : runsOfFamily(project, name))
        sides.push_back(diffSide(project, *run));
    return familySide(name, sides);
}

/// What the difference of two medians is worth.
void addVerdicts(const Project& project, const statistics::Question& question, NamedDiff& made) {
    Runs runs = runsOfFamily(project, made.first.name);
    for (HAXPExpRun* run : runsOfFamily(project, made.second.name)) {
        if (std::find(runs.begin(), runs.end(), run) == runs.end())
            runs.push_back(run);
    }
    const std::vector<ComparedRun> all =
        comparedRuns(project, runs, FigureSource::kReportsAndSteps);
    const std::vector<ComparedFamily> families = familiesOf(all);
    for (const FamilyPair& pair : compareFamilies(families, question)) {
        for (FigureDifference& one : made.diff.figures) {
            const auto row =
                std::find_if(pair.rows.begin(), pair.rows.end(), [&one](const FamilyRow& each) {
                    return each.figure.name == one.figure.name;
                });
            if (row != pair.rows.end())
                one.verdict = verdictWords(*row);
        }
    }
}

}  // namespace

NamedDiff diffOfNames(const Project& project, const std::string& first, const std::string& second,
                      const statistics::Question& question) {
    const bool ofRuns = areRuns(project, first, second);
    // They read the same sources.
    const workbench::FileWatch::Moment moment;
    NamedDiff made{sideOf(project, first, ofRuns), sideOf(project, second, ofRuns), {}};
    made.diff = diffOf(made.first, made.second);
    if (!ofRuns)
        addVerdicts(project, question, made);
    return made;
}

}  // namespace shell
