// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/history/launchRecord.h"

#include <algorithm>
#include <memory>

#include "environment/containers/HSTFwdIter.h"
#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATOptGroup.h"
#include "environment/process/HUTProcessHandle.h"
#include "environment/strings/HSTStringUtils.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/Project.h"
#include "workbench/abandon.h"
#include "workbench/ice40/metrics.h"
#include "workbench/launchLease.h"
#include "workbench/optionText.h"
#include "workbench/runFamily.h"
#include "workbench/runFigures.h"
#include "workbench/statusWord.h"
#include "workbench/strategyOptions.h"

namespace workbench {

namespace {

/// "here", the host's name, "lsf" or "sge".
std::string placeOf(const LaunchWay& way) {
    switch (way.kind) {
    case LaunchWay::Kind::kHost:
        return way.host;
    case LaunchWay::Kind::kLsf:
        return "lsf";
    case LaunchWay::Kind::kSge:
        return "sge";
    default:
        return "here";
    }
}

bool isKept(const LaunchLease& lease, const HAXPFlowStep& step) {
    return lease.keptSteps && std::find(lease.keptSteps->begin(), lease.keptSteps->end(),
                                        step.getStatusTrackingStr()) != lease.keptSteps->end();
}

/// What the step told in numbers, as far as its metrics can be read.
void addMetrics(const HAXPExpRun& run, StepRecord& record) {
    ice40::StepMetrics metrics;
    std::string ignored;
    if (!ice40::readMetrics(run.pathOf(ice40::metricsFileName(record.step)), metrics, ignored))
        return;
    record.tool = metrics.tool;
    if (record.outcome == "done")
        record.seconds = metrics.seconds;
    for (const auto& count : metrics.counts)
        record.figures[count.first] = static_cast<double>(count.second);
    if (const ice40::ClockTiming* worst = metrics.worstClock()) {
        record.figures["fmax_mhz"] = worst->fmaxMhz;
        record.figures["worst_slack_ns"] = worst->slackNs();
    }
    if (metrics.icetimeMhz)
        record.figures["icetime_mhz"] = *metrics.icetimeMhz;
}

StepRecord recordOfStep(const HAXPExpRun& run, const HAXPExpRunStep& step,
                        const LaunchLease& lease) {
    StepRecord record;
    record.step = step.getFlowStep()->getFlowStepId();
    const bool isDone = step.getStatus()->getCode() == HDGUIStatus::statusDone;
    const bool isOld = isKept(lease, *step.getFlowStep());
    record.outcome = !isDone ? "failed" : isOld ? "kept" : "done";
    const HUTProcessHandle& process = *step.getProcInfo();
    if (!isOld) {
        record.began = process.getStartStamp();
        if (process.getEndStamp() > record.began && record.began > 0)
            record.seconds = static_cast<double>(process.getEndStamp() - record.began);
    }
    if (isDone)
        addMetrics(run, record);
    return record;
}

/// The steps of the launch that have begun, and when they began and ended.
void addSteps(const HAXPExpRun& run, const LaunchLease& lease, LaunchRecord& record) {
    const std::string& last = run.getInfo().getLaunchedTo();
    const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(run.createRunStepIter());
    while (steps->hasNext()) {
        const HAXPExpRunStep& step = *steps->next();
        const bool counts = step.isEnabled() && !step.isVirtual() &&
                            step.getStatus()->getCode() != HDGUIStatus::statusNotStarted;
        if (counts) {
            record.steps.push_back(recordOfStep(run, step, lease));
            const long began = record.steps.back().began;
            if (began > 0 && (record.began == 0 || began < record.began))
                record.began = began;
            if (record.steps.back().outcome != "kept")
                record.ended = std::max(record.ended, step.getProcInfo()->getEndStamp());
        }
        if (!last.empty() && HSTStringUtils::iequals(step.getFlowStep()->getAbbrev(), last))
            break;
    }
}

void addOptions(const HAXPStrategy& strategy, LaunchRecord& record) {
    for (const StrategyOption& option : optionsOf(strategy)) {
        if (!option.group->isDefault(option.spec))
            record.options[option.fullName()] = optionText(*option.group, *option.spec);
    }
}

void addFigures(HAXPExpRun& run, LaunchRecord& record) {
    std::vector<UnreadReport> unread;
    std::vector<reports::Figure> figures = reportFigures(run, unread);
    addStepFigures(run, figures);
    addRunTime(run, figures);
    for (const reports::Figure& figure : figures)
        record.figures[figure.name] = figure.value;
}

}  // namespace

std::optional<LaunchRecord> recordOf(const Project& project, HAXPExpRun& run) {
    LaunchLease lease;
    const std::string outcome = statusWord(run);
    const bool hasEnded =
        !run.isAtWork() && outcome != "not started" && run.getRunMode() == HAXPExpRun::kLaunched;
    if (!hasEnded || run.getDir().empty() || !readLease(run.pathOf(kLeaseName), lease))
        return std::nullopt;
    LaunchRecord record;
    record.launch = lease.id;
    record.run = run.getName();
    record.flow = flowWord(run);
    // As it was launched: it may have been set otherwise since.
    const HAXPStrategy* launched = run.getInfo().getRunSnapshotStrategy();
    const HAXPStrategy& strategy = launched == nullptr ? *run.getStrategy() : *launched;
    record.strategy =
        strategy.getName().empty() ? run.getStrategy()->getName() : strategy.getName();
    record.sweep = project.getFamilyOf(run).sweep;
    record.family = project.getFamilyOf(run).name;
    record.place = placeOf(lease.way);
    record.launched = lease.time;
    record.outcome = abandonmentOf(run) ? "abandoned" : outcome;
    addSteps(run, lease, record);
    addOptions(strategy, record);
    addFigures(run, record);
    return record;
}

}  // namespace workbench
