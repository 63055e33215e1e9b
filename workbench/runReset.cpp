// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/runReset.h"

#include <memory>
#include <string>
#include <vector>

#include <boost/algorithm/string/join.hpp>

#include "environment/containers/HSTFwdIter.h"
#include "environment/errors/HEXUserException.h"
#include "environment/files/HUTFile.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/messages/ComMsgMgrInstance.h"
#include "environment/strings/HSTStringUtils.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/Project.h"
#include "workbench/launchLease.h"
#include "workbench/places/hostCalls.h"
#include "workbench/runEvidence.h"
#include "workbench/runStop.h"
#include "workbench/userRunScript.h"

namespace workbench {

namespace {

/// @throws HEXUserException with the short names of all steps.
void requireStep(const HAXPExpRun& run, const std::string& abbrev) {
    std::string known;
    const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(run.createRunStepIter());
    while (steps->hasNext()) {
        const std::string& name = steps->next()->getFlowStep()->getAbbrev();
        if (abbrev.empty() || HSTStringUtils::iequals(name, abbrev))
            return;
        known += (known.empty() ? "" : ", ") + name;
    }
    throw HEXUserException(ComMsgMgrInstance("workbench", ComMsgMgr::kError, "@60-53@%s%s%s",
                                             run.getName(), abbrev, known));
}

/// Takes the job of a run back that a cluster holds in its queue. Nothing of it has begun.
void takeBackJob(HAXPExpRun& run) {
    LaunchLease lease;
    if (run.getStatus()->getCode() == HDGUIStatus::statusQueued &&
        readLease(run.queueMarkerPath(), lease) && !lease.isWaiting && isOnCluster(lease.way))
        stopRun(run);
}

bool isInDoubt(const HAXPExpRun& run) {
    return run.getEvidence().verdict == RunEvidence::Verdict::kUnknown;
}

void requireIdle(HAXPExpRun& run, bool evenInDoubt) {
    run.updateStatus();
    if (evenInDoubt || run.getStatus()->getCode() == HDGUIStatus::statusRunning)
        run.lookForLife();
    if (evenInDoubt && isInDoubt(run))
        return;
    takeBackJob(run);
    const int code = run.getStatus()->getCode();
    if (code == HDGUIStatus::statusRunning && isInDoubt(run))
        throw HEXUserException(
            ComMsgMgrInstance("workbench", ComMsgMgr::kError, "@60-140@%s%s", run.getName(),
                              boost::algorithm::join(run.getEvidence().lines, "; ")));
    if (code == HDGUIStatus::statusQueued || code == HDGUIStatus::statusRunning)
        throw HEXUserException(
            ComMsgMgrInstance("workbench", ComMsgMgr::kError, "@60-52@%s%s", run.getName(),
                              code == HDGUIStatus::statusQueued ? "queued" : "running"));
}

/// The markers of a launch that may go on somewhere count no more.
void supersedeLaunch(HAXPExpRun& run, const std::string& fromStep) {
    LaunchLease lease = makeLease();
    lease.keptSteps = std::vector<std::string>();
    const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(run.createRunStepIter());
    while (steps->hasNext()) {
        const HAXPFlowStep& step = *steps->next()->getFlowStep();
        if (fromStep.empty() || HSTStringUtils::iequals(step.getAbbrev(), fromStep))
            break;
        lease.keptSteps->push_back(step.getStatusTrackingStr());
    }
    writeLease(run.pathOf(kLeaseName), lease);
}

void forgetLaunch(HAXPExpRun& run) {
    run.setRunMode(HAXPExpRun::kNotLaunched);
    run.getInfo().setLaunch(0, "");
    run.getInfo().setLaunchedInputs({});
    run.getInfo().setClusterConfigurationName("", true);
    run.setLatestStep(nullptr);
    HUTFile(run.pathOf(kLeaseName)).rm();
    HUTFile(run.pathOf(kHostClaimName)).rm();
    dropRunScript(run);
    run.updateStatus();
}

}  // namespace

bool resetRun(Project& project, HAXPExpRun& run, const std::string& fromStep, bool emptyDir,
              HSTVector<std::string>& errors, bool evenInDoubt) {
    requireStep(run, fromStep);
    requireIdle(run, evenInDoubt);
    if (isInDoubt(run))
        supersedeLaunch(run, fromStep);
    const std::string dir = run.getDir();
    const bool ok = run.resetRun(fromStep, errors, emptyDir && HUTFile(dir).isDir(), false, true);
    const bool isWhole =
        fromStep.empty() ||
        HSTStringUtils::iequals(fromStep, run.getFirstStep()->getFlowStep()->getAbbrev());
    // As long as a marker stands, the run is what its markers say.
    if (ok && isWhole)
        forgetLaunch(run);
    // The reset forgot the files of the run, which are named after the inputs.
    project.setInputs(project.getInputs());
    project.save();
    return ok;
}

}  // namespace workbench
