// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/places/HerePlace.h"

#include <csignal>
#include <map>
#include <set>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "environment/errors/HEXUserException.h"
#include "environment/files/HUTFile.h"
#include "environment/files/HUTFileUtils.h"
#include "environment/installation/HUTEnv.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/messages/ComMsgMgrInstance.h"
#include "environment/process/HUTFork.h"
#include "environment/process/HUTProcessHandle.h"
#include "environment/process/clock.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "runs/base/xperiment/stepMarkers.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/launchLease.h"
#include "workbench/runLock.h"
#include "workbench/runProcesses.h"

namespace workbench {

namespace {

/// The host that the run is at work on.
std::string hostOf(const HAXPExpRun& run, const LaunchLease& lease) {
    std::string host;
    lease.launcher.getHostname(host);
    const HAXPExpRunStep* step = run.getLatestStep();
    if (step != nullptr && step->getStatus()->getCode() == HDGUIStatus::statusRunning &&
        step->getProcInfo()->isPartialComplete())
        step->getProcInfo()->getHostname(host);
    return host.empty() ? HUTEnv::getHostName() : host;
}

/// Time for a tool to put its files in order.
constexpr long kToolPatienceMs = 3000;
/// A killed process that stays longer hangs in the host, on a lost disk.
constexpr long kKillMs = 5000;
/// A tool that obeys is gone at once; who isn't takes its time.
constexpr long kQuickPauseMs = 2;
constexpr long kSlowPauseMs = 20;
constexpr long kQuickMs = 200;
/// What came up behind the request, such as a wrapper's last rename, may end by itself.
constexpr long kNewcomerMs = 200;

using Pids = std::vector<long>;

/// Ends the processes of one run.
class Stop {
public:
    Stop(HAXPExpRun& run, const LaunchLease& lease) : m_run(run), m_id(lease.id) {
        m_run.getRunDir(m_dir);
    }

    bool isIdle() const { return !m_run.isAtWork() && processes_().empty(); }

    StopResult run() {
        m_start = process::clock().nowMs();
        // First of all: what ends now is followed by no other step.
        HUTFileUtils::rewriteFile(m_run.pathOf(xperiment::stopMarker), "", false);
        if (!endWithin_(kToolPatienceMs, SIGTERM) && !endWithin_(kKillMs, SIGKILL))
            failToStop_();
        m_result.ms = process::clock().nowMs() - m_start;
        m_result.asked = m_asked.size();
        m_result.killed = m_killed.size();
        HUTFile(m_run.queueMarkerPath()).rm();
        m_run.updateStatus();
        return m_result;
    }

private:
    Pids processes_() const { return findRunProcesses(m_dir, m_id); }

    /// Signals the processes until none is left and the lock is free, or `ms` are over.
    bool endWithin_(long ms, int number) {
        const long end = process::clock().nowMs() + ms;
        // Seen twice: a process that is becoming another program shows no environment for a moment.
        bool isGone = false;
        for (bool atOnce = true, wasGone = false;; atOnce = false, wasGone = isGone) {
            const Pids left = processes_();
            isGone = left.empty() && probeRunLock(m_dir) != RunLife::kAlive;
            if (isGone && wasGone)
                return true;
            if (!isGone && process::clock().nowMs() >= end)
                return false;
            for (const long pid : left)
                number == SIGKILL ? kill_(pid) : ask_(pid, atOnce);
            process::clock().sleepMs(process::clock().nowMs() - m_start < kQuickMs ? kQuickPauseMs
                                                                                   : kSlowPauseMs);
        }
    }

    void kill_(long pid) {
        m_killed.insert(pid);
        signalRunProcess(pid, SIGKILL, m_dir, m_id);
    }

    /// Asks the process once; one that came up later only when it stays.
    void ask_(long pid, bool atOnce) {
        const long now = process::clock().nowMs();
        const long since = m_seen.emplace(pid, now).first->second;
        if ((!atOnce && now - since < kNewcomerMs) || !m_asked.insert(pid).second)
            return;
        signalRunProcess(pid, SIGTERM, m_dir, m_id);
        // Who is stopped hears of it only when it goes on.
        signalRunProcess(pid, SIGCONT, m_dir, m_id);
    }

    [[noreturn]] void failToStop_() const {
        std::string left;
        for (const long pid : processes_())
            left += (left.empty() ? "process " : ", ") + std::to_string(pid);
        if (left.empty())
            left = "a process that can't be seen from here";
        throw HEXUserException(ComMsgMgrInstance("workbench", ComMsgMgr::kError, "@60-51@%s%s",
                                                 m_run.getName(), left));
    }

    HAXPExpRun& m_run;
    std::string m_dir;
    std::string m_id;
    long m_start = 0;
    std::map<long, long> m_seen;
    std::set<long> m_asked;
    std::set<long> m_killed;
    StopResult m_result;
};

}  // namespace

HerePlace::HerePlace() = default;
HerePlace::~HerePlace() = default;

void HerePlace::start(HAXPExpRun& run, const LaunchLease& lease) const {
    HUTFork script;
    script.setEnvVar(kLaunchVariable, lease.id);
    script.addArg(run.pathOf("runme.sh"));
    script.setWorkingDir(run.getDir());
    if (script.launch(false, true, false, true) < 1)
        throw HEXUserException(ComMsgMgrInstance("workbench", ComMsgMgr::kError, "@60-44@%s%s",
                                                 run.getName(), script.getError()));
}

Evidence HerePlace::look(HAXPExpRun& run, const LaunchLease& lease) const {
    Evidence evidence;
    const std::string here = HUTEnv::getHostName();
    const std::string host = hostOf(run, lease);
    if (host != here) {
        evidence.lines.push_back(
            fmt::format("it works on {}, which can't be seen from {}", host, here));
        return evidence;
    }
    const std::size_t count = findRunProcesses(run.getDir(), lease.id).size();
    const bool isHeld = probeRunLock(run.getDir()) == RunLife::kAlive;
    evidence.life = count > 0 || isHeld ? RunLife::kAlive : RunLife::kGone;
    if (count > 0)
        evidence.lines.push_back(
            fmt::format("{} process{} of it on {}", count, count == 1 ? " is" : "es are", here));
    else
        evidence.lines.push_back(fmt::format("no process of it is on {}", here));
    if (isHeld)
        evidence.lines.push_back("its lock is held");
    return evidence;
}

StopResult HerePlace::stop(HAXPExpRun& run, const LaunchLease& lease) const {
    const std::string host = hostOf(run, lease);
    if (run.isAtWork() && host != HUTEnv::getHostName())
        throw HEXUserException(ComMsgMgrInstance("workbench", ComMsgMgr::kError, "@60-50@%s%s%s",
                                                 run.getName(), host, HUTEnv::getHostName()));
    return endProcesses(run, lease);
}

StopResult HerePlace::endProcesses(HAXPExpRun& run, const LaunchLease& lease) {
    Stop stop(run, lease);
    StopResult idle;
    idle.wasIdle = true;
    return stop.isIdle() ? idle : stop.run();
}

}  // namespace workbench
