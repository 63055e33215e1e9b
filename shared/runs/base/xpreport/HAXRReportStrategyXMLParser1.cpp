// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xpreport/HAXRReportStrategyXMLParser1.h"

#include <cstdint>
#include <iostream>
#include <memory>
#include <tuple>
#include <utility>

#include "environment/containers/heapIter.h"
#include "environment/installation/HUTEnv.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATOptGroup.h"
#include "environment/strings/HSTStringUtils.h"
#include "environment/strings/HUTConvert.h"
#include "environment/xml/HXMLReadException.h"
#include "environment/xml/xmlDocument.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPMgr.h"
#include "runs/base/xperiment/ownedReportStrategy.h"
#include "runs/base/xpreport/HAXRReportSpec.h"
#include "runs/base/xpreport/HAXRReportSpecMgr.h"
#include "runs/base/xpreport/HAXRReportStrategy.h"
#include "runs/base/xpreport/reportConfigUtil.h"
#include "runs/base/xpreport/strategyFormat.h"

namespace {

namespace strategyFormat = xpreport::strategy;

using xml::Document;
using xml::Element;

/// A version of the tool. Digits at the beginning of a text count.
struct ToolVersion {
    ToolVersion(const std::string& majorText, const std::string& minorText)
        : numbers(std::stoi(majorText), std::stoi(minorText)) {}
    std::pair<int, int> numbers;
};

/// The version of this installation; null when it isn't made of numbers.
std::unique_ptr<ToolVersion> ownVersion() {
    try {
        return std::make_unique<ToolVersion>(HUTEnv::getMajor(), HUTEnv::getMinor());
    } catch (const std::exception&) {
        return nullptr;
    }
}

Document readDocument(const std::string& path) {
    try {
        Document document = Document::fromFile(path);
        xpreport::checkDocument(document, strategyFormat::rules());
        return document;
    } catch (const HXMLReadException& error) {
        xpreport::failRead(path, error.getLine(), error.getReason());
    } catch (const std::exception& error) {
        xpreport::failRead(path, 0, error.what());
    }
}

/// The version of the report that the element asks for; all 0 unless it has both numbers.
VersionInfo requestedVersion(const Element& spec) {
    if (!spec.hasAttribute(strategyFormat::kVersion) || !spec.hasAttribute(strategyFormat::kMinor))
        return {};
    return {static_cast<std::int32_t>(xpreport::numberOf(spec, strategyFormat::kVersion)),
            static_cast<std::int32_t>(xpreport::numberOf(spec, strategyFormat::kMinor))};
}

/// Reads the reports of one strategy.
class SpecReader {
public:
    /// `hasDropped` becomes true when something is left out.
    SpecReader(const std::string& strategyName, bool& hasDropped)
        : m_strategyName(strategyName), m_hasDropped(hasDropped) {}

    /// The report that the element names; null, with a message, when the
    /// catalogue lacks it.
    std::unique_ptr<HAXRReportSpec> read(const Element& element) const {
        const std::string& name = element.attribute(strategyFormat::kName);
        const std::string& shownName = element.attribute(strategyFormat::kDisplayName);
        const VersionInfo version = requestedVersion(element);
        const HAXRReportSpec* const catalogued =
            HAXRReportSpecMgr::getGlobal()->find(name, version);
        if (catalogued == nullptr) {
            m_hasDropped = true;
            ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "runs", ComMsgMgr::kWarning,
                                     "@36-389@%s%s%d%d", m_strategyName, name, version.major,
                                     version.minor);
            return nullptr;
        }
        auto spec = std::make_unique<HAXRReportSpec>(name, HAXRTypes::getReportType(name),
                                                     catalogued->getShortDescription(), nullptr,
                                                     version, shownName.empty() ? name : shownName);
        spec->setOptions(reportConfigUtil::getOptGroupCopy(catalogued->getOptions(), name, false));
        for (const Element& option : element.children())
            readOption_(option, *spec);
        spec->setOutputOptions(
            reportConfigUtil::getOptGroupCopy(catalogued->getOutputOptions(), name, true));
        return spec;
    }

private:
    void readOption_(const Element& element, const HAXRReportSpec& spec) const {
        const std::string& name = element.attribute(strategyFormat::kOptionName);
        HATOptGroup* const group = spec.getOptions();
        const HATAttrSpec* const attr = group == nullptr ? nullptr : group->getAttrSpecByName(name);
        if (attr != nullptr) {
            setValue_(*group, *attr, element.attribute(strategyFormat::kOptionValue));
            return;
        }
        m_hasDropped = true;
        const VersionInfo& version = spec.getVersion();
        ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "runs", ComMsgMgr::kWarning,
                                 "@36-388@%s%s%s%d%d", m_strategyName, name, spec.getName(),
                                 version.major, version.minor);
    }

    void setValue_(HATOptGroup& group, const HATAttrSpec& attr, const std::string& text) const {
        switch (attr.getAttrType()) {
        case HATAttrTypes::kBool:
            group.setBoolVal(&attr, text == "1" || HSTStringUtils::iequals(text, "true"), true);
            break;
        case HATAttrTypes::kInt:
            setNumber_(group, attr, text);
            break;
        default:
            group.setStrVal(&attr, text, true);
        }
    }

    void setNumber_(HATOptGroup& group, const HATAttrSpec& attr, const std::string& text) const {
        int number = 0;
        if (!text.empty() && HUTConvert::stringToInteger(text, number)) {
            group.setIntVal(&attr, number, true);
            return;
        }
        m_hasDropped = true;
        ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "runs", ComMsgMgr::kWarning, "@36-393@%s%s",
                                 m_strategyName, attr.getName());
    }

    const std::string& m_strategyName;
    bool& m_hasDropped;
};

}  // namespace

HAXRReportStrategyXMLParser1::HAXRReportStrategyXMLParser1() = default;

HAXRReportStrategyXMLParser1::~HAXRReportStrategyXMLParser1() {
    for (std::size_t i = m_handedOver; i < m_strategies.size(); ++i)
        xperiment::DeleteReportStrategy()(m_strategies[i]);
}

void HAXRReportStrategyXMLParser1::parseStrategies(const std::string& path) {
    m_line = 0;
    const Document document = readDocument(path);
    for (const Element& element : document.root().children()) {
        if (element.name() == strategyFormat::kTool)
            parseToolVersion_(path, element);
        else
            parseReportStrategy_(element);
    }
}

HSTFwdIter<HAXRReportStrategy*>* HAXRReportStrategyXMLParser1::createStrategyIter() {
    auto* const strategies = containers::heapIterOfCopy<HAXRReportStrategy*>(m_strategies);
    m_handedOver = m_strategies.size();
    return strategies;
}

bool HAXRReportStrategyXMLParser1::needsBackup() const {
    return m_isOtherVersion || m_hasDropped || m_strategies.size() > 1;
}

std::string HAXRReportStrategyXMLParser1::getWriterVersion() const {
    return m_writerVersion.empty() ? "unknown" : m_writerVersion;
}

void HAXRReportStrategyXMLParser1::parseToolVersion_(const std::string& path, const Element& tool) {
    m_line = tool.line();
    const std::unique_ptr<ToolVersion> own = ownVersion();
    const std::string& majorText = tool.attribute(strategyFormat::kToolMajor);
    const std::string& minorText = tool.attribute(strategyFormat::kMinor);
    const ToolVersion theirs(majorText, minorText);
    m_writerVersion =
        std::to_string(theirs.numbers.first) + "." + std::to_string(theirs.numbers.second);
    m_isOtherVersion = own != nullptr && theirs.numbers != own->numbers;
    if (own == nullptr || theirs.numbers <= own->numbers)
        return;
    ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "runs", ComMsgMgr::kWarning, "@36-548@%s%s%s",
                             path, majorText + "." + minorText,
                             HUTEnv::getProductMajorMinorVersion());
}

void HAXRReportStrategyXMLParser1::parseReportStrategy_(const Element& strategy) {
    m_line = strategy.line();
    const Element& handle = *strategy.child(strategyFormat::kHandle);
    const std::string& name = handle.attribute(strategyFormat::kName);
    const std::string& flowId = handle.attribute(strategyFormat::kFlow);
    if (flowId.empty()) {
        m_hasDropped = true;
        std::cerr << "ERROR: FlowId is not given in report strategy " << name << std::endl;
        return;
    }
    const HAXPFlow* const flow = HAXPMgr::getGlobal()->getFlowById(flowId);
    if (flow == nullptr) {
        m_hasDropped = true;
        std::cerr << "ERROR: FlowId is not valid in report strategy " << name << std::endl;
        return;
    }
    xperiment::OwnedReportStrategy filled(new HAXRReportStrategy(flow));
    filled->setName(name);
    filled->setDescription(handle.child(strategyFormat::kDesc)->text());
    m_current = filled.get();
    for (const Element& element : strategy.children()) {
        if (element.name() == strategyFormat::kStep)
            parseStep_(element, name);
    }
    m_strategies.push_back(filled.get());
    static_cast<void>(filled.release());
}

void HAXRReportStrategyXMLParser1::parseStep_(const Element& step,
                                              const std::string& strategyName) {
    const SpecReader reader(strategyName, m_hasDropped);
    for (const Element& element : step.children()) {
        m_line = element.line();
        std::unique_ptr<HAXRReportSpec> spec = reader.read(element);
        if (spec == nullptr)
            continue;
        m_current->addSpec(step.attribute(strategyFormat::kStepId), spec.get(), true);
        static_cast<void>(spec.release());
    }
}
