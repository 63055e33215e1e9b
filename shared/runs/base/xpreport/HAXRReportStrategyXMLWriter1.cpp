// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xpreport/HAXRReportStrategyXMLWriter1.h"

#include <memory>

#include "environment/containers/HSTFwdIter.h"
#include "environment/errors/HEXAlgException.h"
#include "environment/errors/HXMLException.h"
#include "environment/installation/HUTEnv.h"
#include "environment/messages/ComMsgMgrInstance.h"
#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATOptGroup.h"
#include "environment/params/HPAParamMgr.h"
#include "environment/xml/HXMLWriterBase.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xpreport/HAXRReportSpec.h"
#include "runs/base/xpreport/HAXRReportStrategy.h"
#include "runs/base/xpreport/strategyFormat.h"

namespace {

namespace strategyFormat = xpreport::strategy;

/// A version number as the file keeps it, in one byte.
std::string byteOf(std::int32_t number) {
    return std::to_string(static_cast<int>(static_cast<signed char>(number)));
}

/// Whether the option has another value than its default; `text` is the value.
bool differsFromDefault(const HATOptGroup& group, const HATAttrSpec& option, std::string& text) {
    switch (option.getAttrType()) {
    case HATAttrTypes::kBool:
        text = group.getBoolVal(&option) ? "true" : "false";
        return group.getBoolVal(&option) != option.getBoolDefault();
    case HATAttrTypes::kInt:
        text = std::to_string(group.getIntVal(&option));
        return group.getIntVal(&option) != option.getIntDefault();
    default:
        text = group.getStrVal(&option);
        return text != option.getStringDefault();
    }
}

}  // namespace

HAXRReportStrategyXMLWriter1::HAXRReportStrategyXMLWriter1(const std::string& path)
    : m_path(path) {}

HAXRReportStrategyXMLWriter1::~HAXRReportStrategyXMLWriter1() = default;

void HAXRReportStrategyXMLWriter1::writeReportStrategy(HAXRReportStrategy* strategy) {
    writeFile_(strategy, false);
}

bool HAXRReportStrategyXMLWriter1::writeNewReportStrategy(HAXRReportStrategy* strategy) {
    return writeFile_(strategy, true);
}

bool HAXRReportStrategyXMLWriter1::writeFile_(HAXRReportStrategy* strategy, bool asNew) {
    if (strategy == nullptr || strategy->getFlow() == nullptr)
        throw HEXAlgException("a report strategy without a flow can't be written");
    try {
        HXMLWriterBase writer(m_path);
        writer.addAttr(strategyFormat::kVersion, std::to_string(strategyFormat::kFormatVersion));
        writer.addAttr(strategyFormat::kMinor, std::to_string(strategyFormat::kFormatMinor));
        writer.wrStartTag(strategyFormat::kReportStrategies);
        writer.addAttr(strategyFormat::kToolMajor, HUTEnv::getMajor());
        writer.addAttr(strategyFormat::kMinor, HUTEnv::getMinor());
        writer.wrEmptyTag(strategyFormat::kTool);
        writeReportStrategy_(writer, *strategy);
        writer.wrEndTag(strategyFormat::kReportStrategies);
        if (asNew)
            return writer.closeNewDoc();
        writer.closeDoc();
        return true;
    } catch (const std::exception& error) {
        throw HXMLException(
            ComMsgMgrInstance("project", ComMsgMgr::kError, "@1-508@%s%s", m_path, error.what()));
    }
}

void HAXRReportStrategyXMLWriter1::writeReportStrategy_(HXMLWriterBase& writer,
                                                        const HAXRReportStrategy& strategy) const {
    writer.wrStartTag(strategyFormat::kReportStrategy);
    if (!strategy.getName().empty())
        writer.addAttr(strategyFormat::kName, strategy.getName());
    writer.addAttr(strategyFormat::kFlow, strategy.getFlow()->getFlowId());
    writer.wrStartTag(strategyFormat::kHandle);
    writer.wrStartTag(strategyFormat::kDesc);
    if (!strategy.getDescription().empty())
        writer.wrString(strategy.getDescription());
    writer.wrEndTag(strategyFormat::kDesc);
    writer.wrEndTag(strategyFormat::kHandle);
    const std::unique_ptr<HSTFwdIter<std::string>> stepIds(strategy.createFlowStepIter());
    while (stepIds->hasNext()) {
        const std::string stepId = stepIds->next();
        const std::unique_ptr<HSTFwdIter<HAXRReportSpec*>> specs(
            strategy.createReportSpecIter(stepId));
        // A step that was removed stays in the list without an entry.
        if (stepId.empty() || specs == nullptr)
            continue;
        writer.addAttr(strategyFormat::kStepId, stepId);
        writer.wrStartTag(strategyFormat::kStep);
        while (specs->hasNext())
            writeSpec_(writer, *specs->next());
        writer.wrEndTag(strategyFormat::kStep);
    }
    writer.wrEndTag(strategyFormat::kReportStrategy);
}

void HAXRReportStrategyXMLWriter1::writeSpec_(HXMLWriterBase& writer,
                                              const HAXRReportSpec& spec) const {
    writer.addAttr(strategyFormat::kName, spec.getName());
    const HPAParamMgr& params = *HPAParamMgr::getParamMgr();
    if (params.getValueIfExistAsBool("runs.enableReportDisplayName", false)) {
        const std::string& shownName = spec.getDisplayName();
        writer.addAttr(strategyFormat::kDisplayName,
                       shownName.empty() ? spec.getName() : shownName);
    }
    writer.addAttr(strategyFormat::kVersion, byteOf(spec.getVersion().major));
    writer.addAttr(strategyFormat::kMinor, byteOf(spec.getVersion().minor));
    writer.wrStartTag(strategyFormat::kSpec);
    const std::unique_ptr<HSTFwdIter<HATAttrSpec*>> options(spec.createReportOptionsIter());
    while (options != nullptr && options->hasNext())
        writeOption_(writer, *spec.getOptions(), *options->next());
    writer.wrEndTag(strategyFormat::kSpec);
}

void HAXRReportStrategyXMLWriter1::writeOption_(HXMLWriterBase& writer, const HATOptGroup& group,
                                                const HATAttrSpec& option) const {
    std::string text;
    if (!differsFromDefault(group, option, text))
        return;
    writer.addAttr(strategyFormat::kOptionName, option.getName());
    writer.addAttr(strategyFormat::kOptionValue, text);
    writer.wrEmptyTag(strategyFormat::kOption);
}
