// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/comparedRuns.h"

#include <algorithm>

#include "runs/base/xperiment/HAXPStrategy.h"
#include "shell/exitStatus.h"
#include "shell/note.h"
#include "shell/reportNames.h"
#include "shell/runPlan.h"
#include "shell/runView.h"
#include "shell/staleView.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/Project.h"
#include "workbench/RunReports.h"
#include "workbench/fileFingerprint.h"
#include "workbench/optionText.h"
#include "workbench/printable.h"
#include "workbench/runFamily.h"
#include "workbench/runFigures.h"
#include "workbench/strategyOptions.h"

namespace shell {

namespace {

/// The key figures that the reports of `run` tell. What can't be read is told.
void addReportFigures(HAXPExpRun& run, ComparedRun& compared) {
    std::vector<workbench::UnreadReport> unread;
    addFigures(compared, workbench::reportFigures(run, unread));
    for (const workbench::UnreadReport& report : unread) {
        const std::string name = shortName(RunReports(run), *report.report);
        note("The figures of report {0} of run {1} are left out: {2}. Make it anew: xp report "
             "generate {1} {0} --again",
             name, run.getName(), workbench::printable(report.reason));
    }
}

void addOptions(const HAXPExpRun& run, ComparedRun& compared) {
    for (const workbench::StrategyOption& option : workbench::optionsOf(*run.getStrategy()))
        compared.options.push_back(
            {option.fullName(), workbench::optionText(*option.group, *option.spec)});
}

}  // namespace

std::vector<HAXPExpRun*> runsToCompare(const Project& project,
                                       const std::vector<std::string>& names) {
    std::vector<HAXPExpRun*> runs = chosenRuns(project, names);
    if (names.empty())
        runs.erase(std::remove_if(runs.begin(), runs.end(),
                                  [](const auto* run) { return flowWord(*run) != "impl"; }),
                   runs.end());
    if (runs.empty())
        throw CommandError(kExitRefused, "The project has no implementation to compare. Make one "
                                         "with: xp create impl_1 --flow impl");
    return runs;
}

ComparedRun comparedRun(const Project& project, HAXPExpRun& run, FigureSource source,
                        KnownStale* known) {
    ComparedRun compared;
    compared.name = run.getName();
    compared.status = statusWord(run);
    compared.isDone = isDone(run);
    compared.isStale = !staleTexts(project, run, known).empty();
    compared.strategy = run.getStrategy()->getName();
    compared.family = project.getFamilyOf(run).name;
    if (HAXPExpRun* synthesis = project.getSynthesisOf(run)) {
        compared.synthesis = synthesis->getName();
        addOptions(*synthesis, compared);
    }
    addOptions(run, compared);
    // Their states follow from the stale reasons.
    addReportFigures(run, compared);
    if (source == FigureSource::kReportsAndSteps)
        workbench::addStepFigures(run, compared.figures);
    workbench::addRunTime(run, compared.figures);
    return compared;
}

std::vector<ComparedRun> comparedRuns(const Project& project, const std::vector<HAXPExpRun*>& runs,
                                      FigureSource source) {
    std::vector<ComparedRun> compared;
    compared.reserve(runs.size());
    // They read the same sources.
    const workbench::FileWatch::Moment moment;
    KnownStale known;
    for (HAXPExpRun* run : runs)
        compared.push_back(comparedRun(project, *run, source, &known));
    return compared;
}

}  // namespace shell
