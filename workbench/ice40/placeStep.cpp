// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/ice40/placeStep.h"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <fmt/format.h>

#include "workbench/ice40/devices.h"
#include "workbench/ice40/placement.h"
#include "workbench/ice40/pnrTool.h"
#include "workbench/ice40/stepFailure.h"
#include "workbench/ice40/stepFiles.h"
#include "workbench/ice40/stepProgram.h"

namespace ice40 {

namespace {

void declareFiles(CLI::App& app, PlaceOptions& options) {
    app.add_option("--netlist", options.netlist, "Netlist of the synthesis")->required();
    app.add_option("--top", options.top, "Top module; without it the one that is marked as top");
    app.add_option("--pcf", options.constraints, "Physical constraints");
    app.add_option("--device", options.device, "Device")->capture_default_str();
    app.add_option("--package", options.package, "Package of the device")->capture_default_str();
    app.add_option("--placement", options.placement, "Placement record to write, for the routing")
        ->capture_default_str();
    app.add_option("--report", options.report, "Report of the tool to write")
        ->capture_default_str();
    app.add_option("--metrics", options.metrics, "Metrics to write")->capture_default_str();
    app.add_option("--svg", options.picture, "Picture of the placement to write");
}

void declarePlaceOptions(CLI::App& app, PlaceOptions& options) {
    declareFiles(app, options);
    app.add_option("--freq", options.freqMhz, "Target of all clocks in MHz")
        ->check(CLI::Range(0.001, 10000.0))
        ->capture_default_str();
    app.add_option("--seed", options.seed, "Start of the random numbers")
        ->check(CLI::Range(0, 2147483647))
        ->capture_default_str();
    app.add_option("--placer", options.placer, "heap is analytical, sa is simulated annealing")
        ->check(CLI::IsMember({"heap", "sa"}))
        ->capture_default_str();
    app.add_option("--placer-heap-timingweight", options.heapTimingWeight,
                   "Weight of timing against wire length in the heap placer")
        ->check(CLI::Range(0, 1000))
        ->capture_default_str();
    app.add_option("--placer-heap-critexp", options.heapCritExp,
                   "How sharply the heap placer prefers critical nets")
        ->check(CLI::Range(0, 20))
        ->capture_default_str();
    for (const PlaceSwitch& one : placeSwitches()) {
        const std::string name = one.name;
        app.add_flag_callback(
            name, [&options, name] { options.switches.push_back(name); }, one.help);
    }
}

Placement describe(const PlaceOptions& options) {
    Placement placement;
    placement.top = options.top;
    placement.device = findDevice(options.device).name;
    placement.package = options.package;
    placement.netlist = options.netlist;
    placement.constraints = options.constraints;
    placement.freqMhz = options.freqMhz;
    placement.words = placementWords(options);
    return placement;
}

}  // namespace

const std::vector<PlaceSwitch>& placeSwitches() {
    static const std::vector<PlaceSwitch> kSwitches{
        {"--no-tmdriv", "Place for wire length only"},
        {"--opt-timing", "Move cells of critical paths after placing"},
        {"--no-promote-globals", "Leave clocks, enables and resets off the global nets"},
        {"--promote-logic", "Let other logic use the global nets too"},
        {"--placer-budgets", "Weigh nets by their timing budget instead of their criticality"},
        {"--ignore-loops", "Leave combinational loops out of the timing"},
    };
    return kSwitches;
}

std::vector<std::string> placementWords(const PlaceOptions& options) {
    std::vector<std::string> words{"--seed", std::to_string(options.seed), "--placer",
                                   options.placer};
    if (options.placer == "heap")
        words.insert(words.end(),
                     {"--placer-heap-timingweight", std::to_string(options.heapTimingWeight),
                      "--placer-heap-critexp", std::to_string(options.heapCritExp)});
    words.insert(words.end(), options.switches.begin(), options.switches.end());
    return words;
}

void runPlace(const PlaceOptions& options) {
    const StepClock clock;
    Placement placement = describe(options);
    const auto meanings = inputMeanings(options.netlist, options.constraints);
    placement.inputs = fingerprintInputs(meanings);
    OutputFile report(options.report);
    OutputFile record(options.placement);
    OutputFile metricsFile(options.metrics);
    std::vector<std::string> words = pnrWords(placement, report.partPath());
    words.emplace_back("--no-route");
    std::optional<OutputFile> picture;
    if (!options.picture.empty()) {
        picture.emplace(options.picture);
        words.insert(words.end(), {"--placed-svg", picture->partPath()});
    }
    const PnrLog log = runPnr(words);
    record.requireSpace();
    if (log.checksums().empty())
        throw StepFailure("nextpnr-ice40 told no checksum of its placement",
                          "Install nextpnr-ice40 0.4 or newer");

    StepMetrics metrics;
    metrics.step = "place_design";
    metrics.tool = pnrVersion();
    takePnrReport(report.partPath(), metrics);
    metrics.clocks = log.clocks();
    log.addCounts(metrics);
    metrics.files = {{files::kNetlist, options.netlist},
                     {files::kPlacement, options.placement},
                     {files::kReport, options.report}};
    if (!options.constraints.empty())
        metrics.files[files::kConstraints] = options.constraints;
    metrics.meanings = meanings;
    metrics.seconds = clock.seconds();
    placement.checksums = log.checksums();
    record.write(formatPlacement(placement));
    metricsFile.write(formatMetrics(metrics));
    if (picture)
        picture->commit();
    report.commit();
    record.commit();
    metricsFile.commit();
    printClocks(metrics);
}

int placeMain(int argc, char** argv) {
    PlaceOptions options;
    CLI::App app("Packs and places an iCE40 netlist with nextpnr-ice40.", "ice40_place");
    declarePlaceOptions(app, options);
    return runStep(app, "place_design", argc, argv, [&] { runPlace(options); });
}

}  // namespace ice40
