// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "tests/support/TestStepFilter.h"

#include <algorithm>
#include <utility>

#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HAXPStrategy.h"

HAXPStepFilter* StepFilterReset::exchange(HAXPStepFilter* filter) {
    return std::exchange(HAXPStrategy::sp_stepFilter, filter);
}

namespace test {

bool TestStepFilter::customAddFilter_(const HAXPFlowStep*, HAXPExpRunBase*, std::string& reason) {
    ++addAsked;
    if (refusal.empty())
        return true;
    reason = refusal;
    return false;
}

bool TestStepFilter::customAddToStrategy_(const HAXPFlowStep* step) {
    ++strategyAsked;
    return std::find(keptOut.begin(), keptOut.end(), step->getFlowStepId()) == keptOut.end();
}

}  // namespace test
