// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/ice40/synthStep.h"

#include <algorithm>
#include <set>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include "workbench/ice40/devices.h"
#include "workbench/ice40/meaning.h"
#include "workbench/ice40/stepFailure.h"
#include "workbench/ice40/stepFiles.h"
#include "workbench/ice40/stepProgram.h"

namespace ice40 {

namespace {

constexpr const char* kAway =
    "Check that the outputs of the top module depend on the design, and leave out options that "
    "lose initial values, such as --retime; or accept it with --allow-empty";

bool isOn(const SynthOptions& options, const std::string& name) {
    return std::find(options.switches.begin(), options.switches.end(), name) !=
           options.switches.end();
}

/// A word of a yosys script; yosys ends words at blanks and semicolons.
std::string scriptWord(const std::string& what, const std::string& word) {
    if (word.empty() || word.find_first_of(" \t\r\n;\"#") != std::string::npos)
        throw StepFailure(
            fmt::format("{} '{}' is empty or holds a blank, a quote, '#' or ';'", what, word),
            "Give it another name");
    return word;
}

std::string quotedPath(const std::string& path) {
    if (path.empty() || path.find_first_of("\r\n\"") != std::string::npos)
        throw StepFailure(fmt::format("source '{}' is empty or holds a quote or a line end", path),
                          "Rename the file");
    return '"' + path + '"';
}

bool isSystemVerilog(const std::string& path) {
    return path.size() > 3 && path.compare(path.size() - 3, 3, ".sv") == 0;
}

std::string readCommand(const SynthOptions& options, const std::string& source) {
    std::string command = "read_verilog";
    if (isSystemVerilog(source))
        command += " -sv";
    for (const std::string& define : options.defines)
        command += " -D" + scriptWord("define", define);
    for (const std::string& folder : options.includes)
        command += " -I" + scriptWord("include folder", folder);
    return command + " " + quotedPath(source);
}

std::string readCommands(const SynthOptions& options) {
    std::string commands;
    for (const std::string& source : options.sources)
        commands += readCommand(options, source) + "; ";
    return commands;
}

/// From the sources that were read, what is parametrised and chosen by the top module.
std::string writeElaboration(const SynthOptions& options, const std::string& path) {
    return fmt::format("hierarchy -top {}; write_rtlil {}", scriptWord("top module", options.top),
                       quotedPath(path));
}

std::string synthCommand(const SynthOptions& options) {
    const std::string family = options.deviceFamily == "auto"
                                   ? findDevice(options.device).timingFamily
                                   : options.deviceFamily;
    std::string command = fmt::format("synth_ice40 -device {} -top {}", family,
                                      scriptWord("top module", options.top));
    for (const std::string& name : options.switches)
        command += " -" + name;
    if (options.dffeMinCeUse > 0)
        command += fmt::format(" -dffe_min_ce_use {}", options.dffeMinCeUse);
    return command;
}

void refusePair(const SynthOptions& options, const std::string& first, const std::string& second) {
    if (isOn(options, first) && isOn(options, second))
        throw StepFailure(fmt::format("--{} and --{} exclude each other", first, second),
                          "Choose one of the two");
}

void requireReadable(const std::vector<std::string>& sources) {
    for (const std::string& source : sources) {
        std::string text;
        std::string reason;
        if (!readText(source, text, reason))
            throw StepFailure(fmt::format("source '{}' can't be read: {}", source, reason),
                              "Correct the list of sources");
    }
}

std::string textOf(const OutputFile& file) {
    std::string text;
    std::string reason;
    if (!readText(file.partPath(), text, reason))
        throw StepFailure(fmt::format("'{}' can't be read back: {}", file.path(), reason),
                          "Run the step again");
    return text;
}

CellCounts countsOf(const OutputFile& file) {
    CellCounts counts;
    std::string reason;
    if (!parseStatReport(textOf(file), counts, reason))
        throw StepFailure(
            fmt::format("the cell counts in '{}' can't be used: {}", file.path(), reason),
            "Run the step again");
    return counts;
}

Netlist netlistOf(const OutputFile& file, const std::string& top) {
    Netlist netlist;
    std::string reason;
    if (!parseNetlist(textOf(file), top, netlist, reason))
        throw StepFailure(fmt::format("the netlist '{}' can't be used: {}", file.path(), reason),
                          "Run the step again");
    return netlist;
}

/// Runs yosys with every line in the log once: its log is line by line, its
/// standard error repeats the warnings and errors of the log.
void runYosys(const ToolCommand& command) {
    printLine("Command: " + command.shown());
    ToolErrors errors;
    std::set<std::string> seen;
    std::vector<std::string> repeated;
    const LineSink onLog = [&](const std::string& line) {
        printLine(line);
        errors.readLine(line);
        if (line.find("ERROR") != std::string::npos || line.find("arning") != std::string::npos)
            seen.insert(line);
    };
    const ToolEnd end =
        runTool(command, onLog, [&](const std::string& line) { repeated.push_back(line); });
    for (const std::string& line : repeated)
        if (seen.count(line) == 0)
            onLog(line);
    errors.require(command.words.front(), end);
}

void checkResult(const SynthOptions& options, const CellCounts& before, const CellCounts& after,
                 const Netlist& netlist) {
    const std::optional<std::string> away = findOptimisedAway(before, after, netlist);
    if (away && !options.allowEmpty)
        throw StepFailure(*away, kAway);
    if (away)
        warn(*away);
    const std::vector<std::string> constant = constantOutputs(netlist);
    if (!constant.empty())
        warn(fmt::format("{} of the outputs of '{}' never change: {}", constant.size(), netlist.top,
                         fmt::join(constant, ", ")));
}

void declareSynthOptions(CLI::App& app, SynthOptions& options) {
    app.add_option("sources", options.sources, "Verilog files; .sv is read as SystemVerilog")
        ->required();
    app.add_option("--top", options.top, "Top module")->required();
    app.add_option("--json", options.json, "Netlist to write")->required();
    app.add_option("--device", options.device, "Device, for its timing family")
        ->capture_default_str();
    app.add_option("--stat", options.stat, "Report of cell counts to write")->capture_default_str();
    app.add_option("--metrics", options.metrics, "Metrics to write")->capture_default_str();
    app.add_option("--define", options.defines, "Macro NAME or NAME=VALUE; may be repeated")
        ->allow_extra_args(false);
    app.add_option("--include", options.includes, "Folder of included files; may be repeated")
        ->allow_extra_args(false);
    app.add_option("--device-family", options.deviceFamily,
                   "Timing model that --abc9 optimises for")
        ->check(CLI::IsMember({"auto", "hx", "lp", "u"}))
        ->capture_default_str();
    app.add_option("--dffe-min-ce-use", options.dffeMinCeUse,
                   "Least flip-flops that share an enable for it to be used; 0 is yosys' choice")
        ->check(CLI::Range(0, 100000))
        ->capture_default_str();
    app.add_flag("--allow-empty", options.allowEmpty,
                 "Accept a design of which no register or no changing output is left");
    for (const SynthSwitch& one : synthSwitches()) {
        const std::string name = one.name;
        app.add_flag_callback(
            "--" + name, [&options, name] { options.switches.push_back(name); }, one.help);
    }
}

}  // namespace

const std::vector<SynthSwitch>& synthSwitches() {
    static const std::vector<SynthSwitch> kSwitches{
        {"abc9", "Map to LUTs with abc9, which knows the device's delays"},
        {"abc2", "Map to LUTs in two passes, for slightly fewer of them"},
        {"dff", "Let the mapper move logic across flip-flops"},
        {"retime", "Move flip-flops for speed; loses initial values"},
        {"noflatten", "Keep the module hierarchy"},
        {"nocarry", "Use no carry cells"},
        {"nodffe", "Use no flip-flops with enable"},
        {"nobram", "Use no block RAM"},
        {"spram", "Infer the large RAMs of UltraPlus devices"},
        {"dsp", "Use the multipliers of UltraPlus devices"},
        {"flowmap", "Map to LUTs with FlowMap"},
        {"no-rw-check", "Let a read that collides with a write return anything"},
    };
    return kSwitches;
}

std::string synthScript(const SynthOptions& options) {
    refusePair(options, "abc9", "retime");
    refusePair(options, "abc9", "flowmap");
    const std::string synth = synthCommand(options);
    // What was read is written last, so that it leaves the names of the synthesis alone; its
    // warnings have been told by then.
    return readCommands(options) + "design -save source; " + synth +
           " -run begin:coarse; tee -q -o /dev/fd/11 stat -json; " + synth +
           " -run coarse:; write_json /dev/fd/10; tee -q -o /dev/fd/12 stat -json; stat; "
           "logger -nowarn .*; design -load source; " +
           writeElaboration(options, "/dev/fd/13");
}

std::string elaborationScript(const SynthOptions& options, const std::string& path) {
    return readCommands(options) + writeElaboration(options, path);
}

std::vector<std::string> constantOutputs(const Netlist& netlist) {
    std::vector<std::string> names;
    for (const PortBit& bit : netlist.ports)
        if (bit.direction == "output" && bit.net < 0)
            names.push_back(bit.name);
    return names;
}

std::optional<std::string> findOptimisedAway(const CellCounts& before, const CellCounts& after,
                                             const Netlist& netlist) {
    const auto isOutput = [](const PortBit& bit) { return bit.direction != "input"; };
    const long outputs = std::count_if(netlist.ports.begin(), netlist.ports.end(), isOutput);
    if (outputs == 0)
        return fmt::format("the top module '{}' has no outputs, so that nothing of it is left",
                           netlist.top);
    if (static_cast<long>(constantOutputs(netlist).size()) == outputs)
        return fmt::format("the design was optimised away: none of the outputs of '{}' ever "
                           "changes",
                           netlist.top);
    const long registers = before.startingWith("$dff") + before.startingWith("$adff") +
                           before.startingWith("$sdff") + before.startingWith("$aldff") +
                           before.startingWith("$mem");
    const long kept = after.startingWith("SB_DFF") + after.startingWith("SB_RAM40_4K") +
                      after.startingWith("SB_SPRAM256KA") + after.startingWith("SB_MAC16");
    if (registers > 0 && kept == 0)
        return fmt::format("the design was optimised away: no flip-flop and no memory is left of "
                           "the {} registers and memory ports in the source of '{}'",
                           registers, netlist.top);
    return std::nullopt;
}

void runSynthesis(const SynthOptions& options) {
    const StepClock clock;
    ToolCommand command;
    command.words = {"yosys", "-Q", "-q", "-q", "-L", "/dev/fd/1", "-p", synthScript(options)};
    requireReadable(options.sources);
    OutputFile json(options.json);
    const OutputFile before(options.stat + ".before");
    const OutputFile elaboration(options.json + ".elaboration");
    OutputFile stat(options.stat);
    OutputFile metricsFile(options.metrics);
    command.files = {json.partPath(), before.partPath(), stat.partPath(), elaboration.partPath()};
    runYosys(command);
    json.requireSpace();

    const CellCounts after = countsOf(stat);
    checkResult(options, countsOf(before), after, netlistOf(json, options.top));
    StepMetrics metrics;
    metrics.step = "synth_design";
    metrics.tool = after.creator;
    addCounts(after, metrics);
    metrics.files = {{files::kNetlist, options.json}, {files::kStat, options.stat}};
    metrics.meanings = {{meanings::kSources, elaborationMeaning(textOf(elaboration))}};
    metrics.seconds = clock.seconds();
    metricsFile.write(formatMetrics(metrics));
    json.commit();
    stat.commit();
    metricsFile.commit();
    printLine(fmt::format("Netlist '{}': {} LUTs, {} flip-flops, {} block RAMs", options.json,
                          metrics.counts[counts::kLuts], metrics.counts[counts::kFlipFlops],
                          metrics.counts[counts::kBlockRams]));
}

int synthMain(int argc, char** argv) {
    SynthOptions options;
    CLI::App app("Synthesises Verilog for iCE40 devices with yosys.", "ice40_synth");
    declareSynthOptions(app, options);
    return runStep(app, "synth_design", argc, argv, [&] { runSynthesis(options); });
}

}  // namespace ice40
