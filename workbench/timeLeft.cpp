// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/timeLeft.h"

#include <algorithm>
#include <cmath>
#include <ctime>
#include <functional>
#include <queue>

#include <fmt/format.h>
#include <sys/stat.h>

#include "environment/containers/HSTFwdIter.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "runs/base/xperiment/stepMarkers.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/toolProgress.h"

namespace workbench {

namespace {

double now() {
    timespec time{};
    clock_gettime(CLOCK_REALTIME, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

/// When the runs of a list end, the first to end on top.
using Ends = std::priority_queue<double, std::vector<double>, std::greater<>>;

/// When the run at `i` can begin at the earliest by what it waits for; nothing when what it
/// waits for has no end yet.
std::optional<double> readyAt(const std::vector<PlannedRun>& runs,
                              const std::vector<std::optional<double>>& ends, std::size_t i) {
    const std::optional<std::size_t> after = runs[i].after;
    return !after || *after >= runs.size() ? std::optional<double>(0) : ends[*after];
}

/// The waiting run that begins next: the one that may the soonest, the first of the list
/// among equals. `runs.size()` when none ever may.
std::size_t nextOf(const std::vector<PlannedRun>& runs,
                   const std::vector<std::optional<double>>& ends, double free) {
    std::size_t best = runs.size();
    double soonest = 0;
    for (std::size_t i = 0; i < runs.size(); ++i) {
        const std::optional<double> ready = readyAt(runs, ends, i);
        if (ends[i] || !ready)
            continue;
        const double begin = std::max(free, *ready);
        if (best == runs.size() || begin < soonest) {
            best = i;
            soonest = begin;
        }
    }
    return best;
}

}  // namespace

std::optional<double> stepSecondsLeft(std::optional<double> expected, double elapsed,
                                      const ToolProgress& progress) {
    if (!expected || *expected < 0)
        return std::nullopt;
    const double passed = *expected > 0 ? elapsed / *expected : 1;
    if (!progress.isKnown)
        return passed < 1 ? std::optional<double>(*expected - elapsed) : std::nullopt;
    const double least = std::clamp(progress.atLeast, 0.0, 1.0);
    const double part = std::clamp(passed, least, std::max(least, progress.atMost));
    if (part >= 1)
        return progress.atLeast >= 1 ? std::optional<double>(0) : std::nullopt;
    if (part <= 0)
        return *expected;
    // What the log says counts as much as has passed.
    const double byLog = elapsed / part;
    return std::max(0.0, *expected * (1 - part) + byLog * part - elapsed);
}

std::optional<double> secondsSinceBegin(const HAXPExpRun& run, const HAXPExpRunStep& step) {
    const std::string dir = run.getDir();
    if (dir.empty())
        return std::nullopt;
    const std::string path =
        xperiment::markerPath(dir, xperiment::stepMarker(step.getFlowStep()->getStatusTrackingStr(),
                                                         xperiment::beginMarker));
    struct stat info {};
    if (stat(path.c_str(), &info) != 0)
        return std::nullopt;
    const double began =
        static_cast<double>(info.st_mtim.tv_sec) + static_cast<double>(info.st_mtim.tv_nsec) / 1e9;
    return std::max(0.0, now() - began);
}

double secondsSinceLaunch(const HAXPExpRun& run) {
    return std::max(0.0, now() - static_cast<double>(run.getInfo().getLaunchTime()));
}

std::optional<double> runSecondsLeft(const HAXPExpRun& run, const ToolProgress& progress,
                                     const ExpectedSeconds& expected) {
    double left = 0;
    const HAXPExpRunStep* last = run.getToStep();
    const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(run.createRunStepIter());
    for (bool isOver = false; !isOver && steps->hasNext();) {
        const HAXPExpRunStep* step = steps->next();
        isOver = step == last;
        const int code = step->getStatus()->getCode();
        if (!step->isEnabled() || step->isVirtual() || code == HDGUIStatus::statusDone)
            continue;
        const std::optional<double> whole = expected(run, step->getFlowStep()->getFlowStepId());
        const bool isRunning = code == HDGUIStatus::statusRunning;
        const std::optional<double> one =
            isRunning ? stepSecondsLeft(whole, secondsSinceBegin(run, *step).value_or(0), progress)
                      : whole;
        if (!one)
            return std::nullopt;
        left += *one;
    }
    return left;
}

std::optional<double> secondsUntilAllEnd(const std::vector<PlannedRun>& runs, std::size_t slots) {
    std::vector<std::optional<double>> ends(runs.size());
    Ends busy;
    double last = 0;
    const auto plan = [&](std::size_t i, double begin) {
        ends[i] = begin + *runs[i].seconds;
        last = std::max(last, *ends[i]);
        busy.push(*ends[i]);
    };
    for (std::size_t i = 0; i < runs.size(); ++i) {
        if (!runs[i].seconds)
            return std::nullopt;
        if (runs[i].isRunning)
            plan(i, 0);
    }
    const std::size_t places = std::max<std::size_t>(1, slots);
    while (true) {
        double free = 0;
        // More at work than there are slots: all but one slot's worth must end first.
        for (; busy.size() >= places; busy.pop())
            free = busy.top();
        const std::size_t next = nextOf(runs, ends, free);
        if (next == runs.size())
            return last;
        plan(next, std::max(free, *readyAt(runs, ends, next)));
    }
}

std::string durationText(double seconds) {
    const long whole = std::lround(std::clamp(seconds, 0.0, 1e9));
    const long minutes = whole / 60;
    if (minutes < 60)
        return fmt::format("{}:{:02}", minutes, whole % 60);
    return fmt::format("{}:{:02}:{:02}", minutes / 60, minutes % 60, whole % 60);
}

}  // namespace workbench
