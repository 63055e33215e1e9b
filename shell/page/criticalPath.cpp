// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/page/criticalPath.h"

#include <algorithm>
#include <iterator>

#include "workbench/DesignInputs.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/ice40/metrics.h"
#include "workbench/ice40/placement.h"
#include "workbench/ice40/stepFailure.h"
#include "workbench/ice40/stepFiles.h"
#include "workbench/reports/design.h"

namespace shell {

namespace {

using reports::PathHop;
using reports::TimingPath;

/// What no result of a step on these devices comes near.
constexpr std::size_t kLargest = std::size_t{64} << 20;

/// nextpnr's resources as designers call them; others keep their names.
struct ResourceName {
    const char* type;
    const char* name;
};
constexpr ResourceName kResources[] = {
    {"ICESTORM_LC", "logic cells"}, {"ICESTORM_RAM", "block RAMs"}, {"SB_IO", "I/O cells"},
    {"SB_GB", "global buffers"},    {"ICESTORM_PLL", "PLLs"},       {"ICESTORM_DSP", "DSPs"},
    {"ICESTORM_SPRAM", "SPRAMs"},   {"SB_WARMBOOT", "warm boot"}};

std::string resourceName(const std::string& type) {
    for (const ResourceName& known : kResources) {
        if (type == known.type)
            return known.name;
    }
    return type;
}

/// Those that the device has, the ones of designers' interest first.
std::vector<ResourceUse> usesOf(const reports::PnrReport& report) {
    std::vector<ResourceUse> uses;
    for (const reports::Utilisation& one : report.utilisation) {
        if (one.available > 0)
            uses.push_back({resourceName(one.type), one.used, one.available});
    }
    const auto rank = [](const ResourceUse& use) {
        return std::find_if(std::begin(kResources), std::end(kResources),
                            [&use](const auto& known) { return use.name == known.name; });
    };
    std::stable_sort(uses.begin(), uses.end(),
                     [&rank](const auto& a, const auto& b) { return rank(a) < rank(b); });
    return uses;
}

bool isClocked(const TimingPath& path) {
    return !reports::parseEvent(path.from).isAsync() && !reports::parseEvent(path.to).isAsync();
}

/// Null for none.
const TimingPath* slowestOf(const std::vector<TimingPath>& paths) {
    const TimingPath* slowest = nullptr;
    for (const TimingPath& path : paths) {
        const bool isBetter =
            slowest == nullptr || (isClocked(path) && !isClocked(*slowest)) ||
            (isClocked(path) == isClocked(*slowest) && path.delayNs() > slowest->delayNs());
        if (isBetter && !path.hops.empty())
            slowest = &path;
    }
    return slowest;
}

std::string clockOf(const TimingPath& path) {
    const reports::ClockEvent from = reports::parseEvent(path.from);
    const reports::ClockEvent to = reports::parseEvent(path.to);
    const auto nameOf = [](const reports::ClockEvent& event) {
        return event.isAsync() ? event.shown() : reports::designName(event.clock);
    };
    return nameOf(from) == nameOf(to) ? nameOf(from) : nameOf(from) + " to " + nameOf(to);
}

PathStop stopOf(const PathHop& hop, const reports::Design* design) {
    PathStop stop;
    stop.kind = hop.kind;
    stop.ns = hop.delayNs;
    stop.place = hop.to.location;
    if (hop.isRouting())
        stop.net = reports::designName(hop.net);
    else
        stop.cell = hop.to.cell;
    if (design != nullptr)
        stop.source =
            hop.isRouting() ? design->netSource(stop.net) : design->placedSource(stop.cell);
    return stop;
}

void addPart(const PathHop& hop, CriticalPath& path) {
    if (hop.isRouting())
        path.routing += hop.delayNs;
    else if (hop.kind == "clk-to-q")
        path.clockToQ += hop.delayNs;
    else if (hop.kind == "setup")
        path.setup += hop.delayNs;
    else
        path.logic += hop.delayNs;
}

CriticalPath describePath(const TimingPath& slowest, const reports::Design* design) {
    CriticalPath path;
    path.clock = clockOf(slowest);
    path.ns = slowest.delayNs();
    path.levels = slowest.levels();
    path.stops.reserve(slowest.hops.size());
    for (const PathHop& hop : slowest.hops) {
        addPart(hop, path);
        path.stops.push_back(stopOf(hop, design));
    }
    return path;
}

/// The file that `name`, of a step's metrics, names in the run directory; empty for one that
/// leads elsewhere, which is none of the run's.
std::string runFile(const HAXPExpRun& run, const std::string& name) {
    const bool isOfRun =
        !run.getDir().empty() && !name.empty() && name.find('/') == std::string::npos;
    return isOfRun ? run.pathOf(name) : std::string();
}

bool readFile(const std::string& path, std::string& text) {
    std::string reason;
    return !path.empty() && ice40::readText(path, text, reason, kLargest);
}

}  // namespace

PathSources::PathSources() = default;
PathSources::~PathSources() = default;

const reports::Design* PathSources::designOf(const std::string& netlist,
                                             const std::string& constraints,
                                             const std::string& inputs) {
    const std::string key = netlist + '\n' + constraints;
    const auto known = m_netlists.find(key);
    Netlist& found = known != m_netlists.end() ? known->second : m_netlists[key];
    if (known == m_netlists.end()) {
        try {
            found.inputs = ice40::fingerprintInputs(netlist, constraints);
        } catch (const ice40::StepFailure&) {
            found.inputs.clear();
        }
    }
    if (found.inputs.empty() || found.inputs != inputs)
        return nullptr;
    if (!found.wasRead) {
        found.wasRead = true;
        std::string text;
        std::string reason;
        auto design = std::make_unique<reports::Design>();
        if (ice40::readText(netlist, text, reason, kLargest) &&
            reports::parseDesign(text, "", *design, reason))
            found.design = std::move(design);
    }
    return found.design.get();
}

RoutedPlaces routedPlaces(const HAXPExpRun& run) {
    const ice40::StepMetrics& metrics = run.getInfo().getMetrics();
    return {runFile(run, metrics.file(ice40::files::kReport)),
            runFile(run, metrics.file(ice40::files::kPlacement))};
}

RoutedReport readRouted(const RoutedPlaces& places) {
    RoutedReport routed;
    std::string text;
    std::string reason;
    reports::PnrReport report;
    if (!readFile(places.report, text) || !reports::parsePnrDetails(text, report, reason))
        return routed;
    routed.use = usesOf(report);
    if (const TimingPath* slowest = slowestOf(report.paths))
        routed.slowest = *slowest;
    ice40::Placement placed;
    if (routed.slowest && readFile(places.placement, text) &&
        ice40::parsePlacement(text, placed, reason))
        routed.placedInputs = placed.inputs;
    return routed;
}

RoutedFacts routedFacts(const HAXPExpRun& run, const RoutedReport& routed, PathSources& sources) {
    RoutedFacts facts;
    facts.use = routed.use;
    if (!routed.slowest)
        return facts;
    const DesignInputs& inputs = run.getInfo().getInputs();
    const bool isKnown = !routed.placedInputs.empty();
    facts.path =
        describePath(*routed.slowest, isKnown ? sources.designOf(inputs.netlist, inputs.constraints,
                                                                 routed.placedInputs)
                                              : nullptr);
    return facts;
}

}  // namespace shell
