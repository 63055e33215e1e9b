// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/runEvidence.h"

#include <algorithm>
#include <cstdlib>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fmt/format.h>

#include "environment/process/processTable.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xperiment/stepMarkers.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/fileTimes.h"
#include "workbench/launchLease.h"
#include "workbench/links.h"
#include "workbench/places/HerePlace.h"
#include "workbench/places/RunPlace.h"

namespace workbench {

namespace {

using Life = HUTProcessHandle::Life;
using Verdict = RunEvidence::Verdict;

bool isAlive(const LifeSigns& signs) {
    return signs.place == RunLife::kAlive || signs.lock == RunLife::kAlive ||
           signs.process == Life::kAlive;
}

/// Whether something that should live doesn't. A lock that is free here says nothing of other
/// hosts.
bool isGone(const LifeSigns& signs) {
    return signs.place == RunLife::kGone || (signs.isHere && signs.lock == RunLife::kGone) ||
           signs.process == Life::kGone || signs.process == Life::kEarlier;
}

bool wroteLately(const LifeSigns& signs) {
    return signs.silentSec && *signs.silentSec < kPatienceSec;
}

bool isSilent(const LifeSigns& signs) {
    return signs.silentSec && *signs.silentSec >= kPatienceSec;
}

/// The time of the folder's file system; nothing when no file can be made there.
std::optional<long> timeIn(const std::string& folder) {
    // Who only looks leaves alone what a link leads to.
    if (isLink(folder))
        return {};
    std::string path = folder + "/.look.XXXXXX";
    const int fd = mkostemp(path.data(), O_CLOEXEC);
    if (fd < 0)
        return {};
    struct stat info {};
    const bool isTold = fstat(fd, &info) == 0;
    close(fd);
    unlink(path.c_str());
    return isTold ? std::optional<long>(info.st_mtim.tv_sec) : std::nullopt;
}

/// What is written while a run works, in its directory.
std::vector<std::string> writtenFiles(const HAXPExpRun& run, const HAXPExpRunStep* step) {
    std::vector<std::string> names{"runme.log", kLeaseName,
                                   run.getStrategy()->getFlow()->getQueueMarkerName()};
    if (step != nullptr)
        names.push_back(xperiment::stepMarker(step->getFlowStep()->getStatusTrackingStr(),
                                              xperiment::beginMarker));
    return names;
}

/// What works on this host is seen best from here, whoever brought it here.
void askPlace(HAXPExpRun& run, const LaunchLease* lease, LifeSigns& signs,
              std::vector<std::string>& lines) {
    const LaunchLease none;
    const LaunchLease& asked = lease == nullptr ? none : *lease;
    const Evidence found =
        signs.isHere ? HerePlace().look(run, asked) : RunPlace::of(asked)->look(run, asked);
    signs.place = found.life;
    lines.insert(lines.end(), found.lines.begin(), found.lines.end());
}

void lookAtProcess(const HAXPExpRunStep& step, LifeSigns& signs, std::vector<std::string>& lines) {
    const HUTProcessHandle& process = *step.getProcInfo();
    signs.process = process.look();
    std::string host;
    process.getHostname(host);
    const std::string& id = step.getFlowStep()->getFlowStepId();
    if (signs.process == Life::kEarlier)
        lines.push_back(fmt::format("{} was started anew since {} began", host, id));
    else if (signs.process == Life::kGone)
        lines.push_back(fmt::format("process {} of {} is gone", process.getPid(), id));
    else if (signs.process == Life::kAlive)
        lines.push_back(fmt::format("process {} of {} lives", process.getPid(), id));
}

std::string silenceText(const std::optional<long>& seconds) {
    return seconds ? fmt::format("it last wrote {} ago", roughDuration(*seconds))
                   : "when it last wrote can't be told";
}

std::string handleText(void (HUTProcessHandle::*get)(std::string&) const,
                       const HUTProcessHandle& process) {
    std::string text;
    (process.*get)(text);
    return text;
}

bool isSame(const std::string& recorded, const std::string& here) {
    return recorded.empty() || here.empty() || recorded == here;
}

}  // namespace

bool worksHere(const LaunchLease* lease, const HUTProcessHandle* process) {
    process::ProcessTable& table = process::processTable();
    if (process != nullptr && process->isPartialComplete())
        return handleText(&HUTProcessHandle::getHostname, *process) == table.hostName() &&
               isSame(handleText(&HUTProcessHandle::getPidNamespace, *process),
                      table.pidNamespace());
    return lease == nullptr ||
           (lease->way.kind == LaunchWay::Kind::kHere &&
            isSame(handleText(&HUTProcessHandle::getHostname, lease->launcher), table.hostName()));
}

RunEvidence gatherEvidence(HAXPExpRun& run, const LaunchLease* lease, const HAXPExpRunStep* step) {
    RunEvidence evidence;
    LifeSigns signs;
    signs.isHere = worksHere(lease, step == nullptr ? nullptr : step->getProcInfo());
    signs.silentSec = secondsOfSilence(run.getDir(), writtenFiles(run, step));
    if (signs.isHere || !wroteLately(signs)) {
        askPlace(run, lease, signs, evidence.lines);
        signs.lock = probeRunLock(run.getDir());
        if (!signs.isHere && signs.lock == RunLife::kAlive)
            evidence.lines.emplace_back("its lock is held");
        if (step != nullptr)
            lookAtProcess(*step, signs, evidence.lines);
    }
    evidence.lines.push_back(silenceText(signs.silentSec));
    evidence.verdict = judge(signs);
    return evidence;
}

RunEvidence::Verdict judge(const LifeSigns& signs) {
    if (isAlive(signs))
        // A step that has just ended leaves the same signs for a moment.
        return isGone(signs) && isSilent(signs) ? Verdict::kUnknown : Verdict::kAlive;
    if (signs.place == RunLife::kGone && (signs.isHere || isSilent(signs)))
        return Verdict::kLost;
    return wroteLately(signs) ? Verdict::kAlive : Verdict::kUnknown;
}

std::optional<long> secondsOfSilence(const std::string& runDir,
                                     const std::vector<std::string>& names) {
    std::optional<long> latest;
    for (const std::string& name : names) {
        struct stat info {};
        if (stat(xperiment::markerPath(runDir, name).c_str(), &info) == 0)
            latest = std::max(latest.value_or(info.st_mtim.tv_sec), info.st_mtim.tv_sec);
    }
    const std::optional<long> now = latest ? timeIn(runDir) : std::nullopt;
    if (!now || *latest > *now + kCoarsestClockSec)
        return {};
    return std::max(0L, *now - *latest);
}

std::string roughDuration(long seconds) {
    struct Unit {
        long seconds;
        const char* name;
    };
    constexpr long kMinute = 60;
    constexpr long kHour = 60 * kMinute;
    constexpr long kDay = 24 * kHour;
    // The unit of which there are two or more.
    for (const Unit& unit : {Unit{kDay, " days"}, Unit{kHour, " h"}, Unit{kMinute, " min"}}) {
        if (seconds >= 2 * unit.seconds)
            return std::to_string(seconds / unit.seconds) + unit.name;
    }
    return std::to_string(seconds) + " s";
}

}  // namespace workbench
