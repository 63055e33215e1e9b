// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <algorithm>

#include <fmt/format.h>

#include "workbench/reports/designNets.h"
#include "workbench/reports/reportCommands.h"
#include "workbench/reports/texts.h"

namespace reports {

namespace {

std::string edgesOf(const DesignClock* clock) {
    if (clock == nullptr)
        return {};
    if (clock->rising > 0 && clock->falling > 0)
        return "both";
    return clock->falling > 0 ? "falling" : "rising";
}

/// Where the target of a clock comes from.
std::string targetOrigin(const StepResults& results, const ice40::ClockTiming& clock) {
    for (const ice40::ClockConstraint& constraint : results.constraints().clocks)
        if (constraint.net == clock.name || constraint.net == designName(clock.name))
            return fmt::format("constraints, line {}", constraint.line);
    return "default of the run";
}

/// The wires that a clock takes through the device, as nextpnr names them.
std::string networkOf(const StepResults& results, const DesignClock& clock) {
    for (const ice40::ClockTiming& timing : results.metrics().clocks) {
        if (designName(timing.name) != clock.name)
            continue;
        if (endsWith(timing.name, "_$glb_clk"))
            return "global buffer";
        return clock.isFromPll ? "global, from the PLL" : "general routing";
    }
    return {};
}

void addBuffers(const StepResults& results, Report& report) {
    Section section{"Global buffers", {}, {}, {}};
    const auto& all = results.pnrReport().utilisation;
    const auto found = std::find_if(all.begin(), all.end(),
                                    [](const Utilisation& one) { return one.type == "SB_GB"; });
    if (found == all.end()) {
        section.lines.emplace_back("The tool reported no global buffers.");
    } else {
        section.lines.push_back(fmt::format("{} of {} are used.", found->used, found->available));
        report.figures.push_back({"global_buffers", "Global buffers",
                                  static_cast<double>(found->used), "", Figure::kLower});
    }
    report.sections.push_back(section);
}

/// Enables and resets that were given a global buffer.
void addOtherGlobals(const StepResults& results, Report& report) {
    Section section{"Other global signals", {}, {{"Signal"}, {"Use"}}, {}};
    for (const auto& entry : results.routedNets().segments) {
        if (endsWith(entry.first, "_$glb_sr"))
            section.rows.push_back({textCell(designName(entry.first)), textCell("set or reset")});
        else if (endsWith(entry.first, "_$glb_ce"))
            section.rows.push_back({textCell(designName(entry.first)), textCell("enable")});
    }
    report.sections.push_back(section);
}

}  // namespace

void fillClocks(const StepResults& results, const ReportOptions&, Report& report) {
    const Design& design = results.design();
    const std::vector<DesignClock> clocks = findClocks(design, findUses(design));
    Section section{"Clocks",
                    {},
                    {{"Clock"},
                     {"Source"},
                     {"Edges"},
                     {"Target MHz", true},
                     {"Period ns", true},
                     {"Target from"},
                     {"Fmax MHz", true},
                     {"Net of the tool"}},
                    {}};
    for (const ice40::ClockTiming& timing : results.metrics().clocks) {
        const DesignClock* clock = findClock(clocks, designName(timing.name));
        section.rows.push_back(
            {textCell(designName(timing.name)), textCell(clock == nullptr ? "" : clock->source),
             textCell(edgesOf(clock)), numberCell(timing.targetMhz, 2),
             numberCell(1000.0 / timing.targetMhz, 3), textCell(targetOrigin(results, timing)),
             numberCell(timing.fmaxMhz, 2), textCell(timing.name)});
    }
    if (section.rows.empty())
        section.lines.emplace_back("The tool reported no clock.");
    report.figures.push_back(
        {"clocks", "Clocks", static_cast<double>(section.rows.size()), "", Figure::kNeither});
    report.sections.push_back(section);
}

void fillClockUtilization(const StepResults& results, const ReportOptions& options,
                          Report& report) {
    const Design& design = results.design();
    addBuffers(results, report);
    Section section{"Loads of the clocks",
                    {},
                    {{"Clock"},
                     {"Source"},
                     {"Network"},
                     {"Rising", true},
                     {"Falling", true},
                     {"RAM ports", true},
                     {"Others", true},
                     {"Total", true}},
                    {}};
    const long least = options.number("min_loads");
    if (least > 0)
        section.lines.push_back(fmt::format("Clocks with {} loads or more.", least));
    for (const DesignClock& clock : findClocks(design, findUses(design)))
        if (clock.loads() >= least)
            section.rows.push_back({textCell(clock.name), textCell(clock.source),
                                    textCell(networkOf(results, clock)), countCell(clock.rising),
                                    countCell(clock.falling), countCell(clock.rams),
                                    countCell(clock.others), countCell(clock.loads())});
    report.sections.push_back(section);
    if (results.isRouting())
        addOtherGlobals(results, report);
}

}  // namespace reports
