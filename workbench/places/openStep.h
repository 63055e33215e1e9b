// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "workbench/WorkbenchExport.h"

class HAXPExpRun;

namespace workbench {

struct LaunchLease;

/// Whether a step of `run`, as it was last seen, has begun and left no word of its end.
WORKBENCH_API bool hasOpenStep(const HAXPExpRun& run);

/// Makes the open step of `run` a failed one, with `reason` in its marker, when nothing of
/// the launch lives any more: on this host alone the lock would tell that. Brings the
/// status up to date; does nothing without an open step.
WORKBENCH_API void closeOpenStep(HAXPExpRun& run, const LaunchLease& lease,
                                 const std::string& reason);

}  // namespace workbench
