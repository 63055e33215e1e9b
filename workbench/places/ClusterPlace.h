// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include "workbench/WorkbenchExport.h"
#include "workbench/places/RunPlace.h"

namespace workbench {

struct LaunchWay;

/// A cluster: the run's script is a job of LSF or of a grid engine.
///
/// The job is known by its name, which stands in the lease before anything is submitted:
/// a submission whose answer is lost is found again by it, by this process or another.
/// "job.id" holds the identifier as soon as it is known.
class WORKBENCH_API ClusterPlace final : public RunPlace {
public:
    ClusterPlace();
    ~ClusterPlace() override;

    void complete(const HAXPExpRun& run, LaunchLease& lease) const override;
    /// Submits the job. A scheduler that is slow may hold the caller for some minutes.
    void start(HAXPExpRun& run, const LaunchLease& lease) const override;
    /// Asks the queue, and this host for what may have outlived the job.
    Evidence look(HAXPExpRun& run, const LaunchLease& lease) const override;
    /// Gives a running job three seconds to end by itself, then has the scheduler end it,
    /// and waits up to a minute until it is gone from the queue. A job that waits is ended
    /// at once. What outlives the job on this host is ended too.
    StopResult stop(HAXPExpRun& run, const LaunchLease& lease) const override;

    /// Whether jobs can be submitted by `way`. @throws HEXUserException they can't be; the
    /// message tells why, in the words of the check of the command.
    static void check(const LaunchWay& way);
};

}  // namespace workbench
