// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include "workbench/cluster/Scheduler.h"

namespace cluster {

/// A grid engine: qsub, qstat and qdel.
class WORKBENCH_API SgeScheduler final : public Scheduler {
public:
    explicit SgeScheduler(const std::string& command);
    ~SgeScheduler() override;

    bool check(std::string& reason) const override;
    bool checkArrays(std::string& reason) const override;
    /// The prefix, the run's name and the beginning of the launch's identity, in signs that
    /// a grid engine takes.
    std::string nameFor(const std::string& runName, const std::string& runDir,
                        const std::string& launchId) const override;
    std::string taskVariable() const override;
    /// "12.3".
    std::string taskId(const std::string& job, long task) const override;
    JobAnswer look(const JobKey& key) const override;
    CancelAnswer cancel(const JobKey& key) const override;

    /// Ends the job `id`, or the task "12.3" of an array, whatever run it belongs to, if it is a
    /// job of this user that a workbench submitted, and waits until it is gone, up to `limitMs`. A
    /// job that isn't there is gone. False when it may still be there, or isn't ours; `reason` gets
    /// why.
    bool endJob(const std::string& id, long limitMs, std::string& reason) const;

protected:
    ClientCall submitCall_(const Job& job) const override;
    ClientCall arrayCall_(const ArrayJob& array) const override;
    std::string idIn_(const std::string& text, bool ofArray) const override;
    void forget_() const override;

private:
    /// A job as qstat lists it, or tasks of an array that are in one state.
    struct Entry {
        std::string id;
        std::string name;
        std::string state;
        std::string queue;
        std::string tasks;
    };
    using Entries = std::vector<Entry>;

    /// The jobs of one user as they were some time ago.
    class RecentLists;

    bool list_(const std::string& owner, Entries& entries, std::string& reason) const;
    static TaskFound find_(const Entries& entries, const JobKey& key, Entry& found);
    std::string listKey_(const std::string& owner) const;
    bool isReachable_(const std::string& queue) const;
    JobAnswer answerOf_(const Entry& entry, long task) const;
    bool isUnknownJob_(const std::string& id) const;
};

}  // namespace cluster
