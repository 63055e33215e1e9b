// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include "LettersStep.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HAXPStepFilter.h"

/// The product's own rules on steps, beside those that hold for every product.
class LettersStepFilter final : public HAXPStepFilter {
protected:
    /// Once the standard rules allow the step; sets `reason` when it says no.
    bool customAddFilter_(const HAXPFlowStep* step, HAXPExpRunBase*, std::string& reason) override {
        if (step->getFlowStepId() == LettersStep::kId)
            return true;
        reason = "letters only sorts";
        return false;
    }
    /// The whole answer to whether a step belongs in strategies.
    bool customAddToStrategy_(const HAXPFlowStep*) override { return true; }
};
