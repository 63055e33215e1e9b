// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "workbench/WorkbenchExport.h"

class HAXPExpRun;
class HAXPExpRunStep;

/// How long runs will still take. What isn't known is nothing, never a guess.
namespace workbench {

struct ToolProgress;

/// What a step takes by experience, in seconds; nothing when it was never done.
using ExpectedSeconds =
    std::function<std::optional<double>(const HAXPExpRun& run, const std::string& step)>;

/// What is left of a step that takes `expected` seconds by experience and has taken `elapsed`.
/// Its log corrects that: a step that is further than it should be by now takes less, and the
/// further it is the more its own pace counts. Nothing without experience, and for a step
/// that takes longer than ever while its log doesn't tell how far it is.
WORKBENCH_API std::optional<double> stepSecondsLeft(std::optional<double> expected, double elapsed,
                                                    const ToolProgress& progress);

/// The seconds since `step` of `run` began, by its begin marker and this host's clock;
/// nothing when it has none.
WORKBENCH_API std::optional<double> secondsSinceBegin(const HAXPExpRun& run,
                                                      const HAXPExpRunStep& step);

/// The same since the launch of `run`.
WORKBENCH_API double secondsSinceLaunch(const HAXPExpRun& run);

/// What is left of `run`, at work or waiting: of the step that runs, which is as far as
/// `progress` says, and of all steps behind it that its launch runs. Nothing when one of
/// them isn't known.
WORKBENCH_API std::optional<double> runSecondsLeft(const HAXPExpRun& run,
                                                   const ToolProgress& progress,
                                                   const ExpectedSeconds& expected);

/// A run in a launch of several.
struct PlannedRun {
    /// What is left of it.
    std::optional<double> seconds;
    /// Whether it is at work already.
    bool isRunning = false;
    /// The place in the list of the run that must end before it begins.
    std::optional<std::size_t> after;
};

/// How long it takes until all of `runs` have ended, when at most `slots` are at work at once
/// and each begins as soon as it may, in the order of the list. Those at work keep their
/// slots, even if they are more. Nothing when the time of one isn't known; 0 for none.
WORKBENCH_API std::optional<double> secondsUntilAllEnd(const std::vector<PlannedRun>& runs,
                                                       std::size_t slots);

/// "0:07", "4:10", "1:02:33"; hours beyond a day stay hours.
WORKBENCH_API std::string durationText(double seconds);

}  // namespace workbench
