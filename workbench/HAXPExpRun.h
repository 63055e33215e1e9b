// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "workbench/WorkbenchExport.h"
#include "workbench/runLock.h"

class HAXPStratDB;
class HAXRReportConfig;
class OpenRunInfo;
struct DesignInputs;

namespace workbench {
struct LaunchLease;
struct RunEvidence;
}  // namespace workbench

/// A run of the workbench.
///
/// Its status follows from the markers of its steps: failed when one failed, done when
/// every step up to the last one of its launch is done, queued while its queue marker
/// stands and no step is at work or its launcher lets it wait, running while a step or the time
/// between two steps is. A run whose processes are gone without an end is failed, and its text says
/// that it was lost. One that was asked to stop is failed too, and its text says so; a step that
/// had failed before stays the cause.
///
/// That processes are gone is seen at once when they were on this host. Of a run elsewhere
/// lookForLife() finds it out; until then it is at work, as its markers say.
class WORKBENCH_API HAXPExpRun final : public HAXPExpRunBase {
public:
    /// The texts of the status of a failed run whose processes went away in the middle
    /// of a step, of one that was stopped there on request, and of one that ended between
    /// two steps.
    static const char kLostText[];
    static const char kStoppedInText[];
    static const char kStoppedText[];
    /// The text of a running one of which a look couldn't tell whether it lives.
    static const char kUnknownText[];

    /// `owner` hears of changes of the run's strategy; it isn't owned and outlives the
    /// run, or is null. The strategies are copied; without a report strategy the run has
    /// no reports. @throws HEXAlgException a null strategy.
    HAXPExpRun(const std::string& name, const HAXPStrategy* strategy, HAXPStratDB* owner,
               const HAXRReportStrategy* reportStrategy = nullptr);
    ~HAXPExpRun() noexcept(false) override;

    OpenRunInfo& getInfo() const;

    /// Whether setDirty() was called since the last clearDirty().
    bool isDirty() const;
    void clearDirty();

    /// Renames the run and, with its reports, their fail markers. A report whose new
    /// marker is there already keeps its name, with a message.
    /// @throws HEXUserException the run is at work; nothing changes.
    void renameRun(const std::string& newName) override;

    /// Looks for the files of every report, to be called when a report script has ended.
    void lookForReports();
    /// Publishes the files of the reports among those of the run.
    void publishReports();

    /// One call of stat() when nothing in the run directory changed.
    void updateStatus() override;
    void setRunStatus(HAXPExpRunStep* step, int status) override;

    /// Brings the status up to date and, when the markers say that the run is at work or leave its
    /// end open, looks for what lives of it: its processes, its lock, and the place that it was
    /// launched at, which may start other programs and take a minute. What it finds holds for the
    /// status until a marker changes or the log grows.
    void lookForLife();
    /// The same, for those who poll: at most once in a minute, and only for a run elsewhere.
    void lookForLifeNowAndThen();
    /// What the last look saw, as long as it holds.
    const workbench::RunEvidence& getEvidence() const;

    /// Whether the last step of the launch, or of the run, is done and the run isn't
    /// stale. Brings status and stale reasons up to date first.
    bool isUpToDate();

    /// Every step from `first` on forgets which block designs were added and wait for the
    /// design's graph, which a reset leaves to the run. They must still be in their file set.
    void forgetSourceEvents(const HAXPExpRunStep* first);

    /// Takes back every step from `first` on, so that a launch begins there: markers,
    /// status, stale reasons and reports go, outputs stay until they are written anew.
    /// False when a marker can't be removed.
    bool resetFrom(const HAXPExpRunStep* first);

    /// Whether the last updateStatus() found it queued or running.
    bool isAtWork() const;

    /// The run directory; empty when none is assigned.
    std::string getDir() const;
    /// The path of `name` in the run directory.
    std::string pathOf(const std::string& name) const;
    /// The path of its queue marker, in the run directory.
    std::string queueMarkerPath() const;

protected:
    void initRun_(const std::string& name, const HAXPStrategy* strategy,
                  const HAXRReportStrategy* reportStrategy) override;
    void setDirtyCallback_() override;

private:
    struct Poll;
    struct Verdict;
    void readSteps_(const std::string& dir, Poll& poll);
    bool readStep_(const std::string& dir, HAXPExpRunStep& step);
    struct Queue;
    Queue readQueue_() const;
    bool isStillToBegin_(const workbench::LaunchLease& lease) const;
    bool isAskedToStop_() const;
    bool isStoppedFailure_(const HAXPExpRunStep& failed) const;
    Verdict decide_(const Poll& poll, workbench::RunLife life) const;
    void publish_(const Poll& poll, const Verdict& verdict);
    workbench::RunLife probe_(const std::string& dir, const Poll& poll);
    bool worksHere_(const Poll& poll) const;
    std::vector<std::pair<const HAXPExpRunStep*, int>> seenSteps_() const;
    std::string signsOf_(const Poll& poll) const;
    void clearStatus_();
    const HAXPExpRunStep* launchedTo_() const;
    void moveFailMarker_(HAXRReportConfig& report, const std::string& oldName) const;

    struct Extra;
    std::unique_ptr<Extra> m_extra;
};
