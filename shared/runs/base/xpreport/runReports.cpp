// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xpreport/runReports.h"

#include "runs/base/xperiment/HAXPExpInfoBase.h"
#include "runs/base/xpreport/HAXRReportStrategy.h"

namespace xpreport {

bool usesDefaultReportStrategy(const HAXPExpRunBase& run) {
    const HAXPExpInfoBase* const info = run.getExpInfoBase();
    const HAXRReportStrategy* const strategy = run.getReportStrategy();
    if (info == nullptr || strategy == nullptr)
        return false;
    const std::string& name = strategy->getName();
    return (info->isSynthFlow() && name == "Tarnel Synthesis Default Reports") ||
           (info->isImplFlow() && name == "Tarnel Implementation Default Reports");
}

}  // namespace xpreport
