// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "workbench/reports/pnrReport.h"

class HAXPExpRun;

namespace reports {
class Design;
}  // namespace reports

/// What place and route told of a run: its slowest path, and what it takes of the device.
namespace shell {

/// A hop of a path.
struct PathStop {
    std::string kind;  ///< "clk-to-q", "source", "logic", "routing" or "setup"
    double ns = 0;
    std::string cell;  ///< empty for a hop along a net
    std::string net;   ///< of a hop along a net
    std::optional<std::pair<int, int>> place;
    std::string source;  ///< "uart.v:37", empty when nothing tells
};

struct CriticalPath {
    std::string clock;  ///< "clk", "clk to other" or "no clock to clk"
    double ns = 0;
    long levels = 0;
    double clockToQ = 0;
    double logic = 0;
    double routing = 0;
    double setup = 0;
    std::vector<PathStop> stops;
};

/// What is used of one kind of resource.
struct ResourceUse {
    std::string name;  ///< "logic cells"
    long used = 0;
    long of = 0;
};

struct RoutedFacts {
    std::optional<CriticalPath> path;
    std::vector<ResourceUse> use;
};

/// What the files of place and route tell, before the sources are asked for places.
struct RoutedReport {
    std::vector<ResourceUse> use;
    /// The slowest between two clock edges; without any the slowest at all.
    std::optional<reports::TimingPath> slowest;
    /// The fingerprint of what was placed; empty when nothing tells.
    std::string placedInputs;
};

/// Where the last of the steps place_design and route_design that is done left its files; empty
/// for what there isn't.
struct RoutedPlaces {
    std::string report;
    std::string placement;
};

/// Those of `run`, whose status is up to date.
RoutedPlaces routedPlaces(const HAXPExpRun& run);

/// Reads the files; what is missing or damaged tells nothing.
RoutedReport readRouted(const RoutedPlaces& places);

/// The netlists behind several runs: each is read once.
class PathSources {
public:
    PathSources();
    ~PathSources();

    PathSources(const PathSources&) = delete;
    PathSources& operator=(const PathSources&) = delete;

    /// The design of the file `netlist`, good as long as this object; null when it can't be
    /// read, or when it and the file `constraints` don't have the fingerprint `inputs`: then
    /// something else was placed.
    const reports::Design* designOf(const std::string& netlist, const std::string& constraints,
                                    const std::string& inputs);

private:
    struct Netlist {
        std::string inputs;
        bool wasRead = false;
        std::unique_ptr<reports::Design> design;
    };
    std::map<std::string, Netlist> m_netlists;
};

/// The facts of `routed`, which was read of `run`. Places in the sources come from the netlist
/// that the run starts from, as long as it is the one that was placed.
RoutedFacts routedFacts(const HAXPExpRun& run, const RoutedReport& routed, PathSources& sources);

}  // namespace shell
