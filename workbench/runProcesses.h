// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include "workbench/WorkbenchExport.h"

/// The processes of a run on this host, wherever they went.
namespace workbench {

struct LaunchLease;

/// The processes that belong to the run in `runDir`: those that hold its lock open as
/// the run's script opened it, and, with a `launchId`, those that carry this identity
/// in their environment. Of a run directory that is gone the lock is known by its name.
/// So a process counts that left the group and the session of
/// the script, or closed what it had inherited. Never this process, none that has
/// ended, and none that this user may not look into.
WORKBENCH_API std::vector<long> findRunProcesses(const std::string& runDir,
                                                 const std::string& launchId);

/// Sends the signal `number` to the process `pid`, if it belongs to that run at that
/// moment: a pid that is another process's by now is left alone.
WORKBENCH_API void signalRunProcess(long pid, int number, const std::string& runDir,
                                    const std::string& launchId);

/// Whether nobody is left who could begin the launch of `lease` in `runDir` on this host:
/// its launcher ran here and is gone, and nothing carries its identity or holds the lock.
WORKBENCH_API bool isAbandoned(const std::string& runDir, const LaunchLease& lease);

}  // namespace workbench
