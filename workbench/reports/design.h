// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <map>
#include <string>
#include <unordered_map>
#include <vector>

#include "workbench/ice40/netlist.h"

namespace reports {

/// What stands at a pin that isn't on a net.
enum PinNet {
    kConstantNet = -1,  ///< 0 or 1
    kNoNet = -2,        ///< nothing drives it
};

/// One bit of a pin of a cell.
struct DesignPin {
    std::string port;  ///< "D", or "RDATA" for each bit of a bus
    int net = kNoNet;
    bool isOutput = false;  ///< it drives the net
    bool isBoth = false;    ///< it may drive it, as a pad does
};

struct DesignCell {
    std::string name;
    std::string type;    ///< "SB_DFFE"
    std::string source;  ///< "uart.v:37", empty when the tool doesn't tell
    std::vector<DesignPin> pins;

    /// The net of a pin of one bit; kNoNet without that pin.
    int netOf(const std::string& port) const;
};

/// The mapped design, as yosys wrote it: ports, cells and what connects them.
class Design {
public:
    std::string top;
    std::vector<ice40::PortBit> ports;
    std::vector<DesignCell> cells;

    /// The designer's name of a net: of several the one that is highest in the
    /// hierarchy. Nets without a name have a number.
    std::string netName(int net) const;
    /// Where the net is declared, or empty.
    std::string netSource(const std::string& name) const;
    /// The cell of that name; null when there is none.
    const DesignCell* findCell(const std::string& name) const;
    /// Where a placed cell comes from, or empty. nextpnr names a logic cell like the LUT or
    /// flip-flop in it, with "_LC" or "_DFFLC" behind.
    std::string placedSource(const std::string& name) const;

    void addName(int net, const std::string& name, bool isNameHidden);
    void addSource(const std::string& name, const std::string& source);
    /// Call it when all cells are in.
    void indexCells();

private:
    struct Name {
        std::string text;
        bool isHidden = false;
    };
    std::unordered_map<int, Name> m_names;
    std::unordered_map<std::string, std::string> m_sources;
    std::unordered_map<std::string, std::size_t> m_cells;
};

/// Reads a yosys JSON netlist; an empty `top` takes the marked module. On
/// refusal `reason` tells what is wrong and `design` stays as it was.
bool parseDesign(const std::string& text, const std::string& top, Design& design,
                 std::string& reason);

/// The designer's own place in a "src" attribute, which also names the tool's
/// library: "/home/me/uart.v:37.5-39.29|/usr/share/yosys/..." is "uart.v:37".
std::string ownSource(const std::string& attribute);

/// The instance that a flattened name belongs to: "uart.rx" of "uart.rx.count".
/// Empty for the top module.
std::string instanceOf(const std::string& name);

}  // namespace reports
