// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/reports/designNets.h"
#include "workbench/reports/texts.h"

#include <algorithm>

#include <fmt/format.h>

namespace reports {

namespace {

/// The pins by which cells that are no flip-flops take a clock.
bool isClockPin(const DesignCell& cell, const std::string& port) {
    if (startsWith(cell.type, "SB_RAM40_4K"))
        return port == "RCLK" || port == "WCLK" || port == "RCLKN" || port == "WCLKN";
    if (startsWith(cell.type, "SB_SPRAM256KA"))
        return port == "CLOCK";
    if (startsWith(cell.type, "SB_MAC16"))
        return port == "CLK" || port == "CLOCK";
    return startsWith(cell.type, "SB_IO") && (port == "INPUT_CLK" || port == "OUTPUT_CLK");
}

void countLoad(const DesignCell& cell, const DesignPin& pin, std::map<int, DesignClock>& clocks) {
    FlipFlopKind kind;
    if (readFlipFlop(cell.type, kind)) {
        if (pin.port == "C")
            ++(kind.isFalling ? clocks[pin.net].falling : clocks[pin.net].rising);
    } else if (isClockPin(cell, pin.port)) {
        const bool isRam = startsWith(cell.type, "SB_RAM") || startsWith(cell.type, "SB_SPRAM");
        ++(isRam ? clocks[pin.net].rams : clocks[pin.net].others);
    }
}

void describe(const Design& design, const NetUse& use, int net, DesignClock& clock) {
    clock.net = net;
    clock.name = design.netName(net);
    clock.source = driverText(use);
    if (use.input != nullptr || use.drivers.empty())
        return;
    const std::string& type = use.drivers.front()->type;
    FlipFlopKind kind;
    clock.isFromPll = startsWith(type, "SB_PLL");
    clock.isFromLogic =
        startsWith(type, "SB_LUT") || startsWith(type, "SB_CARRY") || readFlipFlop(type, kind);
}

}  // namespace

std::map<int, NetUse> findUses(const Design& design) {
    std::map<int, NetUse> uses;
    for (const ice40::PortBit& port : design.ports) {
        if (port.net < 0)
            continue;
        if (port.direction != "output")
            uses[port.net].input = &port;
        if (port.direction != "input")
            uses[port.net].output = &port;
    }
    for (const DesignCell& cell : design.cells) {
        for (const DesignPin& pin : cell.pins) {
            if (pin.net < 0)
                continue;
            NetUse& use = uses[pin.net];
            if (pin.isOutput)
                use.drivers.push_back(&cell);
            else
                ++(pin.isBoth ? use.bothWays : use.loads);
        }
    }
    return uses;
}

bool readFlipFlop(const std::string& type, FlipFlopKind& kind) {
    static const std::string kStart = "SB_DFF";
    if (!startsWith(type, kStart))
        return false;
    std::string rest = type.substr(kStart.size());
    FlipFlopKind result;
    result.isFalling = startsWith(rest, "N");
    rest.erase(0, result.isFalling ? 1 : 0);
    result.hasEnable = startsWith(rest, "E");
    rest.erase(0, result.hasEnable ? 1 : 0);
    if (rest != "" && rest != "R" && rest != "S" && rest != "SR" && rest != "SS")
        return false;
    result.setReset = rest;
    kind = result;
    return true;
}

std::vector<DesignClock> findClocks(const Design& design, const std::map<int, NetUse>& uses) {
    std::map<int, DesignClock> byNet;
    for (const DesignCell& cell : design.cells)
        for (const DesignPin& pin : cell.pins)
            if (pin.net >= 0)
                countLoad(cell, pin, byNet);
    std::vector<DesignClock> clocks;
    for (auto& entry : byNet) {
        describe(design, uses.at(entry.first), entry.first, entry.second);
        clocks.push_back(entry.second);
    }
    std::sort(clocks.begin(), clocks.end(),
              [](const DesignClock& a, const DesignClock& b) { return a.name < b.name; });
    return clocks;
}

const DesignClock* findClock(const std::vector<DesignClock>& clocks, const std::string& name) {
    const auto found = std::find_if(clocks.begin(), clocks.end(),
                                    [&](const DesignClock& one) { return one.name == name; });
    return found == clocks.end() ? nullptr : &*found;
}

std::string driverText(const NetUse& use) {
    if (use.input != nullptr)
        return "port " + use.input->name;
    if (use.drivers.empty())
        return use.bothWays > 0 ? "a pad" : "nothing";
    const DesignCell& cell = *use.drivers.front();
    return cell.type + " " + cell.name;
}

}  // namespace reports
