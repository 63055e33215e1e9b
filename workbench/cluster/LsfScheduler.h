// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "workbench/cluster/Scheduler.h"

namespace cluster {

/// LSF: bsub, bkill, and bjobs where there is one.
///
/// A job is called by its command, the path of "runme.sh", which is how it is ended too.
/// At most one job of that name is there, since a run directory has one launch at a time. An
/// array has a name of its own, and its tasks are ended by number.
class WORKBENCH_API LsfScheduler final : public Scheduler {
public:
    explicit LsfScheduler(const std::string& command);
    ~LsfScheduler() override;

    bool check(std::string& reason) const override;
    /// A task can be found by bjobs alone.
    bool checkArrays(std::string& reason) const override;
    std::string nameFor(const std::string& runName, const std::string& runDir,
                        const std::string& launchId) const override;
    std::string taskVariable() const override;
    /// "12[3]".
    std::string taskId(const std::string& job, long task) const override;
    JobAnswer look(const JobKey& key) const override;
    CancelAnswer cancel(const JobKey& key) const override;

protected:
    ClientCall submitCall_(const Job& job) const override;
    ClientCall arrayCall_(const ArrayJob& array) const override;
    std::string idIn_(const std::string& text, bool ofArray) const override;

private:
    CancelAnswer cancelTask_(const JobKey& key) const;
};

}  // namespace cluster
