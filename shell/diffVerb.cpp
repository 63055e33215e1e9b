// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <algorithm>
#include <cstdio>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

#include "shell/comparedRuns.h"
#include "shell/diffView.h"
#include "shell/exitStatus.h"
#include "shell/familyComparison.h"
#include "shell/familyOptions.h"
#include "shell/familyView.h"
#include "shell/jsonOutput.h"
#include "shell/runDiff.h"
#include "shell/runPlan.h"
#include "shell/verb.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/Project.h"
#include "workbench/fileFingerprint.h"
#include "workbench/runFamily.h"

namespace shell {

namespace {

using Runs = std::vector<HAXPExpRun*>;

class DiffVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("first", m_first, "Name of a run, or of a family")->required();
        command.add_option("second", m_second, "The run or family to hold against it")->required();
        command.add_flag("--exit-code", m_wantsStatus,
                         "End with 1 when they differ, and with 0 when they don't");
        m_families.declare(command);
        addJsonFlag(command, m_json);
    }

    int run(const Session& session) override {
        const auto project = Project::open(session.projectDir, Project::kRead);
        const bool areRuns = areRuns_(*project);
        // They read the same sources.
        const workbench::FileWatch::Moment moment;
        const DiffSide first = areRuns ? diffSide(*project, *project->findRun(m_first))
                                       : familySide_(*project, m_first);
        const DiffSide second = areRuns ? diffSide(*project, *project->findRun(m_second))
                                        : familySide_(*project, m_second);
        RunDiff diff = diffOf(first, second);
        if (!areRuns)
            addVerdicts_(*project, diff);
        if (m_json)
            printJson(diffJson(first, second, diff));
        else
            fmt::print("{}", diffText(first, second, diff));
        return m_wantsStatus && !diff.isEqual() ? kExitRunFailed : kExitDone;
    }

private:
    /// Whether both names are runs', or both families'. @throws CommandError neither.
    bool areRuns_(const Project& project) const {
        std::size_t runs = 0;
        for (const std::string& name : {m_first, m_second}) {
            if (project.findRun(name) != nullptr)
                ++runs;
            else
                requireFamily_(project, name);
        }
        if (runs == 1)
            throw CommandError(kExitUsage, fmt::format("One of {} and {} is a run and the other a "
                                                       "family. Name two runs, or two families.",
                                                       m_first, m_second));
        return runs == 2;
    }

    static void requireFamily_(const Project& project, const std::string& name) {
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

    static DiffSide familySide_(const Project& project, const std::string& name) {
        std::vector<DiffSide> sides;
        for (HAXPExpRun* run : runsOfFamily(project, name))
            sides.push_back(diffSide(project, *run));
        return familySide(name, sides);
    }

    /// What the difference of two medians is worth.
    void addVerdicts_(const Project& project, RunDiff& diff) const {
        Runs runs = runsOfFamily(project, m_first);
        for (HAXPExpRun* run : runsOfFamily(project, m_second)) {
            if (std::find(runs.begin(), runs.end(), run) == runs.end())
                runs.push_back(run);
        }
        const std::vector<ComparedRun> all =
            comparedRuns(project, runs, FigureSource::kReportsAndSteps);
        const std::vector<ComparedFamily> families = familiesOf(all);
        for (const FamilyPair& pair : compareFamilies(families, m_families.question())) {
            for (FigureDifference& one : diff.figures) {
                const auto row =
                    std::find_if(pair.rows.begin(), pair.rows.end(), [&one](const FamilyRow& each) {
                        return each.figure.name == one.figure.name;
                    });
                if (row != pair.rows.end())
                    one.verdict = verdictWords(*row);
            }
        }
    }

    std::string m_first;
    std::string m_second;
    FamilyOptions m_families;
    bool m_wantsStatus = false;
    bool m_json = false;
};

}  // namespace

std::unique_ptr<Verb> makeDiffVerb() {
    return std::make_unique<DiffVerb>();
}

}  // namespace shell
