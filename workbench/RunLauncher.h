// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <set>
#include <string>
#include <vector>

#include "workbench/WorkbenchExport.h"
#include "workbench/launchLease.h"

class HAXPExpRun;
class HAXPExpRunStep;
class Project;

namespace workbench {
struct ArrayRun;
}  // namespace workbench

/// Launches runs, here or elsewhere; they go on when the caller ends.
class WORKBENCH_API RunLauncher {
public:
    /// A run that can't be queued, and why.
    struct Refusal {
        HAXPExpRun* run;
        std::string text;
    };

    /// A run that is to be launched, with the user's run script as launch() takes it.
    struct Start {
        HAXPExpRun* run;
        std::string userScript;
    };

    /// The project isn't owned and is open for changes.
    explicit RunLauncher(Project& project);

    /// For many launches in a row, of `runs`: saves the project now, with a directory for each
    /// of them that can have one, and from then on what a launch changes of its run alone.
    /// Whoever asks for it saves the project at the end.
    /// @throws HEXUserException it can't be saved.
    void saveRunsAlone(const std::vector<HAXPExpRun*>& runs);

    /// Starts `run` from its first step that isn't done or is stale, in a run directory
    /// that is made if it has none, and saves the project. Returns as soon as the run's
    /// script is started. A run that waits may be launched; it shows as queued until its
    /// script begins.
    /// @param way where it is to work.
    /// @param userScript the user's run script in the place of the generated steps; empty
    /// for none.
    /// @throws HEXUserException it is at work, an input or the synthesis is missing, its
    /// directory or scripts can't be written, or it can't be started there; the run is as
    /// it was, but that steps that were to run anew may be reset.
    void launch(HAXPExpRun& run, const workbench::LaunchWay& way = {},
                const std::string& userScript = "");

    /// Makes `run` show as queued, for as long as this process lives or until it is
    /// launched or taken back; saves the project.
    /// @throws HEXUserException it is at work, an input is missing, or its directory can't
    /// be written.
    void enqueue(HAXPExpRun& run);
    /// enqueue() of many, with the project saved once, if at all: what it says of a run that has
    /// a directory stays as it is. Those that can't wait are left as they
    /// are, each with its message.
    std::vector<Refusal> enqueue(const std::vector<HAXPExpRun*>& runs);
    /// Whether `run` waits by enqueue() of this process, and nobody took it back since.
    static bool isEnqueued(const HAXPExpRun& run);
    /// Undoes enqueue().
    static void takeBack(HAXPExpRun& run);

    /// launch() of many as one array of jobs called after `label`, on the cluster of `way`, at
    /// most `mostAtOnce` of them at work at once. Those that can't be launched are left out, each
    /// with its message; when the cluster refuses the array, all are, and the first one has the
    /// message.
    std::vector<Refusal> launchTogether(const std::vector<Start>& starts,
                                        const workbench::LaunchWay& way, const std::string& label,
                                        long mostAtOnce);

private:
    void prepare_(HAXPExpRun& run, const workbench::LaunchWay& way, const std::string& userScript);
    void prepareTask_(const Start& start, const workbench::LaunchWay& way);
    void forgetLaunch_(HAXPExpRun& run);
    void startTogether_(const std::vector<workbench::ArrayRun>& runs, long mostAtOnce,
                        std::vector<Refusal>& refused);
    void dropArrayScripts_() const;
    void prepareToWait_(HAXPExpRun& run);
    void save_(const HAXPExpRun& run);
    bool parses_(const HAXPExpRun& run);
    void checkInputs_(const HAXPExpRun& run) const;
    void prepareDirectory_(HAXPExpRun& run);
    void takeBack_(HAXPExpRun& run, const workbench::LaunchWay& way, const HAXPExpRunStep* first);
    void takeBackSteps_(HAXPExpRun& run, const HAXPExpRunStep* first);
    void writeScripts_(HAXPExpRun& run, const std::string& userScript);
    void recordLaunch_(HAXPExpRun& run);
    void takeLease_(HAXPExpRun& run, const workbench::LaunchWay& way, const HAXPExpRunStep* first);
    void showQueued_(HAXPExpRun& run);
    void start_(HAXPExpRun& run);

    Project& m_project;
    workbench::LaunchLease m_lease;
    bool m_savesRunsAlone = false;
    /// Scripts that a shell understood, but for their numbers and the run's name.
    std::set<std::string> m_understood;
};
