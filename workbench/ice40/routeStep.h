// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include "workbench/ice40/placement.h"

namespace ice40 {

/// The command line of `ice40_route`.
struct RouteOptions {
    std::string placement = "place_design.json";
    std::string asc;
    std::string report = "route_design.report.json";
    std::string timing = "route_design.timing.rpt";
    std::string metrics = "route_design.metrics.json";
    std::string router = "router1";
    bool timingRipup = false;
    bool detailedTiming = false;
    bool skipIcetime = false;
    bool requireTiming = false;  ///< a missed frequency fails the step
};

/// The words of nextpnr that decide the routing.
std::vector<std::string> routingWords(const RouteOptions& options);

/// The words of icetime for the routed design `asc`.
std::vector<std::string> icetimeWords(const Placement& placement, const std::string& asc,
                                      const std::string& report);

/// Whether `routed` begins with all of `placed`.
bool isSamePlacement(const std::vector<std::string>& placed,
                     const std::vector<std::string>& routed);

/// Does the step. @throws StepFailure, StepStopped
void runRoute(const RouteOptions& options);

/// The program `ice40_route`.
int routeMain(int argc, char** argv);

}  // namespace ice40
