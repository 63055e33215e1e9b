// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/LaunchQueue.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <memory>
#include <utility>

#include "environment/containers/HSTFwdIter.h"
#include "environment/errors/HEXError.h"
#include "environment/errors/HEXUserException.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/messages/ComMsgMgrInstance.h"
#include "runs/base/xperiment/HAXPLaunchOptions.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/Project.h"
#include "workbench/places/HostPlace.h"
#include "workbench/runFamily.h"

namespace {

/// Each look is a call of stat(). Who takes a run back is heard within a second, of a thousand
/// that wait, and before the run would start.
constexpr std::size_t kLooksAnAdvance = 20;

bool contains(const LaunchQueue::Runs& runs, const HAXPExpRun* run) {
    return std::find(runs.begin(), runs.end(), run) != runs.end();
}

void remove(LaunchQueue::Runs& runs, const HAXPExpRun* run) {
    runs.erase(std::remove(runs.begin(), runs.end(), run), runs.end());
}

bool isRunDone(const HAXPExpRun& run) {
    return run.getStatus()->getCode() == HDGUIStatus::statusDone;
}

[[noreturn]] void failUnsupported(const char* what) {
    throw HEXUserException(ComMsgMgrInstance("workbench", ComMsgMgr::kError, "@60-135@%s", what));
}

void requireSupported(const HAXPLaunchOptions& options) {
    if (!options.getPreHookScriptMH().empty() || !options.getPostHookScriptMH().empty())
        failUnsupported("scripts before and after a job");
    if (options.emailCountMH() > 0)
        failUnsupported("mails");
}

}  // namespace

LaunchQueue::LaunchQueue(Project& project, const HAXPLaunchOptions& options)
    : m_project(project), m_options(options), m_launcher(project), m_slots(slotsOf_(options)) {
    requireSupported(options);
    findEarlier_();
}

LaunchQueue::~LaunchQueue() {
    takeBackWaiting();
    try {
        if (m_hasRecords)
            m_project.save();
        if (!m_undo.path.empty())
            workbench::UndoStore(m_project).prune();
    } catch (const HEXError&) {
        // The records stand, and whoever opens the project next takes them in.
        m_hasRecords = false;
    }
}

std::vector<LaunchQueue::Slot> LaunchQueue::slotsOf_(const HAXPLaunchOptions& options) {
    using Way = workbench::LaunchWay;
    std::vector<Slot> slots;
    switch (options.getLaunchMode()) {
    case HAXPLaunchOptions::kLocalHost:
    case HAXPLaunchOptions::kDefaultMode:
        slots.push_back({Way(), static_cast<std::size_t>(options.getNumJobsSH()), {}});
        break;
    case HAXPLaunchOptions::kSeveralHosts: {
        const std::unique_ptr<HSTFwdIter<HAXPLaunchOptions::HostJobs>> hosts(
            options.createHostJobIterMH());
        while (hosts->hasNext()) {
            const HAXPLaunchOptions::HostJobs& host = hosts->next();
            if (host.second > 0)
                slots.push_back({{Way::Kind::kHost, host.first, options.getJobCmdMH(), ""},
                                 static_cast<std::size_t>(host.second),
                                 {}});
        }
        break;
    }
    case HAXPLaunchOptions::kLsfCluster:
    case HAXPLaunchOptions::kSgeCluster:
        if (!options.getClusterCmdLine().empty())
            slots.push_back(
                {{options.getLaunchMode() == HAXPLaunchOptions::kLsfCluster ? Way::Kind::kLsf
                                                                            : Way::Kind::kSge,
                  "", options.getClusterCmdLine(), ""},
                 std::numeric_limits<std::size_t>::max(),
                 {}});
        break;
    default:
        break;
    }
    if (slots.empty())
        throw HEXUserException(ComMsgMgrInstance("workbench", ComMsgMgr::kError, "@60-101@"));
    return slots;
}

/// The emptiest of those that have room, the first one of several.
LaunchQueue::Slot* LaunchQueue::freeSlot_() {
    Slot* best = nullptr;
    for (Slot& slot : m_slots) {
        if (!slot.isOut && slot.running.size() < slot.most &&
            (best == nullptr || slot.running.size() < best->running.size()))
            best = &slot;
    }
    return best;
}

void LaunchQueue::add(HAXPExpRun& run) {
    if (m_job->hasRunBeenAttempted(&run))
        forget(run);
    m_job->addRun(&run);
    m_waiting.push_back(&run);
}

void LaunchQueue::forget(const HAXPExpRun& run) {
    using Iter = std::unique_ptr<HSTFwdIter<HAXPExpRun*>>;
    // A job loses no run: it is made anew without this one. Another run may stand in its place
    // in memory later, and must not be taken for it.
    auto job = std::make_unique<HAXPJob>(m_job->getJobId());
    const auto each = [&run](const Iter& runs, const auto& use) {
        while (runs->hasNext()) {
            HAXPExpRun* const one = runs->next();
            if (one != &run)
                use(one);
        }
    };
    each(Iter(m_job->createRunIter()), [&job](HAXPExpRun* one) { job->addRun(one); });
    each(Iter(m_job->createFailedRunIter()), [&job](HAXPExpRun* one) { job->markAsFailed(one); });
    each(Iter(m_job->createExportedRunIter()),
         [&job](HAXPExpRun* one) { job->markAsExported(one); });
    m_job = std::move(job);
    m_markers.erase(&run);
}

std::vector<LaunchQueue::Event> LaunchQueue::advance() {
    std::vector<Event> events;
    lookAtRunning_(events);
    dropEarlier_();
    dropTakenBack_(events);
    startWaiting_(events);
    showWaiting_(events);
    return events;
}

LaunchQueue::Runs LaunchQueue::takeBackWaiting() {
    for (HAXPExpRun* run : m_shown) {
        if (RunLauncher::isEnqueued(*run))
            RunLauncher::takeBack(*run);
    }
    m_shown.clear();
    Runs waited;
    waited.swap(m_waiting);
    return waited;
}

void LaunchQueue::lookAtRunning_(std::vector<Event>& events) {
    const Runs running = m_running;
    for (HAXPExpRun* run : running) {
        run->updateRun();
        run->lookForLifeNowAndThen();
        if (run->isAtWork())
            continue;
        remove(m_running, run);
        for (Slot& slot : m_slots)
            remove(slot.running, run);
        if (isRunDone(*run))
            m_job->markAsExported(run);
        else
            m_job->markAsFailed(run);
        events.push_back({run, isRunDone(*run) ? Event::kDone : Event::kFailed, ""});
    }
}

void LaunchQueue::startWaiting_(std::vector<Event>& events) {
    const Runs waiting = m_waiting;
    Runs together;
    const std::size_t places = placesOfArray_();
    for (HAXPExpRun* run : waiting) {
        const Turn turn = turnOf_(*run);
        const bool isFull = m_mostAtOnce > 0 && together.size() >= places;
        Slot* slot = turn == Turn::kStart && !isFull ? freeSlot_() : nullptr;
        if (turn == Turn::kNever)
            giveUp_(*run, Event::kLeftOut, "", events);
        else if (turn == Turn::kStart && isOut_())
            giveUp_(*run, Event::kRefused, m_fault, events);
        else if (slot != nullptr && isTakenBack_(*run))
            giveUp_(*run, Event::kTakenBack, "", events);
        else if (slot != nullptr && m_mostAtOnce > 0)
            together.push_back(run);
        else if (slot != nullptr)
            start_(*run, *slot, events);
    }
    if (!together.empty())
        startTogether_(together, m_slots.front(), events);
}

/// How many runs may be submitted together. The first array takes all, since the scheduler sees
/// to its maximum; behind it an array whose maximum is what it leaves couldn't have more later.
std::size_t LaunchQueue::placesOfArray_() const {
    const std::size_t submitted = m_slots.front().running.size();
    const auto most = static_cast<std::size_t>(m_mostAtOnce);
    return submitted == 0 ? std::numeric_limits<std::size_t>::max()
                          : most - std::min(most, submitted);
}

/// Looks at some of those that wait, at the next ones in the next call.
void LaunchQueue::dropTakenBack_(std::vector<Event>& events) {
    Runs looked;
    const std::size_t count = std::min(m_waiting.size(), kLooksAnAdvance);
    for (std::size_t i = 0; i < count; ++i)
        looked.push_back(m_waiting[(m_nextLook + i) % m_waiting.size()]);
    m_nextLook = count == 0 ? 0 : (m_nextLook + count) % m_waiting.size();
    for (HAXPExpRun* run : looked) {
        if (isTakenBack_(*run))
            giveUp_(*run, Event::kTakenBack, "", events);
    }
}

/// Who has to wait shows as queued from the first time on.
void LaunchQueue::showWaiting_(std::vector<Event>& events) {
    if (m_shown.size() == m_waiting.size())
        return;
    Runs hidden;
    std::copy_if(m_waiting.begin(), m_waiting.end(), std::back_inserter(hidden),
                 [this](const HAXPExpRun* run) { return !contains(m_shown, run); });
    if (hidden.empty())
        return;
    try {
        // What is refused may be another queue's, whose marker isn't to be taken back.
        const std::vector<RunLauncher::Refusal> refused = m_launcher.enqueue(hidden);
        for (const RunLauncher::Refusal& refusal : refused)
            remove(hidden, refusal.run);
        m_shown.insert(m_shown.end(), hidden.begin(), hidden.end());
        for (const RunLauncher::Refusal& refusal : refused)
            giveUp_(*refusal.run, Event::kRefused, refusal.text, events);
    } catch (const HEXUserException& error) {
        for (HAXPExpRun* run : hidden)
            giveUp_(*run, Event::kRefused, error.what(), events);
    }
}

/// Whether somebody took `run` back since it shows as queued. A marker is read again only when
/// it isn't the file that it was.
bool LaunchQueue::isTakenBack_(HAXPExpRun& run) {
    if (!contains(m_shown, &run))
        return false;
    workbench::FileStamp stamp;
    workbench::readStamp(run.queueMarkerPath(), stamp);
    const auto known = m_markers.find(&run);
    if (known != m_markers.end() && known->second == stamp)
        return false;
    if (!RunLauncher::isEnqueued(run))
        return true;
    m_markers[&run] = stamp;
    return false;
}

LaunchQueue::Turn LaunchQueue::turnOf_(const HAXPExpRun& run) const {
    HAXPExpRun* synthesis = m_project.getSynthesisOf(run);
    if (synthesis == nullptr || isRunDone(*synthesis))
        return contains(m_waiting, synthesis) ? Turn::kWait : Turn::kStart;
    if (contains(m_waiting, synthesis) || contains(m_running, synthesis))
        return Turn::kWait;
    // One that this launch didn't bring to its end is for the launcher to refuse.
    return m_job->hasRunBeenAttempted(synthesis) ? Turn::kNever : Turn::kStart;
}

/// An implementation that was out of date for its synthesis alone may be none any more.
bool LaunchQueue::stillStands_(HAXPExpRun& run) const {
    HAXPExpRun* synthesis = m_project.getSynthesisOf(run);
    if (synthesis == nullptr || !m_job->hasRunBeenAttempted(synthesis))
        return false;
    if (RunLauncher::isEnqueued(run))
        RunLauncher::takeBack(run);
    return run.isUpToDate();
}

/// Whether there is nothing to launch of `run`, which has come to its end then.
bool LaunchQueue::leave_(HAXPExpRun& run, std::vector<Event>& events) {
    if (!stillStands_(run))
        return false;
    remove(m_waiting, &run);
    remove(m_shown, &run);
    m_job->markAsExported(&run);
    events.push_back({&run, Event::kStands, ""});
    return true;
}

void LaunchQueue::noteStart_(HAXPExpRun& run, Slot& slot, std::vector<Event>& events) {
    slot.running.push_back(&run);
    remove(m_waiting, &run);
    remove(m_shown, &run);
    m_running.push_back(&run);
    events.push_back({&run, Event::kStarted, ""});
}

void LaunchQueue::start_(HAXPExpRun& run, Slot& slot, std::vector<Event>& events) {
    if (leave_(run, events))
        return;
    try {
        launch_(run, slot.way);
        noteStart_(run, slot, events);
    } catch (const workbench::HostError& error) {
        putOff_(run, slot, error.what(), events);
    } catch (const HEXUserException& error) {
        giveUp_(run, Event::kRefused, error.what(), events);
    }
}

/// One alone is a job of its own.
void LaunchQueue::startTogether_(const Runs& runs, Slot& slot, std::vector<Event>& events) {
    Runs starts;
    std::copy_if(runs.begin(), runs.end(), std::back_inserter(starts),
                 [this, &events](HAXPExpRun* run) { return !leave_(*run, events); });
    if (starts.size() == 1)
        start_(*starts.front(), slot, events);
    if (starts.size() <= 1)
        return;
    try {
        for (const RunLauncher::Refusal& refusal : launchTogether_(starts, slot.way)) {
            remove(starts, refusal.run);
            giveUp_(*refusal.run, Event::kRefused, refusal.text, events);
        }
        for (HAXPExpRun* run : starts)
            noteStart_(*run, slot, events);
    } catch (const HEXUserException& error) {
        std::string text = error.what();
        for (HAXPExpRun* run : starts) {
            giveUp_(*run, Event::kRefused, text, events);
            text.clear();
        }
    }
}

void LaunchQueue::launch_(HAXPExpRun& run, const workbench::LaunchWay& way) {
    saveRunsAlone_();
    const workbench::UndoGroup together(m_project, m_undo);
    m_launcher.launch(run, way, m_options.getUserRunScript(run.getName()));
}

std::vector<RunLauncher::Refusal> LaunchQueue::launchTogether_(const Runs& runs,
                                                               const workbench::LaunchWay& way) {
    saveRunsAlone_();
    const workbench::UndoGroup together(m_project, m_undo);
    std::vector<RunLauncher::Start> starts;
    for (HAXPExpRun* run : runs)
        starts.push_back({run, m_options.getUserRunScript(run->getName())});
    return m_launcher.launchTogether(starts, way, labelOf_(runs), m_mostAtOnce);
}

/// One alone is saved with the project as a whole.
void LaunchQueue::saveRunsAlone_() {
    if (m_hasRecords || runCount() == 1)
        return;
    m_launcher.saveRunsAlone(m_waiting);
    m_hasRecords = true;
}

/// What an array is called after: the sweep of its runs, or the first of them.
std::string LaunchQueue::labelOf_(const Runs& runs) const {
    const std::string sweep = m_project.getFamilyOf(*runs.front()).sweep;
    const bool isOne = std::all_of(runs.begin(), runs.end(), [&](const HAXPExpRun* run) {
        return m_project.getFamilyOf(*run).sweep == sweep;
    });
    return isOne && !sweep.empty() ? sweep : runs.front()->getName();
}

bool LaunchQueue::isOut_() const {
    return std::all_of(m_slots.begin(), m_slots.end(), [](const Slot& slot) { return slot.isOut; });
}

/// The other hosts get the run; without one it is refused, as those behind it are.
void LaunchQueue::putOff_(HAXPExpRun& run, Slot& slot, const std::string& text,
                          std::vector<Event>& events) {
    slot.isOut = true;
    m_fault = text;
    if (isOut_()) {
        giveUp_(run, Event::kRefused, text, events);
        return;
    }
    remove(m_shown, &run);
    events.push_back({&run, Event::kPutOff, text});
}

void LaunchQueue::findEarlier_() {
    if (m_slots.front().way.kind != workbench::LaunchWay::Kind::kHost)
        return;
    for (HAXPExpRun* run : m_project.getRuns()) {
        workbench::LaunchLease lease;
        run->updateStatus();
        if (!run->isAtWork() || !workbench::readLeaseOf(*run, lease) || lease.isWaiting ||
            lease.way.kind != workbench::LaunchWay::Kind::kHost)
            continue;
        for (Slot& slot : m_slots) {
            if (slot.way.host != lease.way.host || slot.running.size() >= slot.most)
                continue;
            slot.running.push_back(run);
            m_earlier.push_back(run);
            break;
        }
    }
}

void LaunchQueue::dropEarlier_() {
    const Runs earlier = m_earlier;
    for (HAXPExpRun* run : earlier) {
        run->updateStatus();
        run->lookForLifeNowAndThen();
        if (run->isAtWork())
            continue;
        remove(m_earlier, run);
        for (Slot& slot : m_slots)
            remove(slot.running, run);
    }
}

void LaunchQueue::giveUp_(HAXPExpRun& run, Event::Kind kind, const std::string& text,
                          std::vector<Event>& events) {
    if (contains(m_shown, &run) && RunLauncher::isEnqueued(run))
        RunLauncher::takeBack(run);
    remove(m_shown, &run);
    remove(m_waiting, &run);
    m_job->markAsFailed(&run);
    run.updateStatus();
    events.push_back({&run, kind, text});
}
