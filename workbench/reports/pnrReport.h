// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "workbench/ice40/metrics.h"

namespace reports {

/// What is used of one kind of resource, by nextpnr's name of it.
struct Utilisation {
    std::string type;  ///< "ICESTORM_LC"
    long used = 0;
    long available = 0;
};

/// One end of a hop.
struct PathPoint {
    std::string cell;
    std::string port;
    std::optional<std::pair<int, int>> location;  ///< column and row of the device
};

/// One hop of a path: through a cell, or along a net.
struct PathHop {
    std::string kind;  ///< "clk-to-q", "source", "routing", "logic" or "setup"
    double delayNs = 0;
    PathPoint from;
    PathPoint to;
    std::string net;  ///< of a hop along a net

    bool isRouting() const { return kind == "routing"; }
};

/// The slowest path between two clock events, as nextpnr found it.
struct TimingPath {
    std::string from;  ///< "posedge clk$SB_IO_IN_$glb_clk", or "<async>"
    std::string to;
    std::vector<PathHop> hops;

    double delayNs() const;
    double routingNs() const;
    /// Cells passed on the way, the first and the last not counted.
    long levels() const;
};

/// The delay of a net to one of its ends.
struct NetDelay {
    std::string net;
    std::string driver;
    std::string cell;
    std::string port;
    double delayNs = 0;  ///< of the whole path up to there
};

/// nextpnr's JSON report, whole.
struct PnrReport {
    std::vector<Utilisation> utilisation;
    std::vector<ice40::ClockTiming> clocks;  ///< empty before routing
    std::vector<TimingPath> paths;           ///< empty before routing
    std::vector<NetDelay> nets;              ///< only with detailed timing
    bool hasNets = false;
};

/// Reads such a report. On refusal `reason` tells what is wrong with it and
/// `report` stays as it was.
bool parsePnrDetails(const std::string& text, PnrReport& report, std::string& reason);

/// A clock event of nextpnr, taken apart: "posedge clk$SB_IO_IN_$glb_clk".
struct ClockEvent {
    std::string clock;  ///< nextpnr's net; empty for what no clock drives
    bool isFalling = false;

    bool isAsync() const { return clock.empty(); }
    /// "clk (rising)", "clk (falling)" or "no clock".
    std::string shown() const;
};

ClockEvent parseEvent(const std::string& text);

/// A net's name as the designer knows it: without what nextpnr appends for pads
/// and global buffers. "clk$SB_IO_IN_$glb_clk" is "clk".
std::string designName(const std::string& net);

}  // namespace reports
