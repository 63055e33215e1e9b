// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "tests/conformance/RunConformance.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/openFlows.h"
#include "workbench/product.h"

namespace {

/// The runs of the workbench, over its implementation flow.
struct WorkbenchRunMaker {
    static constexpr const char* kName = "HAXPExpRun";
    WorkbenchRunMaker() { workbench::installProduct("/nowhere/bin"); }

    static const HAXPFlow* flow() { return OpenFlows::getImplementation(); }
    static std::unique_ptr<HAXPExpRunBase> make(const std::string& name,
                                                const HAXPStrategy* strategy,
                                                const HAXRReportStrategy* reportStrategy) {
        return std::make_unique<HAXPExpRun>(name, strategy, nullptr, reportStrategy);
    }
    static bool isDirty(const HAXPExpRunBase& run) {
        return static_cast<const HAXPExpRun&>(run).isDirty();
    }
    static void clearDirty(HAXPExpRunBase& run) { static_cast<HAXPExpRun&>(run).clearDirty(); }
};

INSTANTIATE_TYPED_TEST_SUITE_P(Workbench, RunConformance, WorkbenchRunMaker, MakerName);

}  // namespace
