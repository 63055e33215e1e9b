// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "runs/base/xperiment/HAXPExpInfoBase.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xperiment/HAXPStratDB.h"
#include "runs/base/xperiment/HDGUIStatus.h"

namespace test {

/// The status codes of runs and steps.
constexpr int kNotStarted = HDGUIStatus::statusNotStarted;
constexpr int kQueued = HDGUIStatus::statusQueued;
constexpr int kRunning = HDGUIStatus::statusRunning;
constexpr int kDone = HDGUIStatus::statusDone;
constexpr int kFailed = HDGUIStatus::statusError;

/// The information object of a test run.
class TestRunInfo : public HAXPExpInfoBase {
public:
    using HAXPExpInfoBase::checkForAlreadyModifiedFiles_;
    using HAXPExpInfoBase::createSnapshotSrcSet_;
    using HAXPExpInfoBase::HAXPExpInfoBase;
    using HAXPExpInfoBase::modifiedFilesChecked_;
    using HAXPExpInfoBase::setLaunchTime_;
    using HAXPExpInfoBase::setModifiedFilesChecked_;
    using HAXPExpInfoBase::staleReasons_;

    void updStaleReasons() override { ++staleUpdates; }
    void resetRun() override;

    int staleUpdates = 0;
    /// Called in every resetRun(), before anything is forgotten.
    std::function<void()> onReset;
};

/// A concrete run that counts the calls of its hooks.
///
/// Once launched and given a directory its status follows the markers there: failed
/// when a step failed, done when the last step is, running when something began, and
/// the last one that began is the latest step.
/// Otherwise codes are as a test sets them. Counting begins when it is made.
class TestRun final : public HAXPExpRunBase {
public:
    TestRun(const std::string& name, const HAXPStrategy* strategy);
    /// With the default steps of `flow`.
    TestRun(const std::string& name, const HAXPFlow* flow);
    /// With a copy of `reportStrategy` and the reports that it asks for; null for none.
    TestRun(const std::string& name, const HAXPStrategy* strategy,
            const HAXRReportStrategy* reportStrategy);
    ~TestRun() noexcept(false) override;

    using HAXPExpRunBase::addMsgHandle_;
    using HAXPExpRunBase::readClusterJobIdentifier_;
    using HAXPExpRunBase::setReportStrategy_;
    using HAXPExpRunBase::setStatus_;
    using HAXPExpRunBase::setStrategy_;
    using HAXPExpRunBase::setStrategyCopyFlag_;

    TestRunInfo& info() const;
    /// The step with this id; a missing one fails the test.
    HAXPExpRunStep* step(const std::string& id) const;
    /// The ids of its steps, in order.
    std::vector<std::string> stepIds() const;
    /// The id of `step`, "none" for null.
    static std::string idOf(const HAXPExpRunStep* step);

    /// Set the status code of a step, or of the run.
    void setCode(const std::string& id, int code);
    void setCode(int code);
    /// Switches the step on or off.
    void setEnabled(const std::string& id, bool enabled);

    void updateStatus() override;
    void setRunStatus(HAXPExpRunStep* step, int status) override;
    HAXPExpRunStep* getDefaultLastStep() const override;

    /// Called in every updateStatus(), once it was counted.
    std::function<void()> onUpdateStatus;
    /// Called in every setDirty(), once it was counted.
    std::function<void()> onDirty;
    /// What getDefaultLastStep() gives instead of the base's answer.
    HAXPExpRunStep* defaultLastStep = nullptr;

    int statusUpdates = 0;
    int dirtyCalls = 0;
    int optionCalls = 0;
    std::vector<std::pair<HAXPExpRunStep*, int>> statusesSet;

protected:
    void initRun_(const std::string& name, const HAXPStrategy* strategy,
                  const HAXRReportStrategy* reportStrategy) override;
    void optionsChangedCallback_(HATOptGroup* group) override;
    void setDirtyCallback_() override;

private:
    void followMarkers_(const std::string& dir);
};

/// A strategy database that keeps which strategies told it of a change.
class StrategyRecorder final : public HAXPStratDB {
public:
    std::vector<HAXPStrategy*> changed;
    /// Called for each change, once it was noted.
    std::function<void()> onChange;

protected:
    void strategyModifiedCallback_(HAXPStrategy* strategy) override;
};

}  // namespace test
