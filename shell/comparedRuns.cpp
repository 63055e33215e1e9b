// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/comparedRuns.h"

#include <algorithm>
#include <cstdio>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "runs/base/xperiment/HAXPStrategy.h"
#include "shell/exitStatus.h"
#include "shell/note.h"
#include "shell/reportView.h"
#include "shell/runPlan.h"
#include "shell/runView.h"
#include "shell/staleView.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/OpenStats.h"
#include "workbench/Project.h"
#include "workbench/fileFingerprint.h"
#include "workbench/ice40/metrics.h"
#include "workbench/optionText.h"
#include "workbench/printable.h"
#include "workbench/runFamily.h"
#include "workbench/strategyOptions.h"

namespace shell {

namespace {

using reports::Figure;

/// A number of the steps that is a figure too, called as the reports call it.
struct CountFigure {
    const char* name;
    const char* label;
};
constexpr CountFigure kCountFigures[] = {
    {ice40::counts::kLogicCells, "Logic cells"}, {ice40::counts::kLuts, "LUTs"},
    {ice40::counts::kFlipFlops, "Flip-flops"},   {ice40::counts::kCarries, "Carry cells"},
    {ice40::counts::kBlockRams, "Block RAMs"},   {ice40::counts::kCells, "Cells"}};

/// The key figures that the reports of `run` tell, step after step. What can't be read is
/// told.
void addReportFigures(const Project& project, HAXPExpRun& run, ComparedRun& compared) {
    for (const ReportEntry& report : reportsOf(project, run, false)) {
        const bool tells = report.state == "generated" || report.state == "stale";
        if (!tells || report.jsonPath.empty())
            continue;
        reports::ReportFigures read;
        std::string reason;
        if (reports::readFigures(report.jsonPath, read, reason))
            addFigures(compared, read.figures);
        else
            note("The figures of report {} of run {} are left out: {}. Make it anew: xp "
                 "report generate {} {} --again",
                 report.shortName, report.run, workbench::printable(reason), report.run,
                 report.shortName);
    }
}

void addMissing(ComparedRun& compared, const Figure& figure) {
    if (figureOf(compared, figure.name) == nullptr)
        addFigures(compared, {figure});
}

void addStepFigures(const HAXPExpRun& run, ComparedRun& compared) {
    const ice40::StepMetrics& metrics = run.getInfo().getMetrics();
    if (const ice40::ClockTiming* worst = metrics.worstClock()) {
        addMissing(compared, {"fmax", "Fmax", worst->fmaxMhz, "MHz", Figure::kHigher});
        addMissing(compared,
                   {"worst_slack", "Worst slack", worst->slackNs(), "ns", Figure::kHigher});
    }
    for (const CountFigure& count : kCountFigures) {
        if (const std::optional<long> value = metrics.count(count.name))
            addMissing(compared,
                       {count.name, count.label, static_cast<double>(*value), "", Figure::kLower});
    }
}

void addRunTime(const HAXPExpRun& run, ComparedRun& compared) {
    double seconds = 0;
    if (OpenStats::valueOf(run, OpenStats::kRunTime, seconds))
        addFigures(compared, {{kTimeFigure, "Run time", seconds, "s", Figure::kLower}});
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

ComparedRun comparedRun(const Project& project, HAXPExpRun& run, FigureSource source) {
    ComparedRun compared;
    compared.name = run.getName();
    compared.status = statusWord(run);
    compared.isDone = isDone(run);
    compared.isStale = !staleTexts(project, run).empty();
    compared.strategy = run.getStrategy()->getName();
    compared.family = project.getFamilyOf(run).name;
    if (HAXPExpRun* synthesis = project.getSynthesisOf(run)) {
        compared.synthesis = synthesis->getName();
        addOptions(*synthesis, compared);
    }
    addOptions(run, compared);
    addReportFigures(project, run, compared);
    if (source == FigureSource::kReportsAndSteps)
        addStepFigures(run, compared);
    addRunTime(run, compared);
    return compared;
}

std::vector<ComparedRun> comparedRuns(const Project& project, const std::vector<HAXPExpRun*>& runs,
                                      FigureSource source) {
    std::vector<ComparedRun> compared;
    compared.reserve(runs.size());
    // They read the same sources.
    const workbench::FileWatch::Moment moment;
    for (HAXPExpRun* run : runs)
        compared.push_back(comparedRun(project, *run, source));
    return compared;
}

}  // namespace shell
