// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/comparisonView.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

#include "shell/textTable.h"

namespace shell {

namespace {

using reports::Figure;

std::string titleOf(const Figure& figure) {
    return figure.unit.empty() ? figure.label : fmt::format("{} {}", figure.label, figure.unit);
}

std::string statusOf(const ComparedRun& run) {
    return run.isStale ? run.status + ", stale" : run.status;
}

std::vector<std::string> runNames(const ComparedRunList& runs) {
    std::vector<std::string> names;
    for (const ComparedRun* run : runs)
        names.push_back(run->name);
    return names;
}

/// The lines of a table, of which a part of the columns may be shown.
struct Row {
    std::string title;
    std::vector<std::string> cells;
};

/// Whether all runs, and more than one, have the figure with one value.
bool isSameInAllRuns(const std::vector<ComparedRun>& runs, const std::string& name) {
    const Figure* first = figureOf(runs.front(), name);
    return runs.size() > 1 && first != nullptr &&
           std::all_of(runs.begin(), runs.end(), [&](const ComparedRun& run) {
               const Figure* figure = figureOf(run, name);
               return figure != nullptr && figure->value == first->value;
           });
}

std::vector<Row> figureTable(const std::vector<ComparedRun>& runs,
                             const std::vector<Figure>& figures) {
    std::vector<Row> rows{{"Status", {}}, {"Strategy", {}}, {"Synthesis", {}}};
    for (const ComparedRun& run : runs) {
        rows[0].cells.push_back(statusOf(run));
        rows[1].cells.push_back(run.strategy);
        rows[2].cells.push_back(run.synthesis);
    }
    for (const Figure& figure : figures) {
        Row row{titleOf(figure), {}};
        for (const ComparedRun& run : runs)
            row.cells.push_back(figureText(figureOf(run, figure.name)));
        rows.push_back(row);
    }
    return rows;
}

std::vector<Row> optionTable(const std::vector<ComparedRun>& runs) {
    std::vector<Row> rows;
    for (const OptionRow& option : differingOptions(runs)) {
        Row row{option.name, {}};
        for (const OptionRow::Cell& cell : option.cells)
            row.cells.push_back(cell.isThere && cell.value.empty() ? "''" : cell.value);
        rows.push_back(row);
    }
    return rows;
}

/// The columns of the runs from `first` up to `end`.
std::string tableText(const std::vector<ComparedRun>& runs, const std::vector<Row>& rows,
                      const std::string& title, std::size_t first, std::size_t end) {
    std::vector<TextTable::Column> columns{{title}};
    for (std::size_t i = first; i < end; ++i)
        columns.push_back({runs[i].name, true});
    TextTable table(columns);
    for (const Row& row : rows) {
        std::vector<std::string> cells{row.title};
        cells.insert(cells.end(), row.cells.begin() + static_cast<std::ptrdiff_t>(first),
                     row.cells.begin() + static_cast<std::ptrdiff_t>(end));
        table.addRow(cells);
    }
    return table.text();
}

std::size_t widestLine(const std::string& text) {
    std::size_t widest = 0;
    std::size_t begin = 0;
    for (std::size_t end = text.find('\n'); end != std::string::npos;
         end = text.find('\n', begin)) {
        widest = std::max(widest, end - begin);
        begin = end + 1;
    }
    return widest;
}

/// As many tables as it takes to stay within `width`; one run in each at least.
std::string fittingTables(const std::vector<ComparedRun>& runs, const std::vector<Row>& rows,
                          const std::string& title, int width) {
    std::string all;
    for (std::size_t first = 0; first < runs.size();) {
        std::size_t end = width <= 0 ? runs.size() : first + 1;
        std::string text = tableText(runs, rows, title, first, end);
        while (end < runs.size()) {
            const std::string wider = tableText(runs, rows, title, first, end + 1);
            if (widestLine(wider) > static_cast<std::size_t>(width))
                break;
            text = wider;
            ++end;
        }
        all += (all.empty() ? "" : "\n") + text;
        first = end;
    }
    return all;
}

std::string valueText(const ComparedRun& run, const Goal& goal) {
    const Figure* figure = figureOf(run, goal.figure);
    if (figure == nullptr)
        return "none";
    const std::string text = figureText(figure);
    return goal.unit.empty() ? text : text + " " + goal.unit;
}

/// "highest Fmax, then lowest LUTs".
std::string wishText(const std::vector<Goal>& goals) {
    std::vector<std::string> words;
    words.reserve(goals.size());
    for (const Goal& goal : goals)
        words.push_back(
            fmt::format("{} {}", goal.isHigherBetter ? "highest" : "lowest", goal.label));
    return fmt::format("{}", fmt::join(words, ", then "));
}

/// The values of all goals: "55.2 MHz Fmax, 1200 LUTs".
std::string goalValuesText(const ComparedRun& run, const std::vector<Goal>& goals) {
    std::vector<std::string> words;
    words.reserve(goals.size());
    for (const Goal& goal : goals)
        words.push_back(fmt::format("{} {}", goal.label, valueText(run, goal)));
    return fmt::format("{}", fmt::join(words, ", "));
}

std::string goalLine(const Verdict& verdict, const std::vector<Goal>& goals) {
    const std::string wish = wishText(goals);
    if (verdict.best.empty())
        return fmt::format("Goal {}: no run can be judged.", wish);
    const std::string values = goalValuesText(*verdict.best.front(), goals);
    if (verdict.best.size() > 1)
        return fmt::format("Goal {}: {} are equally good ({}).", wish,
                           fmt::join(runNames(verdict.best), " and "), values);
    const std::string& name = verdict.best.front()->name;
    if (verdict.others.empty())
        return fmt::format("Goal {}: only {} can be judged ({}).", wish, name, values);
    return fmt::format("Goal {}: {} is best ({}); next is {} ({}).", wish, name, values,
                       verdict.others.front()->name,
                       goalValuesText(*verdict.others.front(), goals));
}

std::string missLine(const ComparedRun& run) {
    const Figure* slack = figureOf(run, "worst_slack");
    return slack == nullptr || slack->value >= 0
               ? fmt::format("{} misses the goal of its clocks.", run.name)
               : fmt::format("{} misses the goal of its clocks by {} ns.", run.name,
                             figureText(slack).substr(1));
}

nlohmann::json figureValuesJson(const ComparedRun& run) {
    nlohmann::json figures = nlohmann::json::object();
    for (const Figure& figure : run.figures)
        figures[figure.name] = figure.value;
    return figures;
}

}  // namespace

std::string figureText(const Figure* figure) {
    return figure == nullptr ? std::string() : figureNumber(figure->value);
}

std::string figureNumber(double value) {
    if (std::abs(value) < 1e15 && std::trunc(value) == value)
        return fmt::format("{:.0f}", value);
    std::string text = fmt::format("{:.2f}", value);
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.')
        text.pop_back();
    // Too little for two digits, but not nothing.
    return text == "0" || text == "-0" ? fmt::format("{:.3g}", value) : text;
}

std::string comparisonTable(const std::vector<ComparedRun>& runs, int width, bool isWhole) {
    std::vector<Figure> figures = figureRows(runs);
    const std::size_t count = figures.size();
    if (!isWhole)
        figures.erase(std::remove_if(figures.begin(), figures.end(),
                                     [&runs](const Figure& figure) {
                                         return isSameInAllRuns(runs, figure.name);
                                     }),
                      figures.end());
    std::string text = fittingTables(runs, figureTable(runs, figures), "Run", width);
    text += sameFiguresLine(count - figures.size());
    if (runs.size() < 2)
        return text;
    const std::vector<Row> options = optionTable(runs);
    if (options.empty())
        return text + "\nThe runs don't differ in their options.\n";
    return text + "\n" + fittingTables(runs, options, "Options that differ", width);
}

std::string sameFiguresLine(std::size_t count) {
    if (count == 0)
        return {};
    return fmt::format("{} more figure{} the same in all of these runs: --all shows {}.\n", count,
                       count == 1 ? " is" : "s are", count == 1 ? "it" : "them");
}

std::string shortVerdict(const Verdict& verdict, const std::vector<Goal>& goals) {
    std::string text = goalLine(verdict, goals);
    const std::size_t missing = verdict.missing.size();
    if (missing > 0)
        text += fmt::format(" {} of {} runs miss the goal of their clocks.", missing,
                            verdict.best.size() + verdict.others.size());
    return text;
}

std::vector<std::string> verdictLines(const Verdict& verdict, const std::vector<Goal>& goals) {
    std::vector<std::string> lines{goalLine(verdict, goals)};
    for (const ComparedRun* run : verdict.missing)
        lines.push_back(missLine(*run));
    for (const Verdict::LeftOut& left : verdict.leftOut)
        lines.push_back(fmt::format("{} is left out: {}", left.run->name, left.reason));
    return lines;
}

nlohmann::json comparisonJson(const std::vector<ComparedRun>& runs, const std::vector<Goal>& goals,
                              const Verdict& verdict) {
    nlohmann::json json;
    json["runs"] = nlohmann::json::array();
    for (const ComparedRun& run : runs)
        json["runs"].push_back(
            {{"name", run.name},
             {"status", run.status},
             {"stale", run.isStale},
             {"strategy", run.strategy},
             {"synthesis",
              run.synthesis.empty() ? nlohmann::json() : nlohmann::json(run.synthesis)},
             {"figures", figureValuesJson(run)}});
    json["figures"] = nlohmann::json::array();
    for (const Figure& figure : figureRows(runs))
        json["figures"].push_back({{"name", figure.name},
                                   {"label", figure.label},
                                   {"unit", figure.unit},
                                   {"better", reports::betterText(figure.better)}});
    json["options"] = nlohmann::json::array();
    for (const OptionRow& option : differingOptions(runs)) {
        nlohmann::json values = nlohmann::json::object();
        for (std::size_t i = 0; i < runs.size(); ++i)
            values[runs[i].name] =
                option.cells[i].isThere ? nlohmann::json(option.cells[i].value) : nlohmann::json();
        json["options"].push_back({{"option", option.name}, {"values", values}});
    }
    json["goals"] = nlohmann::json::array();
    for (const Goal& goal : goals)
        json["goals"].push_back({{"goal", goal.word},
                                 {"figure", goal.figure},
                                 {"better", goal.isHigherBetter ? "higher" : "lower"}});
    json["best"] = runNames(verdict.best);
    json["missing_their_clock_goal"] = runNames(verdict.missing);
    json["left_out"] = nlohmann::json::array();
    for (const Verdict::LeftOut& left : verdict.leftOut)
        json["left_out"].push_back({{"run", left.run->name}, {"reason", left.reason}});
    return json;
}

}  // namespace shell
