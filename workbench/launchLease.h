// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "environment/process/HUTProcessHandle.h"
#include "workbench/WorkbenchExport.h"

class HAXPExpRun;

namespace files {
struct Look;
}

/// Who launched a run, and which launch it was.
namespace workbench {

/// The lease of a run's last launch, in its run directory. The queue marker of a run
/// holds the same.
inline constexpr char kLeaseName[] = ".launch.xml";

/// The variable that carries the identity of a launch to every process of its run.
inline constexpr char kLaunchVariable[] = "XPERIMENT_LAUNCH";

/// How a run was launched: what another process needs to look at it and to stop it.
struct LaunchWay {
    enum class Kind {
        kHere,  ///< on the launcher's host
        kHost,  ///< on `host`, by a remote command
        kLsf,
        kSge
    };
    Kind kind = Kind::kHere;
    /// Of kHost: as the remote command knows it.
    std::string host;
    /// The remote command of kHost, the submit command of a cluster: words, as typed.
    std::string command;
    /// The name of the job on a cluster.
    std::string jobName;
    /// Which task of that job the run is, when it is an array; 0 for a job of its own.
    long task = 0;
};

/// Whether the run is a job.
inline bool isOnCluster(const LaunchWay& way) {
    return way.kind == LaunchWay::Kind::kLsf || way.kind == LaunchWay::Kind::kSge;
}

struct LaunchLease {
    /// A UUID that no other launch has.
    std::string id;
    /// When it was made, in seconds since 1970 by the launching host's clock.
    long time = 0;
    /// Whether the run waits for its turn: it is queued as long as the launcher lives.
    bool isWaiting = false;
    /// The status tracking strings of the steps that the launch leaves as an earlier one made
    /// them; nothing when it doesn't say.
    std::optional<std::vector<std::string>> keptSteps;
    /// The process that launches, not one of the run.
    HUTProcessHandle launcher;
    LaunchWay way;
    /// Whether this user's process made it, as far as its file tells.
    bool isOwn = false;
};

/// A lease of this process with an identity of its own.
WORKBENCH_API LaunchLease makeLease();

/// Writes `lease` to the file `path` in the place of what is there: a link goes, and what it leads
/// to stays. It is there whole and synced, or as it was. One of a run that waits isn't synced, and
/// is no lease to who reads it meanwhile; when it can't be written nothing is left of the file.
/// @throws HXMLException it can't be written.
WORKBENCH_API void writeLease(const std::string& path, const LaunchLease& lease);

/// Reads the lease `path`. False, with `lease` as it was, when there is none or what
/// stands there is none, such as the empty queue marker of an older program.
WORKBENCH_API bool readLease(const std::string& path, LaunchLease& lease);
/// The same, with what the file was like.
WORKBENCH_API bool readLease(const std::string& path, LaunchLease& lease, files::Look& look);

/// Who launched, where and when: "by jane on node7 at 2026-11-21 16:02:11".
WORKBENCH_API std::string leaseText(const LaunchLease& lease);

/// The lease that holds for `run`: that of its queue marker, of a launch that waits, else
/// that of its last launch. False, with `lease` as it was, when there is neither.
WORKBENCH_API bool readLeaseOf(const HAXPExpRun& run, LaunchLease& lease);

/// What can be said of the process that launches. It may be this one.
WORKBENCH_API HUTProcessHandle::Life lookAtLauncher(const LaunchLease& lease);

}  // namespace workbench
