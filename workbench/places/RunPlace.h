// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>

#include "workbench/WorkbenchExport.h"
#include "workbench/places/evidence.h"
#include "workbench/runStop.h"

class HAXPExpRun;

namespace workbench {

struct LaunchLease;

/// Where a launched run works, and what can be done to it there.
///
/// Holds nothing of a run: all that it needs stands in the lease of the launch, so that
/// any process finds the run again, also when the one that launched it is gone. Each
/// operation may start other programs and wait for them, a bounded time.
class WORKBENCH_API RunPlace {
public:
    virtual ~RunPlace();

    RunPlace(const RunPlace&) = delete;
    RunPlace& operator=(const RunPlace&) = delete;

    /// The place that `lease` names; never null. For a way that this user never launched by
    /// one that calls nothing: it knows nothing of the run and refuses to stop it.
    static std::unique_ptr<RunPlace> of(const LaunchLease& lease);

    /// Adds what the place needs to find the run again, such as the name of its job.
    /// Called before the lease is written.
    virtual void complete(const HAXPExpRun& run, LaunchLease& lease) const;

    /// Gets the "runme.sh" of `run` to be run with the identity of `lease`. Directory,
    /// scripts, lease and queue marker stand. Comes back once the script is started, or
    /// handed over to who starts it. When it can't be told whether it was, sends a
    /// warning and comes back too: what was started is never started again.
    /// @throws HEXUserException it isn't started and won't be.
    virtual void start(HAXPExpRun& run, const LaunchLease& lease) const = 0;

    /// Looks whether something of the launch lives, or waits to be run. Never throws.
    virtual Evidence look(HAXPExpRun& run, const LaunchLease& lease) const = 0;

    /// Stops the run as stopRun() promises. `run` is up to date, and has a directory.
    virtual StopResult stop(HAXPExpRun& run, const LaunchLease& lease) const = 0;

protected:
    RunPlace();
};

}  // namespace workbench
