// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xpreport/runReports.h"

#include <memory>

#include "environment/containers/HSTFwdIter.h"
#include "environment/options/HATAttrSpec.h"
#include "runs/base/xperiment/HAXPExpInfoBase.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xpreport/HAXRReportStrategy.h"

namespace xpreport {

void forEachStep(
    const HAXPExpRunBase& run,
    const std::function<void(const std::string&, HSTFwdIter<HAXRReportConfig*>&)>& visit) {
    const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(run.createRunStepIter());
    while (steps->hasNext()) {
        const HAXPExpRunStep* const step = steps->next();
        if (step->getFlowStep() == nullptr)
            continue;
        const std::unique_ptr<HSTFwdIter<HAXRReportConfig*>> reports(
            step->createReportConfigIter());
        visit(step->getFlowStep()->getFlowStepId(), *reports);
    }
}

bool usesDefaultReportStrategy(const HAXPExpRunBase& run) {
    const HAXPExpInfoBase* const info = run.getExpInfoBase();
    const HAXRReportStrategy* const strategy = run.getReportStrategy();
    if (info == nullptr || strategy == nullptr)
        return false;
    const std::string& name = strategy->getName();
    return (info->isSynthFlow() && name == "Tarnel Synthesis Default Reports") ||
           (info->isImplFlow() && name == "Tarnel Implementation Default Reports");
}

bool holdsText(const HATAttrSpec& option) {
    return option.getAttrType() > HATAttrTypes::kInt;
}

}  // namespace xpreport
