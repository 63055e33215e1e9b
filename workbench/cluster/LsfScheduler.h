// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "workbench/cluster/Scheduler.h"

namespace cluster {

/// LSF: bsub, bkill, and bjobs where there is one.
///
/// A job is called by its command, the path of "runme.sh", which is how it is ended too.
/// At most one job of that name is there, since a run directory has one launch at a time.
class WORKBENCH_API LsfScheduler final : public Scheduler {
public:
    explicit LsfScheduler(const std::string& command);
    ~LsfScheduler() override;

    bool check(std::string& reason) const override;
    std::string nameFor(const std::string& runName, const std::string& runDir,
                        const std::string& launchId) const override;
    JobAnswer look(const JobKey& key) const override;
    CancelAnswer cancel(const JobKey& key) const override;

protected:
    ClientCall submitCall_(const Job& job) const override;
    std::string idIn_(const std::string& text) const override;
};

}  // namespace cluster
