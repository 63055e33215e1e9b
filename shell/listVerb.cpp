// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <algorithm>

#include <CLI/App.hpp>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "environment/errors/HEXAll.h"
#include "shell/exitStatus.h"
#include "shell/jsonOutput.h"
#include "shell/knownNames.h"
#include "shell/listOptions.h"
#include "shell/listView.h"
#include "shell/note.h"
#include "shell/runPlan.h"
#include "shell/verb.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/Project.h"
#include "workbench/fileFingerprint.h"
#include "workbench/history/History.h"

namespace shell {

namespace {

class ListVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("runs", m_names,
                           "Names of runs, families or sweeps; all of the project if unsaid");
        command
            .add_option("--sort", m_sortKey,
                        "By project (its own order), name, status, stale, strategy, seed, "
                        "fmax, luts or time; the best first")
            ->capture_default_str();
        command.add_flag("-r,--reverse", m_isReverse, "The other way round");
        command
            .add_option("--status", m_statuses,
                        "Only those with these statuses, such as failed,lost")
            ->delimiter(',')
            ->allow_extra_args(false);
        command.add_flag("--stale", m_onlyStale, "Only those that are out of date");
        command.add_option("--family", m_families, "Only those of these families or sweeps")
            ->delimiter(',')
            ->allow_extra_args(false);
        addJsonFlag(command, m_json);
    }

    int run(const Session& session) override {
        requireName("sort key", m_sortKey, sortKeys());
        for (const std::string& status : m_statuses)
            requireName("status", status, statusWords());
        const auto project = Project::open(session.projectDir, Project::kOverview);
        std::vector<ListedRun> runs = chosen_(*project);
        sortRuns(runs, m_sortKey);
        if (m_isReverse)
            std::reverse(runs.begin(), runs.end());
        if (m_json)
            printJson(listJson(*project, runs));
        else if (!runs.empty())
            fmt::print("{}", listText(runs));
        else if (project->getRuns().empty())
            note("The project has no runs. Make one: xp create synth_1 --flow synth");
        else
            note("No run is like that. \"xp ls\" shows all.");
        flushOutput();
        rememberEnds_(*project);
        return kExitDone;
    }

private:
    /// A night's launches that nobody waited for reach the history through who looks first.
    static void rememberEnds_(const Project& overview) {
        const std::vector<HAXPExpRun*> ended = workbench::notYetRemembered(overview.getRuns());
        if (ended.empty())
            return;
        try {
            // The figures of reports are remembered too, and an overview comes without reports.
            const auto project = Project::open(overview.getDir(), Project::kRead);
            std::vector<HAXPExpRun*> runs;
            for (const HAXPExpRun* run : ended) {
                if (HAXPExpRun* same = project->findRun(run->getName()))
                    runs.push_back(same);
            }
            workbench::rememberEnds(*project, runs);
        } catch (const HEXAll&) {
            // The list is told; the next one who looks will say what is wrong.
            return;
        }
    }

    std::vector<ListedRun> chosen_(const Project& project) const {
        for (const std::string& family : m_families)
            requireFamily(project, family);
        std::vector<ListedRun> runs;
        // The runs of a project read the same files.
        const workbench::FileWatch::Moment moment;
        KnownStale known;
        for (HAXPExpRun* run : chosenRuns(project, m_names)) {
            ListedRun listed = listedRun(project, *run, known);
            if (isWanted_(listed))
                runs.push_back(std::move(listed));
        }
        return runs;
    }

    bool isWanted_(const ListedRun& run) const {
        const auto has = [](const std::vector<std::string>& all, const std::string& one) {
            return std::find(all.begin(), all.end(), one) != all.end();
        };
        return (m_statuses.empty() || has(m_statuses, run.status)) &&
               (!m_onlyStale || run.isStale) &&
               (m_families.empty() || has(m_families, run.family) || has(m_families, run.sweep));
    }

    std::vector<std::string> m_names;
    std::string m_sortKey = "project";
    bool m_isReverse = false;
    std::vector<std::string> m_statuses;
    bool m_onlyStale = false;
    std::vector<std::string> m_families;
    bool m_json = false;
};

}  // namespace

std::unique_ptr<Verb> makeListVerb() {
    return makeVerb<ListVerb>();
}

}  // namespace shell
