// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <set>
#include <string>
#include <vector>

#include "workbench/ice40/netlist.h"

namespace ice40 {

/// Something wrong in a constraints file; `text` is a sentence with the cause
/// and one with the next step. Line 0 means the file as a whole.
struct PcfProblem {
    int line = 0;
    std::string text;
};

/// One "set_io" of a constraints file.
struct PinConstraint {
    int line = 0;
    std::string port;
    std::string pin;
    bool mayBeUnused = false;  ///< "-nowarn": the design may lack the port
};

/// One "set_frequency" of a constraints file.
struct ClockConstraint {
    int line = 0;
    std::string net;
    double mhz = 0;
};

struct Constraints {
    std::vector<PinConstraint> pins;
    std::vector<ClockConstraint> clocks;
};

/// Reads a physical constraints file. All that can be understood ends in the
/// result; each line that can't adds one problem.
Constraints parsePcf(const std::string& text, std::vector<PcfProblem>& problems);

/// Checks the constraints against the ports of the design and the pins of the
/// package. With `allowUnconstrained` a port without a pin is no problem. The
/// problems come in line order, those of the whole file last.
std::vector<PcfProblem> checkPins(const Constraints& constraints, const std::vector<PortBit>& ports,
                                  const std::set<std::string>& pins, const std::string& package,
                                  bool allowUnconstrained);

}  // namespace ice40
