// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HAXPStepFilter.h"

#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xperiment/HDGUIStatus.h"

namespace {

int statusOf(const HAXPExpRunBase& run) {
    const HDGUIStatus* status = run.getStatus();
    return status == nullptr ? HDGUIStatus::statusNotStarted : status->getCode();
}

bool isDoneOrFailed(int status) {
    return status == HDGUIStatus::statusDone || status == HDGUIStatus::statusError;
}

bool refuse(std::string& reason, const char* text) {
    reason = text;
    return false;
}

bool flowContains(const HAXPExpRunBase& run, const HAXPFlowStep* step) {
    const HAXPStrategy* strategy = run.getStrategy();
    const HAXPFlow* flow = strategy == nullptr ? nullptr : strategy->getFlow();
    return flow != nullptr && flow->contains(step);
}

}  // namespace

HAXPStepFilter::HAXPStepFilter() = default;

HAXPStepFilter::~HAXPStepFilter() = default;

bool HAXPStepFilter::canAddStep(const HAXPFlowStep* step, HAXPExpRunBase* run,
                                std::string& reason) {
    run->updateStatus();
    return standardAddFilter_(step, run, reason) && customAddFilter_(step, run, reason);
}

bool HAXPStepFilter::canResetStep(const HAXPFlowStep* step, HAXPExpRunBase* run,
                                  std::string& reason) {
    run->updateStatus();
    return standardResetFilter_(step, run, reason);
}

bool HAXPStepFilter::canRemoveStep(HAXPExpRunStep* step, HAXPExpRunBase* run, std::string& reason) {
    run->updateStatus();
    return standardRemoveFilter_(step, run, reason);
}

bool HAXPStepFilter::canAddToStrategy(const HAXPFlowStep* step) {
    return customAddToStrategy_(step);
}

bool HAXPStepFilter::standardAddFilter_(const HAXPFlowStep* step, HAXPExpRunBase* run,
                                        std::string& reason) {
    const HAXPExpRunBase::RunMode mode = run->getRunMode();
    if (mode == HAXPExpRunBase::kUnknown)
        return refuse(reason, "Can't add step to run while status is unknown");
    if (mode == HAXPExpRunBase::kLaunched && statusOf(*run) != HDGUIStatus::statusDone)
        return refuse(reason,
                      "Can't add step to a run that is initialized, queued, running or failed");
    if (!flowContains(*run, step))
        return refuse(reason, "Step not compatible with chosen flow for run");
    if (run->getRunStep(step) != nullptr)
        return refuse(reason, "Step already included in run");
    return true;
}

bool HAXPStepFilter::standardResetFilter_(const HAXPFlowStep* step, HAXPExpRunBase* run,
                                          std::string& reason) {
    const HAXPExpRunBase::RunMode mode = run->getRunMode();
    if (mode == HAXPExpRunBase::kUnknown)
        return refuse(reason, "Can't reset step from run while status is unknown");
    if (mode == HAXPExpRunBase::kLaunched) {
        const int status = statusOf(*run);
        if (status != HDGUIStatus::statusNotStarted && !isDoneOrFailed(status))
            return refuse(reason, "Can't reset step from a run that is queued or running");
    }
    if (run->getRunStep(step) == nullptr)
        return refuse(reason, "Step not defined in run");
    return true;
}

bool HAXPStepFilter::standardRemoveFilter_(HAXPExpRunStep*, HAXPExpRunBase* run,
                                           std::string& reason) {
    const HAXPExpRunBase::RunMode mode = run->getRunMode();
    if (mode == HAXPExpRunBase::kUnknown)
        return refuse(reason, "Can't remove step from run while status is unknown");
    if (mode == HAXPExpRunBase::kLaunched && !isDoneOrFailed(statusOf(*run)))
        return refuse(reason,
                      "Can't remove step from a run that is initialized, queued or running");
    return true;
}
