// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "tests/support/RunDir.h"
#include "tests/support/TestFlow.h"
#include "tests/support/TestRun.h"
#include "tests/support/drained.h"
#include "tests/support/thrownText.h"

namespace test {

using Ids = std::vector<std::string>;

/// A run "impl_1" over the default steps of a flow, and an empty folder.
class RunFixture : public ::testing::Test {
protected:
    explicit RunFixture(const std::vector<StepTraits>& steps,
                        const std::string& flowName = "Test Flow")
        : m_flow(makeFlowOf(steps, flowName)),
          m_run(std::make_unique<TestRun>("impl_1", m_flow.get())) {}
    /// With the steps "a", "b" and "c", and the optional step "extra".
    RunFixture() : RunFixture(threeSteps()) {}

    static std::vector<StepTraits> threeSteps() {
        StepTraits extra = StepTraits::of("extra");
        extra.isOptional = true;
        return {StepTraits::of("a"), StepTraits::of("b"), StepTraits::of("c"), extra};
    }

    const HAXPFlowStep* flowStep(const std::string& id) const {
        return m_flow->getFlowStepForFSId(id);
    }
    HAXPExpRunStep* step(const std::string& id) const { return m_run->step(id); }
    /// Gives the steps these status codes, from the first on.
    void setCodes(const std::vector<int>& codes) {
        const Ids ids = m_run->stepIds();
        for (std::size_t i = 0; i < codes.size(); ++i)
            m_run->setCode(ids[i], codes[i]);
    }
    /// Launched in the folder, whose markers count from now on.
    void launch() {
        m_run->setRunDir(m_dir.path(), false);
        m_run->setRunMode(HAXPExpRunBase::kLaunched);
    }
    void markDone(const std::string& id) {
        m_dir.mark("." + id + ".begin.rst");
        m_dir.mark("." + id + ".end.rst");
    }

    RunDir m_dir;
    std::unique_ptr<HAXPFlow> m_flow;
    std::unique_ptr<TestRun> m_run;
};

}  // namespace test
