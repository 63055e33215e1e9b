// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/runStop.h"

#include <algorithm>
#include <csignal>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "environment/errors/HEXUserException.h"
#include "environment/files/HUTFile.h"
#include "environment/files/HUTFileUtils.h"
#include "environment/installation/HUTEnv.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/messages/ComMsgMgrInstance.h"
#include "environment/process/HUTProcessHandle.h"
#include "environment/process/clock.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "runs/base/xperiment/stepMarkers.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/launchLease.h"
#include "workbench/runLock.h"
#include "workbench/runProcesses.h"

namespace workbench {

namespace {

/// Time for a tool to put its files in order.
constexpr long kPatienceMs = 3000;
/// A killed process that stays longer hangs in the host, on a lost disk.
constexpr long kKillMs = 5000;
/// A tool that obeys is gone at once; who isn't takes its time.
constexpr long kQuickPauseMs = 2;
constexpr long kSlowPauseMs = 20;
constexpr long kQuickMs = 200;
/// What came up behind the request, such as a wrapper's last rename, may end by itself.
constexpr long kNewcomerMs = 200;

using Pids = std::vector<long>;

bool isAtWork(const HAXPExpRun& run) {
    const int code = run.getStatus()->getCode();
    return code == HDGUIStatus::statusQueued || code == HDGUIStatus::statusRunning;
}

/// Ends the processes of one run.
class Stop {
public:
    explicit Stop(HAXPExpRun& run) : m_run(run) {
        m_run.getRunDir(m_dir);
        LaunchLease lease;
        const HAXPFlow* flow = m_run.getStrategy()->getFlow();
        m_queueMarker = m_run.pathOf(flow->getQueueMarkerName());
        // A run that waits to be launched anew has the lease of the launch before, too.
        if (readLease(m_queueMarker, lease) || readLease(m_run.pathOf(kLeaseName), lease)) {
            m_id = lease.id;
            lease.launcher.getHostname(m_host);
        }
    }

    bool isIdle() const { return !isAtWork(m_run) && processes_().empty(); }

    /// The host that the run is at work on, if it is another one.
    bool isElsewhere() {
        const HAXPExpRunStep* step = m_run.getLatestStep();
        std::string host = m_host;
        if (step != nullptr && step->getStatus()->getCode() == HDGUIStatus::statusRunning &&
            step->getProcInfo()->isPartialComplete())
            step->getProcInfo()->getHostname(host);
        m_host = host.empty() ? HUTEnv::getHostName() : host;
        return m_host != HUTEnv::getHostName();
    }

    StopResult run() {
        m_start = process::clock().nowMs();
        // First of all: what ends now is followed by no other step.
        HUTFileUtils::rewriteFile(m_run.pathOf(xperiment::stopMarker), "", false);
        if (!endWithin_(kPatienceMs, SIGTERM) && !endWithin_(kKillMs, SIGKILL))
            failToStop_();
        m_result.ms = process::clock().nowMs() - m_start;
        m_result.asked = m_asked.size();
        m_result.killed = m_killed.size();
        HUTFile(m_queueMarker).rm();
        m_run.updateStatus();
        return m_result;
    }

    const std::string& host() const { return m_host; }

private:
    Pids processes_() const { return findRunProcesses(m_dir, m_id); }

    /// Signals the processes until none is left and the lock is free, or `ms` are over.
    bool endWithin_(long ms, int number) {
        const long end = process::clock().nowMs() + ms;
        for (bool atOnce = true;; atOnce = false) {
            const Pids left = processes_();
            if (left.empty() && probeRunLock(m_dir) != RunLife::kAlive)
                return true;
            if (process::clock().nowMs() >= end)
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
    std::string m_host;
    std::string m_queueMarker;
    long m_start = 0;
    std::map<long, long> m_seen;
    std::set<long> m_asked;
    std::set<long> m_killed;
    StopResult m_result;
};

}  // namespace

StopResult stopRun(HAXPExpRun& run) {
    run.updateStatus();
    StopResult result;
    result.wasIdle = true;
    std::string dir;
    run.getRunDir(dir);
    if (dir.empty())
        return result;
    Stop stop(run);
    if (isAtWork(run) && stop.isElsewhere())
        throw HEXUserException(ComMsgMgrInstance("workbench", ComMsgMgr::kError, "@60-50@%s%s%s",
                                                 run.getName(), stop.host(),
                                                 HUTEnv::getHostName()));
    return stop.isIdle() ? result : stop.run();
}

}  // namespace workbench
