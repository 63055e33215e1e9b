// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/launchHistory.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <map>
#include <utility>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "shell/exitStatus.h"
#include "shell/jsonOutput.h"
#include "shell/runPlan.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/Project.h"
#include "workbench/history/History.h"

namespace shell {

namespace {

using workbench::LaunchRecord;
using workbench::Night;

/// Its options and tools, in one table of texts.
std::map<std::string, std::string> recordedSettings(const LaunchRecord& record) {
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

std::vector<LaunchChange> changesOf(const LaunchRecord& before, const LaunchRecord& after) {
    std::map<std::string, std::string> was = recordedSettings(before);
    std::map<std::string, std::string> is = recordedSettings(after);
    std::map<std::string, LaunchChange> changes;
    for (const auto* each : {&was, &is}) {
        for (const auto& setting : *each) {
            const std::string& name = setting.first;
            if (was[name] != is[name] && !isUntold(name, was[name]) && !isUntold(name, is[name]))
                changes[name] = {name, was[name], is[name]};
        }
    }
    std::vector<LaunchChange> all;
    all.reserve(changes.size());
    for (const auto& change : changes)
        all.push_back(change.second);
    return all;
}

nlohmann::json launchJson(const ListedLaunch& listed) {
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
    for (const LaunchChange& change : listed.changes)
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

nlohmann::json nightFiguresJson(const std::map<std::string, workbench::NightFigure>& figures) {
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
                            {"figures", nightFiguresJson(family.figures)}});
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
            {"figures", nightFiguresJson(night.figures)},
            {"families", families},
            {"marks", marks}};
}

bool isCalled(const LaunchRecord& record, const std::string& name) {
    return record.run == name || record.family == name || record.sweep == name;
}

}  // namespace

long readSince(const std::string& text) {
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

std::vector<LaunchRecord> launchesOf(const Project& project,
                                     const std::vector<std::string>& names) {
    workbench::rememberEnds(project, project.getRuns());
    std::vector<LaunchRecord> all = workbench::History(project).launches();
    if (names.empty())
        return all;
    for (const std::string& name : names) {
        const bool isKnown = std::any_of(
            all.begin(), all.end(), [&name](const auto& record) { return isCalled(record, name); });
        if (!isKnown)
            chosenRuns(project, {name});
    }
    std::vector<LaunchRecord> some;
    std::copy_if(all.begin(), all.end(), std::back_inserter(some), [&names](const auto& record) {
        return std::any_of(names.begin(), names.end(),
                           [&record](const auto& name) { return isCalled(record, name); });
    });
    return some;
}

std::vector<ListedLaunch> listLaunches(const std::vector<LaunchRecord>& launches, long since,
                                       std::size_t limit) {
    std::vector<ListedLaunch> listed;
    std::map<std::string, const LaunchRecord*> before;
    for (const LaunchRecord& record : launches) {
        const LaunchRecord*& last = before[record.run];
        ListedLaunch one{&record, {}};
        if (last != nullptr)
            one.changes = changesOf(*last, record);
        last = &record;
        if (record.launched >= since)
            listed.push_back(std::move(one));
    }
    std::reverse(listed.begin(), listed.end());
    if (limit > 0 && listed.size() > limit)
        listed.resize(limit);
    return listed;
}

std::vector<Night> listNights(const std::vector<LaunchRecord>& launches, long since,
                              std::size_t limit) {
    std::vector<Night> nights = workbench::nightsOf(launches);
    const std::string first = since == 0 ? std::string() : workbench::nightOf(since);
    nights.erase(std::remove_if(nights.begin(), nights.end(),
                                [&first](const Night& night) { return night.date < first; }),
                 nights.end());
    if (limit > 0 && nights.size() > limit)
        nights.erase(nights.begin(), nights.end() - static_cast<long>(limit));
    std::reverse(nights.begin(), nights.end());
    return nights;
}

nlohmann::json launchesJson(const std::vector<ListedLaunch>& launches) {
    nlohmann::json all = nlohmann::json::array();
    for (const ListedLaunch& one : launches)
        all.push_back(launchJson(one));
    return all;
}

nlohmann::json nightsJson(const std::vector<Night>& nights) {
    nlohmann::json all = nlohmann::json::array();
    for (const Night& night : nights)
        all.push_back(nightJson(night));
    return all;
}

}  // namespace shell
