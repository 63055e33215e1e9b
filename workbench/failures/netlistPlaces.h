// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "workbench/failures/logFailure.h"

namespace workbench {

/// Where the net or cell `name` of the netlist `text`, as yosys writes it, comes from. What
/// place and route puts behind a name, such as "_LC" or "_DSP", is left off as far as needed.
/// False, with `place` as it was, when nothing tells, or the netlist is damaged.
bool findNetlistPlace(const std::string& text, const std::string& name, SourcePlace& place);

}  // namespace workbench
