// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/listView.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <map>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "runs/base/xperiment/HAXPStrategy.h"
#include "shell/jsonOutput.h"
#include "shell/listOptions.h"
#include "shell/runView.h"
#include "shell/staleView.h"
#include "shell/sweep.h"
#include "shell/terminal.h"
#include "shell/textTable.h"
#include "shell/verb.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenStats.h"
#include "workbench/Project.h"
#include "workbench/runFamily.h"

namespace shell {

namespace {

/// For an eye that runs down the list: a mark before each status.
struct StatusMark {
    const char* word;
    const char* sign;
    const char* plainSign;
};

const StatusMark& markOf(const std::string& word) {
    static const std::vector<StatusMark> marks{
        {"done", "\u2714", "+"},    {"failed", "\u2718", "!"},    {"lost", "\u2718", "!"},
        {"stopped", "\u2718", "!"}, {"abandoned", "\u2718", "!"}, {"unknown", "?", "?"},
        {"running", "\u25b6", ">"}, {"queued", "\u2026", "~"},    {"not started", "-", "-"}};
    const auto found = std::find_if(marks.begin(), marks.end(),
                                    [&word](const StatusMark& mark) { return word == mark.word; });
    return found == marks.end() ? marks.back() : *found;
}

std::optional<double> figure(const HAXPExpRun& run, const char* name) {
    double value = 0;
    return OpenStats::valueOf(run, name, value) ? std::optional<double>(value) : std::nullopt;
}

using Less = std::function<bool(const ListedRun&, const ListedRun&)>;

/// Known values first, then by `isBetter`.
template <class Value, class Better>
Less byValue(std::optional<Value> ListedRun::*member, Better isBetter) {
    return [member, isBetter](const ListedRun& a, const ListedRun& b) {
        const auto& first = a.*member;
        const auto& second = b.*member;
        if (!first || !second)
            return first.has_value() && !second.has_value();
        return isBetter(*first, *second);
    };
}

Less byText(std::string ListedRun::*member) {
    // As people count: run_9 before run_10.
    return [member](const ListedRun& a, const ListedRun& b) {
        return ::strverscmp((a.*member).c_str(), (b.*member).c_str()) < 0;
    };
}

/// Failures first: they ask for something to be done.
int urgency(const std::string& word) {
    static const std::vector<std::string> order{"failed",    "lost",        "stopped",
                                                "abandoned", "unknown",     "running",
                                                "queued",    "not started", "done"};
    return static_cast<int>(std::find(order.begin(), order.end(), word) - order.begin());
}

const std::map<std::string, Less>& orders() {
    static const std::map<std::string, Less> all{
        {"project", [](const ListedRun&, const ListedRun&) { return false; }},
        {"name", byText(&ListedRun::name)},
        {"strategy", byText(&ListedRun::strategy)},
        {"status", [](const ListedRun& a,
                      const ListedRun& b) { return urgency(a.status) < urgency(b.status); }},
        {"stale", [](const ListedRun& a, const ListedRun& b) { return a.isStale && !b.isStale; }},
        {"seed", byValue(&ListedRun::seed, std::less<>())},
        {"fmax", byValue(&ListedRun::fmaxMhz, std::greater<>())},
        {"luts", byValue(&ListedRun::luts, std::less<>())},
        {"time", byValue(&ListedRun::seconds, std::less<>())}};
    return all;
}

std::string number(const std::optional<double>& value, int digits) {
    return value ? fmt::format("{:.{}f}", *value, digits) : std::string();
}

nlohmann::json figureOrNull(const std::optional<double>& value) {
    return value ? numberJson(*value) : nlohmann::json();
}

}  // namespace

const std::vector<std::string>& sortKeys() {
    static const std::vector<std::string> all{"project", "name", "status", "stale", "strategy",
                                              "seed",    "fmax", "luts",   "time"};
    return all;
}

const std::vector<std::string>& statusWords() {
    static const std::vector<std::string> all{"not started", "queued",  "running",
                                              "unknown",     "done",    "failed",
                                              "lost",        "stopped", "abandoned"};
    return all;
}

ListedRun listedRun(const Project& project, HAXPExpRun& run, KnownStale& known) {
    ListedRun listed;
    listed.name = run.getName();
    listed.flow = flowWord(run);
    listed.status = statusWord(run);
    listed.step = stepWord(run);
    listed.isStale = !staleTexts(project, run, &known).empty();
    listed.strategy = run.getStrategy()->getName();
    listed.seed = seedOf(run);
    listed.sweep = project.getFamilyOf(run).sweep;
    listed.family = project.getFamilyOf(run).name;
    listed.fmaxMhz = figure(run, OpenStats::kFmaxMhz);
    listed.slackNs = figure(run, OpenStats::kWorstSlackNs);
    listed.luts = figure(run, OpenStats::kLuts);
    listed.seconds = figure(run, OpenStats::kRunTime);
    listed.next = nextCommand(listed.name, listed.status, listed.isStale);
    return listed;
}

std::string nextCommand(const std::string& name, const std::string& word, bool isStale) {
    if (word == "failed") {
        static const bool explains = findVerb(verbs(), "explain") != nullptr;
        return fmt::format("xp {} {}", explains ? "explain" : "log", name);
    }
    if (word == "unknown")
        return "xp status " + name;
    if (word == "running" || word == "queued")
        return "xp wait " + name;
    return word == "done" && !isStale ? std::string() : "xp launch " + name;
}

void sortRuns(std::vector<ListedRun>& runs, const std::string& key) {
    std::stable_sort(runs.begin(), runs.end(), orders().at(key));
}

std::string listText(const std::vector<ListedRun>& runs) {
    constexpr std::size_t kStatus = 1;
    constexpr std::size_t kStale = 2;
    constexpr std::size_t kNext = 8;
    const Terminal terminal = Terminal::output();
    TextTable table({{"Run"},
                     {"  Status"},
                     {"Stale"},
                     {"Strategy"},
                     {"Seed", true},
                     {"Fmax MHz", true},
                     {"LUTs", true},
                     {"Seconds", true},
                     {"Next"}});
    for (const ListedRun& run : runs) {
        const StatusMark& mark = markOf(run.status);
        const char* sign = terminal.hasUnicode() ? mark.sign : mark.plainSign;
        table.addRow({run.name, fmt::format("{} {}", sign, run.status), run.isStale ? "stale" : "",
                      run.strategy, run.seed ? std::to_string(*run.seed) : "",
                      number(run.fmaxMhz, 1), number(run.luts, 0), number(run.seconds, 0),
                      run.next});
        table.setStyle(kStatus, statusStyle(run.status));
        table.setStyle(kStale, Style::kWarn);
        table.setStyle(kNext, Style::kDim);
    }
    return table.text(terminal, terminal.isTerminal() ? terminal.width(0) : 0);
}

nlohmann::json listJson(const Project& project, const std::vector<ListedRun>& runs) {
    nlohmann::json all = nlohmann::json::array();
    for (const ListedRun& run : runs) {
        all.push_back({{"name", run.name},
                       {"flow", run.flow},
                       {"status", run.status},
                       {"step", textOrNull(run.step)},
                       {"stale", run.isStale},
                       {"strategy", run.strategy},
                       {"seed", run.seed ? nlohmann::json(*run.seed) : nlohmann::json()},
                       {"sweep", textOrNull(run.sweep)},
                       {"family", textOrNull(run.family)},
                       {"results",
                        {{"fmax_mhz", figureOrNull(run.fmaxMhz)},
                         {"worst_slack_ns", figureOrNull(run.slackNs)},
                         {"luts", figureOrNull(run.luts)},
                         {"seconds", figureOrNull(run.seconds)}}},
                       {"next", textOrNull(run.next)}});
    }
    return {{"project", project.getName()}, {"directory", project.getDir()}, {"runs", all}};
}

}  // namespace shell
