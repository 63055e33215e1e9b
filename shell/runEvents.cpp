// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/runEvents.h"

#include <cmath>
#include <ctime>

#include <fmt/chrono.h>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>

#include "environment/process/clock.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "runs/base/xperiment/stepMarkers.h"
#include "shell/failureView.h"
#include "shell/runView.h"
#include "shell/runWatch.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/OpenStats.h"
#include "workbench/launchLease.h"
#include "workbench/statusWord.h"

namespace shell {

namespace {

/// When the marker `kind` of `step` was made; nothing when it isn't there.
std::optional<double> timeOf(const HAXPExpRun& run, const HAXPExpRunStep& step, const char* kind) {
    struct stat info {};
    const std::string path = xperiment::markerPath(
        run.getDir(), xperiment::stepMarker(step.getFlowStep()->getStatusTrackingStr(), kind));
    if (stat(path.c_str(), &info) != 0)
        return std::nullopt;
    return static_cast<double>(info.st_mtim.tv_sec) +
           static_cast<double>(info.st_mtim.tv_nsec) / 1e9;
}

std::optional<double> stepSeconds(const HAXPExpRun& run, const HAXPExpRunStep& step, bool isDone) {
    const auto began = timeOf(run, step, xperiment::beginMarker);
    const auto ended = timeOf(run, step, isDone ? xperiment::endMarker : xperiment::errorMarker);
    if (!began || !ended || *ended < *began)
        return std::nullopt;
    return *ended - *began;
}

const char* eventWord(RunEvent::Kind kind) {
    switch (kind) {
    case RunEvent::kRunBegan:
        return "run_began";
    case RunEvent::kStepBegan:
        return "step_began";
    case RunEvent::kProgress:
        return "progress";
    case RunEvent::kStepDone:
        return "step_done";
    case RunEvent::kRunEnded:
        break;
    }
    return "run_ended";
}

/// Whole milliseconds: more would only look exact.
nlohmann::json secondsJson(const std::optional<double>& seconds) {
    return seconds ? nlohmann::json(std::round(*seconds * 1000) / 1000) : nlohmann::json();
}

nlohmann::json resultsJson(const HAXPExpRun& run) {
    nlohmann::json figures = nlohmann::json::object();
    const std::pair<const char*, const char*> names[] = {
        {"luts", OpenStats::kLuts},
        {"fmax_mhz", OpenStats::kFmaxMhz},
        {"worst_slack_ns", OpenStats::kWorstSlackNs},
        {"seconds", OpenStats::kRunTime}};
    for (const auto& name : names) {
        double value = 0;
        if (OpenStats::valueOf(run, name.second, value))
            figures[name.first] = value;
    }
    return figures;
}

void addRun(nlohmann::json& json, const HAXPExpRun& run) {
    json["flow"] = flowWord(run);
    json["strategy"] = run.getStrategy()->getName();
    json["steps"] = nlohmann::json::array();
    for (const HAXPExpRunStep* step : stepsOf(run))
        json["steps"].push_back(idOf(*step));
}

void addProgress(nlohmann::json& json, const RunProgress& progress) {
    json["seconds"] = secondsJson(progress.seconds);
    json["fraction"] = progress.tool.isKnown
                           ? nlohmann::json(std::round(progress.tool.fraction * 1000) / 1000)
                           : nlohmann::json();
    json["text"] = progress.tool.text;
    json["left"] = secondsJson(progress.left);
}

void addEnd(nlohmann::json& json, const HAXPExpRun& run) {
    const std::string log = logPath(run);
    json["log"] = log.empty() ? nlohmann::json() : nlohmann::json(log);
    json["failure"] = hasFailed(run) ? nlohmann::json(failureText(run)) : nlohmann::json();
    json["figures"] = resultsJson(run);
}

}  // namespace

RunEvent RunEvents::endOf(const HAXPExpRun& run) {
    RunEvent event{RunEvent::kRunEnded, &run, {}, {}, {}, {}};
    event.outcome = isDone(run) || hasFailed(run) ? statusWord(run) : "reset";
    return event;
}

void RunEvents::begin_(const HAXPExpRun& run, State& state, std::vector<RunEvent>& events) {
    state.isOpen = true;
    state.steps.clear();
    state.text.clear();
    state.percent = -1;
    events.push_back({RunEvent::kRunBegan, &run, {}, {}, {}, {}});
    workbench::LaunchLease lease;
    if (!workbench::readLeaseOf(run, lease))
        return;
    for (const HAXPExpRunStep* step : stepsOf(run)) {
        if (isKept(lease, *step))
            state.steps[idOf(*step)] = Phase::kDone;
    }
}

void RunEvents::lookAtStep_(const HAXPExpRun& run, const HAXPExpRunStep& step, State& state,
                            std::vector<RunEvent>& events) {
    Phase& phase = state.steps[idOf(step)];
    const int code = step.getStatus()->getCode();
    const bool isOver = workbench::isOver(code);
    if (phase == Phase::kNone && (isOver || code == HDGUIStatus::statusRunning)) {
        phase = Phase::kBegun;
        events.push_back({RunEvent::kStepBegan, &run, idOf(step), {}, {}, {}});
    }
    if (phase != Phase::kBegun || !isOver)
        return;
    phase = Phase::kDone;
    const bool isDone = code == HDGUIStatus::statusDone;
    events.push_back({RunEvent::kStepDone,
                      &run,
                      idOf(step),
                      {},
                      isDone ? "done" : "failed",
                      stepSeconds(run, step, isDone)});
}

void RunEvents::lookAtProgress_(const HAXPExpRun& run, LaunchProgress& progress, State& state,
                                std::vector<RunEvent>& events) {
    const long now = process::clock().nowMs();
    if (state.percent >= 0 && now - state.toldMs < kProgressMs)
        return;
    const RunProgress look = progress.look(run);
    const long percent = std::lround(look.tool.fraction * 100);
    if (!look.tool.isKnown || (look.tool.text == state.text && percent == state.percent))
        return;
    state.text = look.tool.text;
    state.percent = percent;
    state.toldMs = now;
    events.push_back({RunEvent::kProgress, &run, look.step, look, {}, {}});
}

std::vector<RunEvent> RunEvents::look(const HAXPExpRun& run, LaunchProgress& progress) {
    std::vector<RunEvent> events;
    State& state = m_states[run.getName()];
    const long launch = run.getInfo().getLaunchTime();
    const bool isNew = state.isSeen ? launch != state.launch : m_expectsNew;
    state.isSeen = true;
    state.launch = launch;
    if (isNew)
        state.isOpen = false;
    const int code = run.getStatus()->getCode();
    const bool isRunning = code == HDGUIStatus::statusRunning;
    const bool isOver = workbench::isOver(code);
    if (!state.isOpen && (isRunning || (isNew && isOver)))
        begin_(run, state, events);
    if (!state.isOpen)
        return events;
    for (const HAXPExpRunStep* step : stepsOf(run))
        lookAtStep_(run, *step, state, events);
    if (isRunning) {
        lookAtProgress_(run, progress, state, events);
        return events;
    }
    state.isOpen = false;
    events.push_back(endOf(run));
    return events;
}

nlohmann::json eventJson(const RunEvent& event, long time) {
    nlohmann::json json{
        {"event", eventWord(event.kind)},
        {"time", fmt::format("{:%Y-%m-%dT%H:%M:%SZ}", fmt::gmtime(static_cast<time_t>(time)))},
        {"run", event.run->getName()}};
    if (!event.step.empty())
        json["step"] = event.step;
    if (event.kind == RunEvent::kRunBegan)
        addRun(json, *event.run);
    if (event.kind == RunEvent::kProgress)
        addProgress(json, event.progress);
    if (!event.outcome.empty())
        json["outcome"] = event.outcome;
    if (event.kind == RunEvent::kStepDone)
        json["seconds"] = secondsJson(event.seconds);
    if (event.kind == RunEvent::kRunEnded)
        addEnd(json, *event.run);
    return json;
}

std::string eventText(const RunEvent& event) {
    const std::string& name = event.run->getName();
    if (event.kind == RunEvent::kStepBegan)
        return fmt::format("{}: {}", name, event.step);
    if (event.kind == RunEvent::kRunEnded)
        return endText(*event.run);
    return {};
}

}  // namespace shell
