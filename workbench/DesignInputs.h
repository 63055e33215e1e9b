// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

/// What a run works on: the sources of the design and what the board fixes.
struct DesignInputs {
    /// Verilog files, absolute.
    std::vector<std::string> sources;
    std::string top;
    std::vector<std::string> defines;
    std::vector<std::string> includeDirs;
    /// The pin constraints, absolute; empty lets the placer choose.
    std::string constraints;
    std::string device = "hx8k";
    std::string package = "ct256";
    /// The goal of every clock, in MHz, as the user wrote it.
    std::string frequencyMhz = "12";
    /// The netlist that an implementation starts from, absolute; empty for synthesis.
    std::string netlist;
    /// When the synthesis that made the netlist was launched; 0 for synthesis.
    long netlistLaunch = 0;
};
