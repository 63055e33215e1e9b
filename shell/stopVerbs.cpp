// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
// The verbs that stop a run and take it back.
#include <algorithm>

#include <CLI/App.hpp>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include "environment/containers/HSTVector.h"
#include "environment/errors/HEXUserException.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "shell/exitStatus.h"
#include "shell/note.h"
#include "shell/runPlan.h"
#include "shell/runView.h"
#include "shell/runs.h"
#include "shell/verb.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/Project.h"
#include "workbench/history/History.h"
#include "workbench/runReset.h"
#include "workbench/runStop.h"
#include "workbench/undo/UndoStore.h"

namespace shell {

namespace {

std::string processesWord(std::size_t count) {
    return fmt::format("{} process{}", count, count == 1 ? "" : "es");
}

/// What was ended, such as "4 processes" or "job 12".
std::string endedText(const workbench::StopResult& result) {
    return result.job.empty() ? processesWord(result.asked) : result.job;
}

/// What became of the run, such as "stopped in place_design: 4 processes ended in 21 ms".
std::string stopText(const HAXPExpRun& run, const workbench::StopResult& result) {
    std::string text = statusWord(run);
    if (result.asked == 0 && result.job.empty())
        return "taken back before it began";
    if (!result.job.empty() && text == "not started")
        return fmt::format("taken back before it began: {} ended in {} ms", result.job, result.ms);
    if (text == "stopped")
        text += stopPlace(run);
    if (text == "done" || text == "failed")
        text += " before it could be stopped";
    text += fmt::format(": {} ended in {} ms", endedText(result), result.ms);
    if (result.killed > 0)
        text += fmt::format(", {} of them killed", result.killed);
    return text;
}

class KillVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("runs", m_names, "Names of the runs to stop");
        command.add_flag("--all", m_all, "Stop every run of the project that is at work");
    }

    int run(const Session& session) override {
        if (m_names.empty() != m_all)
            throw CommandError(kExitUsage, "Say which runs to stop, or --all for every one that "
                                           "is at work.");
        // An xp that waits for its runs has the project open for changes.
        const auto project = Project::open(session.projectDir, Project::kRead);
        int status = kExitDone;
        bool isAnyStopped = false;
        Runs runs = chosenRuns(*project, m_names);
        // What waits first: it would begin as soon as another run makes room for it.
        std::stable_partition(runs.begin(), runs.end(), [](const HAXPExpRun* run) {
            return run->getStatus()->getCode() == HDGUIStatus::statusQueued;
        });
        for (HAXPExpRun* run : runs)
            isAnyStopped = stop_(*run, status) || isAnyStopped;
        workbench::rememberEnds(*project, runs);
        if (m_all && !isAnyStopped && status == kExitDone)
            note("No run is at work");
        return status;
    }

private:
    bool stop_(HAXPExpRun& run, int& status) const {
        try {
            const workbench::StopResult result = workbench::stopRun(run);
            if (!result.wasIdle)
                note("{}: {}", run.getName(), stopText(run, result));
            else if (!m_all)
                note("{}: not at work ({})", run.getName(), statusWord(run));
            return !result.wasIdle;
        } catch (const HEXUserException& error) {
            tellError(error.what());
            status = kExitRefused;
            return false;
        }
    }

    std::vector<std::string> m_names;
    bool m_all = false;
};

class ResetVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("runs", m_names, "Names of runs, families or sweeps")->required();
        command.add_option("--from", m_fromStep,
                           "Short name of the first step to take back; all if unsaid");
        command.add_flag("--keep-files", m_keepFiles, "Leave what the steps made");
        auto* kill = command.add_flag("--kill", m_kill, "Stop the runs first that are at work");
        command
            .add_flag("--force", m_force,
                      "Also when it can't be told whether a run is still at work")
            ->excludes(kill);
    }

    int run(const Session& session) override {
        const auto project = Project::open(session.projectDir, Project::kChange);
        const Runs runs = chosenRuns(*project, m_names);
        const workbench::UndoGroup together(*project);
        int status = kExitDone;
        Runs done;
        for (HAXPExpRun* run : runs) {
            if (reset_(*project, *run, runs.size() > 1))
                done.push_back(run);
            else
                status = kExitRefused;
        }
        if (!done.empty())
            note("{}: reset{}. Next: xp launch {}", namesText(done),
                 m_fromStep.empty() ? "" : " from " + m_fromStep, fmt::join(m_names, " "));
        return status;
    }

private:
    /// Of several runs one that can't be reset is told, and keeps no other back.
    bool reset_(Project& project, HAXPExpRun& run, bool isOneOfMany) const {
        try {
            if (m_kill && run.isAtWork())
                note("{}: {}", run.getName(), stopText(run, workbench::stopRun(run)));
            HSTVector<std::string> errors;
            const bool ok =
                workbench::resetRun(project, run, m_fromStep, !m_keepFiles, errors, m_force);
            for (const std::string& error : errors)
                tellError(error);
            return ok;
        } catch (const HEXUserException& error) {
            if (!isOneOfMany)
                throw;
            tellError(error.what());
            return false;
        }
    }

    std::vector<std::string> m_names;
    std::string m_fromStep;
    bool m_keepFiles = false;
    bool m_kill = false;
    bool m_force = false;
};

}  // namespace

std::unique_ptr<Verb> makeKillVerb() {
    return std::make_unique<KillVerb>();
}

std::unique_ptr<Verb> makeResetVerb() {
    return std::make_unique<ResetVerb>();
}

}  // namespace shell
