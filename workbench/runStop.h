// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <string>

#include "workbench/WorkbenchExport.h"

class HAXPExpRun;

/// Stopping what runs.
namespace workbench {

/// What a stop came to.
struct StopResult {
    /// Nothing of the run was there; nothing was touched.
    bool wasIdle = false;
    /// The job that was ended with all of its processes, such as "job 12"; empty for a run
    /// that was none.
    std::string job;
    /// How many processes were asked to end, and how many of all had to be killed.
    std::size_t asked = 0;
    std::size_t killed = 0;
    /// From the first signal to the proof that no process is left.
    long ms = 0;
};

/// Stops `run` for certain: no further step begins, and every process of it on this host
/// ends, those included that left its process group. Asks first, and kills after three
/// seconds what didn't listen. Returns when the run's lock is free and no process
/// is left, and the run's status is up to date then: stopped, unless it had come to its
/// end by itself. What it left stays. May hold the caller for eight seconds.
/// @throws HEXUserException it runs on another host, and nothing was touched; or
///     something of it survives, which the message names.
WORKBENCH_API StopResult stopRun(HAXPExpRun& run);

}  // namespace workbench
