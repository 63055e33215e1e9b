// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HAXFBasicStepFilter.h"

HAXFBasicStepFilter::HAXFBasicStepFilter() = default;

HAXFBasicStepFilter::~HAXFBasicStepFilter() = default;

bool HAXFBasicStepFilter::customAddFilter_(const HAXPFlowStep*, HAXPExpRunBase*, std::string&) {
    return true;
}

bool HAXFBasicStepFilter::customAddToStrategy_(const HAXPFlowStep*) {
    return true;
}
