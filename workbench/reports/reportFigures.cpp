// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/reports/reportFigures.h"

#include <cstdint>
#include <string_view>
#include <utility>

#include <fmt/format.h>

#include "workbench/ice40/jsonView.h"
#include "workbench/ice40/metrics.h"
#include "workbench/ice40/stepFiles.h"
#include "workbench/reports/reportFormat.h"
#include "workbench/reports/texts.h"

namespace reports {

namespace {

using ice40::getMember;
using ice40::JsonArray;
using ice40::JsonObject;
using ice40::JsonValue;

constexpr std::size_t kLargestReport = std::size_t{64} << 20;

/// Whether this program can read the document at all.
bool checkKind(const JsonObject& document, std::string& reason) {
    std::string_view format;
    std::int64_t version = 0;
    if (!getMember(document, format::kFormat, format) || format != format::kName ||
        !getMember(document, format::kVersion, version))
        return refuse(reason, "it is no report in its JSON form");
    if (version > format::kNewest)
        return refuse(reason, fmt::format("it has version {}, and this program reads up to {}",
                                          version, format::kNewest));
    return true;
}

Figure::Better readBetter(const JsonObject& item) {
    std::string_view text;
    getMember(item, format::kBetter, text);
    if (text == betterText(Figure::kHigher))
        return Figure::kHigher;
    return text == betterText(Figure::kLower) ? Figure::kLower : Figure::kNeither;
}

bool readFigure(const JsonValue& value, Figure& figure) {
    JsonObject item;
    if (value.get(item) != simdjson::SUCCESS || !getMember(item, format::kValue, figure.value) ||
        !getMember(item, format::kFigureName, figure.name) ||
        !getMember(item, format::kLabel, figure.label) ||
        !getMember(item, format::kUnit, figure.unit))
        return false;
    figure.better = readBetter(item);
    return true;
}

}  // namespace

const std::vector<Figure>& possibleFigures() {
    using namespace ice40::counts;
    static const std::vector<Figure> all{
        {"fmax", "Fmax", 0, "MHz", Figure::kHigher},
        {"worst_slack", "Worst slack", 0, "ns", Figure::kHigher},
        {"missed_clocks", "Clocks that miss their target", 0, "", Figure::kLower},
        {"icetime_fmax", "Fmax by icetime", 0, "MHz", Figure::kHigher},
        {"slowest_path", "Slowest path", 0, "ns", Figure::kLower},
        {kLogicCells, "Logic cells", 0, "", Figure::kLower},
        {"logic_cells_percent", "Logic cells used", 0, "%", Figure::kLower},
        {kLuts, "LUTs", 0, "", Figure::kLower},
        {kFlipFlops, "Flip-flops", 0, "", Figure::kLower},
        {kCarries, "Carry cells", 0, "", Figure::kLower},
        {kBlockRams, "Block RAMs", 0, "", Figure::kLower},
        {kDsps, "Multipliers", 0, "", Figure::kLower},
        {kIos, "I/O cells", 0, "", Figure::kLower},
        {kGlobalBuffers, "Global buffers", 0, "", Figure::kLower},
        {kCells, "Cells", 0, "", Figure::kLower},
        {"ports", "Port bits", 0, "", Figure::kNeither},
        {"ports_without_pin", "Port bits without a pin", 0, "", Figure::kLower},
        {"clocks", "Clocks", 0, "", Figure::kNeither},
        {"control_sets", "Control sets", 0, "", Figure::kLower},
        {"highest_fanout", "Highest fanout", 0, "", Figure::kLower},
        {"nets_routed", "Nets routed", 0, "", Figure::kNeither},
        {"wire_segments", "Wire segments used", 0, "", Figure::kLower},
        {"drc_errors", "DRC errors", 0, "", Figure::kLower},
        {"drc_warnings", "DRC warnings", 0, "", Figure::kLower},
        {"seconds", "Run time", 0, "s", Figure::kLower}};
    return all;
}

std::string betterText(Figure::Better better) {
    switch (better) {
    case Figure::kHigher:
        return "higher";
    case Figure::kLower:
        return "lower";
    default:
        return "";
    }
}

bool parseFigures(const std::string& text, ReportFigures& figures, std::string& reason) {
    JsonObject document;
    JsonArray list;
    if (!ice40::viewJson(text, document))
        return refuse(reason, "it is not valid JSON; it may have been cut short");
    if (!checkKind(document, reason))
        return false;
    ReportFigures result;
    if (!getMember(document, format::kReport, result.report) ||
        !getMember(document, format::kStep, result.step) ||
        !getMember(document, format::kFigures, list))
        return refuse(reason, "a value of it is missing or of the wrong kind");
    for (const JsonValue item : list) {
        Figure figure;
        if (!readFigure(item, figure))
            return refuse(reason, "a figure of it is missing a value or of the wrong kind");
        result.figures.push_back(std::move(figure));
    }
    figures = std::move(result);
    return true;
}

bool readFigures(const std::string& path, ReportFigures& figures, std::string& reason) {
    std::string text;
    std::string why;
    if (ice40::readText(path, text, why, kLargestReport) && parseFigures(text, figures, why))
        return true;
    return refuse(reason, fmt::format("'{}' can't be read: {}", path, why));
}

}  // namespace reports
