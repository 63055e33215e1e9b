// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/tcl/tclSession.h"

#include <algorithm>
#include <exception>
#include <optional>
#include <utility>

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
#include "shell/note.h"
#include "shell/runPlan.h"
#include "shell/runView.h"
#include "shell/serve/pageServer.h"
#include "shell/tcl/tclAction.h"
#include "shell/tcl/tclError.h"
#include "workbench/Abandoner.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/LaunchQueue.h"
#include "workbench/Project.h"
#include "workbench/abandon.h"
#include "workbench/history/History.h"
#include "workbench/statusWord.h"
#include "workbench/undo/UndoStore.h"

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

bool holdsRun(const std::vector<HAXPExpRun*>& runs, const HAXPExpRun* run) {
    return std::find(runs.begin(), runs.end(), run) != runs.end();
}

OpenProject* holderOf(const TclSession& session, const HAXPExpRunBase* run) {
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

/// Why `run` was given up.
std::string abandonmentText(const HAXPExpRun& run) {
    const std::optional<workbench::Abandonment> mark = workbench::abandonmentOf(run);
    return mark ? mark->text : std::string();
}

/// Whether `script` is one command without anything to substitute, as `apply {{run} {...}}`:
/// read as a list it is the same.
bool isPlainCommand(Tcl_Obj* script) {
    int length = 0;
    const char* const text = Tcl_GetStringFromObj(script, &length);
    Tcl_Parse parsed;
    if (Tcl_ParseCommand(nullptr, text, length, 0, &parsed) != TCL_OK)
        return false;
    const char* const end = parsed.commandStart + parsed.commandSize;
    bool isPlain = parsed.commentSize == 0 && end == text + length && parsed.numWords > 0;
    for (int i = 0; i < parsed.numTokens; i += parsed.tokenPtr[i].numComponents + 1)
        isPlain = isPlain && parsed.tokenPtr[i].type == TCL_TOKEN_SIMPLE_WORD;
    Tcl_FreeParse(&parsed);
    return isPlain;
}

/// `script` with `words` behind it. Handles among the words stay ones where they can.
Tcl_Obj* commandOf(Tcl_Obj* script, Tcl_Obj* words) {
    Tcl_Obj* const command = Tcl_DuplicateObj(script);
    if (isPlainCommand(script) && Tcl_ListObjAppendList(nullptr, command, words) == TCL_OK)
        return command;
    Tcl_AppendToObj(command, " ", 1);
    Tcl_AppendObjToObj(command, words);
    return command;
}

[[noreturn]] void failForeign(const std::string& name) {
    fail(Code::kRunForeign, {name},
         fmt::format("The run {} isn't of the project of the others. Name the runs of each project "
                     "in a command of their own.",
                     name));
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
    settle(*m_current);
    arm_();
    return *m_current;
}

void TclSession::settle(OpenProject& project) {
    const auto told = static_cast<std::ptrdiff_t>(m_pending.size());
    for (HAXPExpRun* run : project.project->getRuns())
        compare_(project, *run);
    m_pending.erase(m_pending.begin() + told, m_pending.end());
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
    forgetCallbacks_(closed->project->getDir(), nullptr);
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
            if (OpenProject* open = holderOf(*session, native))
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

OpenProject& TclSession::projectOf(const std::vector<Tcl_Obj*>& words) const {
    OpenProject* found = nullptr;
    for (Tcl_Obj* word : words) {
        if (Handles::get_native(word) == nullptr)
            continue;
        OpenProject* const open = run(word).project;
        if (found != nullptr && open != found)
            failForeign(textOf(word));
        found = open;
    }
    return found != nullptr ? *found : current();
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
            failForeign(textOf(word));
        project = open;
        for (HAXPExpRun* each : meant) {
            if (!holdsRun(all, each))
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
                        const HAXPLaunchOptions& options, long mostOfArray,
                        std::unique_ptr<workbench::Abandoner> abandoner) {
    if (!project.queue) {
        project.queue = std::make_unique<LaunchQueue>(*project.project, options);
        project.queue->setArrays(mostOfArray);
        project.abandoner = std::move(abandoner);
    } else if (project.abandoner) {
        project.abandoner->add(runs);
    }
    for (HAXPExpRun* run : runs)
        project.queue->add(*run);
    advance_(project);
    arm_();
}

void TclSession::catchUp(OpenProject& project) {
    advance_(project);
    arm_();
}

std::vector<HAXPExpRun*> TclSession::takeBackWaiting(OpenProject& project) {
    std::vector<HAXPExpRun*> waited = project.queue->takeBackWaiting();
    // Those at work are followed like runs that somebody else launched.
    endLaunch_(project);
    return waited;
}

void TclSession::endLaunch_(OpenProject& project) {
    project.queue.reset();
    project.abandoner.reset();
    project.abandoned = 0;
}

void TclSession::remove(OpenProject& project, const std::vector<HAXPExpRun*>& runs) {
    for (const HAXPExpRun* run : runs) {
        // A name may be that of another run later, and so may an address.
        project.seen.erase(run->getName());
        forgetCallbacks_(project.project->getDir(), run);
        if (project.queue)
            project.queue->forget(*run);
        if (project.abandoner)
            project.abandoner->forget(*run);
    }
    workbench::removeRuns(*project.project, runs);
}

void TclSession::serve(OpenProject& project, const std::vector<std::string>& names, int port) {
    project.server = std::make_unique<PageServer>(project.project->getDir(), names, port);
    arm_();
}

bool TclSession::isPending(const OpenProject& project, const HAXPExpRun& run) {
    return run.isAtWork() || (project.queue && (holdsRun(project.queue->getWaiting(), &run) ||
                                                holdsRun(project.queue->getRunning(), &run)));
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

TclSession::About TclSession::about(Tcl_Obj* word) const {
    if (word == nullptr)
        return {};
    const RunOfProject found = run(word);
    return {found.project->project->getDir(), found.run->getName()};
}

void TclSession::on(Event event, const About& about, Tcl_Obj* script) {
    m_callbacks.erase(std::remove_if(m_callbacks.begin(), m_callbacks.end(),
                                     [&](const Callback& each) {
                                         return each.event == event && each.about == about;
                                     }),
                      m_callbacks.end());
    int length = 0;
    Tcl_GetStringFromObj(script, &length);
    if (length > 0)
        m_callbacks.push_back({event, about, ValueRef(script)});
    arm_();
}

Tcl_Obj* TclSession::callback(Event event, const About& about) const {
    for (const Callback& each : m_callbacks) {
        if (each.event == event && each.about == about)
            return each.script.get();
    }
    return nullptr;
}

/// Those about `run` of the project in `dir`, or about any of its runs for null.
void TclSession::forgetCallbacks_(const std::string& dir, const HAXPExpRun* run) {
    m_callbacks.erase(std::remove_if(m_callbacks.begin(), m_callbacks.end(),
                                     [&dir, run](const Callback& each) {
                                         return each.about.dir == dir &&
                                                (run == nullptr ||
                                                 each.about.run == run->getName());
                                     }),
                      m_callbacks.end());
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

void TclSession::onTimer_(void* session) {
    const std::shared_ptr<TclSession> self = static_cast<TclSession*>(session)->shared_from_this();
    self->m_timer = nullptr;
    self->tick_();
}

bool TclSession::needsTimer_() const {
    if (m_waits > 0)
        return true;
    return std::any_of(m_projects.begin(), m_projects.end(), [this](const auto& open) {
        return open->queue != nullptr || open->server != nullptr || !m_callbacks.empty();
    });
}

void TclSession::arm_() {
    if (m_timer == nullptr && !m_isEnded && needsTimer_())
        m_timer = Tcl_CreateTimerHandler(kTickMs, onTimer_, this);
}

void TclSession::tick_() {
    const bool all = ++m_ticks % kSlowTicks == 0;
    for (const auto& open : m_projects) {
        try {
            advance_(*open);
            look_(*open, all || m_ticks == 1);
            if (open->server)
                open->server->look();
        } catch (...) {
            // A launch that can't go on would say so ten times a second.
            endLaunch_(*open);
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
        switch (event.kind) {
        case LaunchQueue::Event::kStarted:
            // What it was before a launch is no end of this one.
            project.seen[event.run->getName()].status.clear();
            break;
        case LaunchQueue::Event::kStands:
            note_(project, *event.run, Event::kDone, {});
            break;
        case LaunchQueue::Event::kDone:
        case LaunchQueue::Event::kFailed:
            workbench::rememberBefore(*project.project, *event.run);
            project.abandoned += statusWord(*event.run) == "abandoned" ? 1 : 0;
            compare_(project, *event.run);
            break;
        case LaunchQueue::Event::kLeftOut:
            note_(project, *event.run, Event::kFailed, {"not launched: its synthesis isn't done"});
            break;
        case LaunchQueue::Event::kTakenBack:
            note_(project, *event.run, Event::kFailed, {"taken back while it waited"});
            break;
        case LaunchQueue::Event::kRefused:
            note_(project, *event.run, Event::kFailed, {event.text});
            break;
        case LaunchQueue::Event::kPutOff:
            break;
        }
    }
    if (project.queue->isOver())
        endLaunch_(project);
    else
        abandon_(project);
}

/// Gives up what can't win any more. One that can't be stopped goes on, and that is told.
void TclSession::abandon_(OpenProject& project) {
    if (!project.abandoner)
        return;
    for (const auto& event : project.abandoner->look(project.queue->getRunning())) {
        if (!event.fault.empty())
            tellWarning(fmt::format("Run {} goes on, though {}: {}", event.run->getName(),
                                    event.text, event.fault));
    }
}

void TclSession::look_(OpenProject& project, bool all) {
    for (HAXPExpRun* run : project.project->getRuns()) {
        const bool isOurs = project.queue && holdsRun(project.queue->getRunning(), run);
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
            note_(project, run, Event::kStep, {id, workbench::stepStatusWord(code)});
        before = code;
    }
    const std::string status = statusWord(run);
    if (status == seen.status)
        return;
    seen.status = status;
    if (!workbench::isOver(run.getStatus()->getCode()))
        return;
    if (status == "done")
        note_(project, run, Event::kDone, {});
    else if (status == "abandoned")
        note_(project, run, Event::kAbandoned, {abandonmentText(run)});
    else
        note_(project, run, Event::kFailed, {failureText(run)});
}

void TclSession::note_(const OpenProject& project, const HAXPExpRun& run, Event event,
                       const std::vector<std::string>& more) {
    m_pending.push_back({event, project.project->getDir(), run.getName(), more});
}

/// A callback may enter the event loop, and so come back here: each event goes from the
/// list before it is told.
void TclSession::fire_() {
    while (!m_pending.empty()) {
        const Pending pending = m_pending.front();
        m_pending.pop_front();
        const std::vector<Callback> callbacks = m_callbacks;
        for (const Callback& callback : callbacks) {
            if (callback.event == pending.event && callback.about.fits(pending.dir, pending.run))
                call_(callback, pending);
        }
    }
}

void TclSession::call_(const Callback& callback, const Pending& pending) {
    if (m_isEnded || Tcl_InterpDeleted(m_interp) != 0)
        return;
    // A callback before this one may have deleted the run, or closed its project.
    HAXPExpRun* const run = findRun_(pending);
    if (run == nullptr)
        return;
    const ValueRef words(Tcl_NewListObj(0, nullptr));
    Tcl_ListObjAppendElement(nullptr, words.get(), handleOf(*run));
    for (const std::string& word : pending.more)
        Tcl_ListObjAppendElement(nullptr, words.get(), newText(word));
    const ValueRef command(commandOf(callback.script.get(), words.get()));
    Tcl_Preserve(m_interp);
    const int result = Tcl_EvalObjEx(m_interp, command.get(), TCL_EVAL_GLOBAL);
    if (result != TCL_OK && Tcl_InterpDeleted(m_interp) == 0)
        Tcl_BackgroundException(m_interp, result);
    Tcl_Release(m_interp);
}

HAXPExpRun* TclSession::findRun_(const Pending& pending) const {
    for (const auto& open : m_projects) {
        if (open->project->getDir() == pending.dir)
            return open->project->findRun(pending.run);
    }
    return nullptr;
}

}  // namespace shell::tcl
