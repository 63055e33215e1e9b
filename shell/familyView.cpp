// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/familyView.h"

#include <algorithm>

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

#include "shell/comparisonView.h"
#include "shell/textTable.h"
#include "workbench/statistics/verdictText.h"

namespace shell {

namespace {

using reports::Figure;
using statistics::Outcome;

/// "54.2 (53 to 55.1)"; the quartiles are left out when all values are one.
std::string summaryText(const statistics::Summary& summary) {
    if (summary.count == 0)
        return {};
    if (summary.least == summary.greatest)
        return figureNumber(summary.median);
    return fmt::format("{} ({} to {})", figureNumber(summary.median),
                       figureNumber(summary.lowerQuartile), figureNumber(summary.upperQuartile));
}

statistics::Better betterOf(const Figure& figure) {
    switch (figure.better) {
    case Figure::kHigher:
        return statistics::Better::kHigher;
    case Figure::kLower:
        return statistics::Better::kLower;
    default:
        return statistics::Better::kNeither;
    }
}

std::string runsText(const ComparedFamily& family) {
    return fmt::format("{} ({} run{})", family.name, family.runs.size(),
                       family.runs.size() == 1 ? "" : "s");
}

/// The tests of a table, each once: rows with values missing may have another one.
std::vector<std::string> testsOf(const FamilyPair& pair) {
    std::vector<std::string> tests;
    for (const FamilyRow& row : pair.rows) {
        const std::string text = statistics::testText(row.verdict);
        const bool hasBoth = row.base.count > 0 && row.other.count > 0;
        if (hasBoth && std::find(tests.begin(), tests.end(), text) == tests.end())
            tests.push_back(text);
    }
    return tests;
}

/// Whether every run of both families has the same value.
bool isSameInBoth(const FamilyRow& row) {
    return row.base.count > 0 && row.other.count > 0 && row.base.least == row.base.greatest &&
           row.other.least == row.other.greatest && row.base.least == row.other.least;
}

std::string pairTable(const FamilyPair& pair, bool isWhole) {
    const std::vector<TextTable::Column> columns{
        {"Figure"},
        {runsText(*pair.base)},
        {runsText(*pair.other)},
        {fmt::format("{} against {}", pair.other->name, pair.base->name)}};
    TextTable table(columns);
    std::size_t same = 0;
    for (const FamilyRow& row : pair.rows) {
        if (!isWhole && isSameInBoth(row)) {
            ++same;
            continue;
        }
        table.addRow({row.figure.unit.empty()
                          ? row.figure.label
                          : fmt::format("{} {}", row.figure.label, row.figure.unit),
                      summaryText(row.base), summaryText(row.other), verdictWords(row)});
    }
    std::string text = table.text() + sameFiguresLine(same);
    for (const std::string& test : testsOf(pair))
        text += fmt::format("Test: {}, for each figure by itself.\n", test);
    return text;
}

std::string notesOf(const ComparedFamily& family) {
    std::string text;
    if (!family.differing.empty())
        text += fmt::format("The runs of {} differ in more than their seed: {}\n", family.name,
                            fmt::join(family.differing, ", "));
    for (const Verdict::LeftOut& left : family.leftOut)
        text += fmt::format("{} is left out: {}\n", left.run->name, left.reason);
    return text;
}

const char* outcomeWord(const FamilyRow& row) {
    switch (row.verdict.outcome) {
    case Outcome::kHigher:
        return "higher";
    case Outcome::kLower:
        return "lower";
    case Outcome::kNoRealDifference:
        return "no_real_difference";
    default:
        return "cant_tell";
    }
}

nlohmann::json sampleSummaryJson(const statistics::Summary& summary) {
    if (summary.count == 0)
        return nlohmann::json();
    return {{"count", summary.count},
            {"median", summary.median},
            {"lower_quartile", summary.lowerQuartile},
            {"upper_quartile", summary.upperQuartile},
            {"least", summary.least},
            {"greatest", summary.greatest}};
}

nlohmann::json rowJson(const FamilyRow& row) {
    const statistics::Verdict& verdict = row.verdict;
    const bool hasBoth = row.base.count > 0 && row.other.count > 0;
    const bool isBounded = hasBoth && verdict.shift.isBounded;
    nlohmann::json json{{"figure", row.figure.name},
                        {"unit", row.figure.unit},
                        {"better", reports::betterText(row.figure.better)},
                        {"base", sampleSummaryJson(row.base)},
                        {"other", sampleSummaryJson(row.other)},
                        {"outcome", outcomeWord(row)},
                        {"verdict", verdictWords(row)},
                        {"test", hasBoth ? statistics::testText(verdict) : ""},
                        {"chance", verdict.chance},
                        {"level", verdict.level},
                        {"paired", verdict.isPaired}};
    json["difference"] = hasBoth ? nlohmann::json(verdict.shift.estimate) : nlohmann::json();
    json["low"] = isBounded ? nlohmann::json(verdict.shift.low) : nlohmann::json();
    json["high"] = isBounded ? nlohmann::json(verdict.shift.high) : nlohmann::json();
    json["more_seeds"] = verdict.moreSeeds ? nlohmann::json(*verdict.moreSeeds) : nlohmann::json();
    return json;
}

}  // namespace

std::string familyTables(const std::vector<ComparedFamily>& families,
                         const std::vector<FamilyPair>& pairs, const statistics::Question& question,
                         bool isWhole) {
    std::string text;
    for (const FamilyPair& pair : pairs) {
        text += pairTable(pair, isWhole);
        text += '\n';
    }
    if (pairs.size() > 1)
        text += fmt::format("Each comparison has its share of the level, so that {} hold for all "
                            "{} together.\n",
                            statistics::percentText(question.level), pairs.size());
    text += fmt::format("Values are medians with quartiles; a difference up to {} of the median "
                        "counts as none; seeds needed are those of each family.\n",
                        statistics::percentText(question.margin));
    for (const ComparedFamily& family : families)
        text += notesOf(family);
    return text;
}

std::string verdictWords(const FamilyRow& row) {
    return statistics::verdictText(row.verdict, betterOf(row.figure), row.figure.unit);
}

std::string verdictLine(const FamilyPair& pair, const FamilyRow& row) {
    return fmt::format("{} of {} against {}: {} ({})", row.figure.label, pair.other->name,
                       pair.base->name, verdictWords(row), statistics::testText(row.verdict));
}

std::vector<std::string> pairVerdicts(const std::vector<FamilyPair>& pairs,
                                      const std::string& figure) {
    std::vector<std::string> lines;
    for (const FamilyPair& pair : pairs) {
        for (const FamilyRow& row : pair.rows) {
            if (row.figure.name == figure)
                lines.push_back(fmt::format("{} of {} against {}: {}", row.figure.label,
                                            pair.other->name, pair.base->name, verdictWords(row)));
        }
    }
    return lines;
}

nlohmann::json pairsJson(const std::vector<FamilyPair>& pairs) {
    nlohmann::json list = nlohmann::json::array();
    for (const FamilyPair& pair : pairs) {
        nlohmann::json rows = nlohmann::json::array();
        for (const FamilyRow& row : pair.rows)
            rows.push_back(rowJson(row));
        list.push_back({{"base", pair.base->name}, {"other", pair.other->name}, {"figures", rows}});
    }
    return list;
}

nlohmann::json familiesJson(const std::vector<ComparedFamily>& families,
                            const std::vector<FamilyPair>& pairs,
                            const statistics::Question& question) {
    nlohmann::json json{{"level", question.level}, {"margin", question.margin}};
    json["families"] = nlohmann::json::array();
    for (const ComparedFamily& family : families) {
        nlohmann::json one{{"name", family.name}, {"differing_options", family.differing}};
        one["runs"] = nlohmann::json::array();
        for (const ComparedRun& run : family.runs)
            one["runs"].push_back(run.name);
        one["left_out"] = nlohmann::json::array();
        for (const Verdict::LeftOut& left : family.leftOut)
            one["left_out"].push_back({{"run", left.run->name}, {"reason", left.reason}});
        json["families"].push_back(one);
    }
    json["comparisons"] = pairsJson(pairs);
    return json;
}

}  // namespace shell
