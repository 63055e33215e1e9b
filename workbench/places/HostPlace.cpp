// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/places/HostPlace.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "environment/errors/HXMLException.h"
#include "environment/files/HUTFile.h"
#include "environment/files/HUTFileUtils.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/messages/ComMsgMgrInstance.h"
#include "environment/process/HUTProcessHandle.h"
#include "environment/process/clock.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "runs/base/xperiment/stepMarkers.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/launchLease.h"
#include "workbench/places/hostCalls.h"
#include "workbench/places/openStep.h"
#include "workbench/runLock.h"

namespace workbench {

namespace {

HostCalls callsOf(const HAXPExpRun& run, const LaunchLease& lease) {
    return {lease.way.command, lease.way.host, run.getDir(), lease.id};
}

[[noreturn]] void failToStart(const HAXPExpRun& run, const LaunchLease& lease,
                              const std::string& words) {
    throw HostError(ComMsgMgrInstance("workbench", ComMsgMgr::kError, "@60-130@%s%s%s",
                                      run.getName(), lease.way.host, words));
}

[[noreturn]] void failToStop(const HAXPExpRun& run, const std::string& words) {
    throw HEXUserException(
        ComMsgMgrInstance("workbench", ComMsgMgr::kError, "@60-133@%s%s", run.getName(), words));
}

bool differ(const std::string& a, const std::string& b) {
    return a != "-" && b != "-" && a != b;
}

/// What keeps the answer from being about the host, and the start of it, that the launch
/// began on; empty when it is. Sets `life` to what follows.
std::string whyOther(const HostIdentity& claim, const HostIdentity& now, const std::string& host,
                     RunLife& life) {
    if (differ(claim.bootId, now.bootId)) {
        if (claim.name == now.name) {
            life = RunLife::kGone;
            return fmt::format("{} was started anew since the run began", host);
        }
        return fmt::format("{} is another host now: it calls itself {}, and the run began on {}",
                           host, now.name, claim.name);
    }
    if (differ(claim.pidNamespace, now.pidNamespace))
        return fmt::format("{} answers from another container than the one that the run began in",
                           host);
    return {};
}

std::string processesText(std::size_t count) {
    return fmt::format("{} process{} of it {} on", count, count == 1 ? "" : "es",
                       count == 1 ? "is" : "are");
}

/// What the answer of the host proves.
Evidence judgeHost(const HAXPExpRun& run, const LaunchLease& lease, const HostLook& look) {
    const std::string& host = lease.way.host;
    Evidence evidence;
    if (!look.isTold) {
        evidence.lines.push_back(fmt::format("{} can't be asked: {}", host, look.words));
        return evidence;
    }
    if (!look.pids.empty())
        evidence.lines.push_back(fmt::format("{} {}", processesText(look.pids.size()), host));
    if (look.lock == RunLife::kAlive)
        evidence.lines.push_back("its lock is held on " + host);
    if (!evidence.lines.empty()) {
        evidence.life = RunLife::kAlive;
        return evidence;
    }
    HostIdentity claim;
    const std::string other = readHostClaim(run.getDir(), lease.id, claim)
                                  ? whyOther(claim, look.host, host, evidence.life)
                                  : std::string();
    if (!other.empty()) {
        evidence.lines.push_back(other);
    } else if (look.seesProcesses || look.lock == RunLife::kGone) {
        evidence.life = RunLife::kGone;
        evidence.lines.push_back("no process of it is on " + host);
    } else {
        evidence.lines.push_back(host + " has no programs to look for processes with");
    }
    return evidence;
}

/// Writes the lease again that was taken away; false when that doesn't work.
bool restoreLease(const HAXPExpRun& run, const LaunchLease& lease) {
    try {
        writeLease(run.pathOf(kLeaseName), lease);
        return true;
    } catch (const HXMLException&) {
        return false;
    }
}

bool isClaimed(const HAXPExpRun& run, const LaunchLease& lease) {
    HostIdentity claim;
    return readHostClaim(run.getDir(), lease.id, claim);
}

void warn(const HAXPExpRun& run, const LaunchLease& lease, const std::string& words) {
    ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "workbench", ComMsgMgr::kWarning,
                             "@60-132@%s%s%s", run.getName(), lease.way.host, words);
}

/// Whether the run's script came to its first lines, in which it takes this marker away.
bool hasScriptBegun(const HAXPExpRun& run) {
    return !HUTFile::exists(run.queueMarkerPath());
}

}  // namespace

HostError::HostError(const ComMsgMgrInstance& message) : HEXUserException(message) {}

HostError::~HostError() = default;

HostPlace::HostPlace() = default;

HostPlace::~HostPlace() = default;

void HostPlace::complete(const HAXPExpRun& /*run*/, LaunchLease& lease) const {
    if (lease.way.command.empty())
        lease.way.command = HUTProcessHandle::getRemoteCommand();
}

void HostPlace::start(HAXPExpRun& run, const LaunchLease& lease) const {
    requireHost(lease.way.host);
    HUTFile(run.pathOf(kHostClaimName)).rm();
    const HostCalls host = callsOf(run, lease);
    const HostStart start = host.start();
    if (start.kind == HostStart::Kind::kBegan)
        return;
    const bool isUntold = start.kind == HostStart::Kind::kUntold;
    if (isUntold && isClaimed(run, lease)) {
        const Evidence evidence = look(run, lease);
        if (evidence.life == RunLife::kAlive || hasScriptBegun(run))
            return;
        if (evidence.life == RunLife::kUnknown) {
            warn(run, lease, start.words);
            return;
        }
    }
    // From now on nothing begins there: who claims the launch looks for the lease behind
    // that.
    HUTFile(run.pathOf(kLeaseName)).rm();
    // One that claimed it at that very moment may have seen the lease.
    if (isUntold && isClaimed(run, lease) &&
        judgeHost(run, lease, host.stop()).life != RunLife::kGone && restoreLease(run, lease)) {
        warn(run, lease, start.words);
        return;
    }
    failToStart(run, lease, start.words);
}

Evidence HostPlace::look(HAXPExpRun& run, const LaunchLease& lease) const {
    return judgeHost(run, lease, callsOf(run, lease).look());
}

StopResult HostPlace::stop(HAXPExpRun& run, const LaunchLease& lease) const {
    StopResult result;
    result.wasIdle =
        !run.isAtWork() && !hasOpenStep(run) && probeRunLock(run.getDir()) != RunLife::kAlive;
    if (result.wasIdle)
        return result;
    const long start = process::clock().nowMs();
    // First of all: what ends now is followed by no other step.
    HUTFileUtils::rewriteFile(run.pathOf(xperiment::stopMarker), "", false);
    const HostStop stop = callsOf(run, lease).stop();
    const Evidence left = judgeHost(run, lease, stop);
    if (!stop.isTold)
        failToStop(run, left.lines.front());
    if (left.life == RunLife::kAlive)
        failToStop(run, stop.pids.empty()
                            ? left.lines.front()
                            : fmt::format("{}, with the numbers {}", left.lines.front(),
                                          fmt::join(stop.pids, ", ")));
    if (left.life != RunLife::kGone)
        failToStop(run, left.lines.front());
    result.asked = stop.asked;
    result.killed = stop.killed;
    result.ms = process::clock().nowMs() - start;
    HUTFile(run.queueMarkerPath()).rm();
    run.updateStatus();
    closeOpenStep(run, lease, "it was stopped on " + lease.way.host);
    return result;
}

void HostPlace::requireHost(const std::string& host) {
    if (!isRemoteHost(host))
        throw HEXUserException(
            ComMsgMgrInstance("workbench", ComMsgMgr::kError, "@60-134@%s", host));
}

}  // namespace workbench
