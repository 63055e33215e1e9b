// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
// The verb that follows runs without launching any.
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <ctime>

#include <CLI/App.hpp>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <poll.h>
#include <unistd.h>

#include "runs/base/xperiment/HDGUIStatus.h"
#include "shell/exitStatus.h"
#include "shell/failureView.h"
#include "shell/interrupt.h"
#include "shell/liveProject.h"
#include "shell/note.h"
#include "shell/progressLine.h"
#include "shell/runEvents.h"
#include "shell/runPlan.h"
#include "shell/runView.h"
#include "shell/runWatch.h"
#include "shell/runs.h"
#include "shell/verb.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/Project.h"
#include "workbench/history/History.h"

namespace shell {

namespace {

constexpr int kPollMs = 100;

/// Who reads what is printed went away: ends as every other program of a pipe does then.
[[noreturn]] void endByPipe() {
    std::signal(SIGPIPE, SIG_DFL);
    sigset_t pipe;
    sigemptyset(&pipe);
    sigaddset(&pipe, SIGPIPE);
    sigprocmask(SIG_UNBLOCK, &pipe, nullptr);
    std::raise(SIGPIPE);
    _exit(128 + SIGPIPE);
}

/// Whether nobody reads standard output any more, as far as that can be told without writing.
bool isOutputClosed() {
    pollfd output{STDOUT_FILENO, 0, 0};
    return poll(&output, 1, 0) == 1 && (output.revents & POLLERR) != 0;
}

/// One object and line, out at once.
void printLine(const nlohmann::json& json) {
    const std::string line =
        json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
    errno = 0;
    const bool isWritten =
        std::fwrite(line.data(), 1, line.size(), stdout) == line.size() && std::fflush(stdout) == 0;
    if (!isWritten && errno == EPIPE)
        endByPipe();
    if (!isWritten)
        throw CommandError(kExitRefused, "Standard output can't be written. Make room where it "
                                         "goes, or send it somewhere else.");
}

class WatchVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("runs", m_names, "Names of runs; all of the project if unsaid");
        command.add_flag("--jsonl", m_jsonl,
                         "Print each event as one JSON object and line on standard output");
        command.add_flag("--forever", m_forever, "Go on when no run is at work any more");
    }

    int run(const Session& session) override {
        LiveProject live(session.projectDir);
        Runs runs = chosenRuns(live.project(), m_names);
        requireLaunched_(runs);
        lookForLife(atWork_(runs));
        const Interrupt interrupt;
        ProgressLine line;
        tellEnded_(runs, line);
        bool isAnyAtWork = !atWork_(runs).empty();
        if (!isAnyAtWork && !m_forever && m_names.empty())
            note("No run is at work");
        while (isAnyAtWork || m_forever) {
            if (live.refresh())
                runs = runsNow_(live.project());
            isAnyAtWork = look_(live, runs, line);
            m_events.expectNew();
            if (m_jsonl && isOutputClosed())
                endByPipe();
            if ((isAnyAtWork || m_forever) && interrupt.pause(kPollMs)) {
                line.clear();
                note("{}", interruptedText(atWork_(runs)));
                return kExitInterrupted;
            }
        }
        return m_status;
    }

private:
    static Runs atWork_(const Runs& runs) {
        Runs found;
        std::copy_if(runs.begin(), runs.end(), std::back_inserter(found),
                     [](const auto* run) { return run->isAtWork(); });
        return found;
    }

    void requireLaunched_(const Runs& runs) const {
        if (m_names.empty() || m_forever)
            return;
        for (const HAXPExpRun* run : runs) {
            if (statusWord(*run) == "not started")
                throw CommandError(
                    kExitRefused,
                    fmt::format("Run {0} isn't launched. Launch it with \"xp launch {0}\", or wait "
                                "for that with --forever.",
                                run->getName()));
        }
    }

    /// The runs in a project that was read anew; those that went away aren't followed any more.
    Runs runsNow_(const Project& project) const {
        if (m_names.empty())
            return project.getRuns();
        try {
            return chosenRuns(project, m_names);
        } catch (const CommandError&) {
            Runs found;
            for (const std::string& name : m_names) {
                if (HAXPExpRun* run = project.findRun(name))
                    found.push_back(run);
            }
            return found;
        }
    }

    /// Of runs that were asked for by name what became of those that have ended.
    void tellEnded_(const Runs& runs, ProgressLine& line) {
        if (m_names.empty())
            return;
        for (const HAXPExpRun* run : runs) {
            if (isDone(*run) || hasFailed(*run))
                tell_(RunEvents::endOf(*run), line);
        }
    }

    void tell_(const RunEvent& event, ProgressLine& line) {
        const bool isEnd = event.kind == RunEvent::kRunEnded;
        m_ended += isEnd ? 1 : 0;
        const bool isFailure = isEnd && hasFailed(*event.run);
        m_failed += isFailure ? 1 : 0;
        if (isFailure)
            m_status = kExitRunFailed;
        if (m_jsonl) {
            printLine(eventJson(event, static_cast<long>(std::time(nullptr))));
            return;
        }
        const std::string text = eventText(event);
        if (!text.empty() && (isEnd || !line.isLive()))
            line.say(text);
        if (isFailure) {
            line.clear();
            tellError(failureText(*event.run));
        }
    }

    /// One look at all runs; whether one of them is at work.
    bool look_(LiveProject& live, const Runs& runs, ProgressLine& line) {
        Runs running;
        Runs waiting;
        for (HAXPExpRun* run : runs) {
            run->updateRun();
            run->lookForLifeNowAndThen();
            for (const RunEvent& event : m_events.look(*run, live.progress())) {
                tell_(event, line);
                if (event.kind == RunEvent::kRunEnded) {
                    workbench::rememberEnds(live.project(), {run});
                    live.forgetTimes();
                }
            }
            if (run->isAtWork())
                (run->getStatus()->getCode() == HDGUIStatus::statusRunning ? running : waiting)
                    .push_back(run);
        }
        const int atWork = static_cast<int>(running.size() + waiting.size());
        if (!m_jsonl && atWork > 0 && line.isDue())
            line.draw(
                live.progress().line({m_ended, m_failed, m_ended + atWork}, running, waiting, 0));
        else if (atWork == 0)
            line.clear();
        return atWork > 0;
    }

    std::vector<std::string> m_names;
    bool m_jsonl = false;
    bool m_forever = false;
    RunEvents m_events;
    int m_ended = 0;
    int m_failed = 0;
    int m_status = kExitDone;
};

}  // namespace

std::unique_ptr<Verb> makeWatchVerb() {
    return std::make_unique<WatchVerb>();
}

}  // namespace shell
