// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
// How a run gives up results of its steps.

#include <vector>

#include "environment/errors/HEXAlgException.h"
#include "environment/errors/HEXUserException.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/runData.h"
#include "runs/base/xperiment/runFiles.h"
#include "runs/base/xperiment/stepMarkers.h"

using xperiment::RunLock;

bool HAXPExpRunBase::resetStep(const HAXPFlowStep* flowStep, bool checkFilter, bool cleanFiles) {
    const HAXPFlow* flow = requireStrategy_().getFlow();
    if (checkFilter)
        requireResettable_(flowStep);
    const std::vector<HAXPExpRunStep*> steps = stepsFrom_(flowStep);
    std::string runDir;
    getRunDir(runDir);
    bool ok = !steps.empty();
    for (auto step = steps.rbegin(); step != steps.rend(); ++step)
        ok = (*step)->resetStep(runDir, cleanFiles) && ok;
    if (flow != nullptr) {
        xperiment::removeRunFile(runDir, xperiment::queueMarker(flow->getQueStr()));
        xperiment::removeRunFile(runDir, xperiment::queueMarker(flow->getName()));
    }
    updateStatus();
    return ok;
}

bool HAXPExpRunBase::resetStep(const HAXPFlowStep* flowStep) {
    return resetStep(flowStep, true, true);
}

void HAXPExpRunBase::requireResettable_(const HAXPFlowStep* flowStep) {
    if (flowStep == nullptr)
        throw HEXAlgException("NULL Step");
    std::string reason;
    if (!canResetStep(flowStep, reason))
        throw HEXUserException("Step '" + flowStep->getFlowStepId() + "' can't be reset in run '" +
                               getName() + "': " + reason);
}

std::vector<HAXPExpRunStep*> HAXPExpRunBase::stepsFrom_(const HAXPFlowStep* flowStep) const {
    std::vector<HAXPExpRunStep*> found;
    const RunLock lock(m_data->mutex);
    for (const auto& step : m_data->steps) {
        if (!found.empty() || (flowStep != nullptr && step->getFlowStep() == flowStep))
            found.push_back(step.get());
    }
    return found;
}
