// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "runs/base/xperiment/HAXPStepFilter.h"
#include "runs/base/xperiment/RunsExport.h"

/// A step filter without a rule of its own.
class RUNS_API HAXFBasicStepFilter : public HAXPStepFilter {
public:
    HAXFBasicStepFilter();
    ~HAXFBasicStepFilter() override;

protected:
    bool customAddFilter_(const HAXPFlowStep* step, HAXPExpRunBase* run,
                          std::string& reason) override;
    bool customAddToStrategy_(const HAXPFlowStep* step) override;
};
