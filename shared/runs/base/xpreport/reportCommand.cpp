// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <string>

#include "environment/messages/ComMsgMgr.h"
#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATOptGroup.h"
#include "environment/options/HATOptGroupSpec.h"
#include "environment/params/HPAParamMgr.h"
#include "environment/strings/HSTStringUtils.h"
#include "environment/tcl/HTCTaskHelpers.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xpreport/HAXRReportConfig.h"
#include "runs/base/xpreport/reportConfigUtil.h"
#include "runs/base/xpreport/runReports.h"

using xpreport::holdsText;
using xpreport::required;

namespace {

// Words of a command ---------------------------------------------------------

void addSwitch(std::string& command, const std::string& name) {
    command += " -" + name;
}

void addSwitch(std::string& command, const std::string& name, const std::string& value) {
    command += " -" + name + " " + value;
}

void addNumber(std::string& command, const std::string& name, int value) {
    std::string digits;
    HSTStringUtils::constructFromInt(digits, value);
    addSwitch(command, name, digits);
}

void addText(std::string& command, const std::string& name, const std::string& value) {
    if (value.empty())
        return;
    // The user's own switches, which the catalogue doesn't know.
    if (HSTStringUtils::iequals(name, "MORE_OPTIONS"))
        command += " " + value;
    else
        addSwitch(command, name, value);
}

void addOption(std::string& command, const HATOptGroup& options, const HATAttrSpec& option) {
    switch (option.getAttrType()) {
    case HATAttrTypes::kBool:
        if (options.getBoolVal(&option))
            addSwitch(command, option.getName());
        break;
    case HATAttrTypes::kInt:
        addNumber(command, option.getName(), options.getIntVal(&option));
        break;
    default:
        addText(command, option.getName(), options.getStrVal(&option));
    }
}

/// Adds an output; false when its file has no name.
bool addOutput(std::string& command, const HATOptGroup& outputs, const HATAttrSpec& output) {
    if (!holdsText(output)) {
        addOption(command, outputs, output);
        return true;
    }
    const std::string& file = outputs.getStrVal(&output);
    if (!file.empty())
        addSwitch(command, output.getName(), file);
    return !file.empty();
}

// Parts of a command ---------------------------------------------------------

void addOptions(const HAXRReportConfig& config, std::string& command) {
    const HATOptGroup* const options = config.getOptions();
    if (options == nullptr)
        return;
    for (const auto& option : options->getOptionsSpec()->getAttrSpecs())
        addOption(command, *options, *option);
}

/// Names the files of a report that isn't made yet.
void nameFiles(HAXRReportConfig& config) {
    if (config.getState() != HAXRReportConfig::REPORT_NOT_GENERATED)
        return;
    // Its old name would stand in the way of the same one.
    config.setReportFile("", false);
    config.setReportFile(reportConfigUtil::createReportFileName(config.getAssociatedRun(), &config),
                         false);
}

/// False, with a message, when an output has no file name.
bool addOutputs(const HAXRReportConfig& config, std::string& command) {
    const HATOptGroup* const outputs = config.getOutputOptions();
    if (outputs == nullptr)
        return true;
    for (const auto& output : outputs->getOptionsSpec()->getAttrSpecs()) {
        if (!addOutput(command, *outputs, *output)) {
            ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "runs", ComMsgMgr::kCriticalWarning,
                                     "@36-368@%s%s", output->getName(), config.getSpecName());
            return false;
        }
    }
    return true;
}

// Rules of the default strategies --------------------------------------------

struct StepReport {
    const char* stepId;
    const char* report;
};

/// What a run can leave out.
constexpr StepReport kDispensable[] = {
    {"synth_design", "report_utilization"},
    {"opt_design", "report_drc"},
    {"place_design", "report_utilization"},
    {"place_design", "report_io"},
    {"place_design", "report_control_sets"},
    {"place_design", "report_incremental_reuse"},
    {"route_design", "report_drc"},
    {"route_design", "report_methodology"},
    {"route_design", "report_power"},
    {"route_design", "report_bus_skew"},
    {"route_design", "report_route_status"},
    {"route_design", "report_clock_utilization"},
    {"route_design", "report_incremental_reuse"},
    {"post_route_phys_opt_design", "report_bus_skew"},
};

bool isOn(const char* parameter) {
    return HPAParamMgr::getParamMgr()->getValueIfExistAsBool(parameter, false);
}

bool isDispensedWith(const HAXRReportConfig& config) {
    if (!isOn("project.runs.noReportGeneration"))
        return false;
    for (const StepReport& row : kDispensable) {
        if (config.getAssociatedStepName() == row.stepId && config.getSpecName() == row.report)
            return true;
    }
    return false;
}

/// Whether the run ends with the report's step unless it is told otherwise.
bool isOfDefaultLastStep(const HAXRReportConfig& config) {
    const HAXPExpRunStep* const last = config.getAssociatedRun()->getDefaultLastStep();
    return last != nullptr && last->getFlowStep() != nullptr &&
           HSTStringUtils::iequals(last->getFlowStep()->getFlowStepId(),
                                   config.getAssociatedStepName());
}

void addViolationWarning(const HAXRReportConfig& config, std::string& command) {
    const std::string& step = config.getAssociatedStepName();
    if (config.getSpecName() != "report_timing_summary" ||
        (step != "route_design" && step != "post_route_phys_opt_design"))
        return;
    if (!HPAParamMgr::getParamMgr()->getValueAsBool("project.enableWarnOnViolation"))
        return;
    if (isOfDefaultLastStep(config) && command.find("warn_on_violation") == std::string::npos)
        command += " -warn_on_violation ";
}

void reportAsMessages(const HAXRReportConfig& config, std::string& command) {
    const std::string& step = config.getAssociatedStepName();
    if (config.getSpecName() != "report_drc" && config.getSpecName() != "report_methodology")
        return;
    if ((step == "opt_design" && isOn("project.runs.opt_design.defaultBehaviorAsMessages")) ||
        (step == "route_design" && isOn("project.runs.route_design.defaultBehaviorAsMessages")))
        command = "  set_param project.isImplRun true\n"
                  "  catch { " +
                  command +
                  " -messages  }\n"
                  "  set_param project.isImplRun false\n";
}

}  // namespace

namespace reportConfigUtil {

std::string createReportCommand(HAXRReportConfig* config) {
    HAXRReportConfig& report = required(config, "Report command: null report");
    if (report.isReadOnly()) {
        const std::string name = getDefaultStaticReportName(config);
        if (!name.empty())
            report.setReportFile(name, false);
        return {};
    }
    std::string command = report.getSpecName();
    addOptions(report, command);
    nameFiles(report);
    addSwitch(command, "file", HTCTaskHelpers::exportPathForTcl(report.getReportFile()));
    if (!addOutputs(report, command))
        return {};
    if (xpreport::usesDefaultReportStrategy(*report.getAssociatedRun()))
        checkRules(config, command);
    return command;
}

void checkRules(HAXRReportConfig* config, std::string& command) {
    const HAXRReportConfig& report = required(config, "Report rules: null report");
    if (isDispensedWith(report)) {
        command.clear();
        return;
    }
    addViolationWarning(report, command);
    reportAsMessages(report, command);
}

}  // namespace reportConfigUtil
