// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/tcl/tclSession.h"

#include <algorithm>
#include <exception>

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <tcl.h>

#include "environment/files/HUTFileUtils.h"
#include "environment/tcl/native_cache.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HAXPLaunchOptions.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "shell/failureView.h"
#include "shell/runPlan.h"
#include "shell/runView.h"
#include "shell/tcl/tclError.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/LaunchQueue.h"
#include "workbench/Project.h"
#include "workbench/history/History.h"
#include "workbench/statusWord.h"

namespace shell::tcl {

namespace {

using Handles = mqi::tcltasks::native_cache<HAXPExpRunBase*>;

/// Between two looks at the runs that are at work.
constexpr int kTickMs = 100;
/// Every how many of them the other runs of a project that somebody else may launch are
/// looked at, too.
constexpr int kSlowTicks = 10;

constexpr const char* kKey = "xperiment::session";

/// Those of all interpreters: a handle finds its project in any of them.
std::vector<TclSession*>& sessions() {
    static auto* const all = new std::vector<TclSession*>;
    return *all;
}

void dropSession(ClientData data, Tcl_Interp*) {
    delete static_cast<std::shared_ptr<TclSession>*>(data);
}

bool contains(const std::vector<HAXPExpRun*>& runs, const HAXPExpRun* run) {
    return std::find(runs.begin(), runs.end(), run) != runs.end();
}

OpenProject* projectOf(const TclSession& session, const HAXPExpRunBase* run) {
    for (OpenProject* open : session.projects()) {
        for (HAXPExpRun* each : open->project->getRuns()) {
            if (each == run)
                return open;
        }
    }
    return nullptr;
}

/// Whether a step with the status has been at work.
bool hasBegun(int code) {
    return code == HDGUIStatus::statusRunning || workbench::isOver(code);
}

[[noreturn]] void failDeleted() {
    fail(Code::kInterpDeleted, {}, "The interpreter was deleted while it waited.");
}

}  // namespace

OpenProject::OpenProject(std::unique_ptr<Project> opened, bool readOnly)
    : project(std::move(opened)), isReadOnly(readOnly) {}

OpenProject::~OpenProject() = default;

std::shared_ptr<TclSession> TclSession::of(Tcl_Interp* interp) {
    using Shared = std::shared_ptr<TclSession>;
    if (auto* known = static_cast<Shared*>(Tcl_GetAssocData(interp, kKey, nullptr)))
        return *known;
    auto made = std::make_unique<Shared>(new TclSession(interp));
    Shared session = *made;
    Tcl_SetAssocData(interp, kKey, dropSession, made.release());
    return session;
}

TclSession::TclSession(Tcl_Interp* interp) : m_interp(interp) {
    sessions().push_back(this);
}

TclSession::~TclSession() {
    end_();
    sessions().erase(std::remove(sessions().begin(), sessions().end(), this), sessions().end());
}

OpenProject& TclSession::add(std::unique_ptr<Project> project, bool isReadOnly) {
    m_projects.push_back(std::make_unique<OpenProject>(std::move(project), isReadOnly));
    m_current = m_projects.back().get();
    // What is at work already is no news.
    const auto told = static_cast<std::ptrdiff_t>(m_pending.size());
    for (HAXPExpRun* run : m_current->project->getRuns())
        compare_(*m_current, *run);
    m_pending.erase(m_pending.begin() + told, m_pending.end());
    arm_();
    return *m_current;
}

void TclSession::requireNotOpen(const std::string& dir) {
    for (const TclSession* session : sessions()) {
        for (const OpenProject* open : session->projects()) {
            if (open->project->getDir() == dir)
                fail(Code::kProjectOpen, {dir},
                     fmt::format("The project in {} is open already. Go on with it, or close it "
                                 "first.",
                                 dir));
        }
    }
}

OpenProject& TclSession::current() const {
    if (m_current == nullptr)
        fail(Code::kProjectNone, {}, "No project is open. Open one with: project open DIR");
    return *m_current;
}

OpenProject& TclSession::get(const std::string& dir) const {
    std::string full = dir;
    HUTFileUtils::makeAbsolutePath(full);
    for (const auto& open : m_projects) {
        if (open->project->getDir() == dir || open->project->getDir() == full)
            return *open;
    }
    fail(Code::kProjectNotOpen, {dir},
         fmt::format("The project in {} isn't open. Open it with: project open DIR", dir));
}

void TclSession::close(OpenProject& project) {
    const auto found =
        std::find_if(m_projects.begin(), m_projects.end(),
                     [&project](const auto& each) { return each.get() == &project; });
    if (found == m_projects.end())
        return;
    const std::unique_ptr<OpenProject> closed = std::move(*found);
    m_projects.erase(found);
    if (m_current == closed.get())
        m_current = m_projects.empty() ? nullptr : m_projects.back().get();
}

std::vector<OpenProject*> TclSession::projects() const {
    std::vector<OpenProject*> all;
    all.reserve(m_projects.size());
    for (const auto& open : m_projects)
        all.push_back(open.get());
    return all;
}

RunOfProject TclSession::run(Tcl_Obj* word) const {
    if (HAXPExpRunBase* native = Handles::get_native(word)) {
        for (const TclSession* session : sessions()) {
            if (OpenProject* open = projectOf(*session, native))
                return {open, static_cast<HAXPExpRun*>(native)};
        }
    }
    OpenProject& open = current();
    const std::string name = textOf(word);
    try {
        return {&open, &chosenRun(*open.project, name)};
    } catch (const std::exception& error) {
        fail(Code::kRunNotFound, {name}, error.what());
    }
}

std::vector<HAXPExpRun*> TclSession::runs(const std::vector<Tcl_Obj*>& words,
                                          OpenProject*& project) const {
    project = nullptr;
    if (words.empty()) {
        project = &current();
        return project->project->getRuns();
    }
    std::vector<HAXPExpRun*> all;
    for (Tcl_Obj* word : words) {
        std::vector<HAXPExpRun*> meant;
        OpenProject* open = m_current;
        // What is neither a handle nor the name of a run may be that of a family.
        if (Handles::get_native(word) == nullptr &&
            current().project->findRun(textOf(word)) == nullptr)
            meant = runsOfFamily(*open->project, textOf(word));
        if (meant.empty()) {
            const RunOfProject found = run(word);
            open = found.project;
            meant.push_back(found.run);
        }
        if (project != nullptr && project != open)
            fail(Code::kRunForeign, {textOf(word)},
                 fmt::format("The run {} isn't of the project of the others. Name the runs of "
                             "each project in a command of their own.",
                             textOf(word)));
        project = open;
        for (HAXPExpRun* each : meant) {
            if (!contains(all, each))
                all.push_back(each);
        }
    }
    return all;
}

void TclSession::refresh(const std::vector<HAXPExpRun*>& runs) {
    for (HAXPExpRun* run : runs)
        run->updateRun();
}

void TclSession::launch(OpenProject& project, const std::vector<HAXPExpRun*>& runs,
                        const HAXPLaunchOptions& options) {
    if (!project.queue)
        project.queue = std::make_unique<LaunchQueue>(*project.project, options);
    for (HAXPExpRun* run : runs)
        project.queue->add(*run);
    advance_(project);
    arm_();
}

std::vector<HAXPExpRun*> TclSession::takeBackWaiting(OpenProject& project) {
    std::vector<HAXPExpRun*> waited = project.queue->takeBackWaiting();
    // Those at work are followed like runs that somebody else launched.
    project.queue.reset();
    return waited;
}

bool TclSession::isPending(const OpenProject& project, const HAXPExpRun& run) {
    return run.isAtWork() || (project.queue && (contains(project.queue->getWaiting(), &run) ||
                                                contains(project.queue->getRunning(), &run)));
}

void TclSession::wait(OpenProject& project, const std::vector<HAXPExpRun*>& runs, long timeoutMs) {
    const std::shared_ptr<TclSession> self = shared_from_this();
    const std::string dir = project.project->getDir();
    std::vector<std::string> names;
    names.reserve(runs.size());
    for (const HAXPExpRun* run : runs)
        names.push_back(run->getName());
    using Clock = std::chrono::steady_clock;
    const Clock::time_point end = Clock::now() + std::chrono::milliseconds(timeoutMs);
    while (true) {
        // Anew each time: a callback may have closed the project.
        const OpenProject& open = openIn(dir);
        std::vector<std::string> left;
        for (const std::string& name : names) {
            const HAXPExpRun* run = open.project->findRun(name);
            if (run != nullptr && isPending(open, *run))
                left.push_back(name);
        }
        if (left.empty())
            return;
        if (timeoutMs >= 0 && Clock::now() >= end)
            fail(Code::kWaitTimeout, left,
                 fmt::format("After {} ms these haven't ended: {}.", timeoutMs,
                             fmt::join(left, ", ")));
        names = left;
        waitOnce_();
    }
}

OpenProject& TclSession::openIn(const std::string& dir) {
    for (const TclSession* session : sessions()) {
        for (OpenProject* open : session->projects()) {
            if (open->project->getDir() == dir)
                return *open;
        }
    }
    fail(Code::kProjectNotOpen, {dir},
         fmt::format("The project in {} was closed while its runs were waited for.", dir));
}

void TclSession::waitOnce_() {
    ++m_waits;
    arm_();
    // The timer brings it back.
    Tcl_Preserve(m_interp);
    Tcl_DoOneEvent(TCL_ALL_EVENTS);
    --m_waits;
    const bool isDeleted = m_isEnded || Tcl_InterpDeleted(m_interp) != 0;
    const bool isOver = !isDeleted && Tcl_LimitExceeded(m_interp) != 0;
    Tcl_Release(m_interp);
    if (isDeleted)
        failDeleted();
    if (isOver)
        fail(Code::kRefused, {}, "A limit of the interpreter is reached.");
}

void TclSession::on(Event event, const std::string& run, Tcl_Obj* script) {
    m_callbacks.erase(std::remove_if(m_callbacks.begin(), m_callbacks.end(),
                                     [&](const Callback& each) {
                                         return each.event == event && each.run == run;
                                     }),
                      m_callbacks.end());
    int length = 0;
    Tcl_GetStringFromObj(script, &length);
    if (length > 0)
        m_callbacks.push_back({event, run, ValueRef(script)});
    arm_();
}

Tcl_Obj* TclSession::callback(Event event, const std::string& run) const {
    for (const Callback& each : m_callbacks) {
        if (each.event == event && each.run == run)
            return each.script.get();
    }
    return nullptr;
}

void TclSession::endAll() {
    const std::vector<TclSession*> all = sessions();
    for (TclSession* session : all)
        session->end_();
}

void TclSession::end_() {
    m_isEnded = true;
    if (m_timer != nullptr)
        Tcl_DeleteTimerHandler(m_timer);
    m_timer = nullptr;
    m_callbacks.clear();
    m_pending.clear();
    m_current = nullptr;
    m_projects.clear();
}

void TclSession::onTimer(void* session) {
    const std::shared_ptr<TclSession> self = static_cast<TclSession*>(session)->shared_from_this();
    self->m_timer = nullptr;
    self->tick_();
}

bool TclSession::needsTimer_() const {
    if (m_waits > 0)
        return true;
    return std::any_of(m_projects.begin(), m_projects.end(), [this](const auto& open) {
        return open->queue != nullptr || !m_callbacks.empty();
    });
}

void TclSession::arm_() {
    if (m_timer == nullptr && !m_isEnded && needsTimer_())
        m_timer = Tcl_CreateTimerHandler(kTickMs, onTimer, this);
}

void TclSession::tick_() {
    const bool all = ++m_ticks % kSlowTicks == 0;
    for (const auto& open : m_projects) {
        try {
            advance_(*open);
            look_(*open, all || m_ticks == 1);
        } catch (...) {
            // A launch that can't go on would say so ten times a second.
            open->queue.reset();
            setError(m_interp);
            Tcl_BackgroundException(m_interp, TCL_ERROR);
        }
    }
    arm_();
    fire_();
}

void TclSession::advance_(OpenProject& project) {
    if (!project.queue)
        return;
    for (const LaunchQueue::Event& event : project.queue->advance()) {
        const std::string& name = event.run->getName();
        switch (event.kind) {
        case LaunchQueue::Event::kStarted:
            // What it was before a launch is no end of this one.
            project.seen[name].status.clear();
            break;
        case LaunchQueue::Event::kStands:
            m_pending.push_back({Event::kDone, name, {}});
            break;
        case LaunchQueue::Event::kDone:
        case LaunchQueue::Event::kFailed:
            workbench::rememberBefore(*project.project, *event.run);
            compare_(project, *event.run);
            break;
        case LaunchQueue::Event::kLeftOut:
            m_pending.push_back({Event::kFailed, name, {"not launched: its synthesis isn't done"}});
            break;
        case LaunchQueue::Event::kTakenBack:
            m_pending.push_back({Event::kFailed, name, {"taken back while it waited"}});
            break;
        case LaunchQueue::Event::kRefused:
            m_pending.push_back({Event::kFailed, name, {event.text}});
            break;
        case LaunchQueue::Event::kPutOff:
            break;
        }
    }
    if (project.queue->isOver())
        project.queue.reset();
}

void TclSession::look_(OpenProject& project, bool all) {
    for (HAXPExpRun* run : project.project->getRuns()) {
        const bool isOurs = project.queue && contains(project.queue->getRunning(), run);
        if (run->isAtWork() && !isOurs) {
            run->updateRun();
            run->lookForLifeNowAndThen();
        } else if (all && project.isReadOnly) {
            run->updateStatus();
        }
        compare_(project, *run);
    }
}

/// Notes what is new about `run`.
void TclSession::compare_(OpenProject& project, const HAXPExpRun& run) {
    OpenProject::Seen& seen = project.seen[run.getName()];
    for (const HAXPExpRunStep* step : stepsOf(run)) {
        const std::string& id = step->getFlowStep()->getFlowStepId();
        const int code = step->getStatus()->getCode();
        int& before = seen.steps[id];
        if (code != before && hasBegun(code))
            m_pending.push_back(
                {Event::kStep, run.getName(), {id, workbench::stepStatusWord(code)}});
        before = code;
    }
    const std::string status = statusWord(run);
    if (status == seen.status)
        return;
    seen.status = status;
    if (!workbench::isOver(run.getStatus()->getCode()))
        return;
    if (status == "done")
        m_pending.push_back({Event::kDone, run.getName(), {}});
    else
        m_pending.push_back({Event::kFailed, run.getName(), {failureText(run)}});
}

/// A callback may enter the event loop, and so come back here: each event goes from the
/// list before it is told.
void TclSession::fire_() {
    while (!m_pending.empty()) {
        const Pending pending = m_pending.front();
        m_pending.pop_front();
        const std::vector<Callback> callbacks = m_callbacks;
        for (const Callback& callback : callbacks) {
            if (callback.event == pending.event &&
                (callback.run.empty() || callback.run == pending.run))
                call_(callback, pending);
        }
    }
}

void TclSession::call_(const Callback& callback, const Pending& pending) {
    if (m_isEnded || Tcl_InterpDeleted(m_interp) != 0)
        return;
    std::vector<std::string> more{pending.run};
    more.insert(more.end(), pending.more.begin(), pending.more.end());
    const ValueRef script(Tcl_DuplicateObj(callback.script.get()));
    const ValueRef words(newList(more));
    Tcl_AppendToObj(script.get(), " ", 1);
    Tcl_AppendObjToObj(script.get(), words.get());
    Tcl_Preserve(m_interp);
    const int result = Tcl_EvalObjEx(m_interp, script.get(), TCL_EVAL_GLOBAL);
    if (result != TCL_OK && Tcl_InterpDeleted(m_interp) == 0)
        Tcl_BackgroundException(m_interp, result);
    Tcl_Release(m_interp);
}

}  // namespace shell::tcl
