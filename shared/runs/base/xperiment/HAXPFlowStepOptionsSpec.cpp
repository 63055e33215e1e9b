// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <memory>

#include "environment/errors/HEXDataException.h"
#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATOptGroupSpec.h"
#include "environment/strings/HSTStringUtils.h"
#include "runs/base/xperiment/HAXPFlowStep.h"

namespace {

std::unique_ptr<HATAttrSpec> makeDescribedAttr(HATAttrTypes::AttrType type, const std::string& name,
                                               const std::string& description) {
    auto attr = std::make_unique<HATAttrSpec>(type, HATAttrSpec::kOption);
    attr->setName(name);
    attr->setDescription(description);
    return attr;
}

void registerAttr(HATOptGroupSpec& spec, const std::string& dbId,
                  std::unique_ptr<HATAttrSpec> attr) {
    spec.registerAttrSpec(attr.get(), dbId, "");
    static_cast<void>(attr.release());
}

/// What the user reads beside the switch of a step.
std::string enableDescription(const std::string& flowStepId) {
    std::string text = "Optionally run this step as part of the flow";
    if (HSTStringUtils::iequals(flowStepId, "power_opt_design"))
        text += ". This step optimizes design to maximize power saving.";
    else if (HSTStringUtils::iequals(flowStepId, "post_place_power_opt_design"))
        text += ". This step optimizes design to save power and preserve timing post-place. "
                "If pre-place power_opt_design option is selected, this option will do nothing";
    return text;
}

}  // namespace

void HAXPFlowStep::configOptionsSpec() {
    if (m_optionsSpec != nullptr)
        throw HEXDataException("Options already configured for flow step");
    m_optionsSpec = std::make_unique<HATOptGroupSpec>();
    m_attrsSpec = std::make_unique<HATOptGroupSpec>();
    const std::string prettyName = m_name + " (" + m_invokeStr + ")";
    for (HATOptGroupSpec* spec : {m_optionsSpec.get(), m_attrsSpec.get()}) {
        spec->setOptGrpId(m_flowStepId);
        spec->setOptGrpPrettyDisplayName(prettyName);
    }
    configOptions_(m_optionsSpec.get());
    configAttrSpecs();
}

void HAXPFlowStep::configAttrSpecs() {
    if (m_canDisable)
        addEnableAttr_();
    if (m_hasTclHooks) {
        addHookAttr_("tcl.pre", "PreStepTclHook", "pre-step tcl hook");
        addHookAttr_("tcl.post", "PostStepTclHook", "post-step tcl hook");
    }
    addReportsAttr_();
}

void HAXPFlowStep::addEnableAttr_() {
    auto attr =
        makeDescribedAttr(HATAttrTypes::kBool, "is_enabled", enableDescription(m_flowStepId));
    attr->setBoolDefault(m_defaultEnabled);
    attr->setAlwaysWrite(true);
    registerAttr(*m_attrsSpec, "EnableStepBool", std::move(attr));
}

void HAXPFlowStep::addHookAttr_(const std::string& name, const std::string& dbId,
                                const std::string& description) {
    auto attr = makeDescribedAttr(HATAttrTypes::kFile, name, description);
    attr->addFileExtRange("tcl");
    attr->setFileExtRangeDescription("TCL File");
    attr->setIsProjectFile(true);
    registerAttr(*m_attrsSpec, dbId, std::move(attr));
}

void HAXPFlowStep::addReportsAttr_() {
    auto attr = makeDescribedAttr(HATAttrTypes::kStringList, "REPORTS",
                                  "REPORT configurations associated with this step");
    attr->setAlwaysWrite(true);
    attr->setReadOnly(true);
    attr->setVisible(true);
    registerAttr(*m_attrsSpec, "REPORTS", std::move(attr));
}
