// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "shell/launchProgress.h"

class HAXPExpRun;
class HAXPExpRunStep;

namespace shell {

/// What happened to a run.
struct RunEvent {
    enum Kind { kRunBegan, kStepBegan, kProgress, kStepDone, kRunEnded };
    Kind kind;
    const HAXPExpRun* run;
    /// Of all but kRunBegan and kRunEnded.
    std::string step;
    /// Of kProgress.
    RunProgress progress;
    /// Of kStepDone "done" or "failed"; of kRunEnded the word of the run's status,
    /// or "reset" when it was taken back.
    std::string outcome;
    /// Of kStepDone: what the step took, if its markers tell.
    std::optional<double> seconds;
};

/// Finds out what happened to runs between two looks at them. Each launch is told once and in
/// order: the run begins, its steps begin and are done, the run ends; what was missed
/// meanwhile is told too.
class RunEvents {
public:
    /// At least that long lies between two events of progress of one run, in milliseconds.
    static constexpr long kProgressMs = 1000;

    /// What happened to `run`, which is up to date, since the last look. The first look
    /// tells what a run at work has done so far, and nothing of every other; see expectNew().
    std::vector<RunEvent> look(const HAXPExpRun& run, LaunchProgress& progress);

    /// To be called behind the first look at all runs: whichever is seen for the first time from
    /// then on came meanwhile, so that its launch is told also when that is over.
    void expectNew() { m_expectsNew = true; }

    /// The event of a run that came to its end before anybody looked.
    static RunEvent endOf(const HAXPExpRun& run);

private:
    enum class Phase { kNone, kBegun, kDone };
    struct State {
        bool isSeen = false;
        /// Whether its beginning was told and its end wasn't.
        bool isOpen = false;
        long launch = 0;
        std::map<std::string, Phase> steps;
        std::string text;
        long percent = -1;
        long toldMs = 0;
    };
    static void begin_(const HAXPExpRun& run, State& state, std::vector<RunEvent>& events);
    static void lookAtStep_(const HAXPExpRun& run, const HAXPExpRunStep& step, State& state,
                            std::vector<RunEvent>& events);
    static void lookAtProgress_(const HAXPExpRun& run, LaunchProgress& progress, State& state,
                                std::vector<RunEvent>& events);

    /// By the name of the run.
    std::map<std::string, State> m_states;
    bool m_expectsNew = false;
};

/// An event as one object of `xp watch --jsonl`; `time` is in seconds since the epoch.
nlohmann::json eventJson(const RunEvent& event, long time);

/// An event as a line for people; empty for those that only a program wants.
std::string eventText(const RunEvent& event);

}  // namespace shell
