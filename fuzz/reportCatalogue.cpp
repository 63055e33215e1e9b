// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors

// A report catalogue: it is read, in part or not at all, and every report of it can be
// copied and has its last option.
#include <memory>

#include "environment/containers/HSTKeyValIter.h"
#include "environment/errors/HXMLException.h"
#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATOptGroup.h"
#include "environment/options/HATOptGroupSpec.h"
#include "fuzz/fuzzSupport.h"
#include "runs/base/xpreport/HAXRReportSpec.h"
#include "runs/base/xpreport/HAXRReportSpecMgr.h"
#include "runs/base/xpreport/HAXRReportSpecParser.h"

namespace {

void readCatalogue(HAXRReportSpecMgr& catalogue, const std::string& path) {
    try {
        HAXRReportSpecParser(&catalogue, path).parseReportSpecs();
    } catch (const HXMLException&) {
        // What was read before the fault stays.
    }
    catalogue.populateLatestSpecs();
}

std::string valueOf(const HATOptGroup& group, const HATAttrSpec& option) {
    switch (option.getAttrType()) {
    case HATAttrTypes::kBool:
        return group.getBoolVal(&option) ? "true" : "false";
    case HATAttrTypes::kInt:
        return std::to_string(group.getIntVal(&option));
    default:
        return group.getStrVal(&option);
    }
}

/// Names and values of the options, in order.
std::string contentOf(const HAXRReportSpec& report) {
    std::string text;
    const HATOptGroup& group = *report.getOptions();
    for (const auto& option : group.getOptionsSpec()->getAttrSpecs())
        text += option->getName() + "=" + valueOf(group, *option) + "\n";
    return text;
}

void checkReport(const HAXRReportSpecMgr& catalogue, const std::string& name,
                 const HAXRReportSpec& report) {
    fuzz::require(catalogue.find(name) == &report, "a report is found by its name");
    const auto& options = report.getOptions()->getOptionsSpec()->getAttrSpecs();
    fuzz::require(!options.empty() && options.back()->getName() == "MORE_OPTIONS",
                  "a report has the option for further ones, as its last");
    const std::unique_ptr<HAXRReportSpec> copy(catalogue.getReportSpec(name));
    fuzz::require(copy != nullptr && contentOf(*copy) == contentOf(report),
                  "a copy of a report is equal");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    HAXRReportSpecMgr catalogue;
    readCatalogue(catalogue, fuzz::scratch().write("report.xml", data, size));
    const std::unique_ptr<HSTKeyValIter<std::string, HAXRReportSpec*>> reports(
        catalogue.createReportSpecIterator());
    while (reports->hasNext()) {
        const auto entry = reports->next();
        checkReport(catalogue, entry.first, *entry.second);
    }
    return 0;
}
