// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "workbench/WorkbenchExport.h"

class HAXPExpRun;

/// The status of a run in one word.
namespace workbench {

/// One of "not started", "queued", "running", "unknown", "done", "failed", "lost", "stopped"
/// and "abandoned", a stopped one that a rule gave up. A lost run's processes went away in the
/// middle of a step, a stopped one's between two steps; of an unknown one that can't be told.
WORKBENCH_API std::string statusWord(const HAXPExpRun& run);

/// "synth" or "impl".
WORKBENCH_API std::string flowWord(const HAXPExpRun& run);

}  // namespace workbench
