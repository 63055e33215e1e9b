// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "runs/base/xperiment/HAXPJob.h"
#include "runs/base/xperiment/HAXPLaunchOptions.h"
#include "workbench/RunLauncher.h"
#include "workbench/WorkbenchExport.h"
#include "workbench/fileFingerprint.h"
#include "workbench/launchLease.h"
#include "workbench/undo/UndoStore.h"

class HAXPExpRun;
class Project;

/// Many runs of one launch, up to a number of them at once: on this host, on each of
/// several hosts, or as many as there are on a cluster.
///
/// A run that waits shows as queued. An implementation waits for its synthesis when that
/// belongs to the launch too, and is left out when that fails; all others go on. Who
/// launches calls advance() again and again. A host that didn't take a run gets no other one
/// of this launch. Runs at work go on when the object is
/// deleted, those that wait are taken back then; when this process is killed, they
/// aren't queued any more.
class WORKBENCH_API LaunchQueue {
public:
    using Runs = std::vector<HAXPExpRun*>;

    /// What became of a run.
    struct Event {
        enum Kind {
            kStarted,
            kDone,
            kFailed,     ///< or was lost or stopped
            kLeftOut,    ///< its synthesis isn't done; never started
            kRefused,    ///< couldn't be launched; `text` is the message, empty when that of
                         ///< another run tells it
            kTakenBack,  ///< somebody stopped it while it waited
            kPutOff,     ///< a host didn't take it, as `text` says; it waits for another
            kStands      ///< its synthesis made what it had made before; not launched
        };
        HAXPExpRun* run;
        Kind kind;
        std::string text;
    };

    /// The project isn't owned and is open for changes. Of `options` count the launch
    /// mode and what belongs to it: the number of jobs here, the hosts with the remote
    /// command, or the submit command; and the user's run scripts. Runs of the project that
    /// are at work on a host already count there. @throws HEXUserException a mode that
    /// starts nothing, several hosts without a host or job, a cluster without a command,
    /// mails or scripts before and after jobs, which aren't supported.
    LaunchQueue(Project& project, const HAXPLaunchOptions& options);
    virtual ~LaunchQueue();

    LaunchQueue(const LaunchQueue&) = delete;
    LaunchQueue& operator=(const LaunchQueue&) = delete;

    /// On a cluster, launches runs whose turn comes together as one array of jobs, at most
    /// `mostAtOnce` of it at work at once. While some of them haven't ended, others whose turn
    /// comes are submitted as far as that leaves room. 0 is for jobs of their own, without a
    /// limit. To be called before the first advance().
    void setArrays(long mostAtOnce) { m_mostAtOnce = mostAtOnce; }

    /// Adds a run behind the others; a synthesis comes before what starts from it. One that has
    /// come to its end here may be launched again: it counts once.
    void add(HAXPExpRun& run);

    /// That `run`, which neither waits nor is at work, is about to be deleted: it isn't counted
    /// any more.
    void forget(const HAXPExpRun& run);

    /// Brings the runs at work up to date, starts what may start, and says what happened
    /// since the last call. Never waits for a run.
    std::vector<Event> advance();

    /// Whether every run has come to its end, one way or the other.
    bool isOver() const { return m_job->allRunsAttempted(); }

    const Runs& getRunning() const { return m_running; }
    /// In the order in which they were added.
    const Runs& getWaiting() const { return m_waiting; }
    int doneCount() const { return m_job->exportedRunCount(); }
    /// Every run that came to its end otherwise.
    int failedCount() const { return m_job->failedRunCount(); }
    int runCount() const { return m_job->runCount(); }

    /// Takes back what waits, and says what it was.
    Runs takeBackWaiting();

protected:
    /// Launches `run` there. Throws as RunLauncher::launch() does.
    virtual void launch_(HAXPExpRun& run, const workbench::LaunchWay& way);
    /// Launches `runs` there as one array. As RunLauncher::launchTogether().
    virtual std::vector<RunLauncher::Refusal> launchTogether_(const Runs& runs,
                                                              const workbench::LaunchWay& way);

private:
    /// Where runs may work, and how many at once.
    struct Slot {
        workbench::LaunchWay way;
        std::size_t most;
        Runs running;
        bool isOut = false;
    };
    static std::vector<Slot> slotsOf_(const HAXPLaunchOptions& options);
    Slot* freeSlot_();
    bool isOut_() const;
    void findEarlier_();
    void dropEarlier_();
    void putOff_(HAXPExpRun& run, Slot& slot, const std::string& text, std::vector<Event>& events);

    enum class Turn { kWait, kStart, kNever };

    bool isTakenBack_(HAXPExpRun& run);
    void dropTakenBack_(std::vector<Event>& events);
    void lookAtRunning_(std::vector<Event>& events);
    void startWaiting_(std::vector<Event>& events);
    void showWaiting_(std::vector<Event>& events);
    Turn turnOf_(const HAXPExpRun& run) const;
    bool stillStands_(HAXPExpRun& run) const;
    bool leave_(HAXPExpRun& run, std::vector<Event>& events);
    void start_(HAXPExpRun& run, Slot& slot, std::vector<Event>& events);
    void startTogether_(const Runs& runs, Slot& slot, std::vector<Event>& events);
    std::size_t placesOfArray_() const;
    void noteStart_(HAXPExpRun& run, Slot& slot, std::vector<Event>& events);
    void saveRunsAlone_();
    std::string labelOf_(const Runs& runs) const;
    void giveUp_(HAXPExpRun& run, Event::Kind kind, const std::string& text,
                 std::vector<Event>& events);

    Project& m_project;
    HAXPLaunchOptions m_options;
    RunLauncher m_launcher;
    std::unique_ptr<HAXPJob> m_job = std::make_unique<HAXPJob>(1);
    std::vector<Slot> m_slots;
    /// Of an array; 0 for jobs of their own.
    long m_mostAtOnce = 0;
    /// Why the last host went out.
    std::string m_fault;
    Runs m_waiting;
    Runs m_running;
    /// Those of earlier launches that are at work on the hosts of this one.
    Runs m_earlier;
    /// Those of the waiting ones that show as queued.
    Runs m_shown;
    /// Their queue markers as they were when they were read.
    std::map<const HAXPExpRun*, workbench::FileStamp> m_markers;
    /// Whose marker is looked at next, as a place among those that wait.
    std::size_t m_nextLook = 0;
    /// Whether what the launches changed stands beside the project file.
    bool m_hasRecords = false;
    workbench::UndoSeries m_undo;
};
