// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <chrono>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "shell/tcl/tclValue.h"

class HAXPExpRun;
class HAXPLaunchOptions;
class LaunchQueue;
class Project;
struct Tcl_Interp;
using Tcl_TimerToken = struct Tcl_TimerToken_*;

namespace workbench {
class Abandoner;
}

namespace shell {
class PageServer;
}

namespace shell::tcl {

/// A project that scripts have open, with its launch and what was last seen of its runs.
struct OpenProject {
    /// What was seen of a run, so that what changes can be told.
    struct Seen {
        std::string status;
        std::map<std::string, int> steps;
    };

    OpenProject(std::unique_ptr<Project> opened, bool readOnly);
    /// What waits of its launch is taken back; what is at work goes on.
    ~OpenProject();

    const std::unique_ptr<Project> project;
    const bool isReadOnly;
    /// The launch that isn't over; null without one.
    std::unique_ptr<LaunchQueue> queue;
    /// What gives up runs of the launch; null when nothing does.
    std::unique_ptr<workbench::Abandoner> abandoner;
    /// How many of the launch were given up.
    int abandoned = 0;
    /// The live page, answered while the event loop runs; null when it isn't served.
    std::unique_ptr<PageServer> server;
    std::map<std::string, Seen> seen;
};

/// A run and the project that it belongs to; good until the event loop runs.
struct RunOfProject {
    OpenProject* project;
    HAXPExpRun* run;
};

/// What one interpreter has open, and what it wants to hear of.
///
/// Projects and handles belong to the thread of the interpreter. Nothing here starts a thread:
/// launches go on, and callbacks are called, while the event loop runs. A command that enters
/// it holds no run across that, since a callback may close the project.
class TclSession : public std::enable_shared_from_this<TclSession> {
public:
    /// Events of `run on`.
    enum class Event { kDone, kFailed, kStep, kAbandoned };

    /// The session of `interp`, made at first need and gone with it.
    static std::shared_ptr<TclSession> of(Tcl_Interp* interp);

    ~TclSession();
    TclSession(const TclSession&) = delete;
    TclSession& operator=(const TclSession&) = delete;

    Tcl_Interp* interp() const { return m_interp; }

    /// Where a project is looked for when none is named; "." unless the shell was told.
    const std::string& directory() const { return m_directory; }
    void setDirectory(const std::string& dir) { m_directory = dir; }

    /// Takes a project over and makes it the current one.
    OpenProject& add(std::unique_ptr<Project> project, bool isReadOnly);
    /// @throws HTCErrors::error this process has the project in the folder `dir` open.
    static void requireNotOpen(const std::string& dir);
    /// @throws HTCErrors::error no project is open here.
    OpenProject& current() const;
    /// The one in the folder `dir`. @throws HTCErrors::error it isn't open here.
    OpenProject& get(const std::string& dir) const;
    void makeCurrent(OpenProject& project) { m_current = &project; }
    void close(OpenProject& project);
    std::vector<OpenProject*> projects() const;

    /// The run that `word` means: a handle of any open project, or the name of a run of the
    /// current one. @throws HTCErrors::error there is none, or it is gone.
    RunOfProject run(Tcl_Obj* word) const;
    /// The project of the handles among `words`, or the current one: for words that may name
    /// what isn't there any more. @throws HTCErrors::error they are of several projects, or one
    /// is of a run that is gone.
    OpenProject& projectOf(const std::vector<Tcl_Obj*>& words) const;
    /// The runs that `words` mean, each once; names of families and sweeps mean all of theirs,
    /// no words all runs of the current project. Gives their project too.
    /// @throws HTCErrors::error there is none, or they are of several projects.
    std::vector<HAXPExpRun*> runs(const std::vector<Tcl_Obj*>& words, OpenProject*& project) const;

    /// Brings `runs` up to date with their directories.
    static void refresh(const std::vector<HAXPExpRun*>& runs);

    /// Launches `runs` of `project`, as many at once as `options` say; those that wait go on
    /// in the event loop. `mostOfArray` is for LaunchQueue::setArrays(); `abandoner` gives up those
    /// that can't win, null for none. When they join a launch that isn't over, both are its.
    void launch(OpenProject& project, const std::vector<HAXPExpRun*>& runs,
                const HAXPLaunchOptions& options, long mostOfArray,
                std::unique_ptr<workbench::Abandoner> abandoner);
    /// Looks at the launch of `project`, if it has one, now and not with the next tick: for what
    /// a command has just stopped.
    void catchUp(OpenProject& project);
    /// Ends the launch of `project`, which has one, for what waits, and gives that; what is at
    /// work goes on.
    std::vector<HAXPExpRun*> takeBackWaiting(OpenProject& project);
    /// Takes `runs`, none of which is pending, out of the project with their directories.
    /// Throws as workbench::removeRuns() does.
    void remove(OpenProject& project, const std::vector<HAXPExpRun*>& runs);
    /// What its runs are now is no news to callbacks.
    void settle(OpenProject& project);
    /// Serves the live page of `project`, of the runs that `names` mean or of all; 0 takes any
    /// free port. Throws as PageServer does.
    void serve(OpenProject& project, const std::vector<std::string>& names, int port);
    /// The project in the folder `dir`, whoever has it open.
    /// @throws HTCErrors::error it was closed meanwhile.
    static OpenProject& openIn(const std::string& dir);
    /// Whether `run` is at work or waits in a launch of its project.
    static bool isPending(const OpenProject& project, const HAXPExpRun& run);

    /// Runs the event loop until none of `runs` is pending. `timeoutMs` below 0 waits for ever.
    /// @throws HTCErrors::error the time is over, the project was closed meanwhile, or the
    /// interpreter deleted.
    void wait(OpenProject& project, const std::vector<HAXPExpRun*>& runs, long timeoutMs);

    /// Which runs a callback is about: one of a project, or all that are open.
    struct About {
        /// The folder of the project; empty for all runs.
        std::string dir;
        std::string run;

        bool operator==(const About& other) const { return dir == other.dir && run == other.run; }
        bool fits(const std::string& itsDir, const std::string& itsRun) const {
            return dir.empty() || (dir == itsDir && run == itsRun);
        }
    };
    /// The run that `word` means; all for null. Throws as run() does.
    About about(Tcl_Obj* word) const;

    /// Has `script` called on `event`, with words behind it; an empty one for no longer.
    void on(Event event, const About& about, Tcl_Obj* script);
    /// The script, or null.
    Tcl_Obj* callback(Event event, const About& about) const;

    /// Ends all sessions of the process, when it exits.
    static void endAll();

private:
    struct Pending {
        Event event;
        std::string dir;
        std::string run;
        std::vector<std::string> more;
    };
    struct Callback {
        Event event;
        About about;
        ValueRef script;
    };

    explicit TclSession(Tcl_Interp* interp);
    static void onTimer_(void* session);
    void end_();
    void arm_();
    bool needsTimer_() const;
    void tick_();
    void advance_(OpenProject& project);
    void abandon_(OpenProject& project);
    static void endLaunch_(OpenProject& project);
    void look_(OpenProject& project, bool all);
    void compare_(OpenProject& project, const HAXPExpRun& run);
    void note_(const OpenProject& project, const HAXPExpRun& run, Event event,
               const std::vector<std::string>& more);
    HAXPExpRun* findRun_(const Pending& pending) const;
    void forgetCallbacks_(const std::string& dir, const HAXPExpRun* run);
    void fire_();
    void call_(const Callback& callback, const Pending& pending);
    void waitOnce_();

    Tcl_Interp* m_interp;
    std::string m_directory = ".";
    std::vector<std::unique_ptr<OpenProject>> m_projects;
    OpenProject* m_current = nullptr;
    std::vector<Callback> m_callbacks;
    std::deque<Pending> m_pending;
    Tcl_TimerToken m_timer = nullptr;
    int m_waits = 0;
    int m_ticks = 0;
    bool m_isEnded = false;
};

}  // namespace shell::tcl
