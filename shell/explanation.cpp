// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/explanation.h"

#include <algorithm>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "shell/failureView.h"
#include "shell/jsonOutput.h"
#include "shell/page/criticalPath.h"
#include "shell/runDetails.h"
#include "shell/runView.h"
#include "shell/staleView.h"
#include "workbench/DesignInputs.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/Project.h"
#include "workbench/abandon.h"
#include "workbench/failures/knownFailures.h"
#include "workbench/failures/standstill.h"
#include "workbench/ice40/metrics.h"
#include "workbench/reports/pnrReport.h"

namespace shell {

std::string standstillText(const HAXPExpRun& run) {
    bool ignored = false;
    if (statusWord(run) != "running" || logPath(run).empty())
        return {};
    const std::optional<workbench::Standstill> found =
        workbench::findStandstill(workbench::logLines(logPath(run), ignored));
    return found ? found->what : std::string();
}

std::string standstillAdvice(const HAXPExpRun& run) {
    std::string text = fmt::format("xp kill {}", run.getName());
    for (const OptionChoice& option : changedOptions(*run.getStrategy())) {
        if (option.name == "tmg_ripup")
            text += fmt::format(", then without routing again for timing: xp set {0} "
                                "tmg_ripup=false, and xp launch {0}",
                                run.getName());
    }
    if (text.find("tmg_ripup") == std::string::npos)
        text += fmt::format(", then with another seed: xp set {0} seed=2, and xp launch {0}",
                            run.getName());
    return text;
}

namespace {

/// Lines of the log in front of the first error, and of it and behind it.
constexpr long kLinesBefore = 3;
constexpr long kLinesFrom = 7;
/// What is shown of a log without an error.
constexpr std::size_t kLastLines = 8;

/// The lines of the log around the failure's first error; its last ones without an error.
std::vector<QuotedLine> quotedLog(const HAXPExpRun& run, const workbench::RunFailure& failure) {
    bool skipped = false;
    const std::vector<std::string> log = workbench::logLines(logPath(run), skipped);
    const long count = static_cast<long>(log.size());
    long first = std::max(0L, count - static_cast<long>(kLastLines));
    long end = count;
    if (failure.logLine > 0 && failure.logLine <= count) {
        first = std::max(0L, failure.logLine - 1 - kLinesBefore);
        end = std::min(count, failure.logLine - 1 + kLinesFrom);
    }
    std::vector<QuotedLine> lines;
    for (long i = first; i < end; ++i)
        lines.push_back({skipped ? 0 : i + 1, log[static_cast<std::size_t>(i)]});
    return lines;
}

void explainFailure(const HAXPExpRun& run, Explanation& all) {
    all.failure = workbench::findFailure(run);
    if (!all.failure)
        return;
    all.verdict = statusWord(run);
    all.what = all.failure->what;
    all.log = quotedLog(run, *all.failure);
    const std::string line = workbench::sourceLine(all.failure->file, all.failure->line);
    if (!line.empty())
        all.source = QuotedLine{all.failure->line, line};
    all.next = {all.failure->advice, "xp launch " + run.getName()};
    if (const std::optional<workbench::Abandonment> abandoned = workbench::abandonmentOf(run)) {
        all.what = "The run was given up, since it couldn't win any more: " + abandoned->text;
        all.next = {"Nothing, unless you want its results all the same: xp launch " +
                    run.getName()};
    }
    if (all.failure->kind == workbench::FailureKind::kUnknown ||
        all.failure->kind == workbench::FailureKind::kCrashed)
        all.next.push_back("xp bug " + run.getName() + "   (packs all that it takes to repeat it)");
}

void explainStart(const Project& project, const HAXPExpRun& run, Explanation& all) {
    all.verdict = "not started";
    all.what = "The run was never launched, or was taken back";
    const HAXPExpRun* synthesis = project.getSynthesisOf(run);
    if (synthesis != nullptr && !isDone(*synthesis))
        all.notes.push_back(fmt::format("Its synthesis {} is {}; a launch begins with that one",
                                        synthesis->getName(), statusWord(*synthesis)));
    all.next = {"xp launch " + run.getName()};
}

void explainWork(const HAXPExpRun& run, Explanation& all) {
    const std::string word = statusWord(run);
    all.verdict = word == "unknown" ? "unknown" : "at work";
    if (word == "unknown") {
        all.what = "It can't be told whether the run is at work or lost";
        all.notes = {adviceFor(run)};
        all.next = {"xp status " + run.getName() + "   (looks again)",
                    "xp kill " + run.getName() + "   (stops it)"};
        return;
    }
    all.what = word == "queued" ? "The run waits for its turn"
                                : fmt::format("The run is at work in {}", stepWord(run));
    all.next = {"xp wait " + run.getName(), "xp log " + run.getName()};
    if (const std::string why = standstillText(run); !why.empty()) {
        all.what += ", but may never end: " + why;
        all.next = {standstillAdvice(run), "xp log " + run.getName()};
    }
}

/// What a hop is, in words.
std::string hopText(const PathStop& stop) {
    if (!stop.net.empty())
        return fmt::format("{} of net {}", stop.kind, stop.net);
    return stop.cell.empty() ? stop.kind : fmt::format("{} in {}", stop.kind, stop.cell);
}

std::optional<SlowPath> slowPath(const HAXPExpRun& run, const ice40::ClockTiming& clock) {
    PathSources sources;
    const RoutedFacts facts = routedFacts(run, readRouted(routedPlaces(run)), sources);
    if (!facts.path)
        return std::nullopt;
    const CriticalPath& path = *facts.path;
    SlowPath slow{path.clock,
                  path.ns,
                  1000.0 / clock.targetMhz,
                  path.clockToQ,
                  path.logic,
                  path.routing,
                  path.setup,
                  {},
                  0,
                  {}};
    const auto worst =
        std::max_element(path.stops.begin(), path.stops.end(),
                         [](const auto& one, const auto& other) { return one.ns < other.ns; });
    if (worst == path.stops.end())
        return slow;
    slow.worstHop = hopText(*worst);
    slow.worstNs = worst->ns;
    // A hop without a place of its own lies between two that may have one.
    for (auto stop = worst; slow.worstSource.empty(); --stop) {
        slow.worstSource = stop->source;
        if (stop == path.stops.begin())
            break;
    }
    return slow;
}

/// Clock goals that the tools passed over: their nets aren't in the design.
void noteUnknownClocks(const HAXPExpRun& run, Explanation& all) {
    bool skipped = false;
    for (const std::string& line : workbench::logLines(logPath(run), skipped)) {
        std::vector<std::string> names;
        if (!workbench::matchWords("net '*' does not exist in design, ignoring clock constraint",
                                   line, names))
            continue;
        const std::string note = fmt::format(
            "The constraints ask for a frequency of {}, a net that the design doesn't have; that "
            "goal was passed over. Correct it in {}",
            names[0], run.getInfo().getInputs().constraints);
        if (std::find(all.notes.begin(), all.notes.end(), note) == all.notes.end())
            all.notes.push_back(note);
    }
}

void explainGoal(const HAXPExpRun& run, const ice40::ClockTiming& clock, Explanation& all) {
    all.verdict = "goal missed";
    all.what = fmt::format("Clock {} reaches {:.2f} MHz of the {:.2f} MHz asked for: {:.3f} ns are "
                           "missing",
                           reports::designName(clock.name), clock.fmaxMhz, clock.targetMhz,
                           -clock.slackNs());
    all.path = slowPath(run, clock);
    const bool isRouting = all.path && all.path->routing > all.path->logic;
    all.next = {isRouting ? "Most of the path is routing: other seeds and strategies place it "
                            "nearer: xp sweep try --strategies Default,Performance,Explore --seeds "
                            "1-6"
                          : "Most of the path is logic: put a register into it, or try the "
                            "Performance strategy of the synthesis",
                fmt::format("xp report open {} report_timing", run.getName())};
}

void explainDone(const Project& project, HAXPExpRun& run, Explanation& all) {
    const std::vector<std::string> stale = staleTexts(project, run);
    const ice40::ClockTiming* clock = run.getInfo().getMetrics().worstClock();
    noteUnknownClocks(run, all);
    if (!stale.empty()) {
        all.verdict = "stale";
        all.what = "The run is done, but out of date";
        all.notes.insert(all.notes.begin(), stale.begin(), stale.end());
        all.next = {"xp launch " + run.getName() + "   (repeats only what is out of date)",
                    "xp why " + run.getName()};
    } else if (clock != nullptr && clock->slackNs() < 0) {
        explainGoal(run, *clock, all);
    } else {
        all.verdict = "fine";
        all.what = "The run is done and up to date";
        if (clock != nullptr)
            all.what +=
                fmt::format(", and meets its goal: clock {} reaches {:.2f} MHz, {:.2f} MHz "
                            "asked for",
                            reports::designName(clock->name), clock->fmaxMhz, clock->targetMhz);
        all.next = {"xp report list " + run.getName()};
        if (!bitstreamPath(run).empty())
            all.notes.push_back("Its bitstream is " + bitstreamPath(run));
    }
}

std::string pathText(const SlowPath& path) {
    std::string text = fmt::format(
        "  path: {:.2f} ns of {:.2f} ns ({}): clock-to-q {:.2f}, logic {:.2f}, routing {:.2f}, "
        "setup {:.2f}\n",
        path.ns, path.goalNs, path.clock, path.clockToQ, path.logic, path.routing, path.setup);
    if (!path.worstHop.empty())
        text += fmt::format("  worst: {}, {:.2f} ns{}\n", path.worstHop, path.worstNs,
                            path.worstSource.empty() ? "" : ", from " + path.worstSource);
    return text;
}

nlohmann::json lineJson(const QuotedLine& line) {
    return {{"line", line.number == 0 ? nlohmann::json() : nlohmann::json(line.number)},
            {"text", line.text}};
}

nlohmann::json pathJson(const SlowPath& path) {
    return {{"clock", path.clock},      {"ns", path.ns},
            {"goal_ns", path.goalNs},   {"clk_to_q", path.clockToQ},
            {"logic", path.logic},      {"routing", path.routing},
            {"setup", path.setup},      {"worst", textOrNull(path.worstHop)},
            {"worst_ns", path.worstNs}, {"worst_source", textOrNull(path.worstSource)}};
}

}  // namespace

Explanation explain(const Project& project, HAXPExpRun& run) {
    Explanation all;
    run.updateRun();
    run.lookForLife();
    if (hasFailed(run))
        explainFailure(run, all);
    else if (isDone(run))
        explainDone(project, run, all);
    else if (statusWord(run) == "not started")
        explainStart(project, run, all);
    else
        explainWork(run, all);
    return all;
}

std::string explanationText(const HAXPExpRun& run, const Explanation& all) {
    const bool failed = all.failure.has_value();
    std::string text = fmt::format(
        "{} {}{}{}: {}.\n", run.getName(), all.verdict == "fine" ? "is " : "", all.verdict,
        failed && !all.failure->step.empty() ? " in " + all.failure->step : "", all.what);
    if (failed && !all.failure->file.empty())
        text += fmt::format("  where: {}\n", placeText(*all.failure));
    if (all.source)
        text += fmt::format("    {:>5} | {}\n", all.source->number, all.source->text);
    for (const std::string& note : all.notes)
        text += fmt::format("  - {}\n", note);
    if (all.path)
        text += pathText(*all.path);
    const char* title = "  next: ";
    for (const std::string& next : all.next) {
        text += fmt::format("{}{}\n", title, next);
        title = "        ";
    }
    if (!logPath(run).empty() && !all.log.empty())
        text += fmt::format("  log: {}\n", logPath(run));
    for (const QuotedLine& line : all.log) {
        const bool isFirst =
            failed && all.failure->logLine != 0 && line.number == all.failure->logLine;
        text += line.number == 0
                    ? fmt::format("          | {}\n", line.text)
                    : fmt::format("  {} {:>5} | {}\n", isFirst ? '>' : ' ', line.number, line.text);
    }
    return text;
}

nlohmann::json explanationJson(const HAXPExpRun& run, const Explanation& all) {
    nlohmann::json log = nlohmann::json::array();
    for (const QuotedLine& line : all.log)
        log.push_back(lineJson(line));
    return {{"run", run.getName()},
            {"status", statusWord(run)},
            {"verdict", all.verdict},
            {"what", all.what},
            {"notes", all.notes},
            {"failure", all.failure ? failureJson(*all.failure) : nlohmann::json()},
            {"source", all.source ? lineJson(*all.source) : nlohmann::json()},
            {"log", log},
            {"log_path", textOrNull(logPath(run))},
            {"path", all.path ? pathJson(*all.path) : nlohmann::json()},
            {"next", all.next}};
}

}  // namespace shell
