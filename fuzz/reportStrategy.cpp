// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors

// A report strategy file in a user's directory, against a small report catalogue: what is
// restored has a flow, and is the same when it is saved and read again.
#include <memory>
#include <vector>

#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATOptGroup.h"
#include "fuzz/fuzzSupport.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPStrategyMgr.h"
#include "runs/base/xpreport/HAXRReportSpec.h"
#include "runs/base/xpreport/HAXRReportSpecMgr.h"
#include "runs/base/xpreport/HAXRReportStrategy.h"
#include "runs/base/xpreport/HAXRReportStrategyXMLParser1.h"
#include "runs/base/xpreport/HAXRReportStrategyXMLWriter1.h"
#include "tests/support/CatalogueFlow.h"
#include "tests/support/TestInstallation.h"
#include "tests/support/drain.h"

namespace {

struct DeleteStrategy {
    void operator()(HAXRReportStrategy* strategy) const {
        strategy->nukeSteps();
        delete strategy;
    }
};
using OwnedStrategy = std::unique_ptr<HAXRReportStrategy, DeleteStrategy>;

const char kCatalogue[] =
    "<Reports>"
    "<ReportSpec name=\"report_io\" short_description=\"Pins\" Version=\"1\" Minor=\"0\">"
    "<Options><Option name=\"on\" type=\"bool\" def_value=\"true\"/>"
    "<Option name=\"count\" type=\"int\" def_value=\"3\"/>"
    "<Option name=\"pins\" type=\"string\" def_value=\"abc\"/></Options>"
    "<OutputOptions><OutputOption name=\"file\" type=\"string\" def_value=\"io.rpt\"/>"
    "</OutputOptions></ReportSpec>"
    "<ReportSpec name=\"report_io\" short_description=\"Pins\" Version=\"1\" Minor=\"2\"/>"
    "<ReportSpec name=\"report_drc\" short_description=\"Rules\" Version=\"2\" Minor=\"0\"/>"
    "</Reports>";

/// What all inputs share: an installation with its report catalogue, and a flow.
struct Setting {
    Setting() {
        installation.addFile("reportstrategies/report.xml", kCatalogue);
        HAXRReportSpecMgr::getGlobal()->parseReportSpecs();
    }

    test::TestInstallation installation;
    const HAXPFlow* flow = test::catalogueFlow();
    std::string folder = fuzz::scratch().folder("reportstrategies");
};

const Setting& setting() {
    static const Setting setting;
    return setting;
}

std::vector<OwnedStrategy> restored() {
    HAXPStrategyMgr manager;
    manager.restoreReportStrategies(setting().folder, "psg", false);
    std::vector<OwnedStrategy> strategies;
    for (HAXRReportStrategy* strategy :
         test::drain(manager.createReportStrategyIter(setting().flow)))
        strategies.emplace_back(strategy);
    return strategies;
}

std::string contentOf(const HAXRReportSpec& report) {
    std::string text = report.getName() + " " + std::to_string(report.getVersion().major) + "." +
                       std::to_string(report.getVersion().minor) + "\n";
    for (const HATAttrSpec* option : test::drain(report.createReportOptionsIter()))
        text +=
            option->getName() + "=" + test::valueOf(report.getOptions(), option->getName()) + "\n";
    return text;
}

/// All that a file keeps of a strategy, as text to compare.
std::string contentOf(const HAXRReportStrategy& strategy) {
    std::string text = strategy.getName() + "\n" + strategy.getDescription() + "\n";
    for (const std::string& stepId : test::drain(strategy.createFlowStepIter())) {
        text += "step " + stepId + "\n";
        for (const HAXRReportSpec* report : test::drain(strategy.createReportSpecIter(stepId)))
            text += contentOf(*report);
    }
    return text;
}

void checkSaving(HAXRReportStrategy& strategy) {
    const std::string path = fuzz::scratch().path("again.psg");
    HAXRReportStrategyXMLWriter1(path).writeReportStrategy(&strategy);
    HAXRReportStrategyXMLParser1 parser;
    parser.parseStrategies(path);
    const auto read = test::drain(parser.createStrategyIter());
    fuzz::require(read.size() == 1, "a report strategy that was saved can be read");
    const OwnedStrategy again(read.front());
    fuzz::require(!parser.needsBackup(), "nothing is dropped of what was saved");
    fuzz::require(contentOf(*again) == contentOf(strategy), "what was saved is read back equal");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static_cast<void>(setting());
    fuzz::scratch().write("reportstrategies/input.psg", data, size);
    for (const OwnedStrategy& strategy : restored())
        checkSaving(*strategy);
    return 0;
}
