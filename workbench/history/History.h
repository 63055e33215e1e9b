// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "workbench/WorkbenchExport.h"
#include "workbench/history/launchRecord.h"

class HAXPExpRun;
class Project;

namespace workbench {

/// Remembers the last launch of `run` as History::record() does, and opens no database: for
/// those who have no other use for a history. Whoever opens one next finds it.
/// @throws HEXUserException the run directory can't be written, or is a link.
WORKBENCH_API bool recordLaunch(const Project& project, HAXPExpRun& run);

/// recordLaunch() of those of `runs` that have ended and may not be remembered yet, for whoever
/// happens to see it: two calls of stat() a run that is. Stops after a moment, leaving the others
/// to the next one who comes, and says nothing of what can't be written.
WORKBENCH_API void rememberEnds(const Project& project, const std::vector<HAXPExpRun*>& runs);

/// Those of `runs` that rememberEnds() would remember: they have ended, aren't remembered for
/// certain, and their directory can be written. Two calls of stat() a run.
WORKBENCH_API std::vector<HAXPExpRun*> notYetRemembered(const std::vector<HAXPExpRun*>& runs);

/// recordLaunch() before something clears the run; what can't be written is told by a message.
WORKBENCH_API void rememberBefore(const Project& project, HAXPExpRun& run);

/// The file that keeps the launches of runs which the project doesn't have any more.
WORKBENCH_API std::string removedLaunchesPath(const Project& project);

/// Every launch of a project that has ended.
///
/// The truth is a file of lines in each run directory, which resets and launches keep; a
/// database in the project's folder is a cache over these that is made anew when it is
/// missing, damaged or of another version. Without a folder that can be written the same is
/// answered from memory. Several processes may use one at once. An object belongs to one
/// thread.
class WORKBENCH_API History {
public:
    /// Opens the history of `project`, which must outlive it, and brings the cache up to date
    /// with the run directories: one stat of each when nothing changed.
    explicit History(const Project& project);
    ~History();

    History(const History&) = delete;
    History& operator=(const History&) = delete;

    /// Remembers the last launch of `run` if it has ended and isn't remembered yet; whether it
    /// did. @throws HEXUserException the run directory can't be written.
    bool record(HAXPExpRun& run);
    /// record() of every run of the project; what can't be written is told by a message.
    void recordAll();

    /// The launches of `runName`, of all runs when empty, the oldest first.
    std::vector<LaunchRecord> launches(const std::string& runName = "") const;

    /// What the step took: the median of the last ten of the run itself, else of its family,
    /// else of its strategy, else of its flow; nothing when it was never done.
    std::optional<double> expectedSeconds(const HAXPExpRun& run, const std::string& step) const;

    /// How the estimate of `figure` by the step `from` turned out in the step `to`: the ratios
    /// to / from of every launch of the flow that has both, the oldest first.
    std::vector<double> estimateRatios(const std::string& flow, const std::string& figure,
                                       const std::string& from, const std::string& to) const;

private:
    struct Store;
    const Project& m_project;
    std::unique_ptr<Store> m_store;
};

}  // namespace workbench
