// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/ice40/routeStep.h"

#include <algorithm>
#include <optional>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <fmt/format.h>

#include "workbench/ice40/pcf.h"
#include "workbench/ice40/pnrTool.h"
#include "workbench/ice40/stepFailure.h"
#include "workbench/ice40/stepFiles.h"
#include "workbench/ice40/stepProgram.h"

namespace ice40 {

namespace {

constexpr const char* kPlaceAgain = "Run the placement again";

Placement readPlacement(const std::string& path) {
    std::string text;
    std::string reason;
    Placement placement;
    if (!readText(path, text, reason))
        throw StepFailure(fmt::format("placement '{}' can't be read: {}", path, reason),
                          "Run the placement first");
    if (!parsePlacement(text, placement, reason))
        throw StepFailure(fmt::format("placement '{}' can't be used: {}", path, reason),
                          kPlaceAgain);
    if (fingerprintInputs(placement.netlist, placement.constraints) != placement.inputs)
        throw StepFailure(fmt::format("netlist '{}' or its constraints changed since it was placed",
                                      placement.netlist),
                          kPlaceAgain);
    return placement;
}

/// Ports and pins of the constraints alone: icetime aborts at an option of set_io.
std::string plainPins(const std::string& path) {
    std::string text;
    std::string reason;
    if (!readText(path, text, reason))
        throw StepFailure(fmt::format("constraints '{}' can't be read: {}", path, reason),
                          kPlaceAgain);
    std::vector<PcfProblem> problems;
    std::string lines = "# Ports and pins\n";
    for (const PinConstraint& pin : parsePcf(text, problems).pins)
        lines += fmt::format("set_io {} {}\n", pin.port, pin.pin);
    return lines;
}

/// icetime's own estimate of the routed design; it knows nothing of nextpnr.
void addIcetime(const Placement& placement, const std::string& asc, const OutputFile& report,
                StepMetrics& metrics) {
    Placement plain = placement;
    std::optional<OutputFile> pins;
    if (!placement.constraints.empty()) {
        pins.emplace(report.path() + ".pcf");
        pins->write(plainPins(placement.constraints));
        plain.constraints = pins->partPath();
    }
    ToolCommand command;
    command.words = icetimeWords(plain, asc, report.partPath());
    runLoggedTool(command, [&](const std::string& line) {
        if (const std::optional<double> mhz = parseIcetimeLine(line))
            metrics.icetimeMhz = mhz;
    });
}

std::map<std::string, std::string> filesOf(const RouteOptions& options,
                                           const Placement& placement) {
    std::map<std::string, std::string> result{{files::kNetlist, placement.netlist},
                                              {files::kPlacement, options.placement},
                                              {files::kReport, options.report},
                                              {files::kRouted, options.asc}};
    if (!placement.constraints.empty())
        result[files::kConstraints] = placement.constraints;
    if (!options.skipIcetime)
        result[files::kTiming] = options.timing;
    return result;
}

void requireTarget(const StepMetrics& metrics) {
    const ClockTiming* worst = metrics.worstClock();
    if (worst == nullptr || worst->slackNs() >= 0)
        return;
    throw StepFailure(fmt::format("clock '{}' reaches {:.2f} MHz of the {:.2f} MHz asked for",
                                  worst->name, worst->fmaxMhz, worst->targetMhz),
                      "Try another seed or strategy, or ask for less");
}

void declareRouteOptions(CLI::App& app, RouteOptions& options) {
    app.add_option("--placement", options.placement, "Placement record of ice40_place")
        ->capture_default_str();
    app.add_option("--asc", options.asc, "Routed design to write")->required();
    app.add_option("--report", options.report, "Report of the tool to write")
        ->capture_default_str();
    app.add_option("--timing", options.timing, "Timing report of icetime to write")
        ->capture_default_str();
    app.add_option("--metrics", options.metrics, "Metrics to write")->capture_default_str();
    app.add_option("--router", options.router, "Routing algorithm")
        ->check(CLI::IsMember({"router1", "router2"}))
        ->capture_default_str();
    app.add_flag("--tmg-ripup", options.timingRipup, "Rip up and route again for timing; slow");
    app.add_flag("--detailed-timing", options.detailedTiming,
                 "Add the timing of every net to the report");
    app.add_flag("--skip-icetime", options.skipIcetime, "Don't ask icetime for a second opinion");
    app.add_flag("--require-timing", options.requireTiming,
                 "Fail when a clock misses its frequency");
}

}  // namespace

std::vector<std::string> routingWords(const RouteOptions& options) {
    std::vector<std::string> words{"--router", options.router};
    if (options.timingRipup)
        words.emplace_back("--tmg-ripup");
    if (options.detailedTiming)
        words.emplace_back("--detailed-timing-report");
    return words;
}

std::vector<std::string> icetimeWords(const Placement& placement, const std::string& asc,
                                      const std::string& report) {
    std::vector<std::string> words{"icetime", "-d", placement.device, "-P", placement.package};
    if (!placement.constraints.empty())
        words.insert(words.end(), {"-p", placement.constraints});
    words.insert(words.end(), {"-t", "-r", report, asc});
    return words;
}

bool isSamePlacement(const std::vector<std::string>& placed,
                     const std::vector<std::string>& routed) {
    return routed.size() >= placed.size() &&
           std::equal(placed.begin(), placed.end(), routed.begin());
}

void runRoute(const RouteOptions& options) {
    const StepClock clock;
    const Placement placement = readPlacement(options.placement);
    OutputFile asc(options.asc);
    OutputFile report(options.report);
    OutputFile timing(options.timing);
    OutputFile metricsFile(options.metrics);
    std::vector<std::string> words = pnrWords(placement, report.partPath());
    const std::vector<std::string> routing = routingWords(options);
    words.insert(words.end(), routing.begin(), routing.end());
    words.insert(words.end(), {"--asc", asc.partPath()});
    const PnrLog log = runPnr(words);
    asc.requireSpace();
    if (!isSamePlacement(placement.checksums, log.checksums()))
        throw StepFailure(fmt::format("the design was placed otherwise than '{}' records; nextpnr "
                                      "may have been updated",
                                      options.placement),
                          kPlaceAgain);

    StepMetrics metrics;
    metrics.step = "route_design";
    metrics.tool = pnrVersion();
    takePnrReport(report.partPath(), metrics);
    log.addCounts(metrics);
    if (!options.skipIcetime)
        addIcetime(placement, asc.partPath(), timing, metrics);
    printClocks(metrics);
    if (options.requireTiming)
        requireTarget(metrics);
    metrics.files = filesOf(options, placement);
    metrics.seconds = clock.seconds();
    metricsFile.write(formatMetrics(metrics));
    asc.commit();
    report.commit();
    if (!options.skipIcetime)
        timing.commit();
    metricsFile.commit();
}

int routeMain(int argc, char** argv) {
    RouteOptions options;
    CLI::App app("Routes a placed iCE40 design with nextpnr-ice40 and times it with icetime.",
                 "ice40_route");
    declareRouteOptions(app, options);
    return runStep(app, "route_design", argc, argv, [&] { runRoute(options); });
}

}  // namespace ice40
