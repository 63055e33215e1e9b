// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include "workbench/WorkbenchExport.h"
#include "workbench/places/RunPlace.h"

namespace workbench {

/// The host that launched: the run's script is a process in a session of its own.
class WORKBENCH_API HerePlace final : public RunPlace {
public:
    HerePlace();
    ~HerePlace() override;

    void start(HAXPExpRun& run, const LaunchLease& lease) const override;
    Evidence look(HAXPExpRun& run, const LaunchLease& lease) const override;
    StopResult stop(HAXPExpRun& run, const LaunchLease& lease) const override;

    /// Ends every process of the launch on this host, whoever started it there, as stop()
    /// does. Doesn't look where the run was launched. @throws HEXUserException something
    /// survives.
    static StopResult endProcesses(HAXPExpRun& run, const LaunchLease& lease);
};

}  // namespace workbench
