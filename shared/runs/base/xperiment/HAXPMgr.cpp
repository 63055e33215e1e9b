// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HAXPMgr.h"

#include <memory>

#include "environment/containers/heapIter.h"
#include "environment/errors/HEXDataException.h"
#include "environment/params/HPAParamMgr.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPFlowType.h"
#include "runs/base/xperiment/HAXPStatMgr.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xperiment/HAXPStrategyMgr.h"
#include "runs/base/xpreport/HAXRReportStrategy.h"

HAXPMgr* HAXPMgr::sp_theGlobal = nullptr;

HAXPMgr::HAXPMgr() = default;

HAXPMgr::~HAXPMgr() = default;

HAXPMgr* HAXPMgr::getGlobal() {
    if (sp_theGlobal == nullptr)
        sp_theGlobal = new HAXPMgr;
    return sp_theGlobal;
}

HAXPFlow* HAXPMgr::createFlow(const std::string& name, const std::string& version,
                              const std::string& flowId) {
    auto flow = std::make_unique<HAXPFlow>(name, version, flowId);
    m_flows.push_back(flow.get());
    return flow.release();
}

HSTFwdIter<HAXPFlow*>* HAXPMgr::createFlowIter() const {
    return containers::heapIter<HAXPFlow*>(m_flows);
}

HAXPFlow* HAXPMgr::getFlowById(const std::string& flowId) const {
    for (HAXPFlow* flow : m_flows)
        if (flow->getFlowId() == flowId)
            return flow;
    return nullptr;
}

HAXPFlow* HAXPMgr::getDefaultFlow(HAXPTypes::FlowType type) const {
    return m_defaultFlows[type];
}

HAXPFlow* HAXPMgr::getDefaultFlow(const HAXPFlowType& type) const {
    try {
        const auto at = m_universalDefaultFlows.find(type.getUniversalForm());
        return at == m_universalDefaultFlows.end() ? nullptr : at->second;
    } catch (...) {
        return nullptr;
    }
}

void HAXPMgr::setDefaultFlow(HAXPTypes::FlowType type, HAXPFlow* flow) {
    if (m_defaultFlows[type] != nullptr)
        throw HEXDataException("Default flow already set for flowType!");
    m_defaultFlows[type] = flow;
}

void HAXPMgr::setDefaultFlow(const HAXPFlowType& type, HAXPFlow* flow) {
    // Callers hear one text, whether the type has no text form or a default already.
    try {
        if (!m_universalDefaultFlows.emplace(type.getUniversalForm(), flow).second)
            throw HEXDataException("Default flow already set for flow type");
    } catch (...) {
        throw HEXDataException("Invalid universal flow type");
    }
}

bool HAXPMgr::isFlowSupported(const HAXPFlow* flow) const {
    return flow != nullptr && !flow->isLegacy();
}

HAXPStrategy* HAXPMgr::getDefaultStrategy(const HAXPFlow* flow) const {
    const std::unique_ptr<HSTFwdIter<HAXPStrategy*>> strategies(createStrategyIter(flow));
    const bool toolsOnly =
        HPAParamMgr::getParamMgr()->getValueIfExistAsBool("runs.defaultToToolStrategy", false);
    while (strategies->hasNext()) {
        HAXPStrategy* const strategy = strategies->next();
        if (!toolsOnly || !strategy->isUserDefined())
            return strategy;
    }
    return nullptr;
}

int HAXPMgr::strategyCount(const HAXPFlow* flow) const {
    return HAXPStrategyMgr::getGlobal()->strategyCount(flow);
}

HSTFwdIter<HAXPStrategy*>* HAXPMgr::createStrategyIter(const HAXPFlow* flow) const {
    return HAXPStrategyMgr::getGlobal()->createStrategyIter(flow);
}

bool HAXPMgr::isUniqueStrategyName(const HAXPFlow* flow, const std::string& name) const {
    return HAXPStrategyMgr::getGlobal()->isUniqueStrategyName(flow, name);
}

bool HAXPMgr::hasEquivalentStrategy(HAXPStrategy* strategy) const {
    return HAXPStrategyMgr::getGlobal()->hasEquivalentStrategy(strategy);
}

HAXPStrategy* HAXPMgr::createStrategy(const HAXPFlow* flow, const std::string& name) {
    return HAXPStrategyMgr::getGlobal()->createStrategy(flow, name);
}

HAXPStrategy* HAXPMgr::createInternalStrategy(const HAXPStrategy* source) {
    return HAXPStrategyMgr::getGlobal()->createInternalStrategy(source);
}

HAXPStrategy* HAXPMgr::copyStrategy(const HAXPStrategy* source, const std::string& name) {
    return HAXPStrategyMgr::getGlobal()->copyStrategy(source, name);
}

void HAXPMgr::renameStrategy(HAXPStrategy* strategy, const std::string& name) {
    HAXPStrategyMgr::getGlobal()->renameStrategy(strategy, name);
}

void HAXPMgr::deleteStrategy(HAXPStrategy* strategy) {
    HAXPStrategyMgr::getGlobal()->deleteStrategy(strategy);
}

HAXRReportStrategy* HAXPMgr::getDefaultReportStrategy(const HAXPFlow* flow) const {
    if (flow == nullptr)
        return nullptr;
    const std::unique_ptr<HSTFwdIter<HAXRReportStrategy*>> strategies(
        createReportStrategyIter(flow));
    while (strategies->hasNext()) {
        HAXRReportStrategy* const strategy = strategies->next();
        if (!strategy->isUserDefined())
            return strategy;
    }
    return nullptr;
}

int HAXPMgr::reportStrategyCount(const HAXPFlow* flow) const {
    return flow == nullptr ? -1 : HAXPStrategyMgr::getGlobal()->reportStrategyCount(flow);
}

HSTFwdIter<HAXRReportStrategy*>* HAXPMgr::createReportStrategyIter(const HAXPFlow* flow) const {
    return flow == nullptr ? nullptr : HAXPStrategyMgr::getGlobal()->createReportStrategyIter(flow);
}

bool HAXPMgr::isUniqueReportStrategyName(const HAXPFlow* flow, const std::string& name) const {
    return HAXPStrategyMgr::getGlobal()->isUniqueReportStrategyName(flow, name);
}

bool HAXPMgr::hasEquivalentReportStrategy(HAXRReportStrategy* strategy) const {
    return HAXPStrategyMgr::getGlobal()->hasEquivalentReportStrategy(strategy);
}

HAXRReportStrategy* HAXPMgr::createReportStrategy(const HAXPFlow* flow, const std::string& name) {
    return HAXPStrategyMgr::getGlobal()->createReportStrategy(flow, name);
}

HAXRReportStrategy* HAXPMgr::createInternalReportStrategy(const HAXRReportStrategy* source) {
    return HAXPStrategyMgr::getGlobal()->createInternalReportStrategy(source);
}

HAXRReportStrategy* HAXPMgr::copyReportStrategy(const HAXRReportStrategy* source,
                                                const std::string& name) {
    return HAXPStrategyMgr::getGlobal()->copyReportStrategy(source, name);
}

void HAXPMgr::renameReportStrategy(HAXRReportStrategy* strategy, const std::string& name) {
    HAXPStrategyMgr::getGlobal()->renameReportStrategy(strategy, name);
}

void HAXPMgr::deleteReportStrategy(HAXRReportStrategy* strategy) {
    HAXPStrategyMgr::getGlobal()->deleteReportStrategy(strategy);
}

int HAXPMgr::statSpecCount() const {
    return HAXPStatMgr::getGlobal()->statSpecCount();
}

HSTFwdIter<HAXPStatSpec*>* HAXPMgr::createStatSpecIter() const {
    return HAXPStatMgr::getGlobal()->createStatSpecIter();
}
