// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <algorithm>
#include <cstdio>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "runs/base/xperiment/HAXPStrategy.h"
#include "shell/comparisonView.h"
#include "shell/exitStatus.h"
#include "shell/jsonOutput.h"
#include "shell/progressLine.h"
#include "shell/reportView.h"
#include "shell/runComparison.h"
#include "shell/runPlan.h"
#include "shell/runView.h"
#include "shell/staleView.h"
#include "shell/verb.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenStats.h"
#include "workbench/Project.h"
#include "workbench/optionText.h"
#include "workbench/printable.h"
#include "workbench/strategyOptions.h"

namespace shell {

namespace {

using Runs = std::vector<HAXPExpRun*>;

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
            fmt::print(stderr,
                       "The figures of report {} of run {} are left out: {}. Make it anew: xp "
                       "report generate {} {} --again\n",
                       report.shortName, report.run, workbench::printable(reason), report.run,
                       report.shortName);
    }
}

void addOptions(const HAXPExpRun& run, ComparedRun& compared) {
    for (const workbench::StrategyOption& option : workbench::optionsOf(*run.getStrategy()))
        compared.options.push_back(
            {option.fullName(), workbench::optionText(*option.group, *option.spec)});
}

ComparedRun comparedRun(const Project& project, HAXPExpRun& run) {
    ComparedRun compared;
    compared.name = run.getName();
    compared.status = statusWord(run);
    compared.isDone = isDone(run);
    compared.isStale = !staleTexts(project, run).empty();
    compared.strategy = run.getStrategy()->getName();
    if (HAXPExpRun* synthesis = project.getSynthesisOf(run)) {
        compared.synthesis = synthesis->getName();
        addOptions(*synthesis, compared);
    }
    addOptions(run, compared);
    addReportFigures(project, run, compared);
    double seconds = 0;
    if (OpenStats::valueOf(run, OpenStats::kRunTime, seconds))
        addFigures(compared, {{kTimeFigure, "Run time", seconds, "s", reports::Figure::kLower}});
    return compared;
}

/// Those called `names`, or all implementations.
Runs runsToCompare(const Project& project, const std::vector<std::string>& names) {
    Runs runs = chosenRuns(project, names);
    if (names.empty())
        runs.erase(std::remove_if(runs.begin(), runs.end(),
                                  [](const auto* run) { return flowWord(*run) != "impl"; }),
                   runs.end());
    if (runs.empty())
        throw CommandError(kExitRefused, "The project has no implementation to compare. Make one "
                                         "with: xp create impl_1 --flow impl");
    return runs;
}

class CompareVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("runs", m_names, "Names of runs; all implementations if unsaid");
        command
            .add_option("--goal", m_goal,
                        "fmax, slack, luts, time or the name of a figure; more, with commas "
                        "between, decide ties")
            ->capture_default_str();
        addJsonFlag(command, m_json);
    }

    int run(const Session& session) override {
        const auto project = Project::open(session.projectDir, Project::kRead);
        std::vector<ComparedRun> runs;
        for (HAXPExpRun* run : runsToCompare(*project, m_names))
            runs.push_back(comparedRun(*project, *run));
        const std::vector<Goal> goals = readGoals(m_goal, runs);
        const Verdict verdict = judge(runs, goals);
        if (m_json) {
            printJson(comparisonJson(runs, goals, verdict));
            return kExitDone;
        }
        fmt::print("{}\n", comparisonTable(runs, widthOfOutput()));
        for (const std::string& line : verdictLines(verdict, goals))
            fmt::print("{}\n", workbench::printable(line));
        return kExitDone;
    }

private:
    std::vector<std::string> m_names;
    std::string m_goal = "fmax";
    bool m_json = false;
};

}  // namespace

std::unique_ptr<Verb> makeCompareVerb() {
    return std::make_unique<CompareVerb>();
}

}  // namespace shell
