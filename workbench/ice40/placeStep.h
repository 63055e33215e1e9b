// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

namespace ice40 {

/// The command line of `ice40_place`.
struct PlaceOptions {
    std::string netlist;
    std::string top;
    std::string constraints;
    std::string device = "hx8k";
    std::string package = "ct256";
    std::string placement = "place_design.json";
    std::string report = "place_design.report.json";
    std::string metrics = "place_design.metrics.json";
    std::string picture;  ///< SVG; empty for none
    double freqMhz = 12;
    int seed = 1;
    std::string placer = "heap";
    int heapTimingWeight = 10;
    int heapCritExp = 2;
    std::vector<std::string> switches;  ///< of nextpnr, with their hyphens
};

/// The switches that `ice40_place` passes on to nextpnr.
struct PlaceSwitch {
    const char* name;
    const char* help;
};
const std::vector<PlaceSwitch>& placeSwitches();

/// The words of nextpnr that decide the placement; routing repeats them.
std::vector<std::string> placementWords(const PlaceOptions& options);

/// Does the step. @throws StepFailure, StepStopped
void runPlace(const PlaceOptions& options);

/// The program `ice40_place`.
int placeMain(int argc, char** argv);

}  // namespace ice40
