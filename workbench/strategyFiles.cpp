// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/strategyFiles.h"

#include <cstddef>
#include <set>

#include "environment/containers/HSTFwdIter.h"
#include "environment/containers/HSTKeyValIter.h"
#include "environment/errors/HEXUserException.h"
#include "environment/files/HUTFileUtils.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/messages/ComMsgMgrInstance.h"
#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATOptGroup.h"
#include "environment/options/HATOptGroupSpec.h"
#include "environment/strings/HUTConvert.h"
#include "environment/xml/HXMLReadException.h"
#include "environment/xml/xmlDocument.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HAXPMgr.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xpreport/HAXRReportSpec.h"
#include "runs/base/xpreport/HAXRReportSpecMgr.h"
#include "runs/base/xpreport/HAXRReportStrategy.h"
#include "runs/base/xpreport/HAXRReportStrategyXMLParser1.h"
#include "runs/base/xpreport/HAXRReportStrategyXMLWriter1.h"
#include "runs/base/xpreport/VersionInfo.h"
#include "runs/base/xpstratxio/HAXSStrategyXMLParser.h"
#include "runs/base/xpstratxio/HAXSStrategyXMLWriter.h"
#include "workbench/entryRules.h"
#include "workbench/printable.h"

namespace workbench {

namespace {

std::string quoted(const std::string& text) {
    return "\"" + printable(text) + "\"";
}

[[noreturn]] void refuseFile(const std::string& path, int line, const std::string& reason) {
    std::string place = printable(path);
    if (line > 0)
        place += ", line " + std::to_string(line);
    throw HEXUserException(
        ComMsgMgrInstance("workbench", ComMsgMgr::kError, "@60-65@%s%s", place, reason));
}

[[noreturn]] void failToReplace(const std::string& path) {
    throw HEXUserException(
        ComMsgMgrInstance("workbench", ComMsgMgr::kError, "@60-66@%s", printable(path)));
}

void requireNumber(const xml::Document& document, const xml::Element& element, const char* name) {
    int number = 0;
    if (!HUTConvert::stringToInteger(element.attribute(name), number))
        document.refuse(element, std::string("the attribute ") + name + " is no whole number");
}

/// What a value in a file must be, beside what a script can carry.
bool isValue(const HATAttrSpec& spec, const std::string& text) {
    int number = 0;
    switch (spec.getAttrType()) {
    case HATAttrTypes::kBool:
        return text == "0" || text == "1" || text == "true" || text == "false";
    case HATAttrTypes::kInt:
        return HUTConvert::stringToInteger(text, number);
    case HATAttrTypes::kEnum:
        return spec.getEnumRangeForId(text) != nullptr;
    default:
        return true;
    }
}

/// `requireText` says what a script can carry.
void checkValue(const xml::Document& document, const xml::Element& element, const HATAttrSpec& spec,
                const std::string& text,
                void (*requireText)(const std::string&, const std::string&) = requireOptionText) {
    if (!isValue(spec, text))
        document.refuse(element, quoted(text) + " is no value of the option " + spec.getName());
    try {
        requireText(spec.getName(), text);
    } catch (const HEXUserException& error) {
        document.refuse(element, error.what());
    }
}

void checkAttributes(const xml::Document& document, const xml::Element& element,
                     const HAXPFlowStep& step) {
    const auto& attributes = element.attributes();
    for (std::size_t i = 0; i < attributes.getLength(); ++i) {
        const std::string& name = attributes.getName(i);
        if (name == "Id")
            continue;
        const HATAttrSpec* spec = step.getAttrsSpec()->getAttrSpecForDbId(name);
        if (spec == nullptr || spec->getAttrType() == HATAttrTypes::kStringList)
            document.refuse(element, "the step " + step.getFlowStepId() + " has no attribute " +
                                         quoted(name));
        const std::string& text = attributes.getValue(i);
        // Here a reader takes words for 0.
        if (spec->getAttrType() == HATAttrTypes::kBool && text != "0" && text != "1")
            document.refuse(element, "the attribute " + name + " is neither 0 nor 1");
        checkValue(document, element, *spec, text);
    }
}

void checkOption(const xml::Document& document, const xml::Element& element,
                 const HAXPFlowStep& step) {
    if (element.name() != "Option")
        document.refuse(element, "an element " + quoted(element.name()) + " isn't known here");
    const std::string& id = element.attribute("Id");
    const HATAttrSpec* spec = step.getOptionsSpec()->getAttrSpecForDbId(id);
    if (spec == nullptr)
        document.refuse(element,
                        "the step " + step.getFlowStepId() + " has no option " + quoted(id));
    if (spec->getAttrType() == HATAttrTypes::kStringList) {
        for (const xml::Element& item : element.children())
            checkValue(document, item, *spec, item.attribute("Value"));
        return;
    }
    if (!element.hasAttribute("Value"))
        document.refuse(element, "the option " + spec->getName() + " has no value");
    checkValue(document, element, *spec, element.attribute("Value"));
}

const HAXPFlowStep* findDefaultStep(const HAXPFlow& flow, const std::string& id) {
    const std::unique_ptr<HSTFwdIter<HAXPFlowStep*>> steps(flow.createDefaultFlowStepIter());
    while (steps->hasNext()) {
        const HAXPFlowStep* step = steps->next();
        if (step->getFlowStepId() == id)
            return step;
    }
    return nullptr;
}

void checkStep(const xml::Document& document, const xml::Element& element, const HAXPFlow& flow,
               std::set<std::string>& seen) {
    const std::string& id = element.attribute("Id");
    const HAXPFlowStep* step = findDefaultStep(flow, id);
    if (step == nullptr)
        document.refuse(element, "the flow " + flow.getFlowId() + " has no step " + quoted(id));
    if (!seen.insert(id).second)
        document.refuse(element, "the step " + id + " stands there twice");
    checkAttributes(document, element, *step);
    for (const xml::Element& option : element.children())
        checkOption(document, option, *step);
}

/// The flow that the handle names.
const HAXPFlow& checkHandle(const xml::Document& document, const xml::Element& handle) {
    const std::string& id = handle.attribute("Flow");
    const HAXPFlow* flow = HAXPMgr::getGlobal()->getFlowById(id);
    if (flow == nullptr)
        document.refuse(handle, "there is no flow " + quoted(id));
    if (handle.attribute("Name").empty())
        document.refuse(handle, "the strategy has no name");
    return *flow;
}

void checkStrategy(const xml::Document& document) {
    const xml::Element& root = document.root();
    if (root.name() != "Strategy")
        document.refuse(root, "this is no strategy file: its root is " + quoted(root.name()));
    if (root.attribute("Version") != "1")
        document.refuse(root, "the format has version " + quoted(root.attribute("Version")) +
                                  ", and version 1 can be read");
    const HAXPFlow* flow = nullptr;
    std::set<std::string> seen;
    for (const xml::Element& child : root.children()) {
        if (child.name() == "Tool") {
            requireNumber(document, child, "Major");
            requireNumber(document, child, "Minor");
        } else if (child.name() == "StratHandle" && flow == nullptr) {
            flow = &checkHandle(document, child);
        } else if (child.name() == "Step" && flow != nullptr) {
            checkStep(document, child, *flow, seen);
        } else {
            document.refuse(child, "an element " + quoted(child.name()) + " doesn't belong here");
        }
    }
    if (flow == nullptr)
        document.refuse(root, "there is no StratHandle");
}

/// The report of the catalogue that a "Spec" means.
const HAXRReportSpec& checkSpec(const xml::Document& document, const xml::Element& element) {
    const std::string& name = element.attribute("Name");
    VersionInfo version;
    if (element.hasAttribute("Version") && element.hasAttribute("Minor")) {
        requireNumber(document, element, "Version");
        requireNumber(document, element, "Minor");
        HUTConvert::stringToInteger(element.attribute("Version"), version.major);
        HUTConvert::stringToInteger(element.attribute("Minor"), version.minor);
    }
    const std::unique_ptr<HSTKeyValIter<std::string, HAXRReportSpec*>> reports(
        HAXRReportSpecMgr::getGlobal()->createReportSpecIterator());
    while (reports->hasNext()) {
        const auto entry = reports->next();
        if (entry.first != name)
            continue;
        const HAXRReportSpec* spec =
            version.isLatest() ? entry.second : HAXRReportSpecMgr::getGlobal()->find(name, version);
        if (spec == nullptr)
            document.refuse(element, "the report " + name + " has no version " +
                                         element.attribute("Version") + "." +
                                         element.attribute("Minor"));
        return *spec;
    }
    document.refuse(element, "there is no report " + quoted(name));
}

void checkReportOption(const xml::Document& document, const xml::Element& element,
                       const HAXRReportSpec& report) {
    if (element.name() != "Option")
        document.refuse(element, "an element " + quoted(element.name()) + " isn't known here");
    const std::string& name = element.attribute("name");
    const HATOptGroup* options = report.getOptions();
    const HATAttrSpec* spec = options == nullptr ? nullptr : options->getAttrSpecByName(name);
    if (spec == nullptr)
        document.refuse(element,
                        "the report " + report.getName() + " has no option " + quoted(name));
    checkValue(document, element, *spec, element.attribute("def_value"), requireReportOption);
}

void checkReports(const xml::Document& document, const xml::Element& element,
                  const HAXPFlow& flow) {
    const std::string& id = element.attribute("Id");
    if (element.name() != "Step")
        document.refuse(element, "an element " + quoted(element.name()) + " doesn't belong here");
    if (flow.getFlowStepForFSId(id) == nullptr)
        document.refuse(element, "the flow " + flow.getFlowId() + " has no step " + quoted(id));
    for (const xml::Element& child : element.children()) {
        if (child.name() != "Spec")
            document.refuse(child, "an element " + quoted(child.name()) + " doesn't belong here");
        const HAXRReportSpec& report = checkSpec(document, child);
        for (const xml::Element& option : child.children())
            checkReportOption(document, option, report);
    }
}

void checkReportStrategy(const xml::Document& document, const xml::Element& element) {
    const xml::Element* handle = element.child("ReportStratHandle");
    if (handle == nullptr)
        document.refuse(element, "there is no ReportStratHandle");
    const HAXPFlow& flow = checkHandle(document, *handle);
    if (handle->child("Desc") == nullptr)
        document.refuse(*handle, "there is no Desc");
    for (const xml::Element& child : element.children()) {
        if (&child != handle)
            checkReports(document, child, flow);
    }
}

void checkReportStrategies(const xml::Document& document) {
    const xml::Element& root = document.root();
    if (root.name() != "ReportStrategies")
        document.refuse(root,
                        "this is no report strategy file: its root is " + quoted(root.name()));
    for (const xml::Element& child : root.children()) {
        if (child.name() == "Tool") {
            requireNumber(document, child, "Major");
            requireNumber(document, child, "Minor");
        } else if (child.name() == "ReportStrategy") {
            checkReportStrategy(document, child);
        } else {
            document.refuse(child, "an element " + quoted(child.name()) + " doesn't belong here");
        }
    }
    if (root.child("ReportStrategy") == nullptr)
        document.refuse(root, "there is no report strategy in it");
}

}  // namespace

void DestroyReportStrategy::operator()(HAXRReportStrategy* strategy) const {
    strategy->nukeSteps();
    delete strategy;
}

std::vector<std::unique_ptr<HAXPStrategy>> readStrategyFile(const std::string& path) {
    try {
        checkStrategy(xml::Document::fromFile(path));
    } catch (const HXMLReadException& error) {
        refuseFile(error.getFileName(), error.getLine(), error.getReason());
    }
    HAXSStrategyXMLParser parser;
    const bool isRead = parser.parseStrategies(path);
    std::vector<std::unique_ptr<HAXPStrategy>> strategies;
    const std::unique_ptr<HSTFwdIter<HAXPStrategy*>> finished(parser.createStrategyIter());
    while (finished->hasNext())
        strategies.emplace_back(finished->next());
    if (!isRead || strategies.size() != 1 || parser.hasDropped())
        refuseFile(path, 0, "not all of the file could be read");
    return strategies;
}

std::vector<OwnedReportStrategy> readReportStrategyFile(const std::string& path) {
    try {
        checkReportStrategies(xml::Document::fromFile(path));
    } catch (const HXMLReadException& error) {
        refuseFile(error.getFileName(), error.getLine(), error.getReason());
    }
    HAXRReportStrategyXMLParser1 parser;
    parser.parseStrategies(path);
    std::vector<OwnedReportStrategy> strategies;
    const std::unique_ptr<HSTFwdIter<HAXRReportStrategy*>> read(parser.createStrategyIter());
    while (read->hasNext())
        strategies.emplace_back(read->next());
    return strategies;
}

void writeStrategyFile(HAXPStrategy& strategy, const std::string& path, bool replace) {
    std::string full = path;
    HUTFileUtils::makeAbsolutePath(full);
    HAXSStrategyXMLWriter writer(full);
    if (replace)
        writer.writeStrategy(&strategy);
    else if (!writer.writeNewStrategy(&strategy))
        failToReplace(full);
}

void writeReportStrategyFile(HAXRReportStrategy& strategy, const std::string& path, bool replace) {
    std::string full = path;
    HUTFileUtils::makeAbsolutePath(full);
    HAXRReportStrategyXMLWriter1 writer(full);
    if (replace)
        writer.writeReportStrategy(&strategy);
    else if (!writer.writeNewReportStrategy(&strategy))
        failToReplace(full);
}

}  // namespace workbench
