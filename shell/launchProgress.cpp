// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/launchProgress.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "shell/runView.h"
#include "shell/runs.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/Project.h"

namespace shell {

namespace {

std::string countsText(const LaunchCounts& counts, std::size_t running, std::size_t waiting) {
    std::string text = fmt::format("[{}/{}] running {}", counts.ended, counts.total, running);
    if (waiting > 0)
        text += fmt::format(", waiting {}", waiting);
    if (counts.failed > 0)
        text += fmt::format(", failed {}", counts.failed);
    if (counts.abandoned > 0)
        text += fmt::format(", abandoned {}", counts.abandoned);
    return text;
}

/// The one that ends last; the first as long as one of them isn't known.
std::size_t mostInteresting(const std::vector<RunProgress>& looks) {
    const bool isKnown = std::all_of(looks.begin(), looks.end(),
                                     [](const RunProgress& look) { return look.left.has_value(); });
    if (!isKnown)
        return 0;
    const auto last = std::max_element(
        looks.begin(), looks.end(),
        [](const RunProgress& a, const RunProgress& b) { return *a.left < *b.left; });
    return static_cast<std::size_t>(last - looks.begin());
}

/// The step of `run` that is at work; null between two steps.
const HAXPExpRunStep* runningStep(const HAXPExpRun& run) {
    for (const HAXPExpRunStep* step : stepsOf(run)) {
        if (step->getStatus()->getCode() == HDGUIStatus::statusRunning)
            return step;
    }
    return nullptr;
}

}  // namespace

std::string runProgressText(const std::string& name, const RunProgress& progress) {
    std::string text = name;
    if (!progress.step.empty())
        text += " " + progress.step;
    text += " " + workbench::durationText(progress.seconds);
    if (!progress.tool.isKnown)
        return text;
    return text +
           fmt::format(" {} %, {}", std::lround(progress.tool.fraction * 100), progress.tool.text);
}

LaunchProgress::LaunchProgress(const Project& project, workbench::ExpectedSeconds expected)
    : m_project(&project), m_expected(std::move(expected)) {}

LaunchProgress::~LaunchProgress() = default;

void LaunchProgress::setProject(const Project& project, workbench::ExpectedSeconds expected) {
    m_project = &project;
    m_expected = std::move(expected);
}

RunProgress LaunchProgress::look(const HAXPExpRun& run) {
    RunProgress progress;
    const HAXPExpRunStep* step = runningStep(run);
    if (step == nullptr) {
        progress.step = stepWord(run);
        progress.seconds = workbench::secondsSinceLaunch(run);
    } else {
        progress.step = step->getFlowStep()->getFlowStepId();
        progress.seconds = workbench::secondsSinceBegin(run, *step).value_or(0);
        auto& reader = m_readers[run.getName()];
        if (reader == nullptr)
            reader = std::make_unique<workbench::ToolProgressReader>(logPath(run));
        progress.tool = reader->read(progress.step);
    }
    progress.left = workbench::runSecondsLeft(run, progress.tool, m_expected);
    return progress;
}

void LaunchProgress::keepOnly(const Runs& running) {
    for (auto reader = m_readers.begin(); reader != m_readers.end();) {
        const bool isKept = std::any_of(running.begin(), running.end(), [&](const auto* run) {
            return run->getName() == reader->first;
        });
        reader = isKept ? std::next(reader) : m_readers.erase(reader);
    }
}

std::optional<double> LaunchProgress::secondsLeft(const Runs& running,
                                                  const std::vector<std::optional<double>>& left,
                                                  const Runs& waiting, std::size_t slots) const {
    std::vector<workbench::PlannedRun> plan;
    std::map<const HAXPExpRun*, std::size_t> places;
    const auto add = [&](const HAXPExpRun& run, std::optional<double> seconds, bool isRunning) {
        workbench::PlannedRun planned{seconds, isRunning, {}};
        const auto synthesis = places.find(m_project->getSynthesisOf(run));
        if (!isRunning && synthesis != places.end())
            planned.after = synthesis->second;
        places[&run] = plan.size();
        plan.push_back(planned);
        return seconds.has_value();
    };
    for (std::size_t i = 0; i < running.size(); ++i) {
        if (!add(*running[i], left[i], true))
            return std::nullopt;
    }
    for (const HAXPExpRun* run : waiting) {
        if (!add(*run, workbench::runSecondsLeft(*run, {}, m_expected), false))
            return std::nullopt;
    }
    return workbench::secondsUntilAllEnd(plan, std::max(slots, running.size()));
}

std::string LaunchProgress::line(const LaunchCounts& counts, const Runs& running,
                                 const Runs& waiting, std::size_t slots) {
    keepOnly(running);
    std::vector<RunProgress> looks;
    std::vector<std::optional<double>> lefts;
    for (const HAXPExpRun* run : running) {
        looks.push_back(look(*run));
        lefts.push_back(looks.back().left);
    }
    std::string text = countsText(counts, running.size(), waiting.size());
    if (const std::optional<double> left = secondsLeft(running, lefts, waiting, slots))
        text += fmt::format(", {} left", workbench::durationText(*left));
    if (running.empty())
        return text;
    const std::size_t told = mostInteresting(looks);
    return text + ": " + runProgressText(running[told]->getName(), looks[told]);
}

}  // namespace shell
