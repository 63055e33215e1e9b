// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "workbench/reports/reportFigures.h"

namespace reports {

/// One cell of a table: a text for people, and the number behind it, if it is
/// one, for programs. An empty text shows as "-": nobody told a value.
struct Cell {
    std::string text;
    std::optional<double> number;
};

Cell textCell(const std::string& text);
Cell countCell(long value);
Cell numberCell(double value, int digits);
/// Nothing was told.
Cell noCell();

/// "1 level", "2 levels".
std::string counted(long count, const std::string& noun);

struct Column {
    std::string title;
    bool isNumber = false;  ///< stands at the right
};

/// A part of a report: sentences, then a table, each of which may be missing.
struct Section {
    std::string title;
    std::vector<std::string> lines;
    std::vector<Column> columns;
    std::vector<std::vector<Cell>> rows;
};

/// A finished report, before it becomes text or JSON: one content, two forms
/// that can't drift apart.
struct Report {
    std::string command;  ///< "report_timing_summary"
    std::string title;    ///< "Timing summary"
    std::string step;     ///< "route_design"
    /// What stands in the head: name and value, in order.
    std::vector<std::pair<std::string, std::string>> head;
    std::vector<Section> sections;
    std::vector<Figure> figures;
    /// What the user should hear of even when nobody opens the file.
    std::vector<std::string> warnings;
};

/// For reading: a head, aligned tables, no line end in a cell.
std::string formatText(const Report& report);

/// For programs; see docs/workbench/reports.md.
std::string formatJson(const Report& report);

/// Whether a file that begins with `start` is a report in one of both forms.
bool isReport(const std::string& start);

}  // namespace reports
