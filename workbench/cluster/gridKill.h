// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include "workbench/WorkbenchExport.h"

class HAXPExpInfoBase;

namespace workbench {
struct LaunchWay;
}

/// The kill of grid jobs by whoever holds a run, also one that knows nothing of this
/// workbench's places.
namespace cluster {

/// The cluster configuration of runs on a grid engine.
inline constexpr char kSgeConfName[] = "sge";

/// Its kill command: the program xp under this name, which takes the number of a job, or
/// "12.3" for a task of an array.
inline constexpr char kGridKillProgram[] = "xp_qdel";

/// Registers the configuration, and permits kills by it: a run that names it can be reset
/// with a kill when it works on another host. More calls do nothing.
WORKBENCH_API void enableGridKills();

/// Names the configuration of a launch by `way` in what its run remembers, none where none
/// is needed, and enables it. LSF's jobs are killed without one.
WORKBENCH_API void nameConfiguration(HAXPExpInfoBase& info, const workbench::LaunchWay& way);

/// Whether a program that was called as `name` is the kill command.
WORKBENCH_API bool isGridKill(const std::string& name);

/// How the kill command ends.
enum GridKillStatus {
    kGridKillDone = 0,    ///< the job is gone
    kGridKillFailed = 1,  ///< it may still be there, or is none of ours
    kGridKillUsage = 2,   ///< the command line is wrong
};

/// The kill command: ends the job whose number is the one word, if it is one of this user
/// and of a run, and waits a minute for its end. A failure is one line on standard error.
/// @return one of GridKillStatus
WORKBENCH_API int gridKillMain(const std::vector<std::string>& words);

}  // namespace cluster
