// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/diffView.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "shell/comparisonView.h"
#include "shell/runComparison.h"
#include "shell/textTable.h"
#include "workbench/printable.h"

namespace shell {

namespace {

using reports::Figure;

std::string shownNumber(const std::optional<double>& value) {
    return value ? figureNumber(*value) : std::string();
}

std::string signedText(double value, const std::string& number) {
    return (value > 0 ? "+" : "") + number;
}

/// " better", " worse", or nothing where neither side is the better one.
std::string sideWord(const FigureDifference& difference) {
    if (difference.figure.better == Figure::kNeither)
        return {};
    const bool isHigher = *difference.change() > 0;
    return isHigher == (difference.figure.better == Figure::kHigher) ? ", better" : ", worse";
}

/// "+4 (+7.6 %), better"; of families the verdict, which says more.
std::string figureChangeText(const FigureDifference& difference) {
    if (!difference.verdict.empty() || !difference.change())
        return difference.verdict;
    const double change = *difference.change();
    std::string text = signedText(change, shownNumber(change));
    if (const std::optional<double> percent = difference.percent())
        text += fmt::format(" ({} %)", signedText(*percent, fmt::format("{:.1f}", *percent)));
    return text + sideWord(difference);
}

std::string labelOf(const Figure& figure) {
    return figure.unit.empty() ? figure.label : fmt::format("{} {}", figure.label, figure.unit);
}

std::string differenceTable(const DiffSide& first, const DiffSide& second, const RunDiff& diff) {
    if (diff.figures.empty())
        return {};
    TextTable table({{"Figures"}, {first.name}, {second.name}, {"Change"}});
    for (const FigureDifference& one : diff.figures)
        table.addRow({labelOf(one.figure), shownNumber(one.first), shownNumber(one.second),
                      figureChangeText(one)});
    return table.text() + "\n";
}

std::string table(const char* title, const DiffSide& first, const DiffSide& second,
                  const std::vector<TextDifference>& differences) {
    if (differences.empty())
        return {};
    TextTable text({{title}, {first.name}, {second.name}});
    for (const TextDifference& one : differences)
        text.addRow({one.name, one.first.value_or(""), one.second.value_or("")});
    return text.text() + "\n";
}

/// The place of a warning as compilers tell one.
std::string warningPlace(const workbench::ToolWarning& warning) {
    return warning.file.empty() ? std::string()
                                : fmt::format("{}:{}: ", warning.file, warning.line);
}

std::string warningLines(const std::string& title,
                         const std::vector<workbench::ToolWarning>& warnings) {
    if (warnings.empty())
        return {};
    std::string text = title + "\n";
    for (const workbench::ToolWarning& warning : warnings) {
        const std::string times =
            warning.count > 1 ? fmt::format(" ({} times)", warning.count) : std::string();
        text += workbench::printable(fmt::format("  {}{}{}{}",
                                                 warning.step.empty() ? "" : warning.step + ": ",
                                                 warningPlace(warning), warning.text, times)) +
                "\n";
    }
    return text + "\n";
}

std::string equalText(const DiffSide& first, const DiffSide& second, const RunDiff& diff) {
    const auto sameParts = "options, inputs, tools, results, reports and warnings";
    if (diff.figures.empty())
        return fmt::format("{} and {} don't differ in {}.\n", first.name, second.name, sameParts);
    return fmt::format("{} and {} don't differ in {}, but for the time that they took: {} s and "
                       "{} s.\n",
                       first.name, second.name, sameParts, shownNumber(diff.figures.front().first),
                       shownNumber(diff.figures.front().second));
}

template <class Value> nlohmann::json valueOrNull(const std::optional<Value>& value) {
    return value ? nlohmann::json(*value) : nlohmann::json();
}

nlohmann::json textDifferencesJson(const std::vector<TextDifference>& differences) {
    nlohmann::json list = nlohmann::json::array();
    for (const TextDifference& one : differences)
        list.push_back({{"name", one.name},
                        {"first", valueOrNull(one.first)},
                        {"second", valueOrNull(one.second)}});
    return list;
}

nlohmann::json figureDifferencesJson(const std::vector<FigureDifference>& differences) {
    nlohmann::json list = nlohmann::json::array();
    for (const FigureDifference& one : differences)
        list.push_back(
            {{"figure", one.figure.name},
             {"label", one.figure.label},
             {"unit", one.figure.unit},
             {"better", reports::betterText(one.figure.better)},
             {"first", valueOrNull(one.first)},
             {"second", valueOrNull(one.second)},
             {"change", valueOrNull(one.change())},
             {"percent", valueOrNull(one.percent())},
             {"verdict", one.verdict.empty() ? nlohmann::json() : nlohmann::json(one.verdict)}});
    return list;
}

nlohmann::json warningsJson(const std::vector<workbench::ToolWarning>& warnings) {
    nlohmann::json list = nlohmann::json::array();
    for (const workbench::ToolWarning& one : warnings)
        list.push_back({{"step", one.step},
                        {"tool", one.tool},
                        {"text", one.text},
                        {"file", one.file},
                        {"line", one.line},
                        {"count", one.count}});
    return list;
}

}  // namespace

std::string diffText(const DiffSide& first, const DiffSide& second, const RunDiff& diff) {
    if (diff.isEqual())
        return equalText(first, second, diff);
    std::string text =
        table(first.isFamily ? "Family" : "Run", first, second, diff.run) +
        table("Options", first, second, diff.options) +
        table("Inputs", first, second, diff.inputs) + table("Tools", first, second, diff.tools) +
        differenceTable(first, second, diff) + table("Reports", first, second, diff.reports) +
        warningLines("New warnings in " + second.name, diff.newWarnings) +
        warningLines("Gone, only in " + first.name, diff.goneWarnings);
    // One empty line between parts, none at the end.
    text.pop_back();
    return text;
}

nlohmann::json diffJson(const DiffSide& first, const DiffSide& second, const RunDiff& diff) {
    return {{"first", first.name},
            {"second", second.name},
            {"kind", first.isFamily ? "families" : "runs"},
            {"equal", diff.isEqual()},
            {"run", textDifferencesJson(diff.run)},
            {"options", textDifferencesJson(diff.options)},
            {"inputs", textDifferencesJson(diff.inputs)},
            {"tools", textDifferencesJson(diff.tools)},
            {"figures", figureDifferencesJson(diff.figures)},
            {"reports", textDifferencesJson(diff.reports)},
            {"new_warnings", warningsJson(diff.newWarnings)},
            {"gone_warnings", warningsJson(diff.goneWarnings)}};
}

}  // namespace shell
