// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <vector>

#include "workbench/reports/design.h"

namespace reports {

/// The loops of LUTs and carry cells without a flip-flop or memory between: each
/// group of cells that all reach each other, in the order of the netlist. Takes
/// time and memory linear in the design, whatever its depth.
std::vector<std::vector<const DesignCell*>> findCombinationalLoops(const Design& design);

}  // namespace reports
