// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <algorithm>
#include <cstdio>

#include <CLI/App.hpp>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

#include "shell/comparedRuns.h"
#include "shell/comparisonView.h"
#include "shell/dataOutput.h"
#include "shell/declaredVerb.h"
#include "shell/exitStatus.h"
#include "shell/familyOptions.h"
#include "shell/familyView.h"
#include "shell/jsonOutput.h"
#include "shell/moreSeeds.h"
#include "shell/note.h"
#include "shell/progressLine.h"
#include "shell/runComparison.h"
#include "shell/verb.h"
#include "workbench/HAXPExpRun.h"
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
        auto* each =
            command.add_flag("--each", m_wantsRuns, "Of families: show their runs one by one");
        auto* more = command
                         .add_flag("--more", m_wantsMore,
                                   "Families that can't be told apart: make and launch the seeds "
                                   "that it takes without asking, and compare again")
                         ->excludes(each);
        command.add_option("-j,--jobs", m_jobs, "Of --more: how many runs at once")
            ->check(CLI::Range(1, 10000))
            ->needs(more);
        command.add_flag("--all", m_wantsAll, "Show the figures too that are the same in all runs");
        m_families.declare(command);
        addJsonFlag(command, m_json);
    }

    int run(const Session& session) override {
        auto project = Project::open(session.projectDir, Project::kRead);
        const std::vector<HAXPExpRun*> runs = runsToCompare(*project, m_names);
        if (m_wantsRuns || !areFamilies(*project, m_names))
            return showRuns_(comparedRuns(*project, runs, FigureSource::kReports));
        const std::vector<ComparedRun> all =
            comparedRuns(*project, runs, FigureSource::kReportsAndSteps);
        const std::vector<ComparedFamily> families = familiesOf(all);
        if (families.size() < 2)
            return showRuns_(comparedRuns(*project, runs, FigureSource::kReports));
        const statistics::Question question = m_families.question();
        const std::vector<FamilyPair> pairs = compareFamilies(families, question);
        const MoreSeeds more = moreSeedsFor(pairs, readGoals(m_goal, all).front().figure);
        const bool willAsk = !m_wantsMore && !m_json && !more.empty() && canAsk();
        // With "--more" the answer for scripts is that of the second look alone.
        if (!m_json || !m_wantsMore || more.empty())
            showFamilies_(all, families, pairs, question);
        const std::vector<long> seeds = nextSeeds(*project, more);
        if (more.empty() || (willAsk && !agrees(moreSeedsQuestion(more, seeds))))
            return kExitDone;
        if (!willAsk && !m_wantsMore) {
            tellCommand_(more);
            return kExitDone;
        }
        project.reset();
        const int status = launchMore_(session, more);
        return status == kExitDone ? lookAgain_(session, question) : status;
    }

private:
    void showFamilies_(const std::vector<ComparedRun>& runs,
                       const std::vector<ComparedFamily>& families,
                       const std::vector<FamilyPair>& pairs,
                       const statistics::Question& question) const {
        if (m_json) {
            printJson(familiesJson(families, pairs, question));
        } else {
            fmt::print("{}\n", familyTables(families, pairs, question, m_wantsAll));
            const std::vector<Goal> goals = readGoals(m_goal, runs);
            std::vector<std::string> lines = pairVerdicts(pairs, goals.front().figure);
            lines.push_back(shortVerdict(judge(runs, goals), goals));
            for (const std::string& line : lines)
                fmt::print("{}\n", workbench::printable(line));
        }
        std::fflush(stdout);
    }

    void tellCommand_(const MoreSeeds& more) const {
        note("{} can't be told apart: about {} more seed{} of each needed. Make and launch them "
             "with: xp compare {} --more",
             more.label, more.count, more.count == 1 ? "" : "s", fmt::join(m_names, " "));
    }

    /// Makes the runs and launches them; what they print is no part of the answer.
    int launchMore_(const Session& session, const MoreSeeds& more) const {
        std::vector<std::string> words;
        {
            const auto project = Project::open(session.projectDir, Project::kChange);
            for (const HAXPExpRun* run : makeMoreSeeds(*project, more, nextSeeds(*project, more)))
                words.push_back(run->getName());
            project->save();
        }
        note("{} runs are made, from {} to {}", words.size(), words.front(), words.back());
        if (m_jobs > 0)
            words.insert(words.end(), {"-j", std::to_string(m_jobs)});
        std::reverse(words.begin(), words.end());
        DeclaredVerb launch(*findVerb(verbs(), "launch"), "launch");
        launch.command().parse(words);
        const DataOutput data(m_json);
        return launch.verb().run(session);
    }

    /// Who looks twice gives chance a second try: this one has half the level.
    int lookAgain_(const Session& session, statistics::Question question) const {
        question.level /= 2;
        const auto project = Project::open(session.projectDir, Project::kRead);
        const std::vector<ComparedRun> all = comparedRuns(
            *project, runsToCompare(*project, m_names), FigureSource::kReportsAndSteps);
        const std::vector<ComparedFamily> families = familiesOf(all);
        note("The second look at these families has half the level.");
        showFamilies_(all, families, compareFamilies(families, question), question);
        return kExitDone;
    }

    int showRuns_(const std::vector<ComparedRun>& runs) const {
        const std::vector<Goal> goals = readGoals(m_goal, runs);
        const Verdict verdict = judge(runs, goals);
        if (m_json) {
            printJson(comparisonJson(runs, goals, verdict));
            return kExitDone;
        }
        fmt::print("{}\n", comparisonTable(runs, widthOfOutput(), m_wantsAll));
        for (const std::string& line : verdictLines(verdict, goals))
            fmt::print("{}\n", workbench::printable(line));
        return kExitDone;
    }

    std::vector<std::string> m_names;
    std::string m_goal = "fmax";
    FamilyOptions m_families;
    bool m_wantsRuns = false;
    bool m_wantsMore = false;
    bool m_wantsAll = false;
    int m_jobs = 0;
    bool m_json = false;
};

}  // namespace

std::unique_ptr<Verb> makeCompareVerb() {
    return std::make_unique<CompareVerb>();
}

}  // namespace shell
