// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/runWatch.h"

#include <algorithm>
#include <ctime>

#include <fmt/format.h>

#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "shell/interrupt.h"
#include "shell/logTail.h"
#include "shell/progressLine.h"
#include "shell/runView.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/OpenStats.h"

namespace shell {

namespace {

/// As far back as the pass is looked for that yosys is in.
constexpr std::size_t kProgressLines = 400;

long secondsSinceLaunch(const HAXPExpRun& run) {
    const long launched = run.getInfo().getLaunchTime();
    return std::max(0L, static_cast<long>(std::time(nullptr)) - launched);
}

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

RunWatch::End RunWatch::watch(const std::vector<HAXPExpRun*>& runs, const Interrupt& interrupt) {
    std::vector<HAXPExpRun*> waiting = runs;
    while (true) {
        for (HAXPExpRun* run : waiting) {
            run->updateRun();
            run->lookForLifeNowAndThen();
        }
        const auto ended = std::stable_partition(waiting.begin(), waiting.end(),
                                                 [](const auto* run) { return run->isAtWork(); });
        for (auto run = ended; run != waiting.end(); ++run)
            tellEnd(**run);
        waiting.erase(ended, waiting.end());
        if (waiting.empty())
            return kAllEnded;
        show(waiting);
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

void RunWatch::show(const std::vector<HAXPExpRun*>& running) {
    for (const HAXPExpRun* run : running)
        tellSteps_(*run);
    if (m_line.isLive() && !running.empty())
        m_line.draw(lineFor_(*running.front(), running.size() - 1));
}

void RunWatch::tellEnd(const HAXPExpRun& run) {
    tellSteps_(run);
    if (isDone(run))
        m_line.say(fmt::format("{}: done{}", run.getName(), resultsOf(run)));
    else if (hasFailed(run))
        m_line.say(fmt::format("{}: {}", run.getName(), statusWord(run)));
}

std::string RunWatch::lineFor_(const HAXPExpRun& run, std::size_t others) const {
    std::string line = m_count.empty() ? m_count : m_count + " ";
    line += fmt::format("{} {} {} s", run.getName(),
                        stepWord(run).empty() ? statusWord(run) : stepWord(run),
                        secondsSinceLaunch(run));
    if (others > 0)
        line += fmt::format(" (+{} more)", others);
    std::string ignored;
    const std::string telling = lastTellingLine(lastLines(logPath(run), kProgressLines, ignored));
    return telling.empty() ? line : line + "  " + telling;
}

}  // namespace shell
