// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/openFlows.h"

#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPMgr.h"
#include "runs/base/xperiment/HAXPTypes.h"
#include "workbench/OpenDataMgr.h"
#include "workbench/OpenFlowStep.h"
#include "workbench/stepTables.h"

namespace {

HAXPFlow* s_synthesis = nullptr;
HAXPFlow* s_implementation = nullptr;

HAXPFlow* makeFlow(const char* name, const char* id, HAXPTypes::FlowType type,
                   const std::vector<workbench::StepTable>& steps) {
    HAXPFlow* flow = HAXPMgr::getGlobal()->createFlow(name, "1", id);
    for (const workbench::StepTable& step : steps)
        flow->addDefaultFlowStep(new OpenFlowStep(step));
    flow->addSupportedFlowType(type);
    flow->setDataMgr(new OpenDataMgr);
    HAXPMgr::getGlobal()->setDefaultFlow(type, flow);
    return flow;
}

}  // namespace

void OpenFlows::build() {
    if (s_synthesis != nullptr)
        return;
    s_synthesis = makeFlow("iCE40 Synthesis", "ice40_synthesis", HAXPTypes::FLOW_SYNTH,
                           workbench::synthesisSteps());
    s_implementation = makeFlow("iCE40 Implementation", "ice40_implementation",
                                HAXPTypes::FLOW_ENTIRE_DESIGN, workbench::implementationSteps());
}

HAXPFlow* OpenFlows::getSynthesis() {
    return s_synthesis;
}

HAXPFlow* OpenFlows::getImplementation() {
    return s_implementation;
}
