// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/errors/HEXUserException.h"
#include "workbench/WorkbenchExport.h"
#include "workbench/places/RunPlace.h"

namespace workbench {

/// A run that its host didn't take, which another host may.
class WORKBENCH_API HostError final : public HEXUserException {
public:
    explicit HostError(const ComMsgMgrInstance& message);
    HostError(const HostError&) = default;
    HostError& operator=(const HostError&) = default;
    ~HostError() override;
};

/// Another host that shares the run directory, by a remote command.
///
/// Which host it was that a launch began on stands in the run directory, as ".launch.host"
/// from before the script begins. So a connection that dies leaves no doubt: a launch that
/// is given up is taken back first, and what comes up on the host behind that ends by
/// itself.
class WORKBENCH_API HostPlace final : public RunPlace {
public:
    HostPlace();
    ~HostPlace() override;

    /// Fills in the default remote command.
    void complete(const HAXPExpRun& run, LaunchLease& lease) const override;
    /// May hold the caller for a minute. @throws HostError with the remote command's own
    /// words.
    void start(HAXPExpRun& run, const LaunchLease& lease) const override;
    /// One that began before the host was started anew is gone.
    Evidence look(HAXPExpRun& run, const LaunchLease& lease) const override;
    /// As HerePlace::stop() does it, on the host. @throws HEXUserException also when the host
    /// can't be asked; the run's wrapper was asked to stop then.
    StopResult stop(HAXPExpRun& run, const LaunchLease& lease) const override;

    /// @throws HEXUserException `host` can't be the name of a host, or that of a user and a
    /// host with @ between them.
    static void requireHost(const std::string& host);
};

}  // namespace workbench
