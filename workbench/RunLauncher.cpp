// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/RunLauncher.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <sys/statvfs.h>
#include <unistd.h>

#include "environment/containers/HSTFwdIter.h"
#include "environment/errors/HEXError.h"
#include "environment/errors/HEXUserException.h"
#include "environment/errors/HXMLException.h"
#include "environment/files/HUTFile.h"
#include "environment/files/HUTFileUtils.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/messages/ComMsgMgrInstance.h"
#include "environment/process/HUTFork.h"
#include "runs/base/xperiment/HAXPDataMgr.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HAXPScriptWriter.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "workbench/DesignInputs.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenDataMgr.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/Project.h"
#include "workbench/abandon.h"
#include "workbench/cluster/Scheduler.h"
#include "workbench/cluster/gridKill.h"
#include "workbench/cluster/jobArray.h"
#include "workbench/cluster/jobFiles.h"
#include "workbench/entryRules.h"
#include "workbench/fail.h"
#include "workbench/history/History.h"
#include "workbench/launchDecision.h"
#include "workbench/links.h"
#include "workbench/places/ClusterPlace.h"
#include "workbench/places/RunPlace.h"
#include "workbench/places/knownWays.h"
#include "workbench/reportScript.h"
#include "workbench/runLock.h"
#include "workbench/runReset.h"
#include "workbench/undo/UndoStore.h"
#include "workbench/userRunScript.h"

namespace {

using workbench::fail;

bool endsWith(const std::string& text, const std::string& tail) {
    return text.size() >= tail.size() &&
           text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

/// Whether "runme.sh" was written to its last line.
bool isWhole(const HAXPExpRun& run) {
    std::string script;
    return HUTFileUtils::readFile(run.pathOf("runme.sh"), workbench::kLargestRunScript, script) &&
           endsWith(script, OpenDataMgr::getLastLine() + "\n\n\n");
}

/// `script` with the name of `run` and every number as one sign: a shell takes two scripts
/// that are the same so far alike.
std::string formOf(const HAXPExpRun& run, std::string script) {
    for (std::size_t at = 0; (at = script.find(run.getName(), at)) != std::string::npos; ++at)
        script.replace(at, run.getName().size(), "@");
    std::string form;
    form.reserve(script.size());
    for (const char c : script) {
        const bool isDigit = c >= '0' && c <= '9';
        if (!isDigit || form.empty() || form.back() != '0')
            form += isDigit ? '0' : c;
    }
    return form;
}

bool isUnderstood(const HAXPExpRun& run) {
    HUTFork shell;
    shell.addArg("sh");
    shell.addArg("-n");
    shell.addArg(run.pathOf("runme.sh"));
    return shell.launch(true, false, true, true) == 0;
}

/// What may have kept the scripts from being whole, and what to do.
std::string adviceFor(const std::string& dir) {
    struct statvfs info {};
    if (statvfs(dir.c_str(), &info) == 0 && (info.f_bavail == 0 || info.f_favail == 0))
        return "The disk of " + dir + " is full; make room and launch again.";
    return "Check that you may write to " + dir + " and that it has room, then launch again.";
}

/// The present time on the clock of the run directory, from a file made there.
long launchTimeOf(const HAXPExpRun& run) {
    const std::string path = run.pathOf(".launch");
    long seconds = 0;
    // Without a sync: only its time counts.
    if (!HUTFile(path).rm() || !HUTFileUtils::rewriteFile(path, "", false) ||
        !HUTFile::getFileStamp(path.c_str(), seconds))
        fail("@60-43@%s%s", run.getName(), adviceFor(run.getDir()));
    HUTFile(path).rm();
    return seconds;
}

/// The status tracking strings of the steps before `first`, of all when that is null.
std::vector<std::string> stepsBefore(const HAXPExpRun& run, const HAXPExpRunStep* first) {
    std::vector<std::string> names;
    const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(run.createRunStepIter());
    while (steps->hasNext()) {
        const HAXPExpRunStep* step = steps->next();
        if (step == first)
            break;
        names.push_back(step->getFlowStep()->getStatusTrackingStr());
    }
    return names;
}

void clearFiles(const HAXPExpRun& run, const HAXPExpRunStep* first) {
    workbench::removeReportData(run, first);
    bool reached = false;
    const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(run.createRunStepIter());
    while (steps->hasNext()) {
        HAXPExpRunStep* step = steps->next();
        reached = reached || step == first;
        if (reached)
            step->resetStep(run.getDir(), true);
    }
}

/// Makes `run`, which has a directory, show as queued.
void showWaiting(HAXPExpRun& run) {
    workbench::LaunchLease lease = workbench::makeLease();
    lease.isWaiting = true;
    try {
        workbench::writeLease(run.queueMarkerPath(), lease);
    } catch (const HXMLException&) {
        fail("@60-43@%s%s", run.getName(), adviceFor(run.getDir()));
    }
    run.updateStatus();
}

}  // namespace

RunLauncher::RunLauncher(Project& project) : m_project(project) {}

void RunLauncher::launch(HAXPExpRun& run, const workbench::LaunchWay& way,
                         const std::string& userScript) {
    prepare_(run, way, userScript);
    try {
        recordLaunch_(run);
        start_(run);
    } catch (const HEXUserException&) {
        forgetLaunch_(run);
        throw;
    }
}

/// Everything but the record of the launch and its start.
void RunLauncher::prepare_(HAXPExpRun& run, const workbench::LaunchWay& way,
                           const std::string& userScript) {
    run.updateStatus();
    const bool waits = isEnqueued(run);
    if (!waits && run.isAtWork())
        run.lookForLife();
    if (!waits)
        workbench::requireNotAtWork(run);
    checkInputs_(run);
    prepareDirectory_(run);
    if (!waits)
        workbench::rememberBefore(m_project, run);
    const HAXPExpRunStep* first = workbench::firstStepToRun(run);
    // Before the scripts are written, which takes back a request to stop: a job of an earlier
    // launch that starts from here on ends by itself.
    takeBack_(run, way, first);
    writeScripts_(run, userScript);
    if (waits && !isEnqueued(run))
        fail("@60-54@%s", run.getName());
    // Before the record: a launch that is killed behind that was still to begin.
    showQueued_(run);
}

void RunLauncher::forgetLaunch_(HAXPExpRun& run) {
    HUTFile(run.queueMarkerPath()).rm();
    run.setRunMode(HAXPExpRun::kNotLaunched);
    run.getInfo().setLaunch(0, "");
}

std::vector<RunLauncher::Refusal> RunLauncher::launchTogether(const std::vector<Start>& starts,
                                                              const workbench::LaunchWay& way,
                                                              const std::string& label,
                                                              long mostAtOnce) {
    std::vector<Refusal> refused;
    std::vector<workbench::ArrayRun> ready;
    workbench::LaunchWay task = way;
    task.jobName = cluster::Scheduler::arrayName(label, workbench::makeLease().id);
    for (const Start& start : starts) {
        // No two runs ever had one number: what is left of a run that failed names a task of
        // nobody.
        ++task.task;
        try {
            prepareTask_(start, task);
            ready.push_back({start.run, m_lease});
        } catch (const HEXUserException& error) {
            refused.push_back({start.run, error.what()});
        }
    }
    if (!ready.empty())
        startTogether_(ready, mostAtOnce, refused);
    return refused;
}

void RunLauncher::prepareTask_(const Start& start, const workbench::LaunchWay& way) {
    prepare_(*start.run, way, start.userScript);
    try {
        recordLaunch_(*start.run);
    } catch (const HEXUserException&) {
        forgetLaunch_(*start.run);
        throw;
    }
}

void RunLauncher::startTogether_(const std::vector<workbench::ArrayRun>& runs, long mostAtOnce,
                                 std::vector<Refusal>& refused) {
    dropArrayScripts_();
    std::string fault;
    try {
        workbench::rememberWay(runs.front().lease.way);
        workbench::ClusterPlace::startArray(m_project.getDir(), runs, mostAtOnce);
    } catch (const HEXUserException& error) {
        fault = error.what();
    }
    bool isFirst = true;
    for (const workbench::ArrayRun& one : runs) {
        if (!fault.empty()) {
            forgetLaunch_(*one.run);
            save_(*one.run);
            refused.push_back({one.run, isFirst ? fault : std::string()});
            isFirst = false;
        }
        one.run->updateStatus();
    }
}

/// Those of arrays that no run is a task of any more.
void RunLauncher::dropArrayScripts_() const {
    std::vector<std::string> names;
    for (const HAXPExpRun* run : m_project.getRuns()) {
        workbench::LaunchLease lease;
        if (!run->getDir().empty() &&
            workbench::readLease(run->pathOf(workbench::kLeaseName), lease) && lease.way.task != 0)
            names.push_back(lease.way.jobName);
    }
    cluster::dropArrayScripts(m_project.getDir(), names);
}

void RunLauncher::enqueue(HAXPExpRun& run) {
    prepareToWait_(run);
    // Once it waits, its status tells nothing of the launch before.
    workbench::rememberBefore(m_project, run);
    m_project.save();
    showWaiting(run);
}

std::vector<RunLauncher::Refusal> RunLauncher::enqueue(const std::vector<HAXPExpRun*>& runs) {
    std::vector<Refusal> refused;
    std::vector<HAXPExpRun*> ready;
    bool isAnyNew = false;
    for (HAXPExpRun* run : runs) {
        try {
            isAnyNew = isAnyNew || run->getDir().empty();
            prepareToWait_(*run);
            ready.push_back(run);
        } catch (const HEXUserException& error) {
            refused.push_back({run, error.what()});
        }
    }
    for (HAXPExpRun* run : ready)
        workbench::rememberBefore(m_project, *run);
    if (isAnyNew && !ready.empty())
        m_project.save();
    for (HAXPExpRun* run : ready) {
        try {
            showWaiting(*run);
        } catch (const HEXUserException& error) {
            refused.push_back({run, error.what()});
        }
    }
    return refused;
}

void RunLauncher::prepareToWait_(HAXPExpRun& run) {
    run.updateStatus();
    workbench::requireNotAtWork(run);
    workbench::requireSources(run);
    prepareDirectory_(run);
}

void RunLauncher::saveRunsAlone(const std::vector<HAXPExpRun*>& runs) {
    for (HAXPExpRun* run : runs) {
        try {
            workbench::requireSources(*run);
            if (run->getDir().empty())
                HAXPDataMgr::assignRunDir(run, m_project.getRunsDir());
        } catch (const HEXError&) {
            // Its launch says so.
        }
    }
    m_project.save();
    m_savesRunsAlone = true;
}

void RunLauncher::save_(const HAXPExpRun& run) {
    if (m_savesRunsAlone)
        m_project.saveLaunch(run);
    else
        m_project.save();
}

/// Each form of a script is given to a shell once.
bool RunLauncher::parses_(const HAXPExpRun& run) {
    std::string script;
    if (!HUTFileUtils::readFile(run.pathOf("runme.sh"), workbench::kLargestRunScript, script))
        return false;
    const std::string form = formOf(run, script);
    if (m_understood.count(form) > 0)
        return true;
    const bool isGood = isUnderstood(run);
    if (isGood)
        m_understood.insert(form);
    return isGood;
}

bool RunLauncher::isEnqueued(const HAXPExpRun& run) {
    workbench::LaunchLease lease;
    return !run.getDir().empty() && workbench::readLease(run.queueMarkerPath(), lease) &&
           lease.isWaiting && lease.launcher.getPid() == getpid() &&
           workbench::lookAtLauncher(lease) == HUTProcessHandle::Life::kAlive;
}

void RunLauncher::takeBack(HAXPExpRun& run) {
    HUTFile(run.queueMarkerPath()).rm();
    run.updateStatus();
}

void RunLauncher::checkInputs_(const HAXPExpRun& run) const {
    const HAXPExpRun* synthesis = m_project.getSynthesisOf(run);
    if (synthesis != nullptr && synthesis->getStatus()->getCode() != HDGUIStatus::statusDone)
        fail("@60-45@%s%s", run.getName(), synthesis->getName());
    workbench::requireSources(run);
}

void RunLauncher::prepareDirectory_(HAXPExpRun& run) {
    if (run.getDir().empty())
        HAXPDataMgr::assignRunDir(&run, m_project.getRunsDir());
    const std::string dir = run.getDir();
    workbench::requireScriptPath(dir);
    workbench::requireOwnDirectory(run, "launched");
    if (!HUTFile(dir).isDir() && !HUTFile(dir).mkDirRecursive())
        throw HEXUserException(ComMsgMgrInstance("runs", ComMsgMgr::kError, "@36-66@%s", dir));
    // The run's script opens them where they are.
    for (const char* name : {"runme.log", workbench::kRunLockName})
        workbench::makeWayForFile(run.pathOf(name));
    // An implementation finds the netlist by the directory of its synthesis.
    m_project.tellDependants(run);
}

/// The launch before can be brought back.
void RunLauncher::takeBack_(HAXPExpRun& run, const workbench::LaunchWay& way,
                            const HAXPExpRunStep* first) {
    std::optional<workbench::UndoScope> undo;
    if (first != nullptr && run.getInfo().getLaunchTime() != 0) {
        workbench::UndoRun what;
        if (first != run.getFirstStep())
            what.fromStep = first->getFlowStep()->getAbbrev();
        undo.emplace(m_project, run, "launch", what);
        for (const std::string& name : workbench::launchFiles(run)) {
            if (name != run.getStrategy()->getFlow()->getQueueMarkerName())
                undo->keep(name);
        }
    }
    takeLease_(run, way, first);
    // What the steps made would be written over.
    if (undo && undo->isKeeping())
        clearFiles(run, first);
    takeBackSteps_(run, first);
}

void RunLauncher::takeBackSteps_(HAXPExpRun& run, const HAXPExpRunStep* first) {
    if (first != nullptr && !run.resetFrom(first))
        fail("@60-42@%s%s", run.getName(), run.getDir());
    // A run that isn't on a cluster any more must not be killed through it.
    cluster::removeJobFiles(run.getDir());
    HUTFile(run.pathOf(workbench::kAbandonedName)).rm();
    // A run that begins anew has a log of its own; one that goes on adds to it.
    if (first == run.getFirstStep())
        HUTFile(run.pathOf("runme.log")).rm();
}

void RunLauncher::writeScripts_(HAXPExpRun& run, const std::string& userScript) {
    workbench::writeReportScript(run);
    HAXPScriptWriter(&run).writeScript();
    if (userScript.empty())
        workbench::dropRunScript(run);
    else
        workbench::useRunScript(run, userScript);
    const bool hasWrapper = HUTFile(run.pathOf("ZUMWrap.sh")).size() > 0;
    if (!hasWrapper || !isWhole(run) || !parses_(run))
        fail("@60-43@%s%s", run.getName(), adviceFor(run.getDir()));
}

void RunLauncher::recordLaunch_(HAXPExpRun& run) {
    auto snapshot = std::make_unique<HAXPStrategy>();
    snapshot->copyStrat(run.getStrategy(), true, boost::logic::indeterminate);
    delete run.getInfo().getRunSnapshotStrategy();
    run.getInfo().setRunSnapshotStrategy(snapshot.release());
    std::string toStep;
    run.getInfo().setLaunch(launchTimeOf(run), run.getToStepId(toStep));
    run.getInfo().recordLaunch();
    cluster::nameConfiguration(run.getInfo(), m_lease.way);
    run.setRunMode(HAXPExpRun::kLaunched);
    save_(run);
    // The runs that start from this one hear of its directory and launch.
    m_project.tellDependants(run);
}

void RunLauncher::takeLease_(HAXPExpRun& run, const workbench::LaunchWay& way,
                             const HAXPExpRunStep* first) {
    m_lease = workbench::makeLease();
    m_lease.way = way;
    m_lease.keptSteps = stepsBefore(run, first);
    workbench::RunPlace::of(m_lease)->complete(run, m_lease);
    try {
        workbench::writeLease(run.pathOf(workbench::kLeaseName), m_lease);
    } catch (const HXMLException&) {
        fail("@60-43@%s%s", run.getName(), adviceFor(run.getDir()));
    }
}

/// The marker holds the lease too, unsynced: it only shows the moment until the script
/// begins, or doesn't.
void RunLauncher::showQueued_(HAXPExpRun& run) {
    HUTFile(run.pathOf(workbench::kLeaseName))
        .copyTo(run.queueMarkerPath(), HUTFile::kReplaceExisting);
}

void RunLauncher::start_(HAXPExpRun& run) {
    try {
        workbench::rememberWay(m_lease.way);
        workbench::RunPlace::of(m_lease)->start(run, m_lease);
    } catch (const HEXUserException&) {
        run.setRunMode(HAXPExpRun::kNotLaunched);
        run.getInfo().setLaunch(0, "");
        save_(run);
        throw;
    }
    run.updateStatus();
}
