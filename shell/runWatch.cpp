// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/runWatch.h"

#include <algorithm>

#include <fmt/format.h>

#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "shell/interrupt.h"
#include "shell/logTail.h"
#include "shell/progressLine.h"
#include "shell/runView.h"
#include "shell/runs.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/OpenStats.h"

namespace shell {

namespace {

std::string resultsOf(const HAXPExpRun& run) {
    const std::string luts = OpenStats::textOf(run, OpenStats::kLuts);
    const std::string fmax = OpenStats::textOf(run, OpenStats::kFmaxMhz);
    const std::string seconds = OpenStats::textOf(run, OpenStats::kRunTime);
    std::string text;
    if (!seconds.empty())
        text += fmt::format(" in {} s", seconds);
    if (!luts.empty())
        text += fmt::format(", {} LUTs", luts);
    if (!fmax.empty())
        text += fmt::format(", {} MHz", fmax);
    return text;
}

}  // namespace

RunWatch::RunWatch(const Project& project, ProgressLine& line)
    : m_line(line), m_times(project), m_progress(project, m_times.function()) {}

RunWatch::End RunWatch::watch(const Runs& runs, const Interrupt& interrupt,
                              const std::function<void(HAXPExpRun&)>& onEnd) {
    Runs left = runs;
    LaunchCounts counts;
    counts.total = static_cast<int>(runs.size());
    while (true) {
        for (HAXPExpRun* run : left) {
            run->updateRun();
            run->lookForLifeNowAndThen();
        }
        const auto ended = std::stable_partition(left.begin(), left.end(),
                                                 [](const auto* run) { return run->isAtWork(); });
        for (auto run = ended; run != left.end(); ++run) {
            ++counts.ended;
            counts.failed += hasFailed(**run) ? 1 : 0;
            tellEnd(**run);
            onEnd(**run);
        }
        left.erase(ended, left.end());
        if (left.empty())
            return kAllEnded;
        Runs running = left;
        const auto queued = std::stable_partition(running.begin(), running.end(),
                                                  [](const auto* run) { return isRunning(*run); });
        const Runs waiting(queued, running.end());
        running.erase(queued, running.end());
        show(counts, running, waiting, 0);
        if (interrupt.pause(kPollMs)) {
            m_line.clear();
            return kInterrupted;
        }
    }
}

void RunWatch::tellSteps_(const HAXPExpRun& run) {
    if (m_line.isLive())
        return;
    std::size_t begun = 0;
    for (const HAXPExpRunStep* step : stepsOf(run)) {
        if (step->getStatus()->getCode() == HDGUIStatus::statusNotStarted)
            break;
        if (++begun > m_told[&run])
            m_line.say(fmt::format("{}: {}", run.getName(), step->getFlowStep()->getFlowStepId()));
    }
    m_told[&run] = std::max(m_told[&run], begun);
}

void RunWatch::show(const LaunchCounts& counts, const Runs& running, const Runs& waiting,
                    std::size_t slots) {
    for (const HAXPExpRun* run : running)
        tellSteps_(*run);
    if (m_line.isDue())
        m_line.draw(m_progress.line(counts, running, waiting, slots));
}

void RunWatch::tellEnd(const HAXPExpRun& run) {
    m_times.forget();
    tellSteps_(run);
    const std::string text = endText(run);
    if (!text.empty())
        m_line.say(text);
}

std::string endText(const HAXPExpRun& run) {
    if (isDone(run))
        return fmt::format("{}: done{}", run.getName(), resultsOf(run));
    return hasFailed(run) ? fmt::format("{}: {}", run.getName(), statusWord(run)) : std::string();
}

std::string interruptedText(const Runs& working) {
    if (working.empty())
        return "Interrupted; nothing is at work.";
    return fmt::format("Interrupted, but {} {} on. Wait with \"xp wait\", look with \"xp status\".",
                       namesText(working), working.size() == 1 ? "goes" : "go");
}

}  // namespace shell
