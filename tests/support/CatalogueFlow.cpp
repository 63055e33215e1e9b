// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "tests/support/CatalogueFlow.h"

#include <memory>

#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATOptGroup.h"
#include "environment/options/HATOptGroupSpec.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPFlowStepOptions.h"
#include "runs/base/xperiment/HAXPMgr.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "tests/support/TestFlow.h"
#include "tests/support/TestFlowStep.h"
#include "tests/support/drain.h"

namespace test {

namespace {

HATAttrSpec& declareAttr(HATOptGroupSpec& spec, HATAttrTypes::AttrType type,
                         const std::string& name, const std::string& dbId) {
    auto attr = std::make_unique<HATAttrSpec>(type, HATAttrSpec::kOption);
    attr->setName(name);
    HATAttrSpec& declared = *attr;
    spec.registerAttrSpec(attr.get(), dbId, "");
    static_cast<void>(attr.release());
    return declared;
}

void addStep(HAXPFlow& flow, const std::string& id, bool isOptional) {
    auto step = std::make_unique<TestFlowStep>(id);
    step->onConfigOptions = [](HATOptGroupSpec* options) { addEveryKind(*options); };
    step->canDisable(true);
    step->hasTclHooks(true);
    if (isOptional)
        flow.addOptionalFlowStep(step.get());
    else
        flow.addDefaultFlowStep(step.get());
    static_cast<void>(step.release());
}

void addFurtherKinds(HATOptGroupSpec& spec) {
    declareAttr(spec, HATAttrTypes::kInt, "effort", "EffortInt").setIntDefault(3);
    declareAttr(spec, HATAttrTypes::kLong, "limit", "LimitLong").setLongDefault(4);
    declareAttr(spec, HATAttrTypes::kFile, "note", "NoteFile");
    HATAttrSpec& level = declareAttr(spec, HATAttrTypes::kEnum, "level", "LevelEnum");
    level.addEnumRange("low", "Low", "");
    level.addEnumRange("high", "High", "");
    level.setEnumDefault("Low");
}

std::string groupValue(const HATOptGroup& group, const HATAttrSpec& spec) {
    std::string items;
    switch (spec.getAttrType()) {
    case HATAttrTypes::kBool:
        return group.getBoolVal(&spec) ? "true" : "false";
    case HATAttrTypes::kInt:
        return std::to_string(group.getIntVal(&spec));
    case HATAttrTypes::kStringList:
        for (const std::string& item : group.getStrListVal(&spec))
            items += "[" + item + "]";
        return items;
    case HATAttrTypes::kFile:
        return group.getFileVal(&spec);
    default:
        return group.getStrVal(&spec);
    }
}

std::string groupContent(const HATOptGroup& group) {
    std::string text;
    const HATOptGroupSpec& spec = *group.getOptionsSpec();
    for (const std::unique_ptr<HATAttrSpec>& attr : spec.getAttrSpecs())
        text += "  " + spec.getDbId(attr.get()) + "=" + groupValue(group, *attr) + "\n";
    return text;
}

}  // namespace

HAXPFlow* catalogueFlow(const std::string& flowId) {
    if (HAXPFlow* const flow = HAXPMgr::getGlobal()->getFlowById(flowId))
        return flow;
    HAXPFlow* const flow = HAXPMgr::getGlobal()->createFlow("Flow " + flowId, "1", flowId);
    addStep(*flow, "synth", false);
    addStep(*flow, "place", false);
    addStep(*flow, "extra", true);
    addFurtherKinds(*flow->getFlowStepForFSId("place")->getAttrsSpec());
    return flow;
}

std::string valueOf(const HATOptGroup* group, const std::string& dbId) {
    return groupValue(*group, *group->getAttrSpecForDbId(dbId));
}

std::string contentOf(const HAXPStrategy& strategy) {
    std::string text = strategy.getFlow() == nullptr ? "" : strategy.getFlow()->getFlowId();
    text += "\n" + strategy.getName() + "\n" + strategy.getDescription() + "\n";
    for (const HAXPFlowStepOptions* step : drain(strategy.createFlowStepOptionsIter()))
        text += step->getOptGrpId() + "\n" + groupContent(*step->getOptions()) +
                groupContent(*step->getAttrs());
    return text;
}

}  // namespace test
