// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/reportScript.h"

#include <memory>

#include "environment/containers/HSTFwdIter.h"
#include "environment/errors/HEXUserException.h"
#include "environment/files/HUTFileUtils.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/messages/ComMsgMgrInstance.h"
#include "environment/tcl/HTCTaskHelpers.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xpreport/HAXRReportConfig.h"
#include "runs/base/xpreport/reportConfigUtil.h"
#include "workbench/HAXPExpRun.h"

namespace workbench {

namespace {

using StepIter = std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>>;
using ConfigIter = std::unique_ptr<HSTFwdIter<HAXRReportConfig*>>;

bool isScripted(const HAXRReportConfig& report) {
    return report.isEnabled() && !report.isStaticReport();
}

std::string word(const std::string& text) {
    return HTCTaskHelpers::exportPathForTcl(text);
}

/// The branch of `step`; empty without a report.
std::string branchOf(const HAXPExpRunStep& step,
                     const std::function<bool(const HAXRReportConfig&)>& accept) {
    std::string commands;
    const ConfigIter reports(step.createReportConfigIter());
    while (reports->hasNext()) {
        HAXRReportConfig* report = reports->next();
        if (!isScripted(*report) || !accept(*report))
            continue;
        const std::string command = reportConfigUtil::createReportCommand(report);
        if (!command.empty())
            commands += "    make_report " + word(report->getName()) + " " + word(command) + "\n";
    }
    const std::string id = word(step.getFlowStep()->getFlowStepId());
    return "  " + id + " {\n    open_step " + id + "\n" + commands + "  }\n";
}

}  // namespace

const char kReportScript[] = "reports.tcl";

bool hasScriptedReports(const HAXPExpRunStep& step) {
    const ConfigIter reports(step.createReportConfigIter());
    while (reports->hasNext()) {
        if (isScripted(*reports->next()))
            return true;
    }
    return false;
}

std::string reportScriptText(const HAXPExpRun& run,
                             const std::function<bool(const HAXRReportConfig&)>& accept) {
    std::string text = "# The reports of the run " + run.getName() +
                       ", written anew at each launch.\n"
                       "# Called as: tarnel ... -source reports.tcl -tclargs STEP\n"
                       "switch -exact -- [lindex $argv 0] {\n";
    const StepIter steps(run.createRunStepIter());
    while (steps->hasNext()) {
        const HAXPExpRunStep* step = steps->next();
        if (hasScriptedReports(*step))
            text += branchOf(*step, accept);
    }
    return text + "  default { error \"the step '[lindex $argv 0]' has no reports\" }\n}\n";
}

void writeReportScript(const HAXPExpRun& run) {
    writeReportScript(run, [](const HAXRReportConfig&) { return true; });
}

void writeReportScript(const HAXPExpRun& run,
                       const std::function<bool(const HAXRReportConfig&)>& accept) {
    const std::string path = run.pathOf(kReportScript);
    if (!HUTFileUtils::rewriteFile(path, reportScriptText(run, accept), false))
        throw HEXUserException(
            ComMsgMgrInstance("workbench", ComMsgMgr::kError, "@60-83@%s%s", run.getName(), path));
}

}  // namespace workbench
