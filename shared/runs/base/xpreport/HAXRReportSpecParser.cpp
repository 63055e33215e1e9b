// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xpreport/HAXRReportSpecParser.h"

#include <cstdint>
#include <memory>
#include <utility>

#include "environment/errors/HEXFileNotFoundException.h"
#include "environment/files/HUTFile.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/messages/ComMsgMgrInstance.h"
#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATOptGroup.h"
#include "environment/options/HATOptGroupSpec.h"
#include "environment/strings/HSTStringUtils.h"
#include "environment/strings/HUTConvert.h"
#include "environment/xml/HXMLReadException.h"
#include "environment/xml/xmlDocument.h"
#include "runs/base/xpreport/HAXRReportSpec.h"
#include "runs/base/xpreport/HAXRReportSpecMgr.h"
#include "runs/base/xpreport/catalogueFormat.h"

namespace {

namespace catalogueFormat = xpreport::catalogue;

using xml::Document;
using xml::Element;

std::unique_ptr<HATAttrSpec> makeBareAttr(HATAttrTypes::AttrType type) {
    return std::make_unique<HATAttrSpec>(type, HATAttrSpec::kOption);
}

std::unique_ptr<HATAttrSpec> makeText(const std::string& defaultValue) {
    auto attr = makeBareAttr(HATAttrTypes::kString);
    attr->setStringDefault(defaultValue);
    return attr;
}

std::unique_ptr<HATAttrSpec> makeBool(const std::string& defaultValue) {
    auto attr = makeBareAttr(HATAttrTypes::kBool);
    attr->setBoolDefault(defaultValue == "1" || HSTStringUtils::iequals(defaultValue, "true"));
    return attr;
}

/// Without a default a number is held as text: nothing of it goes on a command
/// then, where a number always would.
std::unique_ptr<HATAttrSpec> makeInt(const std::string& name, const std::string& defaultValue) {
    if (defaultValue.empty())
        return makeText("");
    int number = 0;
    if (!HUTConvert::stringToInteger(defaultValue, number)) {
        ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "runs", ComMsgMgr::kWarning,
                                 "@36-394@%s%s%s", "report.xml", defaultValue, name);
        return nullptr;
    }
    auto attr = makeBareAttr(HATAttrTypes::kInt);
    attr->setIntDefault(number);
    return attr;
}

/// The option that the element declares; null when it is dropped.
std::unique_ptr<HATAttrSpec> makeOption(const Element& option) {
    const std::string& type = option.attribute(catalogueFormat::kType);
    const std::string& defaultValue = option.attribute(catalogueFormat::kDefault);
    if (HSTStringUtils::iequals(type, "bool"))
        return makeBool(defaultValue);
    if (HSTStringUtils::iequals(type, "int"))
        return makeInt(option.attribute(catalogueFormat::kName), defaultValue);
    if (HSTStringUtils::iequals(type, "string"))
        return makeText(defaultValue);
    return nullptr;
}

std::unique_ptr<HATAttrSpec> makeOutputOption(const Element& option) {
    if (!HSTStringUtils::iequals(option.attribute(catalogueFormat::kType), "string"))
        return nullptr;
    auto attr = makeText(option.attribute(catalogueFormat::kDefault));
    attr->setReadOnly(true);
    return attr;
}

std::unique_ptr<HATOptGroupSpec> makeGroupSpec(const std::string& reportName) {
    auto group = std::make_unique<HATOptGroupSpec>();
    group->setOptGrpId("OPTIONS");
    group->setOptGrpPrettyDisplayName(reportName);
    return group;
}

void registerOption(HATOptGroupSpec& group, std::unique_ptr<HATAttrSpec> attr,
                    const std::string& name) {
    if (attr == nullptr)
        return;
    attr->setName(name);
    group.registerAttrSpec(attr.get(), name, "");
    static_cast<void>(attr.release());
}

std::unique_ptr<HATOptGroup> makeOptions(const Element& report) {
    auto group = makeGroupSpec(report.attribute(catalogueFormat::kName));
    if (const Element* const options = report.child(catalogueFormat::kOptions)) {
        for (const Element& option : options->children())
            registerOption(*group, makeOption(option), option.attribute(catalogueFormat::kName));
    }
    auto moreOptions = makeText("");
    moreOptions->setDescription("Use this field to specify additional options");
    registerOption(*group, std::move(moreOptions), "MORE_OPTIONS");
    return std::make_unique<HATOptGroup>(std::move(group));
}

/// Null for a report that has none.
std::unique_ptr<HATOptGroup> makeOutputOptions(const Element& report) {
    const Element* const options = report.child(catalogueFormat::kOutputOptions);
    if (options == nullptr)
        return nullptr;
    auto group = makeGroupSpec(report.attribute(catalogueFormat::kName));
    for (const Element& option : options->children())
        registerOption(*group, makeOutputOption(option), option.attribute(catalogueFormat::kName));
    return std::make_unique<HATOptGroup>(std::move(group));
}

VersionInfo cataloguedVersion(const Element& report) {
    return {static_cast<std::int32_t>(xpreport::numberOf(report, catalogueFormat::kVersion)),
            static_cast<std::int32_t>(xpreport::numberOf(report, catalogueFormat::kMinor))};
}

std::unique_ptr<HAXRReportSpec> makeSpec(const Element& report, const VersionInfo& version) {
    const std::string& name = report.attribute(catalogueFormat::kName);
    const std::string& shownName = report.attribute(catalogueFormat::kDisplayName);
    std::unique_ptr<HATOptGroup> options = makeOptions(report);
    std::unique_ptr<HATOptGroup> outputOptions = makeOutputOptions(report);
    auto spec = std::make_unique<HAXRReportSpec>(
        name, HAXRTypes::getReportType(name), report.attribute(catalogueFormat::kShortDescription),
        nullptr, version, shownName.empty() ? name : shownName);
    spec->setOptions(options.release());
    spec->setOutputOptions(outputOptions.release());
    return spec;
}

void catalogueReport(HAXRReportSpecMgr& mgr, const Element& report) {
    const std::string& name = report.attribute(catalogueFormat::kName);
    const VersionInfo version = cataloguedVersion(report);
    if (mgr.find(name, version) != nullptr) {
        ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "runs", ComMsgMgr::kWarning,
                                 "@36-390@%s%d%d", name, version.major, version.minor);
        return;
    }
    mgr.addReportSpec(makeSpec(report, version).release());
}

/// Whether the document is a report catalogue; a message says why it isn't.
bool isCatalogue(const Document& document) {
    try {
        xpreport::checkDocument(document, catalogueFormat::rules());
        return true;
    } catch (const HXMLReadException& fault) {
        ComMsgMgr::send(ComMsgMgrInstance::createInstance::eval("runs", ComMsgMgr::kError,
                                                                "@36-367@%s", fault.what()),
                        0, __FILE__, __LINE__);
        return false;
    }
}

}  // namespace

HAXRReportSpecParser::HAXRReportSpecParser(HAXRReportSpecMgr* mgr, const std::string& path)
    : m_mgr(mgr), m_path(path) {
    if (!HUTFile::exists(path))
        throw HEXFileNotFoundException(path);
}

void HAXRReportSpecParser::parseReportSpecs() const {
    try {
        const Document document = Document::fromFile(m_path);
        if (!isCatalogue(document))
            return;
        for (const Element& report : document.root().children())
            catalogueReport(*m_mgr, report);
    } catch (const HXMLReadException& error) {
        xpreport::failRead(m_path, error.getLine(), error.getReason());
    } catch (const std::exception& error) {
        xpreport::failRead(m_path, 0, error.what());
    }
}
