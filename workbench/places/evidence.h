// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include "workbench/runLock.h"

namespace workbench {

/// What one look at a run's processes brought to light.
struct Evidence {
    /// kAlive and kGone are proven; who couldn't look, or got no clear answer, says
    /// kUnknown.
    RunLife life = RunLife::kUnknown;
    /// What was seen and where, each a sentence without its full stop, such as "no process
    /// of it is on node7" or "job 12 is not in the queue".
    std::vector<std::string> lines;
};

}  // namespace workbench
