// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/places/ClusterPlace.h"

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include <pwd.h>
#include <unistd.h>

#include "environment/files/HUTFile.h"
#include "environment/files/HUTFileUtils.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/process/clock.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "runs/base/xperiment/stepMarkers.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/cluster/Scheduler.h"
#include "workbench/cluster/jobArray.h"
#include "workbench/cluster/jobFiles.h"
#include "workbench/fail.h"
#include "workbench/launchLease.h"
#include "workbench/places/HerePlace.h"
#include "workbench/places/openStep.h"
#include "workbench/runProcesses.h"

namespace workbench {

namespace {

using cluster::JobAnswer;
using cluster::JobKey;
using cluster::Scheduler;
using cluster::Submission;

/// Time for the scripts of a running job to see the request to stop.
constexpr long kScriptPatienceMs = 3000;
/// A scheduler that hears of its hosts once in a while.
constexpr long kEndMs = 60000;
constexpr long kPauseMs = 100;

std::unique_ptr<Scheduler> schedulerOf(const LaunchWay& way) {
    return Scheduler::make(way.kind == LaunchWay::Kind::kSge ? Scheduler::kSge : Scheduler::kLsf,
                           way.command);
}

const char* schedulerName(const LaunchWay& way) {
    return way.kind == LaunchWay::Kind::kSge ? "the grid engine" : "LSF";
}

/// Who submitted the job; empty for this user, or when it can't be told.
std::string ownerOf(const LaunchLease& lease) {
    constexpr std::size_t kBufferSize = 16384;
    const auto uid = static_cast<uid_t>(lease.launcher.getUid());
    std::vector<char> buffer(kBufferSize);
    struct passwd entry {};
    struct passwd* found = nullptr;
    if (lease.launcher.getUid() < 0 || uid == geteuid() ||
        getpwuid_r(uid, &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr)
        return {};
    return found->pw_name;
}

JobKey jobKeyOf(const HAXPExpRun& run, const LaunchLease& lease) {
    return {lease.way.jobName, cluster::readJobId(run.getDir()), ownerOf(lease), lease.way.task};
}

/// LSF makes one line of the words of a command, for a shell.
bool isPlainWord(const std::string& path) {
    return path.find_first_of(" \t'\"`\\$&|;<>()#~*?[]{}!^") == std::string::npos;
}

/// A job that didn't write its identifier down when it was submitted does so now.
void adopt(const HAXPExpRun& run, const std::string& id) {
    std::string reason;
    if (!id.empty() && HUTFile(run.getDir()).isDir() && cluster::readJobId(run.getDir()) != id)
        cluster::writeJobId(run.getDir(), id, reason);
}

/// Whether the scheduler has answered whoever launches: what it said is written at once.
/// Until then the queue may not have the job yet.
bool wasSubmitted(const HAXPExpRun& run) {
    return HUTFile::exists(run.pathOf(cluster::kJobIdName)) ||
           HUTFile::exists(run.pathOf(cluster::kJobLogName));
}

bool isBeingSubmitted(const HAXPExpRun& run, const LaunchLease& lease) {
    return !wasSubmitted(run) && lookAtLauncher(lease) == HUTProcessHandle::Life::kAlive;
}

void warnUnsure(const std::string& what, const LaunchWay& way, const std::string& told) {
    ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "workbench", ComMsgMgr::kWarning,
                             "@60-112@%s%s%s", what, schedulerName(way), told);
}

void noteId(const std::string& runName, const std::string& dir, const std::string& id) {
    std::string reason;
    if (!cluster::writeJobId(dir, id, reason))
        ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "workbench", ComMsgMgr::kWarning,
                                 "@60-113@%s%s%s", runName, id, reason);
}

/// "a, b and 7 more".
std::string runNames(const std::vector<ArrayRun>& runs) {
    constexpr std::size_t kMostNames = 3;
    std::string names;
    for (std::size_t i = 0; i < std::min(runs.size(), kMostNames); ++i)
        names += (i == 0 ? "" : ", ") + runs[i].run->getName();
    if (runs.size() > kMostNames)
        names += " and " + std::to_string(runs.size() - kMostNames) + " more";
    return names;
}

cluster::ArrayJob arrayOf(const std::string& projectDir, const std::vector<ArrayRun>& runs,
                          long mostAtOnce) {
    const LaunchWay& way = runs.front().lease.way;
    std::vector<cluster::ArrayTask> tasks;
    tasks.reserve(runs.size());
    for (const ArrayRun& one : runs)
        tasks.push_back({one.lease.way.task, one.run->getDir(), one.lease.id});
    cluster::ArrayJob array;
    array.name = way.jobName;
    array.taskCount = tasks.back().number;
    array.mostAtOnce = mostAtOnce;
    array.script = cluster::writeArrayScript(
        projectDir, array.name, cluster::arrayScript(tasks, schedulerOf(way)->taskVariable()));
    if (way.kind == LaunchWay::Kind::kLsf && !isPlainWord(array.script))
        fail("@60-115@%s%s", runNames(runs), array.script);
    return array;
}

/// Waits a while for a running job that was asked to end.
void letEnd(HAXPExpRun& run) {
    const long limit = process::clock().nowMs() + kScriptPatienceMs;
    while (run.isAtWork() && process::clock().nowMs() < limit) {
        process::clock().sleepMs(kPauseMs);
        run.updateStatus();
    }
}

}  // namespace

ClusterPlace::ClusterPlace() = default;

ClusterPlace::~ClusterPlace() = default;

void ClusterPlace::complete(const HAXPExpRun& run, LaunchLease& lease) const {
    // The name of an array was chosen for all of its runs.
    if (lease.way.task == 0)
        lease.way.jobName = schedulerOf(lease.way)->nameFor(run.getName(), run.getDir(), lease.id);
}

void ClusterPlace::start(HAXPExpRun& run, const LaunchLease& lease) const {
    check(lease.way);
    const std::string dir = run.getDir();
    if (lease.way.kind == LaunchWay::Kind::kLsf && !isPlainWord(dir))
        fail("@60-115@%s%s", run.getName(), dir);
    cluster::removeJobFiles(dir);
    const Submission submission =
        schedulerOf(lease.way)->submit({lease.way.jobName, dir, lease.id});
    cluster::writeJobLog(dir, submission.log);
    if (submission.result == Submission::kRefused) {
        // Should a job come up all the same, it finds itself superseded.
        HUTFile(run.pathOf(kLeaseName)).rm();
        fail("@60-111@%s%s%s", run.getName(), schedulerName(lease.way), submission.told);
    }
    if (submission.result == Submission::kUnsure) {
        warnUnsure("run " + run.getName(), lease.way, submission.told);
        return;
    }
    noteId(run.getName(), dir, submission.id);
}

Evidence ClusterPlace::look(HAXPExpRun& run, const LaunchLease& lease) const {
    Evidence evidence;
    if (isBeingSubmitted(run, lease)) {
        evidence.life = RunLife::kAlive;
        evidence.lines.emplace_back("its job is being submitted");
        return evidence;
    }
    const JobAnswer job = schedulerOf(lease.way)->look(jobKeyOf(run, lease));
    adopt(run, job.id);
    evidence.lines.push_back(job.told);
    if (job.state == JobAnswer::kUnknown)
        return evidence;
    if (job.state == JobAnswer::kGone && !wasSubmitted(run) &&
        lookAtLauncher(lease) == HUTProcessHandle::Life::kUnknown) {
        evidence.lines.emplace_back("who launched it can't be seen from here, and may be about "
                                    "to submit it");
        return evidence;
    }
    evidence.life = RunLife::kAlive;
    if (job.state != JobAnswer::kGone)
        return evidence;
    // What left the session of a job may outlive it.
    evidence.life = RunLife::kGone;
    if (!findRunProcesses(run.getDir(), lease.id).empty()) {
        evidence.life = RunLife::kAlive;
        evidence.lines.emplace_back("a process of it is on this host");
    }
    return evidence;
}

StopResult ClusterPlace::stop(HAXPExpRun& run, const LaunchLease& lease) const {
    const std::unique_ptr<Scheduler> scheduler = schedulerOf(lease.way);
    const JobKey key = jobKeyOf(run, lease);
    if (!run.isAtWork() && (!hasOpenStep(run) || scheduler->look(key).state == JobAnswer::kGone))
        return HerePlace::endProcesses(run, lease);
    if (isBeingSubmitted(run, lease))
        fail("@60-114@%s%s", run.getName(), "its job is being submitted right now");
    const long start = process::clock().nowMs();
    // First of all: what ends now is followed by no other step.
    HUTFileUtils::rewriteFile(run.pathOf(xperiment::stopMarker), "", false);
    if (run.getStatus()->getCode() == HDGUIStatus::statusRunning)
        letEnd(run);
    std::string reason;
    if (!scheduler->end(key, kEndMs, reason))
        fail("@60-114@%s%s", run.getName(), reason);
    HUTFile(run.queueMarkerPath()).rm();
    run.updateStatus();
    StopResult result = HerePlace::endProcesses(run, lease);
    closeOpenStep(run, lease, "its job was ended");
    result.wasIdle = false;
    result.job = key.id.empty() ? "its job" : "job " + key.id;
    result.ms = process::clock().nowMs() - start;
    return result;
}

void ClusterPlace::startArray(const std::string& projectDir, const std::vector<ArrayRun>& runs,
                              long mostAtOnce) {
    const LaunchWay& way = runs.front().lease.way;
    checkArrays(way);
    const cluster::ArrayJob array = arrayOf(projectDir, runs, mostAtOnce);
    const std::unique_ptr<Scheduler> scheduler = schedulerOf(way);
    for (const ArrayRun& one : runs)
        cluster::removeJobFiles(one.run->getDir());
    const Submission submission = scheduler->submitArray(array);
    for (const ArrayRun& one : runs) {
        const std::string dir = one.run->getDir();
        cluster::writeJobLog(dir, submission.log);
        if (submission.result == Submission::kTaken)
            noteId(one.run->getName(), dir, scheduler->taskId(submission.id, one.lease.way.task));
        // Should a task come up all the same, it finds itself superseded.
        if (submission.result == Submission::kRefused)
            HUTFile(one.run->pathOf(kLeaseName)).rm();
    }
    if (submission.result == Submission::kRefused)
        fail("@60-202@%s%s%s", runNames(runs), schedulerName(way), submission.told);
    if (submission.result == Submission::kUnsure)
        warnUnsure("runs " + runNames(runs), way, submission.told);
}

void ClusterPlace::checkArrays(const LaunchWay& way) {
    check(way);
    std::string reason;
    if (!schedulerOf(way)->checkArrays(reason))
        fail("@60-110@%s%s", schedulerName(way), reason);
}

void ClusterPlace::check(const LaunchWay& way) {
    std::string reason;
    if (!schedulerOf(way)->check(reason))
        fail("@60-110@%s%s", schedulerName(way), reason);
}

}  // namespace workbench
