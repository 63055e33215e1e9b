// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include "workbench/WorkbenchExport.h"
#include "workbench/launchLease.h"
#include "workbench/places/RunPlace.h"

namespace workbench {

/// A run that is to be a task of an array: prepared as for RunPlace::start(), with a lease that
/// names the array and the task.
struct ArrayRun {
    HAXPExpRun* run;
    LaunchLease lease;
};

/// A cluster: the run's script is a job of LSF or of a grid engine.
///
/// The job is known by its name, which stands in the lease before anything is submitted:
/// a submission whose answer is lost is found again by it, by this process or another.
/// "job.id" holds the identifier as soon as it is known. Many runs may be one job, an array;
/// each is a task of it then, which its lease tells, and is looked for and ended alone.
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

    /// Submits one array of `runs`, which are in the order of their tasks, at most `mostAtOnce` of
    /// them at work at once. As start() otherwise: when it can't be told whether the scheduler
    /// took it, sends a warning and comes back. @throws HEXUserException none is started.
    static void startArray(const std::string& projectDir, const std::vector<ArrayRun>& runs,
                           long mostAtOnce);

    /// check(), and whether arrays can be submitted. Throws as check() does.
    static void checkArrays(const LaunchWay& way);

    /// Whether jobs can be submitted by `way`. @throws HEXUserException they can't be; the
    /// message tells why, in the words of the check of the command.
    static void check(const LaunchWay& way);
};

}  // namespace workbench
