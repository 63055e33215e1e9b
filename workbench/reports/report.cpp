// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/reports/report.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "workbench/reports/reportFormat.h"

namespace reports {

namespace {

using nlohmann::ordered_json;

constexpr const char* kFirstWords = "Report report_";
constexpr const char* kNothing = "-";

/// Characters of a UTF-8 text, as a terminal counts them for plain scripts.
std::size_t widthOf(const std::string& text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xc0U) != 0x80U;
    }));
}

/// Names come from files: what moves a terminal's cursor becomes '?'.
std::string shown(const std::string& text) {
    std::string result = text.empty() ? kNothing : text;
    for (char& c : result)
        if (static_cast<unsigned char>(c) < 0x20U || c == '\x7f')
            c = '?';
    return result;
}

/// Generated names grow without bound; their ends tell most.
std::string shortened(const std::string& text) {
    constexpr std::size_t kWidest = 48;
    constexpr std::size_t kEnd = 20;
    const bool isPlain = widthOf(text) == text.size();
    if (!isPlain || text.size() <= kWidest)
        return text;
    return text.substr(0, kWidest - kEnd - 2) + ".." + text.substr(text.size() - kEnd);
}

/// The text of a cell in its column; the last column is open to the right.
std::string shownCell(const Section& section, const std::vector<Cell>& row, std::size_t column) {
    const std::string text = shown(row.at(column).text);
    return column + 1 < section.columns.size() ? shortened(text) : text;
}

std::string padded(const std::string& text, std::size_t width, bool isNumber) {
    const std::string blanks(width - std::min(width, widthOf(text)), ' ');
    return isNumber ? blanks + text : text + blanks;
}

void addLine(std::string& out, std::string line) {
    line.erase(line.find_last_not_of(' ') + 1);
    out += line + "\n";
}

std::vector<std::size_t> widthsOf(const Section& section) {
    std::vector<std::size_t> widths;
    for (std::size_t i = 0; i < section.columns.size(); ++i) {
        std::size_t width = widthOf(section.columns[i].title);
        for (const std::vector<Cell>& row : section.rows)
            width = std::max(width, widthOf(shownCell(section, row, i)));
        widths.push_back(width);
    }
    return widths;
}

void addTable(std::string& out, const Section& section) {
    const std::vector<std::size_t> widths = widthsOf(section);
    std::string titles;
    std::string rule;
    for (std::size_t i = 0; i < widths.size(); ++i) {
        const Column& column = section.columns[i];
        titles += "  " + padded(column.title, widths[i], column.isNumber);
        rule += "  " + std::string(widths[i], '-');
    }
    addLine(out, titles);
    addLine(out, rule);
    for (const std::vector<Cell>& row : section.rows) {
        std::string line;
        for (std::size_t i = 0; i < widths.size(); ++i)
            line +=
                "  " + padded(shownCell(section, row, i), widths[i], section.columns[i].isNumber);
        addLine(out, line);
    }
}

void addSection(std::string& out, std::size_t number, const Section& section) {
    const std::string title = fmt::format("{}. {}", number, section.title);
    out += "\n" + title + "\n" + std::string(widthOf(title), '-') + "\n\n";
    for (const std::string& line : section.lines)
        addLine(out, shown(line));
    if (section.lines.empty() && section.rows.empty())
        out += "None.\n";
    if (!section.lines.empty() && !section.rows.empty())
        out += "\n";
    if (!section.rows.empty())
        addTable(out, section);
}

/// Counts stay whole.
ordered_json numberOf(double value) {
    const bool isWhole = std::trunc(value) == value && std::abs(value) < 1e15;
    return isWhole ? ordered_json(static_cast<long>(value))
                   : ordered_json(std::round(value * 1e6) / 1e6);
}

ordered_json jsonOf(const Cell& cell) {
    if (cell.number)
        return numberOf(*cell.number);
    return cell.text.empty() ? ordered_json() : ordered_json(cell.text);
}

ordered_json jsonOf(const Section& section) {
    ordered_json result;
    result[format::kTitle] = section.title;
    result[format::kLines] = section.lines;
    if (section.columns.empty())
        return result;
    result[format::kColumns] = ordered_json::array();
    for (const Column& column : section.columns)
        result[format::kColumns].push_back(column.title);
    result[format::kRows] = ordered_json::array();
    for (const std::vector<Cell>& row : section.rows) {
        ordered_json cells = ordered_json::array();
        for (const Cell& cell : row)
            cells.push_back(jsonOf(cell));
        result[format::kRows].push_back(cells);
    }
    return result;
}

ordered_json jsonOf(const Figure& figure) {
    ordered_json result;
    result[format::kFigureName] = figure.name;
    result[format::kLabel] = figure.label;
    result[format::kValue] = numberOf(figure.value);
    result[format::kUnit] = figure.unit;
    if (figure.better != Figure::kNeither)
        result[format::kBetter] = betterText(figure.better);
    return result;
}

}  // namespace

Cell textCell(const std::string& text) {
    return {text, std::nullopt};
}

Cell countCell(long value) {
    return {std::to_string(value), static_cast<double>(value)};
}

Cell numberCell(double value, int digits) {
    return {fmt::format("{:.{}f}", value, digits), value};
}

Cell noCell() {
    return {};
}

std::string counted(long count, const std::string& noun) {
    return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

std::string formatText(const Report& report) {
    const std::string title = fmt::format("Report {}: {}", report.command, report.title);
    std::string out = title + "\n" + std::string(widthOf(title), '=') + "\n\n";
    std::size_t width = 0;
    for (const auto& entry : report.head)
        width = std::max(width, widthOf(entry.first));
    for (const auto& entry : report.head)
        addLine(out, padded(entry.first, width, false) + "  " + shown(entry.second));
    std::size_t number = 0;
    for (const Section& section : report.sections)
        addSection(out, ++number, section);
    return out;
}

std::string formatJson(const Report& report) {
    ordered_json document;
    document[format::kFormat] = format::kName;
    document[format::kVersion] = format::kNewest;
    document[format::kReport] = report.command;
    document[format::kTitle] = report.title;
    document[format::kStep] = report.step;
    document[format::kHead] = ordered_json::object();
    for (const auto& entry : report.head)
        document[format::kHead][entry.first] = entry.second;
    document[format::kFigures] = ordered_json::array();
    for (const Figure& figure : report.figures)
        document[format::kFigures].push_back(jsonOf(figure));
    document[format::kSections] = ordered_json::array();
    for (const Section& section : report.sections)
        document[format::kSections].push_back(jsonOf(section));
    return document.dump(2, ' ', false, ordered_json::error_handler_t::replace) + "\n";
}

bool isReport(const std::string& start) {
    const std::string head = start.substr(0, 64);
    return head.rfind(kFirstWords, 0) == 0 || head.find(format::kName) != std::string::npos;
}

}  // namespace reports
