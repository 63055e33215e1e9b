// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/reportRecords.h"

#include <memory>

#include "environment/containers/HSTFwdIter.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATOptGroup.h"
#include "environment/options/HATOptGroupSpec.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xpreport/HAXRReportConfig.h"
#include "runs/base/xpreport/HAXRReportSpec.h"
#include "runs/base/xpreport/HAXRReportSpecMgr.h"
#include "runs/base/xpreport/HAXRStaleOption.h"
#include "runs/base/xpreport/reportConfigUtil.h"
#include "workbench/optionText.h"

namespace workbench {

namespace {

using StepIter = std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>>;
using ConfigIter = std::unique_ptr<HSTFwdIter<HAXRReportConfig*>>;

ReportRecord reportRecordOf(const HAXRReportConfig& report) {
    ReportRecord record;
    record.name = report.getName();
    record.stepId = report.getAssociatedStepName();
    record.command = report.getSpecName();
    record.version = report.getVersion();
    record.displayName = report.getDisplayName();
    record.file = report.getReportFile();
    record.enabled = report.isEnabled();
    record.beforeStep = report.isPreGenerationRequired();
    if (const HATOptGroup* group = report.getOptions()) {
        const HATOptGroup* catalogue = report.getReportSpec()->getOptions();
        for (const auto& spec : group->getOptionsSpec()->getAttrSpecs()) {
            const std::string value = optionText(*group, *spec);
            const HATAttrSpec* known =
                catalogue == nullptr ? nullptr : catalogue->getAttrSpecByName(spec->getName());
            if (known == nullptr || defaultText(*known) != value)
                record.options.push_back({spec->getName(), value});
        }
    }
    const std::unique_ptr<HSTFwdIter<HAXRStaleOption*>> stale(report.createStaleOptionsIter());
    while (stale->hasNext()) {
        const HAXRStaleOption* option = stale->next();
        record.staleOptions.push_back(
            {option->getOptionName(), option->getLaunchTimeVal(), option->getNewVal()});
    }
    return record;
}

/// The specification that `record` names; null, with a message, without one.
HAXRReportSpec* findSpec(const HAXPExpRunBase& run, const ReportRecord& record) {
    HAXRReportSpecMgr* catalogue = HAXRReportSpecMgr::getGlobal();
    const bool hasVersion = record.version.major != 0 || record.version.minor != 0;
    if (hasVersion) {
        if (HAXRReportSpec* spec = catalogue->find(record.command, record.version))
            return spec;
    }
    HAXRReportSpec* latest = catalogue->find(record.command);
    if (latest != nullptr && hasVersion)
        ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "workbench", ComMsgMgr::kWarning,
                                 "@60-80@%s%s%d%d", record.name, run.getName(),
                                 latest->getVersion().major, latest->getVersion().minor);
    return latest;
}

void setOptions(const HAXRReportConfig& report, const ReportRecord& record) {
    HATOptGroup* group = report.getOptions();
    for (const ReportOptionRecord& option : record.options) {
        const HATAttrSpec* spec =
            group == nullptr ? nullptr : group->getAttrSpecByName(option.name);
        std::string reason = "this version of the report has no such option";
        if (spec == nullptr || !setOptionText(*group, *spec, option.value, reason))
            ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "workbench", ComMsgMgr::kWarning,
                                     "@60-81@%s%s%s", option.name, record.name, reason);
    }
}

/// The files come first, then the state that they tell, then what makes it stale.
void setState(HAXRReportConfig& report, const ReportRecord& record) {
    report.preGenerate(record.beforeStep);
    if (!record.enabled)
        report.setEnabled(false, false);
    if (!record.file.empty())
        report.setReportFile(record.file, false);
    report.update(false);
    for (const StaleOptionRecord& option : record.staleOptions)
        report.addOrUpdateStaleReason(option.name, option.launchValue, option.value);
}

}  // namespace

std::vector<ReportRecord> recordReports(const HAXPExpRunBase& run) {
    std::vector<ReportRecord> records;
    const StepIter steps(run.createRunStepIter());
    while (steps->hasNext()) {
        const ConfigIter reports(steps->next()->createReportConfigIter());
        while (reports->hasNext()) {
            const HAXRReportConfig* report = reports->next();
            if (!report->isStaticReport())
                records.push_back(reportRecordOf(*report));
        }
    }
    return records;
}

std::vector<ReportRecord> restoreReports(HAXPExpRunBase& run,
                                         const std::vector<ReportRecord>& records) {
    std::vector<ReportRecord> lost;
    for (const ReportRecord& record : records) {
        HAXRReportSpec* spec = findSpec(run, record);
        HAXRReportConfig* report = spec == nullptr
                                       ? nullptr
                                       : run.createReportConfig(record.name, record.stepId, spec,
                                                                record.displayName, false);
        if (report == nullptr) {
            ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "workbench", ComMsgMgr::kWarning,
                                     "@60-82@%s%s%s%s", record.name, run.getName(), record.command,
                                     record.stepId);
            lost.push_back(record);
            continue;
        }
        setOptions(*report, record);
        setState(*report, record);
    }
    run.addStaticReports();
    nameStaticReports(run);
    return lost;
}

void nameStaticReports(const HAXPExpRunBase& run) {
    const StepIter steps(run.createRunStepIter());
    while (steps->hasNext()) {
        const ConfigIter reports(steps->next()->createReportConfigIter());
        while (reports->hasNext()) {
            HAXRReportConfig* report = reports->next();
            if (!report->isStaticReport())
                continue;
            // Names the file and gives no command.
            reportConfigUtil::createReportCommand(report);
            report->update(false);
        }
    }
}

}  // namespace workbench
