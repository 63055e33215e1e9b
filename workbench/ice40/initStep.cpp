// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/ice40/initStep.h"

#include <algorithm>
#include <cstdio>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <fmt/format.h>

#include "workbench/ice40/devices.h"
#include "workbench/ice40/netlist.h"
#include "workbench/ice40/pcf.h"
#include "workbench/ice40/placement.h"
#include "workbench/ice40/stepFailure.h"
#include "workbench/ice40/stepFiles.h"
#include "workbench/ice40/stepProgram.h"

namespace ice40 {

namespace {

Netlist readNetlist(const InitOptions& options) {
    std::string text;
    std::string reason;
    Netlist netlist;
    if (!readText(options.netlist, text, reason))
        throw StepFailure(fmt::format("netlist '{}' can't be read: {}", options.netlist, reason),
                          "Run the synthesis first, or correct the file's name");
    if (!parseNetlist(text, options.top, netlist, reason))
        throw StepFailure(fmt::format("netlist '{}' can't be used: {}", options.netlist, reason),
                          "Run the synthesis again, or correct the name of the top module");
    return netlist;
}

std::string readConstraints(const InitOptions& options) {
    std::string text;
    std::string reason;
    if (!options.constraints.empty() && !readText(options.constraints, text, reason))
        throw StepFailure(
            fmt::format("constraints file '{}' can't be read: {}", options.constraints, reason),
            "Correct the file's name in the project");
    return text;
}

std::string whereOf(const InitOptions& options, const PcfProblem& problem) {
    if (options.constraints.empty())
        return "without a constraints file";
    return problem.line == 0 ? options.constraints
                             : fmt::format("{}:{}", options.constraints, problem.line);
}

/// Line order, with what concerns the whole file last.
bool isBefore(const PcfProblem& one, const PcfProblem& other) {
    return one.line != 0 && (other.line == 0 || one.line < other.line);
}

/// A single problem is the failure itself; several are printed and counted.
void failFor(const InitOptions& options, const std::vector<PcfProblem>& problems) {
    if (problems.empty())
        return;
    if (problems.size() == 1)
        throw StepFailure(whereOf(options, problems[0]) + ": " + problems[0].text, "");
    for (const PcfProblem& problem : problems)
        std::fprintf(stderr, "ERROR: ice40_init: %s: %s\n", whereOf(options, problem).c_str(),
                     problem.text.c_str());
    throw StepFailure(
        fmt::format("{} problems in the constraints of '{}'", problems.size(), options.netlist),
        "Correct the lines named above and run the step again");
}

void declareInitOptions(CLI::App& app, InitOptions& options) {
    app.add_option("--netlist", options.netlist, "Netlist of the synthesis")->required();
    app.add_option("--top", options.top, "Top module; without it the one that is marked as top");
    app.add_option("--pcf", options.constraints, "Physical constraints");
    app.add_option("--device", options.device, "Device")->capture_default_str();
    app.add_option("--package", options.package, "Package of the device")->capture_default_str();
    app.add_option("--chipdb", options.databaseFolder, "Folder of the chip databases")
        ->capture_default_str();
    app.add_option("--metrics", options.metrics, "Metrics to write")->capture_default_str();
    app.add_flag("--allow-unconstrained", options.allowUnconstrained,
                 "Let the placer choose pins for ports without one");
}

}  // namespace

void runInit(const InitOptions& options) {
    const StepClock clock;
    const Device& device = findDevice(options.device);
    const PackagePins packages = readPackages(device, options.databaseFolder);
    const std::set<std::string>& pins = findPackage(packages, device, options.package);
    printLine(fmt::format("Device {} in package {}: {} pins for signals", device.name,
                          options.package, pins.size()));
    const Netlist netlist = readNetlist(options);
    printLine(fmt::format("Netlist '{}': top module '{}', {} port bits, {} cells", options.netlist,
                          netlist.top, netlist.ports.size(), netlist.cells));
    std::vector<PcfProblem> problems;
    const Constraints constraints = parsePcf(readConstraints(options), problems);
    for (const PcfProblem& problem :
         checkPins(constraints, netlist.ports, pins, options.package, options.allowUnconstrained))
        problems.push_back(problem);
    std::stable_sort(problems.begin(), problems.end(), isBefore);
    failFor(options, problems);
    if (options.constraints.empty())
        printLine("No constraints: the placer chooses all pins");
    else
        printLine(fmt::format("Constraints '{}': {} pins, {} clocks", options.constraints,
                              constraints.pins.size(), constraints.clocks.size()));

    StepMetrics metrics;
    metrics.step = "init_design";
    metrics.meanings = inputMeanings(options.netlist, options.constraints);
    metrics.counts[counts::kPortBits] = static_cast<long>(netlist.ports.size());
    metrics.counts[counts::kConstrainedBits] = static_cast<long>(constraints.pins.size());
    metrics.counts[counts::kCells] = netlist.cells;
    metrics.files = {{files::kNetlist, options.netlist}};
    if (!options.constraints.empty())
        metrics.files[files::kConstraints] = options.constraints;
    metrics.seconds = clock.seconds();
    OutputFile file(options.metrics);
    file.write(formatMetrics(metrics));
    file.commit();
}

int initMain(int argc, char** argv) {
    InitOptions options;
    options.databaseFolder = defaultDatabaseFolder();
    CLI::App app("Checks netlist, constraints, device and package of an iCE40 implementation.",
                 "ice40_init");
    declareInitOptions(app, options);
    return runStep(app, "init_design", argc, argv, [&] { runInit(options); });
}

}  // namespace ice40
