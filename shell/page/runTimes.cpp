// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/page/runTimes.h"

#include <algorithm>
#include <cmath>
#include <ctime>

#include <sys/stat.h>

#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "runs/base/xperiment/stepMarkers.h"
#include "shell/runView.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/launchLease.h"
#include "workbench/statusWord.h"

namespace shell {

namespace {

using workbench::LaunchLease;
using workbench::LaunchWay;

double roundedSeconds(const timespec& time) {
    return static_cast<double>(time.tv_sec) +
           std::round(static_cast<double>(time.tv_nsec) / 1e6) / 1e3;
}

std::string placeOf(const LaunchWay& way) {
    switch (way.kind) {
    case LaunchWay::Kind::kHost:
        return way.host;
    case LaunchWay::Kind::kLsf:
        return "lsf";
    case LaunchWay::Kind::kSge:
        return "sge";
    default:
        return "here";
    }
}

/// The markers of one step.
struct Markers {
    const std::string& dir;
    const std::string& tracking;

    /// The time of the one of that kind; nothing without one.
    std::optional<double> timeOf(const char* kind) const {
        struct stat info {};
        const std::string path = xperiment::markerPath(dir, xperiment::stepMarker(tracking, kind));
        if (stat(path.c_str(), &info) != 0)
            return std::nullopt;
        return roundedSeconds(info.st_mtim);
    }
};

/// What lies between; nothing when the clock was put back meanwhile.
std::optional<double> between(double from, std::optional<double> to) {
    if (!to || *to < from)
        return std::nullopt;
    return std::round((*to - from) * 1e3) / 1e3;
}

StepTime stepTime(const HAXPExpRunStep& step, const std::string& dir, double now) {
    StepTime time;
    const HAXPFlowStep& flowStep = *step.getFlowStep();
    time.id = flowStep.getFlowStepId();
    const int code = step.getStatus()->getCode();
    time.status = workbench::stepStatusWord(code);
    // A marker of an earlier launch may stand there; the status has looked whose it is.
    if (code == HDGUIStatus::statusNotStarted || dir.empty())
        return time;
    const std::string tracking = flowStep.getStatusTrackingStr();
    const Markers markers{dir, tracking};
    time.began = markers.timeOf(xperiment::beginMarker);
    if (!time.began)
        return time;
    const char* ended =
        code == HDGUIStatus::statusDone ? xperiment::endMarker : xperiment::errorMarker;
    time.seconds =
        between(*time.began, code == HDGUIStatus::statusRunning ? now : markers.timeOf(ended));
    return time;
}

/// Begin and end of the launch from those of its steps.
void addSpan(bool isAtWork, RunTimes& times) {
    for (const StepTime& step : times.steps) {
        if (step.isKept || !step.began)
            continue;
        times.began = std::min(times.began.value_or(*step.began), *step.began);
        if (!isAtWork && step.seconds && step.status != "running")
            times.ended = std::max(times.ended.value_or(0), *step.began + *step.seconds);
    }
}

}  // namespace

RunTimes runTimes(const HAXPExpRun& run, double now) {
    RunTimes times;
    LaunchLease lease;
    if (workbench::readLeaseOf(run, lease)) {
        times.queued = static_cast<double>(lease.time);
        times.place = placeOf(lease.way);
    }
    const std::string dir = run.getDir();
    for (const HAXPExpRunStep* step : stepsOf(run)) {
        times.steps.push_back(stepTime(*step, dir, now));
        times.steps.back().isKept = isKept(lease, *step);
    }
    addSpan(run.isAtWork(), times);
    return times;
}

double timeNow() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return roundedSeconds(now);
}

}  // namespace shell
