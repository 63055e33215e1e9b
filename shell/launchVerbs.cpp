// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include <CLI/App.hpp>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include "environment/errors/HEXUserException.h"
#include "runs/base/xperiment/HAXPLaunchOptions.h"
#include "shell/abandoning.h"
#include "shell/clusterOptions.h"
#include "shell/dataOutput.h"
#include "shell/exitStatus.h"
#include "shell/failureView.h"
#include "shell/hostOptions.h"
#include "shell/interrupt.h"
#include "shell/note.h"
#include "shell/progressLine.h"
#include "shell/runPlan.h"
#include "shell/runView.h"
#include "shell/runWatch.h"
#include "shell/runs.h"
#include "shell/tools.h"
#include "shell/verb.h"
#include "workbench/Abandoner.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/LaunchQueue.h"
#include "workbench/Project.h"
#include "workbench/RunLauncher.h"
#include "workbench/history/History.h"
#include "workbench/undo/UndoStore.h"

namespace shell {

namespace {

/// A place that became free is given to the next run this soon; looking costs a call of
/// stat() for each run at work.
constexpr int kLaunchPollMs = 20;
/// What is shown comes from logs, which take longer to read.
constexpr int kPollsAShow = RunWatch::kPollMs / kLaunchPollMs;

/// Of so many runs each file is named; of more it is said how they are called.
constexpr std::size_t kMostRunsWithFiles = 4;

void printFiles(const Runs& runs) {
    for (const HAXPExpRun* run : runs) {
        const std::string bitstream = bitstreamPath(*run);
        if (!bitstream.empty())
            fmt::print("Bitstream of {}: {}\n", run->getName(), bitstream);
    }
    for (const HAXPExpRun* run : runs) {
        if (!logPath(*run).empty())
            fmt::print("Log of {}: {}\n", run->getName(), logPath(*run));
    }
}

/// The table, and where bitstreams and logs lie.
void printResults(const Project& project, const Runs& runs) {
    std::fflush(stderr);
    fmt::print("{}", statusTable(project, runs));
    if (runs.size() <= kMostRunsWithFiles) {
        printFiles(runs);
        return;
    }
    const auto made = std::count_if(runs.begin(), runs.end(), [](const HAXPExpRun* run) {
        return !bitstreamPath(*run).empty();
    });
    const std::string bitstreams = made == 0 ? "" : fmt::format("{} bitstreams and ", made);
    fmt::print("In the directories of the runs, below {}: {}the logs, runme.log.\n",
               project.getRunsDir(), bitstreams);
}

int tellInterrupted(const Runs& working, const Runs& left) {
    note("{}", interruptedText(working));
    if (!left.empty())
        note("Not launched: {}", namesText(left));
    return kExitInterrupted;
}

class LaunchVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("runs", m_names, "Names of runs; all of the project if unsaid");
        auto* noWait = command.add_flag(
            "--no-wait", m_noWait, "Come back when the runs are started, not when they have ended");
        command
            .add_option("-j,--jobs", m_jobs,
                        "How many runs at once; one for each processor if unsaid. On a cluster: "
                        "launch them as one array of jobs with so many at once")
            ->check(CLI::Range(1, 10000));
        command
            .add_option("--abandon", m_abandon,
                        "Stop a run whose estimate after placement can't come up to what the rule "
                        "demands: 'fmax < 90% of best', 'fmax < 48' in MHz, or 'luts > 110% of "
                        "best'")
            ->excludes(noWait);
        m_hosts.declare(command);
        m_cluster.declare(command);
    }

    int run(const Session& session) override {
        // Nobody would start the next ones here.
        if (m_noWait && m_jobs > 0 && !m_cluster.hasCluster())
            throw CommandError(kExitUsage, "--jobs excludes --no-wait");
        // Before anything is touched.
        if (!m_abandon.empty())
            m_rule = readRule(m_abandon);
        const auto project = Project::open(session.projectDir, Project::kChange);
        const Runs chosen = chosenRuns(*project, m_names);
        if (chosen.empty())
            throw CommandError(kExitRefused, "The project has no runs. Make one first: xp create "
                                             "synth_1 --flow synth");
        const RunPlan plan = makeLaunchPlan(*project, chosen);
        const HAXPLaunchOptions options = options_();
        // Other hosts have tools of their own.
        if (!isElsewhere_())
            requireTools(plan.launches);
        m_cluster.testFolder(project->getDir());
        if (!m_noWait)
            return launchAll_(*project, plan, options);
        return isElsewhere_() ? startElsewhere_(*project, plan, options)
                              : start_(*project, plan, options);
    }

private:
    /// What gives up runs of `plan`; nothing without a rule.
    std::unique_ptr<workbench::Abandoner> abandoner_(const Project& project,
                                                     const RunPlan& plan) const {
        if (!m_rule)
            return nullptr;
        const workbench::EstimateError error = learnedError(project, *m_rule);
        note("Runs with {} are abandoned after placement: {}", m_rule->text,
             m_rule->figure->isEstimate ? workbench::errorText(error)
                                        : "routing doesn't change what is counted then");
        return std::make_unique<workbench::Abandoner>(*m_rule, error, plan.runs);
    }

    static void tellAbandoned_(const workbench::Abandoner::Event& event, ProgressLine& line) {
        if (event.fault.empty()) {
            line.say(fmt::format("{}: abandoned, as {}", event.run->getName(), event.text));
            return;
        }
        line.clear();
        tellWarning(fmt::format("Run {} goes on, though {}: {}", event.run->getName(), event.text,
                                event.fault));
    }

    int jobs_() const {
        return m_jobs > 0 ? m_jobs
                          : static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
    }

    bool isElsewhere_() const { return m_hosts.hasHosts() || m_cluster.hasCluster(); }

    static void tellUpToDate_(const RunPlan& plan) {
        for (const HAXPExpRun* run : plan.runs) {
            if (!plan.launchesRun(*run))
                note("{}: up to date", run->getName());
        }
    }

    HAXPLaunchOptions options_() const {
        HAXPLaunchOptions options;
        options.setNumJobsSH(jobs_());
        m_hosts.addTo(options);
        m_cluster.addTo(options, m_jobs > 0);
        return options;
    }

    /// As many as the hosts or the cluster take; the others have nobody who would start
    /// them later.
    int startElsewhere_(Project& project, const RunPlan& plan,
                        const HAXPLaunchOptions& options) const {
        tellUpToDate_(plan);
        const DataOutput data(m_hosts.hasRunScripts());
        LaunchQueue queue(project, options);
        addRuns_(queue, plan);
        ProgressLine line;
        RunWatch watch(project, line);
        int status = kExitDone;
        for (bool again = true; again;) {
            again = false;
            for (const LaunchQueue::Event& event : queue.advance()) {
                if (event.kind == LaunchQueue::Event::kStarted)
                    note("{}: {}", event.run->getName(),
                         m_cluster.hasCluster() ? ClusterOptions::startedText(*event.run)
                                                : "started");
                tell_(project, event, watch, line, status);
                again = again || event.kind == LaunchQueue::Event::kPutOff;
            }
        }
        for (const HAXPExpRun* run : queue.takeBackWaiting()) {
            tellError(fmt::format(
                "Run {} isn't launched: {}its synthesis isn't done. Launch it "
                "later, or all of them without --no-wait.",
                run->getName(),
                m_hosts.hasHosts() ? "every host has as many runs as it takes, or " : ""));
            status = kExitRefused;
        }
        return status;
    }

    void addRuns_(LaunchQueue& queue, const RunPlan& plan) const {
        if (m_cluster.hasCluster())
            queue.setArrays(m_jobs);
        for (HAXPExpRun* run : plan.launches)
            queue.add(*run);
    }

    int start_(Project& project, const RunPlan& plan, const HAXPLaunchOptions& options) const {
        tellUpToDate_(plan);
        const DataOutput data(m_hosts.hasRunScripts());
        int status = kExitDone;
        RunLauncher launcher(project);
        if (plan.launches.size() > 1)
            launcher.saveRunsAlone(plan.launches);
        const workbench::UndoGroup together(project);
        for (HAXPExpRun* run : plan.launches) {
            try {
                launcher.launch(*run, {}, options.getUserRunScript(run->getName()));
                note("{}: started", run->getName());
            } catch (const HEXUserException& error) {
                tellError(error.what());
                status = kExitRefused;
            }
        }
        project.save();
        return status;
    }

    static void tellLeftOut_(const Project& project, const HAXPExpRun& run, ProgressLine& line) {
        const HAXPExpRun& synthesis = *project.getSynthesisOf(run);
        std::string word = statusWord(synthesis);
        if (!hasFailed(synthesis))
            word = "isn't done";
        else if (word == "lost")
            word = "was lost";
        line.say(fmt::format("{}: not launched, its synthesis {} {}", run.getName(),
                             synthesis.getName(), word));
    }

    /// Tells what happened; `status` is that of the verb.
    static void tell_(const Project& project, const LaunchQueue::Event& event, RunWatch& watch,
                      ProgressLine& line, int& status) {
        switch (event.kind) {
        case LaunchQueue::Event::kStarted:
            return;
        case LaunchQueue::Event::kStands:
            line.say(fmt::format("{}: up to date, {} made the same netlist again",
                                 event.run->getName(),
                                 project.getSynthesisOf(*event.run)->getName()));
            return;
        case LaunchQueue::Event::kDone:
        case LaunchQueue::Event::kFailed:
            workbench::rememberBefore(project, *event.run);
            // It was told why, and is as the user wants it.
            if (statusWord(*event.run) == "abandoned")
                return;
            watch.tellEnd(*event.run);
            break;
        case LaunchQueue::Event::kLeftOut:
            tellLeftOut_(project, *event.run, line);
            break;
        case LaunchQueue::Event::kTakenBack:
            line.say(fmt::format("{}: taken back while it waited", event.run->getName()));
            break;
        case LaunchQueue::Event::kPutOff:
            line.clear();
            tellWarning(event.text + " It waits for another host.");
            return;
        case LaunchQueue::Event::kRefused:
            line.clear();
            if (!event.text.empty())
                tellError(event.text);
            status = kExitRefused;
            return;
        }
        if (event.kind == LaunchQueue::Event::kFailed)
            tellError(failureText(*event.run));
        if (event.kind != LaunchQueue::Event::kDone && status == kExitDone)
            status = kExitRunFailed;
    }

    static LaunchCounts countsOf_(const LaunchQueue& queue, int abandoned) {
        return {queue.doneCount() + queue.failedCount(), queue.failedCount() - abandoned,
                queue.runCount(), abandoned};
    }

    /// How many runs may be at work at once; 0 when others decide that.
    std::size_t slots_() const {
        return isElsewhere_() && m_jobs == 0 ? 0 : static_cast<std::size_t>(jobs_());
    }

    int launchAll_(Project& project, const RunPlan& plan, const HAXPLaunchOptions& options) const {
        tellUpToDate_(plan);
        std::optional<DataOutput> data;
        data.emplace(m_hosts.hasRunScripts());
        const Interrupt interrupt;
        ProgressLine line;
        RunWatch watch(project, line);
        LaunchQueue queue(project, options);
        addRuns_(queue, plan);
        const std::unique_ptr<workbench::Abandoner> abandoner = abandoner_(project, plan);
        int abandoned = 0;
        int polls = 0;
        int status = kExitDone;
        while (true) {
            for (const LaunchQueue::Event& event : queue.advance()) {
                tell_(project, event, watch, line, status);
                abandoned += statusWord(*event.run) == "abandoned" ? 1 : 0;
            }
            if (queue.isOver())
                break;
            if (++polls % kPollsAShow == 1)
                watch.show(countsOf_(queue, abandoned), queue.getRunning(), queue.getWaiting(),
                           slots_());
            if (abandoner != nullptr) {
                for (const auto& event : abandoner->look(queue.getRunning()))
                    tellAbandoned_(event, line);
            }
            if (interrupt.pause(kLaunchPollMs)) {
                line.clear();
                const Runs left = queue.takeBackWaiting();
                return tellInterrupted(queue.getRunning(), left);
            }
        }
        line.clear();
        data.reset();
        printResults(project, plan.runs);
        return status;
    }

    std::vector<std::string> m_names;
    HostOptions m_hosts;
    ClusterOptions m_cluster;
    bool m_noWait = false;
    std::string m_abandon;
    std::optional<workbench::AbandonRule> m_rule;
    /// 0 when it isn't said.
    int m_jobs = 0;
};

class WaitVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("runs", m_names, "Names of runs; all that are at work if unsaid");
    }

    int run(const Session& session) override {
        const auto project = Project::open(session.projectDir, Project::kRead);
        Runs runs = chosenRuns(*project, m_names);
        if (m_names.empty())
            runs.erase(std::remove_if(runs.begin(), runs.end(),
                                      [](const auto* run) { return !run->isAtWork(); }),
                       runs.end());
        if (runs.empty()) {
            note("No run is at work");
            return kExitDone;
        }
        for (const HAXPExpRun* run : runs) {
            if (statusWord(*run) == "not started")
                throw CommandError(kExitRefused,
                                   fmt::format("Run {} isn't launched. Launch it with: xp launch "
                                               "{}",
                                               run->getName(), run->getName()));
        }
        // One that is lost elsewhere would be waited for in vain.
        for (HAXPExpRun* run : runs) {
            if (run->isAtWork())
                run->lookForLife();
        }
        return waitFor_(*project, runs);
    }

private:
    static int waitFor_(const Project& project, const Runs& runs) {
        const Interrupt interrupt;
        ProgressLine line;
        int status = kExitDone;
        const auto tellFailure = [&status, &project](HAXPExpRun& run) {
            workbench::rememberEnds(project, {&run});
            if (isDone(run))
                return;
            tellError(failureText(run));
            status = kExitRunFailed;
        };
        if (RunWatch(project, line).watch(runs, interrupt, tellFailure) == RunWatch::kInterrupted) {
            Runs working;
            std::copy_if(runs.begin(), runs.end(), std::back_inserter(working),
                         [](const auto* run) { return run->isAtWork(); });
            return tellInterrupted(working, {});
        }
        printResults(project, runs);
        return status;
    }

    std::vector<std::string> m_names;
};

}  // namespace

std::unique_ptr<Verb> makeLaunchVerb() {
    return std::make_unique<LaunchVerb>();
}

std::unique_ptr<Verb> makeWaitVerb() {
    return std::make_unique<WaitVerb>();
}

}  // namespace shell
