// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xpstratxio/HAXSStrategyXMLWriter.h"

#include <memory>

#include "environment/errors/HEXAlgException.h"
#include "environment/installation/HUTEnv.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPFlowStepOptions.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xpstratxio/strategyFormat.h"

using namespace xpstratxio;

HAXSStrategyXMLWriter::HAXSStrategyXMLWriter(const std::string& path) : HXMLWriterBase(path) {}

HAXSStrategyXMLWriter::~HAXSStrategyXMLWriter() = default;

void HAXSStrategyXMLWriter::writeStrategy(HAXPStrategy* strategy) {
    writeStrategy(strategy->getName(), strategy->getDescription(), strategy->getFlow(),
                  strategy->createFlowStepOptionsIter());
}

void HAXSStrategyXMLWriter::writeStrategy(const std::string& name, const std::string& description,
                                          const HAXPFlow* flow,
                                          HSTFwdIter<HAXPFlowStepOptions*>* ownedSteps) {
    writeDocument_(name, description, flow, ownedSteps);
    closeDoc();
}

bool HAXSStrategyXMLWriter::writeNewStrategy(HAXPStrategy* strategy) {
    writeDocument_(strategy->getName(), strategy->getDescription(), strategy->getFlow(),
                   strategy->createFlowStepOptionsIter());
    return closeNewDoc();
}

void HAXSStrategyXMLWriter::writeToolVersion() {
    addAttr(kMajorAttr, HUTEnv::getMajor());
    addAttr(kMinorAttr, HUTEnv::getMinor());
    wrEmptyTag(kToolElem);
}

void HAXSStrategyXMLWriter::writeStratInfo(const std::string& name, const std::string& description,
                                           const HAXPFlow* flow) {
    if (flow == nullptr)
        throw HEXAlgException("can't write a strategy without a flow");
    addAttr(kNameAttr, name);
    addAttr(kFlowAttr, flow->getFlowId());
    wrStartTag(kStratHandleElem);
    if (!description.empty()) {
        wrStartTag(kDescElem);
        wrString(description);
        wrEndTag(kDescElem);
    }
    wrEndTag(kStratHandleElem);
}

void HAXSStrategyXMLWriter::writeOptions(HSTFwdIter<HAXPFlowStepOptions*>* ownedSteps) {
    const std::unique_ptr<HSTFwdIter<HAXPFlowStepOptions*>> steps(ownedSteps);
    while (steps->hasNext()) {
        const HAXPFlowStepOptions* const step = steps->next();
        wrOptGroup(kStepElem, step->getOptions(), false, step->getAttrs());
    }
}

void HAXSStrategyXMLWriter::writeDocument_(const std::string& name, const std::string& description,
                                           const HAXPFlow* flow,
                                           HSTFwdIter<HAXPFlowStepOptions*>* ownedSteps) {
    std::unique_ptr<HSTFwdIter<HAXPFlowStepOptions*>> steps(ownedSteps);
    addAttr(kVersionAttr, std::to_string(kFormatMajor));
    addAttr(kMinorAttr, std::to_string(kFormatMinor));
    wrStartTag(kStrategyElem);
    writeToolVersion();
    writeStratInfo(name, description, flow);
    writeOptions(steps.release());
    wrEndTag(kStrategyElem);
}
