// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "workbench/ice40/netlist.h"
#include "workbench/ice40/reports.h"

namespace ice40 {

/// The command line of `ice40_synth`.
struct SynthOptions {
    std::vector<std::string> sources;
    std::string top;
    std::string device = "hx8k";
    std::string json;
    std::string stat = "synth_design.stat.json";
    std::string metrics = "synth_design.metrics.json";
    std::vector<std::string> defines;
    std::vector<std::string> includes;
    std::string deviceFamily = "auto";  ///< timing model of abc9: auto, hx, lp or u
    int dffeMinCeUse = 0;               ///< 0 leaves it to yosys
    bool allowEmpty = false;            ///< an optimised-away design is only a warning
    std::vector<std::string> switches;  ///< of synth_ice40, without the hyphen
};

/// A switch of synth_ice40 that `ice40_synth` passes on, as "--<name>".
struct SynthSwitch {
    const char* name;
    const char* help;
};
const std::vector<SynthSwitch>& synthSwitches();

/// The script for yosys. It writes the netlist to /dev/fd/10, the cell counts
/// before technology mapping to /dev/fd/11, those of the result to /dev/fd/12, and
/// what was read, before anything was made of it, to /dev/fd/13 as RTLIL.
/// @throws StepFailure an option or a name can't be put into a script, or two
///         options exclude each other.
std::string synthScript(const SynthOptions& options);

/// The script that does no more than write that RTLIL to the file `path`.
/// @throws StepFailure the same.
std::string elaborationScript(const SynthOptions& options, const std::string& path);

/// Why the result can't be what the source means, or nothing: yosys ends with
/// status 0 when it removed a whole design. `before` are the cells ahead of
/// technology mapping.
std::optional<std::string> findOptimisedAway(const CellCounts& before, const CellCounts& after,
                                             const Netlist& netlist);

/// The names of output bits that are constant or undriven.
std::vector<std::string> constantOutputs(const Netlist& netlist);

/// Does the step. @throws StepFailure, StepStopped
void runSynthesis(const SynthOptions& options);

/// The program `ice40_synth`.
int synthMain(int argc, char** argv);

}  // namespace ice40
