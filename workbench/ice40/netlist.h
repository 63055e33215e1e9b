// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

namespace ice40 {

/// One bit of a port of the top module, named as constraints name it: "led[3]",
/// or "clk" for a port of one bit.
struct PortBit {
    std::string name;
    std::string port;       ///< the whole port's name
    std::string direction;  ///< "input", "output" or "inout"
    int net = -1;           ///< number of its net; -1 for a constant or undriven bit
};

/// What the flow must know of a netlist that yosys wrote.
struct Netlist {
    std::string top;
    std::vector<PortBit> ports;
    long cells = 0;  ///< cells of the top module
};

/// Reads a yosys JSON netlist. An empty `top` takes the module that is marked
/// as top, or the only one. On refusal `reason` says what is wrong with the
/// text, and `netlist` stays as it was.
bool parseNetlist(const std::string& text, const std::string& top, Netlist& netlist,
                  std::string& reason);

}  // namespace ice40
