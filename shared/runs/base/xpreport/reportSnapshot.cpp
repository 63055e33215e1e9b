// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <memory>
#include <string>

#include "environment/containers/HSTFwdIter.h"
#include "environment/options/HATOptGroup.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xperiment/ownedReportStrategy.h"
#include "runs/base/xpreport/HAXRReportConfig.h"
#include "runs/base/xpreport/HAXRReportSpec.h"
#include "runs/base/xpreport/HAXRReportSpecMgr.h"
#include "runs/base/xpreport/HAXRReportStrategy.h"
#include "runs/base/xpreport/reportConfigUtil.h"
#include "runs/base/xpreport/runReports.h"

namespace {

using Group = std::unique_ptr<HATOptGroup>;

/// What the report follows, from the catalogue or, where that lacks it, from itself.
std::unique_ptr<HAXRReportSpec> specOf(const HAXRReportConfig& config) {
    std::unique_ptr<HAXRReportSpec> spec(
        HAXRReportSpecMgr::getGlobal()->getReportSpec(config.getSpecName()));
    if (spec != nullptr)
        return spec;
    spec =
        std::make_unique<HAXRReportSpec>(config.getSpecName(), config.getSpecType(),
                                         config.getShortDesc(), nullptr, config.getVersion(), "");
    spec->setDisplayName(config.getSpecDisplayName(), false);
    return spec;
}

/// The same with the values that the report has.
std::unique_ptr<HAXRReportSpec> currentSpecOf(const HAXRReportConfig& config) {
    const std::string& name = config.getSpecName();
    std::unique_ptr<HAXRReportSpec> spec = specOf(config);
    Group options(reportConfigUtil::getOptGroupCopy(config.getOptions(), name, false));
    Group outputs(reportConfigUtil::getOptGroupCopy(config.getOutputOptions(), name, true));
    const Group oldOptions(spec->getOptions());
    spec->setOptions(options.release());
    const Group oldOutputs(spec->getOutputOptions());
    spec->setOutputOptions(outputs.release());
    return spec;
}

void addToSnapshot(HAXRReportStrategy& strategy, const std::string& stepId,
                   const HAXRReportConfig& config) {
    if (config.getSpecName().empty())
        return;
    std::unique_ptr<HAXRReportSpec> spec = currentSpecOf(config);
    if (strategy.addSpec(stepId, spec.get(), false) != nullptr)
        static_cast<void>(spec.release());
}

}  // namespace

namespace reportConfigUtil {

HAXRReportStrategy* createReportStrategySnapshot(const HAXPExpRunBase* run) {
    const HAXPStrategy* const runStrategy = run == nullptr ? nullptr : run->getStrategy();
    if (runStrategy == nullptr)
        return nullptr;
    xperiment::OwnedReportStrategy snapshot(new HAXRReportStrategy(runStrategy->getFlow()));
    snapshot->setName("tmp-report-strategy");
    xpreport::forEachStep(
        *run, [&snapshot](const std::string& stepId, HSTFwdIter<HAXRReportConfig*>& reports) {
            while (reports.hasNext())
                addToSnapshot(*snapshot, stepId, *reports.next());
        });
    return snapshot.release();
}

}  // namespace reportConfigUtil
