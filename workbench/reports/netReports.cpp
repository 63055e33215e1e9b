// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <algorithm>
#include <tuple>

#include <fmt/format.h>

#include "workbench/reports/designNets.h"
#include "workbench/reports/reportCommands.h"

namespace reports {

namespace {

/// Flip-flops of one logic tile share these.
struct ControlSet {
    int clock = kNoNet;
    bool isFalling = false;
    int enable = kNoNet;
    int setReset = kNoNet;
    std::string setResetKind;

    auto key() const { return std::tie(clock, isFalling, enable, setReset, setResetKind); }
    bool operator<(const ControlSet& other) const { return key() < other.key(); }
};

/// Logic cells of a tile.
constexpr long kTileCells = 8;

ControlSet controlSetOf(const DesignCell& cell, const FlipFlopKind& kind) {
    ControlSet set;
    set.clock = cell.netOf("C");
    set.isFalling = kind.isFalling;
    if (kind.hasEnable)
        set.enable = cell.netOf("E");
    if (!kind.setReset.empty())
        set.setReset = cell.netOf(kind.setReset.back() == 'R' ? "R" : "S");
    set.setResetKind = kind.setReset;
    return set;
}

std::map<ControlSet, long> findControlSets(const Design& design) {
    std::map<ControlSet, long> sets;
    for (const DesignCell& cell : design.cells) {
        FlipFlopKind kind;
        if (readFlipFlop(cell.type, kind))
            ++sets[controlSetOf(cell, kind)];
    }
    return sets;
}

std::string shownNet(const Design& design, int net) {
    if (net >= 0)
        return design.netName(net);
    return net == kConstantNet ? "constant" : "";
}

std::string shownKind(const std::string& kind) {
    if (kind.empty())
        return {};
    const std::string what = kind.back() == 'R' ? "reset" : "set";
    return what + (kind.size() == 1 ? ", at once" : ", with the clock");
}

/// One net with its number of loads, the highest first.
struct Fanout {
    int net = kNoNet;
    const NetUse* use = nullptr;

    long loads() const { return use->loads + use->bothWays + (use->output != nullptr ? 1 : 0); }
};

std::vector<Fanout> sortedFanouts(const std::map<int, NetUse>& uses, long least) {
    std::vector<Fanout> nets;
    for (const auto& entry : uses) {
        const Fanout one{entry.first, &entry.second};
        if (one.loads() >= least)
            nets.push_back(one);
    }
    std::stable_sort(nets.begin(), nets.end(),
                     [](const Fanout& a, const Fanout& b) { return a.loads() > b.loads(); });
    return nets;
}

/// The rows that fit, and a line that tells of the rest.
template <class List> std::size_t shownCount(const List& list, long most, Section& section) {
    const auto limit = static_cast<std::size_t>(most);
    if (list.size() > limit)
        section.lines.push_back(fmt::format("The first {} of {}.", limit, list.size()));
    return std::min(list.size(), limit);
}

}  // namespace

void fillControlSets(const StepResults& results, const ReportOptions& options, Report& report) {
    const Design& design = results.design();
    const std::map<ControlSet, long> sets = findControlSets(design);
    std::vector<std::pair<ControlSet, long>> sorted(sets.begin(), sets.end());
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const auto& a, const auto& b) { return a.second > b.second; });
    long flipFlops = 0;
    long tiles = 0;
    for (const auto& entry : sorted) {
        flipFlops += entry.second;
        tiles += (entry.second + kTileCells - 1) / kTileCells;
    }
    report.sections.push_back(
        {"Summary",
         {fmt::format("{} in {}.", counted(flipFlops, "flip-flop"),
                      counted(static_cast<long>(sorted.size()), "control set")),
          fmt::format("They need {} at least: the {} cells of a tile share clock, "
                      "enable and set or reset.",
                      counted(tiles, "logic tile"), kTileCells)},
         {},
         {}});
    Section section{
        "Control sets",
        {},
        {{"Clock"}, {"Edge"}, {"Enable"}, {"Set or reset"}, {"Kind"}, {"Flip-flops", true}},
        {}};
    const std::size_t shown = shownCount(sorted, options.number("max_sets"), section);
    for (std::size_t i = 0; i < shown; ++i) {
        const ControlSet& set = sorted[i].first;
        section.rows.push_back(
            {textCell(shownNet(design, set.clock)), textCell(set.isFalling ? "falling" : "rising"),
             textCell(shownNet(design, set.enable)), textCell(shownNet(design, set.setReset)),
             textCell(shownKind(set.setResetKind)), countCell(sorted[i].second)});
    }
    report.sections.push_back(section);
    report.figures.push_back(
        {"control_sets", "Control sets", static_cast<double>(sorted.size()), "", Figure::kLower});
}

void fillHighFanoutNets(const StepResults& results, const ReportOptions& options, Report& report) {
    const Design& design = results.design();
    const std::map<int, NetUse> uses = findUses(design);
    const std::vector<Fanout> nets = sortedFanouts(uses, options.number("min_fanout"));
    Section section{
        "Nets with the most loads", {}, {{"Net"}, {"Loads", true}, {"Driver"}, {"Declared"}}, {}};
    const std::size_t shown = shownCount(nets, options.number("max_nets"), section);
    for (std::size_t i = 0; i < shown; ++i) {
        const std::string name = design.netName(nets[i].net);
        section.rows.push_back({textCell(name), countCell(nets[i].loads()),
                                textCell(driverText(*nets[i].use)),
                                textCell(design.netSource(name))});
    }
    if (!nets.empty())
        report.figures.push_back({"highest_fanout", "Highest fanout",
                                  static_cast<double>(nets.front().loads()), "", Figure::kLower});
    report.sections.push_back(section);
}

void fillRouteStatus(const StepResults& results, const ReportOptions& options, Report& report) {
    const RoutedNets& routed = results.routedNets();
    long segments = 0;
    std::vector<std::pair<std::string, long>> nets(routed.segments.begin(), routed.segments.end());
    for (const auto& net : nets)
        segments += net.second;
    std::stable_sort(nets.begin(), nets.end(),
                     [](const auto& a, const auto& b) { return a.second > b.second; });
    report.sections.push_back(
        {"Status",
         {"The step ended well, so every connection is routed: nextpnr-ice40 writes no routed "
          "design otherwise."},
         {{"Count"}, {"Value", true}},
         {{textCell("Nets routed"), countCell(static_cast<long>(nets.size()))},
          {textCell("Wire segments used"), countCell(segments)}}});
    Section section{"Longest nets", {}, {{"Net"}, {"Wire segments", true}}, {}};
    const std::size_t shown = shownCount(nets, options.number("list_nets"), section);
    for (std::size_t i = 0; i < shown; ++i)
        section.rows.push_back({textCell(nets[i].first), countCell(nets[i].second)});
    if (shown > 0)
        report.sections.push_back(section);
    report.figures.push_back(
        {"nets_routed", "Nets routed", static_cast<double>(nets.size()), "", Figure::kNeither});
    report.figures.push_back(
        {"wire_segments", "Wire segments used", static_cast<double>(segments), "", Figure::kLower});
}

}  // namespace reports
