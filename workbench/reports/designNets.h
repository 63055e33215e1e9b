// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <map>
#include <string>
#include <vector>

#include "workbench/reports/design.h"

namespace reports {

/// What drives a net and what reads it. The pointers are into the design.
struct NetUse {
    std::vector<const DesignCell*> drivers;  ///< cells with an output on it
    long loads = 0;                          ///< input pins of cells on it
    long bothWays = 0;                       ///< pins that may drive it, pads
    const ice40::PortBit* input = nullptr;   ///< a port that drives it
    const ice40::PortBit* output = nullptr;  ///< a port that shows it

    bool isDriven() const { return !drivers.empty() || bothWays > 0 || input != nullptr; }
    bool isRead() const { return loads > 0 || bothWays > 0 || output != nullptr; }
};

/// The uses of every net of the design, by its number.
std::map<int, NetUse> findUses(const Design& design);

/// How a flip-flop of the family is controlled; its type's name tells.
struct FlipFlopKind {
    bool isFalling = false;
    bool hasEnable = false;
    std::string setReset;  ///< "R", "S" (at once) or "SR", "SS" (with the clock), or empty
};

/// Whether `type` is a flip-flop, and of what kind.
bool readFlipFlop(const std::string& type, FlipFlopKind& kind);

/// One clock of the design and what it drives.
struct DesignClock {
    int net = kNoNet;
    std::string name;
    std::string source;  ///< "port clk", "SB_PLL40_CORE pll", ...
    bool isFromLogic = false;
    bool isFromPll = false;
    long rising = 0;   ///< flip-flops on the rising edge
    long falling = 0;  ///< flip-flops on the falling edge
    long rams = 0;     ///< ports of RAMs
    long others = 0;   ///< pads, multipliers

    long loads() const { return rising + falling + rams + others; }
};

/// All nets that clock something, by name.
std::vector<DesignClock> findClocks(const Design& design, const std::map<int, NetUse>& uses);

/// The clock of that name; null when the netlist has none.
const DesignClock* findClock(const std::vector<DesignClock>& clocks, const std::string& name);

/// Where the driver of a net is told: "port clk", "SB_LUT4 x", "nothing".
std::string driverText(const NetUse& use);

}  // namespace reports
