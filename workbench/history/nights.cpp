// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/history/nights.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <utility>

#include <fmt/format.h>

#include "workbench/statistics/summary.h"
#include "workbench/statistics/verdict.h"
#include "workbench/statistics/verdictText.h"

namespace workbench {

namespace {

/// As far as values of one run tell how it scatters.
constexpr std::size_t kFewestEarlier = 3;

/// The seed of a run that doesn't set one.
constexpr long kUnsetSeed = -1;

using statistics::Values;

/// By run: the last launch of the night that was done.
using Results = std::map<std::string, const LaunchRecord*>;

/// A family, or a run without one.
using Name = std::pair<std::string, bool>;

Name nameOf(const LaunchRecord& record) {
    return record.family.empty() ? Name(record.run, true) : Name(record.family, false);
}

bool hasFailed(const LaunchRecord& record) {
    return record.outcome == "failed" || record.outcome == "lost";
}

/// What one night knows while it is put together.
struct Gathered {
    NightFamily told;
    Results results;
};

std::optional<double> figureValue(const LaunchRecord& record, const std::string& figure) {
    const auto found = record.figures.find(figure);
    return found == record.figures.end() ? std::nullopt : std::optional<double>(found->second);
}

Values figureValues(const Results& results, const std::string& figure) {
    Values values;
    for (const auto& result : results) {
        if (const std::optional<double> value = figureValue(*result.second, figure))
            values.push_back(*value);
    }
    return values;
}

std::map<std::string, NightFigure> figuresOf(const Results& results) {
    std::map<std::string, NightFigure> figures;
    for (const TrendFigure& figure : trendFigures()) {
        const Values values = figureValues(results, figure.name);
        if (values.empty())
            continue;
        const auto ends = std::minmax_element(values.begin(), values.end());
        figures[figure.name] = {values.size(), figure.isHigherBetter ? *ends.second : *ends.first,
                                statistics::median(values)};
    }
    return figures;
}

long seedOf(const LaunchRecord& record) {
    const auto seed = record.options.find("place_design.seed");
    return seed == record.options.end() ? kUnsetSeed
                                        : std::strtol(seed->second.c_str(), nullptr, 10);
}

statistics::Family familyOf(const Results& results, const std::string& figure) {
    statistics::Family family;
    for (const auto& result : results) {
        if (const std::optional<double> value = figureValue(*result.second, figure))
            family.push_back({seedOf(*result.second), *value});
    }
    return family;
}

/// The same in the earlier nights, the last one first.
struct Earlier {
    std::string date;
    Results results;
};

std::string changeWord(bool isWorse) {
    return isWorse ? "worse" : "better";
}

/// The verdict of the families' test.
std::optional<NightMark> judgeFamily(const TrendFigure& figure, const Results& now,
                                     const Earlier& before) {
    const statistics::Question question;
    const statistics::Verdict verdict = statistics::judge(
        familyOf(now, figure.name), familyOf(before.results, figure.name), question);
    const bool isHigher = verdict.outcome == statistics::Outcome::kHigher;
    if ((!isHigher && verdict.outcome != statistics::Outcome::kLower) ||
        std::abs(verdict.shift.estimate) <= verdict.margin)
        return std::nullopt;
    const auto better =
        figure.isHigherBetter ? statistics::Better::kHigher : statistics::Better::kLower;
    NightMark mark;
    mark.figure = figure.name;
    mark.isWorse = isHigher != figure.isHigherBetter;
    mark.text = fmt::format("{} {} than in the night {} ({})", figure.label,
                            statistics::verdictText(verdict, better, figure.unit), before.date,
                            statistics::testText(verdict));
    return mark;
}

/// One value against all that came before.
std::optional<NightMark> judgeSingle(const TrendFigure& figure, double value,
                                     const Values& before) {
    if (before.size() < kFewestEarlier)
        return std::nullopt;
    const statistics::Summary spread = statistics::summarise(before);
    const double margin = statistics::Question().margin * std::abs(spread.median);
    const bool isHigher = value > spread.greatest + margin;
    if (!isHigher && value >= spread.least - margin)
        return std::nullopt;
    const std::string unit = *figure.unit == '\0' ? "" : fmt::format(" {}", figure.unit);
    NightMark mark;
    mark.figure = figure.name;
    mark.isWorse = isHigher != figure.isHigherBetter;
    mark.text = fmt::format(
        "{} {}: {:.4g}{} lies outside of all {} earlier values, {:.4g} to {:.4g}{}", figure.label,
        changeWord(mark.isWorse), value, unit, spread.count, spread.least, spread.greatest, unit);
    return mark;
}

void addMarks(const Gathered& now, const std::vector<Earlier>& before, Night& night) {
    if (before.empty())
        return;
    for (const TrendFigure& figure : trendFigures()) {
        const Values values = figureValues(now.results, figure.name);
        if (!figure.isJudged || values.empty())
            continue;
        Values earlier;
        for (const Earlier& each : before) {
            const Values its = figureValues(each.results, figure.name);
            earlier.insert(earlier.end(), its.begin(), its.end());
        }
        const bool isSingle =
            values.size() == 1 || figureValues(before.front().results, figure.name).size() < 2;
        std::optional<NightMark> mark;
        if (!isSingle)
            mark = judgeFamily(figure, now.results, before.front());
        else if (values.size() == 1)
            mark = judgeSingle(figure, values.front(), earlier);
        if (!mark)
            continue;
        mark->family = now.told.name;
        night.marks.push_back(std::move(*mark));
    }
}

template <class Count> void countLaunch(const LaunchRecord& record, Count& counted) {
    ++counted.launches;
    counted.done += record.outcome == "done" ? 1 : 0;
    counted.failed += hasFailed(record) ? 1 : 0;
}

/// The launches of one night, and their families.
struct NightGathering {
    Night night;
    std::map<Name, Gathered> families;
    Results implementations;
};

void gather(const LaunchRecord& record, NightGathering& gathering) {
    countLaunch(record, gathering.night);
    Gathered& family = gathering.families[nameOf(record)];
    family.told.name = nameOf(record).first;
    family.told.isRun = nameOf(record).second;
    countLaunch(record, family.told);
    if (record.outcome != "done")
        return;
    family.results[record.run] = &record;
    if (record.flow == "impl")
        gathering.implementations[record.run] = &record;
}

}  // namespace

const std::vector<TrendFigure>& trendFigures() {
    static const std::vector<TrendFigure> figures{{"fmax", "Fmax", "MHz", true, true},
                                                  {"worst_slack", "Worst slack", "ns", true, false},
                                                  {"luts", "LUTs", "", false, true},
                                                  {"logic_cells", "Logic cells", "", false, false},
                                                  {"seconds", "Run time", "s", false, false}};
    return figures;
}

std::string nightOf(long time) {
    constexpr int kNoon = 12;
    const std::time_t moment = time;
    std::tm local{};
    localtime_r(&moment, &local);
    if (local.tm_hour < kNoon) {
        // By the calendar: a day may have 23 hours.
        --local.tm_mday;
        local.tm_hour = kNoon;
        local.tm_isdst = -1;
        std::mktime(&local);
    }
    std::array<char, 16> date{};
    std::strftime(date.data(), date.size(), "%Y-%m-%d", &local);
    return date.data();
}

std::vector<Night> nightsOf(const std::vector<LaunchRecord>& records) {
    std::vector<const LaunchRecord*> ordered;
    ordered.reserve(records.size());
    for (const LaunchRecord& record : records)
        ordered.push_back(&record);
    std::stable_sort(ordered.begin(), ordered.end(),
                     [](const auto* a, const auto* b) { return a->launched < b->launched; });
    std::map<std::string, NightGathering> gatherings;
    for (const LaunchRecord* record : ordered)
        gather(*record, gatherings[nightOf(record->launched)]);
    std::vector<Night> nights;
    std::map<Name, std::vector<Earlier>> before;
    for (auto& each : gatherings) {
        Night& night = each.second.night;
        night.date = each.first;
        night.figures = figuresOf(each.second.implementations);
        for (auto& family : each.second.families) {
            family.second.told.figures = figuresOf(family.second.results);
            addMarks(family.second, before[family.first], night);
            night.families.push_back(family.second.told);
            if (!family.second.results.empty())
                before[family.first].insert(before[family.first].begin(),
                                            Earlier{night.date, family.second.results});
        }
        nights.push_back(std::move(night));
    }
    return nights;
}

}  // namespace workbench
