// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HAXPFlowStepOptions.h"

#include "environment/options/HATOptGroup.h"

HAXPFlowStepOptions::HAXPFlowStepOptions(const HATOptGroupSpec* optionsSpec,
                                         const HATOptGroupSpec* attrsSpec)
    : m_options(std::make_unique<HATOptGroup>(optionsSpec)),
      m_attrs(std::make_unique<HATOptGroup>(attrsSpec)) {}

HAXPFlowStepOptions::~HAXPFlowStepOptions() = default;

const std::string& HAXPFlowStepOptions::getOptGrpId() const {
    return m_options->getOptGrpId();
}

const HATOptGroupSpec* HAXPFlowStepOptions::getOptionsSpec() const {
    return m_options->getOptionsSpec();
}

const HATOptGroupSpec* HAXPFlowStepOptions::getAttrsSpec() const {
    return m_attrs->getOptionsSpec();
}
