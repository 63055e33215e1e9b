// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HAXPFlow.h"

#include <algorithm>

#include "environment/containers/heapIter.h"
#include "environment/errors/HEXAlgException.h"
#include "environment/strings/HSTStrUtils.h"
#include "runs/base/xperiment/HAXPDataMgr.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HAXPFlowType.h"
#include "runs/base/xperiment/stepMarkers.h"

namespace {

std::string withUnderscores(std::string name) {
    std::replace(name.begin(), name.end(), ' ', '_');
    return name;
}

/// The first of `steps` that `matches`, or null.
template <class Steps, class Match> HAXPFlowStep* firstMatch(const Steps& steps, Match matches) {
    const auto at =
        std::find_if(steps.begin(), steps.end(), [&](const auto& step) { return matches(*step); });
    return at == steps.end() ? nullptr : at->get();
}

}  // namespace

HAXPFlow::HAXPFlow(const std::string& name, const std::string& version, const std::string& flowId)
    : m_name(name), m_version(version), m_flowId(flowId), m_queStr(withUnderscores(name)) {}

HAXPFlow::~HAXPFlow() {
    m_dataMgr.reset();
    m_defaultSteps.clear();
    m_optionalSteps.clear();
    m_allSteps.clear();
}

std::string HAXPFlow::getQueueMarkerName() const {
    return xperiment::queueMarker(m_queStr);
}

void HAXPFlow::setDataMgr(HAXPDataMgr* ownedDataMgr) {
    if (m_dataMgr != nullptr)
        throw HEXAlgException("data mgr already set for flow");
    m_dataMgr.reset(ownedDataMgr);
}

bool HAXPFlow::isEnabled() const {
    // Legacy flows are kept usable for old projects; this one's tool is gone.
    return m_name != "QSY" || !m_legacy;
}

void HAXPFlow::addFlowStep(HAXPFlowStep* ownedStep) {
    if (ownedStep == nullptr)
        throw HEXAlgException("NULL Step");
    if (getFlowStepForFSId(ownedStep->getFlowStepId()) != nullptr)
        throw HEXAlgException("FlowStepId needs to be unique in flow");
    m_allSteps.reserve(m_allSteps.size() + 1);
    ownedStep->configOptionsSpec();
    ownedStep->configReports();
    ownedStep->initSrcFilter_();
    m_allSteps.emplace_back(ownedStep);
}

void HAXPFlow::addDefaultFlowStep(HAXPFlowStep* ownedStep) {
    m_defaultSteps.reserve(m_defaultSteps.size() + 1);
    addFlowStep(ownedStep);
    m_defaultSteps.push_back(ownedStep);
}

void HAXPFlow::addOptionalFlowStep(HAXPFlowStep* ownedStep) {
    m_optionalSteps.reserve(m_optionalSteps.size() + 1);
    addFlowStep(ownedStep);
    m_optionalSteps.push_back(ownedStep);
    ownedStep->setOptional(true);
}

HSTFwdIter<HAXPFlowStep*>* HAXPFlow::createDefaultFlowStepIter() const {
    return containers::heapIter<HAXPFlowStep*>(m_defaultSteps);
}

HSTFwdIter<HAXPFlowStep*>* HAXPFlow::createOptionalFlowStepIter() const {
    return containers::heapIter<HAXPFlowStep*>(m_optionalSteps);
}

HSTFwdIter<HAXPFlowStep*>* HAXPFlow::createAllFlowStepIter() const {
    return containers::heapIterOfOwned<HAXPFlowStep*>(m_allSteps);
}

bool HAXPFlow::contains(const HAXPFlowStep* step) const {
    return step != nullptr &&
           firstMatch(m_allSteps, [&](const HAXPFlowStep& own) { return &own == step; }) != nullptr;
}

HAXPFlowStep* HAXPFlow::getFlowStepForFSId(const std::string& flowStepId) const {
    return firstMatch(m_allSteps,
                      [&](const HAXPFlowStep& step) { return step.getFlowStepId() == flowStepId; });
}

HAXPFlowStep* HAXPFlow::getFlowStepForAbbrev(const std::string& abbrev, bool ignoreCase) const {
    return firstMatch(m_allSteps, [&](const HAXPFlowStep& step) {
        return ignoreCase ? HSTStrUtils::equalToCI(step.getAbbrev(), abbrev)
                          : step.getAbbrev() == abbrev;
    });
}

void HAXPFlow::addSupportedFlowType(HAXPTypes::FlowType type) {
    m_flowTypes.insert(type);
}

void HAXPFlow::addSupportedFlowType(const HAXPFlowType& type) {
    try {
        m_universalFlowTypes.insert(type.getUniversalForm());
    } catch (...) {
        // The flow just doesn't stand for this type: no reason to lose the catalogue.
        return;
    }
}

bool HAXPFlow::supportsFlowType(HAXPTypes::FlowType type) const {
    return m_flowTypes.count(type) != 0;
}

bool HAXPFlow::supportsFlowType(const HAXPFlowType& type) const {
    try {
        return m_universalFlowTypes.count(type.getUniversalForm()) != 0;
    } catch (...) {
        return false;
    }
}

void HAXPFlow::addRQSStatReportFile(HAXPTypes::FileType type, const std::string& file) {
    m_statReportFiles[type] = file;
}

void HAXPFlow::getRQSStatReportFiles(StatReportFiles& files) const {
    files = m_statReportFiles;
}
