// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <map>
#include <optional>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

#include "shell/exitStatus.h"
#include "shell/jsonOutput.h"
#include "shell/note.h"
#include "shell/runPlan.h"
#include "shell/textTable.h"
#include "shell/verb.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/Project.h"
#include "workbench/history/History.h"
#include "workbench/history/nights.h"
#include "workbench/printable.h"

namespace shell {

namespace {

using workbench::LaunchRecord;
using workbench::Night;

/// Something that wasn't as in the launch before.
struct Change {
    std::string name;
    std::string before;
    std::string after;
};

/// A launch as it is listed.
struct Listed {
    const LaunchRecord* record;
    std::vector<Change> changes;
};

std::string timeText(long time) {
    const std::time_t moment = time;
    std::tm local{};
    std::array<char, 32> text{};
    localtime_r(&moment, &local);
    std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M", &local);
    return text.data();
}

std::optional<double> figureOf(const LaunchRecord& record, const char* name) {
    const auto found = record.figures.find(name);
    return found == record.figures.end() ? std::nullopt : std::optional<double>(found->second);
}

/// Its options and tools, in one table of texts.
std::map<std::string, std::string> settingsOf(const LaunchRecord& record) {
    std::map<std::string, std::string> all = record.options;
    all["strategy"] = record.strategy;
    for (const workbench::StepRecord& step : record.steps) {
        if (!step.tool.empty())
            all[step.step + " tool"] = step.tool;
    }
    return all;
}

/// A tool of a step that one of them didn't come to isn't a change.
bool isUntold(const std::string& name, const std::string& value) {
    constexpr std::size_t kTail = 5;
    return value.empty() && name.size() > kTail &&
           name.compare(name.size() - kTail, kTail, " tool") == 0;
}

std::vector<Change> changesOf(const LaunchRecord& before, const LaunchRecord& after) {
    std::map<std::string, std::string> was = settingsOf(before);
    std::map<std::string, std::string> is = settingsOf(after);
    std::map<std::string, Change> changes;
    for (const auto* each : {&was, &is}) {
        for (const auto& setting : *each) {
            const std::string& name = setting.first;
            if (was[name] != is[name] && !isUntold(name, was[name]) && !isUntold(name, is[name]))
                changes[name] = {name, was[name], is[name]};
        }
    }
    std::vector<Change> all;
    all.reserve(changes.size());
    for (const auto& change : changes)
        all.push_back(change.second);
    return all;
}

std::string changeText(const std::vector<Change>& changes) {
    std::vector<std::string> texts;
    texts.reserve(changes.size());
    for (const Change& change : changes)
        texts.push_back(fmt::format("{}: {} -> {}", change.name,
                                    change.before.empty() ? "default" : change.before,
                                    change.after.empty() ? "default" : change.after));
    return fmt::format("{}", fmt::join(texts, ", "));
}

/// Seconds since the epoch of a date, or of so many days or hours ago.
long sinceOf(const std::string& text) {
    std::tm local{};
    char rest = '\0';
    long count = 0;
    char unit = '\0';
    if (std::sscanf(text.c_str(), "%4d-%2d-%2d%c", &local.tm_year, &local.tm_mon, &local.tm_mday,
                    &rest) == 3) {
        local.tm_year -= 1900;
        local.tm_mon -= 1;
        local.tm_isdst = -1;
        const int day = local.tm_mday;
        const std::time_t time = std::mktime(&local);
        if (time != -1 && local.tm_mday == day)
            return time;
    } else if (std::sscanf(text.c_str(), "%9ld%c%c", &count, &unit, &rest) == 2 && count >= 0 &&
               (unit == 'd' || unit == 'h')) {
        return static_cast<long>(std::time(nullptr)) - count * (unit == 'd' ? 86400 : 3600);
    }
    throw CommandError(kExitUsage, fmt::format("--since takes a date such as 2026-11-20, or a time "
                                               "such as 7d or 12h, not '{}'.",
                                               text));
}

nlohmann::json numberOrNull(long value) {
    return value == 0 ? nlohmann::json() : nlohmann::json(value);
}

nlohmann::json textOrNull(const std::string& text) {
    return text.empty() ? nlohmann::json() : nlohmann::json(text);
}

nlohmann::json launchJson(const Listed& listed) {
    const LaunchRecord& record = *listed.record;
    nlohmann::json steps = nlohmann::json::array();
    for (const workbench::StepRecord& step : record.steps)
        steps.push_back({{"step", step.step},
                         {"outcome", step.outcome},
                         {"began", numberOrNull(step.began)},
                         {"seconds", step.seconds},
                         {"tool", textOrNull(step.tool)},
                         {"figures", step.figures}});
    nlohmann::json changes = nlohmann::json::array();
    for (const Change& change : listed.changes)
        changes.push_back(
            {{"name", change.name}, {"before", change.before}, {"after", change.after}});
    return {{"launch", record.launch},
            {"run", record.run},
            {"flow", record.flow},
            {"strategy", record.strategy},
            {"sweep", textOrNull(record.sweep)},
            {"family", textOrNull(record.family)},
            {"place", record.place},
            {"launched", record.launched},
            {"began", numberOrNull(record.began)},
            {"ended", numberOrNull(record.ended)},
            {"outcome", record.outcome},
            {"steps", steps},
            {"options", record.options},
            {"figures", record.figures},
            {"changes", changes}};
}

nlohmann::json figuresJson(const std::map<std::string, workbench::NightFigure>& figures) {
    nlohmann::json all = nlohmann::json::object();
    for (const auto& figure : figures)
        all[figure.first] = {{"count", figure.second.count},
                             {"best", figure.second.best},
                             {"median", figure.second.median}};
    return all;
}

nlohmann::json nightJson(const Night& night) {
    nlohmann::json families = nlohmann::json::array();
    for (const workbench::NightFamily& family : night.families)
        families.push_back({{"name", family.name},
                            {"kind", family.isRun ? "run" : "family"},
                            {"launches", family.launches},
                            {"done", family.done},
                            {"failed", family.failed},
                            {"figures", figuresJson(family.figures)}});
    nlohmann::json marks = nlohmann::json::array();
    for (const workbench::NightMark& mark : night.marks)
        marks.push_back({{"name", mark.family},
                         {"figure", mark.figure},
                         {"worse", mark.isWorse},
                         {"text", mark.text}});
    return {{"date", night.date},
            {"launches", night.launches},
            {"done", night.done},
            {"failed", night.failed},
            {"figures", figuresJson(night.figures)},
            {"families", families},
            {"marks", marks}};
}

std::string figureText(const std::optional<double>& value, int digits) {
    return value ? fmt::format("{:.{}f}", *value, digits) : std::string();
}

class HistoryVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        command.add_option("runs", m_names,
                           "Names of runs, families or sweeps, removed ones too; all if unsaid");
        command.add_flag("--nights", m_nights,
                         "The trend from night to night (local noon to noon), with what got "
                         "better or worse for certain");
        command.add_option("--limit", m_limit, "Only the last N launches, or nights")
            ->check(CLI::Range(1, 1000000000));
        command.add_option("--since", m_since,
                           "Only launches since a date (2026-11-20) or a time ago (7d, 12h)");
        addJsonFlag(command, m_json);
    }

    int run(const Session& session) override {
        const long since = m_since.empty() ? 0 : sinceOf(m_since);
        const auto project = Project::open(session.projectDir, Project::kRead);
        workbench::rememberEnds(*project, project->getRuns());
        const workbench::History history(*project);
        const std::vector<LaunchRecord> all = chosen_(*project, history.launches());
        nlohmann::json json{{"project", project->getName()}, {"directory", project->getDir()}};
        if (m_nights)
            tellNights_(all, since, json);
        else
            tellLaunches_(all, since, json);
        if (m_json)
            printJson(json);
        return kExitDone;
    }

private:
    static bool isCalled_(const LaunchRecord& record, const std::string& name) {
        return record.run == name || record.family == name || record.sweep == name;
    }

    /// Those that were asked for. A name that neither project nor history knows is refused.
    std::vector<LaunchRecord> chosen_(const Project& project,
                                      const std::vector<LaunchRecord>& all) const {
        if (m_names.empty())
            return all;
        for (const std::string& name : m_names) {
            const bool isKnown = std::any_of(all.begin(), all.end(), [&name](const auto& record) {
                return isCalled_(record, name);
            });
            if (!isKnown)
                chosenRuns(project, {name});
        }
        std::vector<LaunchRecord> some;
        std::copy_if(all.begin(), all.end(), std::back_inserter(some), [this](const auto& record) {
            return std::any_of(m_names.begin(), m_names.end(),
                               [&record](const auto& name) { return isCalled_(record, name); });
        });
        return some;
    }

    /// Newest first, each with what changed since the launch before of its run.
    std::vector<Listed> list_(const std::vector<LaunchRecord>& all, long since) const {
        std::vector<Listed> listed;
        std::map<std::string, const LaunchRecord*> before;
        for (const LaunchRecord& record : all) {
            const LaunchRecord*& last = before[record.run];
            Listed one{&record, {}};
            if (last != nullptr)
                one.changes = changesOf(*last, record);
            last = &record;
            if (record.launched >= since)
                listed.push_back(std::move(one));
        }
        std::reverse(listed.begin(), listed.end());
        if (m_limit > 0 && listed.size() > m_limit)
            listed.resize(m_limit);
        return listed;
    }

    void tellLaunches_(const std::vector<LaunchRecord>& all, long since,
                       nlohmann::json& json) const {
        const std::vector<Listed> listed = list_(all, since);
        json["launches"] = nlohmann::json::array();
        for (const Listed& one : listed)
            json["launches"].push_back(launchJson(one));
        if (m_json)
            return;
        if (listed.empty())
            note("No launch is remembered{}", m_since.empty() ? "" : " since " + m_since);
        else
            fmt::print("{}", table_(listed));
    }

    static std::string table_(const std::vector<Listed>& listed) {
        TextTable table({{"When"},
                         {"Run"},
                         {"Strategy"},
                         {"Outcome"},
                         {"Seconds", true},
                         {"Fmax MHz", true},
                         {"LUTs", true},
                         {"Changed"}});
        constexpr std::size_t kOutcome = 3;
        for (const Listed& one : listed) {
            const LaunchRecord& record = *one.record;
            table.addRow({timeText(record.launched), record.run, record.strategy, record.outcome,
                          figureText(figureOf(record, "seconds"), 0),
                          figureText(figureOf(record, "fmax"), 1),
                          figureText(figureOf(record, "luts"), 0), changeText(one.changes)});
            table.setStyle(kOutcome, record.outcome == "done" ? Style::kGood : Style::kBad);
        }
        return table.text();
    }

    void tellNights_(const std::vector<LaunchRecord>& all, long since, nlohmann::json& json) const {
        // Judged by all that was before, whatever is shown.
        std::vector<Night> nights = workbench::nightsOf(all);
        const std::string first = since == 0 ? std::string() : workbench::nightOf(since);
        nights.erase(std::remove_if(nights.begin(), nights.end(),
                                    [&first](const Night& night) { return night.date < first; }),
                     nights.end());
        if (m_limit > 0 && nights.size() > m_limit)
            nights.erase(nights.begin(), nights.end() - static_cast<long>(m_limit));
        std::reverse(nights.begin(), nights.end());
        json["nights"] = nlohmann::json::array();
        for (const Night& night : nights)
            json["nights"].push_back(nightJson(night));
        if (m_json)
            return;
        if (nights.empty())
            note("No launch is remembered{}", m_since.empty() ? "" : " since " + m_since);
        else
            printNights_(nights);
    }

    static void printNights_(const std::vector<Night>& nights) {
        TextTable table({{"Night"},
                         {"Family"},
                         {"Launches", true},
                         {"Failed", true},
                         {"Best Fmax", true},
                         {"Median Fmax", true},
                         {"Best LUTs", true},
                         {"Median LUTs", true}});
        for (const Night& night : nights) {
            for (const workbench::NightFamily& family : night.families) {
                std::vector<std::string> row{night.date, family.name,
                                             std::to_string(family.launches),
                                             std::to_string(family.failed)};
                for (const auto& [name, digits] : {std::pair("fmax", 1), std::pair("luts", 0)}) {
                    const auto found = family.figures.find(name);
                    const bool isThere = found != family.figures.end();
                    row.push_back(isThere ? fmt::format("{:.{}f}", found->second.best, digits)
                                          : std::string());
                    row.push_back(isThere ? fmt::format("{:.{}f}", found->second.median, digits)
                                          : std::string());
                }
                table.addRow(row);
            }
        }
        fmt::print("{}", table.text());
        for (const Night& night : nights) {
            for (const workbench::NightMark& mark : night.marks)
                fmt::print("{} {}: {}\n", night.date, workbench::printable(mark.family),
                           workbench::printable(mark.text));
        }
    }

    std::vector<std::string> m_names;
    std::string m_since;
    std::size_t m_limit = 0;
    bool m_nights = false;
    bool m_json = false;
};

}  // namespace

std::unique_ptr<Verb> makeHistoryVerb() {
    return std::make_unique<HistoryVerb>();
}

}  // namespace shell
