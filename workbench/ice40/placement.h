// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <map>
#include <string>
#include <vector>

namespace ice40 {

/// The record that placing leaves for routing: what was placed, with which
/// words, and the checksums of the result.
///
/// nextpnr can't route a placement that another process made, so routing
/// places again with the same words and compares checksums: the design that is
/// routed is the one whose placement was reported.
struct Placement {
    std::string top;
    std::string device;
    std::string package;
    std::string netlist;      ///< path, as it was given to the placing step
    std::string constraints;  ///< path, or empty
    double freqMhz = 0;
    std::string inputs;                  ///< fingerprint of what netlist and constraints mean
    std::vector<std::string> words;      ///< placing options of nextpnr, in order
    std::vector<std::string> checksums;  ///< up to and with the placed design
};

std::string formatPlacement(const Placement& placement);

/// Reads such a text. On refusal `reason` tells what is wrong with it and
/// `placement` stays as it was.
bool parsePlacement(const std::string& text, Placement& placement, std::string& reason);

/// What the two input files mean as they are now, for StepMetrics::meanings; `constraints` may
/// be empty. @throws StepFailure one of them can't be read.
std::map<std::string, std::string> inputMeanings(const std::string& netlist,
                                                 const std::string& constraints);

/// Placement::inputs of these meanings, or of the two files.
std::string fingerprintInputs(const std::map<std::string, std::string>& meanings);
std::string fingerprintInputs(const std::string& netlist, const std::string& constraints);

}  // namespace ice40
