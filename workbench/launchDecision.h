// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include "workbench/WorkbenchExport.h"

class HAXPExpRun;
class HAXPExpRunStep;

/// What a launch of a run comes to, for whoever launches and whoever only asks.
namespace workbench {

/// Where a launch of `run` begins: at its first step that isn't done or is stale, or at
/// the first of all when the run as a whole has to begin anew. Null when every step
/// stands. Brings status and stale reasons up to date.
WORKBENCH_API const HAXPExpRunStep* firstStepToRun(HAXPExpRun& run);

/// @throws HEXUserException `run` is at work, according to its status; it says who launched
/// it, where and when.
WORKBENCH_API void requireNotAtWork(const HAXPExpRun& run);

/// @throws HEXUserException a source of `run` isn't there, or it has none and needs one.
WORKBENCH_API void requireSources(const HAXPExpRun& run);

/// What a link leads to is never a run's, whatever stands there. `verb` says what isn't done
/// to the run, such as "launched".
/// @throws HEXUserException the run directory is a link.
WORKBENCH_API void requireOwnDirectory(const HAXPExpRun& run, const char* verb);

}  // namespace workbench
