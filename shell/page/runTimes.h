// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <optional>
#include <string>
#include <vector>

class HAXPExpRun;

/// When a run was launched, and when its steps worked.
namespace shell {

/// A step on the clock, in seconds since 1970.
struct StepTime {
    std::string id;      ///< "place_design"
    std::string status;  ///< "not started", "running", "done" or "failed"
    std::optional<double> began;
    /// How long it took; of a running one, how long it has been running. Nothing where a
    /// marker is missing or the clock was put back.
    std::optional<double> seconds;
    /// An earlier launch did it, and the last one left it as it was.
    bool isKept = false;
};

struct RunTimes {
    std::optional<double> queued;  ///< when its last launch was made
    /// When the first step of that launch began, and the last one ended; a run at work has
    /// no end.
    std::optional<double> began;
    std::optional<double> ended;
    /// "here", a host's name, "lsf" or "sge"; empty for a run without a lease.
    std::string place;
    /// Those that a launch runs, in order.
    std::vector<StepTime> steps;
};

/// The times of `run`, whose status is up to date, from its lease and its markers; `now` is
/// what running steps are told by.
RunTimes runTimes(const HAXPExpRun& run, double now);

/// The time of day in seconds since 1970.
double timeNow();

}  // namespace shell
