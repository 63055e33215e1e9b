// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "workbench/WorkbenchExport.h"

/// The lock that every process of a launched run holds.
namespace workbench {

/// Its file in the run directory.
inline constexpr char kRunLockName[] = ".run.lock";

enum class RunLife {
    kAlive,    ///< a process of the run holds the lock
    kGone,     ///< nobody on this host does
    kUnknown,  ///< there is no lock to ask
};

/// Whether something of the run in `runDir` lives on this host. Never waits. Holds the
/// lock itself for a moment, shared, while it asks.
WORKBENCH_API RunLife probeRunLock(const std::string& runDir);

}  // namespace workbench
