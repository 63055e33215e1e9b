// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <algorithm>
#include <optional>

#include <fmt/format.h>
#include <tcl.h>

#include "workbench/ice40/stepFailure.h"
#include "workbench/reports/reportCommands.h"

namespace reports {

namespace {

/// Places in the source, as far as the netlist is at hand. Paths are of use
/// without them, so that a lost netlist costs only the places.
class Sources {
public:
    Sources(const StepResults& results, bool wanted, Report& report) {
        if (!wanted)
            return;
        try {
            m_design = &results.design();
        } catch (const ice40::StepFailure& failure) {
            report.head.emplace_back("Source places", std::string("none: ") + failure.what());
        }
    }

    std::string ofHop(const PathHop& hop) const {
        if (m_design == nullptr)
            return {};
        return hop.isRouting() ? m_design->netSource(designName(hop.net))
                               : m_design->placedSource(hop.to.cell);
    }

private:
    const Design* m_design = nullptr;
};

/// Whether an end of a path is meant: its clock, or its first or last cell.
bool isMeant(const std::string& pattern, const std::string& event, const std::string& cell) {
    if (pattern.empty())
        return true;
    const ClockEvent clock = parseEvent(event);
    return Tcl_StringMatch(designName(clock.clock).c_str(), pattern.c_str()) != 0 ||
           Tcl_StringMatch(cell.c_str(), pattern.c_str()) != 0;
}

bool isWanted(const TimingPath& path, const ReportOptions& options) {
    if (path.hops.empty())
        return false;
    return isMeant(options.text("from"), path.from, path.hops.front().to.cell) &&
           isMeant(options.text("to"), path.to, path.hops.back().to.cell);
}

/// What is left of the clock's period, for a path of one clock.
std::optional<double> slackOf(const StepResults& results, const TimingPath& path) {
    const ClockEvent from = parseEvent(path.from);
    if (from.isAsync() || from.clock != parseEvent(path.to).clock)
        return std::nullopt;
    for (const ice40::ClockTiming& clock : results.pnrReport().clocks)
        if (clock.name == from.clock)
            return clock.slackNs();
    return std::nullopt;
}

std::string placeOf(const PathPoint& point) {
    return point.location ? fmt::format("{},{}", point.location->first, point.location->second)
                          : std::string();
}

/// "cell.port" of a hop through a cell, the net of a hop along one.
std::string objectOf(const PathHop& hop) {
    return hop.isRouting() ? "net " + designName(hop.net) : hop.to.cell + "." + hop.to.port;
}

Section describePath(const StepResults& results, const TimingPath& path, std::size_t number,
                     int digits, const Sources& sources) {
    Section section{
        fmt::format("Path {}: {} to {}", number, parseEvent(path.from).shown(),
                    parseEvent(path.to).shown()),
        {},
        {{"Delay ns", true}, {"Total ns", true}, {"Kind"}, {"Through"}, {"To"}, {"At"}, {"Source"}},
        {}};
    section.lines.push_back(
        fmt::format("{:.{}f} ns: {:.{}f} ns logic, {:.{}f} ns routing, {} of logic.",
                    path.delayNs(), digits, path.delayNs() - path.routingNs(), digits,
                    path.routingNs(), digits, counted(path.levels(), "level")));
    if (const std::optional<double> slack = slackOf(results, path))
        section.lines.push_back(fmt::format("Slack of the clock: {:.{}f} ns, {}.", *slack, digits,
                                            *slack >= 0 ? "met" : "MISSED"));
    double total = 0;
    for (const PathHop& hop : path.hops) {
        total += hop.delayNs;
        section.rows.push_back({numberCell(hop.delayNs, digits), numberCell(total, digits),
                                textCell(hop.kind), textCell(objectOf(hop)),
                                textCell(hop.isRouting() ? hop.to.cell + "." + hop.to.port : ""),
                                textCell(placeOf(hop.to)), textCell(sources.ofHop(hop))});
    }
    return section;
}

void addPathSections(const StepResults& results, const ReportOptions& options,
                     const Sources& sources, Report& report) {
    const auto most = static_cast<std::size_t>(options.number("max_paths"));
    std::vector<const TimingPath*> wanted;
    for (const TimingPath& path : results.pnrReport().paths)
        if (isWanted(path, options))
            wanted.push_back(&path);
    std::stable_sort(wanted.begin(), wanted.end(), [](const TimingPath* a, const TimingPath* b) {
        return a->delayNs() > b->delayNs();
    });
    Section section{"Paths",
                    {fmt::format("{} of {} paths shown, the slowest first. nextpnr-ice40 tells "
                                 "the slowest path between each two clock events.",
                                 std::min(most, wanted.size()), wanted.size())},
                    {},
                    {}};
    report.sections.push_back(section);
    for (std::size_t i = 0; i < wanted.size() && i < most; ++i)
        report.sections.push_back(
            describePath(results, *wanted[i], i + 1,
                         static_cast<int>(options.number("significant_digits")), sources));
    if (!wanted.empty())
        report.figures.push_back(
            {"slowest_path", "Slowest path", wanted.front()->delayNs(), "ns", Figure::kLower});
}

void addNets(const StepResults& results, const ReportOptions& options, Report& report) {
    const auto most = static_cast<std::size_t>(options.number("slowest_nets"));
    if (most == 0)
        return;
    Section section{"Nets that are reached last",
                    {},
                    {{"Net"}, {"Reached after ns", true}, {"Driver"}, {"At"}},
                    {}};
    if (!results.pnrReport().hasNets)
        section.lines.emplace_back("The step didn't report the timing of every net. Set option "
                                   "detailed_timing of route_design and run it again.");
    std::vector<NetDelay> nets = results.pnrReport().nets;
    std::stable_sort(nets.begin(), nets.end(),
                     [](const NetDelay& a, const NetDelay& b) { return a.delayNs > b.delayNs; });
    for (std::size_t i = 0; i < nets.size() && i < most; ++i)
        section.rows.push_back(
            {textCell(designName(nets[i].net)),
             numberCell(nets[i].delayNs, static_cast<int>(options.number("significant_digits"))),
             textCell(nets[i].driver), textCell(nets[i].cell + "." + nets[i].port)});
    report.sections.push_back(section);
}

}  // namespace

void fillTiming(const StepResults& results, const ReportOptions& options, Report& report) {
    const Sources sources(results, !options.has("no_source"), report);
    addPathSections(results, options, sources, report);
    addNets(results, options, report);
}

}  // namespace reports
