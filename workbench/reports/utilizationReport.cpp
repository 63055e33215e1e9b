// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <algorithm>
#include <map>

#include <fmt/format.h>

#include "workbench/reports/reportCommands.h"

namespace reports {

namespace {

struct ResourceName {
    const char* type;
    const char* shown;
};

constexpr ResourceName kResources[] = {
    {"ICESTORM_LC", "Logic cells"},
    {"ICESTORM_RAM", "Block RAMs"},
    {"SB_IO", "I/O cells"},
    {"SB_GB", "Global buffers"},
    {"ICESTORM_PLL", "PLLs"},
    {"ICESTORM_DSP", "Multipliers"},
    {"ICESTORM_SPRAM", "Large RAMs"},
    {"ICESTORM_HFOSC", "High-speed oscillators"},
    {"ICESTORM_LFOSC", "Low-speed oscillators"},
    {"SB_WARMBOOT", "Warm boot"},
    {"SB_SPI", "SPI blocks"},
    {"SB_I2C", "I2C blocks"},
    {"SB_RGBA_DRV", "LED drivers"},
    {"SB_LEDDA_IP", "LED controllers"},
};

/// A name of the tool that nobody explained stands for itself.
std::string shownName(const std::string& type) {
    for (const ResourceName& resource : kResources)
        if (type == resource.type)
            return resource.shown;
    return type;
}

double percentOf(const Utilisation& entry) {
    return 100.0 * static_cast<double>(entry.used) / static_cast<double>(entry.available);
}

void addCount(const ice40::StepMetrics& metrics, const char* name, const char* label,
              Report& report) {
    if (const std::optional<long> count = metrics.count(name))
        report.figures.push_back({name, label, static_cast<double>(*count), "", Figure::kLower});
}

void addFigures(const ice40::StepMetrics& metrics, Report& report) {
    addCount(metrics, ice40::counts::kLogicCells, "Logic cells", report);
    addCount(metrics, ice40::counts::kLuts, "LUTs", report);
    addCount(metrics, ice40::counts::kFlipFlops, "Flip-flops", report);
    addCount(metrics, ice40::counts::kCarries, "Carry cells", report);
    addCount(metrics, ice40::counts::kBlockRams, "Block RAMs", report);
    addCount(metrics, ice40::counts::kDsps, "Multipliers", report);
    addCount(metrics, ice40::counts::kIos, "I/O cells", report);
    addCount(metrics, ice40::counts::kGlobalBuffers, "Global buffers", report);
    addCount(metrics, ice40::counts::kCells, "Cells", report);
}

void warnAbove(const Utilisation& entry, long limit, Section& section, Report& report) {
    if (entry.available == 0 || percentOf(entry) <= static_cast<double>(limit))
        return;
    const std::string text = fmt::format("{}: {:.1f} % used, more than {} %.",
                                         shownName(entry.type), percentOf(entry), limit);
    section.lines.push_back(text);
    report.warnings.push_back(text);
}

void addDevice(const StepResults& results, const ReportOptions& options, Report& report) {
    Section section{
        "Device",
        {},
        {{"Resource"}, {"Cell type"}, {"Used", true}, {"Available", true}, {"Used %", true}},
        {}};
    for (const Utilisation& entry : results.pnrReport().utilisation) {
        if (entry.used == 0 && options.has("hide_unused"))
            continue;
        section.rows.push_back({textCell(shownName(entry.type)), textCell(entry.type),
                                countCell(entry.used), countCell(entry.available),
                                entry.available > 0 ? numberCell(percentOf(entry), 1) : noCell()});
        if (entry.type == "ICESTORM_LC" && entry.available > 0)
            report.figures.push_back(
                {"logic_cells_percent", "Logic cells used", percentOf(entry), "%", Figure::kLower});
        warnAbove(entry, options.number("warn_above"), section, report);
    }
    report.sections.push_back(section);
}

void addPackingRow(const ice40::StepMetrics& metrics, const char* name, const char* label,
                   Section& section) {
    if (const std::optional<long> count = metrics.count(name))
        section.rows.push_back({textCell(label), countCell(*count)});
}

/// What the logic cells hold; the placer tells it in its messages only.
void addPacking(const StepResults& results, Report& report) {
    Section section{"Contents of the logic cells", {}, {{"Kind"}, {"Cells", true}}, {}};
    addPackingRow(results.metrics(), ice40::counts::kLuts, "LUTs", section);
    addPackingRow(results.metrics(), ice40::counts::kFlipFlops, "Flip-flops", section);
    if (!section.rows.empty())
        report.sections.push_back(section);
}

void addCells(const StepResults& results, Report& report) {
    const ice40::CellCounts& counts = results.cellCounts();
    Section section{"Cells by type", {}, {{"Cell type"}, {"Cells", true}}, {}};
    section.lines.push_back(fmt::format("{} cells before packing and placing.", counts.cells));
    for (const auto& entry : counts.byType)
        section.rows.push_back({textCell(entry.first), countCell(entry.second)});
    report.sections.push_back(section);
}

/// The cells of one instance with all that is in it.
struct InstanceCells {
    long luts = 0;
    long flipFlops = 0;
    long carries = 0;
    long rams = 0;
    long others = 0;

    void add(const std::string& type) {
        const auto is = [&](const char* start) { return type.rfind(start, 0) == 0; };
        if (is("SB_LUT4"))
            ++luts;
        else if (is("SB_DFF"))
            ++flipFlops;
        else if (is("SB_CARRY"))
            ++carries;
        else if (is("SB_RAM40_4K"))
            ++rams;
        else
            ++others;
    }
};

/// `instance` and all instances around it, the top one (empty) last.
std::vector<std::string> chainOf(std::string instance) {
    std::vector<std::string> chain;
    for (; !instance.empty(); instance = instanceOf(instance))
        chain.push_back(instance);
    chain.emplace_back();
    return chain;
}

bool isWithin(const std::string& instance, long depth) {
    if (depth == 0 || instance.empty())
        return true;
    return std::count(instance.begin(), instance.end(), '.') < depth;
}

void addHierarchy(const StepResults& results, long depth, Report& report) {
    const Design& design = results.design();
    std::map<std::string, InstanceCells> instances;
    for (const DesignCell& cell : design.cells)
        for (const std::string& instance : chainOf(instanceOf(cell.name)))
            instances[instance].add(cell.type);
    Section section{"Instances",
                    {"Cells of the netlist, each instance with all that is in it. After "
                     "flattening a cell belongs where its name says."},
                    {{"Instance"},
                     {"LUTs", true},
                     {"Flip-flops", true},
                     {"Carries", true},
                     {"RAMs", true},
                     {"Others", true}},
                    {}};
    for (const auto& entry : instances) {
        if (!isWithin(entry.first, depth))
            continue;
        const InstanceCells& cells = entry.second;
        section.rows.push_back({textCell(entry.first.empty() ? design.top : entry.first),
                                countCell(cells.luts), countCell(cells.flipFlops),
                                countCell(cells.carries), countCell(cells.rams),
                                countCell(cells.others)});
    }
    report.sections.push_back(section);
}

}  // namespace

void fillUtilization(const StepResults& results, const ReportOptions& options, Report& report) {
    addFigures(results.metrics(), report);
    if (results.isSynthesis()) {
        addCells(results, report);
    } else {
        addDevice(results, options, report);
        addPacking(results, report);
    }
    if (options.has("hierarchical"))
        addHierarchy(results, options.number("hierarchical_depth"), report);
}

}  // namespace reports
