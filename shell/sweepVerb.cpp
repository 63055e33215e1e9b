// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <cstdio>

#include <CLI/App.hpp>
#include <fmt/format.h>

#include "runs/base/xperiment/HAXPStrategy.h"
#include "shell/exitStatus.h"
#include "shell/note.h"
#include "shell/reportNames.h"
#include "shell/runView.h"
#include "shell/sweep.h"
#include "shell/textTable.h"
#include "shell/verb.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/Project.h"
#include "workbench/runFamily.h"

namespace shell {

namespace {

class SweepVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("name", m_name, "Name of the sweep; those of its runs begin with it")
            ->required();
        command.add_option("--flow", m_flow, "impl")->capture_default_str();
        command
            .add_option("--strategies", m_strategies,
                        "Strategies with commas between; each makes a family")
            ->capture_default_str();
        command
            .add_option("--seeds", m_seeds,
                        "Seeds of each family: numbers and ranges with commas between")
            ->capture_default_str();
        auto* syntheses =
            command.add_option("--synth", m_syntheses,
                               "Synthesis that all share, or several with commas between; the "
                               "first one of the project if unsaid");
        command
            .add_option("--synth-strategies", m_synthesisStrategies,
                        "Strategies of the syntheses to start from, with commas between; those "
                        "that are missing are made, the others shared")
            ->excludes(syntheses);
        command.add_option("--to", m_toStep, "Short name of the step to end at");
        command.add_option(
            "--reports", m_reports,
            "Report strategy to take the reports from; the flow's default if unsaid");
        command.add_option("--set", m_settings, "option=value for each run; may be repeated")
            ->allow_extra_args(false);
        command.add_flag("--dry-run", m_isDryRun, "Show what would be made, and make nothing");
    }

    int run(const Session& session) override {
        const auto project =
            Project::open(session.projectDir, m_isDryRun ? Project::kRead : Project::kChange);
        SweepRequest request;
        request.name = m_name;
        request.flow = &flowOf(m_flow);
        request.strategies = readNames(m_strategies, "strategies");
        request.seeds = readSeeds(m_seeds);
        if (!m_syntheses.empty())
            request.syntheses = readNames(m_syntheses, "syntheses");
        if (!m_synthesisStrategies.empty())
            request.synthesisStrategies = readNames(m_synthesisStrategies, "strategies");
        request.toStep = m_toStep;
        if (!m_reports.empty())
            request.reportStrategy = chosenReportStrategy(*request.flow, m_reports);
        request.settings = m_settings;
        const std::vector<HAXPExpRun*> runs = makeSweep(*project, request);
        printRuns_(*project, runs);
        if (m_isDryRun) {
            note("Nothing is made: this is what a sweep would make");
            return kExitDone;
        }
        project->save();
        note("{} run{} made. Next: xp launch {}", runs.size(), runs.size() == 1 ? " is" : "s are",
             m_name);
        return kExitDone;
    }

private:
    static void printRuns_(const Project& project, const std::vector<HAXPExpRun*>& runs) {
        const std::vector<TextTable::Column> columns{
            {"Run"}, {"Family"}, {"Strategy"}, {"Synthesis"}};
        TextTable table(columns);
        for (const HAXPExpRun* run : runs) {
            const HAXPExpRun* synthesis = project.getSynthesisOf(*run);
            table.addRow({run->getName(), project.getFamilyOf(*run).name,
                          run->getStrategy()->getName(),
                          synthesis == nullptr ? "" : synthesis->getName()});
        }
        fmt::print("{}", table.text());
    }

    std::string m_name;
    std::string m_flow = "impl";
    std::string m_strategies = "Default";
    std::string m_seeds = "1-6";
    std::string m_syntheses;
    std::string m_synthesisStrategies;
    std::string m_toStep;
    std::string m_reports;
    std::vector<std::string> m_settings;
    bool m_isDryRun = false;
};

}  // namespace

std::unique_ptr<Verb> makeSweepVerb() {
    return std::make_unique<SweepVerb>();
}

}  // namespace shell
