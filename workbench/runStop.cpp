// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/runStop.h"

#include <memory>
#include <string>

#include "workbench/HAXPExpRun.h"
#include "workbench/launchDecision.h"
#include "workbench/launchLease.h"
#include "workbench/places/RunPlace.h"

namespace workbench {

StopResult stopRun(HAXPExpRun& run) {
    run.updateStatus();
    const std::string dir = run.getDir();
    if (dir.empty()) {
        StopResult result;
        result.wasIdle = true;
        return result;
    }
    requireOwnDirectory(run, "stopped");
    // One that nobody launched may still be at work, started by hand.
    LaunchLease lease;
    readLeaseOf(run, lease);
    return RunPlace::of(lease)->stop(run, lease);
}

}  // namespace workbench
