// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "runs/base/xperiment/RunsExport.h"

class HAXPExpRunBase;
class HAXPExpRunStep;
class HAXPFlowStep;

/// The rule that says whether a step may be added to a strategy, or added to,
/// reset in or removed from a run.
///
/// One instance serves the whole program; HAXPStrategy::installFilter() takes it
/// at start-up. It has no data and takes no lock; each test of a run refreshes
/// the run's status first.
///
/// The tests of a run give one sentence for the user in `reason` on refusal and
/// leave it as it was otherwise. No argument but `reason` may be null in effect:
/// a null run is a programming error.
class RUNS_API HAXPStepFilter {
public:
    virtual ~HAXPStepFilter();

    HAXPStepFilter(const HAXPStepFilter&) = delete;
    HAXPStepFilter& operator=(const HAXPStepFilter&) = delete;

    bool canAddStep(const HAXPFlowStep* step, HAXPExpRunBase* run, std::string& reason);
    bool canResetStep(const HAXPFlowStep* step, HAXPExpRunBase* run, std::string& reason);
    bool canRemoveStep(HAXPExpRunStep* step, HAXPExpRunBase* run, std::string& reason);

    /// Whether `step` belongs in a strategy at all.
    bool canAddToStrategy(const HAXPFlowStep* step);

protected:
    HAXPStepFilter();

    /// Hook of canAddStep(): only after the standard rule has allowed the step. An
    /// override that answers false sets `reason`.
    virtual bool customAddFilter_(const HAXPFlowStep* step, HAXPExpRunBase* run,
                                  std::string& reason) = 0;

    /// Hook of canAddToStrategy(): the whole answer.
    virtual bool customAddToStrategy_(const HAXPFlowStep* step) = 0;

    /// The rules that hold for every product, on a run whose status is fresh. They
    /// read the status only when the run is launched.
    static bool standardAddFilter_(const HAXPFlowStep* step, HAXPExpRunBase* run,
                                   std::string& reason);
    static bool standardResetFilter_(const HAXPFlowStep* step, HAXPExpRunBase* run,
                                     std::string& reason);
    static bool standardRemoveFilter_(HAXPExpRunStep* step, HAXPExpRunBase* run,
                                      std::string& reason);
};
