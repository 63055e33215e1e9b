// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <cstdio>

#include <CLI/App.hpp>
#include <boost/logic/tribool.hpp>
#include <fmt/format.h>

#include "runs/base/xperiment/HAXPStrategy.h"
#include "shell/exitStatus.h"
#include "shell/note.h"
#include "shell/reportNames.h"
#include "shell/runPlan.h"
#include "shell/runView.h"
#include "shell/setting.h"
#include "shell/strategyNames.h"
#include "shell/verb.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/Project.h"
#include "workbench/printable.h"
#include "workbench/strategyOptions.h"

namespace shell {

namespace {

void setRunOptions(Project& project, HAXPExpRun& run, const std::vector<std::string>& words) {
    for (const Setting& setting : readSettings(words))
        project.setOption(run, setting.name, setting.value);
}

class RunCreateVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("name", m_name, "Name of the run")->required();
        command.add_option("--flow", m_flow, "synth or impl")->required();
        command.add_option("--strategy", m_strategy, "Strategy to start from")
            ->capture_default_str();
        command.add_option("--synth", m_synthesis,
                           "Synthesis that an implementation starts from; the first one if unsaid");
        command.add_option("--to", m_toStep, "Short name of the step to end at");
        command.add_option(
            "--reports", m_reports,
            "Report strategy to take the reports from; the flow's default if unsaid");
        command.add_option("--set", m_settings, "option=value; may be repeated")
            ->allow_extra_args(false);
    }

    int run(const Session& session) override {
        const auto project = Project::open(session.projectDir, Project::kChange);
        const HAXPFlow& flow = flowOf(m_flow);
        HAXPExpRun& run =
            project->createRun(m_name, flow, strategyNameFor(flow, m_strategy), m_synthesis,
                               m_reports.empty() ? "" : chosenReportStrategy(flow, m_reports));
        if (!m_toStep.empty())
            project->setToStep(run, m_toStep);
        setRunOptions(*project, run, m_settings);
        project->save();
        note("Run {} is made. Next: xp launch {}", m_name, m_name);
        return kExitDone;
    }

private:
    std::string m_name;
    std::string m_flow;
    std::string m_strategy = "Default";
    std::string m_synthesis;
    std::string m_toStep;
    std::string m_reports;
    std::vector<std::string> m_settings;
};

class RunSetVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("runs", m_name, "Name of a run, family or sweep")->required();
        command.add_option("settings", m_settings, "option=value, or step.option=value");
        command.add_option("--strategy", m_strategy,
                           "Strategy to take over first; options set before are lost");
        m_to = command.add_option("--to", m_toStep,
                                  "Short name of the step to end at; '' for the last one");
    }

    int run(const Session& session) override {
        if (m_settings.empty() && m_strategy.empty() && m_to->count() == 0)
            throw CommandError(kExitUsage, "There is nothing to set. Say option=value, --strategy "
                                           "or --to.");
        const auto project = Project::open(session.projectDir, Project::kChange);
        // Of several runs each is changed or none.
        for (HAXPExpRun* run : chosenRuns(*project, {m_name}))
            change_(*project, *run);
        project->save();
        return kExitDone;
    }

private:
    void change_(Project& project, HAXPExpRun& run) const {
        if (!m_strategy.empty())
            project.applyStrategy(run, strategyNameFor(*run.getStrategy()->getFlow(), m_strategy));
        if (m_to->count() > 0)
            project.setToStep(run, m_toStep);
        setRunOptions(project, run, m_settings);
    }

    std::string m_name;
    std::vector<std::string> m_settings;
    std::string m_strategy;
    std::string m_toStep;
    CLI::Option* m_to = nullptr;
};

class RunApplyVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("runs", m_name, "Name of a run, family or sweep")->required();
        command.add_option("strategy", m_strategy,
                           "Strategy to take over; the run's own one as it is now if unsaid");
    }

    int run(const Session& session) override {
        const auto project = Project::open(session.projectDir, Project::kChange);
        std::vector<std::string> told;
        for (HAXPExpRun* run : chosenRuns(*project, {m_name}))
            told.push_back(apply_(*project, *run));
        project->save();
        for (const std::string& text : told)
            note("{}", text);
        return kExitDone;
    }

private:
    /// What became of the run.
    std::string apply_(Project& project, HAXPExpRun& run) const {
        const HAXPFlow* flow = run.getStrategy()->getFlow();
        const std::string name =
            m_strategy.empty() ? run.getStrategy()->getName() : strategyNameFor(*flow, m_strategy);
        HAXPStrategy before;
        before.copyStrat(run.getStrategy(), true, boost::logic::indeterminate);
        project.applyStrategy(run, name);
        const std::size_t changes = workbench::differences(before, *run.getStrategy()).size();
        return fmt::format("Run {} has the values of {} now: {} option{} changed", run.getName(),
                           workbench::printable(name), changes, changes == 1 ? "" : "s");
    }

    std::string m_name;
    std::string m_strategy;
};

}  // namespace

std::unique_ptr<Verb> makeApplyVerb() {
    return std::make_unique<RunApplyVerb>();
}

std::unique_ptr<Verb> makeCreateVerb() {
    return std::make_unique<RunCreateVerb>();
}

std::unique_ptr<Verb> makeSetVerb() {
    return std::make_unique<RunSetVerb>();
}

}  // namespace shell
