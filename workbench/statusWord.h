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

/// The status of a step, by its code, in one word: "running", "done" or "failed", and "not started"
/// for all others. Steps of a queued run haven't started.
WORKBENCH_API const char* stepStatusWord(int code);

/// Whether a run or step whose status has the code has come to an end, good or not.
WORKBENCH_API bool isOver(int code);

/// "synth" or "impl".
WORKBENCH_API std::string flowWord(const HAXPExpRun& run);

}  // namespace workbench
