// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/runReset.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <boost/algorithm/string/join.hpp>
#include <unistd.h>

#include "environment/containers/HSTFwdIter.h"
#include "environment/errors/HEXUserException.h"
#include "environment/files/HUTFile.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/messages/ComMsgMgrInstance.h"
#include "environment/options/HATAttrSpec.h"
#include "environment/strings/HSTStringUtils.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "runs/base/xpreport/HAXRReportConfig.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/Project.h"
#include "workbench/abandon.h"
#include "workbench/history/History.h"
#include "workbench/launchDecision.h"
#include "workbench/launchLease.h"
#include "workbench/places/hostCalls.h"
#include "workbench/runEvidence.h"
#include "workbench/runStop.h"
#include "workbench/suggestion.h"
#include "workbench/undo/UndoStore.h"
#include "workbench/userRunScript.h"

namespace workbench {

namespace {

/// The step to reset from. @throws HEXUserException with the short names of all steps.
const HAXPExpRunStep* requireStep(const HAXPExpRun& run, const std::string& abbrev) {
    std::string known;
    const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(run.createRunStepIter());
    while (steps->hasNext()) {
        const HAXPExpRunStep* step = steps->next();
        const std::string& name = step->getFlowStep()->getAbbrev();
        if (abbrev.empty() || HSTStringUtils::iequals(name, abbrev))
            return step;
        known += (known.empty() ? "" : ", ") + name;
    }
    throw HEXUserException(ComMsgMgrInstance("workbench", ComMsgMgr::kError, "@60-53@%s%s%s",
                                             run.getName(), abbrev, withHint(abbrev, known)));
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

/// Before anything is touched: a run is reset or stays as it is.
void requireChangeable(const HAXPExpRun& run, const std::string& dir) {
    if (::access(dir.c_str(), W_OK | X_OK) != 0 && errno != ENOENT)
        throw HEXUserException(ComMsgMgrInstance("workbench", ComMsgMgr::kError, "@60-151@%s%s%s",
                                                 run.getName(), dir, std::strerror(errno)));
}

/// What a run knows of its launch, which a reset forgets whatever it can remove.
class LaunchMemory {
public:
    explicit LaunchMemory(const HAXPExpRun& run)
        : m_time(run.getInfo().getLaunchTime()), m_to(run.getInfo().getLaunchedTo()) {
        if (const HAXPStrategy* snapshot = run.getInfo().getRunSnapshotStrategy()) {
            m_snapshot = std::make_unique<HAXPStrategy>();
            m_snapshot->copyStrat(snapshot, true, boost::logic::indeterminate);
        }
    }
    void restore(HAXPExpRun& run) {
        run.getInfo().setLaunch(m_time, m_to);
        if (run.getInfo().getRunSnapshotStrategy() == nullptr)
            run.getInfo().setRunSnapshotStrategy(m_snapshot.release());
        run.updateStatus();
    }

private:
    long m_time;
    std::string m_to;
    std::unique_ptr<HAXPStrategy> m_snapshot;
};

/// Whether `name` is what a killed program left of saving one of `files`: a hidden name
/// that ends in ten characters of its own.
bool isLeftover(const std::string& name, const std::vector<std::string>& files) {
    constexpr std::size_t kTail = 11;
    if (name.size() <= kTail + 1 || name.front() != '.' || name[name.size() - kTail] != '.' ||
        name.find_first_not_of("abcdefghijklmnopqrstuvwxyz234567", name.size() - kTail + 1) !=
            std::string::npos)
        return false;
    const std::string file = name.substr(1, name.size() - kTail - 1);
    return std::find(files.begin(), files.end(), file) != files.end();
}

void removeLeftovers(const HAXPExpRun& run, const std::string& dir) {
    const std::vector<std::string> files = launchFiles(run);
    const std::unique_ptr<HSTFwdIter<HUTFile>> entries(HUTFile(dir).createFileIter());
    while (entries->hasNext()) {
        const HUTFile entry = entries->next();
        std::string name;
        entry.getName(name);
        if (isLeftover(name, files))
            entry.rm();
    }
}

void forgetLaunch(HAXPExpRun& run) {
    run.setRunMode(HAXPExpRun::kNotLaunched);
    run.getInfo().setLaunch(0, "");
    run.getInfo().setLaunchedInputs({});
    run.getInfo().setClusterConfigurationName("", true);
    run.setLatestStep(nullptr);
    HUTFile(run.pathOf(kLeaseName)).rm();
    HUTFile(run.pathOf(kHostClaimName)).rm();
    HUTFile(run.pathOf(kAbandonedName)).rm();
    dropRunScript(run);
    run.updateStatus();
}

}  // namespace

std::vector<std::string> launchFiles(const HAXPExpRun& run) {
    return {"runme.sh",    "rundef.js",  "runme.bat",
            "htr.txt",     "ZUMWrap.sh", "ZUMWrap.js",
            "reports.tcl", kLeaseName,   run.getStrategy()->getFlow()->getQueueMarkerName(),
            ".launch",     "job.id",     "job.id.log",
            kAbandonedName};
}

void removeReportData(const HAXPExpRun& run, const HAXPExpRunStep* first) {
    bool reached = false;
    const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(run.createRunStepIter());
    while (steps->hasNext()) {
        const HAXPExpRunStep* step = steps->next();
        reached = reached || step == first;
        const std::unique_ptr<HSTFwdIter<HAXRReportConfig*>> reports(
            step->createReportConfigIter());
        while (reached && reports->hasNext()) {
            const HAXRReportConfig* report = reports->next();
            const std::unique_ptr<HSTFwdIter<HATAttrSpec*>> options(
                report->createReportOutputOptionsIter());
            while (options && options->hasNext()) {
                const std::string name = report->getFile(options->next()->getName());
                if (!name.empty() && name.find('/') == std::string::npos)
                    HUTFile(run.pathOf(name)).rm();
            }
        }
    }
}

bool resetRun(Project& project, HAXPExpRun& run, const std::string& fromStep, bool emptyDir,
              HSTVector<std::string>& errors, bool evenInDoubt) {
    const HAXPExpRunStep* first = requireStep(run, fromStep);
    requireOwnDirectory(run, "reset");
    requireIdle(run, evenInDoubt);
    const std::string dir = run.getDir();
    if (!dir.empty())
        requireChangeable(run, dir);
    rememberBefore(project, run);
    UndoRun undone;
    undone.fromStep = fromStep;
    undone.keptFiles = !emptyDir;
    UndoScope undo(project, run, "reset", undone);
    if (isInDoubt(run)) {
        undo.keep(kLeaseName);
        supersedeLaunch(run, fromStep);
    }
    LaunchMemory memory(run);
    run.forgetSourceEvents(first);
    if (emptyDir && !dir.empty())
        removeReportData(run, first);
    const bool ok = run.resetRun(fromStep, errors, emptyDir && HUTFile(dir).isDir(), false, true);
    const bool isWhole =
        fromStep.empty() ||
        HSTStringUtils::iequals(fromStep, run.getFirstStep()->getFlowStep()->getAbbrev());
    // As long as a marker stands, the run is what its markers say.
    if (ok && isWhole) {
        forgetLaunch(run);
        if (emptyDir && HUTFile(dir).isDir())
            removeLeftovers(run, dir);
    }
    if (!ok && run.getRunMode() == HAXPExpRun::kLaunched)
        memory.restore(run);
    // The reset forgot the files of the run, which are named after the inputs.
    project.setInputs(project.getInputs());
    project.save();
    return ok;
}

}  // namespace workbench
