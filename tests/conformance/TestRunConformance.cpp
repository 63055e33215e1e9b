// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "tests/conformance/RunConformance.h"
#include "tests/support/TestFlow.h"
#include "tests/support/TestRun.h"

namespace {

/// The run that the unit tests use.
struct TestRunMaker {
    static constexpr const char* kName = "TestRun";
    const HAXPFlow* flow() const { return m_flow.get(); }
    static std::unique_ptr<HAXPExpRunBase> make(const std::string& name,
                                                const HAXPStrategy* strategy,
                                                const HAXRReportStrategy* reportStrategy) {
        return std::make_unique<test::TestRun>(name, strategy, reportStrategy);
    }
    static bool isDirty(const HAXPExpRunBase& run) {
        return static_cast<const test::TestRun&>(run).dirtyCalls > 0;
    }
    static void clearDirty(HAXPExpRunBase& run) { static_cast<test::TestRun&>(run).dirtyCalls = 0; }

    std::unique_ptr<HAXPFlow> m_flow = test::makeFlow({"a", "b", "c"});
};

INSTANTIATE_TYPED_TEST_SUITE_P(Tests, RunConformance, TestRunMaker, MakerName);

}  // namespace
