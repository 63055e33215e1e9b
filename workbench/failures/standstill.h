// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "workbench/WorkbenchExport.h"

namespace workbench {

/// A router that goes round and round without coming nearer to its end.
struct Standstill {
    std::string what;    ///< such as "of 812 iterations the last 602 came no nearer to the end"
    long rounds = 0;     ///< those since the last that came nearer
    long conflicts = 0;  ///< what was left then: wires in conflict, or arcs
};

/// Whether the step that the log ends in stands still, as its lines alone tell: the router of
/// nextpnr counts what is left, and for a hundred iterations, or two hundred thousand arcs tried,
/// that was never less than before. One that only takes long isn't found here.
WORKBENCH_API std::optional<Standstill> findStandstill(const std::vector<std::string>& log);

}  // namespace workbench
