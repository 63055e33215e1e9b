// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xpstratxio/HAXSStrategyXMLParser.h"

#include <cstddef>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <utility>

#include "environment/containers/heapIter.h"
#include "environment/installation/HUTEnv.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATEnumRange.h"
#include "environment/options/HATOptGroup.h"
#include "environment/options/HATOptGroupSpec.h"
#include "environment/xml/optGroupFormat.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPFlowStepOptions.h"
#include "runs/base/xperiment/HAXPMgr.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xpstratxio/strategyFormat.h"

using CSL::XML::CAttributeList;
using namespace xpstratxio;
using xml::isNamed;

namespace {

/// A major and a minor version as numbers.
using MajorMinor = std::pair<int, int>;

std::string versionText(const MajorMinor& version) {
    return std::to_string(version.first) + "." + std::to_string(version.second);
}

/// The version of the running tool; false when it has no numbers.
bool toolVersion(MajorMinor& version) {
    try {
        version = {std::stoi(HUTEnv::getMajor()), std::stoi(HUTEnv::getMinor())};
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

long numberOf(const std::string& text) {
    constexpr int kDecimal = 10;
    return std::strtol(text.c_str(), nullptr, kDecimal);
}

}  // namespace

HAXSStrategyXMLParser::HAXSStrategyXMLParser() {
    setVersionCheck(kStrategyElem, kFormatMajor, kFormatMinor);
}

HAXSStrategyXMLParser::~HAXSStrategyXMLParser() = default;

bool HAXSStrategyXMLParser::parseStrategies(const std::string& path) {
    return parse(path, true);
}

HSTFwdIter<HAXPStrategy*>* HAXSStrategyXMLParser::createStrategyIter() const {
    return containers::heapIter<HAXPStrategy*>(m_finished);
}

HAXPStrategy* HAXSStrategyXMLParser::getOneStrategy() const {
    return m_finished.size() == 1 ? m_finished.front() : nullptr;
}

void HAXSStrategyXMLParser::getFailReasons(HSTVector<std::string>& reasons) const {
    reasons = m_failReasons;
}

bool HAXSStrategyXMLParser::needsBackup() const {
    return hasDropped() || m_finished.size() > 1 || m_isOtherTool ||
           getFileMajor() != kFormatMajor || getFileMinor() != kFormatMinor;
}

std::string HAXSStrategyXMLParser::getWriterVersion() const {
    return m_writerVersion.empty() ? "unknown" : m_writerVersion;
}

void HAXSStrategyXMLParser::startDoc_() {}

void HAXSStrategyXMLParser::startElem_(const std::string& name, const CAttributeList& attributes) {
    // The group that is being read may be of the strategy that goes.
    if (isNamed(name, kStrategyElem) || isNamed(name, kStratHandleElem))
        doneOptGroup();
    if (isNamed(name, kStrategyElem))
        m_current = std::make_unique<HAXPStrategy>();
    else if (isNamed(name, kToolElem))
        reToolVersion(attributes);
    else if (m_current == nullptr)
        noteDropped_();
    else if (isNamed(name, kStratHandleElem))
        reStratHandle(attributes);
    else if (isNamed(name, kDescElem))
        m_inDescription = true;
    else if (isNamed(name, kStepElem))
        reStep(attributes);
    else
        HXMLParserBase::startElem_(name, attributes);
}

void HAXSStrategyXMLParser::endElem_(const std::string& name) {
    if (isNamed(name, kDescElem))
        endDescription_();
    else if (isNamed(name, kStepElem))
        doneOptGroup();
    else if (isNamed(name, kStrategyElem))
        endStrategy_();
}

void HAXSStrategyXMLParser::chars_(const std::string& text) {
    if (m_inDescription)
        m_description += text;
}

void HAXSStrategyXMLParser::whitespace_(const std::string&) {}

void HAXSStrategyXMLParser::reStratHandle(const CAttributeList& attributes) {
    const std::string& name = attributes.getValue(kNameAttr);
    m_current->setName(name);
    const std::string& flowId = attributes.getValue(kFlowAttr);
    if (flowId.empty()) {
        std::cerr << "ERROR: no flowId given\n";
        return;
    }
    if (const HAXPFlow* const flow = HAXPMgr::getGlobal()->getFlowById(flowId)) {
        m_current->setFlow(flow, true);
        return;
    }
    m_failReasons.push_back("Strategy " + name + " (" + flowId + ") not recognized by " +
                            HUTEnv::getProductName() + ".");
    throw false;
}

void HAXSStrategyXMLParser::reStep(const CAttributeList& attributes) {
    const std::string& id = attributes.getValue(kIdAttr);
    if (id.empty()) {
        std::cerr << "ERROR: no Step Id given\n";
        noteDropped_();
        return;
    }
    HAXPFlowStepOptions* const step = m_current->getRunStepOptions(id);
    if (step == nullptr) {
        noteDropped_();
        return;
    }
    reOptGroup(attributes, step->getOptions());
    for (std::size_t i = 0; i < attributes.getLength(); ++i)
        reAttr_(*step, attributes.getName(i), attributes.getValue(i));
}

void HAXSStrategyXMLParser::reAttr_(HAXPFlowStepOptions& step, const std::string& name,
                                    const std::string& text) {
    const HATAttrSpec* const spec = step.getAttrsSpec()->getAttrSpecForDbId(name);
    if (spec == nullptr) {
        if (name != kIdAttr)
            noteDropped_();
        return;
    }
    HATOptGroup& attrs = *step.getAttrs();
    switch (spec->getAttrType()) {
    case HATAttrTypes::kBool:
        attrs.setBoolVal(spec, numberOf(text) != 0, true);
        break;
    case HATAttrTypes::kInt:
        attrs.setIntVal(spec, static_cast<int>(numberOf(text)), true);
        break;
    case HATAttrTypes::kString:
        attrs.setStrVal(spec, text, true);
        break;
    case HATAttrTypes::kEnum:
        reEnumAttr_(step, *spec, text);
        break;
    case HATAttrTypes::kFile:
        attrs.setFileVal(spec, text, true);
        break;
    case HATAttrTypes::kLong:
        attrs.setLongVal(spec, numberOf(text), true);
        break;
    default:
        noteDropped_();
        ComMsgMgr::sendMsg::eval(1, __FILE__, __LINE__, "runs", ComMsgMgr::kWarning, "@36-137@%s",
                                 name);
    }
}

void HAXSStrategyXMLParser::reEnumAttr_(HAXPFlowStepOptions& step, const HATAttrSpec& spec,
                                        const std::string& text) {
    if (const HATEnumRange* const range = spec.getEnumRangeForId(text)) {
        step.getAttrs()->setEnumVal(&spec, range->getVal(), true);
        return;
    }
    noteDropped_();
    ComMsgMgr::sendMsg::eval(2, __FILE__, __LINE__, "runs", ComMsgMgr::kWarning, "@36-136@%s%s",
                             text, spec.getName());
}

void HAXSStrategyXMLParser::reToolVersion(const CAttributeList& attributes) {
    const std::string& major = attributes.getValue(kMajorAttr);
    const std::string& minor = attributes.getValue(kMinorAttr);
    MajorMinor running;
    const bool isKnown = toolVersion(running);
    const MajorMinor writer(std::stoi(major), std::stoi(minor));
    m_writerVersion = versionText(writer);
    m_isOtherTool = isKnown && writer != running;
    if (isKnown && running < writer)
        ComMsgMgr::sendMsg::eval(3, __FILE__, __LINE__, "runs", ComMsgMgr::kWarning,
                                 "@36-549@%s%s%s", getFileName(), major + "." + minor,
                                 HUTEnv::getProductMajorMinorVersion());
}

void HAXSStrategyXMLParser::endDescription_() {
    m_inDescription = false;
    const std::string text = std::exchange(m_description, {});
    if (m_current != nullptr)
        m_current->setDescription(m_current->getDescription() + text);
}

void HAXSStrategyXMLParser::endStrategy_() {
    std::unique_ptr<HAXPStrategy> strategy = std::move(m_current);
    if (strategy == nullptr || strategy->getFlow() == nullptr)
        return;
    if (strategy->stepCount() == 0)
        strategy->setFlow(strategy->getFlow(), true);
    m_finished.push_back(strategy.get());
    static_cast<void>(strategy.release());
}
