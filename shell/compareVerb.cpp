// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <cstdio>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "shell/comparedRuns.h"
#include "shell/comparisonView.h"
#include "shell/exitStatus.h"
#include "shell/familyOptions.h"
#include "shell/familyView.h"
#include "shell/jsonOutput.h"
#include "shell/progressLine.h"
#include "shell/runComparison.h"
#include "shell/verb.h"
#include "workbench/Project.h"
#include "workbench/printable.h"

namespace shell {

namespace {

class CompareVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("runs", m_names,
                           "Names of runs, or of families and sweeps, whose medians are compared "
                           "with tested verdicts; all implementations if unsaid");
        command
            .add_option("--goal", m_goal,
                        "fmax, slack, luts, time or the name of a figure; more, with commas "
                        "between, decide ties")
            ->capture_default_str();
        command.add_flag("--each", m_wantsRuns, "Of families: show their runs one by one");
        m_families.declare(command);
        addJsonFlag(command, m_json);
    }

    int run(const Session& session) override {
        const auto project = Project::open(session.projectDir, Project::kRead);
        const std::vector<HAXPExpRun*> runs = runsToCompare(*project, m_names);
        if (!m_wantsRuns && areFamilies(*project, m_names)) {
            const std::vector<ComparedRun> all =
                comparedRuns(*project, runs, FigureSource::kReportsAndSteps);
            const std::vector<ComparedFamily> families = familiesOf(all);
            if (families.size() > 1)
                return showFamilies_(families);
        }
        return showRuns_(comparedRuns(*project, runs, FigureSource::kReports));
    }

private:
    int showFamilies_(const std::vector<ComparedFamily>& families) const {
        const statistics::Question question = m_families.question();
        const std::vector<FamilyPair> pairs = compareFamilies(families, question);
        if (m_json)
            printJson(familiesJson(families, pairs, question));
        else
            fmt::print("{}", familyTables(families, pairs, question));
        return kExitDone;
    }

    int showRuns_(const std::vector<ComparedRun>& runs) const {
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

    std::vector<std::string> m_names;
    std::string m_goal = "fmax";
    FamilyOptions m_families;
    bool m_wantsRuns = false;
    bool m_json = false;
};

}  // namespace

std::unique_ptr<Verb> makeCompareVerb() {
    return std::make_unique<CompareVerb>();
}

}  // namespace shell
