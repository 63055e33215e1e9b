// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "tests/unit/runs/xpreport/strategyFiles.h"

#include <utility>

#include "runs/base/xpreport/HAXRReportSpecMgr.h"
#include "tests/support/CatalogueFlow.h"

namespace test::reports {

namespace {

/// Fills the catalogue of the process.
bool fillCatalogue() {
    HAXRReportSpecMgr& catalogue = *HAXRReportSpecMgr::getGlobal();
    std::unique_ptr<HAXRReportSpec> io =
        makeReport("report_io", {flag("on", true), flag("off"), number("count", 3),
                                 text("pins", "abc"), text("MORE_OPTIONS")});
    io->setOutputOptions(makeGroup({text("file", "io.rpt")}).release());
    catalogue.addReportSpec(io.release());
    catalogue.addReportSpec(makeReport("report_io", {text("pins", "xyz")}, {1, 2}).release());
    catalogue.addReportSpec(makeReport("report_drc", {}, {2, 0}).release());
    catalogue.addReportSpec(makeReport("report_wide", {}, {200, 0}).release());
    catalogue.populateLatestSpecs();
    return true;
}

}  // namespace

void DeleteStrategy::operator()(HAXRReportStrategy* strategy) const {
    strategy->nukeSteps();
    delete strategy;
}

StrategyFileTest::StrategyFileTest() : m_flow(catalogueFlow("report_flow")) {
    static const bool isFilled = fillCatalogue();
    static_cast<void>(isFilled);
}

OwnedStrategy StrategyFileTest::makeStrategy() const {
    OwnedStrategy strategy(new HAXRReportStrategy(m_flow));
    strategy->setName("Mine");
    return strategy;
}

}  // namespace test::reports
