// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/reports/reportCommands.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>

#include <fmt/format.h>
#include <unistd.h>

#include "environment/installation/HUTEnv.h"
#include "workbench/ice40/stepFailure.h"
#include "workbench/ice40/stepFiles.h"

namespace reports {

namespace {

namespace fs = std::filesystem;
using ice40::StepFailure;

constexpr const char* kSynth = "synth_design";
constexpr const char* kPlace = "place_design";
constexpr const char* kRoute = "route_design";

OptionRule flag(const char* name, const char* help) {
    return {name, OptionKind::kSwitch, help};
}

OptionRule number(const char* name, long defaultInt, long least, long most, const char* help) {
    return {name, OptionKind::kInt, help, defaultInt, least, most};
}

OptionRule text(const char* name, const char* help) {
    return {name, OptionKind::kText, help};
}

OptionRule digits() {
    return number("significant_digits", 3, 0, 6, "Digits behind the point of delays");
}

ReportCommand utilization() {
    return {"report_utilization",
            "Utilisation",
            "What the design takes of the device, or its cells by type before placing.",
            {flag("hide_unused", "Leave out resources of which nothing is used"),
             number("warn_above", 100, 0, 100, "Warn of resources of which more percent are used"),
             flag("hierarchical", "Add the cells of each instance"),
             number("hierarchical_depth", 0, 0, 1000, "Levels of instances to show; 0 for all")},
            {kSynth, kPlace, kRoute},
            fillUtilization};
}

ReportCommand timingSummary() {
    return {"report_timing_summary",
            "Timing summary",
            "Whether the clocks meet their targets, and what passes between them.",
            {flag("no_cross_domain", "Leave out what passes between clocks"), digits(),
             flag("no_icetime", "Leave out icetime's second opinion"),
             text("slack_below", "Show only clocks with less slack than so many ns"),
             flag("warn_on_violation", "Tell a missed target as a warning too")},
            {kPlace, kRoute},
            fillTimingSummary};
}

ReportCommand timing() {
    return {"report_timing",
            "Critical paths",
            "The slowest paths, hop by hop, with their places in the source.",
            {number("max_paths", 10, 0, 1000000, "Paths to show"),
             text("from", "Pattern of the clock or cell that a path begins at"),
             text("to", "Pattern of the clock or cell that a path ends at"), digits(),
             flag("no_source", "Leave out the places in the source"),
             number("slowest_nets", 0, 0, 1000000, "Nets to show that are reached last")},
            {kRoute},
            fillTiming};
}

ReportCommand clocks() {
    return {"report_clocks",
            "Clocks",
            "The clocks, where they come from and what is asked of them.",
            {},
            {kPlace, kRoute},
            fillClocks};
}

ReportCommand clockUtilization() {
    return {"report_clock_utilization",
            "Clock utilisation",
            "Global buffers, and what each clock drives.",
            {number("min_loads", 0, 0, 1000000, "Least loads of a clock to be shown")},
            {kPlace, kRoute},
            fillClockUtilization};
}

ReportCommand controlSets() {
    return {"report_control_sets",
            "Control sets",
            "The combinations of clock, enable and reset that flip-flops use.",
            {number("max_sets", 50, 0, 1000000, "Control sets to show")},
            {kSynth, kPlace, kRoute},
            fillControlSets};
}

ReportCommand highFanoutNets() {
    return {"report_high_fanout_nets",
            "High-fanout nets",
            "The nets with the most loads.",
            {number("max_nets", 10, 0, 1000000, "Nets to show"),
             number("min_fanout", 1, 0, 1000000, "Least loads of a net to be shown")},
            {kSynth, kPlace, kRoute},
            fillHighFanoutNets};
}

ReportCommand io() {
    return {"report_io",
            "I/O placement",
            "The ports, their pins and the constraints that place them.",
            {flag("unconstrained_only", "Show only ports without a pin by constraint"),
             text("sort", "Order of the ports: port or pin")},
            {kPlace, kRoute},
            fillIo};
}

ReportCommand drc() {
    return {"report_drc",
            "Design rule checks",
            "What in netlist, constraints and timing is wrong or deserves a look.",
            {text("checks", "Checks to make, such as \"NET-1 CLK-1\"; all without it"),
             text("severity", "Least severity to be shown: error, warning or advice"),
             number("max_messages", 100, 0, 1000000, "Findings to show"),
             flag("messages", "Tell errors and warnings as messages too")},
            {kSynth, kPlace, kRoute},
            fillDrc};
}

ReportCommand routeStatus() {
    return {"report_route_status",
            "Route status",
            "How many nets are routed, and which take the most wire.",
            {number("list_nets", 10, 0, 1000000, "Longest nets to show")},
            {kRoute},
            fillRouteStatus};
}

/// Text or JSON, whole or not at all.
void writeWhole(const std::string& path, const std::string& content) {
    ice40::OutputFile file(path);
    file.write(content);
    file.commit();
}

std::string startOf(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    std::string start(64, '\0');
    stream.read(&start[0], static_cast<std::streamsize>(start.size()));
    start.resize(static_cast<std::size_t>(stream.gcount()));
    return start;
}

/// Whether `path` is a folder of the run, however it is reached.
bool isInside(const fs::path& folder) {
    std::error_code error;
    const fs::path here = fs::canonical(".", error);
    const fs::path there = fs::canonical(folder.empty() ? fs::path(".") : folder, error);
    if (error)
        return false;
    const auto end = std::mismatch(here.begin(), here.end(), there.begin(), there.end());
    return end.first == here.end();
}

[[noreturn]] void refuseFile(const std::string& command, const std::string& path,
                             const std::string& why) {
    throw StepFailure(fmt::format("{}: the report can't go to '{}': {}", command, path, why),
                      "Name a file of its own in the run directory, such as timing.rpt");
}

/// What may have stood there before: nothing, or a report.
void requireReplaceable(const std::string& command, const std::string& path) {
    std::error_code error;
    const fs::file_status status = fs::symlink_status(path, error);
    if (!fs::exists(status))
        return;
    if (!fs::is_regular_file(status))
        refuseFile(command, path, "that is no regular file");
    const std::string start = startOf(path);
    if (!start.empty() && !isReport(start))
        refuseFile(command, path, "that is a file of another kind, which would be lost");
}

std::string runName() {
    std::error_code error;
    return fs::current_path(error).filename().string();
}

void addIfSet(Report& report, const char* name, const std::string& value) {
    if (!value.empty())
        report.head.emplace_back(name, value);
}

void fillHead(const StepResults& results, Report& report) {
    const ice40::StepMetrics& metrics = results.metrics();
    report.head.emplace_back("Run directory", runName());
    report.head.emplace_back("Step", results.step());
    addIfSet(report, "Tool", metrics.tool);
    if (!results.isSynthesis()) {
        const ice40::Placement& placement = results.placement();
        addIfSet(report, "Device", placement.device + ", package " + placement.package);
    }
    addIfSet(report, "Netlist", results.fileOf(ice40::files::kNetlist));
    addIfSet(report, "Constraints", results.fileOf(ice40::files::kConstraints));
    report.head.emplace_back("Made by", HUTEnv::getProductName() + " " +
                                            HUTEnv::getProductMajorMinorVersion());
}

/// @throws StepFailure the command can't report on that step.
void requireStep(const ReportCommand& command, const std::string& step) {
    const auto& steps = command.steps;
    if (std::any_of(steps.begin(), steps.end(), [&](const char* one) { return step == one; }))
        return;
    std::string known;
    for (const char* one : steps)
        known += (known.empty() ? "" : " or ") + std::string(one);
    throw StepFailure(fmt::format("{}: step {} can't give this report", command.name, step),
                      fmt::format("Make it for step {}", known));
}

std::string valueWord(OptionKind kind) {
    switch (kind) {
    case OptionKind::kInt:
        return " N";
    case OptionKind::kText:
        return " TEXT";
    default:
        return "";
    }
}

}  // namespace

const std::vector<ReportCommand>& reportCommands() {
    static const std::vector<ReportCommand> kCommands{
        clockUtilization(), clocks(), controlSets(),   drc(),        highFanoutNets(), io(),
        routeStatus(),      timing(), timingSummary(), utilization()};
    return kCommands;
}

std::vector<OptionRule> allOptions(const ReportCommand& command) {
    std::vector<OptionRule> rules = command.options;
    rules.push_back(text("file", "File of the run directory to write instead of printing"));
    rules.push_back(text("json", "File for the report as JSON"));
    rules.push_back(flag("help", "Show this help"));
    return rules;
}

Report makeReport(const ReportCommand& command, const StepResults& results,
                  const ReportOptions& options) {
    requireStep(command, results.step());
    Report report;
    report.command = command.name;
    report.title = command.title;
    report.step = results.step();
    fillHead(results, report);
    command.fill(results, options, report);
    return report;
}

std::string runReportCommand(const ReportCommand& command, const StepResults& results,
                             const std::vector<std::string>& words,
                             std::vector<std::string>& warnings) {
    const ReportOptions options(command.name, allOptions(command), words);
    if (options.has("help"))
        return helpOf(command);
    const std::string file = options.text("file");
    const std::string json = options.text("json");
    for (const char* name : {"file", "json"})
        if (options.has(name))
            requireReportFile(command.name, options.text(name));
    if (options.has("file") && file == json)
        refuseFile(command.name, file, "-file and -json name the same file");
    const Report report = makeReport(command, results, options);
    if (options.has("json"))
        writeWhole(json, formatJson(report));
    if (options.has("file"))
        writeWhole(file, formatText(report));
    warnings = report.warnings;
    return options.has("file") ? std::string() : formatText(report);
}

std::string helpOf(const ReportCommand& command) {
    std::string out = fmt::format("{}: {}\n\nOptions:\n", command.name, command.help);
    for (const OptionRule& rule : allOptions(command)) {
        const std::string name = fmt::format("-{}{}", rule.name, valueWord(rule.kind));
        out += fmt::format("  {:<24}{}", name, rule.help);
        out += rule.kind == OptionKind::kInt ? fmt::format(" ({} to {}, default {})\n", rule.least,
                                                           rule.most, rule.defaultInt)
                                             : std::string("\n");
    }
    return out;
}

void requireReportFile(const std::string& command, const std::string& path) {
    const fs::path file(path);
    const std::string name = file.filename().string();
    if (name.empty() || name == "." || name == "..")
        refuseFile(command, path, "that is no name of a file");
    if (std::any_of(file.begin(), file.end(), [](const fs::path& part) { return part == ".."; }))
        refuseFile(command, path, "'..' leads out of the folder that stands before it");
    if (!isInside(file.parent_path()))
        refuseFile(command, path, "that folder isn't in the run directory");
    if (name.front() == '.')
        refuseFile(command, path, "hidden names are kept for the markers of the run");
    requireReplaceable(command, path);
}

}  // namespace reports
