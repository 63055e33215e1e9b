// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "environment/process/HUTProcessHandle.h"
#include "workbench/WorkbenchExport.h"
#include "workbench/runLock.h"

class HAXPExpRun;
class HAXPExpRunStep;

/// What speaks for and against the life of a run whose markers say that it is at work.
namespace workbench {

struct LaunchLease;

/// So long a run that can't be seen from here has to be silent before it is taken for lost:
/// a marker or a line of the log takes its time through a network file system. Seconds.
inline constexpr long kPatienceSec = 60;

/// What is known of the life of a run, each by itself.
struct LifeSigns {
    /// Whether its processes, if there are any, are on this host and can be seen.
    bool isHere = false;
    /// What the place says that it was launched at: this host, another one, a cluster.
    RunLife place = RunLife::kUnknown;
    /// What its lock says to this host.
    RunLife lock = RunLife::kUnknown;
    /// The process of the step that runs, by its record.
    HUTProcessHandle::Life process = HUTProcessHandle::Life::kUnknown;
    /// For how long nothing was written, in seconds by the clock of the run directory;
    /// nothing when that can't be told.
    std::optional<long> silentSec;
};

/// What follows from a look at a run.
struct RunEvidence {
    enum class Verdict {
        kNone,     ///< nobody looked: the markers tell all
        kAlive,    ///< something lives, or has just written
        kLost,     ///< nothing of it lives; all signs agree
        kUnknown,  ///< the signs contradict each other, or don't suffice
    };
    Verdict verdict = Verdict::kNone;
    /// What was seen, each a sentence without its full stop.
    std::vector<std::string> lines;
};

/// The verdict over `signs`. Nothing is lost for which one sign speaks. A run elsewhere is lost
/// only when its place proves that it is gone and it has been silent for a while.
WORKBENCH_API RunEvidence::Verdict judge(const LifeSigns& signs);

/// Whether the processes of a run, if there are any, are on this host and can be seen: by the
/// record of the process of the step that runs, or by `lease` where that tells no host. Either may
/// be null; without both it is taken to be here.
WORKBENCH_API bool worksHere(const LaunchLease* lease, const HUTProcessHandle* process);

/// Looks at `run`, of which `step` is at work, or nothing is between two steps; `lease` is that of
/// its launch, or null. Asks the place of the launch, which may start other programs and take a
/// minute, unless the run is elsewhere and has written within kPatienceSec. Changes nothing.
WORKBENCH_API RunEvidence gatherEvidence(HAXPExpRun& run, const LaunchLease* lease,
                                         const HAXPExpRunStep* step);

/// For how long none of the files `names` in `runDir` was written, in seconds; a missing one
/// counts as never. Asks the clock of the folder's file system, by a file made there for a
/// moment: the host that writes, this one and the file server may have different times. Nothing
/// when no file can be made, none of `names` is there, or one is ahead of that clock.
WORKBENCH_API std::optional<long> secondsOfSilence(const std::string& runDir,
                                                   const std::vector<std::string>& names);

/// "12 s", "14 min", "3 h" or "2 days".
WORKBENCH_API std::string roughDuration(long seconds);

}  // namespace workbench
