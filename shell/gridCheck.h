// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "shell/doctor.h"
#include "workbench/cluster/Scheduler.h"

namespace shell {

class Interrupt;

/// Submits a job by `command` that takes a second and leaves a marker in a folder of its own in
/// `dir`, which the cluster's hosts have to share, and tells how long it took to be seen. Waits
/// `limitSec` at most, or until Ctrl-C; then the job is ended. The folder is gone afterwards.
Check checkGrid(cluster::Scheduler::Kind kind, const std::string& command, const std::string& dir,
                long limitSec, const Interrupt& interrupt);

}  // namespace shell
