// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include "runs/base/xperiment/HAXPStepFilter.h"

/// Changes the step filter of the process, which a program sets but once.
struct StepFilterReset {
    /// Makes `filter`, or none, the one of the process; gives the one before.
    static HAXPStepFilter* exchange(HAXPStepFilter* filter);
};

namespace test {

/// A step filter whose own rules a test sets, and that counts how often it is asked.
class TestStepFilter final : public HAXPStepFilter {
public:
    /// The ids of steps that it keeps out of strategies.
    std::vector<std::string> keptOut;
    /// Refuses to add steps to runs, with this reason, unless empty.
    std::string refusal;
    int addAsked = 0;
    int strategyAsked = 0;

protected:
    bool customAddFilter_(const HAXPFlowStep* step, HAXPExpRunBase* run,
                          std::string& reason) override;
    bool customAddToStrategy_(const HAXPFlowStep* step) override;
};

/// Has `filter`, or none, be the step filter of the process for as long as it lives.
class InstalledStepFilter {
public:
    explicit InstalledStepFilter(HAXPStepFilter* filter)
        : m_before(StepFilterReset::exchange(filter)) {}
    ~InstalledStepFilter() { StepFilterReset::exchange(m_before); }

    InstalledStepFilter(const InstalledStepFilter&) = delete;
    InstalledStepFilter& operator=(const InstalledStepFilter&) = delete;

private:
    HAXPStepFilter* m_before;
};

}  // namespace test
