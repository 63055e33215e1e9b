// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/HAXPExpRun.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <utility>
#include <vector>

#include <sys/stat.h>

#include "environment/containers/HSTFwdIter.h"
#include "environment/errors/HEXUserException.h"
#include "environment/files/HUTFile.h"
#include "environment/files/diskOps.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/messages/ComMsgMgrInstance.h"
#include "environment/process/clock.h"
#include "environment/process/processTable.h"
#include "environment/strings/HSTStringUtils.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "runs/base/xperiment/stepMarkers.h"
#include "runs/base/xpreport/HAXRReportConfig.h"
#include "runs/base/xpreport/HAXRReportStrategy.h"
#include "runs/base/xpreport/reportConfigUtil.h"
#include "workbench/DesignInputs.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/fileFingerprint.h"
#include "workbench/fileTimes.h"
#include "workbench/launchLease.h"
#include "workbench/launchMarks.h"
#include "workbench/runEvidence.h"
#include "workbench/runGate.h"
#include "workbench/runLock.h"
#include "workbench/runProcesses.h"

using workbench::RunLife;

namespace {

/// The script of a run waits at most ten seconds for the run's lock.
constexpr long kLongestStartSec = 30;
/// Between two looks of one who polls at a run elsewhere.
constexpr long kLookPauseMs = 60000;

using StepIter = std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>>;

template <class Visit> void forEachReport(const HAXPExpRunBase& run, Visit visit) {
    const StepIter steps(run.createRunStepIter());
    while (steps->hasNext()) {
        const std::unique_ptr<HSTFwdIter<HAXRReportConfig*>> reports(
            steps->next()->createReportConfigIter());
        while (reports->hasNext())
            visit(*reports->next());
    }
}

std::string failMarkerName(const std::string& reportName) {
    return "." + reportName + ".fail";
}

}  // namespace

/// What the queue marker tells.
struct HAXPExpRun::Queue {
    /// A launcher that lives, as far as that can be told, lets the run wait.
    bool waiting = false;
    /// Its script may be about to begin.
    bool queued = false;
};

/// What one reading of the directory tells.
struct HAXPExpRun::Poll {
    bool waiting = false;
    bool queued = false;
    const HAXPExpRunStep* failed = nullptr;
    const HAXPExpRunStep* running = nullptr;
    /// The first step up to the launch's last one that isn't done.
    const HAXPExpRunStep* missing = nullptr;
    HAXPExpRunStep* latest = nullptr;
    bool anyDone = false;
    bool isElsewhere = false;
    bool changed = false;
    bool reportsChanged = false;
};

/// The run's status, in words for a table: "Running", and the step that it is about.
struct HAXPExpRun::Verdict {
    int code;
    const char* text;
    const HAXPExpRunStep* at;
};

const char HAXPExpRun::kLostText[] = "Lost in";
const char HAXPExpRun::kStoppedInText[] = "Stopped in";
const char HAXPExpRun::kStoppedText[] = "Stopped before";
const char HAXPExpRun::kUnknownText[] = "Unknown in";

struct HAXPExpRun::Extra {
    /// The queue marker of a run.
    struct QueueMarker {
        workbench::FileFingerprint::State state = workbench::FileFingerprint::kMissing;
        workbench::FileStamp stamp;
        /// Whether another content would show in the stamp.
        bool isSettled = false;
        /// Whether it holds a lease, and not nothing as that of an older program.
        bool hasLease = false;
        workbench::LaunchLease lease;

        /// Reads it again only when it isn't the file that it was.
        void look(const std::string& path) {
            constexpr auto kPresent = workbench::FileFingerprint::kPresent;
            workbench::FileStamp now;
            const workbench::FileFingerprint::State stateNow = workbench::readStamp(path, now);
            if (stateNow == kPresent && state == kPresent && now == stamp && isSettled)
                return;
            *this = {
                stateNow, now, workbench::isOldEnough(now, workbench::systemTime()), false, {}};
            hasLease = state == kPresent && workbench::readLease(path, lease);
        }
    };

    HAXPStratDB* owner = nullptr;
    bool dirty = false;
    /// It was seen to wait for its first launch, which may have come by another process.
    bool hasWaited = false;
    workbench::RunGate gate;
    workbench::LaunchMarks marks;
    QueueMarker queueMarker;
    /// The steps and their codes as the last reading left them.
    std::vector<std::pair<const HAXPExpRunStep*, int>> seen;
    /// The step at work in the last reading, and whether that left the run's end open.
    const HAXPExpRunStep* running = nullptr;
    bool isOpen = false;
    /// The signs of the last reading, if they are kept; and those for which nothing of the run
    /// was found to live on this host, and for which `evidence` holds.
    std::string signs;
    std::string goneFor;
    std::string evidenceFor;
    workbench::RunEvidence evidence;
    /// By the clock of those who wait; 0 before the first look.
    long lastLookMs = 0;

    /// Whether the run is queued whatever lives of it. Steps of an earlier launch may be done
    /// while this one has yet to begin.
    bool isYetToBegin(const Poll& poll) const {
        return poll.waiting || (poll.queued && poll.running == nullptr &&
                                evidence.verdict != workbench::RunEvidence::Verdict::kLost);
    }

    void forgetEvidence() {
        evidence = {};
        evidenceFor.clear();
    }
};

HAXPExpRun::HAXPExpRun(const std::string& name, const HAXPStrategy* strategy, HAXPStratDB* owner,
                       const HAXRReportStrategy* reportStrategy)
    : HAXPExpRunBase(name, strategy, reportStrategy), m_extra(std::make_unique<Extra>()) {
    m_extra->owner = owner;
    try {
        HAXPExpRun::initRun_(name, strategy, reportStrategy);
    } catch (...) {
        nukeSteps();
        setExpInfoBase(nullptr);
        throw;
    }
}

HAXPExpRun::~HAXPExpRun() noexcept(false) {
    setLatestStep(nullptr);
    nukeSteps();
    setExpInfoBase(nullptr);
}

OpenRunInfo& HAXPExpRun::getInfo() const {
    return static_cast<OpenRunInfo&>(*getExpInfoBase());
}

bool HAXPExpRun::isDirty() const {
    return m_extra->dirty;
}

void HAXPExpRun::clearDirty() {
    m_extra->dirty = false;
}

void HAXPExpRun::renameRun(const std::string& newName) {
    updateStatus();
    if (isAtWork())
        throw HEXUserException(
            ComMsgMgrInstance("workbench", ComMsgMgr::kError, "@60-96@%s", getName()));
    std::vector<std::pair<HAXRReportConfig*, std::string>> before;
    forEachReport(
        *this, [&](HAXRReportConfig& report) { before.emplace_back(&report, report.getName()); });
    HAXPExpRunBase::renameRun(newName);
    for (const auto& report : before)
        moveFailMarker_(*report.first, report.second);
}

void HAXPExpRun::lookForReports() {
    forEachReport(*this, [](HAXRReportConfig& report) { report.update(false); });
    publishReports();
}

void HAXPExpRun::publishReports() {
    if (getInfo().isSynthFlow())
        reportConfigUtil::updateSynthConfigFileNames_(this);
    else
        reportConfigUtil::updateImplConfigFileNames_(this);
}

void HAXPExpRun::updateStatus() {
    const std::string dir = getDir();
    const bool isLaunched = getRunMode() == kLaunched;
    m_extra->hasWaited =
        m_extra->hasWaited || (!isLaunched && !dir.empty() && readQueue_().waiting);
    if (dir.empty() || (!isLaunched && !m_extra->hasWaited)) {
        clearStatus_();
        return;
    }
    // The last step that began may be gone from the list.
    if (m_extra->gate.isUnchanged(dir) && seenSteps_() == m_extra->seen)
        return;
    m_extra->gate.open(dir);
    Poll poll;
    // Looked for before the lock: the script takes the lock before this marker goes, so
    // that one of the two is seen of a run that is about to begin.
    const Queue queue = readQueue_();
    readSteps_(dir, poll);
    poll.waiting = queue.waiting;
    poll.queued = queue.waiting || queue.queued;
    RunLife life = RunLife::kUnknown;
    if (poll.failed == nullptr && poll.missing != nullptr && !m_extra->isYetToBegin(poll)) {
        life = probe_(dir, poll);
        // Whoever just ended wrote its marker before it let the lock go.
        if (life == RunLife::kGone) {
            Poll again;
            again.waiting = poll.waiting;
            again.queued = poll.queued;
            again.changed = poll.changed;
            again.reportsChanged = poll.reportsChanged;
            readSteps_(dir, again);
            poll = again;
        }
    }
    // Where one works that has ended tells nothing.
    poll.isElsewhere = poll.missing != nullptr && !worksHere_(poll);
    const bool isOpen = !poll.waiting && poll.failed == nullptr && poll.missing != nullptr;
    m_extra->signs = isOpen ? signsOf_(poll) : std::string();
    if (m_extra->evidenceFor != m_extra->signs)
        m_extra->forgetEvidence();
    const Verdict verdict = decide_(poll, life);
    publish_(poll, verdict);
    m_extra->seen = seenSteps_();
    m_extra->running = poll.running;
    // Of one whose script is about to begin here nothing lives yet.
    const bool isAboutToBegin = verdict.code == HDGUIStatus::statusQueued && !poll.isElsewhere;
    m_extra->isOpen = isOpen && !isAboutToBegin && verdict.code != HDGUIStatus::statusNotStarted;
    m_extra->gate.close(!poll.waiting &&
                        (verdict.code == HDGUIStatus::statusDone || poll.failed != nullptr));
}

void HAXPExpRun::lookForLife() {
    m_extra->lastLookMs = process::clock().nowMs();
    m_extra->forgetEvidence();
    updateStatus();
    if (!m_extra->isOpen || getRunMode() != kLaunched)
        return;
    const std::string signs = m_extra->signs;
    workbench::RunEvidence found =
        workbench::gatherEvidence(*this, m_extra->marks.lease(), m_extra->running);
    // Markers again: one that ended during the look isn't lost.
    updateStatus();
    if (!m_extra->isOpen || m_extra->signs != signs)
        return;
    m_extra->evidence = std::move(found);
    m_extra->evidenceFor = signs;
    updateStatus();
}

void HAXPExpRun::lookForLifeNowAndThen() {
    const long now = process::clock().nowMs();
    if (m_extra->lastLookMs == 0)
        m_extra->lastLookMs = now;
    if (!m_extra->isOpen || now - m_extra->lastLookMs < kLookPauseMs)
        return;
    const HUTProcessHandle* process =
        m_extra->running == nullptr ? nullptr : m_extra->running->getProcInfo();
    if (!workbench::worksHere(m_extra->marks.lease(), process))
        lookForLife();
}

const workbench::RunEvidence& HAXPExpRun::getEvidence() const {
    return m_extra->evidence;
}

void HAXPExpRun::setRunStatus(HAXPExpRunStep* step, int status) {
    (step == nullptr ? getStatus() : step->getStatus())->setCode(status);
    m_extra->gate.forget();
}

bool HAXPExpRun::isUpToDate() {
    updateStatus();
    if (getStatus()->getCode() != HDGUIStatus::statusDone)
        return false;
    const HAXPExpRunStep* last = getToStep();
    if (last == nullptr || last->getStatus()->getCode() != HDGUIStatus::statusDone)
        return false;
    getInfo().updStaleReasons();
    return !getInfo().isStale();
}

void HAXPExpRun::forgetSourceEvents(const HAXPExpRunStep* first) {
    bool reached = false;
    const StepIter steps(createRunStepIter());
    while (steps->hasNext()) {
        HAXPExpRunStep* step = steps->next();
        reached = reached || step == first;
        // What it finds is a reason like others, which a reset takes away.
        if (reached)
            step->updateStaleReasonsPostGraphUpdate(nullptr);
    }
}

bool HAXPExpRun::resetFrom(const HAXPExpRunStep* first) {
    forgetSourceEvents(first);
    const std::string dir = getDir();
    bool ok = true;
    bool reached = false;
    const StepIter steps(createRunStepIter());
    while (steps->hasNext()) {
        HAXPExpRunStep* step = steps->next();
        reached = reached || step == first;
        if (!reached)
            continue;
        // Twice, for a marker under both suffixes: one pass removes one of them.
        for (int pass = 0; pass < 2; ++pass)
            ok = step->getFlowStep()->resetStep(dir, getExpInfoBase()) && ok;
        step->resetStatus();
        step->resetStaleReasons();
        step->resetReportConfigs();
    }
    // One that waits for this launch stays queued until its script begins.
    if (!readQueue_().waiting)
        HUTFile(queueMarkerPath()).rm();
    getInfo().removeAllStaleReasons();
    setLatestStep(nullptr);
    m_extra->gate.forget();
    updateStatus();
    getInfo().readMetrics();
    return ok;
}

bool HAXPExpRun::isAtWork() const {
    const int code = getStatus()->getCode();
    return code == HDGUIStatus::statusQueued || code == HDGUIStatus::statusRunning;
}

std::string HAXPExpRun::getDir() const {
    std::string dir;
    getRunDir(dir);
    return dir;
}

std::string HAXPExpRun::pathOf(const std::string& name) const {
    return getDir() + HUTFile::getDirSeparator() + name;
}

std::string HAXPExpRun::queueMarkerPath() const {
    return pathOf(getStrategy()->getFlow()->getQueueMarkerName());
}

void HAXPExpRun::initRun_(const std::string& name, const HAXPStrategy* strategy,
                          const HAXRReportStrategy* reportStrategy) {
    setExpInfoBase(new OpenRunInfo(this, name));
    const HAXPFlow* flow = strategy->getFlow();
    const bool isSynthesis = flow != nullptr && flow->supportsFlowType(HAXPTypes::FLOW_SYNTH);
    getExpInfoBase()->setFlowType(isSynthesis ? HAXPTypes::FLOW_SYNTH
                                              : HAXPTypes::FLOW_ENTIRE_DESIGN);
    setStatus_(new HDGUIStatus("Not started", ""));
    setStrategy_(new HAXPStrategy);
    getStrategy()->setInternal(true);
    getStrategy()->attach(static_cast<HATOptGroupObserver*>(this));
    applyStrategy(strategy);
    getStrategy()->attach(m_extra->owner);
    // It exists before any report does, and names the flow for the static ones.
    setReportStrategy_(new HAXRReportStrategy(flow));
    getReportStrategy()->setInternal(true);
    if (reportStrategy != nullptr)
        applyReportStrategy(reportStrategy);
    createStats();
    clearDirty();
}

void HAXPExpRun::setDirtyCallback_() {
    m_extra->dirty = true;
}

/// As the step itself does it, but for markers of another launch. Whether the state of a
/// report changed.
bool HAXPExpRun::readStep_(const std::string& dir, HAXPExpRunStep& step) {
    const HAXPFlowStep& flowStep = *step.getFlowStep();
    if (!m_extra->marks.areMixed(flowStep))
        return step.updateStatus(dir);
    HDGUIStatus seen;
    HUTProcessHandle& handle = *step.getProcInfo();
    flowStep.updateStatus(&seen, &handle, dir);
    const int before = step.getStatus()->getCode();
    const int code = m_extra->marks.codeOf(flowStep, seen.getCode(), handle);
    step.getStatus()->setCode(code);
    return code != before && step.updateReportConfigs();
}

void HAXPExpRun::readSteps_(const std::string& dir, Poll& poll) {
    m_extra->marks.open(dir);
    const HAXPExpRunStep* last = launchedTo_();
    bool within = true;
    const StepIter steps(createRunStepIter());
    while (steps->hasNext()) {
        HAXPExpRunStep* step = steps->next();
        const int before = step->getStatus()->getCode();
        poll.reportsChanged = readStep_(dir, *step) || poll.reportsChanged;
        const int code = step->getStatus()->getCode();
        poll.changed = poll.changed || code != before;
        const bool counts = step->isEnabled() && !step->isVirtual();
        if (counts && code != HDGUIStatus::statusNotStarted)
            poll.latest = step;
        if (counts && within) {
            if (code == HDGUIStatus::statusError && poll.failed == nullptr)
                poll.failed = step;
            if (code == HDGUIStatus::statusRunning && poll.running == nullptr)
                poll.running = step;
            if (code == HDGUIStatus::statusDone)
                poll.anyDone = true;
            else if (poll.missing == nullptr)
                poll.missing = step;
        }
        within = within && step != last;
    }
}

HAXPExpRun::Queue HAXPExpRun::readQueue_() const {
    Queue queue;
    const std::string path = queueMarkerPath();
    Extra::QueueMarker& marker = m_extra->queueMarker;
    marker.look(path);
    if (marker.hasLease) {
        const auto life = marker.lease.isWaiting ? workbench::lookAtLauncher(marker.lease)
                                                 : HUTProcessHandle::Life::kGone;
        queue.waiting =
            life == HUTProcessHandle::Life::kAlive || life == HUTProcessHandle::Life::kUnknown;
        queue.queued = !marker.lease.isWaiting && isStillToBegin_(marker.lease);
        return queue;
    }
    if (marker.state == workbench::FileFingerprint::kMissing)
        return queue;
    // Older than any start takes: whoever made it went away before the script began.
    long made = 0;
    queue.queued =
        HUTFile::getFileStamp(path.c_str(), made) && std::time(nullptr) - made <= kLongestStartSec;
    return queue;
}

bool HAXPExpRun::isStillToBegin_(const workbench::LaunchLease& lease) const {
    // A cluster takes its time; whether the job is still there only the queue tells.
    if (workbench::isOnCluster(lease.way))
        return true;
    if (workbench::isAbandoned(getDir(), lease))
        return false;
    // By the clock that the lease was made by; that of another host may be an hour off.
    std::string host;
    lease.launcher.getHostname(host);
    return host != process::processTable().hostName() ||
           std::labs(static_cast<long>(std::time(nullptr)) - lease.time) <= kLongestStartSec;
}

bool HAXPExpRun::worksHere_(const Poll& poll) const {
    return workbench::worksHere(m_extra->marks.lease(),
                                poll.running == nullptr ? nullptr : poll.running->getProcInfo());
}

/// What a look at the run is good for: the launch, where it stands, and what it wrote.
std::string HAXPExpRun::signsOf_(const Poll& poll) const {
    const workbench::LaunchLease* lease = m_extra->marks.lease();
    std::string signs = lease == nullptr ? std::string() : lease->id;
    for (const HAXPExpRunStep* step : {poll.running, poll.missing})
        signs += "/" + (step == nullptr ? std::string() : step->getFlowStep()->getFlowStepId());
    struct stat log {};
    if (::stat(pathOf("runme.log").c_str(), &log) == 0)
        signs += "/" + std::to_string(log.st_size) + "/" + std::to_string(log.st_mtim.tv_sec) +
                 "." + std::to_string(log.st_mtim.tv_nsec);
    return signs;
}

/// What this host tells of the run's life. Its lock alone doesn't do: where it isn't taken, or
/// was closed, the processes tell.
RunLife HAXPExpRun::probe_(const std::string& dir, const Poll& poll) {
    const RunLife lock = workbench::probeRunLock(dir);
    if (lock != RunLife::kGone)
        return lock;
    if (!worksHere_(poll))
        return RunLife::kUnknown;
    const std::string signs = signsOf_(poll);
    if (signs == m_extra->goneFor)
        return lock;
    const workbench::LaunchLease* lease = m_extra->marks.lease();
    const bool lives = (poll.running != nullptr &&
                        poll.running->getProcInfo()->look() == HUTProcessHandle::Life::kAlive) ||
                       (lease != nullptr && !workbench::findRunProcesses(dir, lease->id).empty());
    if (!lives)
        m_extra->goneFor = signs;
    return lives ? RunLife::kAlive : RunLife::kGone;
}

std::vector<std::pair<const HAXPExpRunStep*, int>> HAXPExpRun::seenSteps_() const {
    std::vector<std::pair<const HAXPExpRunStep*, int>> all;
    const StepIter steps(createRunStepIter());
    while (steps->hasNext()) {
        const HAXPExpRunStep* step = steps->next();
        all.emplace_back(step, step->getStatus()->getCode());
    }
    return all;
}

/// Whether the request to stop came before the step ended badly.
bool HAXPExpRun::isStoppedFailure_(const HAXPExpRunStep& failed) const {
    struct stat stop {};
    struct stat error {};
    const std::string marker =
        xperiment::stepMarker(failed.getFlowStep()->getStatusTrackingStr(), xperiment::errorMarker);
    if (::lstat(pathOf(xperiment::stopMarker).c_str(), &stop) != 0 ||
        ::lstat(pathOf(marker).c_str(), &error) != 0)
        return false;
    return !workbench::isBefore(error.st_mtim, stop.st_mtim);
}

bool HAXPExpRun::isAskedToStop_() const {
    return HUTFile::exists(pathOf(xperiment::stopMarker));
}

HAXPExpRun::Verdict HAXPExpRun::decide_(const Poll& poll, RunLife life) const {
    if (poll.waiting)
        return {HDGUIStatus::statusQueued, "Queued", nullptr};
    if (poll.failed != nullptr)
        return {HDGUIStatus::statusError,
                isStoppedFailure_(*poll.failed) ? kStoppedInText : "Failed", poll.failed};
    if (poll.missing == nullptr)
        return {HDGUIStatus::statusDone, "Done", nullptr};
    const bool begun = poll.running != nullptr || poll.anyDone || poll.isElsewhere;
    using Found = workbench::RunEvidence::Verdict;
    const Found found = m_extra->evidence.verdict;
    if (m_extra->isYetToBegin(poll))
        return {HDGUIStatus::statusQueued, "Queued", nullptr};
    if (life == RunLife::kUnknown && !begun)
        return {HDGUIStatus::statusNotStarted, "Not started", nullptr};
    const HAXPExpRunStep* at = poll.running != nullptr ? poll.running : poll.missing;
    // No step begins any more, wherever the run was to be. One without a lock never began.
    if (poll.isElsewhere && life != RunLife::kAlive && poll.running == nullptr && isAskedToStop_())
        return poll.anyDone || HUTFile::exists(pathOf(workbench::kRunLockName))
                   ? Verdict{HDGUIStatus::statusError, kStoppedText, at}
                   : Verdict{HDGUIStatus::statusNotStarted, "Not started", nullptr};
    if (found == Found::kUnknown)
        return {HDGUIStatus::statusRunning, kUnknownText, at};
    if (life == RunLife::kGone || (life == RunLife::kUnknown && found == Found::kLost)) {
        const char* within = isAskedToStop_() ? kStoppedInText : kLostText;
        return {HDGUIStatus::statusError, poll.running != nullptr ? within : kStoppedText, at};
    }
    return {HDGUIStatus::statusRunning, "Running", at};
}

void HAXPExpRun::publish_(const Poll& poll, const Verdict& verdict) {
    HDGUIStatus& status = *getStatus();
    status.setText(verdict.text);
    status.setDetailText(verdict.at == nullptr ? std::string()
                                               : verdict.at->getFlowStep()->getFlowStepId());
    status.setCode(verdict.code);
    if (getLatestStep() != poll.latest)
        setLatestStep(poll.latest);
    if (poll.changed)
        getInfo().readMetrics();
    if (poll.reportsChanged)
        publishReports();
}

void HAXPExpRun::clearStatus_() {
    const StepIter steps(createRunStepIter());
    while (steps->hasNext())
        steps->next()->getStatus()->setCode(HDGUIStatus::statusNotStarted);
    getStatus()->setText("Not started");
    getStatus()->setDetailText("");
    getStatus()->setCode(HDGUIStatus::statusNotStarted);
    getInfo().clearMetrics();
    if (getLatestStep() != nullptr)
        setLatestStep(nullptr);
    m_extra->running = nullptr;
    m_extra->isOpen = false;
    m_extra->forgetEvidence();
    m_extra->gate.forget();
}

const HAXPExpRunStep* HAXPExpRun::launchedTo_() const {
    const std::string& abbrev = getInfo().getLaunchedTo();
    if (abbrev.empty())
        return getToStep();
    const StepIter steps(createRunStepIter());
    while (steps->hasNext()) {
        const HAXPExpRunStep* step = steps->next();
        if (HSTStringUtils::iequals(step->getFlowStep()->getAbbrev(), abbrev))
            return step;
    }
    return nullptr;
}

void HAXPExpRun::moveFailMarker_(HAXRReportConfig& report, const std::string& oldName) const {
    const std::string dir = getDir();
    if (dir.empty() || report.getName() == oldName)
        return;
    const std::string from = pathOf(failMarkerName(oldName));
    const std::string to = pathOf(failMarkerName(report.getName()));
    if (!HUTFile::exists(from))
        return;
    if (!HUTFile::exists(to) && std::rename(from.c_str(), to.c_str()) == 0)
        return;
    ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "workbench", ComMsgMgr::kWarning,
                             "@60-97@%s%s%s", oldName, report.getName(), to);
    report.setName(oldName);
}
