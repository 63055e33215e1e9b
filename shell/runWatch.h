// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "shell/launchProgress.h"
#include "shell/stepTimes.h"

class HAXPExpRun;
class Project;

namespace shell {

class Interrupt;
class ProgressLine;

/// Follows runs at work, and tells on standard error how far they are.
class RunWatch {
public:
    /// How watching ended.
    enum End { kAllEnded, kInterrupted };

    /// Between two looks at the runs.
    static constexpr int kPollMs = 100;

    /// None of them is owned.
    RunWatch(const Project& project, ProgressLine& line);

    /// Polls `runs` until none of them is at work, or Ctrl-C is pressed. Each that ends
    /// is told at once, and then handed to `onEnd`.
    End watch(const std::vector<HAXPExpRun*>& runs, const Interrupt& interrupt,
              const std::function<void(HAXPExpRun&)>& onEnd);

    /// Tells what is new about `running`, which are up to date, and draws the line; see
    /// LaunchProgress::line().
    void show(const LaunchCounts& counts, const std::vector<HAXPExpRun*>& running,
              const std::vector<HAXPExpRun*>& waiting, std::size_t slots);
    /// Tells that a run has ended, and how.
    void tellEnd(const HAXPExpRun& run);

private:
    void tellSteps_(const HAXPExpRun& run);

    ProgressLine& m_line;
    StepTimes m_times;
    LaunchProgress m_progress;
    /// How many steps of a run were told to have begun.
    std::map<const HAXPExpRun*, std::size_t> m_told;
};

/// That a run has ended and how, as one line; empty for one that hasn't.
std::string endText(const HAXPExpRun& run);

/// What is told when Ctrl-C ends the watching: that `working`, the runs at work, go on.
std::string interruptedText(const std::vector<HAXPExpRun*>& working);

}  // namespace shell
