// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/runView.h"

#include <algorithm>
#include <memory>

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

#include "environment/containers/HSTFwdIter.h"
#include "environment/files/HUTFile.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "shell/exitStatus.h"
#include "shell/jsonOutput.h"
#include "shell/staleView.h"
#include "shell/suggestion.h"
#include "shell/textTable.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/OpenStats.h"
#include "workbench/Project.h"
#include "workbench/abandon.h"
#include "workbench/fileFingerprint.h"
#include "workbench/ice40/metrics.h"
#include "workbench/launchLease.h"
#include "workbench/openFlows.h"
#include "workbench/runEvidence.h"
#include "workbench/statusWord.h"

namespace shell {

namespace {

int statusCodeOf(const HAXPExpRun& run) {
    return run.getStatus()->getCode();
}

/// A statistic in the tables and in JSON.
struct StatColumn {
    const char* name;
    const char* title;
    const char* key;
};

const std::vector<StatColumn>& tableStats() {
    static const std::vector<StatColumn> stats{
        {OpenStats::kLuts, "LUTs", "luts"},
        {OpenStats::kFmaxMhz, "Fmax MHz", "fmax_mhz"},
        {OpenStats::kWorstSlackNs, "Slack ns", "worst_slack_ns"},
        {OpenStats::kRunTime, "Seconds", "seconds"}};
    return stats;
}

const std::vector<StatColumn>& otherStats() {
    static const std::vector<StatColumn> stats{{OpenStats::kFlipFlops, "Flip-flops", "flip_flops"},
                                               {OpenStats::kBlockRams, "Block RAMs", "block_rams"}};
    return stats;
}

nlohmann::json statJson(const HAXPExpRun& run, const char* name) {
    double value = 0;
    if (!OpenStats::valueOf(run, name, value))
        return {};
    return numberJson(value);
}

/// The words of a reset that keeps the steps before the one that the status is about.
std::string resetFrom(const HAXPExpRun& run) {
    const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(run.createRunStepIter());
    for (bool isFirst = true; steps->hasNext(); isFirst = false) {
        const HAXPFlowStep& step = *steps->next()->getFlowStep();
        if (step.getFlowStepId() == run.getStatus()->getDetailText())
            return isFirst ? std::string() : " --from " + step.getAbbrev();
    }
    return {};
}

nlohmann::json evidenceJson(const HAXPExpRun& run) {
    using Verdict = workbench::RunEvidence::Verdict;
    const workbench::RunEvidence& evidence = run.getEvidence();
    if (evidence.verdict == Verdict::kNone)
        return {};
    const char* verdict = evidence.verdict == Verdict::kAlive  ? "alive"
                          : evidence.verdict == Verdict::kLost ? "lost"
                                                               : "unknown";
    return {{"verdict", verdict}, {"seen", evidence.lines}};
}

}  // namespace

std::string flowWord(const HAXPExpRun& run) {
    return workbench::flowWord(run);
}

const HAXPFlow& flowOf(const std::string& word) {
    if (word == "synth")
        return *OpenFlows::getSynthesis();
    if (word == "impl")
        return *OpenFlows::getImplementation();
    throw CommandError(kExitUsage,
                       fmt::format("There is no flow '{}'. {}", word,
                                   hintFor(word, {"synth", "impl"}, "Say synth or impl.")));
}

std::string statusWord(const HAXPExpRun& run) {
    return workbench::statusWord(run);
}

Style statusStyle(const std::string& word) {
    if (word == "done")
        return Style::kGood;
    if (word == "failed" || word == "lost" || word == "stopped")
        return Style::kBad;
    if (word == "unknown" || word == "abandoned")
        return Style::kWarn;
    return word == "not started" ? Style::kDim : Style::kStrong;
}

bool isRunning(const HAXPExpRun& run) {
    return statusCodeOf(run) == HDGUIStatus::statusRunning;
}

bool isDone(const HAXPExpRun& run) {
    return statusCodeOf(run) == HDGUIStatus::statusDone;
}

bool hasFailed(const HAXPExpRun& run) {
    return statusCodeOf(run) == HDGUIStatus::statusError;
}

std::string stepWord(const HAXPExpRun& run) {
    const std::string& about = run.getStatus()->getDetailText();
    if (!about.empty())
        return about;
    const HAXPExpRunStep* latest = run.getLatestStep();
    return latest == nullptr ? std::string() : latest->getFlowStep()->getFlowStepId();
}

std::vector<std::string> namesOf(const std::vector<HAXPExpRun*>& runs) {
    std::vector<std::string> names;
    names.reserve(runs.size());
    for (const HAXPExpRun* run : runs)
        names.push_back(run->getName());
    return names;
}

std::string namesText(const std::vector<HAXPExpRun*>& runs) {
    constexpr std::size_t kMostNames = 8;
    std::vector<std::string> names = namesOf(runs);
    std::string others;
    if (names.size() > kMostNames) {
        others = fmt::format(" and {} more", names.size() - kMostNames);
        names.resize(kMostNames);
    }
    return fmt::format("{}{}", fmt::join(names, ", "), others);
}

std::string stopPlace(const HAXPExpRun& run) {
    const bool within = run.getStatus()->getText() == HAXPExpRun::kStoppedInText;
    return (within ? " in " : " before ") + stepWord(run);
}

std::string abandonedText(const HAXPExpRun& run) {
    const auto found =
        statusWord(run) == "abandoned" ? workbench::abandonmentOf(run) : std::nullopt;
    return found ? found->text : std::string();
}

std::string adviceFor(const HAXPExpRun& run) {
    const std::string word = statusWord(run);
    const std::string seen = fmt::format("{}", fmt::join(run.getEvidence().lines, "; "));
    if (word == "unknown")
        return fmt::format(
            "{0} may be at work in {1} or lost: {2}. If you know that it is gone, "
            "take it back with \"xp reset {0}{3} --force\"; \"xp kill {0}\" stops it.",
            run.getName(), stepWord(run), seen, resetFrom(run));
    if (word == "abandoned")
        return fmt::format("{0} was abandoned, as {1}. Bring it to its end all the same with \"xp "
                           "launch {0}\".",
                           run.getName(), abandonedText(run));
    if (word != "lost" && word != "stopped")
        return {};
    std::string what = word == "lost" ? " was lost in " + stepWord(run) + ": " +
                                            (seen.empty() ? "its processes are gone" : seen)
                                      : " stopped" + stopPlace(run);
    return fmt::format("{0}{1}. Go on with \"xp launch {0}\", or take it back with \"xp reset "
                       "{0}{2}\".",
                       run.getName(), what, word == "lost" ? resetFrom(run) : "");
}

void lookForLife(const std::vector<HAXPExpRun*>& runs) {
    for (HAXPExpRun* run : runs)
        run->lookForLife();
}

std::vector<const HAXPExpRunStep*> stepsOf(const HAXPExpRun& run) {
    std::vector<const HAXPExpRunStep*> all;
    const HAXPExpRunStep* last = run.getToStep();
    const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(run.createRunStepIter());
    while (steps->hasNext()) {
        const HAXPExpRunStep* step = steps->next();
        if (step->isEnabled() && !step->isVirtual())
            all.push_back(step);
        if (step == last)
            break;
    }
    return all;
}

const std::string& idOf(const HAXPExpRunStep& step) {
    return step.getFlowStep()->getFlowStepId();
}

bool isKept(const workbench::LaunchLease& lease, const HAXPExpRunStep& step) {
    const std::string& tracking = step.getFlowStep()->getStatusTrackingStr();
    return lease.keptSteps && std::find(lease.keptSteps->begin(), lease.keptSteps->end(),
                                        tracking) != lease.keptSteps->end();
}

std::string logPath(const HAXPExpRun& run) {
    return run.getDir().empty() ? std::string() : run.pathOf("runme.log");
}

std::string bitstreamPath(const HAXPExpRun& run) {
    const std::string& name = run.getInfo().getFile(HAXPTypes::FILE_BG_BIN);
    if (name.empty() || run.getDir().empty() ||
        run.getInfo().getMetrics().step != "write_bitstream")
        return {};
    return HUTFile::isFile(run.pathOf(name)) ? run.pathOf(name) : std::string();
}

std::string statusTable(const Project& project, const std::vector<HAXPExpRun*>& runs) {
    constexpr std::size_t kStatusColumn = 3;
    std::vector<TextTable::Column> columns{{"Run"}, {"Flow"}, {"Strategy"}, {"Status"}, {"Step"}};
    for (const StatColumn& stat : tableStats())
        columns.push_back({stat.title, true});
    columns.push_back({"Stale"});
    TextTable table(columns);
    const workbench::FileWatch::Moment moment;
    for (HAXPExpRun* run : runs) {
        std::vector<std::string> row{run->getName(), flowWord(*run), run->getStrategy()->getName(),
                                     statusWord(*run), stepWord(*run)};
        for (const StatColumn& stat : tableStats())
            row.push_back(OpenStats::textOf(*run, stat.name));
        row.push_back(staleTexts(project, *run).empty() ? "" : "yes");
        table.addRow(row);
        table.setStyle(kStatusColumn, statusStyle(statusWord(*run)));
        table.setStyle(row.size() - 1, Style::kWarn);
    }
    return table.text();
}

nlohmann::json statusJson(const Project& project, const std::vector<HAXPExpRun*>& runs) {
    nlohmann::json all = nlohmann::json::array();
    const workbench::FileWatch::Moment moment;
    for (HAXPExpRun* run : runs) {
        nlohmann::json one{{"name", run->getName()},
                           {"flow", flowWord(*run)},
                           {"strategy", run->getStrategy()->getName()},
                           {"status", statusWord(*run)},
                           {"step", textOrNull(stepWord(*run))},
                           {"evidence", evidenceJson(*run)},
                           {"stale", !staleTexts(project, *run).empty()},
                           {"directory", textOrNull(run->getDir())},
                           {"log", textOrNull(logPath(*run))},
                           {"bitstream", textOrNull(bitstreamPath(*run))}};
        for (const auto* stats : {&tableStats(), &otherStats()}) {
            for (const StatColumn& stat : *stats)
                one["results"][stat.key] = statJson(*run, stat.name);
        }
        all.push_back(one);
    }
    return {{"project", project.getName()}, {"directory", project.getDir()}, {"runs", all}};
}

}  // namespace shell
