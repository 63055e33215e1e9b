// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "runs/base/xperiment/HAXPFlowStep.h"

namespace test {

/// A flow step whose hooks note that they were called, and do what a test asks.
class TestFlowStep : public HAXPFlowStep {
public:
    /// A step whose name, abbreviation, invoke string and id are one word, without a
    /// message file.
    explicit TestFlowStep(const std::string& word) : TestFlowStep(word, word, word, word, "") {}

    TestFlowStep(const std::string& name, const std::string& abbrev, const std::string& invokeStr,
                 const std::string& flowStepId, const std::string& msgFileName)
        : HAXPFlowStep(name, abbrev, invokeStr, flowStepId, msgFileName) {}

    ~TestFlowStep() override {
        if (onDestruction)
            onDestruction();
    }

    using HAXPFlowStep::getStatusFile_;
    using HAXPFlowStep::nukeStatusFile_;
    using HAXPFlowStep::statusExists_;

    std::function<void(HATOptGroupSpec*)> onConfigOptions;
    std::function<void(TestFlowStep&)> onConfigReports;
    std::function<void()> onDestruction;

    /// The hooks called so far: "options", "reports", "filter".
    std::vector<std::string> calls;

protected:
    void configOptions_(HATOptGroupSpec* optionsSpec) override {
        calls.emplace_back("options");
        if (onConfigOptions)
            onConfigOptions(optionsSpec);
    }

    void configReports_() override {
        calls.emplace_back("reports");
        if (onConfigReports)
            onConfigReports(*this);
    }

    void initSrcFilter_() override { calls.emplace_back("filter"); }
};

}  // namespace test
