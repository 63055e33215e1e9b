// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/RunReports.h"

#include <algorithm>
#include <memory>
#include <set>

#include "environment/containers/HSTFwdIter.h"
#include "environment/containers/HSTKeyValIter.h"
#include "environment/files/HUTFile.h"
#include "environment/files/HUTFileUtils.h"
#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATOptGroup.h"
#include "environment/options/HATOptGroupSpec.h"
#include "environment/process/HUTFork.h"
#include "runs/base/xperiment/HAXPExpInfoBase.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HAXPScriptWriter.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "runs/base/xpreport/HAXRReportConfig.h"
#include "runs/base/xpreport/HAXRReportSpec.h"
#include "runs/base/xpreport/HAXRReportSpecMgr.h"
#include "runs/base/xpreport/reportConfigUtil.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/entryRules.h"
#include "workbench/fail.h"
#include "workbench/optionText.h"
#include "workbench/reportRecords.h"
#include "workbench/reportScript.h"
#include "workbench/strategies.h"
#include "workbench/suggestion.h"

namespace {

using workbench::fail;

using StepIter = std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>>;
using ConfigIter = std::unique_ptr<HSTFwdIter<HAXRReportConfig*>>;

/// More than any command says of itself.
constexpr std::size_t kLongestReason = 65536;

bool isNamed(const HAXRReportConfig& report, const std::string& name) {
    return name == report.getName() || name == report.getDisplayName() ||
           name == report.getSpecName();
}

/// Whether `name` is one of the report's names, or its step, a dot and one of them.
bool isMeant(const HAXRReportConfig& report, const std::string& name) {
    if (isNamed(report, name))
        return true;
    if (name.find('.') == std::string::npos)
        return false;
    const std::string& stepId = report.getAssociatedStepName();
    for (const std::string& step : {stepId, reportConfigUtil::getStepAlias(stepId)}) {
        const std::string head = step + ".";
        if (name.compare(0, head.size(), head) == 0 && isNamed(report, name.substr(head.size())))
            return true;
    }
    return false;
}

std::vector<std::string> commandsOfCatalogue() {
    std::vector<std::string> names;
    const std::unique_ptr<HSTKeyValIter<std::string, HAXRReportSpec*>> specs(
        HAXRReportSpecMgr::getGlobal()->createReportSpecIterator());
    while (specs->hasNext())
        names.push_back(specs->next().first);
    return names;
}

HAXRReportSpec& specOf(const std::string& command) {
    const std::vector<std::string> known = commandsOfCatalogue();
    if (std::find(known.begin(), known.end(), command) == known.end())
        fail("@60-84@%s%s", command, workbench::withHint(command, workbench::listOfNames(known)));
    return *HAXRReportSpecMgr::getGlobal()->find(command);
}

std::vector<std::string> namesOf(const std::vector<HAXRReportConfig*>& reports) {
    std::vector<std::string> names;
    names.reserve(reports.size());
    for (const HAXRReportConfig* report : reports)
        names.push_back(report->getName());
    return names;
}

/// `wanted`, with a number behind it where the run has a report of that display name.
std::string freeDisplayName(const HAXPExpRun& run, const std::string& wanted) {
    std::string name = wanted;
    for (int n = 2; !run.isUniqueReportConfigDisplayName(name); ++n)
        name = wanted + " " + std::to_string(n);
    return name;
}

std::vector<std::string> optionNames(const HATOptGroup* group) {
    std::vector<std::string> names;
    if (group != nullptr) {
        for (const auto& spec : group->getOptionsSpec()->getAttrSpecs())
            names.push_back(spec->getName());
    }
    return names;
}

/// A launch makes its reports as they were when it began.
/// @throws HEXUserException the run is at work.
void refuseAtWork(HAXPExpRun& run) {
    run.updateStatus();
    if (run.isAtWork())
        fail("@60-92@%s", run.getName());
}

/// Those whose reports a script of the step could never make.
bool isMadeInLaunchOnly(const HAXPExpRunStep& step, const HAXPExpRun& run) {
    const std::string& id = step.getFlowStep()->getFlowStepId();
    return id == "init_design" || id == "write_bitstream" || id == "write_device_image" ||
           (run.getExpInfoBase()->isImplFlow() && &step == run.getFirstStep());
}

}  // namespace

RunReports::RunReports(HAXPExpRun& run) : m_run(run) {}

std::vector<HAXRReportConfig*> RunReports::all() const {
    std::vector<HAXRReportConfig*> all;
    const StepIter steps(m_run.createRunStepIter());
    while (steps->hasNext()) {
        const ConfigIter reports(steps->next()->createReportConfigIter());
        while (reports->hasNext())
            all.push_back(reports->next());
    }
    return all;
}

std::vector<HAXRReportConfig*> RunReports::find(const std::string& name) const {
    std::vector<HAXRReportConfig*> meant;
    for (HAXRReportConfig* report : all()) {
        if (report->getName() == name)
            return {report};
        if (isMeant(*report, name))
            meant.push_back(report);
    }
    return meant;
}

HAXRReportConfig& RunReports::get(const std::string& name) const {
    const std::vector<HAXRReportConfig*> meant = find(name);
    if (meant.empty())
        fail("@60-85@%s%s%s", m_run.getName(), name,
             workbench::withHint(name, workbench::listOfNames(namesOf(all()))));
    if (meant.size() > 1)
        fail("@60-86@%s%s", name, workbench::listOfNames(namesOf(meant)));
    return *meant.front();
}

HAXRReportConfig& RunReports::add(const std::string& stepName, const std::string& command,
                                  const std::string& displayName) {
    workbench::restoreStrategies();
    HAXPExpRunStep& step = stepOf_(stepName);
    HAXRReportSpec& spec = specOf(command);
    if (!displayName.empty())
        workbench::requireReportFile(displayName);
    m_run.updateStatus();
    if (!m_run.canAddReport(&step))
        fail("@60-87@%s%s", m_run.getName(), step.getFlowStep()->getFlowStepId());
    if (!displayName.empty() && !m_run.isUniqueReportConfigDisplayName(displayName))
        fail("@60-88@%s%s", m_run.getName(), displayName);
    const std::string shown =
        displayName.empty() ? freeDisplayName(m_run, spec.getDisplayName()) : displayName;
    const std::string name = reportConfigUtil::createReportName(
        &m_run, step.getFlowStep()->getFlowStepId(), spec.getName());
    removeFailMarker_(name);
    HAXRReportConfig* report = m_run.createReportConfig(name, &step, &spec, shown, true);
    if (report == nullptr)
        fail("@60-88@%s%s", m_run.getName(), name);
    return *report;
}

void RunReports::remove(HAXRReportConfig& report) {
    if (report.isStaticReport())
        fail("@60-89@%s", report.getName());
    refuseAtWork(m_run);
    m_run.deleteReportConfig(&report);
    m_run.publishReports();
}

void RunReports::setEnabled(HAXRReportConfig& report, bool enable) {
    m_run.updateStatus();
    if (enable && !report.canEnableReport())
        fail("@60-87@%s%s", m_run.getName(), report.getAssociatedStepName());
    report.setEnabled(enable, true);
    m_run.publishReports();
}

void RunReports::setOption(HAXRReportConfig& report, const std::string& option,
                           const std::string& value) {
    HATOptGroup* group = report.isStaticReport() ? nullptr : report.getOptions();
    const HATAttrSpec* spec = group == nullptr ? nullptr : group->getAttrSpecByName(option);
    if (spec == nullptr)
        fail("@60-90@%s%s%s", report.getName(), option,
             workbench::withHint(option, workbench::listOfNames(report.isStaticReport()
                                                                    ? std::vector<std::string>()
                                                                    : optionNames(group))));
    workbench::requireReportOption(option, value);
    refuseAtWork(m_run);
    const std::string before = workbench::optionText(*group, *spec);
    std::string reason;
    if (!workbench::setOptionText(*group, *spec, value, reason))
        fail("@60-91@%s%s%s", option, report.getName(), workbench::sentence(reason));
    report.addOrUpdateStaleReason(option, before, workbench::optionText(*group, *spec));
}

void RunReports::applyStrategy(const HAXRReportStrategy& strategy) {
    refuseAtWork(m_run);
    const StepIter steps(m_run.createRunStepIter());
    while (steps->hasNext())
        steps->next()->resetReportConfigs();
    m_run.applyReportStrategy(&strategy);
    forgetOldFailures_();
    workbench::nameStaticReports(m_run);
    m_run.publishReports();
}

std::vector<RunReports::Outcome> RunReports::generate(const std::vector<HAXRReportConfig*>& reports,
                                                      bool again) {
    refuseAtWork(m_run);
    m_run.getInfo().updStaleReasons();
    m_run.lookForReports();
    std::vector<Outcome> outcomes;
    std::set<const HAXRReportConfig*> wanted;
    std::vector<HAXRReportConfig*> toReset;
    std::vector<std::string> stepIds;
    for (HAXRReportConfig* report : reports) {
        outcomes.push_back({report, false, refusal_(*report, again)});
        if (!outcomes.back().reason.empty() || !wanted.insert(report).second)
            continue;
        toReset.push_back(report);
        const std::string& id = report->getAssociatedStepName();
        if (std::find(stepIds.begin(), stepIds.end(), id) == stepIds.end())
            stepIds.push_back(id);
    }
    if (wanted.empty())
        return outcomes;
    for (HAXRReportConfig* report : toReset)
        report->reset(false);
    workbench::writeReportScript(
        m_run, [&](const HAXRReportConfig& report) { return wanted.count(&report) > 0; });
    HAXPScriptWriter(&m_run).writeReportScript();
    for (const std::string& id : stepIds)
        runScript_(id);
    m_run.lookForReports();
    for (Outcome& outcome : outcomes) {
        if (!outcome.reason.empty())
            continue;
        outcome.made = outcome.report->getState() == HAXRReportConfig::REPORT_GENERATED;
        outcome.failed = !outcome.made;
        if (outcome.failed)
            outcome.reason = "it failed; see " +
                             m_run.pathOf(outcome.report->getAssociatedStepName() + "_reports.log");
    }
    return outcomes;
}

std::string RunReports::whyFailed(const HAXRReportConfig& report) const {
    std::string text;
    if (!HUTFileUtils::readFile(markerOf_(report.getName()), kLongestReason, text))
        return {};
    while (!text.empty() && (text.back() == '\n' || text.back() == ' '))
        text.pop_back();
    return text;
}

HAXPExpRunStep& RunReports::stepOf_(const std::string& name) const {
    std::vector<std::string> known;
    const StepIter steps(m_run.createRunStepIter());
    while (steps->hasNext()) {
        HAXPExpRunStep* step = steps->next();
        const HAXPFlowStep* flowStep = step->getFlowStep();
        if (name == flowStep->getFlowStepId() || name == flowStep->getAbbrev())
            return *step;
        known.push_back(flowStep->getFlowStepId());
    }
    fail("@60-93@%s%s%s", m_run.getName(), name,
         workbench::withHint(name, workbench::listOfNames(known)));
}

HAXPExpRunStep* RunReports::stepOf_(const HAXRReportConfig& report) const {
    const StepIter steps(m_run.createRunStepIter());
    while (steps->hasNext()) {
        HAXPExpRunStep* step = steps->next();
        if (step->getFlowStep()->getFlowStepId() == report.getAssociatedStepName())
            return step;
    }
    return nullptr;
}

/// Why the report isn't to be made now; empty when it is.
std::string RunReports::refusal_(const HAXRReportConfig& report, bool again) const {
    const HAXPExpRunStep* step = stepOf_(report);
    if (report.isStaticReport())
        return "the run leaves it by itself";
    if (!report.isEnabled())
        return "it is disabled";
    if (report.getState() == HAXRReportConfig::REPORT_GENERATED && !again)
        return "it is up to date";
    if (step == nullptr || isMadeInLaunchOnly(*step, m_run))
        return "a report of this step is made in a launch only";
    if (step->getStatus()->getCode() != HDGUIStatus::statusDone)
        return "its step isn't done";
    if (m_run.getExpInfoBase()->isCompleteRunResetRequired() ||
        m_run.getFirstStaleOrOwnStep(report.getAssociatedStepName())->isStale())
        return "the results of its step are stale; launch the run first";
    return {};
}

void RunReports::runScript_(const std::string& stepId) const {
    HUTFork script;
    script.addArg(m_run.pathOf(stepId + "_reports.sh"));
    const std::string dir = m_run.getDir();
    script.setWorkingDir(dir);
    // What it ends with doesn't count: the reports tell by their files.
    if (script.launch(true, false, false, true) < 0)
        fail("@60-94@%s%s", m_run.getName(), script.getError());
}

std::string RunReports::markerOf_(const std::string& reportName) const {
    return m_run.pathOf("." + reportName + ".fail");
}

/// A new report that reads as failed stands on the marker of one that is gone.
void RunReports::forgetOldFailures_() const {
    for (HAXRReportConfig* report : all()) {
        if (report->getState() == HAXRReportConfig::REPORT_FAILED)
            report->reset(false);
    }
}

void RunReports::removeFailMarker_(const std::string& reportName) const {
    const std::string dir = m_run.getDir();
    if (!dir.empty())
        HUTFile(markerOf_(reportName)).rm();
}
