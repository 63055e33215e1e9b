// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <locale>
#include <sstream>

#include <fmt/format.h>

#include "workbench/ice40/stepFailure.h"
#include "workbench/reports/reportCommands.h"

namespace reports {

namespace {

using ice40::ClockTiming;

/// A number of ns that a user wrote; no limit without the option.
std::optional<double> readLimit(const ReportOptions& options) {
    if (!options.has("slack_below"))
        return std::nullopt;
    std::istringstream stream(options.text("slack_below"));
    stream.imbue(std::locale::classic());
    double limit = 0;
    if (!(stream >> limit) || !stream.eof())
        throw ice40::StepFailure(
            fmt::format("report_timing_summary: option -slack_below can't be '{}'",
                        options.text("slack_below")),
            "Use a number of ns, such as 0.5");
    return limit;
}

std::string missText(const ClockTiming& clock) {
    return fmt::format("Clock {} misses its target: {:.2f} MHz of {:.2f} MHz, slack {:.3f} ns.",
                       designName(clock.name), clock.fmaxMhz, clock.targetMhz, clock.slackNs());
}

void addVerdict(const StepResults& results, const ReportOptions& options, Report& report) {
    Section section{"Verdict", {}, {}, {}};
    const std::vector<ClockTiming>& clocks = results.metrics().clocks;
    long missed = 0;
    for (const ClockTiming& clock : clocks) {
        if (clock.slackNs() >= 0)
            continue;
        ++missed;
        section.lines.push_back(missText(clock));
        if (options.has("warn_on_violation"))
            report.warnings.push_back(missText(clock));
    }
    if (clocks.empty())
        section.lines.emplace_back("The tool reported no clock.");
    else if (missed == 0)
        section.lines.push_back(clocks.size() == 1 ? "The clock meets its target."
                                                   : "All clocks meet their targets.");
    section.lines.push_back(results.isRouting()
                                ? "Delays are those of the routed design."
                                : "Delays are estimates of the placer; routing decides them.");
    report.sections.push_back(section);
    if (const ClockTiming* worst = results.metrics().worstClock()) {
        report.figures.push_back({"fmax", "Fmax", worst->fmaxMhz, "MHz", Figure::kHigher});
        report.figures.push_back(
            {"worst_slack", "Worst slack", worst->slackNs(), "ns", Figure::kHigher});
        report.figures.push_back({"missed_clocks", "Clocks that miss their target",
                                  static_cast<double>(missed), "", Figure::kLower});
    }
}

void addClocks(const StepResults& results, const ReportOptions& options, int digits,
               Report& report) {
    Section section{"Clocks",
                    {},
                    {{"Clock"},
                     {"Fmax MHz", true},
                     {"Target MHz", true},
                     {"Period ns", true},
                     {"Slack ns", true},
                     {"Met"}},
                    {}};
    const std::optional<double> limit = readLimit(options);
    if (limit)
        section.lines.push_back(fmt::format("Clocks with less than {} ns of slack.", *limit));
    for (const ClockTiming& clock : results.metrics().clocks) {
        if (limit && clock.slackNs() >= *limit)
            continue;
        section.rows.push_back(
            {textCell(designName(clock.name)), numberCell(clock.fmaxMhz, 2),
             numberCell(clock.targetMhz, 2), numberCell(1000.0 / clock.targetMhz, digits),
             numberCell(clock.slackNs(), digits), textCell(clock.slackNs() >= 0 ? "yes" : "NO")});
    }
    report.sections.push_back(section);
}

/// Whether both ends belong to one clock, whose Fmax then tells of the path.
bool isWithinClock(const TimingPath& path) {
    const ClockEvent from = parseEvent(path.from);
    return !from.isAsync() && from.clock == parseEvent(path.to).clock;
}

Section pathTable(const char* title) {
    return {title,
            {},
            {{"From"},
             {"To"},
             {"Delay ns", true},
             {"Logic ns", true},
             {"Routing ns", true},
             {"Levels", true}},
            {}};
}

void addPathRow(const TimingPath& path, int digits, Section& section) {
    section.rows.push_back(
        {textCell(parseEvent(path.from).shown()), textCell(parseEvent(path.to).shown()),
         numberCell(path.delayNs(), digits), numberCell(path.delayNs() - path.routingNs(), digits),
         numberCell(path.routingNs(), digits), countCell(path.levels())});
}

void addPathTables(const StepResults& results, const ReportOptions& options, int digits,
                   Report& report) {
    Section within = pathTable("Slowest path of each clock");
    Section across = pathTable("Between clocks, ports and clocks");
    across.lines.emplace_back("The tool checks no target for these delays.");
    for (const TimingPath& path : results.pnrReport().paths)
        addPathRow(path, digits, isWithinClock(path) ? within : across);
    report.sections.push_back(within);
    if (!options.has("no_cross_domain"))
        report.sections.push_back(across);
}

void addSecondOpinion(const StepResults& results, int digits, Report& report) {
    Section section{"Second opinion of icetime", {}, {}, {}};
    const IcetimeReport* icetime = results.icetime();
    if (icetime == nullptr) {
        section.lines.emplace_back("The step didn't ask icetime.");
        report.sections.push_back(section);
        return;
    }
    section.lines.push_back(
        fmt::format("{:.2f} MHz: {:.{}f} ns through {} of logic, over all clocks and ports.",
                    icetime->fmaxMhz, icetime->delayNs, digits, counted(icetime->levels, "level")));
    section.lines.emplace_back("icetime doesn't tell clocks apart and counts the delays from and "
                               "to ports too.");
    report.sections.push_back(section);
    report.figures.push_back(
        {"icetime_fmax", "Fmax by icetime", icetime->fmaxMhz, "MHz", Figure::kHigher});
}

}  // namespace

void fillTimingSummary(const StepResults& results, const ReportOptions& options, Report& report) {
    const int digits = static_cast<int>(options.number("significant_digits"));
    addVerdict(results, options, report);
    addClocks(results, options, digits, report);
    if (!results.isRouting())
        return;
    addPathTables(results, options, digits, report);
    if (!options.has("no_icetime"))
        addSecondOpinion(results, digits, report);
}

}  // namespace reports
