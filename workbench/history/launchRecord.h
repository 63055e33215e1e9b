// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "workbench/WorkbenchExport.h"

class HAXPExpRun;
class Project;

/// What is remembered of a launch that has ended.
namespace workbench {

/// A step of a launch.
struct StepRecord {
    std::string step;  ///< "place_design"
    /// "done" or "failed"; "kept" when an earlier launch had done it.
    std::string outcome;
    /// In seconds since the epoch by the run directory's clock; 0 when nothing tells.
    long began = 0;
    double seconds = 0;  ///< 0 for a step that was kept
    std::string tool;    ///< name and version; empty when the step didn't tell
    /// By name, such as "fmax_mhz" or "luts": what the step itself told. That of place_design
    /// is an estimate, that of route_design the result.
    std::map<std::string, double> figures;
};

/// A launch that has ended, as the run directory told it then.
struct LaunchRecord {
    std::string launch;  ///< the identity of its lease
    std::string run;
    std::string flow;  ///< "synth" or "impl"
    std::string strategy;
    std::string sweep;   ///< empty for a run of none
    std::string family;  ///< the same
    std::string place;   ///< "here", a host's name, "lsf" or "sge"
    long launched = 0;   ///< when its lease was made, in seconds since the epoch
    long began = 0;      ///< when its first step began; 0 when none did
    long ended = 0;      ///< when its last step ended; 0 when nothing tells
    /// As "xp status" words it: "done", "failed", "lost" or "stopped"; "abandoned" when a rule
    /// stopped it.
    std::string outcome;
    std::vector<StepRecord> steps;
    /// "step.option" to its value, for those that weren't at their defaults.
    std::map<std::string, std::string> options;
    /// The key figures of its reports, as "xp compare" has them.
    std::map<std::string, double> figures;
};

/// The record of the last launch of `run`, which is up to date with its directory; nothing
/// while it is at work, was never launched, or tells no launch.
WORKBENCH_API std::optional<LaunchRecord> recordOf(const Project& project, HAXPExpRun& run);

}  // namespace workbench
